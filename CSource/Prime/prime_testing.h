/**
 * @file   prime_testing.h
 * @brief  Primality: the deterministic test of 64-bit integers, by bitmap, trial division and strong probable-prime
 *         tests to hashed bases; the Baillie-PSW test of wider ones; and the entry points.
 *
 * Every test has two forms. The generic form follows the mathematics and works on the integer engine. Callers get a
 * faster form of the same steps with the same verdicts, and the tests compare the two. docs/primality.md explains the
 * mathematics.
 */
#pragma once

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <span>
#include <type_traits>
#include <utility>
#include <variant>

#include "Prime/small_primes.h"
#include "Shared/jacobi.h"
#include "Shared/kernel/kernel.h"
#include "Shared/mont.h"
#include "Tools/kesh.h"

namespace kesh {

using u64 = umint;

/**
 * Strong probable-prime test of n to base b: 1 when n passes, 0 when n is proven composite. M is the context of n, and
 * n - 1 = e * 2^k with e odd. b need not be reduced modulo n; with a multiple of n as the base no n passes. Cost: one
 * Montgomery product per bit of n - 1 and one more for each set bit of e.
 */
template <class T>
int sprp(const mp_mont_data<T>& M, const std::type_identity_t<T>& n, std::type_identity_t<T> b,
         std::type_identity_t<T> e, mint k) {
    const T one = M.one();
    const T minus_one = n - one;
    T a = M.toMontMod(b);
    T x = one;
    for (;;) {
        if ((static_cast<umint>(e) & 1) != 0) M.mul(x, a, x);
        math_right_shift_equal(e, 1);
        if (!e) break;
        M.mul(a, a, a);
    }
    if (x == one || x == minus_one) return 1;
    for (mint i = 1; i < k; ++i) {
        M.mul(x, x, x);
        if (x == minus_one) return 1;
    }
    return 0;
}

/** Primality of n <= 1,048,577 by one lookup in a bitmap; 1 is not prime. Larger odd n are outside of the bitmap. */
bool isPrime(std::uint32_t n);

/** Primality of any 32-bit n: the bitmap, or trial division and one strong test to a hashed base. */
bool PrimeQ(std::uint32_t n);

/**
 * Primality of any 64-bit n, exact over the whole range: trial division, then strong tests to base 2, to a
 * hashed base and, from 2^49 up, to a third base that the hashed base selects. Base 2 runs ahead of the others and
 * decides nearly all composites.
 */
bool PrimeQ(u64 n);

/**
 * The same verdicts with one strong test after another, as in the algorithm's description; tests
 * compare PrimeQ with it.
 */
namespace reference {

/** 256 and 16,384 hashed bases, for the numbers below and above 2^32. */
struct BaseTables {
    const std::uint16_t* below_2_32;
    const std::uint16_t* above_2_32;
};

bool PrimeQ(std::uint32_t n);
bool PrimeQ(u64 n);

/** The same with other tables; tests use it to show that each entry is needed. */
bool PrimeQ(u64 n, const BaseTables& tables);

}  // namespace reference

/**
 * Selfridge's parameters for the Lucas test: the first D of 5, -7, 9, -11, ... with (D/n) = -1, P = 1, Q = (1 - D)/4.
 * symbol(D) is the Jacobi symbol (D/n). Returns 1; returns 0 and does not set the parameters when the search proves n
 * composite. A square n has no such D: an exact test for squares ends the search after the sixth candidate, which few n
 * reach.
 */
template <wide_word T, class Symbol>
int selfridge_parameters(const T& n, Symbol symbol, mint& D, mint& P, mint& Q) {
    for (mint k = 0;; ++k) {
        const mint magnitude = 5 + 2 * k;
        const mint candidate = k % 2 == 0 ? magnitude : -magnitude;
        const int j = symbol(candidate);
        if (j == -1) {
            D = candidate;
            P = 1;
            Q = (1 - D) / 4;
            return 1;
        }
        if (j == 0 && n != magnitude) return 0;
        if (T root; k == 5 && isSquare<T>(n, root)) return 0;
    }
}

/** The same with the symbol computed at the width of n. */
template <wide_word T>
int lucas_DPQ(const T& n, mint& D, mint& P, mint& Q) {
    return selfridge_parameters(n, [&n](mint d) { return Jacobi<mint, T>(d, n); }, D, P, Q);
}

/**
 * 1 when odd n is a Lucas probable prime with Selfridge's parameters, U(n + 1) = 0 modulo n, else 0. M is the context
 * of n. The ladder runs over V of the parameters (a, 1), a = P^2/Q - 2, at k = (n + 1)/2, which needs no powers of Q:
 * 2 V(k + 1) - a V(k) = (a^2 - 4) U(k). Q is deliberately not tested for a common factor with n: trial division has
 * removed all primes up to 541, and the least |D| with (D/n) = -1 is far below. If Q had no inverse, a would be -2
 * and the condition would hold. Cost: one inverse, and two Montgomery products and two subtractions per bit.
 */
template <wide_word T>
int weak_lucas_mont_test(const mp_mont_data<T>& M, T n) {
    mint D, P, Q;
    if (lucas_DPQ<T>(n, D, P, Q) == 0) return 0;

    T m, rest;
    math_divmod_imp(n + T(1), T(0), T(2), m, rest);

    const T two = M.toMontMod(T(2));
    const T q = Q < 0 ? n - T(-Q) : T(Q);
    const T q_inverse = M.toMontMod(math_invmod(q, n));
    const T p = M.one();
    const T a = M.sub(M.mul(M.mul(p, p), q_inverse), two);

    T low = two, high = a;  // V(k) and V(k + 1) for k = 0
    for (mint i = math_num_bits(m) - 1; i >= 0; --i) {
        const T product = M.sub(M.mul(low, high), a);
        T bit;
        math_right_shift(m, i, bit);
        if ((bit.limb[0] & 1) == 0) {
            high = product;
            low = M.sub(M.mul(low, low), two);
        } else {
            low = product;
            high = M.sub(M.mul(high, high), two);
        }
    }
    return M.mul(a, low) == M.mul(two, high) ? 1 : 0;
}

/** The three steps of the Baillie-PSW test of one odd n, each by its generic form. */
template <wide_word T>
class GenericSteps {
  public:
    static bool has_small_factor(const T& n) {
        const mint tried = std::min<mint>(100, std::ssize(primes_small));
        return primeq_trial_division<T>(n, 1, tried) == 0;
    }

