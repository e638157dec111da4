/**
 * @file   call_process_test.cpp
 * @brief  Calls from the shell's line: output, exit codes, JSON, bad input.
 */
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <nlohmann/json.hpp>

#include "host/process.h"

namespace {

using namespace kesh::test;
using nlohmann::json;
using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

json json_of(const Finished& finished) {
    EXPECT_EQ(std::count(finished.output.begin(), finished.output.end(), '\n'), 1) << "one object on one line";
    return json::parse(finished.output);
}

TEST(HostCall, PrintsTheCountFirst) {
    const Finished run = run_host({"PrimeSieve_CountPrimes", "0", "10^8"});
    EXPECT_EQ(run.code, 0);
    EXPECT_THAT(run.output, AllOf(StartsWith("5761455\n"), HasSubstr("There are 5,761,455 primes from 0 to 10^8.")));
    EXPECT_THAT(run.errors, IsEmpty()) << "no progress line without a terminal";
    EXPECT_EQ(run_host({"PrimeSieve_CountPrimes", "0", "10^8", "-q"}).output, "5761455\n");
}

TEST(HostCall, NegativeArgumentsAreNoOptions) {
    EXPECT_THAT(run_host({"PrimeCount_PrimePi", "-1"}).output, StartsWith("0\n"));
    const Finished sum = run_host({"PrimeSieve_PrimeSumInterval", "5", "-1", "--quiet"});
    EXPECT_EQ(sum.output, "0\n");
}

TEST(HostCall, RangesInTheFormsThatPeopleBring) {
    EXPECT_EQ(run_host({"PrimeSieve_CountPrimes", "1,000,000", "-q"}).output, "78498\n");
    EXPECT_EQ(run_host({"PrimeSieve_CountPrimes", "10^6", "--distance", "10^3", "-q"}).output, "75\n");
    EXPECT_EQ(run_host({"-d", "1e3", "PrimeSieve_CountPrimes", "10^7/10", "-q"}).output, "75\n");
    EXPECT_EQ(run_host({"PrimeSieve_PrimeSumInterval", "10", "-q"}).output, "17\n");
    EXPECT_EQ(run_host({"PrimeSieve_ListPrimes", "10", "-q"}).output, "2\n3\n5\n7\n");
}

TEST(HostCall, ThreadsAreSetBeforeTheCall) {
    EXPECT_EQ(run_host({"PrimeCount_GetThreads", "--threads", "1", "-q"}).output, "1\n");
    EXPECT_EQ(run_host({"--threads", "1", "plot", "pi", "100"}).code, 0);
    EXPECT_THAT(
        run_host({"--threads", "1000000", "PrimeCount_PrimePi", "100"}).errors,
        AllOf(StartsWith("--threads 1000000: counts use "), HasSubstr("the most that primecount accepts here")));
}

TEST(HostCall, SumsAreWholeOrSayThatTheyAreNot) {
    const json small = json_of(run_host({"PrimeSieve_PrimeSum", "10^6", "--json"}));
    EXPECT_EQ(small["result"]["wrapped"], false);
    EXPECT_EQ(small["result"]["exact"], "37550402023");
    const json wrapped = json_of(run_host({"PrimeSieve_PrimeSumInterval", "10^18", "10^18+2000", "--json"}));
    EXPECT_EQ(wrapped["result"]["wrapped"], true);
    EXPECT_EQ(wrapped["result"]["exact"], "42000000000000040838");
    const json bare = json_of(run_host({"PrimeSieve_PrimeSumInterval", "10^18", "10^18+2000", "--json", "--bare"}));
    EXPECT_TRUE(bare["result"]["wrapped"].is_null()) << "one call and no other";
}

TEST(HostCall, JsonOfAnInteger) {
    const json call = json_of(run_host({"PrimeSieve_NextPrime", "2^32", "--json"}));
    EXPECT_EQ(call["export"], "PrimeSieve_NextPrime");
    EXPECT_EQ(call["status"], "ok");
    EXPECT_EQ(call["code"], 0);
    EXPECT_EQ(call["result"]["value"], 4294967311);
    EXPECT_EQ(call["arguments"][0]["typed"], "2^32");
    EXPECT_EQ(call["arguments"][0]["value"], "4294967296");
    EXPECT_TRUE(call["seconds"].is_number());
    EXPECT_THAT(call["breaches"], IsEmpty());
}

TEST(HostCall, JsonOfATensorIsWhole) {
    const json call = json_of(run_host({"PrimeSieve_ListNPrimes", "5000", "--json"}));
    EXPECT_EQ(call["result"]["dimensions"], json::array({5000}));
    EXPECT_EQ(call["result"]["value"].size(), 5000U);
    EXPECT_EQ(call["result"]["value"][4999], 48611);
}

TEST(HostCall, JsonOfBadInput) {
    const Finished run = run_host({"PrimeSieve_NextPrime", "12a", "--json"});
    EXPECT_EQ(run.code, 2);
    EXPECT_EQ(json_of(run)["status"], "bad input");
}

TEST(HostCall, ATensorIsATable) {
    const Finished run = run_host({"PrimeSieve_ListPrimes", "0", "10^6"});
    EXPECT_THAT(run.output, AllOf(HasSubstr("1:"), HasSubstr("999983"), HasSubstr("more ...")));
    EXPECT_LT(run.output.size(), 2000U);
    EXPECT_THAT(run_host({"PrimeSieve_ListPrimes", "10", "1"}).output, StartsWith("{}\n"));
}

TEST(HostCall, ExceptionsAreShownWithTypeAndText) {
    const Finished run = run_host({"PrimeSieve_ListNPrimes", "-1"});
    EXPECT_EQ(run.code, 1);
    EXPECT_EQ(run.errors, "exception: std::length_error left PrimeSieve_ListNPrimes(-1): vector::reserve\n");
    EXPECT_THAT(run.output, IsEmpty());
    const json call = json_of(run_host({"PrimeSieve_NextPrime", "2^64-1", "--json"}));
    EXPECT_EQ(call["exception"]["type"], "primesieve::primesieve_error");
    EXPECT_EQ(call["exception"]["text"], "cannot generate primes > 2^64");
}

TEST(HostCall, WrongCountsReachTheLibraryOnlyUnchecked) {
    EXPECT_EQ(run_host({"PrimeSieve_NthPrime", "5", "6"}).code, 2);
    const Finished run = run_host({"PrimeSieve_NthPrime", "5", "6", "--unchecked"});
    EXPECT_EQ(run.code, 1);
    EXPECT_THAT(run.errors, HasSubstr("returned 6, LIBRARY_FUNCTION_ERROR"));
}

TEST(HostCall, ACountOfTextThatFailsSaysWhy) {
    const std::string above = "x is above 3.0258 10^31, the largest x that can be counted.";
    const std::pair<std::string, std::string> reasons[] = {
        {"30258703151417745071150714585089", above},
        {"10^39", above},
        {"10^10^10", above},
        {"no number", "The text cannot be read: a number is expected."},
        {"(10^5", "The text cannot be read: a closing parenthesis is missing."},
        {"5/0", "The text cannot be read: division by zero."},
    };
    for (const auto& [text, why] : reasons) {
        const Finished run = run_host({"PrimeCount_ExprPrimePi", text});
        EXPECT_EQ(run.code, 1);
        EXPECT_EQ(run.errors, "error: PrimeCount_ExprPrimePi(" + text +
                                  ") returned 6, LIBRARY_FUNCTION_ERROR\n       " + why + "\n");
        EXPECT_EQ(json_of(run_host({"PrimeCount_ExprPrimePi", text, "--json"}))["reason"], why);
        EXPECT_THAT(run_host({"PrimeCount_SubmitExprPrimePi", "new", text}).errors, HasSubstr("       " + why + "\n"));
    }
}

TEST(HostCall, BadInputIsOneLine) {
    const std::vector<Arguments> inputs = {{"PrimeSieve_CountPrimes"},
                                           {"PrimeSieve_CountPrimes", "0", "x"},
                                           {"PrimeSieve_CountPrimes", "0", "1", "-d", "5"},
                                           {"PrimeSieve_NthPrime", "5", "--distance", "5"},
                                           {"list", "--distance", "5"},
                                           {"PrimeSieve_NthPrime", "5", "--threads", "0"},
                                           {"PrimeSieve_CountPrimes", "1,00"},
                                           {"PrimeSieve_CountPrimes", "0", "2^64"},
                                           {"PrimeCount_PrimePi", "2^63"},
                                           {"PrimeSieve_CountPrims", "0", "1"},
                                           {"--no-such-option"},
                                           {"--library"},
                                           {"PrimeCount_SubmitPrimePi", "9", "100"},
                                           {"PrimeSieve_NthPrime", "5", "--next"},
                                           {"PrimeSieve_NthPrime", "5", "--async"},
                                           {"tasks"},
                                           {"plot", "nothing"}};
    for (const Arguments& input : inputs) {
        const Finished run = run_host(input);
        EXPECT_EQ(run.code, 2) << input[0];
        EXPECT_EQ(std::count(run.errors.begin(), run.errors.end(), '\n'), 1) << run.errors;
        EXPECT_THAT(run.output, IsEmpty()) << input[0];
    }
    EXPECT_THAT(run_host({"PrimeSieve_CountPrims", "0", "1"}).errors, HasSubstr("did you mean PrimeSieve_CountPrimes"));
}

TEST(HostCall, ListHelpAndVersion) {
    EXPECT_THAT(run_host({"--list"}).output, HasSubstr("PrimeSieve_ListPrimes(a: integer, b: integer) -> tensor"));
    EXPECT_EQ(json::parse(run_host({"--list", "--json"}).output).size(), 36U);
    EXPECT_THAT(run_host({"--help"}).output,
                AllOf(HasSubstr("Examples:"), HasSubstr("--fail"), HasSubstr("--null-io")));
    EXPECT_THAT(run_host({"--help", "PrimeCount_Coprime"}).output, StartsWith("PrimeCount_Coprime a b\n"));
    EXPECT_THAT(run_host({"--version"}).output,
                AllOf(StartsWith("kesh-host "), HasSubstr("interface version 7"), HasSubstr("primesieve "),
                      HasSubstr("kernels of the wide primality tests: ")));
    EXPECT_EQ(run_host({"help", "PrimeCount_Coprim"}).code, 2);
}

TEST(HostCall, LibrariesThatCannotBeUsed) {
    const Finished none = run_host({"--library", "/nonexistent/lib.so", "--list"});
    EXPECT_EQ(none.code, 3);
    EXPECT_THAT(none.errors, HasSubstr("there is no library at /nonexistent/lib.so"));
    const Finished foreign = run_host({"--library", KESH_FOREIGN_LIBRARY, "--list"});
    EXPECT_EQ(foreign.code, 3);
    EXPECT_THAT(foreign.errors, HasSubstr("has interface version 6, but this host needs 7"));
    const Finished no_library = run_host({"--library", KESH_HOST_PROGRAM, "--list"});
    EXPECT_EQ(no_library.code, 3);
    EXPECT_THAT(no_library.errors, HasSubstr("cannot be opened"));
    EXPECT_EQ(run_host({"--help", "--library", "/nonexistent/lib.so"}).code, 0) << "help needs no library";
}

TEST(HostCall, PiecesAddUpToTheSameAnswer) {
    const json whole = json_of(run_host({"PrimeSieve_CountTwins", "0", "4*10^9", "--json"}));
    const json pieces = json_of(run_host({"PrimeSieve_CountTwins", "0", "4*10^9", "--json", "--progress"}));
    EXPECT_EQ(whole["pieces"], 1);
    EXPECT_GT(pieces["pieces"], 1);
    EXPECT_EQ(whole["result"], pieces["result"]);
}

TEST(HostCall, TasksShowProgressAndReport) {
    const json call = json_of(run_host({"PrimeCount_PrimePi", "10^13", "--progress", "--json"}));
    EXPECT_EQ(call["result"]["value"], 346065536839);
    EXPECT_EQ(call["task"]["state"], "done");
    EXPECT_GT(call["task"]["status_events"], 0);
    EXPECT_LE(call["task"]["first_percent"], 100.0);
    EXPECT_THAT(call["breaches"], IsEmpty());
    const json text = json_of(run_host({"PrimeCount_ExprPrimePi", "10000000000000", "--progress", "--json"}));
    EXPECT_EQ(text["result"]["value"], "346065536839");
    const json submitted = json_of(run_host({"PrimeCount_SubmitPrime", "new", "10^9", "--json"}));
    EXPECT_EQ(submitted["result"]["value"], 22801763489);
    EXPECT_EQ(submitted["export"], "PrimeCount_SubmitPrime");
}

TEST(HostCall, StatusUnderACallWithoutCallbackOfItsOwn) {
    const json call = json_of(run_host({"PrimeCount_Lehmer", "10^11", "--json"}));
    EXPECT_EQ(call["result"]["value"], 4118054813);
    EXPECT_THAT(call["breaches"], IsEmpty());
}

}  // namespace
