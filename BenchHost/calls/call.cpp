/**
 * @file   call.cpp
 * @brief  Makes a call by the calling convention: fills the slots, checks what the library writes, and catches
 *         exceptions.
 */
#include "calls/call.h"

#include <cxxabi.h>
#include <fmt/format.h>

#include <cstring>
#include <deque>
#include <optional>
#include <typeinfo>
#include <utility>

#include "HostKit/host.h"
#include "HostKit/host_count.h"
#include "HostKit/host_tables.h"
#include "terminal/stopwatch.h"

namespace kesh_host {

namespace {

/** The value of an unwritten result slot: if it is still there after the call, no result was written. */
constexpr umint untouched = 0x6b65'7368'2d68'6f73;

/** The storage behind a result slot, wide enough for every kind. */
union ResultStorage {
    umint pattern;
    mint integer;
    mbool boolean;
    char* text;
    MTensor tensor;
};

/** The slots of one call and the host-owned values behind them. */
class ArgumentSlots {
  public:
    explicit ArgumentSlots(const std::vector<ArgumentValue>& arguments) {
        for (const ArgumentValue& argument : arguments) add(argument);
    }
    ~ArgumentSlots() {
        for (MTensor tensor : tensors_) host().tensors.release(tensor);
        for (char* text : texts_) host().strings.take_back(text);
    }
    ArgumentSlots(const ArgumentSlots&) = delete;
    ArgumentSlots& operator=(const ArgumentSlots&) = delete;

    mint count() const {
        return static_cast<mint>(slots_.size());
    }
    MArgument* data() {
        return slots_.data();
    }
    /** The number of lent strings that the library has not disowned. Call it once, after the call. */
    std::size_t take_back_strings() {
        std::size_t kept = 0;
        for (char* text : texts_) kept += host().strings.take_back(text) ? 1 : 0;
        texts_.clear();
        return kept;
    }

  private:
    void add(const ArgumentValue& argument) {
        MArgument slot{};
        if (const auto* number = std::get_if<mint>(&argument.value)) {
            slot.integer = &integers_.emplace_back(*number);
        } else if (const auto* text = std::get_if<std::string>(&argument.value)) {
            slot.utf8string = &texts_.emplace_back(host().strings.lend(*text));
        } else if (const auto* values = std::get_if<std::vector<mint>>(&argument.value)) {
            slot.tensor = &tensors_.emplace_back(host().tensors.create(*values));
        }
        slots_.push_back(slot);
    }

