/**
 * @file   lane_form.h
 * @brief  Chooses the form of the vector lanes for a source. One that defines KESH_AVX2_FORM gets lanes of AVX2, others
 *         those of AVX-512 IFMA. What is written for any form is in the namespace of its form.
 */
#pragma once

#ifdef KESH_AVX2_FORM

#include "Shared/kernel/avx2_form.h"
#define KESH_LANE_FORM avx2_form
#define KESH_LANES KESH_AVX2
#define KESH_LANES_INLINE KESH_AVX2_INLINE

#else

#include "Shared/kernel/ifma_form.h"
#define KESH_LANE_FORM ifma_form
#define KESH_LANES KESH_IFMA
#define KESH_LANES_INLINE KESH_IFMA_INLINE

#endif
