# shellcheck shell=bash
# shellcheck disable=SC2154 # project_dir comes from scripts/lib/project.sh
# What cross-building needs beyond scripts/lib/project.sh, which is sourced before this file. A target is named by
# Debian's word for the architecture; cmake/NAME-toolchain.cmake is its other half.

cross_targets="armhf arm64 i386"

# Sets: architecture, triplet (prefix of compiler and binutils), sysroot (its folder), emulator (runs what was built).
#   use_cross_target NAME
# shellcheck disable=SC2034 # used by the scripts that source this file
use_cross_target() {
  architecture=$1
  sysroot=$project_dir/build/$1-sysroot
  case $1 in
    armhf) triplet=arm-linux-gnueabihf emulator=(qemu-arm -L "$sysroot") ;;
    arm64) triplet=aarch64-linux-gnu emulator=(qemu-aarch64 -L "$sysroot") ;;
    i386) triplet=i686-linux-gnu emulator=(qemu-i386 -L "$sysroot") ;;
    *) fail "unknown target '$1'; there are: $cross_targets" ;;
  esac
}

# Libraries for the target. CLI11 and png++ have only headers, which the cross-compiler reads from here, too.
sysroot_packages=(
  libc6-dev libstdc++-12-dev libfmt-dev libcli11-dev libpng++-dev libgd-dev libpugixml-dev libgtest-dev libgmock-dev
  nlohmann-json3-dev libwebsockets-dev libzstd-dev liblz4-dev
)

# Installs what cross-building for the target takes, and fills its sysroot.
prepare_cross_target() {
  install_packages "g++-$triplet" qemu-user
  (
    hold "$architecture-sysroot"
    make_sysroot
  )
}

# Puts Debian packages for the target's architecture, and what they depend on, into a folder, as files.
#   download_packages FOLDER PACKAGE...
download_packages() {
  local folder=$1 apt_dir
  shift
  apt_dir=$(mktemp -d)
  mkdir -p "$folder/partial" "$apt_dir/state/lists/partial" "$apt_dir/cache"
  : >"$apt_dir/status"
  local apt=(apt-get -qq -o APT::Architecture="$architecture" -o APT::Architectures="$architecture"
    -o APT::Sandbox::User=root -o Dir::State="$apt_dir/state" -o Dir::State::status="$apt_dir/status"
    -o Dir::Cache="$apt_dir/cache" -o Dir::Cache::archives="$folder" -o Debug::NoLocking=1 -o Acquire::Retries=3)
  (logged "$architecture-update" "${apt[@]}" update) || say "going on with the package lists that could be had"
  logged "$architecture-download" "${apt[@]}" install -y --download-only --no-install-recommends "$@"
  rm -rf "$apt_dir"
}

# Unpacks the target's libraries into its sysroot. They are not installed: apt demands the same version for all
# architectures, which an archive does not have in the middle of an update.
make_sysroot() {
  local wanted="${sysroot_packages[*]}" packages package link
  [ "$(cat "$sysroot/.packages" 2>/dev/null)" = "$wanted" ] && return
  say "unpacking the target's libraries into build/${sysroot##*/}"
  rm -rf "$sysroot"
  mkdir -p "$sysroot"
  packages=$(mktemp -d)
  download_packages "$packages" "${sysroot_packages[@]}"
  for package in "$packages"/*.deb; do
    dpkg-deb -x "$package" "$sysroot" || fail "cannot unpack ${package##*/}"
  done
  rm -rf "$packages"
  # Debian 13 has its libraries below /usr; /lib is a link there that no package carries.
  [ -d "$sysroot/lib" ] || ln -s usr/lib "$sysroot/lib"
  # Absolute links would lead out of the sysroot.
  while IFS= read -r -d '' link; do
    ln -sfn "$sysroot$(readlink "$link")" "$link"
  done < <(find "$sysroot" -type l -lname '/*' -print0)
  printf '%s\n' "$wanted" >"$sysroot/.packages"
}
