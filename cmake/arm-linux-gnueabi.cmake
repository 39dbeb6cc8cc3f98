# Cross build for the device ABI: 32-bit little-endian ARM (armel), unsigned char,
# 32-bit long and pointers. Tests run under qemu-arm.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)

set(ORVIK_ARM_TRIPLE arm-linux-gnueabi)
set(ORVIK_ARM_SYSROOT /usr/${ORVIK_ARM_TRIPLE})

set(CMAKE_C_COMPILER ${ORVIK_ARM_TRIPLE}-gcc)
set(CMAKE_CXX_COMPILER ${ORVIK_ARM_TRIPLE}-g++)
set(CMAKE_NM ${ORVIK_ARM_TRIPLE}-nm CACHE FILEPATH "nm for the device ABI")
set(CMAKE_STRIP ${ORVIK_ARM_TRIPLE}-strip CACHE FILEPATH "strip for the device ABI")

# Keeps roots given on the command line (a firmware staging directory) ahead of the
# cross sysroot, so packages installed there are found.
list(APPEND CMAKE_FIND_ROOT_PATH ${ORVIK_ARM_SYSROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm -L ${ORVIK_ARM_SYSROOT})
