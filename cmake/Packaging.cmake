# Debian packages from any configured tree: `cpack -G DEB` (or `cmake --build <tree>
# --target package`) after a build gives, for the tree's architecture,
#   liborvik-utilities1     install COMPONENT runtime      the versioned shared object
#   liborvik-utilities-dev  install COMPONENT development  headers, link, CMake and pkg-config
#   orvik-utils             install COMPONENT tools        programs and their manual pages
# A package is made only for a component that has something installed, so orvik-utils
# appears as soon as a program installs itself with COMPONENT tools.
#
# Included before GNUInstallDirs, because the multiarch library directory has to be
# chosen before any install rule uses it; the CPack set-up itself is deferred to the end
# of the top-level directory, when every install rule is known.

set(ORVIK_PACKAGING_DIR ${PROJECT_SOURCE_DIR}/packaging)

# Debian keeps each architecture's libraries apart (lib/x86_64-linux-gnu,
# lib/arm-linux-gnueabi) so the amd64 and armel packages can be installed side by side.
# GNUInstallDirs does so only for the /usr prefix; here every Debian toolchain gets it,
# so the packages come out right from a tree with the default prefix. Trees configured
# before this rule carry GNUInstallDirs' plain "lib", which is moved once; a directory
# given with -DCMAKE_INSTALL_LIBDIR is kept.
if(CMAKE_LIBRARY_ARCHITECTURE)
    set(orvik_multiarch_libdir lib/${CMAKE_LIBRARY_ARCHITECTURE})
    if(NOT DEFINED CMAKE_INSTALL_LIBDIR)
        set(CMAKE_INSTALL_LIBDIR ${orvik_multiarch_libdir}
            CACHE PATH "Object code libraries (LIBDIR)")
    elseif(NOT DEFINED ORVIK_LIBDIR_SETTLED AND CMAKE_INSTALL_LIBDIR STREQUAL "lib"
            AND DEFINED _GNUInstallDirs_LAST_CMAKE_INSTALL_PREFIX
            AND NOT _GNUInstallDirs_LAST_CMAKE_INSTALL_PREFIX MATCHES "^/usr/?$")
        set_property(CACHE CMAKE_INSTALL_LIBDIR PROPERTY VALUE ${orvik_multiarch_libdir})
    endif()
    set(ORVIK_LIBDIR_SETTLED ON CACHE INTERNAL "CMAKE_INSTALL_LIBDIR default applied")
endif()

# Debian's name for the target architecture.
function(orvik_debian_architecture out)
    find_program(ORVIK_DPKG_ARCHITECTURE dpkg-architecture)
    set(arch "")
    if(CMAKE_LIBRARY_ARCHITECTURE AND ORVIK_DPKG_ARCHITECTURE)
        execute_process(COMMAND ${ORVIK_DPKG_ARCHITECTURE} -t ${CMAKE_LIBRARY_ARCHITECTURE}
                -qDEB_HOST_ARCH
            OUTPUT_VARIABLE arch OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
    endif()
    if(arch STREQUAL "")
        if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64)$")
            set(arch amd64)
        elseif(CMAKE_SYSTEM_PROCESSOR MATCHES "^(aarch64|arm64)$")
            set(arch arm64)
        elseif(CMAKE_SYSTEM_PROCESSOR MATCHES "^arm" AND CMAKE_CXX_COMPILER MATCHES "gnueabihf")
            set(arch armhf)
        elseif(CMAKE_SYSTEM_PROCESSOR MATCHES "^arm")
            set(arch armel)
        else()
            set(arch ${CMAKE_SYSTEM_PROCESSOR})
        endif()
    endif()
    set(${out} ${arch} PARENT_SCOPE)
endfunction()

