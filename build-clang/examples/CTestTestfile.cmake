# CMake generated Testfile for 
# Source directory: /tmp/wt/kernels/examples
# Build directory: /tmp/wt/kernels/build-clang/examples
# 
# This file includes the relevant testing commands required for 
# testing this directory and lists subdirectories to be tested as well.
subdirs("minimal_host")
subdirs("primality")
