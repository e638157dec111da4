/**
 * @file   precompiled.h
 * @brief  What most test programs include, compiled once for all of them: a quarter of the compilation of a test was
 *         spent on parsing these headers.
 *
 * Every file still includes what it uses; -DCMAKE_DISABLE_PRECOMPILE_HEADERS=ON builds without this one.
 */
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <string>
#include <vector>
