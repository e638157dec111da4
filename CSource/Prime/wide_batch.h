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
 * base 2, and if it passes, for the Lucas test; each time it waits for others of the same size in a lane.
 * If the current level has no vector lanes, only numbers of two limbs wait for each other: four of them are tested side
 * by side in general registers.
 */
class WideBatch {
  public:
    WideBatch() = default;

    /**
     * With first_only, *verdict becomes right for the numbers up to the first prime only, in the order in which they
     * were added since the last finish(), and stays 0 for some of the others: the Lucas test ends at that prime.
     * Preconditions, with first_only: the numbers between two calls of finish() have the same bit length, and are at
     * most side_by_side(size, true).
     */
    explicit WideBatch(bool first_only) : first_only_(first_only) {}

    /**
     * The number of integers of `size` limbs that are tested side by side; with first_only, as many as one vector has,
     * because more tests might be wasted.
     */
    [[nodiscard]] static mint side_by_side(mint size, bool first_only);

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

    /** The numbers of one size in a lane that wait for one test; fewer than go side by side. */
    struct Queue {
        std::array<Waiting, kernel::lanes> waiting;
        std::size_t count = 0;
    };

    using Queues = std::array<Queue, kernel::most_lane_size + 1>;  ///< by that size

    /** Puts a number into its queue, and tests the queue when it is full. */
    void wait_for_base_2(const Waiting& candidate, int size);
    void wait_for_lucas(const Waiting& candidate, int size);

    void test_base_2(Queue& queue, int size);
    void test_lucas(Queue& queue, int size);

    /** Bit c is set when number c of the queue passes. */
    [[nodiscard]] unsigned passing_base_2(const Queue& queue, int size) const;
    [[nodiscard]] unsigned passing_lucas(const Queue& queue, int size) const;

    /** The number of integers of a size that go side by side in each test. */
    [[nodiscard]] std::size_t most_to_base_2(int size) const;
    [[nodiscard]] std::size_t most_in_lucas(int size) const;

    /**
     * Up to this many numbers of the size are tested one after another, because the lanes would take longer: they take
     * as long for two numbers as for a vector of them.
     */
    [[nodiscard]] std::size_t alone_to_base_2(int size) const;
    [[nodiscard]] std::size_t alone_in_lucas(int size) const;

    /**
     * Fills the free lanes of the queue with shorter numbers, up to `most`, unless all of them take less time one after
     * another: as long as `alone` numbers of the queue, or less.
     */
    void fill(Queues& queues, int size, std::size_t most, std::size_t alone) const;

    bool first_only_ = false;
    Level level_ = level();
    bool vectors_ = kernel::has_lanes(level_);
    Queues base_2_, lucas_;
};

}  // namespace kesh
