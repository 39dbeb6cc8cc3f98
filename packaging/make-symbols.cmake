# Writes the Debian symbols file of the runtime package from the built shared object:
# every defined dynamic name with the version that first shipped it (symbols-since.txt,
# else FIRST_VERSION, the first release of this SONAME), so dependents ask for no newer
# library than the names they use need.
cmake_minimum_required(VERSION 3.25)

execute_process(COMMAND ${NM} -D --defined-only ${LIBRARY}
    OUTPUT_VARIABLE listing RESULT_VARIABLE status)
if(NOT status EQUAL 0)
    message(FATAL_ERROR "${NM} failed on ${LIBRARY}")
endif()

set(toolchain_symbols _init _fini _edata _end __bss_start __bss_start__ __bss_end__
    _bss_end__ __end__)

file(STRINGS ${SINCE} since_lines REGEX "^[0-9]")
foreach(line IN LISTS since_lines)
    if(line MATCHES "^([^ ]+) +([^ ]+)$")
        set("since_${CMAKE_MATCH_2}" ${CMAKE_MATCH_1})
    endif()
endforeach()

string(REPLACE "\n" ";" lines "${listing}")
set(names)
foreach(line IN LISTS lines)
    # nm may append @VERSION; the library's names are unversioned (@Base for dpkg).
    if(line MATCHES "^[0-9a-fA-F]+ [A-Za-z] ([^@ ]+)")
        if(NOT CMAKE_MATCH_1 IN_LIST toolchain_symbols)
            list(APPEND names ${CMAKE_MATCH_1})
        endif()
    endif()
endforeach()
list(REMOVE_DUPLICATES names)
list(SORT names)

set(text "${SONAME} ${PACKAGE} #MINVER#\n* Build-Depends-Package: ${DEV_PACKAGE}\n")
foreach(name IN LISTS names)
    set(version ${FIRST_VERSION})
    if(DEFINED "since_${name}")
        set(version ${since_${name}})
    endif()
    string(APPEND text " ${name}@Base ${version}\n")
endforeach()
file(WRITE ${OUTPUT}.tmp "${text}")
file(COPY_FILE ${OUTPUT}.tmp ${OUTPUT} ONLY_IF_DIFFERENT)
file(REMOVE ${OUTPUT}.tmp)
