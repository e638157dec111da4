/**
 * @file   wide_batch.cpp
 * @brief  Keeps numbers in queues by their size, and tests a queue in the lanes when it is full.
 */
#include "Prime/wide_batch.h"

#include <algorithm>
#include <cassert>
#include <cstdlib>

#include "Prime/prime_testing.h"
#include "Shared/kernel/narrow_lanes.h"

namespace kesh {
namespace {

/** Calls body(n) with the value at the narrowest width that holds it. */
template <class Body>
auto at_its_width(const kernel::LaneNumber& number, Body body) {
    const auto with = [&]<int bits>(std::integral_constant<int, bits>) {
        uintx_t<bits> n(0);
        intx_from_array(n, number.limbs, number.size);
        return body(n);
    };
    if (number.size <= 2) return with(std::integral_constant<int, 128>());
    if (number.size <= 4) return with(std::integral_constant<int, 256>());
    if (number.size <= 8) return with(std::integral_constant<int, 512>());
    return with(std::integral_constant<int, 1024>());
}

/** The test of a number that trial division has passed. */
bool prime_alone(const kernel::LaneNumber& number) {
    return at_its_width(number, []<class T>(const T& n) {
        const KernelSteps<T> steps(n);
        return steps.passes_base_2() && steps.passes_lucas();
    });
}

bool passes_lucas_alone(const kernel::LaneNumber& number, mint q) {
    return at_its_width(number, [q]<class T>(const T& n) { return KernelSteps<T>(n).passes_lucas(q); });
}

/** Q of Selfridge's parameters, or 0 if their search proves the number composite. */
mint lucas_q(const kernel::LaneNumber& number) {
    return at_its_width(number, []<class T>(const T& n) -> mint {
        mint D, P, Q;
        return KernelSteps<T>::parameters(n, D, P, Q) != 0 ? Q : 0;
    });
}

/** Trial division goes to 541, so a smaller |Q| has no factor in common with the number. */
bool fits_lucas_lane(mint q) {
    return std::abs(q) <= 541;
}

}  // namespace

mint WideBatch::side_by_side(mint size, bool first_only) {
    const Level level = kesh::level();
    if (!kernel::has_lanes(level)) return size == 2 ? static_cast<mint>(kernel::narrow_lanes) : 1;
    if (first_only) return static_cast<mint>(kernel::vector_lanes(level));
    return static_cast<mint>(kernel::lanes_to_base_2(level, kernel::lane_size(level, 64 * static_cast<int>(size))));
}

void WideBatch::add(const umint* limbs, mint size, std::uint8_t* verdict, bool divided) {
    const kernel::LaneNumber number{limbs, static_cast<int>(size)};
    assert(2 <= size && size <= 16 && limbs[size - 1] != 0 && *verdict == 0);
    if (!divided && (limbs[0] % 2 == 0 || kernel::has_small_factor({limbs, static_cast<std::size_t>(size)}))) return;
    if (vectors_ ? !kernel::fits_a_lane(limbs[0]) : size != 2) {
        *verdict = prime_alone(number) ? 1 : 0;
        return;
    }
    const int bits = 64 * (number.size - 1) + static_cast<int>(math_num_bits(limbs[size - 1]));
    wait_for_base_2({number, verdict, 0}, vectors_ ? kernel::lane_size(level_, bits) : number.size);
}

void WideBatch::wait_for_base_2(const Waiting& candidate, int size) {
    Queue& queue = base_2_[static_cast<std::size_t>(size)];
    queue.waiting[queue.count++] = candidate;
    if (queue.count == most_to_base_2(size)) test_base_2(queue, size);
}

void WideBatch::wait_for_lucas(const Waiting& candidate, int size) {
    Queue& queue = lucas_[static_cast<std::size_t>(size)];
    queue.waiting[queue.count++] = candidate;
    if (queue.count == most_in_lucas(size)) test_lucas(queue, size);
}

void WideBatch::test_base_2(Queue& queue, int size) {
    const std::size_t count = queue.count;
    if (count <= alone_to_base_2(size)) {
        queue.count = 0;
        for (std::size_t c = 0; c < count; ++c) {
            std::uint8_t& verdict = *queue.waiting[c].verdict;
            verdict = prime_alone(queue.waiting[c].number) ? 1 : 0;
            if (first_only_ && verdict != 0) return;
        }
        return;
    }
    const unsigned passed = passing_base_2(queue, size);
    queue.count = 0;
    for (std::size_t c = 0; c < count; ++c) {
        if ((passed >> c & 1) == 0) continue;
        Waiting& candidate = queue.waiting[c];
        candidate.q = lucas_q(candidate.number);
        if (candidate.q == 0) continue;
        if (!first_only_ && most_in_lucas(size) > 1 && fits_lucas_lane(candidate.q)) {
            wait_for_lucas(candidate, size);
        } else {
            *candidate.verdict = passes_lucas_alone(candidate.number, candidate.q) ? 1 : 0;
            if (first_only_ && *candidate.verdict != 0) return;
        }
    }
}

void WideBatch::test_lucas(Queue& queue, int size) {
    const std::size_t count = queue.count;
    if (count <= alone_in_lucas(size)) {
        for (std::size_t c = 0; c < count; ++c)
            *queue.waiting[c].verdict = passes_lucas_alone(queue.waiting[c].number, queue.waiting[c].q) ? 1 : 0;
        queue.count = 0;
        return;
    }
    const unsigned passed = passing_lucas(queue, size);
    for (std::size_t c = 0; c < count; ++c) *queue.waiting[c].verdict = static_cast<std::uint8_t>(passed >> c & 1);
    queue.count = 0;
}

namespace {

/** f(w) for the numbers that wait, and that of the first one in the lanes that are free. */
template <class Group, class Queue, class F>
Group group_of(const Queue& queue, F f) {
    Group group;
    for (std::size_t c = 0; c < group.size(); ++c) group[c] = f(queue.waiting[c < queue.count ? c : 0]);
    return group;
}

}  // namespace

unsigned WideBatch::passing_base_2(const Queue& queue, int size) const {
    if (vectors_) {
        const auto numbers = group_of<kernel::LaneGroup>(queue, [](const Waiting& w) { return w.number; });
        return kernel::strong_base2_in_lanes(level_, numbers, size, queue.count);
    }
    return kernel::strong_base2_narrow(
        group_of<kernel::NarrowGroup>(queue, [](const Waiting& w) { return w.number.limbs; }));
}

unsigned WideBatch::passing_lucas(const Queue& queue, int size) const {
    const auto q_of = [](const Waiting& w) { return w.q; };
    if (vectors_) {
        const auto numbers = group_of<kernel::LaneGroup>(queue, [](const Waiting& w) { return w.number; });
        const auto q = group_of<kernel::LaneParameters>(queue, q_of);
        return kernel::lucas_u_vanishes_in_lanes(level_, numbers, q, size, queue.count);
    }
    return kernel::lucas_u_vanishes_narrow(
        group_of<kernel::NarrowGroup>(queue, [](const Waiting& w) { return w.number.limbs; }),
        group_of<std::array<mint, kernel::narrow_lanes>>(queue, q_of));
}

std::size_t WideBatch::most_to_base_2(int size) const {
    return vectors_ ? kernel::lanes_to_base_2(level_, size) : kernel::narrow_lanes;
}

std::size_t WideBatch::most_in_lucas(int size) const {
    return vectors_ ? kernel::lanes_in_lucas(level_, size) : kernel::narrow_lanes;
}

// Measured as a number of single tests that take as long as the lanes. With AVX2, where four lanes are the least: to
// base 2 1.9 and 2.0 at 3 and 4 limbs, 2.2 to 2.7 at the other sizes up to 10, and 3.0 to 3.7 above; Lucas's test 1.6
// to 1.9 up to 4 limbs, and 3.0 to 3.4 above. With AVX-512 IFMA, in KESH_ArePrime, to base 2 1.6 to 1.9 up to 5 digits,
// 2.6 with 8, 2.9 with 10, 4.0 with 13, 4.5 with 15 and 5.4 with 20; Lucas's test 1.5 to 2.2 up to 5 digits, 5.2 with
// 8, 4.9 with 10, 5.7 with 13, 6.6 with 15 and 6.8 with 20.

std::size_t WideBatch::alone_to_base_2(int size) const {
    if (!vectors_) return 1;
    if (level_ == Level::adx) return size == 3 || size == 4 ? 1 : size <= 10 ? 2 : 3;
    return static_cast<std::size_t>(size < 7 ? 1 : (size + 1) / 4);
}

std::size_t WideBatch::alone_in_lucas(int size) const {
    if (!vectors_) return 1;
    if (level_ == Level::adx) return size <= 4 ? 1 : 3;
    return static_cast<std::size_t>(size < 7 ? 1 : 4 + (size - 6) / 6);
}

void WideBatch::fill(Queues& queues, int size, std::size_t most, std::size_t alone) const {
    if (!vectors_) return;
    // What the numbers would take alone, if the time grows with the square of their size.
    const auto largest = static_cast<std::size_t>(size);
    std::size_t time = 0, free = most;
    for (std::size_t smaller = largest + 1; smaller-- > 0;) {
        const std::size_t count = std::min(free, queues[smaller].count);
        time += count * smaller * smaller;
        free -= count;
    }
    if (time <= alone * largest * largest) return;
    Queue& queue = queues[largest];
    for (std::size_t smaller = largest; smaller-- > 0;) {
        Queue& from = queues[smaller];
        assert(!first_only_ || from.count == 0);  // their order would be lost
        while (from.count > 0 && queue.count < most) queue.waiting[queue.count++] = from.waiting[--from.count];
    }
}

void WideBatch::finish() {
    for (int size = kernel::most_lane_size; size >= kernel::least_lane_size; --size) {
        Queue& queue = base_2_[static_cast<std::size_t>(size)];
        if (queue.count == 0) continue;
        fill(base_2_, size, most_to_base_2(size), alone_to_base_2(size));
        test_base_2(queue, size);
    }
    for (int size = kernel::most_lane_size; size >= kernel::least_lane_size; --size) {
        Queue& queue = lucas_[static_cast<std::size_t>(size)];
        if (queue.count == 0) continue;
        fill(lucas_, size, most_in_lucas(size), alone_in_lucas(size));
        test_lucas(queue, size);
    }
}

}  // namespace kesh
