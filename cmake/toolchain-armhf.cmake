# Cross build for the product's platform, 32-bit ARM Linux (armhf), with
# Debian's cross compiler (package g++-arm-linux-gnueabihf). Programs built
# here run on the host under qemu-arm user emulation (package qemu-user),
# which CTest uses as the cross-compiling emulator.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)

set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)

set(CMAKE_FIND_ROOT_PATH /usr/arm-linux-gnueabihf)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm -L /usr/arm-linux-gnueabihf)

# g++ notes on armhf that the passing of some std:: iterators changed in
# GCC 7.1; every object here is built by one compiler, so the note is noise.
set(CMAKE_CXX_FLAGS_INIT "-Wno-psabi")
