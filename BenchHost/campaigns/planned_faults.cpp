/**
 * @file   planned_faults.cpp
 * @brief  Lists the faults that are planned for each callback.
 */
#include "campaigns/planned_faults.h"

#include <fmt/format.h>

#include <algorithm>
#include <string_view>

namespace kesh_host {

std::vector<Planned> faults_of(const FaultSlot& slot, std::int64_t calls) {
    const std::string name(slot.name);
    std::vector<std::int64_t> hit;
    for (std::int64_t k = 1; k <= std::min(calls, last_call_hit); ++k) hit.push_back(k);
    std::vector<Planned> list;
    const auto add = [&](const std::string& what, std::string_view form, mint left_position = 0) {
        for (const std::int64_t k : hit)
            list.push_back({what,
                            {fmt::format("{}={}@{}", name, form, k), TableChoice::full, left_position},
                            k,
                            form.starts_with("throw")});
    };
    for (const std::string_view form : slot.forms) {
        if (form == "null") add("returns null", "null");
        if (form == "throw") add("throws std::runtime_error", "throw");
        if (form == "throw-int") add("throws an int", "throw-int");
        if (form == "slow") add("takes 0.2 s", "slow");
        if (form != "code") continue;
        if (name == "AbortQ") {
            add("returns 1", "1");
            add("returns -1", "-1");
            add("returns 2^32", "4294967296");
        } else if (name == "createAsynchronousTaskWithoutThread" || name == "removeAsynchronousTask") {
            add("returns -1", "-1");
        } else {
            for (const std::string_view code : {"1", "3", "77"}) add(fmt::format("returns code {}", code), code);
        }
    }
    if (name == "MTensor_new") add("returns 0 and a null tensor", "0");
    if (name == "MTensor_getInteger") {
        add("returns 0, position 0", "0", 0);
        add("returns 0, position 17", "0", 17);
        add("returns 0, position 1", "0", 1);
    }
    return list;
}

}  // namespace kesh_host
