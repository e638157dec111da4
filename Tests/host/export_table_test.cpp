/**
 * @file   export_table_test.cpp
 * @brief  The table of exports against the list that the library is linked with, and every example against the library.
 */

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <set>

#include "HostKit/export_table.h"
#include "HostKit/host.h"
#include "HostKit/host_tables.h"
#include "HostKit/library.h"
#include "answers/outcome_text.h"
#include "calls/call.h"
#include "calls/caller.h"

namespace {

using namespace kesh_host;

TEST(ExportTable, NamesAreTheExports) {
    std::ifstream list(KESH_SOURCE_DIR "/cmake/exports.txt");
    ASSERT_TRUE(list) << "the list of exports is not where it was";
    std::set<std::string> exported;
    for (std::string line; std::getline(list, line);) {
        if (!line.empty() && line[0] != '#') exported.insert(line);
    }
    std::set<std::string> described;
    for (const Export& entry : export_table())
        EXPECT_TRUE(described.emplace(entry.name).second) << entry.name << " stands twice";
    EXPECT_EQ(described, exported);
}

TEST(ExportTable, NothingIsLeftBlank) {
    for (const Export& entry : export_table()) {
        EXPECT_FALSE(entry.summary.empty()) << entry.name;
        EXPECT_FALSE(entry.errors.empty()) << entry.name;
        EXPECT_FALSE(entry.cost.empty()) << entry.name;
        EXPECT_EQ(entry.example.size(), entry.parameters.size()) << entry.name;
        for (const Parameter& parameter : entry.parameters) EXPECT_FALSE(parameter.meaning.empty()) << entry.name;
        const bool may_take_minutes =
            entry.route != Route::direct || entry.cost.starts_with("returns at once") || entry.result == Kind::tensor;
        EXPECT_EQ(may_take_minutes, !entry.stop.empty()) << entry.name;
        if (entry.route == Route::as_task) {
            EXPECT_NE(find_export(entry.task_form), nullptr) << entry.name;
        }
    }
    EXPECT_EQ(find_export("PrimeSieve_Nothing"), nullptr);
}

TEST(ExportTable, EveryExampleGivesItsResult) {
    const Library library(KESH_LIBRARY_PATH, library_data());
    const Caller caller(library, {});
    for (const Export& entry : export_table()) {
        if (entry.example_result.empty() || entry.result == Kind::boolean) continue;
        SCOPED_TRACE(entry.name);
        Outcome outcome = caller.call(entry, {entry.example.begin(), entry.example.end()}, {});
        if (outcome.status == Status::submitted) outcome = caller.wait_for_task(outcome.task->id, {});
        outcome.entry = &entry;
        EXPECT_TRUE(outcome.good()) << failure_text(outcome, {});
        EXPECT_THAT(outcome.breaches, testing::IsEmpty());
        EXPECT_EQ(answer_text(outcome), entry.example_result);
    }
    EXPECT_EQ(host().tensors.living(), 0U);
    EXPECT_EQ(host().strings.lent(), 0U);
    EXPECT_EQ(host().tasks.open_stores(), 0U);
    EXPECT_EQ(host().tasks.running(), 0U);
}

}  // namespace
