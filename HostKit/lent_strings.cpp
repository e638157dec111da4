/**
 * @file   lent_strings.cpp
 * @brief  A registry of lent strings.
 */
#include "HostKit/lent_strings.h"

#include <algorithm>

namespace bench_host {

char* StringStore::lend(std::string_view text) {
    auto copy = std::make_unique<char[]>(text.size() + 1);
    std::copy(text.begin(), text.end(), copy.get());
    char* handle = copy.get();
    const std::lock_guard lock(mutex_);
    strings_.emplace(handle, std::move(copy));
    return handle;
}

bool StringStore::hand_back(char* text) {
    const std::lock_guard lock(mutex_);
    return strings_.erase(text) != 0;
}

std::size_t StringStore::lent() const {
    const std::lock_guard lock(mutex_);
    return strings_.size();
}

}  // namespace bench_host
