/**
 * @file   protocol_process_test.cpp
 * @brief  A library that breaks the protocol is reported, with exit code 4, and the host continues.
 */
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/process.h"

namespace {

using namespace kesh::test;
using testing::AllOf;
using testing::HasSubstr;

Finished rogue(const Arguments& call) {
    Arguments arguments = {"--library", KESH_ROGUE_LIBRARY};
    arguments.insert(arguments.end(), call.begin(), call.end());
    return run_host(arguments);
}

struct Breach {
    Arguments call;
    const char* report;
};

void PrintTo(const Breach& breach, std::ostream* out) {
    *out << breach.call.front() << ' ' << breach.call.back() << ": " << breach.report;
}

class HostProtocol : public testing::TestWithParam<Breach> {};

TEST_P(HostProtocol, ReportsTheBreach) {
    const Finished run = rogue(GetParam().call);
    EXPECT_EQ(run.code, 4);
    EXPECT_THAT(run.errors, AllOf(HasSubstr("PROTOCOL BREACH"), HasSubstr(GetParam().report)));
}

INSTANTIATE_TEST_SUITE_P(
    Ways, HostProtocol,
    testing::Values(Breach{{"PrimeSieve_CountTwins", "0", "1"}, "slot 23 (Message) of the callback table"},
                    Breach{{"PrimeSieve_CountTriplets", "0", "1"}, "slot 40 (a further slot) of the callback table"},
                    Breach{{"PrimeSieve_CountTriplets", "0", "1"}, "slot 30 (a further slot) of the task table"},
                    Breach{{"PrimeSieve_CountPrimes", "0", "1"}, "returned 6, but wrote its result slot"},
                    Breach{{"PrimeSieve_NthPrime", "1"}, "returned 0 without writing its result"},
                    Breach{{"PrimeSieve_ListNPrimes", "1"}, "not a tensor of this host"},
                    Breach{{"PrimeCount_ExprPrimePi", "1"}, "did not disown its string"},
                    Breach{{"PrimeCount_GetThreads"}, "a string that is not lent"},
                    Breach{{"KESH_PrimeQ", "7"}, "wrote 7 instead of 0 or 1"},
                    Breach{{"PrimeCount_SubmitPrimePi", "new", "1"}, "after its \"Result\""},
                    Breach{{"PrimeCount_SubmitPrimePi", "new", "2"}, "carries 2 values"},
                    Breach{{"PrimeCount_SubmitPrimePi", "new", "3"}, "without a \"Result\" or an \"Error\""},
                    Breach{{"PrimeCount_SubmitPrimePi", "new", "4"}, "which does not exist"},
                    Breach{{"PrimeCount_SubmitPrimePi", "new", "5"}, "fell from 50.000 to 40.000"},
                    Breach{{"PrimeCount_SubmitPrimePi", "new", "6"}, "\"Status\" of task 1 after its \"Result\""},
                    Breach{{"PrimeCount_SubmitPrimePi", "new", "7"}, "passed to the host before"},
                    Breach{{"PrimeCount_SubmitPrimePi", "new", "8"}, "the unknown name \"Progress\""},
                    Breach{{"PrimeCount_SubmitPrimePi", "new", "9"}, "removed twice"}));

TEST(HostProtocolMore, ForeignExceptionsAndCodesAreShown) {
    const Finished thrown = rogue({"PrimeSieve_NextPrime", "1"});
    EXPECT_EQ(thrown.code, 1);
    EXPECT_THAT(thrown.errors, HasSubstr("exception: int left PrimeSieve_NextPrime(1)"));
    const Finished code = rogue({"PrimeCount_SetThreads", "1"});
    EXPECT_EQ(code.code, 1);
    EXPECT_THAT(code.errors, HasSubstr("returned 77, not an error code of the host"));
    const Finished missing = rogue({"PrimeCount_Coprime", "1", "1"});
    EXPECT_EQ(missing.code, 1);
    EXPECT_THAT(missing.errors, HasSubstr("PrimeCount_Coprime is not exported by this library"));
    EXPECT_EQ(rogue({"PrimeCount_SubmitPrimePi", "new", "0"}).code, 0);
}

TEST(HostProtocolMore, TheHostGoesOn) {
    const Finished run =
        run_host({"--library", KESH_ROGUE_LIBRARY},
                 {.input = "PrimeSieve_NextPrime 1\nPrimeSieve_CountPrimes 0 1\nPrimeCount_SubmitPrimePi new 0\n"
                           "VelmoraLibrary_getVersion -q\n"});
    EXPECT_EQ(run.code, 4);
    EXPECT_THAT(run.output, AllOf(HasSubstr("Result 25"), HasSubstr("7\n")));
}

/** The second task replaces the progress callback, and the rest of the third count is reported as its progress. */
TEST(HostProtocolMore, ACountBesideTasksBreaksNothing) {
    const Finished run = run_host({}, {.input = "PrimeCount_PrimePi 10^12 --async\nPrimeCount_PrimePi 10^12 --async\n"
                                                "PrimeCount_PrimePi 3*10^14 --bare\n"});
    EXPECT_EQ(run.code, 0) << run.errors;
    EXPECT_THAT(run.errors, testing::Not(HasSubstr("BREACH")));
    EXPECT_THAT(run.output, HasSubstr("9287441600280"));
}

}  // namespace