function(orvik_configure_packages)
    set(pkg_build ${PROJECT_BINARY_DIR}/packaging)
    # The runtime package is named after the SONAME (liborvik_utilities.so.1), so a new
    # SONAME gives a new package that installs beside the old one.
    set(runtime_package liborvik-utilities${PROJECT_VERSION_MAJOR})
    set(dev_package liborvik-utilities-dev)
    set(tools_package orvik-utils)
    set(package_of_runtime ${runtime_package})
    set(package_of_development ${dev_package})
    set(package_of_tools ${tools_package})

    # The newest changelog entry names the package version; it must be this version of
    # the library with a Debian revision, so a version bump cannot ship without an entry.
    set(changelog ${ORVIK_PACKAGING_DIR}/changelog)
    set_property(DIRECTORY ${PROJECT_SOURCE_DIR} APPEND PROPERTY
        CMAKE_CONFIGURE_DEPENDS ${changelog} ${ORVIK_PACKAGING_DIR}/copyright)
    file(STRINGS ${changelog} heading LIMIT_COUNT 1)
    if(NOT heading MATCHES "^[a-z0-9.+-]+ \\(([0-9.]+)-([0-9A-Za-z.+~]+)\\) ")
        message(FATAL_ERROR "${changelog}: first line is not a Debian changelog heading")
    endif()
    if(NOT CMAKE_MATCH_1 STREQUAL PROJECT_VERSION)
        message(FATAL_ERROR "${changelog}: newest entry is ${CMAKE_MATCH_1}, the project is "
            "${PROJECT_VERSION}; add an entry for the new version")
    endif()
    set(revision ${CMAKE_MATCH_2})
    file(STRINGS ${changelog} trailer REGEX "^ -- .+ <.+>  " LIMIT_COUNT 1)
    string(REGEX REPLACE "^ -- (.+ <[^>]+>)  .*$" "\\1" maintainer "${trailer}")

    # The same compressed changelog in every package and on every architecture: gzip
    # without name or time stamp, so Multi-Arch: same packages stay co-installable.
    file(MAKE_DIRECTORY ${pkg_build})
    execute_process(COMMAND gzip -9nc INPUT_FILE ${changelog}
        OUTPUT_FILE ${pkg_build}/changelog.Debian.gz RESULT_VARIABLE status)
    if(NOT status EQUAL 0)
        message(FATAL_ERROR "gzip failed on ${changelog}")
    endif()

    get_cmake_property(installed COMPONENTS)
    set(components)
    foreach(component runtime development tools)
        if(component IN_LIST installed)
            list(APPEND components ${component})
        endif()
    endforeach()
    set(strays ${installed})
    list(REMOVE_ITEM strays runtime development tools)
    if(strays)
        message(WARNING "install rules outside the runtime, development and tools components "
            "are left out of the Debian packages: ${strays}")
    endif()

    # Per-package documents. EXCLUDE_FROM_ALL: a plain `cmake --install` leaves them out,
    # the packages (which install component by component) get them.
    foreach(component IN LISTS components)
        install(FILES ${ORVIK_PACKAGING_DIR}/copyright ${pkg_build}/changelog.Debian.gz
            DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc/${package_of_${component}}
            COMPONENT ${component} EXCLUDE_FROM_ALL)
    endforeach()

    # The runtime package's symbols file: every exported name, introduced in the version
    # that first shipped it. Made from the built library, since the decorated names
    # differ between architectures (size_t, ...).
    add_custom_command(OUTPUT ${pkg_build}/symbols
        COMMAND ${CMAKE_COMMAND} -DNM=${CMAKE_NM} -DLIBRARY=$<TARGET_FILE:orvik_utilities>
            -DSONAME=$<TARGET_SONAME_FILE_NAME:orvik_utilities>
            -DPACKAGE=${runtime_package} -DDEV_PACKAGE=${dev_package}
            -DSINCE=${ORVIK_PACKAGING_DIR}/symbols-since.txt
            -DFIRST_VERSION=${PROJECT_VERSION_MAJOR}.0.0 -DOUTPUT=${pkg_build}/symbols
            -P ${ORVIK_PACKAGING_DIR}/make-symbols.cmake
        DEPENDS orvik_utilities ${ORVIK_PACKAGING_DIR}/make-symbols.cmake
            ${ORVIK_PACKAGING_DIR}/symbols-since.txt
        COMMENT "Debian symbols file for ${runtime_package}"
        VERBATIM)
    add_custom_target(orvik_package_symbols ALL DEPENDS ${pkg_build}/symbols)

    orvik_debian_architecture(arch)
    set(version ${PROJECT_VERSION}-${revision})

    set(CPACK_GENERATOR DEB)
    set(CPACK_PACKAGE_NAME liborvik-utilities)
    set(CPACK_PACKAGE_VENDOR "Router platform team")
    set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
    # Each package's Description is its own (synopsis line, then the long text); CPack
    # prepends the project summary unless it is CPack's default one.
    set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${CMAKE_PROJECT_NAME} built using CMake")
    set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
    set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
    set(CPACK_STRIP_FILES ON)
    set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
        OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE
        WORLD_READ WORLD_EXECUTE)
    set(CPACK_COMPONENTS_ALL ${components})
    set(CPACK_DEB_COMPONENT_INSTALL ON)

    set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
    set(CPACK_DEBIAN_PACKAGE_RELEASE ${revision})
    set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE ${arch})
    set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${maintainer}")
    set(CPACK_DEBIAN_PACKAGE_SOURCE liborvik-utilities)
    set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
    set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
    set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
    set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
    # Where dpkg-shlibdeps finds liborvik_utilities.so.1 for the tools; the dependency
    # on it is written out below, since no installed package provides it yet.
    get_target_property(library_dir orvik_utilities LIBRARY_OUTPUT_DIRECTORY)
    if(NOT library_dir)
        get_target_property(library_dir orvik_utilities BINARY_DIR)
    endif()
    set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${library_dir})
    set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
    set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")

    set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${runtime_package})
    set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
    set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA
        ${pkg_build}/symbols ${ORVIK_PACKAGING_DIR}/triggers)
    set(CPACK_DEBIAN_RUNTIME_DESCRIPTION
"shared utility library of the router's daemons and tools
liborvik_utilities gives the router's daemons and tools reference-counted
text with its own formatting engine, integer and address conversions,
Base64, hash tables and intrusive lists, a configuration file reader,
MD5, SHA-1 and HMAC, an ICMP ping client and the device services
(logging set-up, watchdog client, interface status, LEDs, process table).
.
This package contains the shared library.")

    set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME ${dev_package})
    set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
    set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${runtime_package} (= ${version})")
    set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION
