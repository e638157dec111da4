/**
 * @file   model_test.cpp
 * @brief  The model of the vector instructions ends the program when a lane overflows.
 */

#include <gtest/gtest.h>

#include "Shared/intx/level.h"
#include "Shared/kernel/avx2.h"
#include "Shared/kernel/avx512.h"
#include "kernels/repetitions.h"

namespace kesh::kernel {

/** The model is slow. Where the processor has the instructions, kernels_test makes all repetitions with them. */
int repetitions(int usual) {
    return usual / (kesh::detail::detect_level() == Level::ifma ? 12 : 3) + 1;
}

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
    const auto* quarter = reinterpret_cast<const __m256i*>(memory + 2);
    EXPECT_DEATH(_mm256_load_si256(quarter), "load wants aligned memory");
}

TEST(Model, NarrowRegistersAreCheckedToo) {
    const __m256i narrow_one = _mm512_castsi512_si256(one), wide = _mm256_set1_epi64x(above_52_bits);
    EXPECT_DEATH(_mm256_madd52lo_epu64(narrow_one, wide, narrow_one), "madd52lo has an operand above 52 bits");
    EXPECT_DEATH(_mm256_madd52hi_epu64(narrow_one, narrow_one, wide), "madd52hi has an operand above 52 bits");
    EXPECT_EQ(_mm256_madd52lo_epu64(narrow_one, low_52_bits(wide), narrow_one).lane[3], 1U);
    const __m256i ones = _mm512_castsi512_si256(all_ones);
    EXPECT_DEATH(_mm256_add_epi64(ones, narrow_one), "add overflows");
    EXPECT_DEATH(_mm256_sll_epi64(ones, _mm_cvtsi64_si128(1)), "sll loses bits");
    EXPECT_EQ(_mm512_zextsi256_si512(ones).lane[3], ~umint{0});
    EXPECT_EQ(_mm512_zextsi256_si512(ones).lane[4], 0U);
    EXPECT_EQ(_mm256_alignr_epi64(narrow_one, ones, 3).lane[0], ~umint{0});
    EXPECT_EQ(_mm256_alignr_epi64(narrow_one, ones, 3).lane[1], 1U);
}

TEST(Model, FourLanesAreCheckedToo) {
    namespace four = avx2_form;
    const auto one_bit = four::all_lanes(1), wide = four::all_lanes(umint{1} << 32), ones = four::all_lanes(~umint{0});
    EXPECT_DEATH(four::product(wide, one_bit), "a factor has more than 32 bits");
    EXPECT_DEATH(four::product_with(one_bit, &wide), "a factor has more than 32 bits");
    EXPECT_EQ(four::product(four::low_32_bits(ones), one_bit).lane[3], 0xFFFF'FFFF);
    EXPECT_DEATH(four::sum(ones, one_bit), "a sum overflows");
    EXPECT_DEATH(four::difference(one_bit, ones), "a difference borrows");
    EXPECT_DEATH(four::power_of_2(ones), "a power of 2 does not fit");
    alignas(32) umint memory[5] = {};
    EXPECT_DEATH(four::load(memory + 1), "load wants aligned memory");
    EXPECT_DEATH(four::store(memory + 1, ones), "store wants aligned memory");
    EXPECT_DEATH(four::lanes_up(ones), "the highest lane is lost");
    four::store(memory, four::lanes_down(ones));
    EXPECT_EQ(memory[2], ~umint{0});
    EXPECT_EQ(memory[3], 0U);
    EXPECT_EQ(four::lanes_up(four::lanes_down(ones)).lane[0], 0U);
    EXPECT_EQ(four::lanes_up(four::lanes_down(ones)).lane[3], ~umint{0});
}

}  // namespace
}  // namespace kesh::kernel
