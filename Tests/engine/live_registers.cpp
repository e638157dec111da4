/**
 * @file   live_registers.cpp
 * @brief  Runs live_registers_avx512.cpp on a processor that can; ends with 77 on others.
 */
#include <cstdio>
#include <initializer_list>

bool shifts_keep_registers(const double* numbers, const long long* zero_to_seven, long count);

int main() {
    if (!__builtin_cpu_supports("avx512f") || !__builtin_cpu_supports("avx512dq") ||
        !__builtin_cpu_supports("avx512vl")) {
        std::puts("skipped: a processor without AVX-512");
        return 77;
    }
    double numbers[40];
    for (int i = 0; i < 40; ++i) numbers[i] = i;
    const long long zero_to_seven[8] = {0, 1, 2, 3, 4, 5, 6, 7};
    for (const long count : {1, 64, 70, 500}) {
        if (!shifts_keep_registers(numbers, zero_to_seven, count)) {
            std::printf("a shift by %ld changes a register that the caller uses\n", count);
            return 1;
        }
    }
    return 0;
}
