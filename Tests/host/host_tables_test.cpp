/**
 * @file   host_tables_test.cpp
 * @brief  Every slot of both tables exists; the slots that must not be called report a call.
 */

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "HostKit/host.h"
#include "HostKit/host_tables.h"

namespace {

using namespace kesh_host;
using testing::ElementsAre;
using testing::HasSubstr;

constexpr std::size_t library_slots = sizeof(st_VelmoraLibraryData) / sizeof(void*);
constexpr std::size_t io_slots = sizeof(st_VelmoraIOLibrary_Functions) / sizeof(void*);

/** The slots as a foreign library finds them: by position. */
template <typename Table>
std::vector<void*> slots_of(const Table* table, std::size_t count) {
    std::vector<void*> slots(count);
    std::memcpy(slots.data(), table, count * sizeof(void*));
    return slots;
}

mint call_slot(void* slot) {
    return reinterpret_cast<mint (*)(void*, void*, void*, void*)>(slot)(nullptr, nullptr, nullptr, nullptr);
}

TEST(HostTables, EverySlotIsFilled) {
    const auto slots = slots_of(library_data(), library_slots + further_slots);
    for (std::size_t i = 0; i < slots.size(); ++i) {
        // Two pointers to tables of other services, which this host does not have.
        if (slot_name(i + 1) == "runtimeData" || slot_name(i + 1) == "compileLibraryFunctions") continue;
        EXPECT_NE(slots[i], nullptr) << "slot " << i + 1 << ' ' << slot_name(i + 1);
    }
    for (void* slot : slots_of(library_data()->ioLibraryFunctions, io_slots + further_slots)) EXPECT_NE(slot, nullptr);
    EXPECT_EQ(library_data()->VersionNumber, VelmoraLibraryVersion);
    EXPECT_EQ(library_data_without_io()->ioLibraryFunctions, nullptr);
}

TEST(HostTables, SlotNames) {
    EXPECT_EQ(slot_name(1), "UTF8String_disown");
    EXPECT_EQ(slot_name(24), "AbortQ");
    EXPECT_EQ(slot_name(35), "ioLibraryFunctions");
    EXPECT_EQ(slot_name(36), "a further slot");
    EXPECT_EQ(io_slot_name(23), "removeAsynchronousTask");
    EXPECT_EQ(io_slot_name(24), "a further slot");
}

/** Whether the slot is no trap that this test can call: a callback, no function, or a function of a record by value. */
bool no_trap_to_call(std::string_view name) {
    for (const Callback& callback : callbacks) {
        if (callback.name == name) return true;
    }
    for (const std::string_view other :
         {"MTensor_setComplex", "DataStore_addComplex", "DataStore_addNamedComplex", "VersionNumber", "runtimeData",
          "compileLibraryFunctions", "ioLibraryFunctions"}) {
        if (other == name) return true;
    }
    return false;
}

template <typename Table>
void expect_traps(const Table* table, std::size_t declared, std::string_view (*name_of)(std::size_t)) {
    const auto slots = slots_of(table, declared + further_slots);
    std::size_t traps = 0;
    for (std::size_t slot = 1; slot <= slots.size(); ++slot) {
        if (no_trap_to_call(name_of(slot))) continue;
        call_slot(slots[slot - 1]);
        EXPECT_THAT(host().breaches.take(), ElementsAre(HasSubstr("slot " + std::to_string(slot) + " ")));
        ++traps;
    }
    EXPECT_GT(traps, further_slots + declared / 2);
}

TEST(HostTables, EverySlotWithoutUseReportsItsCall) {
    host().breaches.take();
    expect_traps(library_data(), library_slots, slot_name);
    expect_traps(library_data()->ioLibraryFunctions, io_slots, io_slot_name);
}

TEST(HostTables, CallbacksDoTheHostsWork) {
    VelmoraLibraryData table = library_data();
    const mint length = 3;
    MTensor tensor = nullptr;
    ASSERT_EQ(table->MTensor_new(MType_Integer, 1, &length, &tensor), LIBRARY_NO_ERROR);
    table->MTensor_getIntegerData(tensor)[1] = 42;
    mint position = 2;
    mint value = 0;
    EXPECT_EQ(table->MTensor_getInteger(tensor, &position, &value), LIBRARY_NO_ERROR);
    EXPECT_EQ(value, 42);
    host().tensors.release(tensor);
    EXPECT_THAT(host().breaches.take(), testing::IsEmpty());
    EXPECT_EQ(table->MTensor_getIntegerData(tensor), nullptr);
    EXPECT_THAT(host().breaches.take(), ElementsAre(HasSubstr("not a tensor of this host")));

    kesh_host::StringStore strings;
    EXPECT_EQ(strings.handed_back(), 0U);
    EXPECT_TRUE(strings.hand_back(strings.lend("7")));
    EXPECT_EQ(strings.handed_back(), 1U);
    char* text = host().strings.lend("7");
    table->UTF8String_disown(text);
    EXPECT_THAT(host().breaches.take(), testing::IsEmpty());
    table->UTF8String_disown(text);
    EXPECT_THAT(host().breaches.take(), ElementsAre(HasSubstr("not lent")));

    EXPECT_EQ(table->AbortQ(), 0);
    host().abort_answer = 1;
    EXPECT_EQ(table->AbortQ(), 1);
    host().abort_answer = 0;
}

TEST(HostTables, PlannedFaultsTakeThePlaceOfTheWork) {
    VelmoraLibraryData table = library_data();
    host().faults.add("MTensor_new=3");
    host().faults.add("MTensor_getInteger=4");
    host().faults.add("AbortQ=1");
    host().faults.add("createDataStore=null");
    const mint length = 3;
    MTensor tensor = nullptr;
    EXPECT_EQ(table->MTensor_new(MType_Integer, 1, &length, &tensor), 3);
    host().left_position = 17;
    mint position = 0;
    mint value = 0;
    EXPECT_EQ(table->MTensor_getInteger(nullptr, &position, &value), 4);
    EXPECT_EQ(position, 17);
    EXPECT_EQ(table->AbortQ(), 1);
    EXPECT_EQ(table->ioLibraryFunctions->createDataStore(), nullptr);
    host().faults.clear();
    host().faults.add("MTensor_new=0");
    tensor = reinterpret_cast<MTensor>(&value);
    EXPECT_EQ(table->MTensor_new(MType_Integer, 1, &length, &tensor), LIBRARY_NO_ERROR);
    EXPECT_EQ(tensor, nullptr);
    host().faults.clear();
    host().faults.add("raiseAsyncEvent:Result=throw");
    DataStore store = table->ioLibraryFunctions->createDataStore();
    char name[] = "Result";
    EXPECT_THROW(table->ioLibraryFunctions->raiseAsyncEvent(1, name, store), std::runtime_error);
    EXPECT_EQ(host().tasks.open_stores(), 0U);
    host().faults.clear();
}

TEST(HostTables, AFaultOfEveryTaskCallbackLeavesNoStoreOpen) {
    VelmoraIOLibrary_Functions io = library_data()->ioLibraryFunctions;
    char text[] = "Status";
    const std::size_t discarded = host().tasks.discarded_stores();
    std::size_t faults = 0;
    const auto expect_fault = [&](const char* slot, auto call) {
        host().faults.add(std::string(slot) + "=throw");
        DataStore store = io->createDataStore();
        EXPECT_THROW(call(store), std::runtime_error) << slot;
        host().faults.clear();
        EXPECT_EQ(host().tasks.open_stores(), 0U) << slot;
        EXPECT_EQ(host().tasks.discarded_stores(), discarded + ++faults) << slot;
    };
    expect_fault("DataStore_addInteger", [&](DataStore store) { io->DataStore_addInteger(store, 1); });
    expect_fault("DataStore_addReal", [&](DataStore store) { io->DataStore_addReal(store, 1); });
    expect_fault("DataStore_addString", [&](DataStore store) { io->DataStore_addString(store, text); });
    expect_fault("raiseAsyncEvent", [&](DataStore store) { io->raiseAsyncEvent(1, text, store); });
    expect_fault("raiseAsyncEvent:Status", [&](DataStore store) { io->raiseAsyncEvent(1, text, store); });
    host().breaches.take();
}

}  // namespace
