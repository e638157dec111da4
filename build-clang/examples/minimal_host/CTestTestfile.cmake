# CMake generated Testfile for 
# Source directory: /tmp/wt/kernels/examples/minimal_host
# Build directory: /tmp/wt/kernels/build-clang/examples/minimal_host
# 
# This file includes the relevant testing commands required for 
# testing this directory and lists subdirectories to be tested as well.
add_test([=[examples.minimal_host]=] "/tmp/wt/kernels/build-clang/examples/minimal_host/minimal_host" "/tmp/wt/kernels/build-clang/libVelmoraKesh.so" "1000000000000")
set_tests_properties([=[examples.minimal_host]=] PROPERTIES  PASS_REGULAR_EXPRESSION "pi\\(1000000000000\\) = 37607912018" _BACKTRACE_TRIPLES "/tmp/wt/kernels/examples/minimal_host/CMakeLists.txt;3;add_test;/tmp/wt/kernels/examples/minimal_host/CMakeLists.txt;0;")
