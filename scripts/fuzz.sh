#!/usr/bin/env bash
# Builds the libFuzzer targets (Clang, address and undefined-behaviour
# sanitizers, own build directory) and runs each for SECONDS (default 60) on
# its seed corpus in fuzz/<target>/corpus. New corpus entries are kept in
# <build>/corpus/<target> and used again by the next run; a crash leaves its
# input in <build>/crashes/ and makes the script fail once all targets ran.
#
# Usage: scripts/fuzz.sh [SECONDS]
# Environment: TESSERA_FUZZ_BUILD, the build directory (default build-fuzz;
# scripts/sanitize.sh's directory works too: the fuzz targets are built there).
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
seconds="${1:-60}"
build="${TESSERA_FUZZ_BUILD:-$root/build-fuzz}"
jobs="$(nproc)"

# A directory of our own needs no tests; one that has them keeps them.
tests=()
[ -f "$build/CMakeCache.txt" ] || tests=(-DTESSERA_BUILD_TESTS=OFF)
# -O1 with line tables: a third of the compile time of -O2 -g, still fast
# under the sanitizers, and every report has file and line.
CC=clang CXX=clang++ cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=Release \
  -DCMAKE_C_FLAGS_RELEASE="-O1 -gline-tables-only" -DCMAKE_CXX_FLAGS_RELEASE="-O1 -gline-tables-only" \
  -DTESSERA_SANITIZE=address,undefined -DTESSERA_FUZZ=ON -DTESSERA_BUILD_BENCH=OFF "${tests[@]}" >/dev/null

targets=()
for dir in "$root"/fuzz/*/; do
  [ -d "$dir/corpus" ] && targets+=("$(basename "$dir")")
done
cmake --build "$build" -j"$jobs" --target "${targets[@]/#/fuzz_}"

# Leaks are the unit tests' business (they run under LeakSanitizer); here the
# engine's caches legitimately grow between inputs.
export ASAN_OPTIONS="detect_leaks=0:abort_on_error=1:${ASAN_OPTIONS:-}"
export UBSAN_OPTIONS="halt_on_error=1:print_stacktrace=1:${UBSAN_OPTIONS:-}"
export QT_QPA_PLATFORM=offscreen LC_ALL=C.UTF-8

failed=()
mkdir -p "$build/crashes"
for target in "${targets[@]}"; do
  kept="$build/corpus/$target"
  mkdir -p "$kept"
  echo "== fuzz_$target for ${seconds}s"
  if ! "$build/fuzz/fuzz_$target" -max_total_time="$seconds" -max_len=4096 -timeout=10 -rss_limit_mb=2048 \
      -print_final_stats=1 -artifact_prefix="$build/crashes/$target-" "$kept" "$root/fuzz/$target/corpus" \
      2>"$build/fuzz_$target.log"; then
    failed+=("$target")
    tail -n 40 "$build/fuzz_$target.log"
  fi
  grep -E "^stat::number_of_executed_units|^stat::new_units_added" "$build/fuzz_$target.log" | tr '\n' ' ' || true
  echo
done

if [ ${#failed[@]} -gt 0 ]; then
  echo "fuzz targets that crashed: ${failed[*]} (inputs in $build/crashes)" >&2
  exit 1
fi
echo "no crash in ${#targets[@]} fuzz targets"
