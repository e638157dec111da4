/**
 * @file   avx2.cpp
 * @brief  The instructions of the model of AVX2, lane by lane.
 */

#include "Shared/kernel/avx2.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace kesh::kernel::avx2_form {
inline namespace model {

namespace {

[[noreturn]] void stop(const char* what, umint a, umint b) noexcept {
    std::fprintf(stderr, "%s: 0x%lx, 0x%lx\n", what, a, b);
    std::abort();
}

/** The vector whose lane i is f(i). */
template <class Function>
Vector lanes(Function f) noexcept {
    Vector r;
    for (int i = 0; i < 4; ++i) r.lane[i] = f(i);
    return r;
}

void check_alignment(const char* what, const umint* memory) noexcept {
    const auto address = reinterpret_cast<std::uintptr_t>(memory);
    if (address % sizeof(Vector) != 0) stop(what, address, sizeof(Vector));
}

}  // namespace

Vector all_lanes(umint value) noexcept {
    return lanes([&](int) { return value; });
}

Vector load(const umint* memory) noexcept {
    check_alignment("load wants aligned memory", memory);
    Vector r;
    std::memcpy(&r, memory, sizeof r);
    return r;
}

void store(umint* memory, const Vector& a) noexcept {
    check_alignment("store wants aligned memory", memory);
    std::memcpy(memory, &a, sizeof a);
}

Vector lowest_lane(const Vector& a) noexcept {
    return all_lanes(a.lane[0]);
}

Vector lanes_down(const Vector& a) noexcept {
    return lanes([&](int i) { return i < 3 ? a.lane[i + 1] : 0; });
}

Vector lanes_up(const Vector& a) noexcept {
    if (a.lane[3] != 0) stop("the highest lane is lost", a.lane[3], 0);
    return lanes([&](int i) { return i > 0 ? a.lane[i - 1] : 0; });
}

Vector sum(const Vector& a, const Vector& b) noexcept {
    return lanes([&](int i) {
        umint sum;
        if (__builtin_add_overflow(a.lane[i], b.lane[i], &sum)) stop("a sum overflows", a.lane[i], b.lane[i]);
        return sum;
    });
}

Vector difference(const Vector& a, const Vector& b) noexcept {
    return lanes([&](int i) {
        if (a.lane[i] < b.lane[i]) stop("a difference borrows", a.lane[i], b.lane[i]);
        return a.lane[i] - b.lane[i];
    });
}

Vector bit_and(const Vector& a, const Vector& b) noexcept {
    return lanes([&](int i) { return a.lane[i] & b.lane[i]; });
}

Vector bit_xor(const Vector& a, const Vector& b) noexcept {
    return lanes([&](int i) { return a.lane[i] ^ b.lane[i]; });
}

Vector shifted_right(const Vector& a, int count) noexcept {
    return lanes([&](int i) { return a.lane[i] >> count; });
}

Vector shifted_left(const Vector& a, int count) noexcept {
    return lanes([&](int i) { return a.lane[i] << count; });
}

Vector power_of_2(const Vector& s) noexcept {
    return lanes([&](int i) {
        if (s.lane[i] > 63) stop("a power of 2 does not fit", s.lane[i], 63);
        return umint{1} << s.lane[i];
    });
}

Mask equal_lanes(const Vector& a, const Vector& b) noexcept {
    return lanes([&](int i) { return a.lane[i] == b.lane[i] ? ~umint{0} : 0; });
}

unsigned bits_of_mask(const Mask& mask) noexcept {
    unsigned bits = 0;
    for (int i = 0; i < 4; ++i) bits |= static_cast<unsigned>(mask.lane[i] >> 63) << i;
    return bits;
}

Vector select(const Mask& mask, const Vector& a, const Vector& b) noexcept {
    return lanes([&](int i) { return (mask.lane[i] & a.lane[i]) | (~mask.lane[i] & b.lane[i]); });
}

Vector low_32_bits(const Vector& a) noexcept {
    return lanes([&](int i) { return a.lane[i] & 0xFFFF'FFFF; });
}

Vector product(const Vector& a, const Vector& b) noexcept {
    return lanes([&](int i) {
        if (((a.lane[i] | b.lane[i]) >> 32) != 0) stop("a factor has more than 32 bits", a.lane[i], b.lane[i]);
        return a.lane[i] * b.lane[i];
    });
}

}  // namespace model
}  // namespace kesh::kernel::avx2_form
