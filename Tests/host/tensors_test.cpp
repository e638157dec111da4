/**
 * @file   tensors_test.cpp
 * @brief  The host's tensors, and the strings it lends.
 */

#include <gtest/gtest.h>

#include <limits>

#include "HostKit/lent_strings.h"
#include "HostKit/tensors.h"

namespace {

using kesh_host::StringStore;
using kesh_host::TensorStore;

TEST(Tensors, LiveUntilReleased) {
    TensorStore store;
    MTensor tensor = store.create(std::vector<mint>{2, 3, 5});
    EXPECT_TRUE(store.lives(tensor));
    EXPECT_EQ(store.living(), 1U);
    EXPECT_EQ(tensor->values[2], 5);
    EXPECT_TRUE(store.release(tensor));
    EXPECT_FALSE(store.release(tensor));
    EXPECT_EQ(store.living(), 0U);
}

TEST(Tensors, CreationRefusesWhatThereIsNot) {
    TensorStore store;
    MTensor tensor = nullptr;
    const mint good[] = {2, 3};
    const mint negative[] = {-1};
    const mint huge[] = {std::numeric_limits<mint>::max(), 2};
    const mint beyond_memory[] = {std::numeric_limits<mint>::max() / 16};
    const mint beyond_addresses[] = {std::numeric_limits<mint>::max() / 4};
    EXPECT_EQ(store.create(3, 1, good, &tensor), LIBRARY_TYPE_ERROR);
    EXPECT_EQ(store.create(MType_Integer, 0, good, &tensor), LIBRARY_RANK_ERROR);
    EXPECT_EQ(store.create(MType_Integer, 1, nullptr, &tensor), LIBRARY_RANK_ERROR);
    EXPECT_EQ(store.create(MType_Integer, 1, negative, &tensor), LIBRARY_DIMENSION_ERROR);
    EXPECT_EQ(store.create(MType_Integer, 2, huge, &tensor), LIBRARY_DIMENSION_ERROR);
    EXPECT_EQ(store.create(MType_Integer, 1, beyond_memory, &tensor), LIBRARY_MEMORY_ERROR);
    EXPECT_EQ(store.create(MType_Integer, 1, beyond_addresses, &tensor), LIBRARY_MEMORY_ERROR);
    EXPECT_EQ(tensor, nullptr);
    EXPECT_EQ(store.create(MType_Integer, 2, good, &tensor), LIBRARY_NO_ERROR);
    EXPECT_EQ(tensor->length, 6);
}

TEST(Tensors, ElementsByPositionFromOne) {
    TensorStore store;
    const mint dimensions[] = {2, 3};
    MTensor tensor = nullptr;
    ASSERT_EQ(store.create(MType_Integer, 2, dimensions, &tensor), LIBRARY_NO_ERROR);
    const mint last[] = {2, 3};
    const mint outside[] = {2, 4};
    const mint zero[] = {0, 1};
    tensor->values[5] = 42;
    mint value = 0;
    EXPECT_EQ(store.get_integer(tensor, last, &value), LIBRARY_NO_ERROR);
    EXPECT_EQ(value, 42);
    EXPECT_EQ(store.get_integer(tensor, outside, &value), LIBRARY_DIMENSION_ERROR);
    EXPECT_EQ(store.get_integer(tensor, zero, &value), LIBRARY_DIMENSION_ERROR);
    EXPECT_EQ(store.get_integer(tensor, last, nullptr), LIBRARY_MEMORY_ERROR);
    EXPECT_EQ(store.get_integer(nullptr, last, &value), LIBRARY_TYPE_ERROR);
}

TEST(LentStrings, ComeBackOnce) {
    StringStore store;
    char* text = store.lend("100");
    EXPECT_STREQ(text, "100");
    EXPECT_EQ(store.lent(), 1U);
    EXPECT_TRUE(store.hand_back(text));
    EXPECT_FALSE(store.hand_back(text));
    EXPECT_EQ(store.lent(), 0U);
}

}  // namespace
