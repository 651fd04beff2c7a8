# shellcheck shell=bash
# What the project's scripts share: installing packages, configuring and building. Works from any current folder.

project_dir=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
log_dir=$project_dir/build/logs

# The tests use a precompiled header; ccache must compare its contents, not its times.
export CCACHE_SLOPPINESS=pch_defines,time_macros,include_file_mtime,include_file_ctime
# Paths are taken relative to the checkout, so that another checkout can use what this one has compiled.
export CCACHE_BASEDIR=$project_dir CCACHE_NOHASHDIR=1

# Debian packages that the default build and its tests need.
# shellcheck disable=SC2034 # used by the scripts that source this file
build_packages=(
  g++ cmake ninja-build pkg-config
  git # read at build time: the library carries its commit identifier
  libfmt-dev libcli11-dev libpng++-dev libgd-dev libpugixml-dev
  libgtest-dev libgmock-dev nlohmann-json3-dev libwebsockets-dev libzstd-dev liblz4-dev
  zstd    # unpacks the recordings that tests replay
  locales # a test compiles a locale with decimal commas
)

say() { printf '== %s\n' "$*"; }
fail() {
  printf '%s: %s\n' "${0##*/}" "$*" >&2
  exit 1
}

# Runs a command with its output in a log. Shows the log only when the command fails.
#   logged NAME COMMAND...
logged() {
  local log=$log_dir/$1.log
  shift
  mkdir -p "$log_dir"
  "$@" >"$log" 2>&1 && return
  cat "$log" >&2
  fail "failed: $*"
}

# Waits until no other script holds this checkout's lock of a name. The shell that calls holds it until it ends.
hold() {
  mkdir -p "$project_dir/build"
  exec 9>"$project_dir/build/$1.lock"
  flock 9
}

as_root() {
  if [ "$(id -u)" -eq 0 ]; then "$@"; else sudo "$@"; fi
}

apt_get() {
  (
    hold apt
    # A service that a package starts must not hold the lock, too.
    as_root env DEBIAN_FRONTEND=noninteractive apt-get -qq -o DPkg::Lock::Timeout=300 -o Acquire::Retries=3 "$@" 9>&-
  )
}

# Installs those of the given Debian packages that are missing. Needs neither root nor network when none is missing.
install_packages() {
  local package missing=()
  if ! command -v dpkg-query >/dev/null; then
    say "not a Debian system: taking for granted what these packages provide: $*"
    return
  fi
  for package; do
    [ "$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null)" = installed ] || missing+=("$package")
  done
  [ ${#missing[@]} -gt 0 ] || return 0

  if [ "$(id -u)" -ne 0 ] && ! command -v sudo >/dev/null; then
    fail "these packages are missing, and installing them takes root or sudo: ${missing[*]}"
  fi
  say "installing ${missing[*]}"
  # A package source that cannot be reached may not matter; the next step shows it.
  (logged apt-update apt_get update) || say "going on with the package lists that are there"
  logged apt-install apt_get install -y --no-install-recommends "${missing[@]}"
}

# Configures and builds a preset of CMakePresets.json in build/PRESET, or only some of its targets.
#   build_preset PRESET [TARGET...]
build_preset() {
  local preset=$1 fresh=() quiet=() targets=()
  [ $# -eq 1 ] || targets=(--target "${@:2}")
  local cache=$project_dir/build/$preset/CMakeCache.txt
  say "building in build/$preset"
  # A build folder that was copied with its checkout still refers to the old place.
  if [ -f "$cache" ] && ! grep -qxF "CMAKE_HOME_DIRECTORY:INTERNAL=$project_dir" "$cache"; then fresh=(--fresh); fi
  [ -t 1 ] || quiet=(--quiet) # on a terminal, ninja's progress takes one line
  (
    cd "$project_dir" || exit
    hold "$preset"
    if command -v ccache >/dev/null; then export CMAKE_C_COMPILER_LAUNCHER=ccache CMAKE_CXX_COMPILER_LAUNCHER=ccache; fi
    logged "configure-$preset" cmake --preset "$preset" "${fresh[@]}"
    cmake --build --preset "$preset" --parallel "$(nproc)" "${targets[@]}" -- "${quiet[@]}"
  )
}

# Runs the tests of a built preset. Shows failures and, as the last lines, ctest's summary.
#   test_preset PRESET [CTEST-OPTION...]
test_preset() {
  say "running the tests of build/$1"
  cd "$project_dir" || exit
  local run=(ctest --preset "$1" --parallel "$(nproc)" "${@:2}")
  if [ -t 1 ]; then
    "${run[@]}" --progress
  else
    "${run[@]}" | grep -vE '^ +Start +[0-9]+: | Passed +[0-9.]+ sec$'
  fi
}

# Builds `vycam` and what uses its viewer, tests/view, in $view_runner.
prepare_view_tests() {
  install_packages "${build_packages[@]}"
  command -v npm >/dev/null || install_packages nodejs npm
  build_preset gcc-werror
  view_runner=$project_dir/build/view/runner
  mkdir -p "$view_runner"
  cp "$project_dir"/tests/view/* "$view_runner"
  logged view-npm npm --prefix "$view_runner" ci --no-audit --no-fund
}
