/**
 * @file   next_primes.c
 * @brief  Counts the twin primes among the next primes above 10^18, and looks for a prime of the form k 2^200 + 1 by
 *         testing many k in one call.
 *
 *     cc next_primes.c $(pkg-config --cflags --libs velmora-kesh) -o next_primes
 */
#include <kesh_prime.h>
#include <stdio.h>

enum { primes_wanted = 10000, candidates = 1000, length = 4 };

int main(void) {
    static uint64_t primes[primes_wanted];
    const uint64_t from = 1000000000000000000u;
    if (KESH_NextPrimes(&from, 1, primes_wanted, primes, NULL, NULL, NULL) != KESH_DONE) return 1;
    int twins = 0;
    for (int i = 1; i < primes_wanted; ++i) twins += primes[i] - primes[i - 1] == 2;
    printf("%d twins among the %d primes above 10^18\n", twins, primes_wanted);

    static uint64_t numbers[candidates][length];
    static uint8_t prime[candidates];
    for (int k = 0; k < candidates; ++k) {
        numbers[k][0] = 1;
        numbers[k][3] = (uint64_t)k << 8; /* 2^200 is 2^8 in the fourth limb */
    }
    if (KESH_ArePrime(numbers[0], length, candidates, prime) != KESH_DONE) return 1;
    for (int k = 1; k < candidates; ++k) {
        if (!prime[k]) continue;
        printf("%d * 2^200 + 1 is prime\n", k);
        return 0;
    }
    return 1;
}
