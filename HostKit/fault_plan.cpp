/**
 * @file   fault_plan.cpp
 * @brief  Reads the planned faults and decides for each call of a slot which one applies.
 */
#include "HostKit/fault_plan.h"

#include <algorithm>
#include <charconv>
#include <stdexcept>
#include <utility>

#include "HostKit/text_of.h"

namespace kesh_host {

namespace {

std::vector<std::string_view> forms_of(Returns returns) {
    switch (returns) {
        case Returns::code:
            return {"code", "throw", "throw-int", "slow"};
        case Returns::pointer:
            return {"null", "throw", "throw-int", "slow"};
        case Returns::nothing:
            break;
    }
    return {"throw", "throw-int", "slow"};
}

std::string joined(const std::vector<std::string_view>& words) {
    std::string text;
    for (const std::string_view word : words) text.append(text.empty() ? "" : ", ").append(word);
    return text;
}

}  // namespace

const std::vector<FaultSlot>& fault_slots() {
    static const std::vector<FaultSlot> slots = [] {
        std::vector<FaultSlot> list;
        for (const Callback& callback : callbacks) list.push_back({callback.name, forms_of(callback.returns)});
        return list;
    }();
    return slots;
}

namespace {

std::int64_t read_number(std::string_view text, std::string_view whole) {
    std::int64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size()) {
        throw std::invalid_argument(
            text_of("--fail ", whole, ": '", text, "' is not a number; write for example --fail MTensor_new=5@2"));
    }
    return value;
}

const FaultSlot& find_slot(std::string_view name, std::string_view whole) {
    const auto& slots = fault_slots();
    const auto found =
        std::find_if(slots.begin(), slots.end(), [&](const FaultSlot& slot) { return slot.name == name; });
    if (found == slots.end()) {
        std::vector<std::string_view> names;
        for (const FaultSlot& slot : slots) names.push_back(slot.name);
        throw std::invalid_argument(text_of("--fail ", whole, ": there is no callback '", name,
                                            "' that can be made to fail; the callbacks are ", joined(names)));
    }
    return *found;
}

}  // namespace

void FaultPlan::add(std::string_view text) {
    const std::size_t equals = text.find('=');
    if (equals == std::string_view::npos) {
        throw std::invalid_argument(text_of(
            "--fail ", text,
            ": '=' is missing; write SLOT=CODE, or =null, =throw, =throw-int, =slow, each with an optional @K"));
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
        throw std::invalid_argument(text_of("--fail ", text, ": ", slot.name, " takes ", joined(slot.forms)));
    }
    const std::lock_guard lock(mutex_);
    faults_[std::string(slot.name)] = fault;
}

void FaultPlan::set(CallbackName callback, const Fault& fault) {
    const std::lock_guard lock(mutex_);
    faults_[std::string(callback.text)] = fault;
}

void FaultPlan::unset(CallbackName callback) {
    const std::lock_guard lock(mutex_);
    faults_.erase(std::string(callback.text));
}

void FaultPlan::before(CallbackName callback, std::function<void()> hook) {
    const std::lock_guard lock(mutex_);
    hooks_[std::string(callback.text)] = std::move(hook);
}

std::optional<Fault> FaultPlan::on_call(std::string_view slot) {
    std::unique_lock lock(mutex_);
    const std::int64_t call = ++calls_[std::string(slot)];
    if (const auto found = hooks_.find(slot); found != hooks_.end() && found->second) {
        const std::function<void()> hook = found->second;
        lock.unlock();
        hook();
        lock.lock();
    }
    const auto found = faults_.find(slot);
    if (found == faults_.end()) return std::nullopt;
    const Fault& fault = found->second;
    if (fault.only_call != 0 && fault.only_call != call) return std::nullopt;
    return fault;
}

bool FaultPlan::planned(CallbackName callback) const {
    const std::lock_guard lock(mutex_);
    return faults_.find(callback.text) != faults_.end();
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
    hooks_.clear();
    calls_.clear();
}

}  // namespace kesh_host
