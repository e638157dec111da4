# CMake generated Testfile for 
# Source directory: /tmp/wt/kernels
# Build directory: /tmp/wt/kernels/build-clang
# 
# This file includes the relevant testing commands required for 
# testing this directory and lists subdirectories to be tested as well.
subdirs("Adapters")
subdirs("CSource")
subdirs("BenchHost")
subdirs("Tests")
subdirs("examples")
