# CPack post-build step, for what CPack's DEB generator cannot say itself: the finished
# runtime and development packages are unpacked, given "Multi-Arch: same", and packed
# again with dpkg-deb. The maintainer scripts CPack writes for a shared library only run
# ldconfig, which dpkg does through the ldconfig trigger (packaging/triggers) instead.
foreach(deb IN LISTS CPACK_PACKAGE_FILES)
    if(NOT deb MATCHES "\\.deb$")
        continue()
    endif()
    execute_process(COMMAND dpkg-deb --field ${deb} Package
        OUTPUT_VARIABLE package OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
    if(NOT package IN_LIST CPACK_DEBIAN_MULTIARCH_SAME)
        continue()
    endif()
    set(tree ${CPACK_TOPLEVEL_DIRECTORY}/multiarch-${package})
    file(REMOVE_RECURSE ${tree})
    execute_process(COMMAND dpkg-deb --raw-extract ${deb} ${tree} COMMAND_ERROR_IS_FATAL ANY)
    foreach(script postinst postrm)
        if(EXISTS ${tree}/DEBIAN/${script})
            file(STRINGS ${tree}/DEBIAN/${script} commands REGEX "^[ \t]*[^#\n ]")
            list(FILTER commands EXCLUDE REGEX "^(set -e|if .*|fi|[ \t]*ldconfig)$")
            if(NOT commands AND EXISTS ${tree}/DEBIAN/triggers)
                file(REMOVE ${tree}/DEBIAN/${script})
            endif()
        endif()
    endforeach()
    file(READ ${tree}/DEBIAN/control control)
    if(NOT control MATCHES "(^|\n)Multi-Arch:")
        string(STRIP "${control}" control)
        file(WRITE ${tree}/DEBIAN/control "${control}\nMulti-Arch: same\n")
    endif()
    execute_process(COMMAND dpkg-deb --root-owner-group -Z${CPACK_DEBIAN_COMPRESSION_TYPE}
            --build ${tree} ${deb}
        OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
    file(REMOVE_RECURSE ${tree})
endforeach()
