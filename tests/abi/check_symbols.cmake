# Compares the shared object's defined dynamic symbols (demangled) with the expected
cmake_minimum_required(VERSION 3.25)
# list: a missing symbol, a leaked internal one, or a C name that came out decorated
# (or a C++ name that came out plain) all show up as a difference.
# The expected list writes the size parameter of the buffer's operator new as size_t.

execute_process(COMMAND ${NM} -D --defined-only -C ${LIBRARY}
    OUTPUT_VARIABLE listing RESULT_VARIABLE status)
if(NOT status EQUAL 0)
    message(FATAL_ERROR "${NM} failed on ${LIBRARY}")
endif()

# Symbols every shared object carries from the toolchain, not from the library.
set(toolchain_symbols _init _fini _edata _end __bss_start __bss_start__ __bss_end__
    _bss_end__ __end__)

string(REPLACE "\n" ";" lines "${listing}")
set(actual)
foreach(line IN LISTS lines)
    if(line MATCHES "^[0-9a-fA-F]+ [A-Za-z] (.+)$")
        set(name "${CMAKE_MATCH_1}")
        if(NOT name IN_LIST toolchain_symbols)
            list(APPEND actual "${name}")
        endif()
    endif()
endforeach()
list(REMOVE_DUPLICATES actual)

if(POINTER_SIZE EQUAL 4)
    set(size_type "unsigned int")
else()
    set(size_type "unsigned long")
endif()
file(STRINGS ${EXPECTED} expected_lines)
set(expected)
foreach(line IN LISTS expected_lines)
    string(STRIP "${line}" line)
    if(line STREQUAL "" OR line MATCHES "^#")
        continue()
    endif()
    string(REPLACE "size_t" "${size_type}" line "${line}")
    list(APPEND expected "${line}")
endforeach()

set(missing)
foreach(name IN LISTS expected)
    if(NOT name IN_LIST actual)
        list(APPEND missing "${name}")
    endif()
endforeach()
set(unexpected)
foreach(name IN LISTS actual)
    if(NOT name IN_LIST expected)
        list(APPEND unexpected "${name}")
    endif()
endforeach()

list(LENGTH expected expected_count)
if(missing OR unexpected)
    string(REPLACE ";" "\n  " missing "${missing}")
    string(REPLACE ";" "\n  " unexpected "${unexpected}")
    message(FATAL_ERROR "exported symbols differ from ${EXPECTED}\n"
        "missing:\n  ${missing}\nnot in the interface:\n  ${unexpected}")
endif()
message(STATUS "all ${expected_count} interface symbols exported, nothing else")
