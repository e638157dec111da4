/**
 * @file   breach.h
 * @brief  A breach of the host protocol is what the fuzzers of the exports look for.
 */
#pragma once

#include <gtest/gtest.h>

namespace kesh::fuzz {

/** From now on a breach, which fails a test, ends the process. */
inline void end_at_a_breach() {
    GTEST_FLAG_SET(break_on_failure, true);
}

}  // namespace kesh::fuzz
