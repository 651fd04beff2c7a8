# Cross-builds for 64-bit ARM (Debian arm64).
set(debian_architecture arm64)
set(compiler_triplet aarch64-linux-gnu)
set(emulator qemu-aarch64)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)
include(${CMAKE_CURRENT_LIST_DIR}/cross-toolchain.cmake)
