/**
 * @file   model_test.cpp
 * @brief  The model of the vector instructions ends the program when a lane overflows.
 */

#include <gtest/gtest.h>

#include "Shared/kernel/avx512.h"

namespace kesh::kernel {
namespace {

constexpr long long above_52_bits = 1LL << 52;

const __m512i one = _mm512_set1_epi64(1), all_ones = _mm512_set1_epi64(-1);

TEST(Model, MultiplyAddsWantOperandsOf52Bits) {
    const __m512i wide = _mm512_set1_epi64(above_52_bits);
    EXPECT_DEATH(_mm512_madd52lo_epu64(one, wide, one), "madd52lo has an operand above 52 bits");
    EXPECT_DEATH(_mm512_madd52hi_epu64(one, one, wide), "madd52hi has an operand above 52 bits");
    EXPECT_EQ(_mm512_madd52lo_epu64(one, low_52_bits(wide), one).lane[7], 1U);
}

TEST(Model, SumsAndShiftsKeepEveryBit) {
    EXPECT_DEATH(_mm512_add_epi64(all_ones, one), "add overflows");
    EXPECT_DEATH(_mm512_madd52lo_epu64(all_ones, one, one), "madd52lo overflows");
    const __m512i digit = _mm512_set1_epi64(above_52_bits - 1);
    EXPECT_DEATH(_mm512_madd52hi_epu64(all_ones, digit, digit), "madd52hi overflows");
    EXPECT_DEATH(_mm512_sll_epi64(all_ones, _mm_cvtsi64_si128(1)), "sll loses bits");
    EXPECT_DEATH(_mm512_slli_epi64(all_ones, 1), "slli loses bits");
    EXPECT_DEATH(_mm512_sllv_epi64(all_ones, one), "sllv loses bits");
    EXPECT_DEATH(_mm512_sub_epi64(one, all_ones), "sub borrows");
}

TEST(Model, MemoryIsAligned) {
    alignas(64) umint memory[16] = {};
    _mm512_store_si512(memory + 8, one);
    EXPECT_EQ(_mm512_load_si512(memory + 8).lane[7], 1U);
    EXPECT_DEATH(_mm512_load_si512(memory + 1), "load wants aligned memory");
    EXPECT_DEATH(_mm512_store_si512(memory + 1, one), "store wants aligned memory");
}

}  // namespace
}  // namespace kesh::kernel
