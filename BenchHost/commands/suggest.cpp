/**
 * @file   suggest.cpp
 * @brief  Computes edit distances and chooses the nearest names.
 */
#include "commands/suggest.h"

#include <algorithm>
#include <cctype>
#include <utility>

namespace kesh_host {

namespace {

/** The number of first letters of a name that is enough to suggest it. */
constexpr std::size_t shortest_beginning = 4;

char lower(char c) {
    return static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
}

}  // namespace

std::size_t edit_distance(std::string_view a, std::string_view b) {
    std::vector<std::vector<std::size_t>> cost(a.size() + 1, std::vector<std::size_t>(b.size() + 1));
    for (std::size_t i = 0; i <= a.size(); ++i) cost[i][0] = i;
    for (std::size_t j = 0; j <= b.size(); ++j) cost[0][j] = j;
    for (std::size_t i = 1; i <= a.size(); ++i) {
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const bool same = lower(a[i - 1]) == lower(b[j - 1]);
            cost[i][j] = std::min({cost[i - 1][j] + 1, cost[i][j - 1] + 1, cost[i - 1][j - 1] + (same ? 0U : 1U)});
            if (i > 1 && j > 1 && lower(a[i - 1]) == lower(b[j - 2]) && lower(a[i - 2]) == lower(b[j - 1])) {
                cost[i][j] = std::min(cost[i][j], cost[i - 2][j - 2] + 1);
            }
        }
    }
    return cost[a.size()][b.size()];
}

std::vector<std::string> nearest_names(std::string_view typed, std::span<const std::string> names) {
    if (typed.empty() || typed.size() > 100) return {};
    std::vector<std::pair<std::size_t, std::string>> near;
    for (const std::string& name : names) {
        const std::string_view tail = std::string_view(name).substr(name.rfind('_') + 1);
        const std::size_t distance = std::min(edit_distance(typed, name), edit_distance(typed, tail));
        // Names that begin with the typed word, which Tab would complete, come after mistyped ones.
        const bool begins =
            typed.size() >= shortest_beginning && edit_distance(typed, name.substr(0, typed.size())) == 0;
        if (distance <= 1 + typed.size() / 5) {
            near.emplace_back(distance, name);
        } else if (begins) {
            near.emplace_back(typed.size(), name);
        }
    }
    std::stable_sort(near.begin(), near.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    std::vector<std::string> result;
    for (std::size_t i = 0; i < near.size() && i < 3; ++i) {
        // A name that differs only in upper and lower case is the intended one.
        if (i > 0 && near[0].first == 0 && near[i].first > 0) break;
        result.push_back(near[i].second);
    }
    return result;
}

}  // namespace kesh_host
