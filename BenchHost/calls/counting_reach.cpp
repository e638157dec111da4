/**
 * @file   counting_reach.cpp
 * @brief  Finds out by one small count whether the hooks work, and which libprimecount is loaded.
 */
#include "calls/counting_reach.h"

#include <fmt/format.h>
#include <link.h>

#include <cstdio>
#include <filesystem>
#include <optional>

#include "HostKit/export_table.h"
#include "HostKit/host.h"
#include "calls/call.h"

namespace kesh_host {

namespace {

/** The file of the loaded libprimecount; empty if none is. */
std::string loaded_primecount() {
    std::string file;
    dl_iterate_phdr(
        [](dl_phdr_info* object, size_t, void* found) {
            const std::string name = object->dlpi_name;
            if (name.find("libprimecount.") == std::string::npos) return 0;
            *static_cast<std::string*>(found) = name;
            return 1;
        },
        &file);
    return file;
}

/** Whether libprimecount was loaded before main(), and so before the library; this program does not link to it. */
const bool loaded_with_program = !loaded_primecount().empty();

std::string find_out(const Library& library) {
    constexpr mint small = 300'000'000;  // large enough for every hook
    const mint asked = host().abort_questions;
    const Outcome outcome = call_export(library, "PrimeCount_PrimePi", {small});
    if (outcome.status == Status::missing || host().abort_questions > asked) return "";
    if (loaded_with_program)
        return "prime counts show no progress and cannot be stopped here: libprimecount was loaded before the library";
    std::error_code error;
    const std::filesystem::path file = std::filesystem::canonical(loaded_primecount(), error);
    return fmt::format(
        "prime counts show no progress and cannot be stopped here: {} is of an unknown version, or calls its own "
        "functions directly",
        error ? "libprimecount" : file.string());
}

/** Whether the call counts primes up to a bound so large that it takes seconds. For text this is not known. */
bool is_long_count(const Export& entry, std::span<const ArgumentValue> arguments) {
    constexpr mint long_from = 10'000'000'000'000;
    const bool counts = entry.route == Route::as_task || entry.route == Route::status || entry.family == Family::tasks;
    if (!counts || arguments.empty()) return false;
    const auto& bound = arguments.back().value;
    if (const auto* const number = std::get_if<mint>(&bound)) return *number >= long_from;
    return std::holds_alternative<std::string>(bound);
}

}  // namespace

std::string why_counts_are_silent(const Library& library) {
    static std::optional<std::string> reason;
    if (!reason && (host().faults.any() || host().tasks.running() > 0)) return "";
    if (!reason) reason = find_out(library);
    return *reason;
}

void warn_of_silent_count(const Library& library, const Export& entry, std::span<const ArgumentValue> arguments) {
    static bool told = false;
    if (told || !is_long_count(entry, arguments)) return;
    const std::string reason = why_counts_are_silent(library);
    if (reason.empty()) return;
    told = true;
    fmt::print(stderr, "kesh-host: {}\n", reason);
}

}  // namespace kesh_host
