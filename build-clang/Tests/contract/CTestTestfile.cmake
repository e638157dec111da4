# CMake generated Testfile for 
# Source directory: /tmp/wt/kernels/Tests/contract
# Build directory: /tmp/wt/kernels/build-clang/Tests/contract
# 
# This file includes the relevant testing commands required for 
# testing this directory and lists subdirectories to be tested as well.
include("/tmp/wt/kernels/build-clang/Tests/contract/contract_test[1]_include.cmake")
include("/tmp/wt/kernels/build-clang/Tests/contract/contract_test[2]_include.cmake")
add_test([=[contract.binary]=] "/tmp/wt/kernels/Tests/contract/check_binary.sh" "/tmp/wt/kernels/build-clang/libVelmoraKesh.so" "/tmp/wt/kernels/cmake/exports.txt" "/tmp/wt/kernels/Adapters/primecount/interposed-symbols.txt")
set_tests_properties([=[contract.binary]=] PROPERTIES  _BACKTRACE_TRIPLES "/tmp/wt/kernels/Tests/contract/CMakeLists.txt;3;add_test;/tmp/wt/kernels/Tests/contract/CMakeLists.txt;0;")
