/**
 * @file   bad_input.h
 * @brief  The exception for what the user typed and the host cannot use.
 */
#pragma once

#include <stdexcept>

namespace kesh_host {

/** Input that no call is made of. what() is one line: what is wrong and what would be right. */
class BadInput : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

}  // namespace kesh_host
