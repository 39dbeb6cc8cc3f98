# Warning and code-generation flags shared by the library, its tests and tools.

set(ORVIK_WARNINGS
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion
    -Wformat=2 -Wimplicit-fallthrough -Wmissing-declarations -Werror)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    list(APPEND ORVIK_WARNINGS -Wcast-align=strict)
else()
    list(APPEND ORVIK_WARNINGS -Wcast-align)
endif()

# The library throws nothing, and its function-local statics are documented as
# unguarded first-use objects, so neither exceptions nor guard locks are wanted.
set(ORVIK_LIBRARY_FLAGS -fno-exceptions -fno-threadsafe-statics)
# Calls between the library's own exported functions go direct (and may be inlined)
# instead of through the PLT; nobody interposes the library's symbols.
list(APPEND ORVIK_LIBRARY_FLAGS -fno-semantic-interposition)

set(ORVIK_SANITIZER_FLAGS)
if(ORVIK_SANITIZE)
    set(ORVIK_SANITIZER_FLAGS -fsanitize=address,undefined -fno-sanitize-recover=all
        -fno-omit-frame-pointer)
    add_compile_options(${ORVIK_SANITIZER_FLAGS})
    add_link_options(${ORVIK_SANITIZER_FLAGS})
endif()

# Applies the project's warnings to one of its own targets (never to GoogleTest).
function(orvik_strict_warnings target)
    target_compile_options(${target} PRIVATE ${ORVIK_WARNINGS})
endfunction()

# compile_commands.json in every tree, for clang-tidy (cmake/StyleChecks.cmake) and editors.
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
