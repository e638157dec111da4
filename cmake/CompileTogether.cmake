# kesh_compile_together(target [n])
#   All sources of the target are one compilation, or n sources are. Headers are read once and templates are instantiated
#   once, which takes two thirds of the time for the tests of the engine and a third for its fuzz targets. With
#   KESH_SOURCES_APART each source is compiled alone: so the preset clang finds a source that lacks an include, Tools/mutate
#   compiles one changed source at a time, and Tools/analyze has the command of every source.
function(kesh_compile_together target)
    set(together 0)
    if(ARGC GREATER 1)
        set(together ${ARGV1})
    endif()
    if(NOT KESH_SOURCES_APART)
        set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE ${together})
    endif()
endfunction()
