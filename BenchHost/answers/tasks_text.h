/**
 * @file   tasks_text.h
 * @brief  Tasks as text for people.
 */
#pragma once

#include <string>
#include <vector>

#include "HostKit/task.h"
#include "answers/print_look.h"

namespace kesh_host {

/** Makes a table of the tasks. */
std::string tasks_text(const std::vector<Task>& tasks, const PrintLook& look);

}  // namespace kesh_host
