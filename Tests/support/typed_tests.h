/**
 * @file   typed_tests.h
 * @brief  Tests that run for every type of a list. They are like GoogleTest's typed tests, but compile faster:
 * GoogleTest instantiates its registration for every test and type, which took a fifth of the time for the tests of the
 * engine.
 */
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <type_traits>

namespace kesh::test {

/** Makes the test object. */
using TestMaker = testing::Test* (*)();

/**
 * Registers `Test<T>` as SUITE/NAME.TITLE for each type T of the list, with NAME = Names::name<T>(). Static functions
 * SetUpTestSuite and TearDownTestSuite are not called. Returns true.
 */
template <template <class> class Test, class Names, class... T>
bool register_typed_test(std::type_identity<std::tuple<T...>>, const std::string& suite, const char* title,
                         const char* file, int line) {
    const auto add = [&](const std::string& name, TestMaker make) {
        testing::RegisterTest((suite + "/" + name).c_str(), title, nullptr, nullptr, file, line, make);
    };
    (add(Names::template name<T>(), [] { return static_cast<testing::Test*>(new Test<T>); }), ...);
    return true;
}

}  // namespace kesh::test

/** The tests of the class template `suite` run for each type of the tuple `types`; `names` has their names. */
#define KESH_TYPED_SUITE(suite, types, names) \
    using suite##_types = types;              \
    using suite##_names = names

/** A test for each type of the suite; in its body the type is TypeParam. */
#define KESH_TYPED_TEST(suite, title)                                                                                  \
    template <class TypeParam>                                                                                         \
    class suite##_##title : public suite<TypeParam> {                                                                  \
        void TestBody() override;                                                                                      \
    };                                                                                                                 \
    [[maybe_unused]] const bool suite##_##title##_registered =                                                         \
        ::kesh::test::register_typed_test<suite##_##title, suite##_names>(std::type_identity<suite##_types>{}, #suite, \
                                                                          #title, __FILE__, __LINE__);                 \
    template <class TypeParam>                                                                                         \
    void suite##_##title<TypeParam>::TestBody()
