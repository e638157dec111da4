# CMake generated Testfile for 
# Source directory: /tmp/wt/kernels/Tests
# Build directory: /tmp/wt/kernels/build-clang/Tests
# 
# This file includes the relevant testing commands required for 
# testing this directory and lists subdirectories to be tested as well.
subdirs("contract")
subdirs("counting")
subdirs("docs")
subdirs("engine")
subdirs("faults")
subdirs("kernels")
subdirs("primality")
subdirs("primality64")
subdirs("sieve")
