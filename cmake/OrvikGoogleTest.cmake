# GoogleTest for the tests, found one way on every target: built from the sources of
# Debian's libgtest-dev with the build's own compiler and flags, so the native, sanitizer
# and device builds all link a GoogleTest made like the code it tests. Gives GTest::gtest.
set(ORVIK_GOOGLETEST_SOURCE_DIR /usr/src/googletest CACHE PATH
    "GoogleTest sources (Debian package libgtest-dev)")
if(NOT EXISTS ${ORVIK_GOOGLETEST_SOURCE_DIR}/CMakeLists.txt)
    message(FATAL_ERROR "no GoogleTest sources in ${ORVIK_GOOGLETEST_SOURCE_DIR}: install "
        "libgtest-dev (scripts/install-deps.sh) or set ORVIK_GOOGLETEST_SOURCE_DIR")
endif()
if(NOT TARGET gtest)
    set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
    set(BUILD_GMOCK OFF CACHE BOOL "" FORCE)
    add_subdirectory(${ORVIK_GOOGLETEST_SOURCE_DIR} ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)
endif()
if(NOT TARGET GTest::gtest)
    add_library(GTest::gtest ALIAS gtest)
endif()
set(ORVIK_GTEST GTest::gtest)
