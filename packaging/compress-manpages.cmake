# CPack pre-build step: Debian ships manual pages compressed (gzip -9n, so the same page
# gives the same bytes on every architecture and every build), while the tools install
# them as plain roff for `cmake --install`. Runs on the staged files of every package.
file(GLOB_RECURSE pages LIST_DIRECTORIES false ${CPACK_TEMPORARY_DIRECTORY}/*)
list(FILTER pages INCLUDE REGEX "/share/man/([a-z_A-Z.@]+/)?man[1-9]/[^/]+$")
foreach(page IN LISTS pages)
    if(page MATCHES "\\.gz$" OR IS_SYMLINK ${page})
        continue()
    endif()
    execute_process(COMMAND gzip -9n ${page} COMMAND_ERROR_IS_FATAL ANY)
endforeach()
