#!/usr/bin/env bash
# Builds the tests with the address and undefined-behaviour sanitizers (Clang,
# benchmarks off) and runs them; LeakSanitizer runs with them, with the
# suppressions in scripts/lsan.supp (process-lifetime allocations of Qt and
# SpatiaLite only, each explained there). Any report fails the run.
#
# The same directory also builds the fuzz targets (TESSERA_FUZZ=ON), so that
# scripts/fuzz.sh can reuse it: TESSERA_FUZZ_BUILD=<dir> scripts/fuzz.sh.
#
# Usage: scripts/sanitize.sh [build-dir]   (default build-sanitize)
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
build="${1:-$root/build-sanitize}"
jobs="$(nproc)"

# -O1 with line tables: a third of the compile time of -O2 -g, still fast
# under the sanitizers, and every report has file and line.
CC=clang CXX=clang++ cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=Release \
  -DCMAKE_C_FLAGS_RELEASE="-O1 -gline-tables-only" -DCMAKE_CXX_FLAGS_RELEASE="-O1 -gline-tables-only" \
  -DTESSERA_SANITIZE=address,undefined -DTESSERA_FUZZ=ON -DTESSERA_BUILD_BENCH=OFF -DTESSERA_BUILD_TESTS=ON >/dev/null
cmake --build "$build" -j"$jobs"

export ASAN_OPTIONS="detect_leaks=1:abort_on_error=1:strict_string_checks=1:detect_stack_use_after_return=1:${ASAN_OPTIONS:-}"
export LSAN_OPTIONS="suppressions=$root/scripts/lsan.supp:print_suppressions=0:${LSAN_OPTIONS:-}"
export UBSAN_OPTIONS="halt_on_error=1:print_stacktrace=1:${UBSAN_OPTIONS:-}"
ctest --test-dir "$build" --output-on-failure -j"$jobs"
