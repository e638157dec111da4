/**
 * @file   prompt_process_test.cpp
 * @brief  The prompt on a terminal, and commands from a pipe.
 */
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>

#include "host/process.h"

namespace {

using namespace kesh::test;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

constexpr const char* interrupt = "\x03";
constexpr const char* end_of_input = "\x04";

/**
 * Leaves with Ctrl-D and returns the exit code. The prompt appears a moment before the terminal passes every key on. A
 * line typed in that moment is kept, but the terminal itself takes a Ctrl-D: it is typed again if it has no effect.
 */
int leave(TerminalHost& host) {
    int code = -1;
    for (int i = 0; i < 12 && code == -1; ++i) {
        host.type(end_of_input);
        code = host.wait(std::chrono::seconds(5));
    }
    return code;
}

TEST(HostScript, LinesOfAPipe) {
    const Finished run = run_host({}, {.input = "# a comment\n\nPrimeSieve_NthPrime 100\nPrimeSieve_CountTwins[0, "
                                                "10^6]\nPrimeCount_ExprPrimePi(\"1000\")\nquit\nnonsense\n"});
    EXPECT_EQ(run.code, 0);
    EXPECT_THAT(run.output, AllOf(HasSubstr("541\n"), HasSubstr("8169\n"), HasSubstr("168\n")));
}

TEST(HostScript, TheWorstLineDecidesTheExitCode) {
    const auto code = [](const char* lines) { return run_host({}, {.input = lines}).code; };
    EXPECT_EQ(code("PrimeSieve_NthPrime 100\nnonsense\nPrimeSieve_NthPrime 100\n"), 2);
    EXPECT_EQ(code("PrimeSieve_ListNPrimes -1\nPrimeSieve_NthPrime 100\n"), 1);
    EXPECT_EQ(code("PrimeSieve_NthPrime 'x\n"), 2);
}

TEST(HostScript, TasksRunInTurnAndAreWaitedFor) {
    const Finished run = run_host({}, {.input = "PrimeCount_PrimePi 10^12 --async\nPrimeCount_Prime 10^9 "
                                                "--async\nPrimeCount_ExprPrimePi 1000 --async\ntasks\n"});
    EXPECT_EQ(run.code, 0);
    EXPECT_THAT(run.output,
                AllOf(HasSubstr("task 3: PrimeCount_ExprPrimePi(1000)"), HasSubstr("task 1 Result 37607912018"),
                      HasSubstr("task 2 Result 22801763489"), HasSubstr("task 3 Result \"168\"")));
}

TEST(HostScript, ACallInTheForegroundSwallowsNoOtherTasksResult) {
    const Finished run = run_host({}, {.input = "PrimeCount_PrimePi 10^12 --async\nPrimeSieve_CountPrimes 0 4*10^9\n"});
    EXPECT_THAT(run.output, HasSubstr("task 1 Result 37607912018"));
}

TEST(HostScript, AnUncheckedTaskNeedNotExist) {
    const Finished run =
        run_host({}, {.input = "PrimeCount_SubmitPrimePi -1 100 --unchecked\nPrimeSieve_NthPrime 4 -q\n"});
    EXPECT_THAT(run.output, HasSubstr("PrimeCount_SubmitPrimePi(-1, 100): submitted for a task that does not exist"));
    EXPECT_THAT(run.output, HasSubstr("\n7\n")) << "the host goes on";
}

TEST(HostScript, SettingsHoldForTheLinesAfterThem) {
    const Finished run = run_host(
        {}, {.input = "set quiet on\nPrimeSieve_NthPrime 4\nset quiet off\nset nonsense on\nset json maybe\n"});
    EXPECT_EQ(run.output, "7\n");
    EXPECT_THAT(run.errors,
                AllOf(HasSubstr("'nonsense' is not a setting"), HasSubstr("'maybe' is neither on nor off")));
}

TEST(HostPrompt, CallsCompletionAndHelp) {
    TerminalHost host({"--color", "never"});
    ASSERT_TRUE(host.expect("kesh> "));
    host.type("PrimeSieve_Nth\t100\r");
    ASSERT_TRUE(host.expect("541")) << host.recent();
    ASSERT_TRUE(host.expect("kesh> "));
    host.type("PrimeSieve_Count\t\t");
    ASSERT_TRUE(host.expect("PrimeSieve_CountSextuplets")) << host.recent();
    host.type("Tw\t0 1000\r");
    ASSERT_TRUE(host.expect("35")) << host.recent();
    ASSERT_TRUE(host.expect("kesh> "));
    host.type("nthp\t100\r");
    ASSERT_TRUE(host.expect("PrimeSieve_NthPrime 100")) << host.recent();
    ASSERT_TRUE(host.expect("Prime number 100 is 541")) << host.recent();
    ASSERT_TRUE(host.expect("kesh> "));
    host.type("?KESH_RT_PrimeQ\r");
    ASSERT_TRUE(host.expect("limbs as {low"));
    ASSERT_TRUE(host.expect("kesh> "));
    host.type("PrimeSieve_NthPrim 1\r");
    ASSERT_TRUE(host.expect("did you mean\r\nPrimeSieve_NthPrime "))
        << "broken where the terminal ends" << host.recent();
    ASSERT_TRUE(host.expect("kesh> "));
    EXPECT_EQ(leave(host), 0);
}

TEST(HostPrompt, EndOfInputTypedDuringACallLeaves) {
    TerminalHost host({"--color", "never"});
    ASSERT_TRUE(host.expect("kesh> "));
    host.type(std::string(1, '\0'));  // what the host receives when the terminal is in its other mode
    EXPECT_EQ(host.wait(), 0);
}

TEST(HostPrompt, HistoryBringsBackTheLastLine) {
    TerminalHost host({"--color", "never"});
    ASSERT_TRUE(host.expect("kesh> "));
    host.type("PrimeSieve_NthPrime 100 -q\r");
    ASSERT_TRUE(host.expect("\n541"));
    ASSERT_TRUE(host.expect("kesh> "));
    host.type("\x1b[A\r");
    ASSERT_TRUE(host.expect("\n541")) << host.recent();
}

TEST(HostPrompt, InterruptDropsTheLine) {
    TerminalHost host({"--color", "never"});
    ASSERT_TRUE(host.expect("kesh> "));
    host.type("PrimeSieve_Nth");
    ASSERT_TRUE(host.expect("Nth"));
    host.type(interrupt);
    ASSERT_TRUE(host.expect("kesh> ")) << host.recent();
    host.type("PrimeSieve_NthPrime 4\r");
    EXPECT_TRUE(host.expect("Prime number 4 is 7.")) << host.recent();
}

TEST(HostPrompt, InterruptStopsCallsOfAllRoutes) {
    TerminalHost host({"--color", "never"});
    ASSERT_TRUE(host.expect("kesh> "));
    for (const char* call : {"PrimeCount_PrimePi 10^18", "PrimeCount_LMO 10^17", "PrimeSieve_CountPrimes 0 10^13",
                             "PrimeSieve_NthPrime 10^13", "PrimeCount_PrimePi 10^18 --bare", "plot pi 10^15",
                             "plot gaps 0 10^11", "plot twins 10^12", "plot events PrimeCount_PrimePi 10^18"}) {
        host.type(std::string(call) + "\r");
        ASSERT_TRUE(host.expect(" s")) << host.recent();  // the line with the elapsed time
        host.type(interrupt);
        ASSERT_TRUE(host.expect("stopped:")) << call << host.recent();
        ASSERT_TRUE(host.expect("kesh> ")) << host.recent();
    }
    host.type("PrimeCount_PrimePi 10^6 -q\r");
    EXPECT_TRUE(host.expect("\n78498")) << "the next count is right";
    EXPECT_THAT(host.screen(), Not(HasSubstr("BREACH")));
    EXPECT_THAT(host.screen(), Not(HasSubstr("] task"))) << "events belong to the plot that was stopped";
}

TEST(HostPrompt, InterruptEndsTheWaitingForAQueuedTask) {
    TerminalHost host({"--color", "never"});
    ASSERT_TRUE(host.expect("kesh> "));
    host.type("PrimeCount_PrimePi 10^18 --async\r");
    // Waiting tasks have no order: the second may run first unless the first already counts.
    ASSERT_TRUE(host.expect("task 1 Status")) << host.recent();
    ASSERT_TRUE(host.expect("kesh (1 running)> ")) << host.recent();
    host.type("PrimeCount_PrimePi 10^17\r");
    ASSERT_TRUE(host.expect("queued")) << host.recent();
    host.type(interrupt);
    ASSERT_TRUE(host.expect("task 2 stays queued")) << host.recent();
    ASSERT_TRUE(host.expect("kesh (1 running, 1 queued)> ")) << host.recent();
    host.type("stop\r");
    ASSERT_TRUE(host.expect("task 1 Error")) << host.recent();
    ASSERT_TRUE(host.expect("task 2 Status")) << "its turn has come" << host.recent();
    ASSERT_TRUE(host.expect("kesh (1 running)> ")) << host.recent();
    EXPECT_EQ(leave(host), 0);
}

TEST(HostPrompt, ASieveIsLeftWithTheSecondInterrupt) {
    TerminalHost host({"PrimeSieve_NthPrime", "10^13", "--bare"});
    ASSERT_TRUE(host.expect(" s"));
    host.type(interrupt);
    ASSERT_TRUE(host.expect("cannot be stopped")) << host.recent();
    host.type(interrupt);
    EXPECT_EQ(host.wait(), 130);
}

TEST(HostPrompt, EventsPrintAsTheyCome) {
    TerminalHost host({"--color", "never"});
    ASSERT_TRUE(host.expect("kesh> "));
    host.type("PrimeCount_PrimePi 10^12 --async\r");
    ASSERT_TRUE(host.expect("task 1: PrimeCount_PrimePi(10^12)"));
    ASSERT_TRUE(host.expect("task 1 Result 37607912018")) << host.recent();
    host.type("PrimeCount_PrimePi 10^18 --async\r");
    ASSERT_TRUE(host.expect("task 2 Status")) << host.recent();
    host.type("stop\r");
    ASSERT_TRUE(host.expect("task 2 Error \"$Failed\"")) << host.recent();
    host.type("tasks\r");
    ASSERT_TRUE(host.expect("failed or stopped")) << host.recent();
    host.type("PrimeCount_PrimePi 10^18 --async\r");
    ASSERT_TRUE(host.expect("task 3:"));
    ASSERT_TRUE(host.expect("kesh (1 running)> ")) << host.recent();
    EXPECT_EQ(leave(host), 0);
    EXPECT_TRUE(host.expect("stopping 1 task")) << host.recent();
}

TEST(HostPrompt, ColourIsLeftOutWhereItIsNotWanted) {
    TerminalHost coloured({"PrimeSieve_NthPrime", "4"});
    EXPECT_EQ(coloured.wait(), 0);
    EXPECT_THAT(coloured.screen(), HasSubstr("\033[1m7\033[0m"));
    TerminalHost plain({"PrimeSieve_NthPrime", "4"}, 80, {{"NO_COLOR", "1"}});
    EXPECT_EQ(plain.wait(), 0);
    EXPECT_THAT(plain.screen(), AllOf(HasSubstr("7"), Not(HasSubstr("\033["))));
}

}  // namespace
