# Installs the built library into a scratch prefix, then builds the C consumer against it
# as a C11 project through find_package and runs it (under the emulator for the device).
cmake_minimum_required(VERSION 3.25)

file(REMOVE_RECURSE ${WORK_DIR})
set(prefix ${WORK_DIR}/prefix)

function(run)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE status OUTPUT_VARIABLE out ERROR_VARIABLE err)
    if(NOT status EQUAL 0)
        string(REPLACE ";" " " command "${ARGN}")
        message(FATAL_ERROR "failed (${status}): ${command}\n${out}\n${err}")
    endif()
    set(last_output "${out}" PARENT_SCOPE)
endfunction()

run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix})
set(toolchain_args)
if(TOOLCHAIN_FILE)
    set(toolchain_args -DCMAKE_TOOLCHAIN_FILE=${TOOLCHAIN_FILE}
        -Dorvik_utilities_DIR=${prefix}/${LIBDIR}/cmake/orvik_utilities)
endif()
run(${CMAKE_COMMAND} -S ${CONSUMER_SOURCE} -B ${WORK_DIR}/build
    -DCMAKE_PREFIX_PATH=${prefix} ${toolchain_args})
run(${CMAKE_COMMAND} --build ${WORK_DIR}/build)
run(${EMULATOR} ${WORK_DIR}/build/orvik-c-consumer)
message(STATUS "${last_output}")
