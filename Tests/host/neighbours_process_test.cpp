/**
 * @file   neighbours_process_test.cpp
 * @brief  The commands next-prime, previous-prime and primes from the shell's line.
 */
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <nlohmann/json.hpp>

#include "host/process.h"

namespace {

using namespace kesh::test;
using nlohmann::json;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

TEST(HostNeighbours, NextAndPrevious) {
    EXPECT_EQ(run_host({"next-prime", "7", "0", "2^64", "-q"}).output, "11\n2\n18446744073709551629\n");
    EXPECT_EQ(run_host({"previous-prime", "3", "2^64", "2^1024-1", "-q"}).output.substr(0, 23),
              "2\n18446744073709551557\n");
    EXPECT_THAT(run_host({"next-prime", "10^18"}).output, StartsWith("1000000000000000003  ("));
    const json next = json::parse(run_host({"next-prime", "2^127", "--json"}).output);
    EXPECT_EQ(next["prime"], "170141183460469231731687303715884105757");
    EXPECT_EQ(next["status"], "ok");
}

TEST(HostNeighbours, WhereThereIsNone) {
    const Finished none = run_host({"next-prime", "2^1024-105", "7", "-q"});
    EXPECT_EQ(none.code, 1);
    EXPECT_EQ(none.output, "11\n") << "the others are still printed";
    EXPECT_EQ(none.errors, "there is no prime above 2^1024-105 within 1024 bits\n");
    EXPECT_THAT(run_host({"previous-prime", "2"}).errors, "there is no prime below 2\n");
    EXPECT_EQ(json::parse(run_host({"previous-prime", "0", "--json"}).output)["status"], "none");
}

TEST(HostNeighbours, Primes) {
    EXPECT_EQ(run_host({"primes", "0", "5"}).output, "2\n3\n5\n7\n11\n");
    EXPECT_EQ(run_host({"primes", "7", "2"}).output, "7\n11\n") << "FROM is one of them when it is prime";
    EXPECT_EQ(run_host({"primes", "2^64-60", "2"}).output, "18446744073709551557\n18446744073709551629\n");
    EXPECT_THAT(run_host({"primes", "10", "0"}).output, IsEmpty());
    // More primes than in one piece: the last of the first 100,000 primes is 1,299,709.
    const Finished many = run_host({"primes", "0", "10^5"});
    EXPECT_EQ(std::count(many.output.begin(), many.output.end(), '\n'), 100'000);
    EXPECT_THAT(many.output, EndsWith("\n1299709\n"));
    EXPECT_THAT(many.errors, IsEmpty());
}

TEST(HostNeighbours, PrimesEndAt1024Bits) {
    const Finished run = run_host({"primes", "2^1024-105", "3"});
    EXPECT_EQ(run.code, 1);
    EXPECT_EQ(std::count(run.output.begin(), run.output.end(), '\n'), 1);
    EXPECT_EQ(run.errors, "there is only 1 prime from 2^1024-105 on within 1024 bits\n");
    EXPECT_EQ(run_host({"primes", "2^1024-1", "3"}).errors, "there is no prime from 2^1024-1 on within 1024 bits\n");
}

TEST(HostNeighbours, BadInput) {
    for (const Arguments& words :
         {Arguments{"next-prime"}, Arguments{"previous-prime"}, Arguments{"next-prime", "-1"},
          Arguments{"next-prime", "2^1024"}, Arguments{"next-prime", "7", "x"}, Arguments{"primes"},
          Arguments{"primes", "1"}, Arguments{"primes", "1", "2", "3"}, Arguments{"primes", "1", "-2"},
          Arguments{"primes", "1", "2^63"}, Arguments{"primes", "1", "2", "--json"}}) {
        const Finished run = run_host(words);
        EXPECT_EQ(run.code, 2) << words.back();
        EXPECT_EQ(std::count(run.errors.begin(), run.errors.end(), '\n'), words.back() == "--json" ? 0 : 1)
            << run.errors;
    }
}

}  // namespace
