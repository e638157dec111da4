/**
 * @file   main.cpp
 * @brief  Leaves out the vector kernels if the processor lacks their instructions; kernels_model_test runs them.
 */

#include <gtest/gtest.h>

#include "Shared/kernel/kernel.h"
#include "kernels/repetitions.h"

int kesh::kernel::repetitions(int usual) {
    return usual;
}

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    if (kesh::supported_level() < kesh::Level::ifma) {
        const std::string filter = GTEST_FLAG_GET(filter);
        GTEST_FLAG_SET(filter, filter + (filter.find('-') == std::string::npos ? "-*_ifma*" : ":*_ifma*"));
    }
    return RUN_ALL_TESTS();
}
