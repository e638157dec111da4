/**
 * @file   bucket_walk.cpp
 * @brief  The walk through a block of buckets: the least step into an interval, and the moves inside of it.
 */
#include "bucket_walk.h"

namespace prime_tables {

std::optional<u64> first_in_range(u64 a, u64 modulus, u64 low, u64 high) {
    if (low == 0) return 0;
    a %= modulus;
    if (a == 0) return std::nullopt;
    if (2 * a > modulus) {
        const u64 old_low = low;
        low = modulus - high;
        high = modulus - old_low;
        a = modulus - a;
    }
    const u64 t = (low + a - 1) / a;
    if (t * a <= high) return t;
    // No multiple of a lies in [low, high]: wait for the first turn whose offset modulo a falls there.
    const auto turns = first_in_range(a - modulus % a, a, low % a, high % a);
    if (!turns) return std::nullopt;
    return (low + modulus * *turns + a - 1) / a;
}

namespace {

constexpr u64 hash_range = u64{1} << 32;

u64 hash_of(u64 n) {
    return static_cast<u32>(n) * hash_multiplier;
}

}  // namespace

BucketWalk::BucketWalk(const BucketBlock& block, u64 first, u64 difference)
    : length_(u64{block.count} << 18),
      step_(hash_of(difference)),
      position_((hash_of(first) + hash_range - (u64{block.first} << 18)) % hash_range) {}

void BucketWalk::advance(u64 steps) {
    member_ += steps;
    position_ = (position_ + steps * step_) % hash_range;
}

std::optional<u64> BucketWalk::next() {
    if (!started_) {
        started_ = true;
        if (position_ >= length_) {
            const auto t =
                first_in_range(step_, hash_range, hash_range - position_, hash_range - position_ + length_ - 1);
            if (!t) return std::nullopt;
            advance(*t);
        }
        return member_;
    }
    if (!up_) {
        // Only steps with a large power of two, or an interval of one whole turn, lack such moves: then every member is
        // tried.
        const Move none{0, 0};
        const auto up = first_in_range(step_, hash_range, 1, length_ - 1);
        const auto down = first_in_range(step_, hash_range, hash_range - length_ + 1, hash_range - 1);
        up_ = up && down ? Move{*up, *up * step_ % hash_range} : none;
        down_ = up && down ? Move{*down, hash_range - *down * step_ % hash_range} : none;
    }
    if (up_->steps == 0) {
        do advance(1);
        while (position_ >= length_);
        return member_;
    }
    const bool can_rise = position_ + up_->distance < length_;
    const bool can_fall = position_ >= down_->distance;
    if (can_rise && (!can_fall || up_->steps < down_->steps)) {
        advance(up_->steps);
    } else {
        advance(can_fall ? down_->steps : up_->steps + down_->steps);
    }
    return member_;
}

}  // namespace prime_tables
