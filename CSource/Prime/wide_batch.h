/**
 * @file   wide_batch.h
 * @brief  Numbers of 2^64 and more that wait until as many of about the same size are there as the processor tests side
 *         by side.
 */
#pragma once

#include <array>
#include <cstdint>

#include "Shared/intx/intx_types.h"
#include "Shared/kernel/lanes.h"

namespace kesh {

/**
 * Tests numbers of 2^64 and more, with the verdicts of KESH_PrimeQ. After trial division a number waits for the test to
 * base 2, and one that passes waits for the Lucas test, each time for others that have the same number of digits in a
 * lane. Where the level in force has no lanes, each number is tested when it comes.
 */
class WideBatch {
  public:
    /**
     * Sets *verdict to 1 if the number is prime, now or later; *verdict is 0 before. The highest of its limbs is not
     * zero; they are read until finish() returns. Precondition: 2 <= size <= 16.
     */
    void add(const umint* limbs, mint size, std::uint8_t* verdict);

    /** Tests what is left, in lanes that numbers of different sizes share. */
    void finish();

  private:
    struct Waiting {
        kernel::LaneNumber number;
        std::uint8_t* verdict;
        mint q;  ///< of the Lucas test
    };

    /** The numbers with one number of digits that wait for one test; fewer than there are lanes. */
    struct Queue {
        std::array<Waiting, kernel::lanes> waiting;
        std::size_t count = 0;
    };

    using Queues = std::array<Queue, kernel::most_lane_digits + 1>;  ///< by the number of digits

    /** Puts a number into its queue, and tests the queue when it is full. */
    void wait_for_base_2(const Waiting& candidate, int digits);
    void wait_for_lucas(const Waiting& candidate, int digits);

    void test_base_2(Queue& queue, int digits);
    void test_lucas(Queue& queue, int digits);

    /** Fills the free lanes of the queue with numbers of fewer digits. */
    static void fill(Queues& queues, int digits);

    Queues base_2_, lucas_;
};

}  // namespace kesh
