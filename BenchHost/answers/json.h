/**
 * @file   json.h
 * @brief  Calls, exports and tasks as JSON for programs.
 */
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

#include "HostKit/export_table.h"
#include "HostKit/task.h"
#include "calls/call.h"

namespace kesh_host {

/** The call as one JSON object; docs/kesh-host.md describes its members. */
nlohmann::ordered_json to_json(const Outcome& outcome);
nlohmann::ordered_json to_json(const Task& task);
/** The object as a line. Bytes that are not UTF-8 become U+FFFD, because JSON text cannot contain them. */
std::string json_line(const nlohmann::ordered_json& object);
nlohmann::ordered_json to_json(const Export& entry);
nlohmann::ordered_json list_json();
nlohmann::ordered_json tasks_json(const std::vector<Task>& tasks);

}  // namespace kesh_host
