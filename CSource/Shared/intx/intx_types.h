/**
 * @file   intx_types.h
 * @brief  The fixed-width integer types uintx_t<N> and intx_t<N>, N = 128, 256, 512, 1024, their layout and
 *         construction.
 *
 * A value is N/64 limbs, least significant first. The same storage is also viewed as two halves of half_type, because
 * every wide algorithm recurses on halves. Operations on the types are free functions: limb primitives in intx_gcc.h,
 * algorithms in intx_common.h, operators and text in intx_operator.h (include that one to use the types).
 */
#pragma once

#include <concepts>
#include <cstdint>
#include <cstring>
#include <string>
#include <type_traits>

#include "Shared/contract.h"

namespace kesh {

/** The machine integers of the host interface: counts, lengths and shift distances are `mint`, limbs are `umint`. */
using mint = std::int64_t;
using umint = std::uint64_t;
static_assert(std::is_same_v<umint, unsigned long>, "the limb is `unsigned long`; LP64 platforms only");

/** Bits of one limb. */
inline constexpr mint MINT_BITS = 64;

template <mint N>
concept supported_width = N == 128 || N == 256 || N == 512 || N == 1024;

template <mint N>
    requires supported_width<N>
struct uintx_t;

template <mint N>
    requires supported_width<N>
struct intx_t;

/**
 * The machine integers that widen into the fixed-width ones. Not the compilers' 128-bit integers, of which the upper
 * half would be lost: some language modes count them among std::integral.
 */
template <class I>
concept machine_integer = std::integral<I> && sizeof(I) <= sizeof(umint);

namespace detail {

/**
 * `T x(unset)` makes an engine word to be written before it is read: its limbs stay uninitialised, except in constant
 * expressions, where a reference to a limb needs an object. A limb is 0, which costs nothing.
 */
struct unset_t {
    constexpr operator umint() const noexcept {
        return 0;
    }
};
inline constexpr unset_t unset{};

template <mint N>
struct HalfOf {
    using type = uintx_t<N / 2>;
};
template <>
struct HalfOf<128> {
    using type = umint;
};

template <class T>
struct width_of;
template <>
struct width_of<umint> : std::integral_constant<mint, MINT_BITS> {};
template <mint N>
struct width_of<uintx_t<N>> : std::integral_constant<mint, N> {};
template <mint N>
struct width_of<intx_t<N>> : std::integral_constant<mint, N> {};

}  // namespace detail

/** Width in bits of an engine word: the 64-bit limb or a uintx_t<N>. */
template <class T>
inline constexpr mint width_v = detail::width_of<T>::value;

/** A uintx_t<N> of any width. */
template <class T>
concept wide_word = requires { detail::width_of<T>::value; } && std::same_as<T, uintx_t<detail::width_of<T>::value>>;

/** What the generic algorithms are instantiated for: the limb and every uintx_t<N>. */
template <class T>
concept engine_word = std::same_as<T, umint> || wide_word<T>;

/** Limbs of an engine word. */
template <engine_word T>
inline constexpr std::size_t limbs_v = static_cast<std::size_t>(width_v<T> / MINT_BITS);

/**
 * Unsigned integer of exactly N bits; all arithmetic is modulo 2^N. Trivially copyable. `uintx_t<N> x;` leaves the
 * limbs uninitialised, as with the built-in types, `uintx_t<N> x{}` is 0. No operation except parsing from and
 * printing to std::string allocates, and none throws.
 */
template <mint N>
    requires supported_width<N>
struct uintx_t {
    using half_type = typename detail::HalfOf<N>::type;
    static constexpr mint bits = N;
    static constexpr std::size_t limbs = static_cast<std::size_t>(N / MINT_BITS);

    union {
        umint limb[limbs];  ///< least significant first; the active member during constant evaluation
        half_type half[2];  ///< low half, high half
    };

    /** Leaves the limbs uninitialised; empty braces, and containers with a size, make zeros. */
    uintx_t() = default;

    constexpr explicit uintx_t(detail::unset_t) noexcept {
        if (std::is_constant_evaluated()) clear();
    }

    /**
     * Signed integers are sign-extended to the full width, so uintx_t(-1) is 2^N - 1; unsigned ones are zero-extended.
     */
    template <machine_integer I>
    constexpr uintx_t(I value) noexcept : limb{static_cast<umint>(value)} {
        if constexpr (std::is_signed_v<I>) {
            const umint sign = value < 0 ? ~umint{0} : umint{0};
            for (std::size_t i = 1; i < limbs; ++i) limb[i] = sign;
        }
    }

    /** Zero extension of a narrower value. */
    template <mint K>
        requires(K < N)
    constexpr uintx_t(const uintx_t<K>& narrow) noexcept : limb{} {
        for (std::size_t i = 0; i < uintx_t<K>::limbs; ++i) limb[i] = narrow.limb[i];
    }

    /** hi * 2^(N/2) + lo. */
    constexpr uintx_t(const half_type& lo, const half_type& hi) noexcept {
        if (std::is_constant_evaluated()) {
            for (std::size_t i = 0; i < limbs / 2; ++i) {
                limb[i] = limb_of(lo, i);
                limb[limbs / 2 + i] = limb_of(hi, i);
            }
        } else {
            half[0] = lo;
            half[1] = hi;
        }
    }

    /**
     * Copies the `len` limbs at `in`, least significant first, and leaves the limbs above them uninitialised: pass
     * len == limbs, or assign into a cleared value with intx_from_array. Precondition: 0 <= len <= limbs. It is a
     * template, so that the literal 0 means a half and not a null pointer.
     */
    template <std::same_as<umint> Limb>
    constexpr uintx_t(const Limb* in, mint len) noexcept {
        intx_from_array(*this, in, len);
    }

