/**
 * @file   library.h
 * @brief  The shared library under test, opened as a host opens it, and its exports by name.
 */
#pragma once

#include <dlfcn.h>

#include <stdexcept>
#include <string>

#include "VelmoraLibrary.h"

namespace kesh::test {

using Export = int (*)(VelmoraLibraryData, mint, MArgument*, MArgument);

class Library {
  public:
    /** The one library that CMake built; opened on first use and kept for the life of the test process. */
    static Library& instance() {
        static Library library;
        return library;
    }

    template <typename Function = Export>
    Function get(const std::string& name) const {
        void* symbol = dlsym(handle_, name.c_str());
        if (symbol == nullptr) throw std::runtime_error("no export named " + name);
        return reinterpret_cast<Function>(symbol);
    }

  private:
    Library() : handle_(dlopen(KESH_LIBRARY_PATH, RTLD_NOW | RTLD_LOCAL)) {
        if (handle_ == nullptr) throw std::runtime_error(dlerror());
    }

    void* handle_;
};

}  // namespace kesh::test
