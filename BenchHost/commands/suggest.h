/**
 * @file   suggest.h
 * @brief  "Did you mean": the names nearest to a mistyped one.
 */
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace kesh_host {

/** Edit distance with transpositions (optimal string alignment), letters of either case taken as equal. */
std::size_t edit_distance(std::string_view a, std::string_view b);

/**
 * At most three of the names that are near enough to `typed`, nearest first; the part after the last '_' counts as a
 * name too.
 */
std::vector<std::string> nearest_names(std::string_view typed, std::span<const std::string> names);

}  // namespace kesh_host