    /** The same bits. */
    constexpr uintx_t(const intx_t<N>& value) noexcept;

    /** Decimal or 0x text by the rules of from_string; malformed text gives 0. */
    explicit uintx_t(const std::string& text) noexcept;
    explicit uintx_t(const char* text) noexcept;

    /** The halves by value, usable in constant expressions (a union has one active member there). */
    [[nodiscard]] constexpr half_type lo() const noexcept {
        return half_at(0);
    }
    [[nodiscard]] constexpr half_type hi() const noexcept {
        return half_at(1);
    }

    /** True when any limb is non-zero. */
    constexpr explicit operator bool() const noexcept;
    /** The low limb. */
    constexpr explicit operator std::uint64_t() const noexcept {
        return limb[0];
    }
    constexpr explicit operator long() const noexcept {
        return static_cast<long>(limb[0]);
    }
    /** The nearest double, ties to even; a 1024-bit value of 2^1024 - 2^970 or more gives infinity. */
    constexpr explicit operator double() const noexcept;

    constexpr uintx_t& operator++() noexcept;
    constexpr uintx_t& operator--() noexcept;
    constexpr uintx_t operator++(int) noexcept;
    constexpr uintx_t operator--(int) noexcept;

  private:
    constexpr void clear() noexcept {
        for (std::size_t i = 0; i < limbs; ++i) limb[i] = 0;
    }

    static constexpr umint limb_of(const half_type& part, std::size_t i) noexcept {
        if constexpr (N == 128)
            return i == 0 ? part : 0;
        else
            return part.limb[i];
    }

    [[nodiscard]] constexpr half_type half_at(std::size_t which) const noexcept {
        if (!std::is_constant_evaluated()) return half[which];
        if constexpr (N == 128)
            return limb[which];
        else
            return half_type(limb + which * (limbs / 2), static_cast<mint>(limbs / 2));
    }
};

/** a's lowest `len` limbs = in[0 .. len-1]; the limbs above them keep their value. Precondition: 0 <= len <= limbs. */
template <mint N>
constexpr void intx_from_array(uintx_t<N>& a, const umint* in, mint len) noexcept {
    KESH_REQUIRE(0 <= len && len <= static_cast<mint>(uintx_t<N>::limbs));
    for (mint i = 0; i < len; ++i) a.limb[i] = in[i];
}

/** Signed two's-complement counterpart of uintx_t<N>, same size and storage. Arithmetic wraps modulo 2^N. */
template <mint N>
    requires supported_width<N>
struct intx_t {
    static constexpr mint bits = N;
    static constexpr std::size_t limbs = static_cast<std::size_t>(N / MINT_BITS);

    umint limb[limbs];  ///< least significant first

    /** Leaves the limbs uninitialised; empty braces, and containers with a size, make zeros. */
    intx_t() = default;

    /** Signed integers are sign-extended, unsigned ones zero-extended. */
    template <machine_integer I>
    constexpr intx_t(I value) noexcept : limb{} {
        const uintx_t<N> wide(value);
        for (std::size_t i = 0; i < limbs; ++i) limb[i] = wide.limb[i];
    }

    /** The same bits. */
    constexpr intx_t(const uintx_t<N>& value) noexcept : limb{} {
        for (std::size_t i = 0; i < limbs; ++i) limb[i] = value.limb[i];
    }

    /** Text by the rules of from_string; malformed text gives 0. */
    explicit intx_t(const std::string& text) noexcept;
    explicit intx_t(const char* text) noexcept;

    /** True when the value is negative. */
    [[nodiscard]] constexpr bool sign() const noexcept {
        return (limb[limbs - 1] >> (MINT_BITS - 1)) != 0;
    }

    constexpr explicit operator bool() const noexcept;
    /** The low limb as a signed integer. */
    constexpr explicit operator mint() const noexcept {
        return static_cast<mint>(limb[0]);
    }
    /** The nearest double, ties to even. */
    constexpr explicit operator double() const noexcept;

    /**
     * a = q * b + r with |r| < |b| and r of a's sign: truncation, as the built-in types divide. The most negative
     * value divided by -1 wraps to itself. Precondition: b != 0 (a zero divisor returns unspecified q and r).
     */
    static constexpr void divmod(const intx_t& a, const intx_t& b, intx_t& q, intx_t& r) noexcept;

    constexpr intx_t& operator/=(const intx_t& b) noexcept;
    constexpr intx_t& operator%=(const intx_t& b) noexcept;
};

/** An intx_t<N> of any width. */
template <class T>
concept signed_word = requires { detail::width_of<T>::value; } && std::same_as<T, intx_t<detail::width_of<T>::value>>;

template <mint N>
    requires supported_width<N>
constexpr uintx_t<N>::uintx_t(const intx_t<N>& value) noexcept : limb{} {
    for (std::size_t i = 0; i < limbs; ++i) limb[i] = value.limb[i];
}

namespace detail {

template <mint N>
inline constexpr bool layout_holds =
    sizeof(uintx_t<N>) == N / 8 && sizeof(intx_t<N>) == N / 8 && alignof(uintx_t<N>) == alignof(umint) &&
    std::is_trivial_v<uintx_t<N>> && std::is_trivial_v<intx_t<N>> && std::is_standard_layout_v<uintx_t<N>> &&
    sizeof(typename uintx_t<N>::half_type) * 2 == sizeof(uintx_t<N>);

}  // namespace detail

static_assert(detail::layout_holds<128> && detail::layout_holds<256> && detail::layout_holds<512> &&
              detail::layout_holds<1024>);

}  // namespace kesh
