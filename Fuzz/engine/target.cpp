/**
 * @file   target.cpp
 * @brief  The fuzz target of the family that KESH_FUZZ_FAMILY names.
 */
#include <cstddef>
#include <cstdint>

int KESH_FUZZ_FAMILY(const std::uint8_t* data, std::size_t size);

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    return KESH_FUZZ_FAMILY(data, size);
}