    std::vector<MArgument> slots_;
    // Deques, because the slots point at their elements, which must not move.
    std::deque<mint> integers_;
    std::deque<char*> texts_;
    std::deque<MTensor> tensors_;
};

VelmoraLibraryData table_of(TableChoice choice) {
    switch (choice) {
        case TableChoice::full:
            return library_data();
        case TableChoice::without_io:
            return library_data_without_io();
        case TableChoice::null:
            return nullptr;
    }
    return nullptr;
}

ResultValue read_tensor(const Export& entry, MTensor tensor) {
    if (!host().tensors.lives(tensor)) {
        host().breaches.report(fmt::format("{} returned a handle that is not a tensor of this host", entry.name));
        return {};
    }
    return TensorResult(tensor, [](MTensor handle) { host().tensors.release(handle); });
}

ResultValue read_result(const Export& entry, const ResultStorage& storage) {
    switch (entry.result) {
        case Kind::none:
            return {};
        case Kind::boolean:
            return storage.boolean != 0;
        case Kind::text:
            if (storage.text == nullptr) {
                host().breaches.report(fmt::format("{} returned a null string", entry.name));
                return {};
            }
            return std::string(storage.text);
        case Kind::tensor:
            return read_tensor(entry, storage.tensor);
        default:
            return storage.integer;
    }
}

bool is_untouched(const Export& entry, const ResultStorage& storage) {
    if (entry.result != Kind::boolean) return storage.pattern == untouched;
    mbool low = 0;
    const umint mark = untouched;
    std::memcpy(&low, &mark, sizeof low);
    return storage.boolean == low;
}

void check_result_slot(const Export& entry, int code, bool written) {
    if (code != LIBRARY_NO_ERROR && written) {
        host().breaches.report(fmt::format("{} returned {}, but wrote its result slot", entry.name, code));
    } else if (code == LIBRARY_NO_ERROR && written && entry.result == Kind::none) {
        host().breaches.report(fmt::format("{} wrote its result slot, but it has no result", entry.name));
    } else if (code == LIBRARY_NO_ERROR && !written && entry.result != Kind::none) {
        host().breaches.report(fmt::format("{} returned 0 without writing its result", entry.name));
    }
}

/** The lifecycle exports have signatures of their own. */
bool call_lifecycle(const Library& library, const Export& entry, TableChoice table, Outcome& outcome) {
    if (entry.name == "VelmoraLibrary_getVersion") {
        outcome.result = library.symbol<mint (*)()>("VelmoraLibrary_getVersion")();
        outcome.wrote_result = true;
        return true;
    }
    if (entry.name == "VelmoraLibrary_initialize") {
        outcome.code = library.symbol<int (*)(VelmoraLibraryData)>("VelmoraLibrary_initialize")(table_of(table));
        outcome.status = outcome.code == LIBRARY_NO_ERROR ? Status::ok : Status::error;
        return true;
    }
    return false;
}

}  // namespace

std::string_view status_name(Status status) {
    switch (status) {
        case Status::ok:
            return "ok";
        case Status::error:
            return "error";
        case Status::exception:
            return "exception";
        case Status::stopped:
            return "stopped";
        case Status::submitted:
            return "submitted";
        case Status::missing:
            return "missing";
    }
    return "";
}

std::string demangled(const char* name) {
    int status = 0;
    const std::unique_ptr<char, void (*)(void*)> text(abi::__cxa_demangle(name, nullptr, nullptr, &status), std::free);
    return status == 0 && text ? text.get() : name;
}

Outcome call_export(const Library& library, const Export& entry, const std::vector<ArgumentValue>& arguments,
                    TableChoice table) {
    Outcome outcome;
    outcome.entry = &entry;
    outcome.arguments = arguments;
    const Stopwatch watch;
    if (call_lifecycle(library, entry, table, outcome)) {
        outcome.seconds = watch.seconds();
        return outcome;
    }
    const auto function = library.symbol<ExportFunction>(std::string(entry.name).c_str());
    if (function == nullptr) {
        outcome.status = Status::missing;
        return outcome;
    }

    ArgumentSlots slots(arguments);
    ResultStorage storage{.pattern = untouched};
    MArgument result{};
    result.integer = &storage.integer;
    std::optional<HostCount> count(std::in_place, host().tasks, entry);
    try {
        outcome.code = function(table_of(table), slots.count(), slots.data(), result);
        outcome.seconds = watch.seconds();
        outcome.status = outcome.code == LIBRARY_NO_ERROR ? Status::ok : Status::error;
    } catch (const std::exception& exception) {
        outcome.seconds = watch.seconds();
        outcome.status = Status::exception;
        outcome.exception_type = demangled(typeid(exception).name());
        outcome.exception_text = exception.what();
    } catch (...) {
        outcome.seconds = watch.seconds();
        outcome.status = Status::exception;
        const std::type_info* type = abi::__cxa_current_exception_type();
        outcome.exception_type = type == nullptr ? "a foreign exception" : demangled(type->name());
        outcome.exception_text = "(not derived from std::exception)";
    }
    count.reset();
    outcome.wrote_result = !is_untouched(entry, storage);
    if (outcome.status != Status::exception) {
        check_result_slot(entry, outcome.code, outcome.wrote_result);
        if (outcome.status == Status::ok && outcome.wrote_result) outcome.result = read_result(entry, storage);
    } else if (outcome.wrote_result && !host().faults.planned("UTF8String_disown")) {
        // The library disowns a string after it has stored the result, so only a fault of that callback may come later.
        host().breaches.report(fmt::format("{} ended with an exception, but wrote its result slot", entry.name));
    }
    // A failed count does not disown its string: the host takes it back. After a success the library must have disowned
    // it.
    outcome.kept_strings = slots.take_back_strings();
    if (outcome.kept_strings > 0 && outcome.status == Status::ok) {
        host().breaches.report(fmt::format("{} succeeded, but did not disown its string argument", entry.name));
    }
    return outcome;
}

Outcome call_export(const Library& library, std::string_view name, const std::vector<mint>& integers) {
    const Export* entry = find_export(name);
    if (entry == nullptr) throw std::logic_error(fmt::format("no export {}", name));
    std::vector<ArgumentValue> arguments;
    arguments.reserve(integers.size());
    for (const mint value : integers)
        arguments.push_back({.kind = Kind::integer, .typed = std::to_string(value), .value = value});
    return call_export(library, *entry, arguments, TableChoice::full);
}

}  // namespace kesh_host
