/**
 * @file   refusal.h
 * @brief  Tells the user that the input is wrong and that nothing was called.
 */
#pragma once

#include <string>
#include <vector>

namespace kesh_host {

/** Says what is wrong with the input: one line on standard error, or an object on standard output. Returns the exit
 * code.
 */
int report_bad_input(bool json, const std::vector<std::string>& words, const std::string& message);

}  // namespace kesh_host
