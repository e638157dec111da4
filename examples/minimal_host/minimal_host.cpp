/**
 * @file   minimal_host.cpp
 * @brief  The minimum that a host needs to run one asynchronous count: load the library, pass the two callback tables,
 *         create a task, submit, and receive the events.
 *
 *     c++ -std=c++20 -pthread minimal_host.cpp $(pkg-config --cflags velmora-kesh-host) -o minimal_host
 *     ./minimal_host /usr/lib/x86_64-linux-gnu/libVelmoraKesh.so 10000000000000000
 */
#include <dlfcn.h>

#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <string>
#include <variant>

#include "VelmoraIOLibraryFunctions.h"
#include "VelmoraLibrary.h"

// The payload of an event is the host's own type: here one unnamed value.
struct st_DataStore {
    std::variant<mint, mreal, std::string> value;
};

namespace {

// Events arrive on the library's threads; this is what the main thread waits for.
std::mutex mutex;
std::condition_variable changed;
bool removed = false;
bool failed = false;
mint result = 0;

mint create_task() {
    static mint last = 0;
    return ++last;
}

DataStore create_data_store() {
    return new st_DataStore;
}

void add_integer(DataStore store, mint value) {
    store->value = value;
}

void add_real(DataStore store, mreal value) {
    store->value = value;
}

void add_string(DataStore store, char* value) {
    store->value = std::string(value);
}

/** "Status" has a percentage, "Result" the count, "Error" the text "$Failed". The host deletes the store. */
void raise_event(mint /*task*/, char* name, DataStore store) {
    const std::lock_guard lock(mutex);
    if (const auto* percent = std::get_if<mreal>(&store->value)) {
        std::printf("\r%5.1f %%", *percent);
        std::fflush(stdout);
    } else if (const auto* count = std::get_if<mint>(&store->value)) {
        result = *count;
    } else {
        std::printf("\n%s: %s\n", name, std::get<std::string>(store->value).c_str());
        failed = true;
    }
    delete store;
}

mint remove_task(mint task) {
    {
        const std::lock_guard lock(mutex);
        removed = true;
    }
    changed.notify_one();
    return task;
}

mint never_abort() {
    return 0;
}

template <typename Function>
Function find(void* library, const char* name) {
    void* symbol = dlsym(library, name);
    if (symbol == nullptr) {
        std::fprintf(stderr, "%s\n", dlerror());
        std::exit(1);
    }
    return reinterpret_cast<Function>(symbol);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: %s LIBRARY X\n", argv[0]);
        return 2;
    }
    void* library = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
        std::fprintf(stderr, "%s\n", dlerror());
        return 1;
    }

    // Only the slots that a task uses are filled; the tables must outlive every task.
    static st_VelmoraIOLibrary_Functions tasks{};
    tasks.createAsynchronousTaskWithoutThread = create_task;
    tasks.createDataStore = create_data_store;
    tasks.DataStore_addInteger = add_integer;
    tasks.DataStore_addReal = add_real;
    tasks.DataStore_addString = add_string;
    tasks.raiseAsyncEvent = raise_event;
    tasks.removeAsynchronousTask = remove_task;
    static st_VelmoraLibraryData host{};
    host.AbortQ = never_abort;
    host.VersionNumber = VelmoraLibraryVersion;
    host.ioLibraryFunctions = &tasks;

    if (find<mint (*)()>(library, "VelmoraLibrary_getVersion")() != VelmoraLibraryVersion ||
        find<int (*)(VelmoraLibraryData)>(library, "VelmoraLibrary_initialize")(&host) != LIBRARY_NO_ERROR) {
        std::fprintf(stderr, "the library does not speak version %d of the interface\n", int{VelmoraLibraryVersion});
        return 1;
    }

    using Export = int (*)(VelmoraLibraryData, mint, MArgument*, MArgument);
    mint task = 0;
    mint x = std::strtoll(argv[2], nullptr, 10);
    MArgument slot;
    slot.integer = &task;
    if (find<Export>(library, "PrimeCount_CreateTask")(&host, 0, nullptr, slot) != LIBRARY_NO_ERROR) return 1;
    MArgument arguments[2];
    arguments[0].integer = &task;
    arguments[1].integer = &x;
    if (find<Export>(library, "PrimeCount_SubmitPrimePi")(&host, 2, arguments, slot) != LIBRARY_NO_ERROR) return 1;

    std::unique_lock lock(mutex);
    changed.wait(lock, [] { return removed; });
    if (!failed) std::printf("\npi(%lld) = %lld\n", static_cast<long long>(x), static_cast<long long>(result));
    return failed ? 1 : 0;
}
