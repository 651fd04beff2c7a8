# shellcheck shell=bash
# shellcheck disable=SC2154 # project_dir comes from scripts/lib/project.sh, architecture to sysroot from cross.sh
# Runs the tests of build/armhf on Debian's kernel for 32-bit ARM, on a whole machine that qemu-system-arm emulates:
# qemu-user lets every misaligned access pass, the kernel counts those that the processor refuses. Sourced by
# scripts/test.

# Seconds that the machine may take. A run takes a sixth of it where nothing else keeps the processors busy.
system_time_limit=1800

# What the machine is booted with; busybox is the system around the tests.
system_packages=(linux-image-armmp busybox-static)

# Puts the kernel and busybox into a folder.
unpack_system() {
  local folder=$1 packages
  packages=$(mktemp -d)
  say "fetching Debian's kernel for 32-bit ARM"
  download_packages "$packages" "${system_packages[@]}"
  # Neither what the two depend on nor the kernel's modules are of use here.
  dpkg-deb --fsys-tarfile "$packages"/linux-image-[0-9]*.deb | tar -xO --wildcards './boot/vmlinuz-*' >"$folder/vmlinuz"
  dpkg-deb --fsys-tarfile "$packages"/busybox-static_*.deb | tar -xO ./bin/busybox >"$folder/busybox"
  rm -rf "$packages"
}

# A program with one load that the processor refuses: it shows that the kernel counts.
compile_misaligned_load() {
  "$triplet-gcc" --sysroot="$sysroot" -static -x c -o "$1" - <<'END'
int main(void) {
  static unsigned words[3];
  __asm__ volatile("ldm %0, {r2, r3}" : : "r"((char*)words + 1) : "r2", "r3", "memory");
  return 0;
}
END
}

# The root folder that the kernel unpacks into memory. Libraries lie where the loader looks for them by itself.
make_initramfs() {
  local folder=$1 build=$project_dir/build/armhf
  local root=$folder/root
  mkdir -p "$root"/{bin,dev,lib,proc,tests,tmp}
  cp -a "$sysroot/lib/$triplet"/*.so* "$sysroot/usr/lib/$triplet"/*.so.* "$build"/lib/*.so* "$root/lib"
  cp "$build"/bin/{*_tests,vyfp_c_header_test,vyfp_endurance} "$root/tests"
  install -m 755 "$folder/busybox" "$root/bin/busybox"
  install -m 755 "$project_dir/scripts/lib/armhf-init" "$root/init"
  compile_misaligned_load "$root/bin/misaligned-load"
  (cd "$root" && find . | cpio --quiet --create --format newc --owner 0:0 | gzip -1) >"$folder/initramfs"
}

test_on_armhf_kernel() {
  local folder log=$log_dir/armhf-system.log status=0
  install_packages qemu-system-arm cpio
  folder=$(mktemp -d)
  # shellcheck disable=SC2064 # the folder's name is known now
  trap "rm -rf '$folder'" EXIT
  unpack_system "$folder"
  make_initramfs "$folder"
  say "left out: vycam_test, as its command goes through qemu-user; ExportsTest, LocaleTest: no nm, readelf, localedef"
  say "running the tests of build/armhf on an emulated machine; its console is in build/logs/${log##*/}"
  # A kernel that panics restarts the machine at once (panic=-1), which ends qemu (-no-reboot).
  timeout "$system_time_limit" qemu-system-arm -machine virt -smp 2 -m 1024 -nographic -nic none -no-reboot \
    -kernel "$folder/vmlinuz" -initrd "$folder/initramfs" \
    -append "console=ttyAMA0 loglevel=5 panic=-1 VYFP_SWEEP_STEP=$VYFP_SWEEP_STEP" </dev/null |
    sed -u 's,\r$,,' | tee "$log" || status=${PIPESTATUS[0]}
  [ "$status" -ne 124 ] || fail "the machine was not through after $system_time_limit seconds"
  grep -qx "all suites passed" "$log" || fail "not all suites have passed on the emulated machine"
}
