# CMake generated Testfile for 
# Source directory: /tmp/wt/kernels/Tests/engine
# Build directory: /tmp/wt/kernels/build-clang/Tests/engine
# 
# This file includes the relevant testing commands required for 
# testing this directory and lists subdirectories to be tested as well.
include("/tmp/wt/kernels/build-clang/Tests/engine/engine_mont64_test[1]_include.cmake")
include("/tmp/wt/kernels/build-clang/Tests/engine/engine_mont64_test[2]_include.cmake")
include("/tmp/wt/kernels/build-clang/Tests/engine/engine_test[1]_include.cmake")
include("/tmp/wt/kernels/build-clang/Tests/engine/engine_test[2]_include.cmake")
