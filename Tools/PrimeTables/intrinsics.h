/**
 * @file   intrinsics.h
 * @brief  The processor's vector intrinsics, for functions that are compiled for it and chosen at run time.
 */
#pragma once

// GCC 12 wrongly warns of the undefined pass-through operands of its own intrinsics.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wuninitialized"
#if !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif
#include <immintrin.h>
#pragma GCC diagnostic pop
