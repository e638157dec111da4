/**
 * @file   primality_process_test.cpp
 * @brief  KESH_PrimeQ from the shell's line, from pipes and files, walks to neighbours, and the two ends of
 * KESH_RT_PrimeQ.
 */
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>

#include "host/process.h"

namespace {

using namespace kesh::test;
using nlohmann::json;
using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

TEST(HostPrimality, OneNumber) {
    const Finished prime = run_host({"KESH_PrimeQ", "2^521-1"});
    EXPECT_EQ(prime.code, 0);
    EXPECT_THAT(prime.output, AllOf(StartsWith("prime\n2^521-1 is prime.  (521 bits, Baillie-PSW at 1024 bits, "),
                                    HasSubstr("s)\n")));
    EXPECT_THAT(run_host({"KESH_PrimeQ", "91"}).output,
                StartsWith("not prime\n91 is not prime.  (7 bits, 64-bit test, proven, "));
    EXPECT_EQ(run_host({"KESH_PrimeQ", "0x1fffffffffffffff", "-q"}).output, "1\n");
    EXPECT_EQ(run_host({"KESH_PrimeQ", "2^1024-1", "-q"}).output, "0\n");
}

TEST(HostPrimality, SeveralNumbers) {
    const Finished run = run_host({"KESH_PrimeQ", "2^89-1", "2^90-1", "0", "1", "2", "--quiet"});
    EXPECT_EQ(run.output, "1\n0\n0\n0\n1\n");
    const json call = json::parse(run_host({"KESH_PrimeQ", "2^89-1", "2^90-1", "--json"}).output);
    EXPECT_EQ(call["numbers"].size(), 2U);
    EXPECT_EQ(call["numbers"][0]["prime"], true);
    EXPECT_EQ(call["numbers"][0]["value"], "618970019642690137449562111");
    EXPECT_EQ(call["numbers"][1]["bits"], 90);
}

TEST(HostPrimality, WhatIsNoCandidate) {
    for (const Arguments& words :
         {Arguments{"KESH_PrimeQ"}, Arguments{"KESH_PrimeQ", "2^1024"}, Arguments{"KESH_PrimeQ", "-7"},
          Arguments{"KESH_PrimeQ", "7", "x"}, Arguments{"KESH_PrimeQ", "7", "--next", "--previous"},
          Arguments{"KESH_PrimeQ", "--file", "/nonexistent/x"}, Arguments{"KESH_PrimeQ", "7", "--file", "/dev/null"},
          Arguments{"KESH_PrimeQ", "-", "--next"}}) {
        const Finished run = run_host(words);
        EXPECT_EQ(run.code, 2) << words.back();
        EXPECT_THAT(run.output, IsEmpty()) << "nothing is tested when one word is no number";
        EXPECT_EQ(std::count(run.errors.begin(), run.errors.end(), '\n'), 1) << run.errors;
    }
    EXPECT_THAT(run_host({"KESH_PrimeQ", "2^1024"}).errors, HasSubstr("has 1025 bits; KESH_PrimeQ takes at most 1024"));
}

TEST(HostPrimality, Neighbours) {
    EXPECT_EQ(run_host({"KESH_PrimeQ", "7", "11", "--next", "-q"}).output, "11\n13\n");
    EXPECT_EQ(run_host({"KESH_PrimeQ", "0", "--next", "-q"}).output, "2\n");
    EXPECT_EQ(run_host({"KESH_PrimeQ", "3", "--previous", "-q"}).output, "2\n");
    EXPECT_EQ(run_host({"KESH_PrimeQ", "2^64", "--next", "-q"}).output, "18446744073709551629\n");
    EXPECT_EQ(run_host({"KESH_PrimeQ", "2^64", "--previous", "-q"}).output, "18446744073709551557\n");
    EXPECT_THAT(run_host({"KESH_PrimeQ", "10^100", "--next"}).output, HasSubstr("is 10^100 + 267."));
    const Finished none = run_host({"KESH_PrimeQ", "2", "--previous"});
    EXPECT_EQ(none.code, 1);
    EXPECT_THAT(none.errors, HasSubstr("there is no prime below 2"));
    const json walk = json::parse(run_host({"KESH_PrimeQ", "2^1024-1", "--next", "--json"}).output);
    EXPECT_EQ(walk["status"], "none");
}

TEST(HostPrimality, APipeOfNumbers) {
    std::string numbers = "# candidates\n\n";
    for (int i = 1; i <= 10000; ++i) numbers += std::to_string(i) + "\n";
    const Finished run = run_host({"KESH_PrimeQ", "-", "-q"}, {.input = numbers});
    EXPECT_EQ(run.code, 0);
    EXPECT_THAT(run.output, StartsWith("10000 numbers, 1229 prime  ("));
    const Finished lines = run_host({"KESH_PrimeQ", "-", "--json"}, {.input = "7\r\n2^89-1\nx\n"});
    EXPECT_EQ(lines.code, 2);
    std::istringstream objects(lines.output);
    std::vector<json> parsed;
    for (std::string line; std::getline(objects, line);) parsed.push_back(json::parse(line));
    ASSERT_EQ(parsed.size(), 4U);
    EXPECT_EQ(parsed[1]["prime"], true);
    EXPECT_EQ(parsed[2]["line"], 3);
    EXPECT_EQ(parsed[3]["tested"], 2);
    EXPECT_EQ(parsed[3]["bad_lines"], 1);
}

TEST(HostPrimality, AFileOfNumbers) {
    const std::string path = testing::TempDir() + "kesh_numbers.txt";
    std::ofstream(path) << "2^127-1\n2^128+1\n";
    const Finished run = run_host({"KESH_PrimeQ", "--file", path});
    EXPECT_THAT(run.output, AllOf(HasSubstr("2^127-1                  prime"),
                                  HasSubstr("2^128+1                  not prime"), HasSubstr("2 numbers, 1 prime")));
    std::remove(path.c_str());
}

TEST(HostPrimality, TheTwoEndsOfTheTensorForm) {
    // It ends with the host's code, or, when the callback leaves a length that no test takes, with a function error.
    for (const int code : {1, 3, 5}) {
        EXPECT_THAT(run_host({"KESH_RT_PrimeQ", "{7}", "--fail", "MTensor_getInteger=" + std::to_string(code)}).errors,
                    HasSubstr("returned " + std::to_string(code) + ", LIBRARY_"));
    }
    for (const char* length : {"0", "17", "-1"}) {
        EXPECT_THAT(
            run_host({"KESH_RT_PrimeQ", "{7}", "--fail", "MTensor_getInteger=0", "--leave-length", length}).errors,
            HasSubstr("returned 6, LIBRARY_FUNCTION_ERROR"));
    }
    // This host refuses a null destination.
    EXPECT_THAT(run_host({"KESH_RT_PrimeQ", "{7}"}).errors, HasSubstr("returned 5, LIBRARY_MEMORY_ERROR"));
}

}  // namespace
