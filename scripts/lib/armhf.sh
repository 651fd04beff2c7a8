# shellcheck shell=bash
# shellcheck disable=SC2154 # project_dir comes from scripts/lib/project.sh
# What cross-building for 32-bit ARM needs beyond scripts/lib/project.sh, which is sourced before this file.

# shellcheck disable=SC2034 # used by the scripts that source this file
armhf_packages=(g++-arm-linux-gnueabihf qemu-user)

# Libraries for the target. CLI11 and png++ have only headers, which the cross-compiler reads from here, too.
armhf_target_packages=(
  libc6-dev libstdc++-12-dev libfmt-dev libcli11-dev libpng++-dev libgd-dev libpugixml-dev libgtest-dev libgmock-dev
  nlohmann-json3-dev libzstd-dev liblz4-dev
)

# Unpacks the target's libraries into build/armhf-sysroot. They are not installed: apt demands the same version for all
# architectures, which an archive does not have in the middle of an update.
armhf_sysroot() {
  local root=$project_dir/build/armhf-sysroot
  local wanted="${armhf_target_packages[*]}"
  [ "$(cat "$root/.packages" 2>/dev/null)" = "$wanted" ] && return
  say "unpacking the target's libraries into build/armhf-sysroot"
  local apt_dir package
  apt_dir=$(mktemp -d)
  rm -rf "$root"
  mkdir -p "$root" "$apt_dir/state/lists/partial" "$apt_dir/cache/archives/partial"
  : >"$apt_dir/status"
  local apt=(apt-get -qq -o APT::Architecture=armhf -o APT::Architectures=armhf -o APT::Sandbox::User=root
    -o Dir::State="$apt_dir/state" -o Dir::State::status="$apt_dir/status" -o Dir::Cache="$apt_dir/cache"
    -o Debug::NoLocking=1 -o Acquire::Retries=3)
  (logged armhf-update "${apt[@]}" update) || say "going on with the package lists that could be had"
  logged armhf-download "${apt[@]}" install -y --download-only --no-install-recommends "${armhf_target_packages[@]}"
  for package in "$apt_dir"/cache/archives/*.deb; do
    dpkg-deb -x "$package" "$root" || fail "cannot unpack ${package##*/}"
  done
  # Absolute links would lead out of the sysroot.
  local link
  while IFS= read -r -d '' link; do
    ln -sfn "$root$(readlink "$link")" "$link"
  done < <(find "$root" -type l -lname '/*' -print0)
  rm -rf "$apt_dir"
  printf '%s\n' "$wanted" >"$root/.packages"
}
