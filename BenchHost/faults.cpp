/**
 * @file   faults.cpp
 * @brief  Reads and keeps the planned faults.
 */
#include "faults.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <stdexcept>

namespace bench_host {

const std::vector<FaultSlot>& fault_slots() {
    static const std::vector<FaultSlot> slots = {
        {"MTensor_new", "code, throw"},
        {"MTensor_getInteger", "code, throw"},
        {"MTensor_getIntegerData", "null, throw"},
        {"AbortQ", "code"},
        {"createAsynchronousTaskWithoutThread", "code, throw"},
        {"createDataStore", "null, throw"},
        {"DataStore_addInteger", "throw"},
        {"DataStore_addReal", "throw"},
        {"DataStore_addString", "throw"},
        {"raiseAsyncEvent", "throw"},
        {"raiseAsyncEvent:Status", "throw"},
        {"raiseAsyncEvent:Result", "throw"},
        {"raiseAsyncEvent:Error", "throw"},
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
            "--fail {}: '=' is missing; write SLOT=CODE, SLOT=null or SLOT=throw, each with an optional @K", text));
    }
    const FaultSlot& slot = find_slot(text.substr(0, equals), text);
    std::string_view what = text.substr(equals + 1);

    Fault fault;
    if (const std::size_t at = what.find('@'); at != std::string_view::npos) {
        fault.only_call = read_number(what.substr(at + 1), text);
        what = what.substr(0, at);
    }
    std::string_view form = "code";
    if (what == "null" || what == "throw") {
        form = what;
        fault.kind = what == "null" ? Fault::Kind::null : Fault::Kind::exception;
    } else {
        fault.code = read_number(what, text);
    }
    if (slot.forms.find(form) == std::string_view::npos) {
        throw std::invalid_argument(fmt::format("--fail {}: {} takes {}", text, slot.name, slot.forms));
    }
    const std::lock_guard lock(mutex_);
    entries_[std::string(slot.name)] = Entry{fault, 0};
}

std::optional<Fault> FaultPlan::on_call(std::string_view slot) {
    const std::lock_guard lock(mutex_);
    const auto found = entries_.find(slot);
    if (found == entries_.end()) return std::nullopt;
    Entry& entry = found->second;
    ++entry.calls;
    if (entry.fault.only_call != 0 && entry.fault.only_call != entry.calls) return std::nullopt;
    return entry.fault;
}

bool FaultPlan::planned(std::string_view slot) const {
    const std::lock_guard lock(mutex_);
    return entries_.find(slot) != entries_.end();
}

bool FaultPlan::any() const {
    const std::lock_guard lock(mutex_);
    return !entries_.empty();
}

void FaultPlan::clear() {
    const std::lock_guard lock(mutex_);
    entries_.clear();
}

}  // namespace bench_host
