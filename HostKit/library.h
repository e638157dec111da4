/**
 * @file   library.h
 * @brief  Finds, opens and initialises the library as a host does: dlopen with RTLD_NOW | RTLD_LOCAL, version,
 * initialisation.
 */
#pragma once

#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "VelmoraLibrary.h"

namespace kesh_host {

/** Every computational export. */
using ExportFunction = int (*)(VelmoraLibraryData, mint, MArgument*, MArgument);
/** KESH_PrimeQ, which has its own calling convention. */
using PrimeQFunction = mbool (*)(const umint*, mint, mbool*);

/** The library cannot be found, opened or used; what() is one line. */
class LibraryError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/** The opened library. It is never closed: its detached threads may still run. */
class Library {
  public:
    /**
     * Opens the library at `path`. If `path` is empty, opens the first one found: beside the program, or where an
     * installation puts it relative to the program. Checks the interface version and calls the initialisation with
     * `table`.
     * @throws LibraryError
     */
    Library(const std::string& path, VelmoraLibraryData table);

    /** Address of an exported function, or null when the library has no such symbol. */
    template <typename Function>
    Function symbol(const char* name) const {
        return reinterpret_cast<Function>(address(name));
    }

    const std::filesystem::path& path() const {
        return path_;
    }
    mint interface_version() const {
        return version_;
    }
    /** The result of a dependency's own version function (a C function without arguments). */
    std::optional<std::string> dependency_version(const char* function) const;

  private:
    void* address(const char* name) const;

    void* handle_ = nullptr;
    std::filesystem::path path_;
    mint version_ = 0;
};

/** Where the library is looked for when no path is given. */
std::vector<std::filesystem::path> library_candidates();

}  // namespace kesh_host
