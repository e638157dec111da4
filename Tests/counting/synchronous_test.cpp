/**
 * @file   synchronous_test.cpp
 * @brief  Counts on the host's thread: values of every algorithm, numbers of threads, and the callback that calls
 *         AbortQ.
 */
#include <random>
#include <stdexcept>
#include <thread>

#include "counting/counting.h"

namespace kesh::test {
namespace {

class Synchronous : public CountingTest {};

mint count(const std::string& name, std::vector<mint> arguments) {
    const IntegerCall call = call_integer(name, std::move(arguments));
    EXPECT_EQ(call.code, 0) << name;
    return call.result;
}

TEST_F(Synchronous, SmallValues) {
    EXPECT_EQ(count("PrimeCount_PrimePi", {100}), 25);
    EXPECT_EQ(count("PrimeCount_Prime", {25}), 97);
    EXPECT_EQ(count("PrimeCount_Coprime", {100, 3}), 26);
}

TEST_F(Synchronous, WrongArgumentCounts) {
    const std::vector<std::pair<std::string, size_t>> exports = {
        {"PrimeCount_PrimePi", 1},        {"PrimeCount_Prime", 1},
        {"PrimeCount_Coprime", 2},        {"PrimeCount_Meissel", 1},
        {"PrimeCount_DelegliseRivat", 1}, {"PrimeCount_Legendre", 1},
        {"PrimeCount_Lehmer", 1},         {"PrimeCount_LMO", 1},
        {"PrimeCount_PrimeSieve", 1},     {"PrimeCount_SetThreads", 1}};
    const mint threads = count("PrimeCount_GetThreads", {});
    for (const auto& [name, arity] : exports) {
        for (const size_t wrong : {size_t{0}, arity - 1, arity + 1}) {
            if (wrong == arity) continue;
            const IntegerCall call = call_integer(name, std::vector<mint>(wrong, 7));
            EXPECT_EQ(call.code, LIBRARY_FUNCTION_ERROR) << name << " with " << wrong;
            EXPECT_EQ(call.result, unwritten) << name << " with " << wrong;
        }
    }
    EXPECT_EQ(count("PrimeCount_GetThreads", {}), threads);
}

TEST_F(Synchronous, PowersOfTenByEveryAlgorithm) {
    const std::vector<std::pair<std::string, int>> exports = {
        {"PrimeCount_PrimePi", 15},   {"PrimeCount_DelegliseRivat", 13}, {"PrimeCount_LMO", 13},
        {"PrimeCount_Meissel", 13},   {"PrimeCount_Lehmer", 13},         {"PrimeCount_Legendre", 13},
        {"PrimeCount_PrimeSieve", 10}};
    for (const auto& [name, last] : exports) {
        for (int k = 0; k <= last; ++k) {
            EXPECT_EQ(count(name, {power_of_ten(k)}), pi_of_power_of_ten[static_cast<size_t>(k)])
                << name << " 10^" << k;
        }
    }
}

TEST_F(Synchronous, Long_PowersOfTenByEveryAlgorithm) {
    const std::vector<std::pair<std::string, int>> exports = {
        {"PrimeCount_PrimePi", 17},   {"PrimeCount_DelegliseRivat", 15}, {"PrimeCount_LMO", 15},
        {"PrimeCount_Meissel", 15},   {"PrimeCount_Lehmer", 15},         {"PrimeCount_Legendre", 15},
        {"PrimeCount_PrimeSieve", 12}};
    for (const auto& [name, last] : exports) {
        for (int k = name == "PrimeCount_PrimeSieve" ? 11 : 14; k <= last; ++k) {
            EXPECT_EQ(count(name, {power_of_ten(k)}), pi_of_power_of_ten[static_cast<size_t>(k)])
                << name << " 10^" << k;
        }
    }
}

TEST_F(Synchronous, AlgorithmsAgreeOnOtherNumbers) {
    std::mt19937_64 random(7);
    for (int i = 0; i < 60; ++i) {
        const mint n = static_cast<mint>(random() >> (24 + i % 32));  // 8 to 40 bits
        const mint expected = count("PrimeCount_PrimePi", {n});
        for (const char* name : {"PrimeCount_DelegliseRivat", "PrimeCount_LMO", "PrimeCount_Meissel",
                                 "PrimeCount_Lehmer", "PrimeCount_Legendre"}) {
            EXPECT_EQ(count(name, {n}), expected) << name << " " << n;
        }
        if (n < power_of_ten(9)) {
            EXPECT_EQ(count("PrimeCount_PrimeSieve", {n}), expected) << n;
        }
    }
}

TEST_F(Synchronous, NthPrimes) {
    for (int k = 0; k <= 13; ++k) {
        EXPECT_EQ(count("PrimeCount_Prime", {power_of_ten(k)}), prime_of_power_of_ten[static_cast<size_t>(k)]) << k;
    }
}

TEST_F(Synchronous, Long_NthPrimes) {
    for (int k = 14; k <= 16; ++k) {
        EXPECT_EQ(count("PrimeCount_Prime", {power_of_ten(k)}), prime_of_power_of_ten[static_cast<size_t>(k)]) << k;
    }
}

TEST_F(Synchronous, NthPrimeAndPiAreInverse) {
    std::mt19937_64 random(11);
    for (int i = 0; i < 40; ++i) {
        const mint n = static_cast<mint>(random() >> (28 + i % 30)) + 1;
        EXPECT_EQ(count("PrimeCount_PrimePi", {count("PrimeCount_Prime", {n})}), n);
    }
}

TEST_F(Synchronous, PartialSieveAgainstADirectCount) {
    const std::array<mint, 12> primes = {2, 3, 5, 7, 11, 13, 17, 19, 23, 29, 31, 37};
    for (mint b = 0; b <= static_cast<mint>(primes.size()); ++b) {
        mint direct = 0;
        for (mint a = 1; a <= 2500; ++a) {
            bool coprime = true;
            for (mint i = 0; i < b; ++i) coprime = coprime && a % primes[static_cast<size_t>(i)] != 0;
            direct += coprime ? 1 : 0;
            ASSERT_EQ(count("PrimeCount_Coprime", {a, b}), direct) << a << ", " << b;
        }
    }
}

TEST_F(Synchronous, PartialSieveBeyondItsTable) {
    // With all primes up to the root sieved out, 1 and the primes above the root are left.
    EXPECT_EQ(count("PrimeCount_Coprime", {power_of_ten(10), 9592}), 455052511 - 9592 + 1);
    EXPECT_EQ(count("PrimeCount_Coprime", {1000000, 100}), 84079);
}

TEST_F(Synchronous, NumbersOutOfRange) {
    for (const mint n : {mint{0}, mint{1}, mint{-1}, mint{-5}, std::numeric_limits<mint>::min()}) {
        EXPECT_EQ(count("PrimeCount_PrimePi", {n}), 0) << n;
        for (const char* name : {"PrimeCount_DelegliseRivat", "PrimeCount_LMO", "PrimeCount_Meissel",
                                 "PrimeCount_Lehmer", "PrimeCount_Legendre", "PrimeCount_PrimeSieve"}) {
            EXPECT_EQ(count(name, {n}), 0) << name << " " << n;
        }
    }
    EXPECT_EQ(count("PrimeCount_Coprime", {-5, 3}), 0);
    EXPECT_EQ(count("PrimeCount_Coprime", {100, -1}), 100);
    for (const mint n : {mint{0}, mint{-1}, mint{1} << 62, mint{216289611853439384} + 1,
                         std::numeric_limits<mint>::min(), std::numeric_limits<mint>::max()}) {
        const IntegerCall call = call_integer("PrimeCount_Prime", {n});
        EXPECT_EQ(call.code, LIBRARY_FUNCTION_ERROR) << n;
        EXPECT_EQ(call.result, unwritten) << n;
    }
}

TEST_F(Synchronous, ThreadCount) {
    EXPECT_EQ(count("PrimeCount_SetThreads", {2}), 2);
    EXPECT_EQ(count("PrimeCount_GetThreads", {}), 2);
    EXPECT_EQ(count("PrimeCount_GetThreads", {1, 2, 3}), 2);
    // Only the low 32 bits arrive: 2^32 + 1 asks for one thread, 2^32 - 1 for -1, which primecount raises to one.
    EXPECT_EQ(count("PrimeCount_SetThreads", {(mint{1} << 32) + 1}), 1);
    EXPECT_EQ(count("PrimeCount_SetThreads", {2}), 2);
    EXPECT_EQ(count("PrimeCount_SetThreads", {(mint{1} << 32) - 1}), 1);
    // 2^32 + 3 has the same effect as 3, whatever primecount makes of it on this machine.
    const mint three = count("PrimeCount_SetThreads", {3});
    EXPECT_EQ(count("PrimeCount_SetThreads", {1}), 1);
    EXPECT_EQ(count("PrimeCount_SetThreads", {(mint{1} << 32) + 3}), three);
}

TEST_F(Synchronous, CountsUnderAnyThreadCount) {
    for (const mint threads : {1, 2, 3, 4, 8}) {
        count("PrimeCount_SetThreads", {threads});
        EXPECT_EQ(count("PrimeCount_PrimePi", {power_of_ten(12)}), pi_of_power_of_ten[12]) << threads;
        EXPECT_EQ(count("PrimeCount_DelegliseRivat", {power_of_ten(11)}), pi_of_power_of_ten[11]) << threads;
        EXPECT_EQ(count("PrimeCount_LMO", {power_of_ten(11)}), pi_of_power_of_ten[11]) << threads;
        EXPECT_EQ(count("PrimeCount_Meissel", {power_of_ten(11)}), pi_of_power_of_ten[11]) << threads;
        EXPECT_EQ(count("PrimeCount_Prime", {power_of_ten(10)}), prime_of_power_of_ten[10]) << threads;
    }
}

// --- the callback that calls AbortQ -----------------------------------------------------------------------------

TEST_F(Synchronous, LongCountsAskAbortQ) {
    EXPECT_EQ(count("PrimeCount_PrimePi", {power_of_ten(14)}), pi_of_power_of_ten[14]);
    EXPECT_GT(host.abort_calls, 0);
    EXPECT_TRUE(host.events().empty());
}

TEST_F(Synchronous, AbortEndsTheCount) {
    host.abort = 1;
    for (const char* name : {"PrimeCount_PrimePi", "PrimeCount_Prime"}) {
        const IntegerCall call = call_integer(name, {power_of_ten(15)});
        EXPECT_EQ(call.code, LIBRARY_FUNCTION_ERROR);
        EXPECT_EQ(call.result, unwritten);
    }
    EXPECT_EQ(host.abort_calls, 2) << "an ended count asks no more";
    host.abort = 0;
    EXPECT_EQ(count("PrimeCount_PrimePi", {power_of_ten(12)}), pi_of_power_of_ten[12]);
}

TEST_F(Synchronous, AnyNonZeroAbortCounts) {
    host.abort = mint{1} << 40;
    EXPECT_EQ(call_integer("PrimeCount_PrimePi", {power_of_ten(14)}).code, LIBRARY_FUNCTION_ERROR);
}

TEST_F(Synchronous, AlgorithmsRunUnderTheCallbackLeftBehind) {
    EXPECT_EQ(call_integer("PrimeCount_PrimePi", {10}, nullptr).result, 4);
    host.abort = 1;
    EXPECT_EQ(count("PrimeCount_DelegliseRivat", {power_of_ten(13)}), pi_of_power_of_ten[13]);
    EXPECT_EQ(host.abort_calls, 0);
    // They install no callback, and when the one from an earlier count ends them, an exception leaves them.
    EXPECT_EQ(count("PrimeCount_PrimePi", {10}), 4);
    for (const char* name : {"PrimeCount_DelegliseRivat", "PrimeCount_LMO", "PrimeCount_Meissel", "PrimeCount_Lehmer",
                             "PrimeCount_PrimeSieve"}) {
        EXPECT_THROW(call_integer(name, {power_of_ten(13)}), std::exception) << name;
    }
    EXPECT_EQ(host.abort_calls, 5);
}

TEST_F(Synchronous, WrongArgumentCountKeepsTheTable) {
    st_VelmoraLibraryData other = host.table;
    other.AbortQ = []() -> mint {
        ADD_FAILURE() << "the table of a refused call was kept";
        return 0;
    };
    EXPECT_EQ(count("PrimeCount_PrimePi", {10}), 4);
    EXPECT_EQ(call_integer("PrimeCount_PrimePi", {}, &other).code, LIBRARY_FUNCTION_ERROR);
    EXPECT_EQ(call_integer("PrimeCount_PrimePi", {10, 10}, &other).code, LIBRARY_FUNCTION_ERROR);
    EXPECT_EQ(call_integer("PrimeCount_Prime", {}, &other).code, LIBRARY_FUNCTION_ERROR);
    EXPECT_EQ(count("PrimeCount_LMO", {power_of_ten(13)}), pi_of_power_of_ten[13]);
    EXPECT_GT(host.abort_calls, 0);
}

TEST_F(Synchronous, TheLastTableIsAsked) {
    static std::atomic<int> asked;
    asked = 0;
    st_VelmoraLibraryData other = host.table;
    other.AbortQ = []() -> mint {
        ++asked;
        return 0;
    };
    EXPECT_EQ(call_integer("PrimeCount_PrimePi", {10}, &other).result, 4);
    EXPECT_EQ(count("PrimeCount_Coprime", {100, 3}), 26) << "keeps none of its own";
    EXPECT_EQ(count("PrimeCount_LMO", {power_of_ten(13)}), pi_of_power_of_ten[13]);  // through the host's own table
    EXPECT_GT(asked, 0);
    EXPECT_EQ(host.abort_calls, 0);
}

TEST_F(Synchronous, WithoutATableNobodyIsAsked) {
    EXPECT_EQ(call_integer("PrimeCount_PrimePi", {power_of_ten(14)}, nullptr).result, pi_of_power_of_ten[14]);
    EXPECT_EQ(call_integer("PrimeCount_Meissel", {power_of_ten(13)}, nullptr).result, pi_of_power_of_ten[13]);
}

TEST_F(Synchronous, ExceptionsOfAbortQ) {
    host.before("AbortQ", [] { throw std::runtime_error("from the host"); });
    EXPECT_EQ(call_integer("PrimeCount_PrimePi", {power_of_ten(14)}).code, LIBRARY_FUNCTION_ERROR);
    EXPECT_THROW(call_integer("PrimeCount_LMO", {power_of_ten(13)}), std::runtime_error);
    // Not derived from std::exception: through every export.
    host.before("AbortQ", [] { throw 42; });
    EXPECT_THROW(call_integer("PrimeCount_PrimePi", {power_of_ten(14)}), int);
    EXPECT_THROW(call_integer("PrimeCount_Prime", {power_of_ten(13)}), int);
    host.before("AbortQ", {});
    EXPECT_EQ(count("PrimeCount_PrimePi", {power_of_ten(12)}), pi_of_power_of_ten[12]);
}

TEST_F(Synchronous, CountsFromSeveralThreadsAtOnce) {
    std::vector<std::thread> callers;
    for (int i = 0; i < 4; ++i) {
        callers.emplace_back([i] {
            for (int repeat = 0; repeat < 3; ++repeat) {
                const int k = 11 + (i + repeat) % 3;
                EXPECT_EQ(count("PrimeCount_PrimePi", {power_of_ten(k)}), pi_of_power_of_ten[static_cast<size_t>(k)]);
            }
        });
    }
    for (std::thread& caller : callers) caller.join();
}

TEST_F(Synchronous, ACallbackMayCount) {
    std::atomic<int> depth{0};
    host.before("AbortQ", [&depth] {
        if (depth++ == 0) {
            EXPECT_EQ(count("PrimeCount_PrimePi", {power_of_ten(11)}), pi_of_power_of_ten[11]);
        }
    });
    EXPECT_EQ(count("PrimeCount_PrimePi", {power_of_ten(14)}), pi_of_power_of_ten[14]);
    EXPECT_GT(depth, 1);
}

}  // namespace
}  // namespace kesh::test
