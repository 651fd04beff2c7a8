# Cross-builds for 32-bit ARM (Debian armhf) with Debian's cross-compiler. The libraries come from build/armhf-sysroot,
# which scripts/lib/armhf.sh fills; qemu-user runs what was built.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)
set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabihf)
set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)

get_filename_component(armhf_sysroot ${CMAKE_CURRENT_LIST_DIR}/../build/armhf-sysroot ABSOLUTE)
set(CMAKE_SYSROOT ${armhf_sysroot})
set(CMAKE_FIND_ROOT_PATH ${armhf_sysroot})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm;-L;${armhf_sysroot})
set(ENV{PKG_CONFIG_SYSROOT_DIR} ${armhf_sysroot})
set(ENV{PKG_CONFIG_LIBDIR} ${armhf_sysroot}/usr/lib/arm-linux-gnueabihf/pkgconfig:${armhf_sysroot}/usr/share/pkgconfig)
