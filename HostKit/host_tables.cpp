/**
 * @file   host_tables.cpp
 * @brief  The callbacks, the traps, and the two tables made of them.
 */
#include "HostKit/host_tables.h"

#include <array>
#include <chrono>
#include <cstddef>
#include <iterator>
#include <stdexcept>
#include <thread>
#include <utility>

#include "HostKit/host.h"
#include "HostKit/slots.h"
#include "HostKit/text_of.h"

namespace kesh_host {

namespace {

/** Positions, from 0, with the names that hosts give the slots. */
// NOLINTBEGIN(readability-identifier-naming)
#define KESH_SLOT(member) member,
enum class LibrarySlot : std::size_t { KESH_LIBRARY_SLOTS(KESH_SLOT) };
enum class IoSlot : std::size_t { KESH_IO_SLOTS(KESH_SLOT) };
#undef KESH_SLOT
// NOLINTEND(readability-identifier-naming)

// The lists name the slots in the order in which the library finds them.
#define KESH_LIBRARY_SLOT(member)                            \
    static_assert(offsetof(st_VelmoraLibraryData, member) == \
                  sizeof(void*) * static_cast<std::size_t>(LibrarySlot::member));
#define KESH_IO_SLOT(member)                                         \
    static_assert(offsetof(st_VelmoraIOLibrary_Functions, member) == \
                  sizeof(void*) * static_cast<std::size_t>(IoSlot::member));
KESH_LIBRARY_SLOTS(KESH_LIBRARY_SLOT)
KESH_IO_SLOTS(KESH_IO_SLOT)
#undef KESH_LIBRARY_SLOT
#undef KESH_IO_SLOT
static_assert(sizeof(st_VelmoraLibraryData) == sizeof(void*) * std::size(library_slot_names));
static_assert(sizeof(st_VelmoraIOLibrary_Functions) == sizeof(void*) * std::size(io_slot_names));

/** The two tables in memory: the declared record, then the further slots. */
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
    host().breaches.report(Which == Table::library ? text_of("the library called slot ", Slot, " (", slot_name(Slot),
                                                             ") of the callback table, which it must not call")
                                                   : text_of("the library called slot ", Slot, " (", io_slot_name(Slot),
                                                             ") of the task table, which it must not call"));
}

/** For a slot that holds no function: it gets no trap. */
template <Table Which, std::size_t Slot, typename Value>
void set_trap(Value&) {}

/** Puts a trap of the slot's own signature into a slot. */
template <Table Which, std::size_t Slot, typename Result, typename... Arguments>
void set_trap(Result (*&slot)(Arguments...)) {
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
 * Returns the planned fault, throws for a planned exception, waits for a planned delay; returns nothing when the call
 * is to do its work.
 */
std::optional<Fault> planned_fault_of(std::string_view slot) {
    const auto fault = host().faults.on_call(slot);
    if (!fault) return fault;
    switch (fault->kind) {
        case Fault::Kind::exception:
            throw std::runtime_error(text_of("injected into ", slot));
        case Fault::Kind::other_exception:
            throw 42;
        case Fault::Kind::delay:
            std::this_thread::sleep_for(std::chrono::milliseconds(200));
            return std::nullopt;
        default:
            return fault;
    }
}

std::optional<Fault> planned_fault(CallbackName callback) {
    return planned_fault_of(callback.text);
}

// ---- strings and tensors

void string_disown(char* text) {
    planned_fault("UTF8String_disown");
    if (!host().strings.hand_back(text))
        host().breaches.report("UTF8String_disown got a string that is not lent to the library");
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
    host().breaches.report(text_of(slot, " got a handle that is not a tensor of this host"));
    return false;
}

int tensor_get_integer(MTensor tensor, mint* position, mint* out) {
    if (const auto fault = planned_fault("MTensor_getInteger")) {
        // The position is the caller's variable. A host may write any value there; for a planned fault the user chooses
        // it.
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
    return host().abort_answer;
}

// ---- tasks and DataStores

mint create_task() {
    if (const auto fault = planned_fault("createAsynchronousTaskWithoutThread")) return fault->code;
    return host().tasks.create();
}

/** planned_fault for a callback that holds a DataStore: an injected exception must not leave it open. */
void planned_fault_with_store(DataStore store, std::string_view slot) {
    try {
        planned_fault_of(slot);
    } catch (...) {
        host().tasks.discard(store);
        throw;
    }
}

void planned_fault_with(DataStore store, CallbackName callback) {
    planned_fault_with_store(store, callback.text);
}

void raise_event(mint task, char* name, DataStore payload) {
    planned_fault_with(payload, "raiseAsyncEvent");
    planned_fault_with_store(payload, std::string("raiseAsyncEvent:") + name);
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
    // The fault only changes the code. The task is removed nevertheless: otherwise the host would wait for it for ever.
    const auto fault = planned_fault("removeAsynchronousTask");
    const mint removed = host().tasks.remove(task);
    return fault ? fault->code : removed;
}

// ---- the tables

FullIoTable make_io_table() {
    FullIoTable table{};
    st_VelmoraIOLibrary_Functions& slots = table.declared;
#define KESH_TRAP(member) set_trap<Table::io, static_cast<std::size_t>(IoSlot::member) + 1>(slots.member);
    KESH_IO_SLOTS(KESH_TRAP)
#undef KESH_TRAP
    slots.createAsynchronousTaskWithoutThread = create_task;
    slots.raiseAsyncEvent = raise_event;
    slots.createDataStore = create_store;
    slots.DataStore_addInteger = store_add_integer;
    slots.DataStore_addReal = store_add_real;
    slots.DataStore_addString = store_add_string;
    slots.removeAsynchronousTask = remove_task;
    table.further = further_traps<Table::io, std::size(io_slot_names) + 1>(std::make_index_sequence<further_slots>());
    return table;
}

FullTable make_table(VelmoraIOLibrary_Functions io) {
    FullTable table{};
    st_VelmoraLibraryData& slots = table.declared;
#define KESH_TRAP(member) set_trap<Table::library, static_cast<std::size_t>(LibrarySlot::member) + 1>(slots.member);
    KESH_LIBRARY_SLOTS(KESH_TRAP)
#undef KESH_TRAP
    slots.UTF8String_disown = string_disown;
    slots.MTensor_new = tensor_new;
    slots.MTensor_getInteger = tensor_get_integer;
    slots.MTensor_getIntegerData = tensor_get_integer_data;
    slots.AbortQ = abort_q;
    slots.VersionNumber = VelmoraLibraryVersion;
    slots.ioLibraryFunctions = io;
    table.further =
        further_traps<Table::library, std::size(library_slot_names) + 1>(std::make_index_sequence<further_slots>());
    return table;
}

}  // namespace

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
    if (slot < 1 || slot > std::size(library_slot_names)) return "a further slot";
    return library_slot_names[slot - 1];
}

std::string_view io_slot_name(std::size_t slot) {
    if (slot < 1 || slot > std::size(io_slot_names)) return "a further slot";
    return io_slot_names[slot - 1];
}

}  // namespace kesh_host
