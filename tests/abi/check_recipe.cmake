# Runs one shell recipe of the README exactly as written: the block after the marker
# "<!-- recipe: NAME -->", in a scratch copy of the repository root (its build tree, cmake/
# and examples/ linked in) with a scratch HOME, so it installs and builds nothing elsewhere.
cmake_minimum_required(VERSION 3.25)

file(READ ${README} readme)
string(REPLACE ";" "@SEMICOLON@" readme "${readme}")
if(NOT readme MATCHES "<!-- recipe: ${RECIPE} -->\n```sh\n([^`]*)```")
    message(FATAL_ERROR "${README} has no recipe \"${RECIPE}\"")
endif()
string(REPLACE "@SEMICOLON@" ";" recipe "${CMAKE_MATCH_1}")

file(REMOVE_RECURSE ${WORK_DIR})
set(root ${WORK_DIR}/root)
file(MAKE_DIRECTORY ${root}/build ${WORK_DIR}/home)
file(CREATE_LINK ${BUILD_DIR} ${root}/build/${BUILD_NAME} SYMBOLIC)
file(CREATE_LINK ${SOURCE_DIR}/cmake ${root}/cmake SYMBOLIC)
file(CREATE_LINK ${SOURCE_DIR}/examples ${root}/examples SYMBOLIC)
file(WRITE ${WORK_DIR}/recipe.sh "set -eux\n${recipe}")

execute_process(
    COMMAND ${CMAKE_COMMAND} -E env HOME=${WORK_DIR}/home --unset=PKG_CONFIG_PATH
        bash ${WORK_DIR}/recipe.sh
    WORKING_DIRECTORY ${root}
    RESULT_VARIABLE status OUTPUT_VARIABLE out ERROR_VARIABLE err)
if(NOT status EQUAL 0)
    message(FATAL_ERROR "recipe \"${RECIPE}\" failed (${status}):\n${out}\n${err}")
endif()
message(STATUS "recipe \"${RECIPE}\" ran:\n${out}")
