/**
 * @file   tasks_test.cpp
 * @brief  The check of the event protocol: correct sequences, and each kind of breach.
 */

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "HostKit/breaches.h"
#include "HostKit/data_store.h"
#include "HostKit/host.h"
#include "HostKit/task.h"
#include "HostKit/task_board.h"
#include "answers/event_lines.h"

namespace {

using namespace kesh_host;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class Tasks : public testing::Test {
  protected:
    Breaches breaches;
    TaskBoard board{breaches};

    mint submitted(bool text = false) {
        const mint id = board.create();
        EXPECT_TRUE(board.submit(id, "count", text));
        return id;
    }
    void raise(mint id, const char* name, EventValue value) {
        DataStore store = board.create_store();
        board.add(store, std::move(value));
        board.raise(id, name, store);
    }
};

TEST_F(Tasks, AGoodLife) {
    board.keep_events(true);
    const mint id = submitted();
    EXPECT_EQ(id, 1) << "tasks are numbered from 1";
    EXPECT_EQ(board.find(id)->state, TaskState::queued);
    EXPECT_EQ(state_name(*board.find(id)), "queued");
    EXPECT_EQ(board.running(), 1U);
    raise(id, "Status", 1.5);
    EXPECT_EQ(board.find(id)->state, TaskState::counting);
    raise(id, "Status", 1.5);
    raise(id, "Status", 100.0);
    raise(id, "Result", mint{25});
    EXPECT_EQ(board.find(id)->state, TaskState::reported);
    board.remove(id);
    const Task task = *board.find(id);
    EXPECT_EQ(task.state, TaskState::removed);
    EXPECT_EQ(state_name(task), "done");
    EXPECT_EQ(std::get<mint>(*task.result), 25);
    EXPECT_EQ(task.status_events, 3U);
    EXPECT_EQ(board.latest_status().second, 3U);
    EXPECT_EQ(task.first_percent, 1.5);
    EXPECT_FALSE(task.failed);
    EXPECT_EQ(board.running(), 0U);
    EXPECT_TRUE(board.wait_removed(id, std::chrono::milliseconds(0)));
    EXPECT_THAT(breaches.take(), IsEmpty());
    EXPECT_EQ(board.open_stores(), 0U);
    std::vector<bool> removals;
    for (const Event& event : board.take_events()) removals.push_back(event.removal());
    EXPECT_THAT(removals, ElementsAre(false, false, false, false, true));
    EXPECT_THAT(board.take_events(), IsEmpty());
}

TEST_F(Tasks, AFailedAndATextTask) {
    const mint failed = submitted();
    raise(failed, "Error", std::string("$Failed"));
    board.remove(failed);
    EXPECT_TRUE(board.find(failed)->failed);
    EXPECT_EQ(state_name(*board.find(failed)), "failed");
    const mint text = submitted(true);
    raise(text, "Result", std::string("25"));
    board.remove(text);
    EXPECT_THAT(breaches.take(), IsEmpty());
}

TEST_F(Tasks, IdsAreFresh) {
    const mint first = board.create();
    EXPECT_NE(first, board.create());
    EXPECT_FALSE(board.submit(99, "", false));
    EXPECT_TRUE(board.submit(first, "", false));
    EXPECT_FALSE(board.submit(first, "", false)) << "a task takes one count";
    board.withdraw(first);
    EXPECT_TRUE(board.submit(first, "", false));
}

TEST_F(Tasks, ASubmissionThatFailsAmidTheCountEndsTheTask) {
    const mint id = submitted();
    raise(id, "Status", 1.5);
    board.withdraw(id);
    EXPECT_EQ(board.running(), 0U) << "nobody would wait for it for ever";
    EXPECT_TRUE(board.wait_removed(id, std::chrono::milliseconds(0)));
    EXPECT_TRUE(board.find(id)->failed);
    const mint next = submitted();
    raise(next, "Status", 1.5);
    EXPECT_THAT(breaches.take(), IsEmpty()) << "the next task may count";
}

TEST_F(Tasks, BreachUnknownTask) {
    raise(7, "Status", 1.0);
    board.remove(7);
    EXPECT_THAT(breaches.take(), ElementsAre(HasSubstr("task 7, which does not exist"), HasSubstr("does not exist")));
}

TEST_F(Tasks, BreachEventWithoutCount) {
    raise(board.create(), "Status", 1.0);
    EXPECT_THAT(breaches.take(), ElementsAre(HasSubstr("to which no count was submitted")));
}

TEST_F(Tasks, BreachTwoResults) {
    const mint id = submitted();
    raise(id, "Result", mint{1});
    raise(id, "Result", mint{1});
    EXPECT_THAT(breaches.take(), ElementsAre(HasSubstr("\"Result\" of task 1 after its \"Result\"")));
}

TEST_F(Tasks, BreachStatusAfterResult) {
    const mint id = submitted();
    raise(id, "Result", mint{1});
    raise(id, "Status", 1.0);
    EXPECT_THAT(breaches.take(), ElementsAre(HasSubstr("\"Status\" of task 1 after its \"Result\"")));
}

TEST_F(Tasks, LateStatusOnlyWhereItIsExpected) {
    const mint id = submitted();
    raise(id, "Result", mint{1});
    board.remove(id);
    const auto count = board.begin_count(CountCallback::installed);
    raise(id, "Status", 50.0);
    EXPECT_THAT(breaches.take(), IsEmpty());
    EXPECT_EQ(board.latest_status().first, 50.0);
    board.end_count(count);
    raise(id, "Status", 60.0);
    EXPECT_THAT(breaches.take(), ElementsAre(HasSubstr("after its removal")));
}

TEST_F(Tasks, NoLateStatusOfATaskThatNeverCounted) {
    const mint id = submitted();
    board.remove(id);
    breaches.take();
    board.begin_count(CountCallback::installed);
    raise(id, "Status", 50.0);
    EXPECT_THAT(breaches.take(), ElementsAre(HasSubstr("after its removal")));
}

TEST_F(Tasks, ACountOnTheHostsThreadReportsToTheTaskBesideIt) {
    const mint first = submitted();
    const mint second = submitted();
    raise(first, "Result", mint{1});
    const auto count = board.begin_count(CountCallback::installed);
    raise(first, "Status", 10.0);
    board.remove(first);
    raise(first, "Status", 20.0);
    raise(second, "Status", 30.0);
    raise(second, "Status", 5.0);
    board.end_count(count);
    raise(second, "Status", 4.0);
    EXPECT_THAT(breaches.take(), IsEmpty());
    raise(first, "Status", 40.0);
    EXPECT_THAT(breaches.take(), ElementsAre(HasSubstr("task 1 after its removal")));
    const mint third = submitted();
    raise(second, "Result", mint{1});
    raise(second, "Status", 50.0);
    board.remove(second);
    raise(third, "Status", 50.0);
    raise(third, "Status", 49.0);
    EXPECT_THAT(breaches.take(),
                ElementsAre(HasSubstr("task 2 after its \"Result\""), HasSubstr("task 3 fell from 50.000 to 49.000")));
}

TEST_F(Tasks, ACountWithACallbackOfItsOwnReportsOnlyToATaskThatBeganLater) {
    const mint before = submitted();
    raise(before, "Result", mint{1});
    board.remove(before);
    const auto first = board.begin_count(CountCallback::own);
    raise(before, "Status", 10.0);
    EXPECT_THAT(breaches.take(), ElementsAre(HasSubstr("task 1 after its removal")));
    const mint during = submitted();
    raise(during, "Result", mint{1});
    board.remove(during);
    const auto second = board.begin_count(CountCallback::own);
    raise(during, "Status", 10.0);
    EXPECT_THAT(breaches.take(), IsEmpty());
    board.end_count(first);
    raise(during, "Status", 20.0);
    EXPECT_THAT(breaches.take(), ElementsAre(HasSubstr("task 2 after its removal")));
    board.end_count(second);
}

TEST_F(Tasks, TheListenerHearsEveryEventAndRemoval) {
    std::vector<std::string> heard;
    board.on_event([&heard](const Event& event) { heard.push_back(event.name); });
    const mint id = submitted();
    raise(id, "Status", 1.0);
    raise(id, "Result", mint{1});
    board.remove(id);
    EXPECT_THAT(heard, ElementsAre("Status", "Result", "removed"));
}

TEST_F(Tasks, BreachRemovals) {
    const mint id = submitted();
    board.remove(id);
    board.remove(id);
    EXPECT_THAT(breaches.take(),
                ElementsAre(HasSubstr("without a \"Result\" or an \"Error\""), HasSubstr("removed twice")));
}

TEST_F(Tasks, BreachTwoTasksAtOnce) {
    const mint first = submitted();
    const mint second = submitted();
    raise(first, "Status", 1.0);
    raise(second, "Status", 1.0);
    EXPECT_THAT(breaches.take(), ElementsAre(HasSubstr("task 2 while task 1 is counting")));
}

TEST_F(Tasks, BreachFallingOrImpossiblePercent) {
    const mint id = submitted();
    raise(id, "Status", 50.0);
    raise(id, "Status", 49.0);
    raise(id, "Status", 101.0);
    EXPECT_THAT(breaches.take(), ElementsAre(HasSubstr("fell from 50.000 to 49.000"), HasSubstr("not a percentage")));
}

TEST_F(Tasks, BreachPayloads) {
    const mint id = submitted();
    raise(id, "Status", mint{3});
    DataStore two = board.create_store();
    board.add(two, 1.0);
    board.add(two, 2.0);
    board.raise(id, "Status", two);
    board.raise(id, "Status", board.create_store());
    raise(id, "Result", std::string("25"));
    EXPECT_THAT(breaches.take(), ElementsAre(HasSubstr("no real number"), HasSubstr("2 values"), HasSubstr("0 values"),
                                             HasSubstr("no integer")));
    const mint text = submitted(true);
    raise(text, "Result", mint{25});
    EXPECT_THAT(breaches.take(), testing::Contains(HasSubstr("no string")));
}

TEST_F(Tasks, BreachUnknownEvent) {
    const mint id = submitted();
    raise(id, "Progress", 3.0);
    EXPECT_THAT(breaches.take(), ElementsAre(HasSubstr("the unknown name \"Progress\"")));
    EXPECT_EQ(board.find(id)->state, TaskState::queued) << "it changes nothing";
}

TEST_F(Tasks, BreachErrorText) {
    const mint id = submitted();
    raise(id, "Error", std::string("oops"));
    EXPECT_THAT(breaches.take(), ElementsAre(HasSubstr("\"$Failed\"")));
}

TEST_F(Tasks, BreachDataStores) {
    const mint id = submitted();
    DataStore store = board.create_store();
    board.add(store, 1.0);
    board.raise(id, "Status", store);
    board.raise(id, "Status", store);
    board.add(store, 1.0);
    board.add(nullptr, 1.0);
    board.raise(id, "Status", nullptr);
    EXPECT_THAT(breaches.take(), ElementsAre(HasSubstr("passed to the host before"), HasSubstr("not open"),
                                             HasSubstr("null DataStore"), HasSubstr("no DataStore")));
    DataStore open = board.create_store();
    board.create_store();
    EXPECT_THAT(breaches.take(), ElementsAre(HasSubstr("two events overlap")));
    board.discard(open);
    EXPECT_EQ(board.open_stores(), 1U);
    EXPECT_EQ(board.discarded_stores(), 1U);
}

TEST_F(Tasks, MissingStoresAreToleratedAfterAnInjectedFault) {
    board.tolerate_missing_store(true);
    const mint id = submitted();
    board.add(nullptr, 1.0);
    board.raise(id, "Result", nullptr);
    board.remove(id);
    EXPECT_THAT(breaches.take(), IsEmpty());
    EXPECT_FALSE(board.find(id)->result);
}

TEST_F(Tasks, BreachesReachTheListener) {
    std::vector<std::string> heard;
    breaches.on_breach([&](const std::string& what) { heard.push_back(what); });
    board.remove(1);
    EXPECT_EQ(heard.size(), 1U);
    EXPECT_EQ(breaches.total(), 1U);
}

TEST(EventLines, NameTheTaskAndItsValue) {
    const mint id = host().tasks.create();
    ASSERT_TRUE(host().tasks.submit(id, "count primes", false));
    const mint unknown = id + 1000;
    const std::vector<Event> events = {{0.25, id, "Status", 12.5},      {0.5, id, "Status", 20.0},
                                       {1.5, id, "Status", 99.0},       {2, id, "Result", mint{25}},
                                       {3, id, "removed", {}},          {4, unknown, "Error", "$Failed"},
                                       {5, unknown, "Status", mint{7}}, {6, unknown, "Result", {}}};
    EventLines lines;
    const std::string seldom = "[   0.250 s] task " + std::to_string(id) + " Status 12.50 %\n";
    EXPECT_EQ(lines.text({events[0]}, true, {}), seldom);
    EXPECT_EQ(lines.text(events, true, {}),
              seldom + "[   0.500 s] task " + std::to_string(id) + " Status 20.00 %\n" +      //
                  "[   1.500 s] task " + std::to_string(id) + " Status 99.00 %\n" +           //
                  "[   2.000 s] task " + std::to_string(id) + " Result 25  count primes\n" +  //
                  "[   3.000 s] task " + std::to_string(id) + " removed\n" +                  //
                  "[   4.000 s] task " + std::to_string(unknown) + " Error \"$Failed\"\n" +   //
                  "[   5.000 s] task " + std::to_string(unknown) + " Status 7 %\n" +          //
                  "[   6.000 s] task " + std::to_string(unknown) + " Result (no value)\n");
    // At most one Status a second for each task, the first half a second after its event at the earliest.
    EventLines rare;
    const std::string shown = rare.text({{0, id, "Status", 1.0},
                                         {0.4, id, "Status", 2.0},
                                         {0.6, id, "Status", 3.0},
                                         {1.5, id, "Status", 4.0},
                                         {1.7, id, "Status", 5.0},
                                         {1.8, id, "removed", {}}},
                                        false, {});
    EXPECT_EQ(shown, "[   0.600 s] task " + std::to_string(id) + " Status 3.00 %\n" +  //
                         "[   1.700 s] task " + std::to_string(id) + " Status 5.00 %\n");
    host().tasks.remove(id);
}

}  // namespace
