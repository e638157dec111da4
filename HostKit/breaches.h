/**
 * @file   breaches.h
 * @brief  Reports and counts breaches: everything that the library must never do.
 */
#pragma once

#include <functional>
#include <mutex>
#include <string>
#include <vector>

namespace kesh_host {

/** Collects breaches of the host protocol. May be called from any thread. */
class Breaches {
  public:
    using Listener = std::function<void(const std::string&)>;

    /** The listener receives every breach, on the thread that commits it. Set it before any call is made. */
    void on_breach(Listener listener);

    void report(const std::string& what);

    /** The breaches since the last take(). */
    std::vector<std::string> take();

    /** All breaches of the process. */
    std::size_t total() const;

  private:
    mutable std::mutex mutex_;
    Listener listener_;
    std::vector<std::string> fresh_;
    std::size_t total_ = 0;
};

}  // namespace kesh_host
