# The style checks: clang-format over the whole tree (targets format-check and format) and
# clang-tidy over the library's sources, both also run by ctest in the native build.

file(GLOB_RECURSE ORVIK_FORMAT_FILES CONFIGURE_DEPENDS
    ${PROJECT_SOURCE_DIR}/include/*.h
    ${PROJECT_SOURCE_DIR}/src/*.cpp ${PROJECT_SOURCE_DIR}/src/*.h
    ${PROJECT_SOURCE_DIR}/tests/*.cpp ${PROJECT_SOURCE_DIR}/tests/*.h
    ${PROJECT_SOURCE_DIR}/bench/*.cpp ${PROJECT_SOURCE_DIR}/bench/*.h
    ${PROJECT_SOURCE_DIR}/fuzz/*.cpp ${PROJECT_SOURCE_DIR}/fuzz/*.h
    ${PROJECT_SOURCE_DIR}/tools/*.cpp ${PROJECT_SOURCE_DIR}/tools/*.h
    ${PROJECT_SOURCE_DIR}/examples/*.cpp ${PROJECT_SOURCE_DIR}/examples/*.h)

find_program(ORVIK_CLANG_FORMAT NAMES clang-format clang-format-14)
find_program(ORVIK_CLANG_TIDY NAMES clang-tidy clang-tidy-14)
set(ORVIK_STYLE_TESTS OFF)
if(NOT CMAKE_CROSSCOMPILING AND NOT ORVIK_SANITIZE AND ORVIK_BUILD_TESTS)
    set(ORVIK_STYLE_TESTS ON)
endif()

if(ORVIK_CLANG_FORMAT)
    set(check_format ${CMAKE_COMMAND} -DCLANG_FORMAT=${ORVIK_CLANG_FORMAT}
        -DROOT=${PROJECT_SOURCE_DIR} "-DFILES=${ORVIK_FORMAT_FILES}"
        -P ${PROJECT_SOURCE_DIR}/cmake/check_format.cmake)
    add_custom_target(format-check COMMAND ${check_format} VERBATIM)
    add_custom_target(format
        COMMAND ${ORVIK_CLANG_FORMAT} -i ${ORVIK_FORMAT_FILES}
        COMMENT "clang-format -i over the tree" VERBATIM)
    if(ORVIK_STYLE_TESTS)
        add_test(NAME style.format COMMAND ${check_format})
        set_tests_properties(style.format PROPERTIES LABELS style)
    endif()
else()
    message(STATUS "clang-format not found: no format-check target")
endif()

if(ORVIK_CLANG_TIDY AND ORVIK_STYLE_TESTS)
    add_test(NAME style.tidy
        COMMAND ${CMAKE_COMMAND} -DCLANG_TIDY=${ORVIK_CLANG_TIDY} -DBUILD_DIR=${CMAKE_BINARY_DIR}
            -DROOT=${PROJECT_SOURCE_DIR} -P ${PROJECT_SOURCE_DIR}/cmake/check_tidy.cmake)
    set_tests_properties(style.tidy PROPERTIES LABELS style TIMEOUT 1200)
endif()
