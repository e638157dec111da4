# kesh_add_fuzzer(name SOURCES a.cpp ... [LIBRARIES lib ...] [RUNS n] [SECONDS n])
#   A libFuzzer target, and two CTest entries for it. The short one replays the committed inputs and continues from a
#   fixed seed to RUNS (10000) inputs in all: it checks the known inputs and, as far as threads allow, does the same
#   every time. The one with the label "long" searches for SECONDS (600). New inputs stay in the build folder, never in
#   the tree. The committed inputs are Fuzz/corpora/NAME.hex, unpacked by the build, and the files in
#   Fuzz/regressions/NAME.
add_custom_target(fuzzers)
function(kesh_add_fuzzer name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "RUNS;SECONDS" "SOURCES;LIBRARIES")
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
    target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/Tests ${PROJECT_SOURCE_DIR}/Fuzz)
    target_compile_definitions(${name} PRIVATE KESH_LIBRARY_PATH="$<TARGET_FILE:VelmoraKesh>")
    add_dependencies(${name} VelmoraKesh)
    add_dependencies(fuzzers ${name})

    set(inputs "")
    set(archive ${PROJECT_SOURCE_DIR}/Fuzz/corpora/${name}.hex)
    set(regressions ${PROJECT_SOURCE_DIR}/Fuzz/regressions/${name})
    if(EXISTS ${archive})
        set(corpus ${CMAKE_CURRENT_BINARY_DIR}/${name}-corpus)
        add_custom_command(OUTPUT ${corpus}.stamp DEPENDS ${archive} ${PROJECT_SOURCE_DIR}/Fuzz/corpus
            COMMAND ${PROJECT_SOURCE_DIR}/Fuzz/corpus unpack ${archive} ${corpus}
            COMMAND ${CMAKE_COMMAND} -E touch ${corpus}.stamp)
        add_custom_target(${name}_corpus DEPENDS ${corpus}.stamp)
        add_dependencies(${name} ${name}_corpus)
        list(APPEND inputs ${corpus})
    endif()
    if(EXISTS ${regressions})
        list(APPEND inputs ${regressions})
    endif()

    set(found ${CMAKE_CURRENT_BINARY_DIR}/${name}-found)
    file(MAKE_DIRECTORY ${found})
    add_test(NAME fuzz.${name}
        COMMAND sh -c "found=$1; rm -rf \"$found\" && mkdir \"$found\" && shift && exec \"$@\"" - ${found}-short
            $<TARGET_FILE:${name}> -seed=1 -runs=${arg_RUNS} -print_final_stats=1 ${found}-short ${inputs})
    set_tests_properties(fuzz.${name} PROPERTIES TIMEOUT 3600)
    add_test(NAME fuzz.${name}.long
        COMMAND ${name} -max_total_time=${arg_SECONDS} -print_final_stats=1 ${found} ${inputs})
    math(EXPR limit "${arg_SECONDS} + 3600")
    set_tests_properties(fuzz.${name}.long PROPERTIES LABELS long TIMEOUT ${limit})
endfunction()
