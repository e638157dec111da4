/**
 * @file   fuzz_batch.cpp
 * @brief  Lists of any limbs for KESH_ArePrime, on one thread and on several, compared with single calls; the next and
 * previous prime of any limbs, compared with tests of the numbers between.
 *
 * The first byte chooses the length of the integers and the level, the second what is called and which integers are
 * replaced by their next primes; the rest are their limbs. The single calls use the processor's highest level.
 */
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "Shared/intx/level.h"
#include "kesh_prime.h"

namespace {

using limbs = std::vector<uint64_t>;

void require(bool holds) {
    if (!holds) std::abort();
}

bool prime(const uint64_t* n, int64_t len) {
    int result = -1;
    require(KESH_PrimeQ(n, len, &result) == 1);
    return result == 1;
}

/** n + 1 or n - 1; false if the result does not fit the limbs of n. */
bool step(limbs& n, bool upwards) {
    for (uint64_t& limb : n) {
        const bool carries = upwards ? ++limb == 0 : limb-- == 0;
        if (!carries) return true;
    }
    return false;
}

/** Replaces numbers by their next primes, as only few others reach the tests that go side by side. */
void make_primes(limbs& n, int64_t len, unsigned pattern) {
    for (size_t i = 0; i < n.size() / static_cast<size_t>(len); ++i) {
        uint64_t* const number = n.data() + i * static_cast<size_t>(len);
        if ((pattern >> i % 4 & 1) != 0) KESH_NextPrime(number, len, number);
    }
}

/** With one that the processor lacks, the level stays what it is. */
void batch(const limbs& n, int64_t len, int threads, kesh::Level level) {
    const auto count = static_cast<int64_t>(n.size()) / len;
    std::vector<uint8_t> verdicts(static_cast<size_t>(count), 7);
    kesh::force(level);
    require((threads == 0 ? KESH_ArePrime(n.data(), len, count, verdicts.data())
                          : KESH_ArePrimeOnThreads(n.data(), len, count, verdicts.data(), threads, nullptr, nullptr)) ==
            KESH_DONE);
    kesh::force(kesh::supported_level());
    for (int64_t i = 0; i < count; ++i)
        require(verdicts[static_cast<size_t>(i)] == (prime(n.data() + i * len, len) ? 1 : 0));
}

/** Walks by single tests, as far as that is quick. */
void neighbour(const limbs& n, bool upwards, kesh::Level level) {
    const auto len = static_cast<int64_t>(n.size());
    limbs found(n.size(), 7);
    kesh::force(level);
    const int code = (upwards ? KESH_NextPrime : KESH_PreviousPrime)(n.data(), len, found.data());
    kesh::force(kesh::supported_level());
    require(code == KESH_DONE || code == KESH_NO_PRIME);
    limbs at = n;
    for (int i = 0; i < 3000 / (len * len); ++i) {
        if (!step(at, upwards)) return require(code == KESH_NO_PRIME);
        if (!prime(at.data(), len)) continue;
        return require(code == KESH_DONE && found == at);
    }
    require(code == KESH_NO_PRIME || prime(found.data(), len));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 2 || size > 2048) return 0;
    const int64_t len = 1 + data[0] % 16;
    const auto level = static_cast<kesh::Level>(data[0] / 16 % 3);
    const unsigned what = data[1];
    limbs n((size - 2) / 8);
    if (!n.empty()) std::memcpy(n.data(), data + 2, n.size() * 8);
    n.resize(n.size() / static_cast<size_t>(len) * static_cast<size_t>(len));
    if (what % 2 == 0) {
        make_primes(n, len, what / 16);
        batch(n, len, static_cast<int>(what / 2 % 4), level);
    } else if (!n.empty()) {
        n.resize(static_cast<size_t>(len));
        neighbour(n, what / 2 % 2 == 0, level);
    }
    return 0;
}
