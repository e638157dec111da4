/**
 * @file   pieces_test.cpp
 * @brief  Counts, sums and walks in pieces give the result of the single call.
 */

#include <gtest/gtest.h>

#include <chrono>
#include <random>
#include <thread>

#include "HostKit/export_table.h"
#include "calls/arguments.h"
#include "calls/call.h"
#include "calls/pieces.h"
#include "host/opened_library.h"

namespace {

using namespace kesh_host;
using kesh::test::library;

umint count(std::string_view name, umint a, umint b) {
    return static_cast<umint>(
        std::get<mint>(call_export(library(), name, {static_cast<mint>(a), static_cast<mint>(b)}).result));
}

constexpr const char* counts[] = {"PrimeSieve_CountPrimes",      "PrimeSieve_CountTwins",
                                  "PrimeSieve_CountTriplets",    "PrimeSieve_CountQuadruplets",
                                  "PrimeSieve_CountQuintuplets", "PrimeSieve_CountSextuplets"};

TEST(Pieces, CutsStandAtTheRightResidue) {
    EXPECT_FALSE(cut_before(0, 25));
    EXPECT_EQ(cut_before(0, 26), 26U);
    EXPECT_EQ(cut_before(0, 55), 26U);
    EXPECT_EQ(cut_before(0, 56), 56U);
    EXPECT_FALSE(cut_before(26, 55)) << "a piece may not be empty";
    EXPECT_FALSE(cut_before(30, 55));
    EXPECT_EQ(cut_before(27, 56), 56U);
}

TEST(Pieces, NoTupletLiesAcrossAnyCut) {
    // All cuts up to a bound beyond which the residues repeat, for a small range in which every residue class of
    // tuplets occurs.
    constexpr umint end = 200'000;
    for (const char* name : counts) {
        const umint whole = count(name, 0, end);
        for (umint cut = 26; cut < 6000; cut += 30) {
            ASSERT_EQ(count(name, 0, cut) + count(name, cut + 1, end), whole) << name << " cut at " << cut;
        }
    }
}

TEST(Pieces, ANaiveCutWouldLoseTwins) {
    EXPECT_NE(count("PrimeSieve_CountTwins", 0, 29) + count("PrimeSieve_CountTwins", 30, 100),
              count("PrimeSieve_CountTwins", 0, 100));
}

TEST(Pieces, OnlyPlainLongRangesAreSplit) {
    const auto worth = [](const char* name, const std::vector<std::string>& words) {
        const Export& entry = *find_export(name);
        return worth_splitting(entry, bind_arguments(entry, words, true));
    };
    EXPECT_TRUE(worth("PrimeSieve_CountTwins", {"0", "10^10"}));
    EXPECT_FALSE(worth("PrimeSieve_CountTwins", {"0", "10^6"}));
    EXPECT_FALSE(worth("PrimeSieve_CountTwins", {"10^10", "0"}));
    EXPECT_FALSE(worth("PrimeSieve_CountTwins", {"0", "-1"}));
    EXPECT_FALSE(worth("PrimeSieve_CountTwins", {"0"}));
    EXPECT_TRUE(worth("PrimeSieve_PrimeSum", {"10^9"}));
    EXPECT_FALSE(worth("PrimeSieve_PrimeSum", {"0"}));
    EXPECT_FALSE(worth("PrimeSieve_PrimeSumInterval", {"0", "10^10"})) << "a = 0 wraps in the library";
    EXPECT_FALSE(worth("PrimeSieve_PrimeSumInterval", {"1", "2^64-1"})) << "b + 1 wraps in the library";
    EXPECT_TRUE(worth("PrimeSieve_PrimeSumInterval", {"1", "10^10"}));
    EXPECT_TRUE(worth("PrimeSieve_NextKthPrime", {"0", "10^8"}));
    EXPECT_FALSE(worth("PrimeSieve_NextKthPrime", {"0", "0"}));
    EXPECT_TRUE(worth("PrimeSieve_NthPrime", {"10^12"}));
    EXPECT_FALSE(worth("PrimeSieve_NthPrime", {"10^6"}));
    EXPECT_FALSE(worth("PrimeSieve_NthPrime", {"10^18"})) << "beyond 64 bits the library has the word";
    EXPECT_FALSE(worth("PrimeSieve_ListPrimes", {"0", "10^12"}));
}

void expect_same(const char* name, const std::vector<std::string>& words) {
    const Export& entry = *find_export(name);
    const auto arguments = bind_arguments(entry, words, false);
    ASSERT_TRUE(worth_splitting(entry, arguments)) << name;
    std::atomic<double> fraction = 0;
    const Outcome pieces = call_in_pieces(library(), entry, arguments, fraction, [] { return false; });
    const Outcome whole = call_export(library(), entry, arguments, TableChoice::full);
    EXPECT_GT(pieces.pieces, 1U);
    EXPECT_EQ(pieces.result, whole.result) << name;
    EXPECT_DOUBLE_EQ(fraction, 1);
}

TEST(Pieces, SameAnswerAsTheWhole) {
    expect_same("PrimeSieve_CountTriplets", {"123456789", "123456789+2*10^9"});
    expect_same("PrimeSieve_PrimeSum", {"5*10^8"});
    expect_same("PrimeSieve_PrimeSumInterval", {"10^12", "10^12+5*10^8"});
    expect_same("PrimeSieve_NextKthPrime", {"10^6", "3*10^7"});
    expect_same("PrimeSieve_PreviousKthPrime", {"10^9", "3*10^7"});
    expect_same("PrimeSieve_NthPrime", {"10^8"});
    expect_same("PrimeSieve_NthPrime", {"10^8+12345"});
}

TEST(Pieces, StopBetweenPieces) {
    const Export& entry = *find_export("PrimeSieve_CountPrimes");
    const std::vector<std::string> words = {"0", "10^12"};
    std::atomic<double> fraction = 0;
    const Outcome stopped =
        call_in_pieces(library(), entry, bind_arguments(entry, words, false), fraction, [] { return true; });
    EXPECT_EQ(stopped.status, Status::stopped);
    EXPECT_LT(fraction, 1);
}

TEST(Pieces, TheTimeIsThatOfAllPieces) {
    const Export& entry = *find_export("PrimeSieve_NthPrime");
    const std::vector<std::string> words = {"5*10^6"};
    std::atomic<double> fraction = 0;
    const Outcome pieces = call_in_pieces(library(), entry, bind_arguments(entry, words, false), fraction, [] {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        return false;
    });
    EXPECT_GT(pieces.pieces, 1U);
    EXPECT_GE(pieces.seconds, 0.02 * static_cast<double>(pieces.pieces));
}

}  // namespace
