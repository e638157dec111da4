/**
 * @file   leaks_test.cpp
 * @brief  Counts every block of operator new in this process, also the library's: each export leaves behind the
 *         intended number of blocks, which is 0 for all but the counts of decimal strings.
 */
#include <atomic>
#include <cstdlib>
#include <new>

#include "counting/counting.h"
#include "support/threads.h"

namespace {
std::atomic<long> living_blocks{0};

void* counted_or_null(std::size_t size) noexcept {
    void* const block = std::malloc(size);
    if (block != nullptr) ++living_blocks;
    return block;
}

void* counted(std::size_t size) {
    void* const block = counted_or_null(size);
    if (block == nullptr) throw std::bad_alloc();
    return block;
}

void uncounted(void* block) noexcept {
    if (block != nullptr) --living_blocks;
    std::free(block);
}
}  // namespace

// The library finds these before the standard library's. The aligned forms are not replaced: nothing here uses them.
void* operator new(std::size_t size) {
    return counted(size);
}
void* operator new[](std::size_t size) {
    return counted(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return counted_or_null(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return counted_or_null(size);
}
void operator delete(void* block) noexcept {
    uncounted(block);
}
void operator delete[](void* block) noexcept {
    uncounted(block);
}
void operator delete(void* block, std::size_t) noexcept {
    uncounted(block);
}
void operator delete[](void* block, std::size_t) noexcept {
    uncounted(block);
}

namespace kesh::test {
namespace {

constexpr int repetitions = 20;

class Leaks : public testing::Test {
  protected:
    /** The blocks that the calls leave behind, without those that the first calls build once and keep. */
    template <typename Calls>
    long left_by(Calls calls) {
        idle_threads();
        calls();
        quiet();
        const long before = living_blocks;
        for (int i = 0; i < repetitions; ++i) {
            calls();
            host.reset();
        }
        quiet();
        return living_blocks - before;
    }

    /**
     * The number of threads without a task: this one and the helper of its counts. To be called before there is a task.
     */
    static long idle_threads() {
        static const long count = [] {
            call_integer("PrimeCount_SetThreads", {2});
            call_integer("PrimeCount_PrimePi", {power_of_ten(11)});
            return thread_count();
        }();
        return count;
    }

    TestHost& host = TestHost::instance();

  private:
    void quiet() {
        host.reset();
        ASSERT_TRUE(wait_for_threads(idle_threads()));
    }
};

TEST_F(Leaks, TheBlocksOfTheLibraryAreCounted) {
    idle_threads();
    EXPECT_EQ(report_of(submit("PrimeCount_SubmitExprPrimePi", "100")).name, "Result");
    ASSERT_TRUE(wait_for_threads(idle_threads()));
    host.reset();
    const long before = living_blocks;
    EXPECT_EQ(call_string("PrimeCount_ExprPrimePi", "100").code, 0);
    host.reset();
    EXPECT_EQ(living_blocks - before, 1) << "the last result, and nothing else";
}

TEST_F(Leaks, EveryResultOfAStringTaskStays) {
    EXPECT_EQ(left_by([] { EXPECT_EQ(report_of(submit("PrimeCount_SubmitExprPrimePi", "10^10")).name, "Result"); }),
              repetitions);
}

TEST_F(Leaks, AlsoWhenTheHostDoesNotTakeIt) {
    EXPECT_EQ(left_by([this] {
                  host.before("DataStore_addString", [first = std::make_shared<bool>(true)] {
                      if (std::exchange(*first, false)) throw std::runtime_error("no room");
                  });
                  EXPECT_EQ(report_of(submit("PrimeCount_SubmitExprPrimePi", "100")).name, "Error");
              }),
              repetitions);
}

TEST_F(Leaks, FailedAndStoppedStringTasksLeaveNothing) {
    EXPECT_EQ(left_by([] {
                  EXPECT_EQ(report_of(submit("PrimeCount_SubmitExprPrimePi", "no number")).name, "Error");
                  const mint task = submit("PrimeCount_SubmitExprPrimePi", "10^16");
                  ASSERT_TRUE(wait_for_progress(task));
                  stop();
                  EXPECT_EQ(report_of(task).name, "Error");
              }),
              0);
}

TEST_F(Leaks, OneResultOfASynchronousStringCountStays) {
    EXPECT_EQ(left_by([] {
                  EXPECT_EQ(call_string("PrimeCount_ExprPrimePi", "100").code, 0);
                  EXPECT_EQ(call_string("PrimeCount_ExprPrimePi", "10^10").code, 0);
                  EXPECT_EQ(call_string("PrimeCount_ExprPrimePi", "no number").code, LIBRARY_FUNCTION_ERROR);
              }),
              0)
        << "each takes the place of the one before";
}

TEST_F(Leaks, IntegerTasksLeaveNothing) {
    EXPECT_EQ(left_by([] {
                  EXPECT_EQ(report_of(submit("PrimeCount_SubmitPrimePi", power_of_ten(10))).name, "Result");
                  EXPECT_EQ(report_of(submit("PrimeCount_SubmitPrime", 1000)).name, "Result");
                  EXPECT_EQ(report_of(submit("PrimeCount_SubmitPrime", mint{0})).name, "Error");
                  const mint task = submit("PrimeCount_SubmitPrimePi", power_of_ten(16));
                  ASSERT_TRUE(wait_for_progress(task));
                  stop();
                  EXPECT_EQ(report_of(task).name, "Error");
              }),
              0);
}

TEST_F(Leaks, SynchronousCountsLeaveNothing) {
    EXPECT_EQ(left_by([this] {
                  EXPECT_EQ(call_integer("PrimeCount_PrimePi", {power_of_ten(11)}).code, 0);
                  host.abort = 1;
                  EXPECT_EQ(call_integer("PrimeCount_PrimePi", {power_of_ten(15)}).code, LIBRARY_FUNCTION_ERROR);
                  EXPECT_THROW(call_integer("PrimeCount_LMO", {power_of_ten(14)}), std::exception);
                  host.abort = 0;
                  for (const char* name :
                       {"PrimeCount_Prime", "PrimeCount_Meissel", "PrimeCount_DelegliseRivat", "PrimeCount_Legendre",
                        "PrimeCount_Lehmer", "PrimeCount_LMO", "PrimeCount_PrimeSieve"}) {
                      EXPECT_EQ(call_integer(name, {1'000'000}).code, 0) << name;
                  }
                  EXPECT_EQ(call_integer("PrimeCount_Prime", {0}).code, LIBRARY_FUNCTION_ERROR);
                  EXPECT_EQ(call_integer("PrimeCount_Coprime", {1'000'000, 10}).code, 0);
                  EXPECT_EQ(call_integer("PrimeCount_PrimePi", {}).code, LIBRARY_FUNCTION_ERROR);
                  const mint threads = call_integer("PrimeCount_GetThreads", {}).result;
                  EXPECT_EQ(call_integer("PrimeCount_SetThreads", {threads}).result, threads);
              }),
              0);
}

TEST_F(Leaks, SievingLeavesNothing) {
    EXPECT_EQ(left_by([this] {
                  for (const char* name :
                       {"PrimeSieve_CountPrimes", "PrimeSieve_CountTwins", "PrimeSieve_CountTriplets",
                        "PrimeSieve_CountQuadruplets", "PrimeSieve_CountQuintuplets", "PrimeSieve_CountSextuplets",
                        "PrimeSieve_NextKthPrime", "PrimeSieve_PreviousKthPrime", "PrimeSieve_PrimeSumInterval"}) {
                      EXPECT_EQ(call_integer(name, {1000, 100'000}).code, 0) << name;
                      EXPECT_EQ(call_integer(name, {1}).code, LIBRARY_FUNCTION_ERROR) << name;
                  }
                  for (const char* name : {"PrimeSieve_NthPrime", "PrimeSieve_NextPrime", "PrimeSieve_PreviousPrime",
                                           "PrimeSieve_PrimeSum"}) {
                      EXPECT_EQ(call_integer(name, {10'000}).code, 0) << name;
                  }
                  EXPECT_THROW(call_integer("PrimeSieve_NextPrime", {-1}), std::exception);
                  EXPECT_EQ(call_tensor("PrimeSieve_ListPrimes", {0, 10'000}).code, 0);
                  EXPECT_EQ(call_tensor("PrimeSieve_ListNPrimes", {1000}).code, 0);
                  EXPECT_THROW(call_tensor("PrimeSieve_ListNPrimes", {-1}), std::length_error);
                  host.fail("MTensor_new", LIBRARY_MEMORY_ERROR);
                  EXPECT_EQ(call_tensor("PrimeSieve_ListNPrimes", {1000}).code, LIBRARY_MEMORY_ERROR);
                  host.fail("MTensor_new", 0);
              }),
              0);
}

TEST_F(Leaks, PrimalityLeavesNothing) {
    const auto prime_q = Library::instance().get<mbool (*)(const umint*, mint, mbool*)>("KESH_PrimeQ");
    umint limbs[16] = {3, 7, 1};  // reaches every width, because each width has its own preparations
    EXPECT_EQ(left_by([&] {
                  for (const mint length : {1, 2, 3, 4, 8, 16}) {
                      limbs[length - 1] |= 1;
                      mbool answer = 0;
                      EXPECT_EQ(prime_q(limbs, length, &answer), 1);
                  }
                  EXPECT_EQ(call_integer("KESH_RT_PrimeQ", {1}).code, LIBRARY_TYPE_ERROR) << "the host's: no tensor";
              }),
              0);
}

}  // namespace
}  // namespace kesh::test
