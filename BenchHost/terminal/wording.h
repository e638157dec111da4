/**
 * @file   wording.h
 * @brief  Numbers and lists as parts of a sentence.
 */
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

namespace kesh_host {

/** "1 prime", "25 primes". */
std::string counted(std::size_t number, std::string_view one, std::string_view many);

/** "a", "a or b", "a, b or c", with the conjunction "or". */
std::string listed(std::span<const std::string> words, std::string_view conjunction);

}  // namespace kesh_host
