/**
 * @file   value.h
 * @brief  The result of an export that counts or searches, which must not fail.
 */
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "support/test_host.h"

namespace kesh::test {

inline mint value(const std::string& name, std::vector<mint> arguments) {
    const auto call = call_integer(name, std::move(arguments));
    EXPECT_EQ(call.code, LIBRARY_NO_ERROR) << name;
    return call.result;
}

}  // namespace kesh::test
