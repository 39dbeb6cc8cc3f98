# Read by cpack before it packages a cross build: dpkg-shlibdeps is replaced by the
# wrapper that reads the cross toolchain's libraries as the target architecture's.
if(CPACK_GENERATOR STREQUAL "DEB" AND CPACK_ORVIK_SHLIBDEPS)
    set(SHLIBDEPS_EXECUTABLE ${CPACK_ORVIK_SHLIBDEPS} CACHE FILEPATH
        "dpkg-shlibdeps for the cross build" FORCE)
    set(ENV{ORVIK_DEB_HOST_ARCH} ${CPACK_ORVIK_HOST_ARCH})
    set(ENV{ORVIK_CROSS_READELF} ${CPACK_ORVIK_READELF})
    list(JOIN CPACK_ORVIK_CROSS_LIBDIRS ":" libdirs)
    set(ENV{ORVIK_CROSS_LIBDIRS} "${libdirs}")
endif()
