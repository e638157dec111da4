/**
 * @file   fault_page.h
 * @brief  Makes every callback fail in every way, at its first calls, under every export that calls it, and writes the
 *         outcomes as docs/fault-outcomes.md.
 */
#pragma once

#include <string>
#include <vector>

#include "HostKit/library.h"

namespace kesh_host {

/**
 * The page of outcomes in Markdown, of all exports or of those named. Each case runs in a separate process, because
 * some faults end the process by design: an exception that leaves a thread, or a null pointer that the interface does
 * not allow. `kesh-host faults > docs/fault-outcomes.md` renews the page; a test compares the two. Precondition:
 * nothing has been called yet in this process.
 * @throws std::runtime_error when a count is over before it has reported its progress often enough
 */
std::string fault_page(const Library& library, const std::vector<std::string>& exports);

}  // namespace kesh_host
