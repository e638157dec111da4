/**
 * @file   test_host.h
 * @brief  The host kit for tests: one host a process, whose breaches fail the test, and calls of exports by name.
 */
#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "HostKit/export_table.h"
#include "HostKit/host.h"
#include "HostKit/host_count.h"
#include "HostKit/host_tables.h"
#include "support/library.h"

namespace kesh::test {

using kesh_host::Event;

/** The host of the kit as tests see it. `reset()` forgets everything but the tasks that still run. */
class TestHost {
  public:
    static TestHost& instance() {
        static TestHost& host = *new TestHost;
        return host;
    }

    /** To be copied by a test that has a callback of its own. */
    const st_VelmoraLibraryData& table = *kesh_host::library_data();
    const st_VelmoraIOLibrary_Functions& io = *table.ioLibraryFunctions;

    VelmoraLibraryData data() const {
        return kesh_host::library_data();
    }

    /** What AbortQ answers, and how often it was asked. */
    std::atomic<mint>& abort = kesh_host::host().abort_answer;
    std::atomic<mint>& abort_calls = kesh_host::host().abort_questions;

    /** Called at the entry of the callback, on the calling thread; may throw, sleep or set other state. */
    void before(kesh_host::CallbackName callback, std::function<void()> hook) {
        host_.faults.before(callback, std::move(hook));
    }

    /** The callback returns this code and does nothing; 0: it works. */
    void fail(kesh_host::CallbackName callback, int code) {
        if (code == LIBRARY_NO_ERROR) {
            host_.faults.unset(callback);
        } else {
            host_.faults.set(callback, {.kind = kesh_host::Fault::Kind::code, .code = code});
        }
    }

    /** createDataStore returns null from now on. */
    void make_no_data_stores() {
        host_.faults.set("createDataStore", {.kind = kesh_host::Fault::Kind::null});
        host_.tasks.tolerate_missing_store(true);
    }

    /** A string argument as the host owns it. */
    char* new_string(const std::string& text) {
        return host_.strings.lend(text);
    }
    /** Whether the library has not handed the string back. */
    bool lent(const char* text) const {
        return host_.strings.lent(text);
    }
    /** How many strings it has handed back. */
    std::size_t handed_back() const {
        return host_.strings.handed_back();
    }

    std::size_t tensors() const {
        return host_.tensors.living();
    }

    /** DataStores that an exception of a callback kept from being handed over. */
    std::size_t discarded_data_stores() const {
        return host_.tasks.discarded_stores() - discarded_before_;
    }

    std::vector<Event> events() const {
        const std::lock_guard lock(mutex_);
        return events_;
    }

    /** Breaches no longer fail the test; breaches() returns them. */
    void expect_breaches() {
        expecting_breaches_ = true;
    }
    /** The breaches since the last call. */
    std::vector<std::string> breaches() {
        return host_.breaches.take();
    }

    /**
     * Waits until the condition on the recorded events holds; false after the given time. The usual limit is longer
     * than any machine takes, so that only an event that never comes fails.
     */
    bool wait_until(const std::function<bool(const std::vector<Event>&)>& condition,
                    std::chrono::microseconds limit = std::chrono::minutes(20)) {
        std::unique_lock lock(mutex_);
        return arrived_.wait_for(lock, limit, [&] { return condition(events_); });
    }

    bool wait_for_removal(mint task, std::chrono::microseconds limit = std::chrono::minutes(20)) {
        const auto removed = [task](const std::vector<Event>& events) {
            for (const Event& event : events) {
                if (event.removal() && event.task == task) return true;
            }
            return false;
        };
        return wait_until(removed, limit);
    }

    void reset() {
        host_.faults.clear();
        host_.strings.clear();
        host_.tensors.clear();
        host_.breaches.take();
        host_.tasks.forget_ended();
        host_.tasks.tolerate_missing_store(false);
        discarded_before_ = host_.tasks.discarded_stores();
        expecting_breaches_ = false;
        abort = 0;
        abort_calls = 0;
        const std::lock_guard lock(mutex_);
        events_.clear();
    }

    /**
     * Makes a call of the export, and tells the check of the protocol about it: that a count runs on this thread, or
     * that a task is given a count.
     */
    template <typename Call>
    int announced(const std::string& name, std::optional<mint> task, Call call) {
        const kesh_host::Export* entry = kesh_host::find_export(name);
        if (entry == nullptr) return call();
        const kesh_host::HostCount count(host_.tasks, *entry);
        const bool submitted = task && host_.tasks.submit(*task, name, entry->takes_text());
        int code = LIBRARY_FUNCTION_ERROR;
        try {
            code = call();
        } catch (...) {
            if (submitted) host_.tasks.withdraw(*task);
            throw;
        }
        if (submitted && code != LIBRARY_NO_ERROR) host_.tasks.withdraw(*task);
        return code;
    }

  private:
    TestHost() {
        host_.breaches.on_breach([this](const std::string& what) {
            if (!expecting_breaches_) ADD_FAILURE() << what;
        });
        host_.tasks.on_event([this](const Event& event) {
            const std::lock_guard lock(mutex_);
            events_.push_back(event);
            arrived_.notify_all();
        });
    }

    kesh_host::Host& host_ = kesh_host::host();
    std::atomic<bool> expecting_breaches_{false};
    std::size_t discarded_before_ = 0;
    mutable std::mutex mutex_;
    std::condition_variable arrived_;
    std::vector<Event> events_;
};

/** What a result slot holds before a call, to see whether it was written. */
inline constexpr mint unwritten = 0x5A5A5A5A5A5A5A5A;

/** One call of an export with integer arguments and an integer (or no) result. */
struct IntegerCall {
    int code;
    mint result = unwritten;
};

inline IntegerCall call_integer(const std::string& name, std::vector<mint> arguments,
                                VelmoraLibraryData data = TestHost::instance().data()) {
    std::vector<MArgument> slots(arguments.size());
    for (size_t i = 0; i < slots.size(); ++i) slots[i].integer = &arguments[i];
    IntegerCall call{};
    call.result = unwritten;
    MArgument result;
    result.integer = &call.result;
    const kesh_host::Export* entry = kesh_host::find_export(name);
    const bool submits = entry != nullptr && entry->submits() && entry->parameters.size() == arguments.size();
    const auto task = submits ? std::optional(arguments[0]) : std::nullopt;
    call.code = TestHost::instance().announced(name, task, [&] {
        return Library::instance().get(name)(data, static_cast<mint>(slots.size()), slots.data(), result);
    });
    return call;
}

/** One call of an export with integer arguments and a tensor result; `tensor` stays null if none was written. */
struct TensorCall {
    int code;
    MTensor tensor = nullptr;
};

inline TensorCall call_tensor(const std::string& name, std::vector<mint> arguments) {
    std::vector<MArgument> slots(arguments.size());
    for (size_t i = 0; i < slots.size(); ++i) slots[i].integer = &arguments[i];
    TensorCall call{};
    MArgument result;
    result.tensor = &call.tensor;
    call.code = Library::instance().get(name)(TestHost::instance().data(), static_cast<mint>(slots.size()),
                                              slots.data(), result);
    return call;
}

}  // namespace kesh::test
