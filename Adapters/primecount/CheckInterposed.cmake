# kesh_check_interposed(library list-file)
#   Stops with a message where the library does not define one of the listed names, or reaches its own definition
#   directly instead of through the procedure linkage table: interposing the name would then have no effect.
function(kesh_check_interposed library list_file)
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${list_file} ${library})
    find_program(KESH_READELF NAMES readelf llvm-readelf REQUIRED)
    execute_process(COMMAND ${CMAKE_NM} -D --defined-only ${library} OUTPUT_VARIABLE defined COMMAND_ERROR_IS_FATAL ANY)
    execute_process(COMMAND ${KESH_READELF} -rW ${library} OUTPUT_VARIABLE relocations COMMAND_ERROR_IS_FATAL ANY)
    file(STRINGS ${list_file} symbols REGEX "^[A-Za-z_]")
    set(missing "")
    foreach(symbol IN LISTS symbols)
        if(NOT defined MATCHES " [TW] ${symbol}\n")
            list(APPEND missing "${symbol} (not defined)")
        elseif(NOT relocations MATCHES "(JUMP_SLO|GLOB_DAT)[^\n]* ${symbol}[ \n]")
            list(APPEND missing "${symbol} (not called through the procedure linkage table)")
        endif()
    endforeach()
    if(missing)
        list(JOIN missing "\n  " missing)
        message(FATAL_ERROR
            "Progress and cancellation of prime counts interpose on functions of primecount 7.6, and "
            "${library} differs:\n  ${missing}\n"
            "Install primecount 7.6, or a version that has set_callback, set_exitcall and the one-argument pi_* "
            "functions of its own; otherwise Adapters/primecount has to be brought up to this version.")
    endif()
    list(LENGTH symbols count)
    message(STATUS "primecount: all ${count} interposed functions found in ${library}")
endfunction()
