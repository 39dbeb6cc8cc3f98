# Installs the built library into a scratch prefix, then builds and runs a consumer
# program (PROGRAM, default orvik-hello) against that installed copy through find_package
# and, when PKG_CONFIG is given, again through pkg-config (a C++ main.cpp).
cmake_minimum_required(VERSION 3.25)
if(NOT PROGRAM)
    set(PROGRAM orvik-hello)
endif()

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

# find_package(orvik_utilities)
set(toolchain_args)
if(TOOLCHAIN_FILE)
    # The cross toolchain confines searches to the device sysroot, so the package
    # directory is named outright.
    set(toolchain_args -DCMAKE_TOOLCHAIN_FILE=${TOOLCHAIN_FILE}
        -Dorvik_utilities_DIR=${prefix}/${LIBDIR}/cmake/orvik_utilities)
endif()
run(${CMAKE_COMMAND} -S ${CONSUMER_SOURCE} -B ${WORK_DIR}/cmake-build
    -DCMAKE_PREFIX_PATH=${prefix} ${toolchain_args})
run(${CMAKE_COMMAND} --build ${WORK_DIR}/cmake-build)
run(${EMULATOR} ${WORK_DIR}/cmake-build/${PROGRAM})
message(STATUS "find_package consumer: ${last_output}")

if(NOT DEFINED PKG_CONFIG)
    return()
endif()
# pkg-config --cflags --libs orvik_utilities, with only the scratch prefix searched.
set(ENV{PKG_CONFIG_LIBDIR} ${prefix}/${LIBDIR}/pkgconfig)
run(${PKG_CONFIG} --cflags --libs orvik_utilities)
string(STRIP "${last_output}" flags)
separate_arguments(flags UNIX_COMMAND "${flags}")
run(${CXX} -std=c++17 ${CONSUMER_SOURCE}/main.cpp ${flags}
    -Wl,-rpath,${prefix}/${LIBDIR} -o ${WORK_DIR}/orvik-hello-pc)
run(${EMULATOR} ${WORK_DIR}/orvik-hello-pc)
message(STATUS "pkg-config consumer: ${last_output}")
