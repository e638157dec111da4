/**
 * @file   abortable_count.c
 * @brief  A host in C that makes one synchronous count and lets Ctrl-C end it: while the count runs, the library calls
 *         the host's AbortQ and ends the count when that returns a value other than 0.
 *
 *     cc abortable_count.c $(pkg-config --cflags velmora-kesh-host) -ldl -o abortable_count
 *     ./abortable_count /usr/lib/x86_64-linux-gnu/libVelmoraKesh.so 10000000000000000
 *
 * It calls only PrimeCount_PrimePi, which returns an error code when it fails. Most exports let C++ exceptions pass,
 * and a program in C cannot catch them. It has to call such exports through a few lines of C++
 * (docs/host-interface.md).
 */
#include <dlfcn.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>

#include "VelmoraLibrary.h"

static volatile sig_atomic_t interrupted = 0;

static void on_interrupt(int signal_number) {
    (void)signal_number;
    interrupted = 1;
}

/* Called up to 100 times a second, from any thread of the count. */
static mint abort_asked(void) {
    return interrupted;
}

typedef int (*Export)(VelmoraLibraryData, mint, MArgument*, MArgument);

int main(int argc, char** argv) {
    if (argc != 3) {
        fprintf(stderr, "usage: %s LIBRARY X\n", argv[0]);
        return 2;
    }
    void* const library = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
    Export prime_pi = NULL;
    /* dlsym returns data pointers; POSIX says that this conversion works. */
    if (library != NULL) *(void**)&prime_pi = dlsym(library, "PrimeCount_PrimePi");
    if (prime_pi == NULL) {
        fprintf(stderr, "%s\n", dlerror());
        return 1;
    }

    /* Static: the library keeps the pointer to the table. Only the slot that a synchronous count uses is filled. */
    static struct st_VelmoraLibraryData host;
    host.AbortQ = abort_asked;
    signal(SIGINT, on_interrupt);

    mint x = strtoll(argv[2], NULL, 10);
    mint count = 0;
    MArgument argument, result;
    argument.integer = &x;
    result.integer = &count;
    const int code = prime_pi(&host, 1, &argument, result);
    if (code != LIBRARY_NO_ERROR) {
        fprintf(stderr, interrupted ? "aborted\n" : "the count failed with code %d\n", code);
        return 1;
    }
    printf("pi(%lld) = %lld\n", (long long)x, (long long)count);
    return 0;
}
