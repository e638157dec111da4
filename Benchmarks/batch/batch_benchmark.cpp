/**
 * @file   batch_benchmark.cpp
 * @brief  Compares batches with single calls, and the next prime with GMP's and FLINT's: nanoseconds per number of the
 * thread's processor time, the best of rounds in which all take turns, and the ratio to ours.
 */
#include <algorithm>
#include <cstdio>
#include <ctime>
#include <functional>
#include <random>
#include <string>
#include <vector>

// FLINT's macros redefine common names, so the library's headers are included first.
#include "Prime/sieving_primes.h"
#include "Shared/kernel/kernel.h"
#include "kesh_prime.h"
#if defined(KESH_PARI)
#include "pari_peer.h"
#endif

#include <flint/ulong_extras.h>
#include <gmp.h>

namespace {

using limbs = std::vector<std::uint64_t>;

double thread_time() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e9 + static_cast<double>(now.tv_nsec);
}

struct Contestant {
    std::string name;
    std::function<void()> run;
};

/** The first contestant is ours. */
void compare(const std::string& row, std::size_t numbers, const std::vector<Contestant>& all) {
    std::vector<double> best(all.size(), 1e300);
    const double start = thread_time();
    for (int round = 0; round < 25 && (round < 3 || thread_time() - start < 1e9); ++round) {
        for (std::size_t i = 0; i < all.size(); ++i) {
            const double begin = thread_time();
            all[i].run();
            best[i] = std::min(best[i], (thread_time() - begin) / static_cast<double>(numbers));
        }
    }
    std::printf("%-28s", row.c_str());
    for (std::size_t i = 0; i < all.size(); ++i) {
        std::printf("  %s %.0f ns", all[i].name.c_str(), best[i]);
        if (i > 0) std::printf(" (%.2f)", best[i] / best[0]);
    }
    std::printf("\n");
    std::fflush(stdout);
}

bool prime(const std::uint64_t* n, std::int64_t len) {
    int result = 0;
    KESH_PrimeQ(n, len, &result);
    return result != 0;
}

limbs random_odd(unsigned bits, std::mt19937_64& random) {
    limbs n((bits + 63) / 64);
    for (auto& limb : n) limb = random();
    const unsigned top = (bits - 1) % 64;
    n.back() = (n.back() & ((std::uint64_t{2} << top) - 1)) | std::uint64_t{1} << top;
    n[0] |= 1;
    return n;
}

limbs random_prime(unsigned bits, std::mt19937_64& random) {
    limbs n = random_odd(bits, random);
    while (!prime(n.data(), static_cast<std::int64_t>(n.size()))) n = random_odd(bits, random);
    return n;
}

limbs product(const limbs& a, const limbs& b) {
    limbs r(a.size() + b.size());
    mpn_mul(r.data(), a.data(), static_cast<mp_size_t>(a.size()), b.data(), static_cast<mp_size_t>(b.size()));
    return r;
}

void batches(unsigned bits) {
    const auto len = static_cast<std::int64_t>((bits + 63) / 64);
    for (const char* kind : {"prime", "semiprime", "random odd"}) {
        // Most random numbers have a small factor: 4096 leave enough numbers to fill the lanes many times.
        const bool few = bits > 64 && kind[0] != 'r';
        const std::size_t count = few ? 40000 / bits * (bits <= 256 ? 4 : 1) : 4096;
        std::mt19937_64 random(bits);
        limbs all;
        while (all.size() < count * static_cast<std::size_t>(len)) {
            limbs n = kind[0] == 'p'   ? random_prime(bits, random)
                      : kind[0] == 's' ? product(random_prime(bits / 2, random), random_prime(bits - bits / 2, random))
                                       : random_odd(bits, random);
            n.resize(static_cast<std::size_t>(len));
            if (kind[0] != 's' || n.back() >> ((bits - 1) % 64) != 0) all.insert(all.end(), n.begin(), n.end());
        }
        std::vector<std::uint8_t> verdicts(count);
        compare(std::to_string(bits) + " bits, " + kind, count,
                {{"batch", [&] { KESH_ArePrime(all.data(), len, static_cast<std::int64_t>(count), verdicts.data()); }},
                 {"single", [&] {
                      for (std::size_t i = 0; i < count; ++i)
                          verdicts[i] = prime(&all[i * static_cast<std::size_t>(len)], len) ? 1 : 0;
                  }}});
    }
}

