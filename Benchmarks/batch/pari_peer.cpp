/**
 * @file   pari_peer.cpp
 * @brief  PARI's nextprime, in a file of its own, because PARI's header defines many short names.
 */
#include "pari_peer.h"

#include <pari/pari.h>

void pari_start() {
    pari_init(8'000'000, 2);
}

void pari_next_prime(const std::uint64_t* n, std::int64_t len) {
    const pari_sp top = avma;
    GEN x = cgetipos(len + 2);
    for (std::int64_t i = 0; i < len; ++i) *int_W(x, i) = static_cast<long>(n[i]);
    nextprime(addiu(x, 1));
    avma = top;
}
