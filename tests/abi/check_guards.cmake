# Compiles misuse_guards.cpp once per case with the target's compiler: "accepted" must
# build warning-free, every refused case must fail for the reason it names.
cmake_minimum_required(VERSION 3.25)

set(refused construct_from_long construct_from_zero assign_int assign_bool append_long
    append_unsigned append_double append_enum plus_right plus_left parameter_from_int)
set(failures)

function(compile compiler case result_var message_var)
    execute_process(
        COMMAND ${compiler} -std=c++17 -fsyntax-only -Wall -Wextra -Wpedantic -Werror
            -I${INCLUDE_DIR} -DGUARD_CASE_${case}=1 ${SOURCE}
        RESULT_VARIABLE status OUTPUT_VARIABLE out ERROR_VARIABLE err)
    set(${result_var} ${status} PARENT_SCOPE)
    set(${message_var} "${out}${err}" PARENT_SCOPE)
endfunction()

set(compilers ${CXX})
if(CLANGXX)
    list(APPEND compilers ${CLANGXX})
endif()
foreach(compiler IN LISTS compilers)
    compile(${compiler} accepted status message)
    if(NOT status EQUAL 0)
        list(APPEND failures "${compiler}: the accepted calls do not compile:\n${message}")
    endif()
    foreach(case IN LISTS refused)
        compile(${compiler} ${case} status message)
        if(status EQUAL 0)
            list(APPEND failures "${compiler}: ${case} compiles")
        elseif(NOT message MATCHES "deleted")
            list(APPEND failures "${compiler}: ${case} fails for another reason:\n${message}")
        endif()
    endforeach()
endforeach()

# The lifetime attribute: clang refuses a reference bound to the returned default.
if(CLANGXX)
    compile(${CLANGXX} dangling_default status message)
    if(status EQUAL 0)
        list(APPEND failures "${CLANGXX}: a reference to a temporary default compiles")
    elseif(NOT message MATCHES "dangling")
        list(APPEND failures "${CLANGXX}: dangling_default fails for another reason:\n${message}")
    endif()
endif()

if(failures)
    string(REPLACE ";" "\n" failures "${failures}")
    message(FATAL_ERROR "${failures}")
endif()
list(LENGTH refused count)
message(STATUS "accepted calls compile; ${count} misuses refused by ${compilers}")
