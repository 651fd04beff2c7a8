# Cross-builds for 32-bit ARM (Debian armhf).
set(debian_architecture armhf)
set(compiler_triplet arm-linux-gnueabihf)
set(emulator qemu-arm)
set(CMAKE_SYSTEM_PROCESSOR arm)
set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabihf)
include(${CMAKE_CURRENT_LIST_DIR}/cross-toolchain.cmake)
# All of it is compiled by one compiler: how an older one passed arguments does not matter.
set(CMAKE_CXX_FLAGS_INIT -Wno-psabi)
