/**
 * @file   tasks_text.h
 * @brief  Tasks as text for people.
 */
#pragma once

#include <string>
#include <vector>

#include "HostKit/tasks.h"
#include "answers/print_look.h"

namespace bench_host {

/** The tasks as a table. */
std::string tasks_text(const std::vector<Task>& tasks, const PrintLook& look);

}  // namespace bench_host
