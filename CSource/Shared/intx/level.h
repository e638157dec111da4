/**
 * @file   level.h
 * @brief  Detects once what the processor supports, and sets the level that the engine's operators and the kernels of
 *         the primality tests use.
 */
#pragma once

#include <atomic>

#include "Shared/intx/intx_gcc.h"

namespace kesh {

/** Instruction sets with their own forms. A level contains the ones before it. */
enum class Level {
    portable,  ///< any x86-64 processor
    adx,       ///< BMI2, ADX and AVX2: mulx, adcx, adox; four 32-bit multiplications per instruction
    ifma,      ///< AVX-512 IFMA: eight 52-bit multiply-adds per instruction
};

namespace detail {

/**
 * The instruction sets of this processor that the operating system supports too. mulx, adcx and adox use general
 * registers and the flags only; a processor that has them has AVX2. For vectors the operating system has to save their
 * registers (bits 1 and 2 of XCR0; for 512 bits 5, 6 and 7, too). The assembly is volatile, so that it stays in the
 * initialisation of a constant: under a hypervisor one such instruction takes thousands of cycles.
 */
inline Level detect_level() noexcept {
#if defined(__x86_64__)
    const auto cpuid = [](unsigned leaf, unsigned& b, unsigned& c) {
        unsigned a = leaf, d = 0;
        c = 0;
        __asm__ volatile("cpuid" : "+a"(a), "=b"(b), "+c"(c), "=d"(d));
        return a;
    };
    unsigned b = 0, c = 0;
    if (memory_sanitizer || cpuid(0, b, c) < 7) return Level::portable;
    cpuid(1, b, c);
    const bool has_xgetbv = (c & 1U << 27) != 0;
    cpuid(7, b, c);
    constexpr unsigned avx2_bmi2_adx = 1U << 5 | 1U << 8 | 1U << 19;
    constexpr unsigned avx512_f_dq_ifma_vl = 1U << 16 | 1U << 17 | 1U << 21 | 1U << 31;
    if ((b & avx2_bmi2_adx) != avx2_bmi2_adx || !has_xgetbv) return Level::portable;
    unsigned saved = 0, high = 0;
    __asm__ volatile("xgetbv" : "=a"(saved), "=d"(high) : "c"(0));
    constexpr unsigned avx_state = 0x06, avx512_state = 0xE6;
    if ((saved & avx_state) != avx_state) return Level::portable;
    const bool ifma = (b & avx512_f_dq_ifma_vl) == avx512_f_dq_ifma_vl && (saved & avx512_state) == avx512_state;
    return ifma ? Level::ifma : Level::adx;
#else
    return Level::portable;
#endif
}

/** Levels as numbers; below 0 until they are first needed. */
inline constinit std::atomic<int> level_supported{-1}, level_in_force{-1};

}  // namespace detail

/** The highest level that this processor and operating system support. */
[[nodiscard]] inline Level supported_level() noexcept {
    const int known = detail::level_supported.load(std::memory_order_relaxed);
    if (known >= 0) return static_cast<Level>(known);
    const Level found = detail::detect_level();
    detail::level_supported.store(static_cast<int>(found), std::memory_order_relaxed);
    return found;
}

namespace detail {

/** level() on its first call. Out of line: the rest of level() is a load and a comparison in every product. */
[[gnu::noinline, gnu::cold]] inline Level first_level() noexcept {
    const Level found = supported_level();
    int none = -1;  // does not overwrite a level that force() has set in the meantime
    level_in_force.compare_exchange_strong(none, static_cast<int>(found), std::memory_order_relaxed);
    return none < 0 ? found : static_cast<Level>(none);
}

}  // namespace detail

/** The current level: supported_level() unless force() changed it. */
[[nodiscard, gnu::always_inline]] inline Level level() noexcept {
    const int known = detail::level_in_force.load(std::memory_order_relaxed);
    if (known >= 0) [[likely]]
        return static_cast<Level>(known);
    return detail::first_level();
}

/**
 * For tests and benchmarks: from now on the engine and the kernels use the forms of `wanted`. Returns false and changes
 * nothing if the processor lacks it. Calls in progress on other threads may change level on the way, with the same
 * results.
 */
inline bool force(Level wanted) noexcept {
    if (wanted > supported_level()) return false;
    detail::level_in_force.store(static_cast<int>(wanted), std::memory_order_relaxed);
    return true;
}

/** "portable", "adx" or "ifma". */
[[nodiscard]] constexpr const char* name(Level which) noexcept {
    switch (which) {
        case Level::portable:
            return "portable";
        case Level::adx:
            return "adx";
        case Level::ifma:
            return "ifma";
    }
    return "";
}

}  // namespace kesh