void next_primes(unsigned bits) {
    const std::size_t count = bits <= 64 ? 1000 : 40000 / bits;  // the distances to the next prime differ much
    const auto len = static_cast<std::int64_t>((bits + 63) / 64);
    std::mt19937_64 random(bits);
    limbs starts;
    for (std::size_t i = 0; i < count; ++i) {
        limbs n = random_odd(bits, random);
        n.back() &= ~(std::uint64_t{1} << ((bits - 2) % 64));  // far from 2^bits
        starts.insert(starts.end(), n.begin(), n.end());
    }
    limbs result(static_cast<std::size_t>(len));
    mpz_t p;
    mpz_init2(p, bits + 64);
    std::vector<Contestant> all = {
        {"next prime",
         [&] {
             for (std::size_t i = 0; i < count; ++i)
                 KESH_NextPrime(&starts[i * static_cast<std::size_t>(len)], len, result.data());
         }},
        {"GMP", [&] {
             for (std::size_t i = 0; i < count; ++i) {
                 mpz_import(p, static_cast<std::size_t>(len), -1, 8, 0, 0, &starts[i * static_cast<std::size_t>(len)]);
                 mpz_nextprime(p, p);
             }
         }}};
    if (bits <= 64) {
        all.push_back({"FLINT", [&] {
                           std::uint64_t sum = 0;
                           for (std::size_t i = 0; i < count; ++i) sum += n_nextprime(starts[i], 1);
                           result[0] = sum;
                       }});
    }
#if defined(KESH_PARI)
    all.push_back({"PARI", [&] {
                       for (std::size_t i = 0; i < count; ++i)
                           pari_next_prime(&starts[i * static_cast<std::size_t>(len)], len);
                   }});
#endif
    compare(std::to_string(bits) + " bits, next prime", count, all);
    mpz_clear(p);
}

/** The numbers among base, base + 2, ..., last that no prime up to 2^18 divides, as far as the walk sieves. */
limbs sieved(std::uint64_t base, std::uint64_t last) {
    std::vector<bool> struck((last - base) / 2 + 1);
    for (const kesh::SievingGroup& group : kesh::sieving_groups(1 << 18)) {
        const std::uint64_t place = group.place({&base, 1});
        for (const kesh::SievingPrime* p = group.first; p != group.last; ++p)
            for (std::uint64_t i = p->remainder(place); i < struck.size(); i += p->p) struck[i] = true;
    }
    limbs left;
    for (std::size_t i = 0; i < struck.size(); ++i)
        if (!struck[i]) left.push_back(base + 2 * i);
    return left;
}

}  // namespace

/** Usage: batch_benchmark [portable|adx|ifma], the level of the kernels; without it, that of the processor. */
int main(int argc, char** argv) {
    using kesh::Level;
    for (const Level level : {Level::portable, Level::adx, Level::ifma}) {
        if (argc > 1 && argv[1] == std::string(kesh::name(level)) && !kesh::force(level)) {
            std::fprintf(stderr, "this processor has no %s\n", argv[1]);
            return 1;
        }
    }
    std::printf("level %s\n", kesh::name(kesh::level()));
#if defined(KESH_PARI)
    pari_start();
#endif
    for (const unsigned bits : {33U, 48U, 64U, 128U, 256U, 512U, 1024U}) batches(bits);
    for (const unsigned bits : {48U, 64U, 128U, 256U, 512U, 1024U}) next_primes(bits);
    // The walk, only the tests of what its sieve leaves, and only the tests of the primes that it found.
    constexpr std::int64_t count = 100'000;
    const std::uint64_t from = 1'000'000'000'000'000'000;
    limbs primes(count);
    KESH_NextPrimes(&from, 1, count, primes.data(), nullptr, nullptr, nullptr);
    const limbs left = sieved(from + 1, primes.back());
    std::vector<std::uint8_t> verdicts(left.size());
    compare("100,000 primes from 10^18", count,
            {{"walk", [&] { KESH_NextPrimes(&from, 1, count, primes.data(), nullptr, nullptr, nullptr); }},
             {"tests after the sieve",
              [&] { KESH_ArePrime(left.data(), 1, static_cast<std::int64_t>(left.size()), verdicts.data()); }},
             {"tests of the primes", [&] { KESH_ArePrime(primes.data(), 1, count, verdicts.data()); }}});
}
