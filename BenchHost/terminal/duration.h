/**
 * @file   duration.h
 * @brief  Formats times for people.
 */
#pragma once

#include <string>

namespace kesh_host {

/** "35 us", "2.4 ms", "0.42 s", "12.3 s", "2 min 05 s", "1 h 03 min". */
std::string format_duration(double seconds);

}  // namespace kesh_host
