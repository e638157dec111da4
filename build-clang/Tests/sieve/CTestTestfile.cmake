# CMake generated Testfile for 
# Source directory: /tmp/wt/kernels/Tests/sieve
# Build directory: /tmp/wt/kernels/build-clang/Tests/sieve
# 
# This file includes the relevant testing commands required for 
# testing this directory and lists subdirectories to be tested as well.
include("/tmp/wt/kernels/build-clang/Tests/sieve/sieve_test[1]_include.cmake")
include("/tmp/wt/kernels/build-clang/Tests/sieve/sieve_test[2]_include.cmake")
