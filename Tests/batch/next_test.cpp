/**
 * @file   next_test.cpp
 * @brief  Next and previous prime and the walk against GMP and the bitmap, and at the ends: before 2, at the limit of a
 * limb and at that of len limbs, where nothing may wrap.
 */
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <optional>
#include <random>

#include "Prime/prime_next.h"
#include "Prime/prime_testing.h"
#include "batch/batch.h"

namespace {

using kesh::test::limbs;
using kesh::test::mpz_of;

limbs limbs_of(const mpz_class& n, std::int64_t len) {
    limbs given;
    kesh::test::append(given, n, len);
    return given;
}

/** The result; none for KESH_NO_PRIME, which must not write the limbs. */
template <class Function>
std::optional<mpz_class> answer(Function function, const mpz_class& n, std::int64_t len) {
    const limbs given = limbs_of(n, len);
    limbs result(given.size(), 77);
    const int code = function(given.data(), len, result.data());
    limbs in_place = given;
    EXPECT_EQ(function(in_place.data(), len, in_place.data()), code) << "result in place";
    EXPECT_EQ(in_place, code == KESH_DONE ? result : given);
    if (code == KESH_DONE) return mpz_of(result.data(), result.size());
    EXPECT_EQ(code, KESH_NO_PRIME);
    EXPECT_EQ(result, limbs(given.size(), 77));
    return std::nullopt;
}

std::optional<mpz_class> next(const mpz_class& n, std::int64_t len) {
    return answer(KESH_NextPrime, n, len);
}

std::optional<mpz_class> previous(const mpz_class& n, std::int64_t len) {
    return answer(KESH_PreviousPrime, n, len);
}

mpz_class by_gmp(const mpz_class& n) {
    mpz_class p;
    mpz_nextprime(p.get_mpz_t(), n.get_mpz_t());
    return p;
}

mpz_class power_of_2(unsigned e) {
    return mpz_class(1) << e;
}

TEST(NextPrime, BadArguments) {
    const std::uint64_t n = 7;
    std::uint64_t r = 9;
    std::int64_t found = 5;
    for (const auto function : {KESH_NextPrime, KESH_PreviousPrime}) {
        for (const std::int64_t len : {0, -1, 17}) EXPECT_EQ(function(&n, len, &r), KESH_BAD_ARGUMENT);
        EXPECT_EQ(function(nullptr, 1, &r), KESH_BAD_ARGUMENT);
        EXPECT_EQ(function(&n, 1, nullptr), KESH_BAD_ARGUMENT);
    }
    EXPECT_EQ(KESH_NextPrimes(&n, 1, -1, &r, &found, nullptr, nullptr), KESH_BAD_ARGUMENT);
    EXPECT_EQ(KESH_NextPrimes(&n, 1, std::numeric_limits<std::int64_t>::max(), &r, &found, nullptr, nullptr),
              KESH_BAD_ARGUMENT);
    EXPECT_EQ(KESH_NextPrimes(&n, 17, 1, &r, &found, nullptr, nullptr), KESH_BAD_ARGUMENT);
    EXPECT_EQ(r, 9);
    EXPECT_EQ(found, 5);
}

TEST(NextPrime, OfEverySmallNumber) {
    mpz_class p = 2;
    for (unsigned long n = 0; n < 5000; ++n) {
        if (p == n) p = by_gmp(n);
        for (const std::int64_t len : {1, 3}) {
            ASSERT_EQ(next(n, len), p) << n;
            if (n + 1 < p || n < 2) continue;
            ASSERT_EQ(previous(p, len).has_value(), p > 2);
        }
    }
}

TEST(NextPrime, PreviousOfEverySmallNumber) {
    for (const unsigned long n : {0UL, 1UL, 2UL}) {
        EXPECT_EQ(previous(n, 1), std::nullopt);
        EXPECT_EQ(previous(n, 16), std::nullopt);
    }
    mpz_class p = 2;
    for (unsigned long n = 3; n < 5000; ++n) {
        for (const std::int64_t len : {1, 3}) ASSERT_EQ(previous(n, len), p) << n;
        if (kesh::isPrime(static_cast<std::uint32_t>(n))) p = n;
    }
}

TEST(NextPrime, WhereTheSieveAndTheHashedBasesBegin) {
    for (const unsigned long around : {1UL << 20, 1UL << 32, 1UL << 49, 1UL << 50}) {
        for (unsigned long n = around - 60; n < around + 60; ++n) {
            const mpz_class p = by_gmp(n);
            ASSERT_EQ(next(n, 1), p) << n;
            if (by_gmp(p - 1) == p) {
                ASSERT_EQ(previous(by_gmp(p), 2), p) << n;
            }
        }
    }
}

TEST(NextPrime, AtTheEndOf64Bits) {
    const mpz_class last = power_of_2(64) - 59, first = power_of_2(64) + 13;
    EXPECT_EQ(next(last - 1, 1), last);
    for (unsigned above = 0; above < 59; ++above) EXPECT_EQ(next(last + above, 1), std::nullopt) << above;
    for (unsigned above = 0; above < 59; ++above) EXPECT_EQ(next(last + above, 2), first) << above;
    EXPECT_EQ(previous(power_of_2(64) - 1, 1), last);
    EXPECT_EQ(previous(power_of_2(64), 2), last);
    EXPECT_EQ(previous(first, 2), last);
    EXPECT_EQ(previous(first + 1, 2), first);
}

TEST(NextPrime, AtTheEndOfEveryLength) {
    for (std::int64_t len = 1; len <= 16; ++len) {
        const unsigned bits = static_cast<unsigned>(64 * len);
        const mpz_class end = power_of_2(bits);
        const std::optional<mpz_class> last = previous(end - 1, len);
        ASSERT_TRUE(last);
        ASSERT_NE(mpz_probab_prime_p(last->get_mpz_t(), 25), 0);
        EXPECT_GT(by_gmp(*last), end) << "no prime is left out";
        EXPECT_EQ(next(*last - 1, len), last);
        EXPECT_EQ(next(*last, len), std::nullopt);
        EXPECT_EQ(next(end - 1, len), std::nullopt);
        EXPECT_EQ(next(end - 2, len), std::nullopt);
        if (len < 16) {
            EXPECT_EQ(next(*last, len + 1), by_gmp(end));
            EXPECT_EQ(previous(end, len + 1), last);
        }
    }
    EXPECT_EQ(previous(power_of_2(1024) - 1, 16), power_of_2(1024) - 105);
}

/**
 * Where the bit length grows, the numbers of a group may go to lanes of different lengths: 52 d - 4 bits have d digits,
 * 64 n bits n limbs. The first prime must be found, not the first one in the longer lanes.
 */
TEST(NextPrime, WhereTheLanesGrow) {
    kesh::test::at_every_level([] {
        for (unsigned bits = 65; bits < 1024; ++bits) {
            if ((bits + 4) % 52 != 0 && bits % 64 != 0) continue;
            const mpz_class end = power_of_2(bits);
            const std::optional<mpz_class> last = previous(end, 16);
            ASSERT_TRUE(last);
            const mpz_class first = by_gmp(end);
            ASSERT_EQ(by_gmp(*last), first) << bits;
            EXPECT_EQ(next(*last - 1, 16), last) << bits;
            EXPECT_EQ(next(*last, 16), first) << bits;
            EXPECT_EQ(previous(first, 16), last) << bits;
            EXPECT_EQ(previous(first + 1, 16), first) << bits;
        }
    });
}

TEST(NextPrime, OfRandomNumbersOfEverySize) {
    std::mt19937_64 random(33);
    for (const unsigned bits : {21U,  31U,  33U,  40U,  48U,  50U,  63U,  64U,  65U,   90U,  127U,
                                128U, 129U, 192U, 256U, 257U, 384U, 512U, 700U, 1000U, 1023U}) {
        const std::int64_t len = (bits + 63) / 64;
        for (unsigned i = 0; i < 2000 / bits + 2; ++i) {
            const mpz_class n = kesh::test::random_number(bits, random), p = by_gmp(n);
            if (mpz_sizeinbase(p.get_mpz_t(), 2) > bits) continue;
            ASSERT_EQ(next(n, len), p);
            ASSERT_EQ(next(n, 16), p) << "zero limbs on top";
            ASSERT_EQ(next(p - 1, len), p);
            const std::optional<mpz_class> before = previous(n, len);
            ASSERT_TRUE(before);
            ASSERT_NE(mpz_probab_prime_p(before->get_mpz_t(), 25), 0);
            ASSERT_EQ(by_gmp(*before), by_gmp(n - 1)) << "none between";
            ASSERT_EQ(previous(p, len), n == *before || by_gmp(n - 1) != n ? before : n);
        }
    }
}

TEST(NextPrime, AcrossLongGaps) {
    // Maximal gaps: 1198 from 55350776431903243, 1132 from 1693182318746371, 906 from 218209405436543.
    for (const auto& [from, gap] :
         {std::pair{55350776431903243UL, 1198UL}, {1693182318746371UL, 1132UL}, {218209405436543UL, 906UL}}) {
        EXPECT_EQ(next(from, 1), mpz_class(from + gap));
        EXPECT_EQ(previous(from + gap, 1), mpz_class(from));
    }
}

struct Walk {
    int code;
    std::int64_t found;
    limbs primes;
};

Walk walk(const mpz_class& n, std::int64_t len, std::int64_t count, KESH_Progress progress = nullptr,
          void* data = nullptr) {
    const limbs given = limbs_of(n, len);
    Walk result{0, -1, limbs(static_cast<std::size_t>(len * count + 1), 77)};
    result.code = KESH_NextPrimes(given.data(), len, count, result.primes.data(), &result.found, progress, data);
    EXPECT_EQ(result.primes.back(), 77) << "written beyond the end";
    return result;
}

TEST(NextPrimes, FromZeroAreThePrimes) {
    const Walk w = walk(0, 1, 100'000);
    ASSERT_EQ(w.code, KESH_DONE);
    ASSERT_EQ(w.found, 100'000);
    std::size_t i = 0;
    for (std::uint32_t n = 0; n < 1'048'000; ++n) {
        if (kesh::isPrime(n)) {
            ASSERT_EQ(w.primes[i++], n);
        }
    }
    for (; i + 1 < w.primes.size(); ++i) ASSERT_EQ(w.primes[i], by_gmp(w.primes[i - 1]));
    EXPECT_EQ(w.primes[99'999], 1'299'709);
}

TEST(NextPrimes, EveryCountAndSize) {
    std::mt19937_64 random(34);
    for (const unsigned bits : {40U, 63U, 64U, 65U, 128U, 200U, 500U}) {
        const std::int64_t len = (bits + 64) / 64;
        const mpz_class n = kesh::test::random_number(bits, random);
        const std::int64_t most = bits <= 64 ? 3000 : 60;
        for (std::int64_t count = 0; count <= most; count = count < 20 ? count + 1 : count * 5 / 4) {
            const Walk w = walk(n, len, count);
            ASSERT_EQ(w.code, KESH_DONE);
            ASSERT_EQ(w.found, count);
            mpz_class p = n;
            for (std::int64_t i = 0; i < count && count > most * 3 / 4; ++i) {
                p = by_gmp(p);
                ASSERT_EQ(mpz_of(&w.primes[static_cast<std::size_t>(i * len)], static_cast<std::size_t>(len)), p) << i;
            }
        }
    }
}

TEST(NextPrimes, CrossesFromOneLimbToTwoAndEndsWhereNoneFits) {
    const mpz_class from = power_of_2(64) - 2000;
    const Walk crossing = walk(from, 2, 90), ending = walk(from, 1, 90);
    EXPECT_EQ(crossing.code, KESH_DONE);
    EXPECT_EQ(ending.code, KESH_NO_PRIME);
    mpz_class p = from;
    std::int64_t below = 0;
    for (std::size_t i = 0; i < 90; ++i) {
        p = by_gmp(p);
        ASSERT_EQ(mpz_of(&crossing.primes[2 * i], 2), p);
        if (p < power_of_2(64)) {
            ASSERT_EQ(ending.primes[i], p);
            ++below;
        }
    }
    EXPECT_EQ(ending.found, below);
    EXPECT_GT(below, 20);
    EXPECT_EQ(walk(power_of_2(64) - 59, 1, 1).found, 0);
}

TEST(NextPrimes, ProgressAndStopping) {
    struct Watcher {
        std::int64_t last = -1, calls = 0, stop_at = std::numeric_limits<std::int64_t>::max();
        static int watch(void* data, std::int64_t done, std::int64_t total) {
            Watcher& w = *static_cast<Watcher*>(data);
            EXPECT_GE(done, w.last);
            EXPECT_LE(done, total);
            EXPECT_EQ(total, 5000);
            w.last = done;
            return ++w.calls >= w.stop_at ? 1 : 0;
        }
    };
    Watcher whole;
    EXPECT_EQ(walk(power_of_2(60), 1, 5000, Watcher::watch, &whole).code, KESH_DONE);
    EXPECT_GT(whole.calls, 10);
    for (const std::int64_t stop_at : {1, 2, 7}) {
        Watcher stopping;
        stopping.stop_at = stop_at;
        const Walk w = walk(power_of_2(60), 1, 5000, Watcher::watch, &stopping);
        EXPECT_EQ(w.code, KESH_STOPPED);
        EXPECT_EQ(stopping.calls, stop_at) << "not called again once it asked to stop";
        EXPECT_EQ(w.found, stopping.last) << "what is found is at r";
        for (std::int64_t i = 1; i < w.found; ++i)
            ASSERT_EQ(w.primes[static_cast<std::size_t>(i)], by_gmp(w.primes[static_cast<std::size_t>(i - 1)]));
    }
    const Walk without_count = walk(1000, 1, 0);
    EXPECT_EQ(without_count.code, KESH_DONE);
    EXPECT_EQ(without_count.found, 0);
}

}  // namespace
