# kesh_add_fuzzer(name SOURCES a.cpp ... [LIBRARIES lib ...] [CORPUS folder] [SECONDS n])
#   A libFuzzer target, and two CTest entries for it: a short run that first replays the committed corpus, and, with
#   the label "long", one of SECONDS (600). The short run starts from a fixed seed: it guards what is known, and must not
#   fail a change by chance. The long one seeks. What a run finds new stays in the build folder, never in the tree.
function(kesh_add_fuzzer name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "CORPUS;SECONDS" "SOURCES;LIBRARIES")
    if(NOT arg_SECONDS)
        set(arg_SECONDS 600)
    endif()
    add_executable(${name} ${arg_SOURCES})
    target_compile_options(${name} PRIVATE -fsanitize=fuzzer)
    target_link_options(${name} PRIVATE -fsanitize=fuzzer)
    target_link_libraries(${name} PRIVATE ${arg_LIBRARIES} kesh_warnings)
    target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/Tests)
    target_compile_definitions(${name} PRIVATE KESH_LIBRARY_PATH="$<TARGET_FILE:VelmoraKesh>")
    add_dependencies(${name} VelmoraKesh)
    set(found ${CMAKE_CURRENT_BINARY_DIR}/${name}-found)
    file(MAKE_DIRECTORY ${found})
    add_test(NAME fuzz.${name} COMMAND ${name} -seed=1 -max_total_time=4 -print_final_stats=1 ${found} ${arg_CORPUS})
    add_test(NAME fuzz.${name}.long
        COMMAND ${name} -max_total_time=${arg_SECONDS} -print_final_stats=1 ${found} ${arg_CORPUS})
    math(EXPR limit "${arg_SECONDS} + 300")
    set_tests_properties(fuzz.${name}.long PROPERTIES LABELS long TIMEOUT ${limit})
endfunction()
