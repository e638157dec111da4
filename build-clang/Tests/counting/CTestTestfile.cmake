# CMake generated Testfile for 
# Source directory: /tmp/wt/kernels/Tests/counting
# Build directory: /tmp/wt/kernels/build-clang/Tests/counting
# 
# This file includes the relevant testing commands required for 
# testing this directory and lists subdirectories to be tested as well.
include("/tmp/wt/kernels/build-clang/Tests/counting/counting_test[1]_include.cmake")
include("/tmp/wt/kernels/build-clang/Tests/counting/counting_test[2]_include.cmake")
include("/tmp/wt/kernels/build-clang/Tests/counting/counting_preloaded_test[1]_include.cmake")
include("/tmp/wt/kernels/build-clang/Tests/counting/counting_preloaded_test[2]_include.cmake")
include("/tmp/wt/kernels/build-clang/Tests/counting/counting_adapter_test[1]_include.cmake")
include("/tmp/wt/kernels/build-clang/Tests/counting/counting_adapter_test[2]_include.cmake")
