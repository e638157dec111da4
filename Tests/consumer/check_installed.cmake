# Installs the built tree into a scratch folder, configures and builds the consumer project against it, and runs its programs.
function(run)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
    if(NOT result EQUAL 0)
        message(FATAL_ERROR "${ARGN}\n${output}")
    endif()
endfunction()

file(REMOVE_RECURSE ${SCRATCH})
run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${SCRATCH}/prefix)
run(${CMAKE_COMMAND} -S ${PROJECT} -B ${SCRATCH}/build
    -DCMAKE_PREFIX_PATH=${SCRATCH}/prefix -DCMAKE_CXX_COMPILER=${COMPILER} -DEXAMPLES=${EXAMPLES})
run(${CMAKE_COMMAND} --build ${SCRATCH}/build)
foreach(program consumer engine_modular_power)
    run(${SCRATCH}/build/${program})
endforeach()
