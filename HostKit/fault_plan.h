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

/** What one `--fail SLOT=WHAT[@K]` asks for: "SLOT=5", "=null", "=throw", "=throw-int", "=slow". */
struct Fault {
    enum class Kind {
        code,             ///< returns the code
        null,             ///< returns a null pointer
        exception,        ///< throws a std::runtime_error
        other_exception,  ///< throws an int
        delay             ///< does its work, 0.2 s late
    };

    Kind kind = Kind::code;
    std::int64_t code = 0;
    std::int64_t only_call = 0;  ///< 0: every call; k: the k-th call alone
};

/** The faults of this process. Asked from any thread; set before a call. */
class FaultPlan {
  public:
    /**
     * Adds "SLOT=CODE", "SLOT=null", "SLOT=throw", "SLOT=throw-int" or "SLOT=slow", each with an optional "@K".
     * The slot "raiseAsyncEvent:Result" means raiseAsyncEvent for events of that name alone.
     * @throws std::invalid_argument with one line that names the slots and forms there are.
     */
    void add(std::string_view text);

    /** Counts one call of the slot, calls its hook, and returns what it is to do instead of its work, if anything. */
    std::optional<Fault> on_call(std::string_view slot);

    /** The same, not as text. */
    void set(CallbackName callback, const Fault& fault);
    /** The callback works again. */
    void unset(CallbackName callback);
    /**
     * Calls the hook at the entry of the callback, on the thread that calls it; it may wait, throw or set other state.
     * An empty hook is none.
     */
    void before(CallbackName callback, std::function<void()> hook);
    /** Whether any fault is planned for the callback; what follows from it is then no breach of the library's. */
    bool planned(CallbackName callback) const;

    bool any() const;

    /** How often each slot was called since the last clear(). */
    std::map<std::string, std::int64_t, std::less<>> calls() const;

    /** Forgets all faults, hooks and calls (the prompt sets them anew with every line). */
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
