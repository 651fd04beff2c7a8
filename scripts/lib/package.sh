# shellcheck shell=bash
# The build that packages are made from, for one target. The scripts that check its size, ABI and packages source this
# file after scripts/lib/project.sh.
# shellcheck disable=SC2034,SC2154 # these variables are for the scripts that source this file, or from project.sh

# shellcheck source=scripts/lib/cross.sh
source "$project_dir/scripts/lib/cross.sh"

#   use_target native|armhf|arm64
# Sets: preset, build (its folder), architecture (Debian's word), tools (prefix of the binutils), emulator (runs what
# was built), cmake_target (options for builds outside the tree), compiler (for C without CMake).
use_target() {
  target=$1
  case $target in
    native)
      preset=gcc-werror
      architecture=$(dpkg --print-architecture)
      tools=
      emulator=()
      cmake_target=()
      compiler=gcc
      ;;
    armhf | arm64)
      use_cross_target "$target"
      preset=$target
      tools=$triplet-
      cmake_target=(--toolchain "$project_dir/cmake/$target-toolchain.cmake")
      compiler="$triplet-gcc --sysroot=$sysroot"
      ;;
    *) fail "unknown target '$target'; it is native, armhf or arm64" ;;
  esac
  build=$project_dir/build/$preset
  library=$build/lib/libvy_frame_processor.so
}

# Installs what the target's build needs and the further packages given, and builds what is installed.
build_package_preset() {
  install_packages "${build_packages[@]}" "$@"
  [ "$target" = native ] || prepare_cross_target
  build_preset "$preset" vy_frame_processor vy_frame_processor_recording tavrix_sdk vycam vyhost
}

# Prints the highest version of a symbol family (GLIBC, GLIBCXX, CXXABI, GCC) that a file needs; nothing if none.
#   highest_version FILE FAMILY
highest_version() {
  readelf --version-info --wide "$1" | sed -n '/needs section/,$p' | { grep -o "Name: $2_[0-9.]*" || true; } |
    sed 's/.*_//' | sort -V | tail -n 1
}
