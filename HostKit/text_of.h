/**
 * @file   text_of.h
 * @brief  Puts the parts of a message together.
 */
#pragma once

#include <sstream>
#include <string>

namespace kesh_host {

/** The parts one after the other, each as a stream prints it. */
template <typename... Parts>
std::string text_of(const Parts&... parts) {
    std::ostringstream text;
    (text << ... << parts);
    return text.str();
}

}  // namespace kesh_host
