/**
 * @file   library.cpp
 * @brief  Opens the library with dlopen, checks its version and initialises it.
 */
#include "HostKit/library.h"

#include <dlfcn.h>

#include <algorithm>

#include "HostKit/text_of.h"

namespace kesh_host {

namespace fs = std::filesystem;

namespace {

constexpr const char* library_name = "libVelmoraKesh.so";

std::string dl_error() {
    const char* text = dlerror();
    return text == nullptr ? "no reason is known" : text;
}

}  // namespace

std::vector<fs::path> library_candidates() {
    std::error_code error;
    const fs::path program = fs::read_symlink("/proc/self/exe", error);
    const fs::path folder = program.parent_path();
    return {folder / library_name, folder / KESH_HOST_RELATIVE_LIBDIR / library_name, folder / "../lib" / library_name,
            folder.parent_path() / library_name};
}

Library::Library(const std::string& path, VelmoraLibraryData table) {
    if (!path.empty()) {
        // dlopen would search for a name without a slash in its search path, but a path that is typed here means a
        // file.
        path_ = fs::absolute(path);
        if (!fs::exists(path_)) throw LibraryError(text_of("there is no library at ", path));
    } else {
        const auto candidates = library_candidates();
        const auto found =
            std::find_if(candidates.begin(), candidates.end(), [](const fs::path& file) { return fs::exists(file); });
        if (found == candidates.end()) {
            std::string places;
            for (const fs::path& file : candidates)
                places += text_of(places.empty() ? "" : ", ", file.parent_path().lexically_normal().string());
            throw LibraryError(
                text_of(library_name, " was not found in ", places, "; give its path with --library PATH"));
        }
        path_ = found->lexically_normal();
    }
    handle_ = dlopen(path_.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle_ == nullptr) throw LibraryError(text_of("the library cannot be opened: ", dl_error()));

    const auto get_version = symbol<mint (*)()>("VelmoraLibrary_getVersion");
    const auto initialize = symbol<int (*)(VelmoraLibraryData)>("VelmoraLibrary_initialize");
    if (get_version == nullptr || initialize == nullptr) {
        throw LibraryError(text_of(
            path_.string(),
            " is not a library for this host: VelmoraLibrary_getVersion or VelmoraLibrary_initialize is missing"));
    }
    version_ = get_version();
    if (version_ != VelmoraLibraryVersion) {
        throw LibraryError(text_of(path_.string(), " has interface version ", version_, ", but this host needs ",
                                   static_cast<int>(VelmoraLibraryVersion)));
    }
    if (const int code = initialize(table); code != LIBRARY_NO_ERROR) {
        throw LibraryError(text_of("VelmoraLibrary_initialize of ", path_.string(), " returned ", code));
    }
}

std::optional<std::string> Library::dependency_version(const char* function) const {
    // A look-up on the handle also searches the libraries that this one was linked with.
    const auto version = symbol<const char* (*)()>(function);
    if (version == nullptr) return std::nullopt;
    return std::string(version());
}

void* Library::address(const char* name) const {
    return dlsym(handle_, name);
}

}  // namespace kesh_host
