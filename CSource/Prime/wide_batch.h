/**
 * @file   wide_batch.h
 * @brief  Collects numbers of 2^64 and more until there are as many of about the same size as the processor tests side
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
 * base 2, and if it passes, for the Lucas test; each time it waits for others with the same number of digits in a lane.
 * If the current level has no vector lanes, the numbers that wait for each other have the same number of limbs. Long
 * ones do not wait: one of them alone keeps the processor busy.
 */
class WideBatch {
  public:
    WideBatch() = default;

    /**
     * With first_only, *verdict becomes right for the numbers up to the first prime only, in the order in which they
     * were added since the last finish(), and stays 0 for some of the others: the Lucas test ends at that prime.
     * Preconditions, with first_only: the numbers between two calls of finish() have the same bit length, and are at
     * most side_by_side().
     */
    explicit WideBatch(bool first_only) : first_only_(first_only) {}

    /** The number of integers of `size` limbs that are tested side by side. */
    [[nodiscard]] static mint side_by_side(mint size);

    /**
     * Sets *verdict to 1 if the number is prime, now or later; *verdict is 0 before. The limbs are read until finish()
     * returns. divided says that the number is odd and has no prime factor of trial division. Preconditions:
     * 2 <= size <= 16, and the highest limb is not 0.
     */
    void add(const umint* limbs, mint size, std::uint8_t* verdict, bool divided = false);

    /** Tests the remaining numbers, in lanes that numbers of different sizes share. */
    void finish();

  private:
    struct Waiting {
        kernel::LaneNumber number;
        std::uint8_t* verdict;
        mint q;  ///< the parameter Q of the Lucas test
    };

    /** The numbers of one length in digits, or in limbs, that wait for one test; fewer than go side by side. */
    struct Queue {
        std::array<Waiting, kernel::lanes> waiting;
        std::size_t count = 0;
    };

    using Queues = std::array<Queue, kernel::most_lane_digits + 1>;  ///< by that length

    /** Puts a number into its queue, and tests the queue when it is full. */
    void wait_for_base_2(const Waiting& candidate, int digits);
    void wait_for_lucas(const Waiting& candidate, int digits);

    void test_base_2(Queue& queue, int digits);
    void test_lucas(Queue& queue, int digits);

    /** Bit c is set when number c of the queue passes. */
    [[nodiscard]] unsigned passing_base_2(const Queue& queue, int digits) const;
    [[nodiscard]] unsigned passing_lucas(const Queue& queue, int digits) const;

    /** The number of integers that fill the queue of this one. */
    static std::size_t full(const Waiting& candidate);

    /**
     * Fills the free lanes of the queue with numbers of fewer digits, unless all of them take less time one after
     * another: as long as `alone` numbers of the queue, or less.
     */
    void fill(Queues& queues, int digits, std::size_t alone) const;

    bool first_only_ = false;
    bool vectors_ = kernel::has_lanes();
    Queues base_2_, lucas_;
};

}  // namespace kesh
