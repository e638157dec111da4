/**
 * @file   fault_page.h
 * @brief  Every callback goes wrong in every way, at its first calls and at a later one, under every export that makes
 *         it; and what comes of it, docs/fault-outcomes.md.
 */
#pragma once

#include <string>
#include <vector>

#include "HostKit/library.h"

namespace kesh_host {

/**
 * The page of outcomes in Markdown, of all exports or of those named. Each case runs in a process of its own, because
 * some faults end the process by design: an exception that leaves a thread, a null pointer that the host promised not
 * to hand out. `kesh-host faults > docs/fault-outcomes.md` renews the page; a test holds the two together.
 * Precondition: nothing has been called yet in this process.
 * @throws std::runtime_error when a count is over before it has reported its progress often enough
 */
std::string fault_page(const Library& library, const std::vector<std::string>& exports);

}  // namespace kesh_host
