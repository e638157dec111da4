/**
 * @file   functions_page.h
 * @brief  The reference page of all exports, docs/functions.md, made from the table of exports.
 */
#pragma once

#include <string>

namespace kesh_host {

/** The page in Markdown. `kesh-host --functions-page > docs/functions.md` renews it; a test compares the two. */
std::string functions_page();

}  // namespace kesh_host
