# CMake generated Testfile for 
# Source directory: /tmp/wt/kernels/Tests/faults
# Build directory: /tmp/wt/kernels/build-clang/Tests/faults
# 
# This file includes the relevant testing commands required for 
# testing this directory and lists subdirectories to be tested as well.
