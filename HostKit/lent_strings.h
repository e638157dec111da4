/**
 * @file   lent_strings.h
 * @brief  The strings that the host lends to the library as arguments, until the library disowns them.
 */
#pragma once

#include <memory>
#include <mutex>
#include <string_view>
#include <unordered_map>

namespace kesh_host {

/** Owns every argument string. All members may be called from any thread. */
class StringStore {
  public:
    /** A NUL-terminated copy of the text for the library. */
    char* lend(std::string_view text);
    /** The library disowns a string; false if it is not lent. */
    bool hand_back(char* text);
    /** The host takes a string back; false if the library has already disowned it. */
    bool take_back(const char* text);
    std::size_t lent() const;
    bool lent(const char* text) const;
    /** The number of strings that the library has disowned since the last clear(). */
    std::size_t handed_back() const;
    /** Takes back all strings. */
    void clear();

  private:
    mutable std::mutex mutex_;
    std::unordered_map<const char*, std::unique_ptr<char[]>> strings_;
    std::size_t handed_back_ = 0;
};

}  // namespace kesh_host
