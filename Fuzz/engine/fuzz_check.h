/**
 * @file   fuzz_check.h
 * @brief  Runs one family's differential check on operands taken from the fuzzer's bytes.
 *
 * The first byte selects the width and the level; the others fill the operands in the order of their declaration,
 * followed by zeros.
 */
#pragma once

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "show.h"
#include "support/agreement.h"

namespace kesh::fuzz {

template <engine_word T, class Check>
void check_at(const char* name, const std::uint8_t* data, std::size_t size, Check check) {
    using test::Operands;
    static_assert(std::is_trivially_copyable_v<Operands<T>>);
    Operands<T> s{};
    std::memset(static_cast<void*>(&s), 0, sizeof s);
    std::memcpy(static_cast<void*>(&s), data, std::min(size, sizeof s));
    s.count %= width_v<T> + 2;
    s.carry &= 1;
    using test::as_mpz;
    if (showing())
        show(name, " at ", width_v<T>, " bits, a = ", as_mpz(s.a), ", b = ", as_mpz(s.b), ", c = ", as_mpz(s.c),
             ", d = ", as_mpz(s.d), ", limb = ", s.limb, ", count = ", s.count, ", carry = ", int{s.carry});
    const test::Verdict v = check(s);
    if (!v.empty()) {
        std::fprintf(stderr, "%s\n", v.c_str());
        std::abort();
    }
}

/** `check` is called with Operands<T> of the chosen width, from 128 bits on. */
template <class Check>
int run(const char* name, const std::uint8_t* data, std::size_t size, Check check) {
    if (size == 0) return 0;
    const std::uint8_t* const rest = data + 1;
    force((data[0] & 4) == 0 ? supported_level() : Level::portable);
    switch (data[0] % 4) {
        case 0:
            check_at<uintx_t<128>>(name, rest, size - 1, check);
            break;
        case 1:
            check_at<uintx_t<256>>(name, rest, size - 1, check);
            break;
        case 2:
            check_at<uintx_t<512>>(name, rest, size - 1, check);
            break;
        default:
            check_at<uintx_t<1024>>(name, rest, size - 1, check);
            break;
    }
    return 0;
}

}  // namespace kesh::fuzz

/** The function fuzz_`name`, which runs `check` on the operands in the fuzzer's bytes. */
#define KESH_FUZZ_FAMILY(name, check)                                                      \
    int fuzz_##name(const std::uint8_t* data, std::size_t size);                           \
    int fuzz_##name(const std::uint8_t* data, std::size_t size) {                          \
        return kesh::fuzz::run(#name, data, size, [](const auto& s) { return check(s); }); \
    }
