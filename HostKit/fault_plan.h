/**
 * @file   fault_plan.h
 * @brief  Fault injection: which callback is to fail, how, and at which of its calls.
 */
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "HostKit/slots.h"

namespace kesh_host {

/** The fault that one `--fail SLOT=WHAT[@K]` plans: "SLOT=5", "=null", "=throw", "=throw-int", "=slow". */
struct Fault {
    enum class Kind {
        code,             ///< returns the code
        null,             ///< returns a null pointer
        exception,        ///< throws a std::runtime_error
        other_exception,  ///< throws an int
        delay             ///< waits for 0.2 s, then does its work
    };

    Kind kind = Kind::code;
    std::int64_t code = 0;
    std::int64_t only_call = 0;  ///< 0: every call; k: only the k-th call
};

/** The faults of this process. Set them before a call; any thread may read them. */
class FaultPlan {
  public:
    /**
     * Adds "SLOT=CODE", "SLOT=null", "SLOT=throw", "SLOT=throw-int" or "SLOT=slow", each with an optional "@K".
     * The slot "raiseAsyncEvent:Result" means raiseAsyncEvent for events named "Result" only.
     * @throws std::invalid_argument with one line that names the slots and their forms.
     */
    void add(std::string_view text);

    /** Counts one call of the slot, calls its hook, and returns the fault that is planned for this call, if any. */
    std::optional<Fault> on_call(std::string_view slot);

    /** Plans a fault that is not given as text. */
    void set(CallbackName callback, const Fault& fault);
    /** Removes the fault: the callback works again. */
    void unset(CallbackName callback);
    /**
     * Calls the hook at the entry of the callback, on the thread that calls it; the hook may wait, throw or set other
     * state. An empty hook removes it.
     */
    void before(CallbackName callback, std::function<void()> hook);
    /** Whether any fault is planned for the callback; its consequences are then not breaches by the library. */
    bool planned(CallbackName callback) const;

    bool any() const;

    /** How often each slot was called since the last clear(). */
    std::map<std::string, std::int64_t, std::less<>> calls() const;

    /** Removes all faults, hooks and counts of calls (the prompt sets them again with every line). */
    void clear();

  private:
    mutable std::mutex mutex_;
    std::map<std::string, Fault, std::less<>> faults_;
    std::map<std::string, std::int64_t, std::less<>> calls_;
    std::map<std::string, std::function<void()>, std::less<>> hooks_;
};

/** The slots that faults may name, with the forms each takes ("code", "null", "throw", ...), for help and messages. */
struct FaultSlot {
    std::string_view name;
    std::vector<std::string_view> forms;
};
const std::vector<FaultSlot>& fault_slots();

}  // namespace kesh_host
