# shellcheck shell=bash
# shellcheck disable=SC2154 # project_dir comes from scripts/lib/project.sh
# What scripts/bench and scripts/check-cost share, beyond scripts/lib/project.sh, which is sourced before this file.

# shellcheck disable=SC2034 # used by the scripts that source this file
bench_packages=(libbenchmark-dev valgrind python3)

# Builds the benchmarks in build/bench: as the release preset, with GCC, without tests.
build_bench() {
  local quiet=()
  say "building in build/bench"
  [ -t 1 ] || quiet=(--quiet)
  (
    cd "$project_dir" || exit
    if command -v ccache >/dev/null; then export CMAKE_C_COMPILER_LAUNCHER=ccache CMAKE_CXX_COMPILER_LAUNCHER=ccache; fi
    logged configure-bench cmake --preset bench
    cmake --build --preset bench --parallel "$(nproc)" -- "${quiet[@]}"
  )
}

# Counts instructions and allocations of all cases. Writes into a folder: counts, and callgrind's dumps.
#   count_costs FOLDER
count_costs() {
  local folder=$1
  say "counting instructions and allocations"
  # Counts must not depend on the machine: the environment, which lies on the stack, is empty, symbols are bound at
  # start, and the C library uses the text functions that every x86-64 processor has.
  (
    cd "$project_dir/build/bench/bin" || exit
    env -i PATH="$PATH" LD_BIND_NOW=1 GLIBC_TUNABLES=glibc.cpu.hwcaps=-AVX2,-AVX512VL,-SSE4_2 \
      valgrind --tool=callgrind --collect-atstart=no --callgrind-out-file="$folder/callgrind.out" \
      ./vyfp_bench --count >"$folder/counts" 2>"$folder/valgrind.log"
  ) || {
    cat "$folder/valgrind.log" >&2
    fail "the benchmarks did not run under callgrind"
  }
}

bench_report() {
  /usr/bin/python3 "$project_dir/bench/report.py" "$@" # another Python would not have Debian's libraries
}
