/**
 * @file   memory_test.cpp
 * @brief  The memory that a list of primes takes, 4 bytes per prime for the collection and 8 for the host's tensor; and
 *         the memory for a neighbour of a large number.
 *
 * The program replaces operator new for the whole process, the library included, and records the peak. It is a separate
 * program so that the allocations of other tests are not counted.
 */
#include <gtest/gtest.h>
#include <malloc.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <vector>

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
    ASSERT_EQ(call.tensor->data().size(), 5'761'455u);
    const double bytes_per_prime = static_cast<double>(peak - before) / 5'761'455;
    RecordProperty("bytes_per_prime", std::to_string(bytes_per_prime));
    std::printf("peak: %.3f bytes a prime\n", bytes_per_prime);
    // The reserve is an upper estimate of the count, and the sieve's buffers take well below a byte per prime.
    EXPECT_GE(bytes_per_prime, 12.0) << "the library's allocations were not seen";
    EXPECT_LE(bytes_per_prime, 12.6);
    EXPECT_LE(in_use - before, 8u * 5'761'455 + 65536) << "only the tensor outlives the call";
}

/** The largest resident size, in megabytes, of a copy of this process that runs the function. */
template <typename Function>
double resident_megabytes(Function function) {
    const pid_t child = fork();
    if (child == 0) _exit(function());
    int status = -1;
    rusage usage{};
    EXPECT_EQ(wait4(child, &status, 0, &usage), child);
    EXPECT_EQ(status, 0);
    return static_cast<double>(usage.ru_maxrss) / 1000;
}

TEST(NeighbourMemory, AFewPrimesNeedNoSieveOfTheWholeRoot) {
    kesh::test::TestHost::instance();
    constexpr mint n18 = 1'000'000'000'000'000'000;
    struct Call {
        const char* name;
        std::vector<mint> arguments;
    };
    const double idle = resident_megabytes([] { return 0; });
    for (const Call& call :
         {Call{"PrimeSieve_PreviousPrime", {-1}}, Call{"PrimeSieve_PreviousPrime", {n18}},
          Call{"PrimeSieve_NextPrime", {n18}}, Call{"PrimeSieve_PreviousKthPrime", {n18, 1000}},
          Call{"PrimeSieve_NextKthPrime", {n18, 1000}}, Call{"PrimeSieve_PrimeSumInterval", {n18, n18 + 2000}}}) {
        const double megabytes =
            resident_megabytes([&] { return kesh::test::call_integer(call.name, call.arguments).code; }) - idle;
        std::printf("%s(%llu): %.1f MB\n", call.name, static_cast<unsigned long long>(call.arguments[0]), megabytes);
        EXPECT_LT(megabytes, 36) << call.name;
    }
}

}  // namespace
