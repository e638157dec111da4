if(EXISTS "/tmp/wt/kernels/build-clang/Tests/engine/engine_mont64_test")
  if(NOT EXISTS "/tmp/wt/kernels/build-clang/Tests/engine/engine_mont64_test[1]_tests.cmake" OR
     NOT "/tmp/wt/kernels/build-clang/Tests/engine/engine_mont64_test[1]_tests.cmake" IS_NEWER_THAN "/tmp/wt/kernels/build-clang/Tests/engine/engine_mont64_test" OR
     NOT "/tmp/wt/kernels/build-clang/Tests/engine/engine_mont64_test[1]_tests.cmake" IS_NEWER_THAN "${CMAKE_CURRENT_LIST_FILE}")
    include("/usr/share/cmake-3.25/Modules/GoogleTestAddTests.cmake")
    gtest_discover_tests_impl(
      TEST_EXECUTABLE [==[/tmp/wt/kernels/build-clang/Tests/engine/engine_mont64_test]==]
      TEST_EXECUTOR [==[]==]
      TEST_WORKING_DIR [==[/tmp/wt/kernels/build-clang/Tests/engine]==]
      TEST_EXTRA_ARGS [==[]==]
      TEST_PROPERTIES [==[TIMEOUT;600;ENVIRONMENT;ASAN_OPTIONS=allocator_may_return_null=1;UBSAN_OPTIONS=print_stacktrace=1;TSAN_OPTIONS=allocator_may_return_null=1:suppressions=/tmp/wt/kernels/Tests/sanitizers/tsan.supp;LSAN_OPTIONS=suppressions=/tmp/wt/kernels/Tests/sanitizers/lsan.supp]==]
      TEST_PREFIX [==[]==]
      TEST_SUFFIX [==[]==]
      TEST_FILTER [==[-*Long_*]==]
      NO_PRETTY_TYPES [==[FALSE]==]
      NO_PRETTY_VALUES [==[FALSE]==]
      TEST_LIST [==[engine_mont64_test_TESTS]==]
      CTEST_FILE [==[/tmp/wt/kernels/build-clang/Tests/engine/engine_mont64_test[1]_tests.cmake]==]
      TEST_DISCOVERY_TIMEOUT [==[5]==]
      TEST_XML_OUTPUT_DIR [==[]==]
    )
  endif()
  include("/tmp/wt/kernels/build-clang/Tests/engine/engine_mont64_test[1]_tests.cmake")
else()
  add_test(engine_mont64_test_NOT_BUILT engine_mont64_test_NOT_BUILT)
endif()
