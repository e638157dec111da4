/**
 * @file   skewed.h
 * @brief  Random limb arrays with patterns that reveal errors in carry chains, and their conversion from and to GMP.
 */
#pragma once

#include <gmpxx.h>

#include <array>
#include <cstdint>
#include <random>

#include "Shared/intx/intx_types.h"

namespace kesh::test {

template <std::size_t n>
using Limbs = std::array<umint, n>;

template <std::size_t n>
mpz_class to_mpz(const Limbs<n>& limbs) {
    mpz_class value;
    mpz_import(value.get_mpz_t(), n, -1, sizeof(umint), 0, 0, limbs.data());
    return value;
}

/** The lowest n limbs of a non-negative value. */
template <std::size_t n>
Limbs<n> from_mpz(const mpz_class& value) {
    Limbs<n> limbs{};
    for (std::size_t i = 0; i < n; ++i) limbs[i] = mpz_getlimbn(value.get_mpz_t(), static_cast<mp_size_t>(i));
    return limbs;
}

class Skewed {
  public:
    explicit Skewed(std::uint64_t seed) : engine_(seed) {}

    umint below(umint bound) {
        return engine_() % bound;
    }

    /** Uniform bits, long runs of equal bits, a few set bits, a few clear bits, or a short value. */
    template <std::size_t n>
    Limbs<n> limbs() {
        Limbs<n> r{};
        switch (below(5)) {
            case 0:
                for (umint& limb : r) limb = engine_();
                break;
            case 1: {
                bool one = below(2) == 1;
                for (std::size_t bit = 0; bit < 64 * n; one = !one)
                    for (std::size_t end = bit + 1 + below(40 * n); bit < end && bit < 64 * n; ++bit)
                        if (one) r[bit / 64] |= umint{1} << (bit % 64);
                break;
            }
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
