/**
 * @file   breaches.cpp
 * @brief  Collects breaches from any thread, and passes them to the listener.
 */
#include "HostKit/breaches.h"

#include <utility>

namespace kesh_host {

void Breaches::on_breach(Listener listener) {
    const std::lock_guard lock(mutex_);
    listener_ = std::move(listener);
}

void Breaches::report(const std::string& what) {
    const std::lock_guard lock(mutex_);
    fresh_.push_back(what);
    ++total_;
    if (listener_) listener_(what);
}

std::vector<std::string> Breaches::take() {
    const std::lock_guard lock(mutex_);
    return std::exchange(fresh_, {});
}

std::size_t Breaches::total() const {
    const std::lock_guard lock(mutex_);
    return total_;
}

}  // namespace kesh_host
