/**
 * @file   edges_text_test.cpp
 * @brief  By hand: text, double, signed values; and what holds at compile time.
 */

#include <cmath>
#include <cstddef>

#include "Shared/fastdiv.h"
#include "Shared/isqrt.h"
#include "Shared/mont.h"
#include "engine/edges.h"

namespace kesh::test {
namespace {

KESH_TYPED_TEST(WideEdges, MalformedTextIsRefusedAndLeavesTheValue) {
    using T = TypeParam;
    for (const char* text :
         {"", "0x", "0X", "x12", "12a", "0x12g", " 12", "12 ", "-1", "+1", "1_000", "1.0", "0x-1", "00x1"}) {
        T a(77);
        EXPECT_FALSE(from_string(text, a)) << text;
        EXPECT_TRUE(a == 77) << text;
        EXPECT_TRUE(T(text) == 0) << text;
    }
}

KESH_TYPED_TEST(WideEdges, EveryByteThatIsNoDigitIsRefusedAtEveryPlace) {
    TypeParam a(77);
    for (int byte = 0; byte < 256; ++byte) {
        if ('0' <= byte && byte <= '9') continue;
        for (std::size_t place = 0; place < 38; ++place) {
            std::string text(38, '1');
            text[place] = static_cast<char>(byte);
            EXPECT_FALSE(from_string(text, a)) << byte << " at " << place;
        }
    }
    EXPECT_EQ(a, 77);
}

KESH_TYPED_TEST(WideEdges, TextAtTheEndsOfTheRange) {
    using T = TypeParam;
    T a;
    EXPECT_TRUE(from_string("0", a) && a == 0 && to_string(a) == "0" && to_string(a, 16) == "0x0");
    EXPECT_TRUE(from_string("000000000000000000000000000000000000000000000000017", a) && a == 17);
    EXPECT_TRUE(from_string("0XfF", a) && a == 255);
    const std::string all(static_cast<std::size_t>(T::bits / 4), 'f');
    EXPECT_TRUE(from_string("0x" + all, a) && a == this->ones);
    const std::string zeros(all.size(), '0'), half_as_many(all.size() / 2, '0');
    EXPECT_FALSE(from_string("0x1" + zeros, a)) << "2^N";
    EXPECT_EQ(to_string(this->ones, 16), "0x" + all);
    // A chunk of zeros inside must not lose its digits.
    EXPECT_EQ(to_string(T(10'000'000'000'000'000'000U) * T(3'000'000'000'000'000'000U)),
              "30000000000000000000000000000000000000");
    EXPECT_EQ(to_string(this->middle_bit, 16), "0x1" + half_as_many);
}

KESH_TYPED_TEST(WideEdges, DoublesRoundToNearestTiesToEven) {
    using T = TypeParam;
    const auto as_double = [](const T& a) { return static_cast<double>(a); };
    EXPECT_EQ(as_double(T(0)), 0.0);
    EXPECT_EQ(as_double((T(1) << 53) + 1), 9007199254740992.0) << "tie, even below";
    EXPECT_EQ(as_double((T(1) << 53) + 3), 9007199254740996.0) << "tie, even above";
    for (mint n = 54; n < T::bits - 1; ++n) {
        const T base = power_of_two<T>(n), step = power_of_two<T>(n - 52), half_step = power_of_two<T>(n - 53);
        const double low = std::ldexp(1.0, static_cast<int>(n)), next = std::nextafter(low, INFINITY),
                     third = std::nextafter(next, INFINITY);
        EXPECT_EQ(as_double(base + half_step), low) << n;
        EXPECT_EQ(as_double(base + half_step + 1), next) << n;
        EXPECT_EQ(as_double(base + half_step - 1), low) << n;
        EXPECT_EQ(as_double(base + step + half_step), third) << n;
        EXPECT_EQ(as_double(base + step + half_step - 1), next) << n;
        EXPECT_EQ(as_double(base - 1), low) << n;
    }
    // The last value that does not round up to 2^N, and the first that does.
    const T threshold = minus(T(0), power_of_two<T>(T::bits - 54));
    EXPECT_EQ(as_double(threshold - 1), std::nextafter(std::ldexp(1.0, static_cast<int>(T::bits)), 0.0));
    EXPECT_EQ(as_double(threshold), std::ldexp(1.0, static_cast<int>(T::bits)));
    EXPECT_EQ(std::isinf(as_double(this->ones)), T::bits == 1024);
}

KESH_TYPED_TEST(WideEdges, SignedValues) {
    using T = TypeParam;
    using S = intx_t<T::bits>;
    const S lowest(this->top_bit), minus_one(-1);
    EXPECT_TRUE(lowest.sign() && minus_one.sign() && !S(0).sign() && !S(5UL).sign());
    EXPECT_TRUE(T(minus_one) == this->ones && S(T(minus_one)) == minus_one && T(S(-5)) == T(-5));
    EXPECT_EQ(static_cast<mint>(S(-5)), -5);
    EXPECT_TRUE(static_cast<bool>(lowest) && !static_cast<bool>(S(0)));
    EXPECT_EQ(static_cast<double>(S(-3)), -3.0);
    EXPECT_EQ(static_cast<double>(lowest), -std::ldexp(1.0, static_cast<int>(T::bits) - 1));

    // Truncation, as the built-in types divide.
    for (const int a : {7, -7, 0, 1, -1, 100, -100}) {
        for (const int b : {1, -1, 2, -2, 7, -7, 101}) {
            S q, r;
            S::divmod(S(a), S(b), q, r);
            EXPECT_TRUE(q == S(a / b) && r == S(a % b)) << a << " / " << b;
        }
    }
    S wrapped(lowest);
    EXPECT_TRUE((wrapped /= minus_one) == lowest);
    wrapped = lowest;
    EXPECT_TRUE((wrapped %= minus_one) == S(0));

    S parsed;
    EXPECT_TRUE(from_string(to_string(lowest), parsed) && parsed == lowest);
    EXPECT_TRUE(from_string("-0x10", parsed) && parsed == S(-16));
    EXPECT_FALSE(from_string(to_string(this->top_bit), parsed)) << "2^(N-1) is out of range";
    EXPECT_FALSE(from_string("--1", parsed) || from_string("-", parsed));
    EXPECT_TRUE(S("-12") == S(-12) && S(std::string("x")) == S(0));
}

template <class T>
constexpr bool computes_in_constant_expressions() {
    T lo{}, hi{}, q{}, r{};
    math_mul(T(-1), T(-1), lo, hi);
    math_divmod(lo, hi, T(-1), q, r);
    T s{}, rest{};
    math_isqrt(T(1000), s, rest);
    const mp_mont_data<T> M(T(97));
    T number{};
    return q == T(-1) && r == 0 && s == 31 && rest == 39 && math_invmod(T(3), T(7)) == 5 &&
           M.fromMontMod(M.pow(M.toMontMod(T(5)), T(96))) == 1 && from_string("0x7b", number) && number == 123 &&
           ((T(1) << (T::bits - 1)) >> (T::bits - 1)) == 1 &&
           static_cast<double>(T(3) << 70) == 3.0 * 1180591620717411303424.0;
}
// One by one: clang++ limits the steps of one expression, and contracts make it longer.
static_assert(computes_in_constant_expressions<uintx_t<128>>());
static_assert(computes_in_constant_expressions<uintx_t<256>>());
static_assert(computes_in_constant_expressions<uintx_t<512>>());
static_assert(computes_in_constant_expressions<uintx_t<1024>>());

template <class T>
constexpr bool never_throws = noexcept(T(1) + T(1)) && noexcept(T(1) * T(1)) && noexcept(T(1) / T(1)) &&
                              noexcept(T(1) << 1) && noexcept(T("1")) && noexcept(math_invmod(T(1), T(1))) &&
                              noexcept(mp_mont_data<T>(T(3))) && std::is_nothrow_default_constructible_v<T>;
static_assert(never_throws<uintx_t<128>> && never_throws<uintx_t<1024>>);

static_assert(sizeof(mp_mont_data<uintx_t<1024>>) == 4 * 128 &&
              std::is_trivially_copyable_v<mp_mont_data<uintx_t<1024>>>);
using Context = mp_mont_data<uintx_t<128>>;
static_assert(offsetof(Context, m) == 0 && offsetof(Context, r1) == 16 && offsetof(Context, r2) == 32 &&
              offsetof(Context, mprime) == 48);
using Prepared = fastdiv_data<uintx_t<256>, unsigned long>;
static_assert(offsetof(Prepared, magic) == 0 && offsetof(Prepared, m) == 32 && offsetof(Prepared, s) == 40);

}  // namespace
}  // namespace kesh::test
