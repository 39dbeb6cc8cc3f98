# Compares the built shared object with the interface description kept in the
# repository (abidw's XML). Any difference fails: a changed class layout, a moved
# virtual slot, a changed parameter type, a removed or an added symbol. A deliberate
# change updates the description with the abi-baseline target (see the README).
cmake_minimum_required(VERSION 3.25)

if("${ABIDIFF}" STREQUAL "" OR NOT EXISTS "${ABIDIFF}")
    message(STATUS "SKIPPED: abidiff (abigail-tools) is not installed")
    return()
endif()
if(NOT EXISTS ${BASELINE})
    message(FATAL_ERROR "no interface description ${BASELINE}; make it with "
        "`cmake --build <this tree> --target abi-baseline` and commit it")
endif()

execute_process(COMMAND ${ABIDIFF} --headers-dir2 ${HEADERS} --drop-private-types
        --fail-no-debug-info ${BASELINE} ${LIBRARY}
    RESULT_VARIABLE status OUTPUT_VARIABLE report ERROR_VARIABLE errors)
if(status EQUAL 0)
    message(STATUS "interface unchanged from ${BASELINE}")
    return()
endif()

# abidiff's status is a bit set: 1 its own error, 2 usage, 4 a change, 8 an
# incompatible change.
set(kind "a change")
if(NOT status MATCHES "^[0-9]+$" OR status LESS 4)
    set(kind "an abidiff failure")
elseif(status GREATER_EQUAL 8)
    set(kind "an incompatible change")
endif()
message(FATAL_ERROR "${kind} (abidiff status ${status}) against ${BASELINE}:\n"
    "${report}${errors}\n"
    "Intended? Update the description with the abi-baseline target, and raise the "
    "SONAME if existing programs would break (README, \"The interface guard\").")
