# kesh_add_fuzzer(name SOURCES a.cpp ... [LIBRARIES lib ...] [CORPUS folder] [RUNS n] [SECONDS n])
#   A libFuzzer target, and two CTest entries for it. The short one replays the committed corpus and goes on from a fixed
#   seed to RUNS (10000) inputs in all: it guards what is known and, as far as threads allow, does the same every time.
#   The one with the label "long" seeks for SECONDS (600). What a run finds new stays in the build folder, never in the tree.
add_custom_target(fuzzers)
function(kesh_add_fuzzer name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "CORPUS;RUNS;SECONDS" "SOURCES;LIBRARIES")
    if(NOT arg_SECONDS)
        set(arg_SECONDS 600)
    endif()
    if(NOT arg_RUNS)
        set(arg_RUNS 10000)
    endif()
    add_executable(${name} ${arg_SOURCES})
    target_compile_options(${name} PRIVATE -fsanitize=fuzzer)
    target_link_options(${name} PRIVATE -fsanitize=fuzzer)
    target_link_libraries(${name} PRIVATE ${arg_LIBRARIES} kesh_warnings)
    target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/Tests)
    target_compile_definitions(${name} PRIVATE KESH_LIBRARY_PATH="$<TARGET_FILE:VelmoraKesh>")
    add_dependencies(${name} VelmoraKesh)
    add_dependencies(fuzzers ${name})
    set(found ${CMAKE_CURRENT_BINARY_DIR}/${name}-found)
    file(MAKE_DIRECTORY ${found})
    add_test(NAME fuzz.${name}
        COMMAND sh -c "rm -rf \"$2\" && mkdir \"$2\" && exec \"$1\" -seed=1 -runs=${arg_RUNS} -print_final_stats=1 \"$2\" \"$3\""
                - $<TARGET_FILE:${name}> ${found}-short ${arg_CORPUS})
    set_tests_properties(fuzz.${name} PROPERTIES TIMEOUT 300)
    add_test(NAME fuzz.${name}.long
        COMMAND ${name} -max_total_time=${arg_SECONDS} -print_final_stats=1 ${found} ${arg_CORPUS})
    math(EXPR limit "${arg_SECONDS} + 300")
    set_tests_properties(fuzz.${name}.long PROPERTIES LABELS long TIMEOUT ${limit})
endfunction()
