/**
 * @file   memory_test.cpp
 * @brief  What a list of primes costs in memory: 4 bytes a prime for the collection and the host's 8 for the tensor.
 *
 * The program replaces operator new for the whole process, the library included, and records the peak. It is a
 * program of its own so that no other test's allocations are seen.
 */
#include <gtest/gtest.h>
#include <malloc.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <new>

#include "support/test_host.h"

namespace {

std::atomic<size_t> in_use{0};
std::atomic<size_t> peak{0};

void* allocate(size_t size) {
    void* memory = std::malloc(size);
    if (memory == nullptr) throw std::bad_alloc();
    const size_t now = in_use += malloc_usable_size(memory);
    size_t seen = peak;
    while (now > seen && !peak.compare_exchange_weak(seen, now)) {
    }
    return memory;
}

void release(void* memory) {
    if (memory == nullptr) return;
    in_use -= malloc_usable_size(memory);
    std::free(memory);
}

}  // namespace

#define KESH_VISIBLE __attribute__((visibility("default")))
KESH_VISIBLE void* operator new(size_t size) {
    return allocate(size);
}
KESH_VISIBLE void* operator new[](size_t size) {
    return allocate(size);
}
KESH_VISIBLE void operator delete(void* memory) noexcept {
    release(memory);
}
KESH_VISIBLE void operator delete[](void* memory) noexcept {
    release(memory);
}
KESH_VISIBLE void operator delete(void* memory, size_t) noexcept {
    release(memory);
}
KESH_VISIBLE void operator delete[](void* memory, size_t) noexcept {
    release(memory);
}

namespace {

TEST(ListMemory, FourBytesAPrimeBesideTheTensor) {
    kesh::test::TestHost::instance();
    const size_t before = in_use;
    peak = before;
    const auto call = kesh::test::call_tensor("PrimeSieve_ListPrimes", {0, 100'000'000});
    ASSERT_EQ(call.code, LIBRARY_NO_ERROR);
    ASSERT_EQ(call.tensor->data.size(), 5'761'455u);
    const double bytes_per_prime = static_cast<double>(peak - before) / 5'761'455;
    RecordProperty("bytes_per_prime", std::to_string(bytes_per_prime));
    std::printf("peak: %.3f bytes a prime\n", bytes_per_prime);
    // The reserve is an upper estimate of the count and the sieve has buffers of its own, well below a byte a prime.
    EXPECT_GE(bytes_per_prime, 12.0) << "the library's allocations were not seen";
    EXPECT_LE(bytes_per_prime, 12.6);
    EXPECT_LE(in_use - before, 8u * 5'761'455 + 65536) << "only the tensor outlives the call";
}

}  // namespace
