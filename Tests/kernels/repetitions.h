/**
 * @file   repetitions.h
 * @brief  How often the tests of the kernels repeat with new random operands.
 */
#pragma once

namespace kesh::kernel {

/** The number of repetitions for a test that usually makes `usual` ones. Each program of these tests has its own. */
int repetitions(int usual);

}  // namespace kesh::kernel
