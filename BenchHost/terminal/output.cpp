/**
 * @file   output.cpp
 * @brief  Writes text to standard output and standard error.
 */
#include "terminal/output.h"

#include <cstdio>

namespace kesh_host {

void print(const std::string& text) {
    std::fputs(text.c_str(), stdout);
    std::fflush(stdout);
}

void print_error(const std::string& text) {
    std::fflush(stdout);
    std::fputs(text.c_str(), stderr);
}

}  // namespace kesh_host
