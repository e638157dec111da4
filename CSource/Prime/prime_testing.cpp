/**
 * @file   prime_testing.cpp
 * @brief  The deterministic test of 64-bit integers, in its fast form and as one strong test after another, and the
 *         entry points for limb arrays.
 */
#include "Prime/prime_testing.h"

#include <array>
#include <initializer_list>

#include "Prime/prime_data.h"
#include "Prime/prime_word.h"
#include "Shared/kernel/strong_word.h"

namespace kesh {
namespace {

/** The last number in the bitmap of odd primes. */
constexpr std::uint32_t bitmap_limit = 1048577;

/** Multiplicative hash of the low 32 bits; a table of 2^k entries is indexed by its top k bits. */
constexpr std::uint32_t hash(u64 n) {
    return static_cast<std::uint32_t>(n) * 0xAD625B89u;
}

/** The third base, indexed by the top three bits of the hashed base. */
constexpr std::array<u64, 8> third_bases = {15, 135, 13, 60, 15, 117, 65, 29};

u64 hashed_base_32(u64 n, const std::uint16_t* bases) {
    return bases[hash(n) >> 24];
}

u64 hashed_base_64(u64 n, const std::uint16_t* bases) {
    return bases[hash(n) >> 18];
}

/**
 * Whether one of the primes divides n. There is no branch between the divisions: each adds the carry of its comparison
 * to a sum. The constants are read from memory, because immediate operands of 8 bytes would keep the processor's front
 * end busy for longer than the multiplications take.
 */
template <u64... primes>
bool has_divisor_of(u64 n) {
    static constexpr std::array<ExactDivisor, sizeof...(primes)> divisors = {ExactDivisor{primes}...};
    unsigned found = 0;
    const ExactDivisor* p = divisors.data();
    asm("" : "+r"(p));  // hides the table's contents from the compiler, which would turn them into immediates
#pragma GCC unroll 17
    for (std::size_t i = 0; i < divisors.size(); ++i) found += p[i].divides(n) ? 1 : 0;
    return found != 0;
}

}  // namespace

HashedBases::HashedBases(umint n) : second(hashed_base_64(n, prime_data64)), third(third_bases[second >> 13]) {}

namespace {

/** The tables of bases are only right after trial division up to 61. */
bool has_factor_to_61(u64 n) {
    return n % 2 == 0 || has_divisor_of<3, 5, 7, 11, 13, 17, 19, 23, 29, 31, 37, 41, 43, 47, 53, 59, 61>(n);
}

/** These cost a fortieth of a strong test and save that test for a sixth of the numbers that reach them. */
bool has_factor_67_to_139(u64 n) {
    return has_divisor_of<67, 71, 73, 79, 83, 89, 97, 101, 103, 107, 109, 113, 127, 131, 137, 139>(n);
}

}  // namespace

bool word_has_small_factor(umint n) {
    return has_factor_to_61(n) || has_factor_67_to_139(n);
}

std::span<const ExactDivisor> word_divisors() {
    static constexpr auto divisors = [] {
        std::array<ExactDivisor, 33> all{};
        std::size_t count = 0;
        for (u64 p = 3; count < all.size(); p += 2) {
            bool prime = true;
            for (u64 q = 3; q * q <= p; q += 2) prime = prime && p % q != 0;
            if (prime) all[count++] = ExactDivisor(p);
        }
        return all;
    }();
    return divisors;
}

std::span<const std::uint32_t> odd_prime_bitmap() {
    return odd_prime_bit;
}

bool isPrime(std::uint32_t n) {
    KESH_REQUIRE(n <= bitmap_limit);
    if (n % 2 == 0) return n == 2;
    if (n == 1) return false;  // bit k of the map stands for 2k + 3, so 1 has none
    const std::uint32_t t = n - 3;
    return ((odd_prime_bit[t >> 6] >> ((t >> 1) & 31)) & 1) != 0;
}

bool PrimeQ(std::uint32_t n) {
    if (n <= bitmap_limit) return isPrime(n);
    if (word_has_small_factor(n)) return false;
    return kernel::strong_test(n, hashed_base_32(n, prime_data32));
}

bool PrimeQ(u64 n) {
    if (n <= 0xFFFFFFFF) return PrimeQ(static_cast<std::uint32_t>(n));
    if (has_factor_to_61(n)) return false;
    // Below 2^40 the test to base 2 is short, and these divisions would take a large part of the time of a composite
    // without small factors.
    if (n >> 40 != 0 && has_factor_67_to_139(n)) return false;
    const HashedBases bases(n);
    if (n < third_base_from) return kernel::strong_tests_2_and<kernel::ShortWordPowerOf2, 1>(n, {bases.second});
    return kernel::strong_tests_2_and<kernel::WordPowerOf2, 2>(n, {bases.second, bases.third});
}

namespace reference {
namespace {

bool has_small_factor(u64 n) {
    for (u64 p : std::initializer_list<u64>{2, 3, 5, 7, 11, 13, 17, 19, 23, 29, 31, 37, 41, 43, 47, 53, 59, 61}) {
        if (n % p == 0) return true;
    }
    return false;
}

/** The strong tests of one number, one base after another. */
class StrongTest {
  public:
    explicit StrongTest(u64 n) : M(n), k_(math_count_trailing_zeros(n - 1)), e_((n - 1) >> k_) {}
    bool passes(u64 base) const {
        return sprp(M, M.m, base, e_, k_) != 0;
    }

