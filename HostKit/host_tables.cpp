/**
 * @file   host_tables.cpp
 * @brief  The callbacks, the traps, and the two tables made of them.
 */
#include "HostKit/host_tables.h"

#include <fmt/format.h>

#include <array>
#include <chrono>
#include <stdexcept>
#include <thread>
#include <utility>

#include "HostKit/host.h"

namespace bench_host {

namespace {

constexpr std::array<std::string_view, 35> slot_names = {
    "UTF8String_disown",
    "MTensor_new",
    "MTensor_free",
    "MTensor_clone",
    "MTensor_shareCount",
    "MTensor_disown",
    "MTensor_disownAll",
    "MTensor_setInteger",
    "MTensor_setReal",
    "MTensor_setComplex",
    "MTensor_setMTensor",
    "MTensor_getInteger",
    "MTensor_getReal",
    "MTensor_getComplex",
    "MTensor_getMTensor",
    "MTensor_getRank",
    "MTensor_getDimensions",
    "MTensor_getType",
    "MTensor_getFlattenedLength",
    "MTensor_getIntegerData",
    "MTensor_getRealData",
    "MTensor_getComplexData",
    "Message",
    "AbortQ",
    "getLink",
    "processLink",
    "evaluateExpression",
    "runtimeData",
    "compileLibraryFunctions",
    "VersionNumber",
    "registerInputStreamMethod",
    "unregisterInputStreamMethod",
    "registerOutputStreamMethod",
    "unregisterOutputStreamMethod",
    "ioLibraryFunctions",
};

constexpr std::array<std::string_view, 23> io_slot_names = {
    "createAsynchronousTaskWithoutThread",
    "createAsynchronousTaskWithThread",
    "raiseAsyncEvent",
    "asynchronousTaskAliveQ",
    "asynchronousTaskStartedQ",
    "createDataStore",
    "DataStore_addInteger",
    "DataStore_addReal",
    "DataStore_addComplex",
    "DataStore_addString",
    "DataStore_addMTensor",
    "DataStore_addMRawArray",
    "DataStore_addMImage",
    "DataStore_addDataStore",
    "DataStore_addNamedInteger",
    "DataStore_addNamedReal",
    "DataStore_addNamedComplex",
    "DataStore_addNamedString",
    "DataStore_addNamedMTensor",
    "DataStore_addNamedMRawArray",
    "DataStore_addNamedMImage",
    "DataStore_addNamedDataStore",
    "removeAsynchronousTask",
};

constexpr std::size_t slot_of(std::string_view name) {
    for (std::size_t i = 0; i < slot_names.size(); ++i) {
        if (slot_names[i] == name) return i + 1;
    }
    return 0;
}

constexpr std::size_t io_slot_of(std::string_view name) {
    for (std::size_t i = 0; i < io_slot_names.size(); ++i) {
        if (io_slot_names[i] == name) return i + 1;
    }
    return 0;
}

/** The two tables as they lie in memory: the declared record, then the further slots. */
using PlainSlot = mint (*)();
struct FullTable {
    st_VelmoraLibraryData declared;
    std::array<PlainSlot, further_slots> further;
};
struct FullIoTable {
    st_VelmoraIOLibrary_Functions declared;
    std::array<PlainSlot, further_slots> further;
};
static_assert(offsetof(FullTable, further) == sizeof(st_VelmoraLibraryData));
static_assert(offsetof(FullIoTable, further) == sizeof(st_VelmoraIOLibrary_Functions));

enum class Table { library, io };

template <Table Which, std::size_t Slot>
void report_trap() {
    host().breaches.report(
        Which == Table::library
            ? fmt::format("the library called slot {} ({}) of the callback table, which it has no use for", Slot,
                          slot_name(Slot))
            : fmt::format("the library called slot {} ({}) of the task table, which it has no use for", Slot,
                          io_slot_name(Slot)));
}

/** Puts a trap of the slot's own signature into a slot. */
template <Table Which, std::size_t Slot, typename Result, typename... Arguments>
void set_trap(Result (*&slot)(Arguments...)) {
    static_assert(Slot != 0, "no slot of that name");
    slot = [](Arguments...) -> Result {
        report_trap<Which, Slot>();
        return Result();
    };
}

template <Table Which, std::size_t First, std::size_t... I>
std::array<PlainSlot, further_slots> further_traps(std::index_sequence<I...>) {
    std::array<PlainSlot, further_slots> slots{};
    (set_trap<Which, First + I>(slots[I]), ...);
    return slots;
}

/**
 * Answers the planned fault's code, throws for a planned exception, waits for a planned delay; nothing when the call is
 * to do its work.
 */
std::optional<Fault> planned_fault(std::string_view slot) {
    const auto fault = host().faults.on_call(slot);
    if (!fault) return fault;
    switch (fault->kind) {
        case Fault::Kind::exception:
            throw std::runtime_error(fmt::format("injected into {}", slot));
        case Fault::Kind::other_exception:
            throw 42;
        case Fault::Kind::delay:
            std::this_thread::sleep_for(std::chrono::milliseconds(200));
            return std::nullopt;
        default:
            return fault;
    }
}

// ---- strings and tensors

void string_disown(char* text) {
    planned_fault("UTF8String_disown");
    if (!host().strings.hand_back(text))
        host().breaches.report("UTF8String_disown was given a string that is not lent to the library");
}

int tensor_new(mint type, mint rank, const mint* dimensions, MTensor* out) {
    if (const auto fault = planned_fault("MTensor_new")) {
        *out = nullptr;
        return static_cast<int>(fault->code);
    }
    return host().tensors.create(type, rank, dimensions, out);
}

bool good_handle(MTensor tensor, std::string_view slot) {
    if (host().tensors.lives(tensor)) return true;
    host().breaches.report(fmt::format("{} was given a handle that is no living tensor", slot));
    return false;
}

int tensor_get_integer(MTensor tensor, mint* position, mint* out) {
    if (const auto fault = planned_fault("MTensor_getInteger")) {
        // The position is the caller's variable: a host may leave anything there, and the fault's is chosen by the
        // user.
        if (position != nullptr) *position = host().left_position;
        return static_cast<int>(fault->code);
    }
    return host().tensors.get_integer(tensor, position, out);
}

mint* tensor_get_integer_data(MTensor tensor) {
    if (planned_fault("MTensor_getIntegerData")) return nullptr;
    return good_handle(tensor, "MTensor_getIntegerData") ? tensor->values.get() : nullptr;
}

mint abort_q() {
    host().abort_questions.fetch_add(1, std::memory_order_relaxed);
    if (const auto fault = planned_fault("AbortQ")) return fault->code;
    return host().abort_requested ? 1 : 0;
}

// ---- tasks and DataStores

mint create_task() {
    if (const auto fault = planned_fault("createAsynchronousTaskWithoutThread")) return fault->code;
    return host().tasks.create();
}

/** planned_fault for a callback that holds a DataStore: an injected exception must not leave it open. */
void planned_fault_with(DataStore store, std::string_view slot) {
    try {
        planned_fault(slot);
    } catch (...) {
        host().tasks.discard(store);
        throw;
    }
}

void raise_event(mint task, char* name, DataStore payload) {
    planned_fault_with(payload, "raiseAsyncEvent");
    planned_fault_with(payload, fmt::format("raiseAsyncEvent:{}", name));
    host().tasks.raise(task, name, payload);
}

DataStore create_store() {
    if (planned_fault("createDataStore")) return nullptr;
    return host().tasks.create_store();
}

void store_add_integer(DataStore store, mint value) {
    planned_fault_with(store, "DataStore_addInteger");
    host().tasks.add(store, value);
}

void store_add_real(DataStore store, mreal value) {
    planned_fault_with(store, "DataStore_addReal");
    host().tasks.add(store, value);
}

void store_add_string(DataStore store, char* text) {
    planned_fault_with(store, "DataStore_addString");
    host().tasks.add(store, std::string(text));
}

mint remove_task(mint task) {
    // The code alone goes wrong: what a host did not remove it would never hear of again.
    const auto fault = planned_fault("removeAsynchronousTask");
    const mint removed = host().tasks.remove(task);
    return fault ? fault->code : removed;
}

// ---- the tables

#define KESH_HOST_TRAP(member) set_trap<Table::library, slot_of(#member)>(table.declared.member)
#define KESH_HOST_IO_TRAP(member) set_trap<Table::io, io_slot_of(#member)>(table.declared.member)

FullIoTable make_io_table() {
    FullIoTable table{};
    st_VelmoraIOLibrary_Functions& slots = table.declared;
    slots.createAsynchronousTaskWithoutThread = create_task;
    slots.raiseAsyncEvent = raise_event;
    slots.createDataStore = create_store;
    slots.DataStore_addInteger = store_add_integer;
    slots.DataStore_addReal = store_add_real;
    slots.DataStore_addString = store_add_string;
    slots.removeAsynchronousTask = remove_task;
    KESH_HOST_IO_TRAP(createAsynchronousTaskWithThread);
    KESH_HOST_IO_TRAP(asynchronousTaskAliveQ);
    KESH_HOST_IO_TRAP(asynchronousTaskStartedQ);
    KESH_HOST_IO_TRAP(DataStore_addComplex);
    KESH_HOST_IO_TRAP(DataStore_addMTensor);
    KESH_HOST_IO_TRAP(DataStore_addMRawArray);
    KESH_HOST_IO_TRAP(DataStore_addMImage);
    KESH_HOST_IO_TRAP(DataStore_addDataStore);
    KESH_HOST_IO_TRAP(DataStore_addNamedInteger);
    KESH_HOST_IO_TRAP(DataStore_addNamedReal);
    KESH_HOST_IO_TRAP(DataStore_addNamedComplex);
    KESH_HOST_IO_TRAP(DataStore_addNamedString);
    KESH_HOST_IO_TRAP(DataStore_addNamedMTensor);
    KESH_HOST_IO_TRAP(DataStore_addNamedMRawArray);
    KESH_HOST_IO_TRAP(DataStore_addNamedMImage);
    KESH_HOST_IO_TRAP(DataStore_addNamedDataStore);
    table.further = further_traps<Table::io, io_slot_names.size() + 1>(std::make_index_sequence<further_slots>());
    return table;
}

FullTable make_table(VelmoraIOLibrary_Functions io) {
    FullTable table{};
    st_VelmoraLibraryData& slots = table.declared;
    slots.UTF8String_disown = string_disown;
    slots.MTensor_new = tensor_new;
    slots.MTensor_getInteger = tensor_get_integer;
    slots.MTensor_getIntegerData = tensor_get_integer_data;
    slots.AbortQ = abort_q;
    slots.VersionNumber = VelmoraLibraryVersion;
    slots.ioLibraryFunctions = io;
    KESH_HOST_TRAP(MTensor_free);
    KESH_HOST_TRAP(MTensor_clone);
    KESH_HOST_TRAP(MTensor_shareCount);
    KESH_HOST_TRAP(MTensor_disown);
    KESH_HOST_TRAP(MTensor_disownAll);
    KESH_HOST_TRAP(MTensor_setInteger);
    KESH_HOST_TRAP(MTensor_setReal);
    KESH_HOST_TRAP(MTensor_setComplex);
    KESH_HOST_TRAP(MTensor_setMTensor);
    KESH_HOST_TRAP(MTensor_getReal);
    KESH_HOST_TRAP(MTensor_getComplex);
    KESH_HOST_TRAP(MTensor_getMTensor);
    KESH_HOST_TRAP(MTensor_getRank);
    KESH_HOST_TRAP(MTensor_getDimensions);
    KESH_HOST_TRAP(MTensor_getType);
    KESH_HOST_TRAP(MTensor_getFlattenedLength);
    KESH_HOST_TRAP(MTensor_getRealData);
    KESH_HOST_TRAP(MTensor_getComplexData);
    KESH_HOST_TRAP(Message);
    KESH_HOST_TRAP(getLink);
    KESH_HOST_TRAP(processLink);
    KESH_HOST_TRAP(evaluateExpression);
    KESH_HOST_TRAP(registerInputStreamMethod);
    KESH_HOST_TRAP(unregisterInputStreamMethod);
    KESH_HOST_TRAP(registerOutputStreamMethod);
    KESH_HOST_TRAP(unregisterOutputStreamMethod);
    table.further = further_traps<Table::library, slot_names.size() + 1>(std::make_index_sequence<further_slots>());
    return table;
}

#undef KESH_HOST_TRAP
#undef KESH_HOST_IO_TRAP

}  // namespace

Host& host() {
    static Host* the_host = new Host;
    return *the_host;
}

VelmoraLibraryData library_data() {
    static FullIoTable* io = new FullIoTable(make_io_table());
    static FullTable* table = new FullTable(make_table(&io->declared));
    return &table->declared;
}

VelmoraLibraryData library_data_without_io() {
    static FullTable* table = new FullTable(make_table(nullptr));
    return &table->declared;
}

std::string_view slot_name(std::size_t slot) {
    if (slot < 1 || slot > slot_names.size()) return "a further slot";
    return slot_names[slot - 1];
}

std::string_view io_slot_name(std::size_t slot) {
    if (slot < 1 || slot > io_slot_names.size()) return "a further slot";
    return io_slot_names[slot - 1];
}

}  // namespace bench_host
