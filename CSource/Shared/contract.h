/**
 * @file   contract.h
 * @brief  Preconditions and postconditions of the engine, checked in debug builds.
 *
 * KESH_REQUIRE states a precondition, KESH_ENSURE a postcondition. Both are checked without NDEBUG, like assert, and if
 * KESH_CONTRACTS is defined as 1; otherwise they cost nothing and evaluate nothing. A broken contract prints one line
 * to stderr and aborts; in a constant expression it does not compile.
 *
 * All files of a program must be compiled with the same setting, as for NDEBUG.
 */
#pragma once

#if !defined(KESH_CONTRACTS)
#if defined(NDEBUG)
#define KESH_CONTRACTS 0
#else
#define KESH_CONTRACTS 1
#endif
#endif

#if KESH_CONTRACTS

#include <cstdio>
#include <cstdlib>

namespace kesh::detail {

[[noreturn, gnu::cold]] inline void contract_broken(const char* kind, const char* condition, const char* function,
                                                    const char* file, int line) noexcept {
    std::fprintf(stderr, "%s:%d: %s: %s broken: %s\n", file, line, function, kind, condition);
    std::abort();
}

}  // namespace kesh::detail

#define KESH_CONTRACT(kind, ...) \
    ((__VA_ARGS__) ? void() : ::kesh::detail::contract_broken(kind, #__VA_ARGS__, __func__, __FILE__, __LINE__))

#else

/** Compiled, so that a condition stays valid code, but never evaluated. */
#define KESH_CONTRACT(kind, ...) static_cast<void>(sizeof((__VA_ARGS__) ? 1 : 0))

#endif

#define KESH_REQUIRE(...) KESH_CONTRACT("precondition", __VA_ARGS__)
#define KESH_ENSURE(...) KESH_CONTRACT("postcondition", __VA_ARGS__)
