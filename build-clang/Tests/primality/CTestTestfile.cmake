# CMake generated Testfile for 
# Source directory: /tmp/wt/kernels/Tests/primality
# Build directory: /tmp/wt/kernels/build-clang/Tests/primality
# 
# This file includes the relevant testing commands required for 
# testing this directory and lists subdirectories to be tested as well.
