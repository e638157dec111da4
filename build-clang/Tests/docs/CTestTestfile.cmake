# CMake generated Testfile for 
# Source directory: /tmp/wt/kernels/Tests/docs
# Build directory: /tmp/wt/kernels/build-clang/Tests/docs
# 
# This file includes the relevant testing commands required for 
# testing this directory and lists subdirectories to be tested as well.
add_test([=[docs.links]=] "/root/.pyenv/shims/python3" "/tmp/wt/kernels/Tests/docs/check_links.py" "/tmp/wt/kernels" "/tmp/wt/kernels/CHANGELOG.md" "/tmp/wt/kernels/README.md" "/tmp/wt/kernels/docs/README.md" "/tmp/wt/kernels/docs/architecture.md" "/tmp/wt/kernels/docs/building.md" "/tmp/wt/kernels/docs/contributing.md" "/tmp/wt/kernels/docs/fault-outcomes.md" "/tmp/wt/kernels/docs/host-interface.md" "/tmp/wt/kernels/docs/primality.md")
set_tests_properties([=[docs.links]=] PROPERTIES  _BACKTRACE_TRIPLES "/tmp/wt/kernels/Tests/docs/CMakeLists.txt;3;add_test;/tmp/wt/kernels/Tests/docs/CMakeLists.txt;0;")
