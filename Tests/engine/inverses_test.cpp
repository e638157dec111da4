/**
 * @file   inverses_test.cpp
 * @brief  Inverses modulo 2^N and modulo arbitrary moduli against GMP.
 */

#include "support/differential/inverses.h"
#include "support/differential/run.h"

namespace kesh::test {
namespace {

KESH_DIFFERENTIAL_TESTS(InverseModuloPowerOfTwo, AllWords, check_inverse_mod_2)
KESH_DIFFERENTIAL_TESTS(InverseModulo, AllWords, check_invmod)

}  // namespace
}  // namespace kesh::test
