# kesh_compile_together(target [n])
#   All sources of the target are one compilation, or n sources are: headers are read once and templates instantiated
#   once, which takes two thirds of the time or less. With KESH_SOURCES_APART each source is compiled alone: so the preset
#   clang finds a source that lacks an include, and Tools/mutate compiles one changed source at a time.
function(kesh_compile_together target)
    set(together 0)
    if(ARGC GREATER 1)
        set(together ${ARGV1})
    endif()
    if(NOT KESH_SOURCES_APART)
        set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE ${together})
    endif()
endfunction()
