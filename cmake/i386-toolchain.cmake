# Cross-builds for 32-bit x86 (Debian i386).
set(debian_architecture i386)
set(compiler_triplet i686-linux-gnu)
set(emulator qemu-i386)
set(CMAKE_SYSTEM_PROCESSOR i686)
set(CMAKE_LIBRARY_ARCHITECTURE i386-linux-gnu)
include(${CMAKE_CURRENT_LIST_DIR}/cross-toolchain.cmake)
