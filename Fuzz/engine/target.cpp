/**
 * @file   target.cpp
 * @brief  The fuzz target of one family: KESH_FUZZ_FUNCTION is its function in families.cpp.
 */
#include <cstddef>
#include <cstdint>

int KESH_FUZZ_FUNCTION(const std::uint8_t* data, std::size_t size);

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    return KESH_FUZZ_FUNCTION(data, size);
}
