/**
 * @file   avx512.cpp
 * @brief  The model's instructions, lane by lane. They are not inline, because kernels unroll their rows and would
 *         become too large.
 */

#include "Shared/kernel/avx512.h"
#include "Shared/intx/level.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace kesh::kernel {
inline namespace model {

namespace {

/** The model stands for the vector instructions; the kernels take those of the level adx from the processor. */
[[maybe_unused]] const bool counted_as_supported = [] {
    if (supported_level() < Level::adx) return false;
    kesh::detail::level_supported = static_cast<int>(Level::ifma);
    return true;
}();

[[noreturn]] void stop(const char* instruction, const char* what, umint a, umint b) noexcept {
    std::fprintf(stderr, "%s %s: 0x%lx, 0x%lx\n", instruction, what, a, b);
    std::abort();
}

umint checked_sum(const char* instruction, umint a, umint b) noexcept {
    umint sum;
    if (__builtin_add_overflow(a, b, &sum)) stop(instruction, "overflows", a, b);
    return sum;
}

umint checked_difference(const char* instruction, umint a, umint b) noexcept {
    if (a < b) stop(instruction, "borrows", a, b);
    return a - b;
}

umint2 checked_product(const char* instruction, umint a, umint b) noexcept {
    if (((a | b) >> 52) != 0) stop(instruction, "has an operand above 52 bits", a, b);
    return static_cast<umint2>(a) * b;
}

umint checked_left_shift(const char* instruction, umint a, umint count) noexcept {
    if (count > 63 || (a << count) >> count != a) stop(instruction, "loses bits", a, count);
    return a << count;
}

template <class Register>
void check_aligned(const char* instruction, const void* memory) noexcept {
    const auto address = reinterpret_cast<std::uintptr_t>(memory);
    if (address % sizeof(Register) != 0) stop(instruction, "wants aligned memory", address, sizeof(Register));
}

template <class Register>
constexpr int lane_count = static_cast<int>(sizeof(Register) / sizeof(umint));

/** The register whose lane i is f(i). */
template <class Register, class Function>
Register lanes(Function f) noexcept {
    Register r;
    for (int i = 0; i < lane_count<Register>; ++i) r.lane[i] = f(i);
    return r;
}

/** The mask whose bit i is f(i). */
template <class Register, class Function>
__mmask8 mask_of(Function f) noexcept {
    unsigned mask = 0;
    for (int i = 0; i < lane_count<Register>; ++i) mask |= (f(i) ? 1U : 0U) << i;
    return static_cast<__mmask8>(mask);
}

umint right_shift(umint a, umint count) noexcept {
    return count > 63 ? 0 : a >> count;
}

template <class Register>
Register load(const void* memory) noexcept {
    check_aligned<Register>("load", memory);
    Register r;
    std::memcpy(&r, memory, sizeof r);
    return r;
}

template <class Register>
void store(void* memory, const Register& a) noexcept {
    check_aligned<Register>("store", memory);
    std::memcpy(memory, &a, sizeof a);
}

template <class Register>
Register all(umint a) noexcept {
    return lanes<Register>([&](int) { return a; });
}

template <class Register>
Register blend(__mmask8 mask, const Register& a, const Register& b) noexcept {
    return lanes<Register>([&](int i) { return ((mask >> i) & 1) != 0 ? b.lane[i] : a.lane[i]; });
}

template <class Register>
Register align(const Register& high, const Register& low, int count) noexcept {
    constexpr int n = lane_count<Register>;
    return lanes<Register>([&](int i) { return i + count < n ? low.lane[i + count] : high.lane[i + count - n]; });
}

template <class Register>
Register bit_and(const Register& a, const Register& b) noexcept {
    return lanes<Register>([&](int i) { return a.lane[i] & b.lane[i]; });
}

template <class Register>
Register bit_or(const Register& a, const Register& b) noexcept {
    return lanes<Register>([&](int i) { return a.lane[i] | b.lane[i]; });
}

/** Lanes outside of the mask become 0. */
template <class Register>
Register shifted_right(__mmask8 mask, const Register& a, unsigned count) noexcept {
    return lanes<Register>([&](int i) { return ((mask >> i) & 1) != 0 ? a.lane[i] >> count : 0; });
}

template <class Register>
Register shifted_left(const char* instruction, const Register& a, umint count) noexcept {
    return lanes<Register>([&](int i) { return checked_left_shift(instruction, a.lane[i], count); });
}

template <class Register>
__mmask8 greater(const Register& a, const Register& b) noexcept {
    return mask_of<Register>([&](int i) { return a.lane[i] > b.lane[i]; });
}

template <class Register>
Register sum(const Register& a, const Register& b) noexcept {
    return lanes<Register>([&](int i) { return checked_sum("add", a.lane[i], b.lane[i]); });
}

template <class Register>
Register multiply_add_low(const Register& acc, const Register& a, const Register& b) noexcept {
    return lanes<Register>([&](int i) {
        const umint2 product = checked_product("madd52lo", a.lane[i], b.lane[i]);
        return checked_sum("madd52lo", acc.lane[i], static_cast<umint>(product) << 12 >> 12);
    });
}

template <class Register>
Register multiply_add_high(const Register& acc, const Register& a, const Register& b) noexcept {
    return lanes<Register>([&](int i) {
        const umint2 product = checked_product("madd52hi", a.lane[i], b.lane[i]);
        return checked_sum("madd52hi", acc.lane[i], static_cast<umint>(product >> 52));
    });
}

template <class Register>
Register low_bits(const Register& a) noexcept {
    return lanes<Register>([&](int i) { return a.lane[i] << 12 >> 12; });
}

}  // namespace

__m512i _mm512_load_si512(const void* memory) noexcept {
    return load<__m512i>(memory);
}

void _mm512_store_si512(void* memory, const __m512i& a) noexcept {
    store(memory, a);
}

__m512i _mm512_setzero_si512() noexcept {
    return {};
}

__m512i _mm512_set1_epi64(long long a) noexcept {
    return all<__m512i>(static_cast<umint>(a));
}

__m128i _mm_cvtsi64_si128(long long a) noexcept {
    return {{static_cast<umint>(a), 0}};
}

__m128i _mm512_castsi512_si128(const __m512i& a) noexcept {
    return {{a.lane[0], a.lane[1]}};
}

__m512i _mm512_broadcastq_epi64(const __m128i& a) noexcept {
    return all<__m512i>(a.lane[0]);
}

__m512i _mm512_mask_blend_epi64(__mmask8 mask, const __m512i& a, const __m512i& b) noexcept {
    return blend(mask, a, b);
}

__m512i _mm512_alignr_epi64(const __m512i& high, const __m512i& low, int count) noexcept {
    return align(high, low, count);
}

__m512i _mm512_and_si512(const __m512i& a, const __m512i& b) noexcept {
    return bit_and(a, b);
}

__m512i _mm512_or_si512(const __m512i& a, const __m512i& b) noexcept {
    return bit_or(a, b);
}

__m512i _mm512_xor_si512(const __m512i& a, const __m512i& b) noexcept {
    return lanes<__m512i>([&](int i) { return a.lane[i] ^ b.lane[i]; });
}

__m512i _mm512_srli_epi64(const __m512i& a, unsigned count) noexcept {
    return shifted_right(0xFF, a, count);
}

__m512i _mm512_maskz_srli_epi64(__mmask8 mask, const __m512i& a, unsigned count) noexcept {
    return shifted_right(mask, a, count);
}

__m512i _mm512_srl_epi64(const __m512i& a, const __m128i& count) noexcept {
    return lanes<__m512i>([&](int i) { return right_shift(a.lane[i], count.lane[0]); });
}

__m512i _mm512_srlv_epi64(const __m512i& a, const __m512i& count) noexcept {
    return lanes<__m512i>([&](int i) { return right_shift(a.lane[i], count.lane[i]); });
}

__m512i _mm512_slli_epi64(const __m512i& a, unsigned count) noexcept {
    return shifted_left("slli", a, count);
}

__m512i _mm512_sllv_epi64(const __m512i& a, const __m512i& count) noexcept {
    return lanes<__m512i>([&](int i) { return checked_left_shift("sllv", a.lane[i], count.lane[i]); });
}

__m512i _mm512_sll_epi64(const __m512i& a, const __m128i& count) noexcept {
    return shifted_left("sll", a, count.lane[0]);
}

__mmask8 _mm512_cmpgt_epu64_mask(const __m512i& a, const __m512i& b) noexcept {
    return greater(a, b);
}

__mmask8 _mm512_cmpeq_epi64_mask(const __m512i& a, const __m512i& b) noexcept {
    return mask_of<__m512i>([&](int i) { return a.lane[i] == b.lane[i]; });
}

__mmask8 _mm512_test_epi64_mask(const __m512i& a, const __m512i& b) noexcept {
    return mask_of<__m512i>([&](int i) { return (a.lane[i] & b.lane[i]) != 0; });
}

__m512i _mm512_add_epi64(const __m512i& a, const __m512i& b) noexcept {
    return sum(a, b);
}

__m512i _mm512_sub_epi64(const __m512i& a, const __m512i& b) noexcept {
    return lanes<__m512i>([&](int i) { return checked_difference("sub", a.lane[i], b.lane[i]); });
}

__m512i _mm512_mullo_epi64(const __m512i& a, const __m512i& b) noexcept {
    return lanes<__m512i>([&](int i) { return a.lane[i] * b.lane[i]; });
}

__m512i _mm512_madd52lo_epu64(const __m512i& acc, const __m512i& a, const __m512i& b) noexcept {
    return multiply_add_low(acc, a, b);
}

__m512i _mm512_madd52hi_epu64(const __m512i& acc, const __m512i& a, const __m512i& b) noexcept {
    return multiply_add_high(acc, a, b);
}

__m512i low_52_bits(const __m512i& a) noexcept {
    return low_bits(a);
}

__m256i _mm256_load_si256(const __m256i* memory) noexcept {
    return load<__m256i>(memory);
}

void _mm256_store_si256(__m256i* memory, const __m256i& a) noexcept {
    store(memory, a);
}

__m256i _mm256_setzero_si256() noexcept {
    return {};
}

__m256i _mm256_set1_epi64x(long long a) noexcept {
    return all<__m256i>(static_cast<umint>(a));
}

__m128i _mm256_castsi256_si128(const __m256i& a) noexcept {
    return {{a.lane[0], a.lane[1]}};
}

__m256i _mm512_castsi512_si256(const __m512i& a) noexcept {
    return lanes<__m256i>([&](int i) { return a.lane[i]; });
}

__m512i _mm512_zextsi256_si512(const __m256i& a) noexcept {
    return lanes<__m512i>([&](int i) { return i < 4 ? a.lane[i] : 0; });
}

__m256i _mm256_broadcastq_epi64(const __m128i& a) noexcept {
    return all<__m256i>(a.lane[0]);
}

__m256i _mm256_mask_blend_epi64(__mmask8 mask, const __m256i& a, const __m256i& b) noexcept {
    return blend(mask, a, b);
}

__m256i _mm256_alignr_epi64(const __m256i& high, const __m256i& low, int count) noexcept {
    return align(high, low, count);
}

__m256i _mm256_and_si256(const __m256i& a, const __m256i& b) noexcept {
    return bit_and(a, b);
}

__m256i _mm256_or_si256(const __m256i& a, const __m256i& b) noexcept {
    return bit_or(a, b);
}

__m256i _mm256_srli_epi64(const __m256i& a, unsigned count) noexcept {
    return shifted_right(0xFF, a, count);
}

__m256i _mm256_maskz_srli_epi64(__mmask8 mask, const __m256i& a, unsigned count) noexcept {
    return shifted_right(mask, a, count);
}

__m256i _mm256_sll_epi64(const __m256i& a, const __m128i& count) noexcept {
    return shifted_left("sll", a, count.lane[0]);
}

__mmask8 _mm256_cmpgt_epu64_mask(const __m256i& a, const __m256i& b) noexcept {
    return greater(a, b);
}

__m256i _mm256_add_epi64(const __m256i& a, const __m256i& b) noexcept {
    return sum(a, b);
}

__m256i _mm256_madd52lo_epu64(const __m256i& acc, const __m256i& a, const __m256i& b) noexcept {
    return multiply_add_low(acc, a, b);
}

__m256i _mm256_madd52hi_epu64(const __m256i& acc, const __m256i& a, const __m256i& b) noexcept {
    return multiply_add_high(acc, a, b);
}

__m256i low_52_bits(const __m256i& a) noexcept {
    return low_bits(a);
}

}  // namespace model
}  // namespace kesh::kernel
