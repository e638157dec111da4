/// @file   level.cpp
/// @brief  What the processor supports. Stands alone, so that a program can tell which kernels the library chooses.

#include <cpuid.h>

#include "Shared/intx/intx_gcc.h"
#include "Shared/kernel/avx512.h"
#include "Shared/kernel/kernel.h"

namespace kesh::kernel {

namespace {

/// mulx, adcx and adox use general registers only, so that the processor's word suffices. Asked through cpuid because
/// not every compiler's __builtin_cpu_supports knows "adx".
bool has_adx() noexcept {
    if (kesh::detail::memory_sanitizer) return false;
    unsigned a = 0, b = 0, c = 0, d = 0;
    if (__get_cpuid_count(7, 0, &a, &b, &c, &d) == 0) return false;
    const unsigned bmi2 = 1U << 8, adx = 1U << 19;
    return (b & bmi2) != 0 && (b & adx) != 0;
}

}  // namespace

Level supported_level() noexcept {
    static const Level found = !has_adx() ? Level::portable : !processor_has_ifma() ? Level::adx : Level::ifma;
    return found;
}

const char* name(Level which) noexcept {
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

}  // namespace kesh::kernel
