/**
 * @file   show.h
 * @brief  Prints an input as the operation and the operands that it stands for: `Tools/fuzz --show` asks for it.
 */
#pragma once

#include <cstdlib>
#include <iostream>

namespace kesh::fuzz {

/** Whether the environment asks for this output. */
inline bool showing() {
    static const bool wanted = std::getenv("KESH_FUZZ_SHOW") != nullptr;
    return wanted;
}

/** Prints its arguments as one line, if the environment asks for it. Targets call it before they do the operation. */
template <class... Parts>
void show(const Parts&... parts) {
    if (showing()) (std::cout << ... << parts) << std::endl;
}

}  // namespace kesh::fuzz