    explicit GenericSteps(const T& n) : M(n) {}

    [[nodiscard]] bool passes_base_2() const {
        T d = M.m - T(1);
        const mint s = math_count_trailing_zeros(d);
        math_right_shift_equal(d, s);
        return sprp(M, M.m, 2, d, s) != 0;
    }

    [[nodiscard]] bool passes_lucas() const {
        return weak_lucas_mont_test<T>(M, M.m) != 0;
    }

  private:
    mp_mont_data<T> M;
};

/**
 * The same three steps, with the same verdicts, by the kernels for this processor and for the limbs that n has: a value
 * of nine limbs is not tested as one of sixteen. Precondition: n >= 2^64, which holds for all numbers that PrimeQ tests
 * at these widths.
 */
template <wide_word T>
class KernelSteps {
  public:
    static bool has_small_factor(const T& n) {
        return kernel::has_small_factor(significant_limbs(n));
    }

    explicit KernelSteps(const T& n) : n_(n), modulus_(make_modulus<2>(n)) {}

    [[nodiscard]] bool passes_base_2() const {
        return std::visit([](const auto& m) { return kernel::strong_base2(m); }, modulus_);
    }

    [[nodiscard]] bool passes_lucas() const {
        mint D, P, Q;
        return parameters(n_, D, P, Q) != 0 && passes_lucas(Q);
    }

    /** The same with Q of the parameters given. */
    [[nodiscard]] bool passes_lucas(mint q) const {
        return std::visit([q](const auto& m) { return kernel::lucas_u_vanishes(m, q); }, modulus_);
    }

