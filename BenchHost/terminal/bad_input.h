/**
 * @file   bad_input.h
 * @brief  The exception for input that the host cannot use.
 */
#pragma once

#include <stdexcept>

namespace kesh_host {

/** Bad input; nothing was called. what() is one line: what is wrong and what would be right. */
class BadInput : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

}  // namespace kesh_host
