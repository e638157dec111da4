/**
 * @file   pari_peer.h
 * @brief  PARI as a contestant for the next prime, where it is installed.
 */
#pragma once

#include <cstdint>

void pari_start();

/** The next prime of n, whose highest limb is not zero. */
void pari_next_prime(const std::uint64_t* n, std::int64_t len);