    /** lucas_DPQ by remainders of the limbs that n has. */
    static int parameters(const T& n, mint& D, mint& P, mint& Q) {
        const auto symbol = [&n](mint d) {
            const umint rest = kernel::mod_limb(significant_limbs(n), static_cast<umint>(std::abs(d)));
            return jacobi_of_small(d, rest, n.limb[0]);
        };
        return selfridge_parameters(n, symbol, D, P, Q);
    }

  private:
    static constexpr int limbs = static_cast<int>(T::limbs);

    template <class Counts>
    struct OneOf;
    template <int... less_2>
    struct OneOf<std::integer_sequence<int, less_2...>> {
        using type = std::variant<kernel::Modulus<less_2 + 2>...>;
    };
    /** The modulus, for each number of limbs from 2 to that of T. */
    using AnyModulus = typename OneOf<std::make_integer_sequence<int, limbs - 1>>::type;

    static std::span<const umint> significant_limbs(const T& value) {
        std::size_t count = T::limbs;
        while (count > 2 && value.limb[count - 1] == 0) --count;
        return {value.limb, count};
    }

    template <int count>
    static AnyModulus make_modulus(const T& value) {
        if constexpr (count < limbs) {
            if (significant_limbs(value).size() > count) return make_modulus<count + 1>(value);
        }
        return AnyModulus(std::in_place_type<kernel::Modulus<count>>, value.limb);
    }

    T n_;
    AnyModulus modulus_;
};

/**
 * The Baillie-PSW test: 1 when n is 2 or an odd number without a prime factor up to 541 other than itself that passes
 * the strong test to base 2 and the Lucas test; 0 when n is composite. strong_lucas must be 0: there is no strong Lucas
 * test.
 */
template <wide_word T, template <class> class Steps = GenericSteps>
int PrimeQ_BPSW(T n, [[maybe_unused]] mint strong_lucas) {
    KESH_REQUIRE(strong_lucas == 0);
    if ((n.limb[0] & 1) == 0) return n == 2 ? 1 : 0;
    init_small_primes();
    if (Steps<T>::has_small_factor(n)) return 0;
    const Steps<T> steps(n);
    if (!steps.passes_base_2()) return 0;
    return steps.passes_lucas() ? 1 : 0;
}

/** Primality of n, tested at the narrowest width whose upper half is not zero, down to the 64-bit test. */
template <wide_word T, template <class> class Steps = KernelSteps>
bool PrimeQ(const T& n) {
    if (!math_is_zero(n.hi())) return PrimeQ_BPSW<T, Steps>(n, 0) != 0;
    if constexpr (T::bits == 128) {
        return PrimeQ(n.lo());
    } else {
        return PrimeQ<typename T::half_type, Steps>(n.lo());
    }
}

/** Primality of the value of the `len` limbs at n, least significant first. Precondition: 1 <= len <= limbs of T. */
template <engine_word T>
bool isPrime(const umint* n, mint len) {
    if constexpr (wide_word<T>) {
        T value(0);
        intx_from_array(value, n, len);
        return PrimeQ<T>(value);
    } else {
        return PrimeQ(n[0]);
    }
}

}  // namespace kesh

/**
 * Primality of the value of the len limbs at n, least significant first: *r = 1 for prime, 0 for not, and the call
 * returns 1. With len outside 1 ... 16 it returns 0 and does not write *r. A plain C function, see
 * include/kesh_prime.h. Safe on any number of threads, the first call included.
 */
KESH_EXPORT mbool KESH_PrimeQ(const umint* n, mint len, mbool* r);

/**
 * (tensor): reads an element of the tensor through the host and passes a null limb pointer on to KESH_PrimeQ. It
 * returns in two cases: with the host's own code when the element read fails, and with 6 when the read leaves a length
 * outside 1 ... 16.
 */
KESH_EXPORT int KESH_RT_PrimeQ(VelmoraLibraryData libData, mint Argc, MArgument* Args, MArgument res);
