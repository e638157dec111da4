/**
 * @file   countable_text.h
 * @brief  Why a count of a text failed: the export returns only a code.
 */
#pragma once

#include <span>
#include <string>

#include "HostKit/export_table.h"
#include "calls/arguments.h"

namespace kesh_host {

/**
 * One sentence: the text is malformed, or its value is above the largest x that can be counted. Empty if neither is
 * true, and for exports that take no text. The text is read by the library's own reader.
 */
std::string why_not_countable(const Export& entry, std::span<const ArgumentValue> arguments);

}  // namespace kesh_host
