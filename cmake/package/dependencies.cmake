# Progress and stop of counts depend on internals of primecount. dpkg-shlibdeps finds the oldest version; here an upper
# bound is added: the version after the newest of its generation with which the tests have passed.
set(newest_tested 7.16 8.8)

get_filename_component(library ${CPACK_KESH_PRIMECOUNT} REALPATH)
execute_process(COMMAND dpkg-query -S ${library} OUTPUT_VARIABLE owner COMMAND_ERROR_IS_FATAL ANY)
string(REGEX REPLACE ":.*" "" owner "${owner}")
foreach(version IN LISTS newest_tested)
    string(REGEX MATCH "^([0-9]+)\\.([0-9]+)$" version ${version})
    math(EXPR next_minor "${CMAKE_MATCH_2} + 1")
    if(library MATCHES "\\.so\\.${CMAKE_MATCH_1}\\.")
        string(REGEX MATCH "^[0-9]+" generation ${version})
        set(CPACK_DEBIAN_RUNTIME_PACKAGE_DEPENDS "${owner} (<< ${generation}.${next_minor}~)")
    endif()
endforeach()
