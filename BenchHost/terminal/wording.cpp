/**
 * @file   wording.cpp
 * @brief  Numbers and lists in sentences.
 */
#include "terminal/wording.h"

#include <fmt/format.h>

namespace kesh_host {

std::string counted(std::size_t number, std::string_view one, std::string_view many) {
    return fmt::format("{} {}", number, number == 1 ? one : many);
}

std::string listed(std::span<const std::string> words, std::string_view conjunction) {
    std::string text;
    for (std::size_t i = 0; i < words.size(); ++i) {
        if (i > 0) text += i + 1 == words.size() ? fmt::format(" {} ", conjunction) : ", ";
        text += words[i];
    }
    return text;
}

}  // namespace kesh_host
