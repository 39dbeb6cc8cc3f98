# clang-tidy (the checks of .clang-tidy) over the library's sources, with the compile
# commands of the build in BUILD_DIR. A finding fails, except in the files named in
# cmake/tidy-pending.txt (one path from the root a line), which are reported only: their
# owners are fixing them.
cmake_minimum_required(VERSION 3.25)
set(pending)
if(EXISTS ${ROOT}/cmake/tidy-pending.txt)
    file(STRINGS ${ROOT}/cmake/tidy-pending.txt pending REGEX "^[^#]")
endif()
file(GLOB_RECURSE sources ${ROOT}/src/*.cpp)
# The GCC-only warning options of the compile commands mean nothing to clang.
execute_process(COMMAND ${CLANG_TIDY} -p ${BUILD_DIR} --quiet
        --extra-arg=-Wno-unknown-warning-option ${sources}
    OUTPUT_VARIABLE output ERROR_QUIET)
string(REPLACE ";" "," output "${output}")
string(REGEX MATCHALL "[^\n]+: (warning|error): [^\n]+" findings "${output}")
list(REMOVE_DUPLICATES findings)
set(failing)
set(waiting)
foreach(finding IN LISTS findings)
    string(REGEX REPLACE ":[0-9]+:[0-9]+: .*" "" file "${finding}")
    file(RELATIVE_PATH relative ${ROOT} ${file})
    string(REPLACE "${ROOT}/" "" finding "${finding}")
    if(relative IN_LIST pending)
        list(APPEND waiting "${finding}")
    else()
        list(APPEND failing "${finding}")
    endif()
endforeach()
if(waiting)
    string(REPLACE ";" "\n  " waiting "${waiting}")
    message(STATUS "findings in cmake/tidy-pending.txt files:\n  ${waiting}")
endif()
if(failing)
    string(REPLACE ";" "\n  " failing "${failing}")
    message(FATAL_ERROR "clang-tidy findings:\n  ${failing}")
endif()
message(STATUS "clang-tidy: no findings")
