# kesh_add_test(name SOURCES a.cpp ... [LIBRARIES lib ...] [OPTIMISE option] [FILTER pattern] [TOGETHER])
#   A GoogleTest program. All its tests run, or those that match `pattern`. Tests whose name contains "Long_" get the
#   CTest label "long": `./test` leaves them out, `./test --all` runs them. Every test finds the built library and the
#   tree through compile definitions. Most tests call code that is already compiled, and are themselves compiled with
#   -Og, in two thirds of the time. Tests of headers say OPTIMISE -O2, like programs that use the headers. This is for
#   g++; the preset "clang" uses -O3 everywhere. With TOGETHER, all sources are one compilation. The headers that
#   most tests include are compiled once for all programs of one optimisation.
include(GoogleTest)

# Seconds after which a test counts as hanging: a busy machine does not reach it.
set(KESH_TEST_TIMEOUT 3600)
set(KESH_TEST_OPTIMISE -Og)

# Under a sanitizer, too, a request for more memory than there is must fail in the library.
set(KESH_TEST_ENVIRONMENT
    ASAN_OPTIONS=allocator_may_return_null=1
    UBSAN_OPTIONS=print_stacktrace=1
    TSAN_OPTIONS=allocator_may_return_null=1:suppressions=${PROJECT_SOURCE_DIR}/Tests/sanitizers/tsan.supp
    LSAN_OPTIONS=suppressions=${PROJECT_SOURCE_DIR}/Tests/sanitizers/lsan.supp)

# kesh_test_options(target option)
#   Optimises a program of tests in Release with the option, and gives it the headers that are compiled once for all
#   programs with this option.
function(kesh_test_options target optimise)
    target_compile_options(${target} PRIVATE $<$<AND:$<CONFIG:Release>,$<CXX_COMPILER_ID:GNU>>:${optimise}>)
    set(headers kesh_test_headers${optimise})
    if(NOT TARGET ${headers})
        add_executable(${headers} EXCLUDE_FROM_ALL ${PROJECT_SOURCE_DIR}/Tests/support/headers.cpp)
        target_compile_options(${headers} PRIVATE $<$<AND:$<CONFIG:Release>,$<CXX_COMPILER_ID:GNU>>:${optimise}>)
        target_link_libraries(${headers} PRIVATE kesh_warnings GTest::gtest GTest::gmock)
        target_precompile_headers(${headers} PRIVATE <gtest/gtest.h> <gmock/gmock.h> <algorithm> <atomic> <chrono>
            <filesystem> <fstream> <random> <sstream> <string> <thread> <vector>)
    endif()
    target_precompile_headers(${target} REUSE_FROM ${headers})
endfunction()

function(kesh_add_test name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "TOGETHER" "FILTER;OPTIMISE" "SOURCES;LIBRARIES")
    add_executable(${name} ${arg_SOURCES})
    target_link_libraries(${name} PRIVATE ${arg_LIBRARIES} kesh_warnings GTest::gtest_main GTest::gmock)
    target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/Tests)
    target_compile_definitions(${name} PRIVATE
        KESH_LIBRARY_PATH="$<TARGET_FILE:VelmoraKesh>"
        KESH_SOURCE_DIR="${PROJECT_SOURCE_DIR}")
    if(NOT arg_OPTIMISE)
        set(arg_OPTIMISE ${KESH_TEST_OPTIMISE})
    endif()
    kesh_test_options(${name} ${arg_OPTIMISE})
    if(arg_TOGETHER)
        kesh_compile_together(${name})
    endif()
    add_dependencies(${name} VelmoraKesh)
    # Set by the command that runs the test: PROPERTIES would pass only the first variable of a list.
    set_target_properties(${name} PROPERTIES CROSSCOMPILING_EMULATOR "env;${KESH_TEST_ENVIRONMENT}")
    gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST TEST_FILTER "${arg_FILTER}-*Long_*" PROPERTIES TIMEOUT ${KESH_TEST_TIMEOUT})
    gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST TEST_FILTER "*Long_*" TEST_LIST ${name}_LONG
        PROPERTIES LABELS long TIMEOUT 10800)
endfunction()
