/**
 * @file   test_host.h
 * @brief  A small host for tests: both callback tables, with traps in the slots that must not be called; tensors,
 *         strings, tasks and recorded events; and faults on demand.
 *
 * Callbacks have no context argument, so there is one host per process (`TestHost::instance()`); `reset()` clears it.
 */
#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <variant>
#include <vector>

#include "VelmoraIOLibraryFunctions.h"
#include "VelmoraLibrary.h"
#include "support/library.h"

struct st_MTensor {
    std::vector<mint> data;
};

struct st_DataStore {
    std::vector<std::variant<mint, mreal, std::string>> values;
};

namespace kesh::test {

/** One event as the host received it, or the removal of a task (name empty). */
struct Event {
    mint task;
    std::string name;
    std::vector<std::variant<mint, mreal, std::string>> values;
    bool removal = false;
};

class TestHost {
  public:
    static TestHost& instance() {
        static TestHost host;
        return host;
    }

    st_VelmoraLibraryData table{};
    st_VelmoraIOLibrary_Functions io{};

    /** Called at the entry of the named callback, on the calling thread; may throw, sleep or set other state. */
    void before(const std::string& callback, std::function<void()> hook) {
        const std::lock_guard lock(mutex_);
        hooks_[callback] = std::move(hook);
    }

    /** The named callback (one that returns a code) returns this code and does nothing. */
    void fail(const std::string& callback, int code) {
        const std::lock_guard lock(mutex_);
        codes_[callback] = code;
    }

    std::atomic<mint> abort{0};
    std::atomic<mint> abort_calls{0};
    std::atomic<bool> null_data_store{false};

    /** A string argument, owned by the host; `disowned` counts those that the library has disowned. */
    char* new_string(const std::string& text) {
        const std::lock_guard lock(mutex_);
        auto buffer = std::make_unique<char[]>(text.size() + 1);
        std::copy(text.c_str(), text.c_str() + text.size() + 1, buffer.get());
        strings_.push_back(std::move(buffer));
        return strings_.back().get();
    }

    std::vector<const char*> disowned() const {
        const std::lock_guard lock(mutex_);
        return disowned_;
    }

    std::vector<Event> events() const {
        const std::lock_guard lock(mutex_);
        return events_;
    }

    size_t tensors() const {
        const std::lock_guard lock(mutex_);
        return tensors_.size();
    }