  private:
    mp_mont_data<u64> M;
    mint k_;
    u64 e_;
};

}  // namespace

bool PrimeQ(u64 n, const BaseTables& tables) {
    if (n <= bitmap_limit) return isPrime(static_cast<std::uint32_t>(n));
    if (has_small_factor(n)) return false;
    const StrongTest test(n);
    if (n <= 0xFFFFFFFF) return test.passes(hashed_base_32(n, tables.below_2_32));
    const u64 b = hashed_base_64(n, tables.above_2_32);
    if (!test.passes(2)) return false;
    if (!test.passes(b)) return false;
    if (n < third_base_from) return true;
    return test.passes(third_bases[b >> 13]);
}

bool PrimeQ(std::uint32_t n) {
    return PrimeQ(u64{n});
}

bool PrimeQ(u64 n) {
    return PrimeQ(n, {prime_data32, prime_data64});
}

}  // namespace reference
}  // namespace kesh

mbool KESH_PrimeQ(const umint* n, mint len, mbool* r) {
    if (len <= 0 || len > 16) return 0;
    bool prime;
    if (len == 1) {
        prime = kesh::isPrime<kesh::umint>(n, len);
    } else if (len == 2) {
        prime = kesh::isPrime<kesh::uintx_t<128>>(n, len);
    } else if (len <= 4) {
        prime = kesh::isPrime<kesh::uintx_t<256>>(n, len);
    } else if (len <= 8) {
        prime = kesh::isPrime<kesh::uintx_t<512>>(n, len);
    } else {
        prime = kesh::isPrime<kesh::uintx_t<1024>>(n, len);
    }
    *r = prime ? 1 : 0;
    return 1;
}

int KESH_RT_PrimeQ(VelmoraLibraryData libData, mint Argc, MArgument* Args, MArgument res) {
    mbool r = 0;
    if (Argc != 1) return LIBRARY_FUNCTION_ERROR;
    MTensor tensor = *Args[0].tensor;
    // Reading an element shows whether the host accepts the tensor. The read gets no place for an element, and len is
    // the position that it may set. The empty assembly hides from the compiler that the pointer is null; otherwise the
    // compiler would remove the call that follows.
    mint len;
    mint* limbs = nullptr;
    asm("" : "+r"(limbs));
    const int error = libData->MTensor_getInteger(tensor, &len, limbs);
    if (error != LIBRARY_NO_ERROR) return error;
    if (KESH_PrimeQ(reinterpret_cast<const umint*>(limbs), len, &r) == 0) return LIBRARY_FUNCTION_ERROR;
    *res.boolean = r;
    return error;
}
