# Every ```cpp block of the guides and reference pages is a whole translation unit: each
# must compile warning-free against the public headers, so the examples cannot drift.
cmake_minimum_required(VERSION 3.25)

file(GLOB_RECURSE pages ${DOCS_DIR}/*.md)
file(REMOVE_RECURSE ${WORK_DIR})
file(MAKE_DIRECTORY ${WORK_DIR})
set(failures)
set(count 0)
foreach(page IN LISTS pages)
    file(READ ${page} content)
    # Semicolons would split CMake lists; carry them through as a marker.
    string(REPLACE ";" "@SEMICOLON@" content "${content}")
    string(REGEX MATCHALL "```cpp\n[^`]*```" blocks "${content}")
    get_filename_component(name ${page} NAME_WE)
    set(index 0)
    foreach(block IN LISTS blocks)
        math(EXPR index "${index} + 1")
        math(EXPR count "${count} + 1")
        string(REGEX REPLACE "^```cpp\n" "" code "${block}")
        string(REGEX REPLACE "```$" "" code "${code}")
        string(REPLACE "@SEMICOLON@" ";" code "${code}")
        set(source ${WORK_DIR}/${name}_${index}.cpp)
        file(WRITE ${source} "${code}")
        execute_process(
            COMMAND ${CXX} -std=c++17 -fsyntax-only -Wall -Wextra -Wpedantic -Werror
                -I${INCLUDE_DIR} ${source}
            RESULT_VARIABLE status OUTPUT_VARIABLE out ERROR_VARIABLE err)
        if(NOT status EQUAL 0)
            list(APPEND failures "${page}, example ${index}:\n${out}${err}")
        endif()
    endforeach()
endforeach()

if(failures)
    string(REPLACE ";" "\n" failures "${failures}")
    message(FATAL_ERROR "${failures}")
endif()
if(count EQUAL 0)
    message(FATAL_ERROR "no examples found under ${DOCS_DIR}")
endif()
message(STATUS "${count} examples compile")
