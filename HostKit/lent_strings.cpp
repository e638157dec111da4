/**
 * @file   lent_strings.cpp
 * @brief  Keeps the lent strings by their addresses.
 */
#include "HostKit/lent_strings.h"

#include <algorithm>

namespace kesh_host {

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
    const auto found = strings_.find(text);
    if (found == strings_.end()) return false;
    // The string belongs to the host again. It is overwritten, so that a later read by the library is noticed.
    for (char* c = text; *c != '\0'; ++c) *c = '#';
    strings_.erase(found);
    ++handed_back_;
    return true;
}

bool StringStore::take_back(const char* text) {
    const std::lock_guard lock(mutex_);
    return strings_.erase(text) != 0;
}

std::size_t StringStore::lent() const {
    const std::lock_guard lock(mutex_);
    return strings_.size();
}

bool StringStore::lent(const char* text) const {
    const std::lock_guard lock(mutex_);
    return strings_.contains(text);
}

std::size_t StringStore::handed_back() const {
    const std::lock_guard lock(mutex_);
    return handed_back_;
}

void StringStore::clear() {
    const std::lock_guard lock(mutex_);
    strings_.clear();
    handed_back_ = 0;
}

}  // namespace kesh_host
