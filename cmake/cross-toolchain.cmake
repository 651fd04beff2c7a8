# What the toolchain files of the targets share. They set debian_architecture, compiler_triplet and emulator. The compiler
# is Debian's cross-compiler. The libraries come from build/ARCHITECTURE-sysroot, which scripts/lib/cross.sh fills;
# qemu-user runs what was built.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_C_COMPILER ${compiler_triplet}-gcc)
set(CMAKE_CXX_COMPILER ${compiler_triplet}-g++)

get_filename_component(sysroot ${CMAKE_CURRENT_LIST_DIR}/../build/${debian_architecture}-sysroot ABSOLUTE)
set(CMAKE_SYSROOT ${sysroot})
set(CMAKE_FIND_ROOT_PATH ${sysroot})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(CMAKE_INSTALL_LIBDIR lib/${CMAKE_LIBRARY_ARCHITECTURE} CACHE PATH "Debian's folder for libraries")
set(CMAKE_CROSSCOMPILING_EMULATOR ${emulator};-L;${sysroot})
set(ENV{PKG_CONFIG_SYSROOT_DIR} ${sysroot})
set(ENV{PKG_CONFIG_LIBDIR} ${sysroot}/usr/lib/${CMAKE_LIBRARY_ARCHITECTURE}/pkgconfig:${sysroot}/usr/share/pkgconfig)
