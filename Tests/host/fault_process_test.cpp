/**
 * @file   fault_process_test.cpp
 * @brief  Injected faults, and how the real library reacts to them.
 */
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <nlohmann/json.hpp>

#include "host/process.h"

namespace {

using namespace kesh::test;
using nlohmann::json;
using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;

TEST(HostFaults, TensorCodesComeBackUnchanged) {
    for (const int code : {1, 2, 3, 4, 5, 6, 7}) {
        const Finished run =
            run_host({"PrimeSieve_ListPrimes", "0", "100", "--fail", "MTensor_new=" + std::to_string(code)});
        EXPECT_EQ(run.code, 1);
        EXPECT_THAT(run.errors, HasSubstr("returned " + std::to_string(code) + ", LIBRARY_"));
    }
}

TEST(HostFaults, AbortQEndsACount) {
    const Finished run = run_host({"PrimeCount_PrimePi", "10^16", "--fail", "AbortQ=1", "--json"});
    const json call = json::parse(run.output);
    EXPECT_EQ(call["code"], 6);
    EXPECT_EQ(call["status"], "error");
    EXPECT_EQ(run.code, 1);
}

TEST(HostFaults, AbortAfterStopsCountsOfAllRoutes) {
    for (const Arguments& call :
         {Arguments{"PrimeCount_PrimePi", "10^18"}, Arguments{"PrimeCount_PrimePi", "10^18", "--progress"},
          Arguments{"PrimeCount_LMO", "10^17"}, Arguments{"PrimeSieve_CountPrimes", "0", "10^13", "--progress"}}) {
        Arguments arguments = call;
        arguments.insert(arguments.end(), {"--abort-after", "0.3"});
        const Finished run = run_host(arguments);
        EXPECT_EQ(run.code, 1) << call[0];
        EXPECT_THAT(run.errors, HasSubstr("stopped: " + call[0])) << call[0];
        EXPECT_THAT(run.errors, testing::Not(HasSubstr("BREACH")));
    }
}

TEST(HostFaults, ADataStoreThatIsNotThere) {
    const Finished run = run_host({"PrimeCount_SubmitPrimePi", "new", "10^6", "--fail", "createDataStore=null"});
    EXPECT_EQ(run.code, 1);
    EXPECT_THAT(run.errors, AllOf(HasSubstr("no value came with its events"), testing::Not(HasSubstr("BREACH"))));
}

TEST(HostFaults, AnExceptionWhileTheResultIsRaised) {
    const Finished run =
        run_host({"PrimeCount_SubmitPrimePi", "new", "10^6", "--fail", "raiseAsyncEvent:Result=throw"});
    EXPECT_EQ(run.code, 1);
    EXPECT_THAT(run.errors, AllOf(HasSubstr("reported \"Error\" with \"$Failed\""), testing::Not(HasSubstr("BREACH"))));
}

TEST(HostFaults, LifecycleTakesANullTable) {
    EXPECT_EQ(run_host({"VelmoraLibrary_initialize", "--null-table"}).code, 0);
    EXPECT_THAT(run_host({"VelmoraLibrary_getVersion", "--null-table", "-q"}).output, "7\n");
    EXPECT_THAT(run_host({"PrimeSieve_NthPrime", "4", "--null-table", "-q"}).output, "7\n")
        << "sieve counts never look at the table";
    EXPECT_THAT(run_host({"PrimeCount_PrimePi", "100", "--null-io", "-q"}).output, "25\n");
}

TEST(HostFaults, TheCampaignForOneExport) {
    const Finished run = run_host({"faults", "KESH_RT_PrimeQ"});
    EXPECT_EQ(run.code, 0);
    EXPECT_THAT(run.output,
                AllOf(HasSubstr("returns 0, position 17 | code 6, no result"), testing::Not(HasSubstr("breach:"))));
    EXPECT_EQ(run_host({"faults", "NoExport"}).code, 2);
    EXPECT_EQ(run_host({}, {.input = "faults\n"}).code, 2) << "every case begins in a fresh process";
}

TEST(HostFaults, EnduranceTellsWrongAnswers) {
    EXPECT_EQ(run_host({"endure", "--minutes", "-1"}).code, 2);
    const Finished run = run_host({"endure", "--minutes", "0", "--fail", "MTensor_new=5"});
    EXPECT_THAT(run.output, HasSubstr("WRONG: PrimeSieve_ListPrimes returned a failure instead of {101, "));
    EXPECT_THAT(run.output, HasSubstr(" minutes, 1 round with "));
    EXPECT_EQ(run.code, 1);
}

TEST(HostFaults, BadFaultsAreOneLine) {
    for (const Arguments& fault :
         {Arguments{"--fail", "MTensor=5"}, Arguments{"--fail", "MTensor_new"}, Arguments{"--leave-length", "17"},
          Arguments{"--fail", "MTensor_getInteger=0", "--leave-length", "3"}}) {
        Arguments arguments = {"PrimeSieve_ListNPrimes", "3"};
        arguments.insert(arguments.end(), fault.begin(), fault.end());
        const Finished run = run_host(arguments);
        EXPECT_EQ(run.code, 2) << fault[1];
        EXPECT_THAT(run.output, IsEmpty());
    }
}

TEST(HostInterrupt, EndsATaskAndItsBar) {
    const Finished run =
        run_host({"PrimeCount_PrimePi", "10^18", "--progress"}, {.signal = SIGINT, .signal_when = "%"});
    EXPECT_EQ(run.code, 130);
    EXPECT_THAT(run.errors, HasSubstr("stopped: PrimeCount_PrimePi(10^18)"));
}

TEST(HostInterrupt, EndsACallInPieces) {
    const Finished run =
        run_host({"PrimeSieve_CountPrimes", "0", "10^13", "--progress"}, {.signal = SIGINT, .signal_when = "%"});
    EXPECT_EQ(run.code, 130);
    EXPECT_THAT(run.errors, HasSubstr("stopped: PrimeSieve_CountPrimes(0, 10^13)"));
}

}  // namespace
