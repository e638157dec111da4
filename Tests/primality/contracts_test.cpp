/**
 * @file   contracts_test.cpp
 * @brief  The contracts of the library's functions on small numbers. Their sources are compiled again with contracts
 *         on, because the library itself has them off.
 */
#include <gtest/gtest.h>

#include "Prime/prime_testing.h"
#include "Prime/small_primes.h"

namespace {

TEST(PrimalityContracts, TheSieveEndsAtItsSievingPrimes) {
    EXPECT_DEATH((void)kesh::gen_small_prime(kesh::SMALL_PRIMES_UPTO + 1), "gen_small_prime: precondition broken");
}

TEST(PrimalityContracts, TheBitmapEndsAtItsLimit) {
    EXPECT_FALSE(kesh::isPrime(std::uint32_t{1048577}));
    EXPECT_DEATH((void)kesh::isPrime(std::uint32_t{1048578}), "isPrime: precondition broken");
}

TEST(PrimalityContracts, TrialDivisionStaysInTheTable) {
    using T = kesh::uintx_t<128>;
    kesh::init_small_primes();
    const auto size = static_cast<kesh::mint>(kesh::primes_small.size());
    EXPECT_DEATH((void)kesh::primeq_trial_division(T(101), 0, size + 1), "primeq_trial_division: precondition broken");
    EXPECT_DEATH((void)kesh::primeq_trial_division(T(101), -1, 3), "primeq_trial_division: precondition broken");
}

}  // namespace
