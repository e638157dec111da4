/**
 * @file   output_file.cpp
 * @brief  Writes files and checks every error.
 */
#include "terminal/output_file.h"

#include <fmt/format.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "terminal/bad_input.h"

namespace kesh_host {

namespace fs = std::filesystem;

void check_writable(const std::string& path) {
    std::error_code error;
    const fs::path file(path);
    if (fs::is_directory(file, error)) throw BadInput(fmt::format("{} is a folder and cannot be written", path));
    const fs::path folder = file.has_parent_path() ? file.parent_path() : fs::path(".");
    if (fs::exists(folder, error) && !fs::is_directory(folder, error))
        throw BadInput(fmt::format("{} cannot be written: {} is not a folder", path, folder.string()));
    if (access((fs::exists(file, error) ? file : folder).c_str(), W_OK) != 0)
        throw BadInput(fmt::format("{} cannot be written: {}", path, std::strerror(errno)));
}

void write_whole_file(const std::string& path, const std::string& content) {
    errno = 0;
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(content.data(), static_cast<std::streamsize>(content.size()));
    if (!file.flush()) throw OutputError(fmt::format("{} cannot be written: {}", path, std::strerror(errno)));
}

bool standard_output_complete() {
    return std::fflush(stdout) == 0 && std::ferror(stdout) == 0;
}

}  // namespace kesh_host
