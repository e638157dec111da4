/**
 * @file   text_of.h
 * @brief  Joins the parts of a message.
 */
#pragma once

#include <sstream>
#include <string>

namespace kesh_host {

/** The parts one after another, each as a stream prints it. */
template <typename... Parts>
std::string text_of(const Parts&... parts) {
    std::ostringstream text;
    (text << ... << parts);
    return text.str();
}

}  // namespace kesh_host
