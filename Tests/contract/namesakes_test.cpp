/**
 * @file   namesakes_test.cpp
 * @brief  The library in a host that defines, and exports, everything under the same names.
 *
 * The program is linked with a function of the same name for every global symbol of the library's objects. If the
 * dynamic loader resolved a call inside the library, it would choose the program's function, and that traps. So these
 * tests show that calls inside the library do not go through the loader.
 */
#include <gtest/gtest.h>

#include <cstring>
#include <map>

#include "support/library.h"
#include "support/test_host.h"

/** Names, each with its terminating zero; an empty one ends the list. */
extern "C" const char namesakes[];

namespace {

using kesh::test::call_integer;
using kesh::test::call_tensor;
using kesh::test::Library;
using kesh::test::TestHost;

TEST(Namesakes, TheLoaderSeesThemAllAndFindsThemFirst) {
    std::size_t count = 0;
    for (const char* name = namesakes; *name != '\0'; name += std::strlen(name) + 1, ++count) {
        EXPECT_NE(dlsym(RTLD_DEFAULT, name), nullptr) << name;
    }
    EXPECT_GT(count, 100U);
    for (const char* name : {"KESH_PrimeQ", "PrimeCount_PrimePi", "VelmoraLibrary_getVersion"}) {
        EXPECT_NE(dlsym(RTLD_DEFAULT, name), reinterpret_cast<void*>(Library::instance().get(name))) << name;
    }
}

TEST(Namesakes, PrimalityAtEveryWidth) {
    const auto prime_q = Library::instance().get<mbool (*)(const umint*, mint, mbool*)>("KESH_PrimeQ");
    // 2^(64 len) - c is the largest prime below 2^(64 len).
    const std::map<mint, umint> distance = {{1, 59}, {2, 159}, {3, 237}, {4, 189}, {8, 569}, {16, 105}};
    for (const auto& [len, c] : distance) {
        umint limbs[16];
        for (umint& limb : limbs) limb = ~umint{0};
        limbs[0] = 1 + ~c;
        mbool prime = 2;
        EXPECT_EQ(prime_q(limbs, len, &prime), 1);
        EXPECT_EQ(prime, 1) << len;
        limbs[0] += 2;
        EXPECT_EQ(prime_q(limbs, len, &prime), 1);
        EXPECT_EQ(prime, 0) << len;
    }
}

/** KESH_RT_PrimeQ calls KESH_PrimeQ, which refuses the length that this host leaves. */
TEST(Namesakes, AnExportThatCallsAnother) {
    st_VelmoraLibraryData table{};
    table.MTensor_getInteger = [](MTensor, mint* position, mint*) -> int {
        *position = 17;
        return LIBRARY_NO_ERROR;
    };
    MTensor tensor = nullptr;
    mbool prime = 2;
    MArgument argument, result;
    argument.tensor = &tensor;
    result.boolean = &prime;
    EXPECT_EQ(Library::instance().get("KESH_RT_PrimeQ")(&table, 1, &argument, result), LIBRARY_FUNCTION_ERROR);
    EXPECT_EQ(prime, 2);
}

TEST(Namesakes, CountsAndSieves) {
    EXPECT_EQ(call_integer("PrimeCount_PrimePi", {1'000'000}).result, 78498);
    EXPECT_EQ(call_integer("PrimeCount_Prime", {78498}).result, 999983);
    EXPECT_EQ(call_integer("PrimeCount_Meissel", {1'000'000}).result, 78498);
    EXPECT_EQ(call_integer("PrimeSieve_CountPrimes", {0, 1'000'000}).result, 78498);
    EXPECT_EQ(call_integer("PrimeSieve_NextPrime", {999983}).result, 1000003);
    EXPECT_EQ(call_integer("PrimeSieve_PrimeSum", {100}).result, 1060);
    EXPECT_EQ(call_tensor("PrimeSieve_ListPrimes", {0, 100}).code, LIBRARY_NO_ERROR);
}

TEST(Namesakes, ACountOnAThreadOfItsOwn) {
    TestHost& host = TestHost::instance();
    const mint task = call_integer("PrimeCount_CreateTask", {}).result;
    ASSERT_EQ(call_integer("PrimeCount_SubmitPrimePi", {task, 1'000'000}).code, LIBRARY_NO_ERROR);
    ASSERT_TRUE(host.wait_for_removal(task));
    bool arrived = false;
    for (const kesh::test::Event& event : host.events()) arrived = arrived || event.name == "Result";
    EXPECT_TRUE(arrived);
}

}  // namespace
