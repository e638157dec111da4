/**
 * @file   faults.cpp
 * @brief  Reads and keeps the planned faults.
 */
#include "HostKit/faults.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <charconv>
#include <stdexcept>

namespace bench_host {

const std::vector<FaultSlot>& fault_slots() {
    static const std::vector<std::string_view> code = {"code", "throw", "throw-int", "slow"};
    static const std::vector<std::string_view> null = {"null", "throw", "throw-int", "slow"};
    static const std::vector<std::string_view> nothing = {"throw", "throw-int", "slow"};
    static const std::vector<FaultSlot> slots = {
        {"UTF8String_disown", nothing},
        {"MTensor_new", code},
        {"MTensor_getInteger", code},
        {"MTensor_getIntegerData", null},
        {"AbortQ", code},
        {"createAsynchronousTaskWithoutThread", code},
        {"createDataStore", null},
        {"DataStore_addInteger", nothing},
        {"DataStore_addReal", nothing},
        {"DataStore_addString", nothing},
        {"raiseAsyncEvent", nothing},
        {"raiseAsyncEvent:Status", nothing},
        {"raiseAsyncEvent:Result", nothing},
        {"raiseAsyncEvent:Error", nothing},
        {"removeAsynchronousTask", code},
    };
    return slots;
}

namespace {

std::int64_t read_number(std::string_view text, std::string_view whole) {
    std::int64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size()) {
        throw std::invalid_argument(
            fmt::format("--fail {}: '{}' is no number; write for example --fail MTensor_new=5@2", whole, text));
    }
    return value;
}

const FaultSlot& find_slot(std::string_view name, std::string_view whole) {
    const auto& slots = fault_slots();
    const auto found =
        std::find_if(slots.begin(), slots.end(), [&](const FaultSlot& slot) { return slot.name == name; });
    if (found == slots.end()) {
        std::string names;
        for (const FaultSlot& slot : slots) names += fmt::format("{}{}", names.empty() ? "" : ", ", slot.name);
        throw std::invalid_argument(
            fmt::format("--fail {}: no callback '{}' can be made to fail; there are {}", whole, name, names));
    }
    return *found;
}

}  // namespace

void FaultPlan::add(std::string_view text) {
    const std::size_t equals = text.find('=');
    if (equals == std::string_view::npos) {
        throw std::invalid_argument(fmt::format(
            "--fail {}: '=' is missing; write SLOT=CODE, or =null, =throw, =throw-int, =slow, each with an optional @K",
            text));
    }
    const FaultSlot& slot = find_slot(text.substr(0, equals), text);
    std::string_view what = text.substr(equals + 1);

    Fault fault;
    if (const std::size_t at = what.find('@'); at != std::string_view::npos) {
        fault.only_call = read_number(what.substr(at + 1), text);
        what = what.substr(0, at);
    }
    static const std::map<std::string_view, Fault::Kind> words = {{"null", Fault::Kind::null},
                                                                  {"throw", Fault::Kind::exception},
                                                                  {"throw-int", Fault::Kind::other_exception},
                                                                  {"slow", Fault::Kind::delay}};
    std::string_view form = "code";
    if (const auto word = words.find(what); word != words.end()) {
        form = what;
        fault.kind = word->second;
    } else {
        fault.code = read_number(what, text);
    }
    if (std::find(slot.forms.begin(), slot.forms.end(), form) == slot.forms.end()) {
        throw std::invalid_argument(
            fmt::format("--fail {}: {} takes {}", text, slot.name, fmt::join(slot.forms, ", ")));
    }
    const std::lock_guard lock(mutex_);
    faults_[std::string(slot.name)] = fault;
}

std::optional<Fault> FaultPlan::on_call(std::string_view slot) {
    const std::lock_guard lock(mutex_);
    const std::int64_t call = ++calls_[std::string(slot)];
    const auto found = faults_.find(slot);
    if (found == faults_.end()) return std::nullopt;
    const Fault& fault = found->second;
    if (fault.only_call != 0 && fault.only_call != call) return std::nullopt;
    return fault;
}

bool FaultPlan::planned(std::string_view slot) const {
    const std::lock_guard lock(mutex_);
    return faults_.find(slot) != faults_.end();
}

bool FaultPlan::any() const {
    const std::lock_guard lock(mutex_);
    return !faults_.empty();
}

std::map<std::string, std::int64_t, std::less<>> FaultPlan::calls() const {
    const std::lock_guard lock(mutex_);
    return calls_;
}

void FaultPlan::clear() {
    const std::lock_guard lock(mutex_);
    faults_.clear();
    calls_.clear();
}

}  // namespace bench_host
