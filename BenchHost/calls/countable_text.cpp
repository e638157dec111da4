/**
 * @file   countable_text.cpp
 * @brief  Reads the text again, as the library did.
 */
#include "calls/countable_text.h"

#include <fmt/format.h>

#include <stdexcept>

#include "Adapters/primecount/expression.h"

namespace kesh_host {

namespace {

constexpr std::string_view beyond = "x is above 3.0258 10^31, the largest x that can be counted";

/** 30258703151417745071150714585088, which is too long for a literal. */
constexpr kesh::counting::int128_t largest_x =
    kesh::counting::int128_t{3'025'870'315'141'774} * 10'000'000'000'000'000 + 5'071'150'714'585'088;

}  // namespace

std::string why_not_countable(const Export& entry, std::span<const ArgumentValue> arguments) {
    const auto* text =
        entry.takes_text() && !arguments.empty() ? std::get_if<std::string>(&arguments.back().value) : nullptr;
    if (text == nullptr) return "";
    try {
        return kesh::counting::evaluate(*text) > largest_x ? fmt::format("{}.", beyond) : "";
    } catch (const std::overflow_error&) {
        return fmt::format("{}.", beyond);
    } catch (const std::exception& error) {
        return fmt::format("The text cannot be read: {}.", error.what());
    }
}

}  // namespace kesh_host