    /** The number of data stores that were created and not passed to the host with an event. */
    size_t open_data_stores() const {
        const std::lock_guard lock(mutex_);
        return stores_.size();
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
                if (event.removal && event.task == task) return true;
            }
            return false;
        };
        return wait_until(removed, limit);
    }

    void reset() {
        const std::lock_guard lock(mutex_);
        hooks_.clear();
        codes_.clear();
        strings_.clear();
        disowned_.clear();
        events_.clear();
        tensors_.clear();
        stores_.clear();
        abort = 0;
        abort_calls = 0;
        null_data_store = false;
    }

    VelmoraLibraryData data() {
        return &table;
    }

  private:
    TestHost() {
        fill_with_traps(&table, sizeof table / sizeof(void*));
        fill_with_traps(&io, sizeof io / sizeof(void*));
        table.VersionNumber = VelmoraLibraryVersion;
        table.ioLibraryFunctions = &io;
        table.UTF8String_disown = [](char* text) {
            instance().enter("UTF8String_disown");
            const std::lock_guard lock(instance().mutex_);
            instance().disowned_.push_back(text);
            // The string belongs to the host now: overwritten, so that a later read by the library is noticed.
            for (char* c = text; *c != '\0'; ++c) *c = '#';
        };
        table.MTensor_new = [](mint type, mint rank, const mint* dims, MTensor* out) -> int {
            if (const int code = instance().enter("MTensor_new")) return code;
            EXPECT_EQ(type, MType_Integer);
            EXPECT_EQ(rank, 1);
            const std::lock_guard lock(instance().mutex_);
            auto tensor = std::make_unique<st_MTensor>();
            tensor->data.assign(static_cast<size_t>(dims[0]), 0);
            *out = tensor.get();
            instance().tensors_.push_back(std::move(tensor));
            return LIBRARY_NO_ERROR;
        };
        table.MTensor_getInteger = [](MTensor, mint* position, mint*) -> int {
            *position = 0;
            return instance().enter("MTensor_getInteger");
        };
        table.MTensor_getIntegerData = [](MTensor tensor) -> mint* {
            instance().enter("MTensor_getIntegerData");
            return tensor->data.data();
        };
        table.AbortQ = []() -> mint {
            ++instance().abort_calls;
            instance().enter("AbortQ");
            return instance().abort;
        };
        io.createAsynchronousTaskWithoutThread = []() -> mint {
            instance().enter("createAsynchronousTaskWithoutThread");
            const std::lock_guard lock(instance().mutex_);
            return ++instance().last_task_;
        };
        io.createDataStore = []() -> DataStore {
            instance().enter("createDataStore");
            if (instance().null_data_store) return nullptr;
            auto store = std::make_unique<st_DataStore>();
            const std::lock_guard lock(instance().mutex_);
            return instance().stores_.emplace(store.get(), std::move(store)).first->first;
        };
        io.DataStore_addInteger = [](DataStore store, mint value) {
            instance().enter("DataStore_addInteger");
            if (store != nullptr) store->values.emplace_back(value);
        };
        io.DataStore_addReal = [](DataStore store, mreal value) {
            instance().enter("DataStore_addReal");
            if (store != nullptr) store->values.emplace_back(value);
        };
        io.DataStore_addString = [](DataStore store, char* value) {
            instance().enter("DataStore_addString");
            if (store != nullptr) store->values.emplace_back(std::string(value));
        };
        io.raiseAsyncEvent = [](mint task, char* name, DataStore store) {
            instance().enter("raiseAsyncEvent");
            const std::lock_guard lock(instance().mutex_);
            Event event{task, name, {}};
            if (store != nullptr) {
                const auto known = instance().stores_.find(store);
                ASSERT_NE(known, instance().stores_.end()) << "a data store handed over twice, or never created";
                event.values = std::move(known->second->values);
                instance().stores_.erase(known);
            }
            instance().events_.push_back(std::move(event));
            instance().arrived_.notify_all();
        };
        io.removeAsynchronousTask = [](mint task) -> mint {
            instance().enter("removeAsynchronousTask");
            const std::lock_guard lock(instance().mutex_);
            instance().events_.push_back({task, "", {}, true});
            instance().arrived_.notify_all();
            return task;
        };
    }

    static void trap() {
        ADD_FAILURE() << "a slot of the host's tables was called that is never to be read";
    }

    static void fill_with_traps(void* record, size_t slots) {
        for (size_t i = 0; i < slots; ++i) reinterpret_cast<void (**)()>(record)[i] = trap;
    }

    int enter(const std::string& callback) {
        std::function<void()> hook;
        int code = LIBRARY_NO_ERROR;
        {
            const std::lock_guard lock(mutex_);
            if (const auto found = hooks_.find(callback); found != hooks_.end()) hook = found->second;
            if (const auto found = codes_.find(callback); found != codes_.end()) code = found->second;
        }
        if (hook) hook();
        return code;
    }

    mutable std::mutex mutex_;
    std::condition_variable arrived_;
    std::map<std::string, std::function<void()>> hooks_;
    std::map<std::string, int> codes_;
    std::deque<std::unique_ptr<char[]>> strings_;
    std::vector<const char*> disowned_;
    std::vector<Event> events_;
    std::vector<std::unique_ptr<st_MTensor>> tensors_;
    std::map<DataStore, std::unique_ptr<st_DataStore>> stores_;
    mint last_task_ = 0;
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
    call.code = Library::instance().get(name)(data, static_cast<mint>(slots.size()), slots.data(), result);
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
