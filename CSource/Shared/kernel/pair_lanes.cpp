/**
 * @file   pair_lanes.cpp
 * @brief  The power and the ladder of two numbers in turns, by the products on two carry chains.
 *
 * The instructions of two squarings fit into the window in which the processor looks for work, so that two calls one
 * after another are enough.
 */
#include "Shared/kernel/pair_lanes.h"

#include <algorithm>
#include <cassert>

#include "Shared/kernel/adx.h"
#include "Shared/kernel/signed_residue.h"

namespace kesh::kernel {

namespace {

constexpr int least_limbs = 3, most_limbs = 8;

/** The longest numbers whose residues with a sign take turns: those of more limbs already use most of the processor. */
constexpr int most_signed_limbs = 4;

/** The two members V(k), V(k + 1) of the ladder; generic_lucas_ladder() explains a step. */
template <int n>
struct LadderPair {
    umint v[2][n], not_two[n], not_a[n];

    explicit LadderPair(const LucasStart<n>& start) noexcept {
        for (int i = 0; i < n; ++i) {
            v[0][i] = start.two[i];
            v[1][i] = start.a[i];
            not_two[i] = ~start.two[i];
            not_a[i] = ~start.a[i];
        }
    }
    void step(umint bit, const Modulus<n>& modulus) noexcept {
        Adx::mul(v[1 - bit], v[0], v[1], modulus, not_a);
        Adx::sqr(v[bit], v[bit], modulus, not_two);
    }
};

/** The results of the strong tests that end with x[0] and x[1]. */
template <int n>
unsigned passed(umint (&x)[pair_lanes][n], const StrongExponent<n>* exponent, const Modulus<n>* modulus) noexcept {
    unsigned result = 0;
    for (std::size_t c = 0; c < pair_lanes; ++c)
        result |= unsigned{ends_strongly<n>(x[c], exponent[c].s, modulus[c])} << c;
    return result;
}

template <int n>
unsigned strong_base2(const NumberPair& numbers) noexcept {
    const Modulus<n> modulus[] = {Modulus<n>(numbers[0]), Modulus<n>(numbers[1])};
    const StrongExponent<n> exponent[] = {StrongExponent<n>(numbers[0]), StrongExponent<n>(numbers[1])};
    umint x[pair_lanes][n];
    if constexpr (n <= most_signed_limbs) {
        if (SignedResidue<n>::represents(modulus[0]) && SignedResidue<n>::represents(modulus[1])) {
            SignedPower<n> y[] = {{modulus[0], exponent[0].e}, {modulus[1], exponent[1].e}};
            for (int left = std::max(y[0].bits_left(), y[1].bits_left()); left > 0; --left)
                for (SignedPower<n>& power : y)
                    if (power.bits_left() == left) power.square(1);
            for (std::size_t c = 0; c < pair_lanes; ++c) y[c].finish(x[c]);
            return passed<n>(x, exponent, modulus);
        }
    }
    Doublings<n> y[] = {{modulus[0], exponent[0].e}, {modulus[1], exponent[1].e}};
    for (int i = std::max(y[0].bits_left(), y[1].bits_left()) - 1; i >= 0; --i) {
        for (std::size_t c = 0; c < pair_lanes; ++c) {
            if (i >= y[c].bits_left()) continue;  // a shorter exponent begins later
            Adx::sqr(y[c].value, y[c].value, modulus[c]);
            y[c].after_square(exponent[c].e, i);
        }
    }
    for (std::size_t c = 0; c < pair_lanes; ++c) {
        y[c].finish(x[c]);
        fully_reduce<n, Adx>(x[c], x[c], modulus[c]);
    }
    return passed<n>(x, exponent, modulus);
}

template <int n>
unsigned lucas(const NumberPair& numbers, const std::array<mint, pair_lanes>& q) noexcept {
    const Modulus<n> modulus[] = {Modulus<n>(numbers[0]), Modulus<n>(numbers[1])};
    const LucasStart<n> start[] = {{modulus[0], q[0]}, {modulus[1], q[1]}};
    LadderPair<n> ladder[] = {LadderPair<n>(start[0]), LadderPair<n>(start[1])};
    // A shorter exponent begins with clear bits, which leave the pair V(0), V(1) as it is.
    for (int i = std::max(bit_length<n>(start[0].e), bit_length<n>(start[1].e)) - 1; i >= 0; --i)
        for (std::size_t c = 0; c < pair_lanes; ++c) ladder[c].step(bit_at(start[c].e, i), modulus[c]);
    unsigned vanishes = 0;
    for (std::size_t c = 0; c < pair_lanes; ++c) {
        umint l[n], h[n];
        fully_reduce<n, Adx>(l, ladder[c].v[0], modulus[c]);
        fully_reduce<n, Adx>(h, ladder[c].v[1], modulus[c]);
        vanishes |= unsigned{start[c].vanishes(l, h, modulus[c])} << c;
    }
    return vanishes;
}

}  // namespace

bool has_pairs(int limbs) noexcept {
    return level() == Level::adx && least_limbs <= limbs && limbs <= most_limbs;
}

#define KESH_FOR_EACH_LIMBS(each) each(3) each(4) each(5) each(6) each(7) each(8)

unsigned strong_base2_of_pair(const NumberPair& numbers, int limbs) noexcept {
    assert(has_pairs(limbs));
    switch (limbs) {
#define KESH_CASE(n) \
    case n:          \
        return strong_base2<n>(numbers);
        KESH_FOR_EACH_LIMBS(KESH_CASE)
#undef KESH_CASE
    }
    return 0;
}

unsigned lucas_u_vanishes_of_pair(const NumberPair& numbers, const std::array<mint, pair_lanes>& q,
                                  int limbs) noexcept {
    assert(has_pairs(limbs));
    switch (limbs) {
#define KESH_CASE(n) \
    case n:          \
        return lucas<n>(numbers, q);
        KESH_FOR_EACH_LIMBS(KESH_CASE)
#undef KESH_CASE
    }
    return 0;
}

}  // namespace kesh::kernel
