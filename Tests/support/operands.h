/**
 * @file   operands.h
 * @brief  Operands for the differential tests: a table of hard cases shared by all of them and a source of skewed
 *         random values.
 *
 * To skewed values it adds operands that are related to each other: multiples of the divisor and their neighbours,
 * hi = d - 1, hi >= d, equal halves.
 */
#pragma once

#include <vector>

#include "Shared/intx/intx_operator.h"
#include "support/gmp.h"
#include "support/skewed.h"

namespace kesh::test {

/** 2^n, n < N. */
template <engine_word T>
constexpr T power_of_two(mint n) {
    T p;
    math_left_shift(T(1), n, p);
    return p;
}

template <engine_word T>
T plus(T a, const T& b) {
    math_add_equal_carry(0, a, b);
    return a;
}
template <engine_word T>
T minus(T a, const T& b) {
    math_sub_equal_borrow(0, a, b);
    return a;
}

/**
 * Values that break careless carries, shifts and estimates: 0, 1, powers of two at every limb border and their
 * neighbours, runs of ones that begin and end at limb borders, alternating bits, equal halves.
 */
template <engine_word T>
const std::vector<T>& hard_cases() {
    static const std::vector<T> cases = [] {
        constexpr mint N = width_v<T>;
        std::vector<T> v{T(0), T(1), T(2), T(3), T(5), T(10), minus(T(0), T(1)), minus(T(0), T(2)), minus(T(0), T(3))};
        for (mint n = 32; n < N; n += 32) {
            const T p = power_of_two<T>(n);
            v.insert(v.end(), {p, minus(p, T(1)), plus(p, T(1)), minus(T(0), p), minus(minus(T(0), p), T(1))});
        }
        for (const mint n : {mint{1}, mint{31}, mint{33}, mint{63}, N / 2 - 1, N / 2 + 1, N - 2, N - 1}) {
            const T p = power_of_two<T>(n < N ? n : N - 1);
            v.insert(v.end(), {p, minus(p, T(1)), plus(p, T(1)), minus(T(0), p)});
        }
        for (const umint pattern :
             {0x5555555555555555UL, 0xAAAAAAAAAAAAAAAAUL, 0x8000000000000000UL, 0x0000000100000001UL,
              0x8000000000000001UL, 0xFFFFFFFF00000000UL, 0x00000000FFFFFFFFUL}) {
            T repeated;
            for (std::size_t i = 0; i < limbs_v<T>; ++i) limbs_of(repeated)[i] = pattern;
            v.push_back(repeated);
        }
        return v;
    }();
    return cases;
}

/** One set of operands; every check uses what it needs of it. */
template <engine_word T>
struct Operands {
    T a, b, c, d;
    umint limb;
    mint count;
    std::uint8_t carry;
};

/** A repeatable stream of operands. */
class OperandSource {
  public:
    explicit OperandSource(std::uint64_t seed) : random_(seed) {}

    std::uint64_t below(std::uint64_t bound) {
        return random_.below(bound);
    }

    template <engine_word T>
    T value() {
        T a;
        umint* const limb = limbs_of(a);
        switch (below(10)) {
            case 0:
            case 1:
                random_.fill_uniform(limb, limbs_v<T>);
                return a;
            case 2:  // any bit length
                random_.fill_uniform(limb, limbs_v<T>);
                math_right_shift_equal(a, static_cast<mint>(below(limbs_v<T> * 64)));
                return a;
            case 3:
            case 4:
                random_.fill_runs(limb, limbs_v<T>);
                return a;
            case 5: {  // a single bit, or all ones above it, and a small distance from either
                a = power_of_two<T>(static_cast<mint>(below(limbs_v<T> * 64)));
                if (below(2) == 0) a = minus(T(0), a);
                return below(2) == 0 ? a : below(2) == 0 ? plus(a, small<T>()) : minus(a, small<T>());
            }
            case 6:
                return small<T>();
            case 7:
                return minus(T(0), small<T>());
            case 8: {
                random_.fill_runs(limb, limbs_v<T>);
                for (std::size_t i = limbs_v<T> / 2; i < limbs_v<T>; ++i) limb[i] = limb[i - limbs_v<T> / 2];
                return a;
            }
            default:
                return hard_cases<T>()[below(hard_cases<T>().size())];
        }
    }

    template <engine_word T>
    Operands<T> set() {
        Operands<T> s{
            value<T>(), value<T>(), value<T>(), value<T>(), value<umint>(), 0, static_cast<std::uint8_t>(below(2))};
        s.count = static_cast<mint>(below(limbs_v<T> * 64 + 4)) - 1;
        relate(s);
        return s;
    }

  private:
    template <engine_word T>
    T small() {
        return T(static_cast<umint>(below(below(2) == 0 ? 8 : 1000)));
    }

    /** Sometimes ties the operands of a division, a : numerator low, b : high, d : divisor, to each other. */
    template <engine_word T>
    void relate(Operands<T>& s) {
        switch (below(12)) {
            case 0:
                s.b = s.a;
                break;
            case 1:
                s.b = below(2) == 0 ? plus(s.a, T(1)) : minus(s.a, T(1));
                break;
            case 2:  // the largest numerators with hi < d
                s.b = minus(s.d, T(1));
                if (below(2) == 0) s.a = minus(T(0), small<T>());
                break;
            case 3:
                s.b = plus(s.d, small<T>());
                break;
            case 4:
            case 5:
            case 6: {  // next to a multiple of the divisor
                math_mul(s.c, s.d, s.a, s.b);
                const T distance = small<T>();
                if (below(2) == 0) {
                    math_add_equal_carry(math_add_equal_carry(0, s.a, distance), s.b, T(0));
                } else {
                    math_sub_equal_borrow(math_sub_equal_borrow(0, s.a, distance), s.b, T(0));
                }
                break;
            }
            case 7:
                s.d = plus(power_of_two<T>(width_v<T> - 1), small<T>());
                break;
            default:
                break;
        }
    }

    Skewed random_;
};

}  // namespace kesh::test