"shared utility library of the router's daemons and tools - development files
liborvik_utilities gives the router's daemons and tools reference-counted
text, conversions, containers, configuration files, digests, network
probes and the device services.
.
This package contains the C++ headers, the link to the library, the CMake
package (find_package(orvik_utilities)) and the pkg-config file.")

    set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME ${tools_package})
    set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION admin)
    set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "${runtime_package} (>= ${PROJECT_VERSION})")
    set(CPACK_DEBIAN_TOOLS_DESCRIPTION
"operator and developer tools of the router's utility library
Command-line programs built on liborvik_utilities: the operator tool
orvik-util and, where built, the device sandbox orvik-sandbox that
recreates the device's environment for running daemons on a PC.")

    # Manual pages are compressed before packing. CPack has no field for Multi-Arch, and
    # calls ldconfig from maintainer scripts where Debian uses a trigger: both are
    # settled in the finished packages.
    set(CPACK_PRE_BUILD_SCRIPTS ${ORVIK_PACKAGING_DIR}/compress-manpages.cmake)
    set(CPACK_DEBIAN_MULTIARCH_SAME ${runtime_package} ${dev_package})
    set(CPACK_POST_BUILD_SCRIPTS ${ORVIK_PACKAGING_DIR}/finish-packages.cmake)

    # A cross build's libraries belong to the target's packages, which the build machine
    # knows only through the cross toolchain's copies: dpkg-shlibdeps goes through a
    # wrapper that reads those as the target architecture.
    if(CMAKE_CROSSCOMPILING)
        set(CPACK_ORVIK_SHLIBDEPS ${ORVIK_PACKAGING_DIR}/cross-shlibdeps.sh)
        set(CPACK_ORVIK_HOST_ARCH ${arch})
        set(CPACK_ORVIK_READELF ${CMAKE_READELF})
        set(CPACK_ORVIK_CROSS_LIBDIRS)
        foreach(root IN LISTS CMAKE_SYSROOT CMAKE_FIND_ROOT_PATH)
            list(APPEND CPACK_ORVIK_CROSS_LIBDIRS ${root}/lib ${root}/usr/lib
                ${root}/lib/${CMAKE_LIBRARY_ARCHITECTURE}
                ${root}/usr/lib/${CMAKE_LIBRARY_ARCHITECTURE})
        endforeach()
        set(CPACK_PROJECT_CONFIG_FILE ${ORVIK_PACKAGING_DIR}/cpack-project.cmake)
    endif()

    include(CPack)
endfunction()

cmake_language(DEFER DIRECTORY ${PROJECT_SOURCE_DIR} CALL orvik_configure_packages)
