/**
 * @file   faults_test.cpp
 * @brief  Planned faults: how they are read, and when they take effect.
 */

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

#include "HostKit/fault_plan.h"

namespace {

using kesh_host::Fault;
using kesh_host::FaultPlan;

TEST(Faults, EveryCallOrOneCall) {
    FaultPlan plan;
    EXPECT_FALSE(plan.any());
    plan.add("MTensor_new=5");
    plan.add("createDataStore=null@2");
    EXPECT_TRUE(plan.any());
    EXPECT_TRUE(plan.planned("MTensor_new"));
    EXPECT_FALSE(plan.planned("AbortQ"));
    EXPECT_EQ(plan.on_call("MTensor_new").value().code, 5);
    EXPECT_EQ(plan.on_call("MTensor_new").value().code, 5);
    EXPECT_FALSE(plan.on_call("createDataStore"));
    EXPECT_EQ(plan.on_call("createDataStore").value().kind, Fault::Kind::null);
    EXPECT_FALSE(plan.on_call("createDataStore"));
    plan.clear();
    EXPECT_FALSE(plan.on_call("MTensor_new"));
}

TEST(Faults, EveryWayToFail) {
    FaultPlan plan;
    plan.add("AbortQ=throw-int");
    plan.add("UTF8String_disown=slow@3");
    plan.add("removeAsynchronousTask=throw");
    EXPECT_EQ(plan.on_call("AbortQ").value().kind, Fault::Kind::other_exception);
    EXPECT_FALSE(plan.on_call("UTF8String_disown"));
    EXPECT_FALSE(plan.on_call("UTF8String_disown"));
    EXPECT_EQ(plan.on_call("UTF8String_disown").value().kind, Fault::Kind::delay);
    EXPECT_EQ(plan.on_call("removeAsynchronousTask").value().kind, Fault::Kind::exception);
    EXPECT_FALSE(plan.on_call("MTensor_new"));
    EXPECT_EQ(plan.calls()["UTF8String_disown"], 3);
    EXPECT_EQ(plan.calls()["MTensor_new"], 1) << "calls count without a fault too";
    plan.clear();
    EXPECT_TRUE(plan.calls().empty());
}

TEST(Faults, HooksRunBeforeTheFault) {
    FaultPlan plan;
    int calls = 0;
    plan.before("AbortQ", [&] {
        ++calls;
        plan.set("AbortQ", {.kind = Fault::Kind::code, .code = 7});
    });
    EXPECT_EQ(plan.on_call("AbortQ").value().code, 7);
    EXPECT_EQ(calls, 1);
    plan.unset("AbortQ");
    plan.before("AbortQ", {});
    EXPECT_FALSE(plan.on_call("AbortQ"));
    plan.before("AbortQ", [] { throw std::runtime_error("from the hook"); });
    EXPECT_THROW(plan.on_call("AbortQ"), std::runtime_error);
    plan.clear();
    EXPECT_FALSE(plan.on_call("AbortQ"));
}

TEST(Faults, EventsByName) {
    FaultPlan plan;
    plan.add("raiseAsyncEvent:Result=throw");
    EXPECT_FALSE(plan.on_call("raiseAsyncEvent"));
    EXPECT_EQ(plan.on_call("raiseAsyncEvent:Result").value().kind, Fault::Kind::exception);
}

TEST(Faults, WhatIsWrongAndWhatWouldBeRight) {
    const auto refusal = [](const char* text) -> std::string {
        try {
            FaultPlan().add(text);
        } catch (const std::invalid_argument& error) {
            return error.what();
        }
        return "";
    };
    EXPECT_EQ(refusal("MTensor_new=x"),
              "--fail MTensor_new=x: 'x' is not a number; write for example --fail MTensor_new=5@2");
    EXPECT_EQ(refusal("MTensor_new"),
              "--fail MTensor_new: '=' is missing; write SLOT=CODE, or =null, =throw, "
              "=throw-int, =slow, each with an optional @K");
    EXPECT_EQ(refusal("AbortQ=null"), "--fail AbortQ=null: AbortQ takes code, throw, throw-int, slow");
    EXPECT_THAT(refusal("Nothing=5"),
                testing::StartsWith("--fail Nothing=5: there is no callback 'Nothing' that can be made to fail; the "
                                    "callbacks are "));
}

class BadFault : public testing::TestWithParam<const char*> {};

TEST_P(BadFault, IsRefusedInOneLine) {
    FaultPlan plan;
    try {
        plan.add(GetParam());
        FAIL();
    } catch (const std::invalid_argument& error) {
        EXPECT_THAT(error.what(), testing::HasSubstr(GetParam()));
    }
    EXPECT_FALSE(plan.any());
}

INSTANTIATE_TEST_SUITE_P(Forms, BadFault,
                         testing::Values("MTensor_new", "MTensor_new=", "MTensor_new=x", "MTensor_new=5@",
                                         "MTensor_new=5@x", "MTensor_new=5x", "MTensor_new=99999999999999999999",
                                         "MTensor_new=5@2x", "Nothing=5", "MTensor_new=null", "createDataStore=5",
                                         "DataStore_addReal=1", "AbortQ=null", "AbortQ=throw-", "UTF8String_disown=1"));

}  // namespace
