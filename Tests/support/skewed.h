/**
 * @file   skewed.h
 * @brief  The one source of random limbs, with patterns that reveal errors in carry chains.
 */
#pragma once

#include <algorithm>
#include <cstdint>
#include <random>

#include "support/gmp.h"

namespace kesh::test {

/**
 * A repeatable source of limbs. Uniformly random limbs almost never carry far and never are next to a power of two, so
 * this one mixes them with long runs of ones and zeros, single bits and values near 0 and near 2^N.
 */
class Skewed {
  public:
    explicit Skewed(std::uint64_t seed) : engine_(seed) {}

    umint below(umint bound) {
        return engine_() % bound;
    }

    void fill_uniform(umint* limb, std::size_t n) {
        for (std::size_t i = 0; i < n; ++i) limb[i] = engine_();
    }

    /** Alternating runs of ones and zeros with lengths from 1 to 64 bits, or to all n limbs. */
    void fill_runs(umint* limb, std::size_t n) {
        const std::uint64_t longest = below(2) == 0 ? 64 : n * 64;
        bool ones = below(2) == 0;
        std::uint64_t left = 1 + below(longest);
        for (std::size_t i = 0; i < n; ++i) {
            limb[i] = 0;
            for (std::uint64_t bit = 0; bit < 64;) {
                const std::uint64_t run = std::min(left, 64 - bit);
                if (ones) limb[i] |= (~umint{0} >> (64 - run)) << bit;
                bit += run;
                left -= run;
                if (left == 0) {
                    left = 1 + below(longest);
                    ones = !ones;
                }
            }
        }
    }

    /** Uniform bits, long runs of equal bits, a few set bits, a few clear bits, or a short value. */
    template <std::size_t n>
    Limbs<n> limbs() {
        Limbs<n> r{};
        switch (below(5)) {
            case 0:
                fill_uniform(r.data(), n);
                break;
            case 1:
                fill_runs(r.data(), n);
                break;
            case 2:
                sprinkle(r);
                break;
            case 3:
                sprinkle(r);
                for (umint& limb : r) limb = ~limb;
                break;
            default:
                for (std::size_t i = 0, length = below(n) + 1; i < length; ++i) r[i] = engine_();
        }
        return r;
    }

    /**
     * An odd number above 1: of any of the patterns, near 2^(64 n), near 2^(64 n - 1) from either side, near any power
     * of two from either side, or small.
     */
    template <std::size_t n>
    Limbs<n> modulus() {
        Limbs<n> r = limbs<n>();
        switch (below(8)) {
            case 0:
                r.fill(~umint{0});
                r[0] -= below(100);
                break;
            case 1:
                r.fill(0);
                r[n - 1] = umint{1} << 63;
                r[0] = below(100);
                break;
            case 2:
                r.fill(~umint{0});
                r[n - 1] >>= 1;
                r[0] -= below(100);
                break;
            case 3:
                r.fill(0);
                r[0] = below(2) == 0 ? 3 + below(100) : engine_();
                break;
            case 4: {
                const umint k = 7 + below(64 * n - 7);
                const umint offset = below(100);
                r = from_mpz<n>((mpz_class(1) << k) + (below(2) == 0 ? mpz_class(offset) : -mpz_class(offset)));
                break;
            }
            case 5:  // of n limbs, with any number of leading zeros
                r[n - 1] = (r[n - 1] | umint{1} << 63) >> below(64);
                break;
            default:
                r[n - 1] |= umint{1} << 63;
        }
        r[0] |= 1;
        if (r == Limbs<n>{1}) r[0] = 3;
        return r;
    }

    /** A residue modulo m: any, near 0 or near m. */
    template <std::size_t n>
    Limbs<n> residue(const mpz_class& m) {
        const mpz_class offset(below(10));
        switch (below(4)) {
            case 0:
                return from_mpz<n>(offset % m);
            case 1:
                return from_mpz<n>(m - 1 - offset % m);
            default:
                return from_mpz<n>(to_mpz(limbs<n>()) % m);
        }
    }

  private:
    template <std::size_t n>
    void sprinkle(Limbs<n>& r) {
        for (umint i = below(6); i > 0; --i) {
            const umint bit = below(64 * n);
            r[bit / 64] |= umint{1} << (bit % 64);
        }
    }

    std::mt19937_64 engine_;
};

}  // namespace kesh::test
