/**
 * @file   lent_strings.h
 * @brief  The strings that the host hands over as arguments, until the library hands them back.
 */
#pragma once

#include <memory>
#include <mutex>
#include <string_view>
#include <unordered_map>

namespace bench_host {

/** Owns every argument string. All members may be called from any thread. */
class StringStore {
  public:
    /** A NUL-terminated copy of the text for the library. */
    char* lend(std::string_view text);
    /** Releases a string, handed back by the library or taken back by the host; false when it is not one that is lent.
     */
    bool hand_back(char* text);
    std::size_t lent() const;

  private:
    mutable std::mutex mutex_;
    std::unordered_map<char*, std::unique_ptr<char[]>> strings_;
};

}  // namespace bench_host
