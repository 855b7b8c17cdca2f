#!/usr/bin/env bash
# Builds the tests that run threads with the thread sanitizer (Clang, own
# build directory, benchmarks off) and runs them; any report fails the run.
# Qt's locks are made visible to the sanitizer by tests/tsan/QtLockAnnotations.cpp;
# what remains unseen inside Debian's uninstrumented Qt, SQLite, SpatiaLite
# and GEOS is suppressed in scripts/tsan.supp, each entry explained there.
#
# Usage: scripts/tsan.sh [build-dir]   (default build-tsan)
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
build="${1:-$root/build-tsan}"
jobs="$(nproc)"

# The stress test first; then every other test that starts threads.
tests=(EngineStressTest EngineCacheTest EngineGeometryTest TranslationEntryTest RegularExpressionCacheTest
       SqlParserTest SqlStringBuilderTest CoreTest platform_cs_test platform_geometry_test)

# -O1 with line tables, as the other sanitizer builds.
CC=clang CXX=clang++ cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=Release \
  -DCMAKE_C_FLAGS_RELEASE="-O1 -gline-tables-only" -DCMAKE_CXX_FLAGS_RELEASE="-O1 -gline-tables-only" \
  -DTESSERA_SANITIZE=thread -DTESSERA_BUILD_BENCH=OFF -DTESSERA_BUILD_TESTS=ON >/dev/null
cmake --build "$build" -j"$jobs" --target "${tests[@]}"

export TSAN_OPTIONS="suppressions=$root/scripts/tsan.supp:second_deadlock_stack=1:history_size=4:${TSAN_OPTIONS:-}"
pattern="^($(IFS='|'; echo "${tests[*]}"))\$"
ctest --test-dir "$build" --output-on-failure -j"$jobs" -R "$pattern"
