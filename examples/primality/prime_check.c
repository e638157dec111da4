/**
 * @file   prime_check.c
 * @brief  Tests a few integers of up to 1024 bits.
 *
 *     cc prime_check.c $(pkg-config --cflags --libs velmora-kesh) -o prime_check
 */
#include <kesh_prime.h>
#include <stdio.h>

static void show(const char* name, const uint64_t* limbs, int64_t count) {
    int prime = 0;
    if (KESH_PrimeQ(limbs, count, &prime) == 0) {
        printf("%s: %lld limbs are not in 1 ... 16\n", name, (long long)count);
    } else {
        printf("%s: %s\n", name, prime ? "prime" : "not prime");
    }
}

int main(void) {
    const uint64_t last_64_bit_prime[1] = {18446744073709551557u};
    const uint64_t next_prime[2] = {13, 1};    /* 2^64 + 13 */
    const uint64_t fermat_7[4] = {1, 0, 1, 0}; /* 2^128 + 1 */
    uint64_t mersenne_521[9];                  /* 2^521 - 1 */
    for (int i = 0; i < 8; ++i) mersenne_521[i] = UINT64_MAX;
    mersenne_521[8] = (1u << 9) - 1;

    show("2^64 - 59", last_64_bit_prime, 1);
    show("2^64 + 13", next_prime, 2);
    show("2^128 + 1", fermat_7, 4);
    show("2^521 - 1", mersenne_521, 9);
    show("too long", mersenne_521, 17);
    return 0;
}
