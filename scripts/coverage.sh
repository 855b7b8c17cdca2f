#!/usr/bin/env bash
# Line coverage of the whole test suite, per source folder.
#
# Builds the suite with GCC's --coverage at -O0 (its own build directory,
# benchmarks and fuzz targets off), runs it with CTest, collects the counters
# with lcov and prints the line coverage of platform/, engine/ (and each of
# its sub-folders), modules/, providers/ and tools/. The HTML report goes to
# <build-dir>/coverage-html, the lcov data to <build-dir>/coverage.info
# (scripts/mutation.sh draws its mutants from the covered lines listed there).
#
# Usage: scripts/coverage.sh [build-dir]   (default build-coverage)
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
build="${1:-$root/build-coverage}"
case "$build" in /*) ;; *) build="$PWD/$build" ;; esac
jobs="$(nproc)"

# -O0 keeps one line one counter: inlining and code motion would blur what ran.
cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=Coverage \
  -DCMAKE_C_COMPILER=gcc -DCMAKE_CXX_COMPILER=g++ \
  -DCMAKE_C_FLAGS_COVERAGE="-O0 --coverage" -DCMAKE_CXX_FLAGS_COVERAGE="-O0 --coverage" \
  -DCMAKE_EXE_LINKER_FLAGS_COVERAGE="--coverage" -DCMAKE_SHARED_LINKER_FLAGS_COVERAGE="--coverage" \
  -DCMAKE_MODULE_LINKER_FLAGS_COVERAGE="--coverage" \
  -DTESSERA_BUILD_TESTS=ON -DTESSERA_BUILD_BENCH=OFF -DTESSERA_FUZZ=OFF >/dev/null
cmake --build "$build" -j"$jobs"

# Counters of an earlier run would add up with this one.
lcov --quiet --zerocounters --directory "$build"
# One test program at a time: programs that share an object (a static part
# and the shared library made of it) merge their counters into one file.
status=0
ctest --test-dir "$build" --output-on-failure || status=$?

info="$build/coverage.info"
# Relative source paths (the compiler cache makes them relative) are resolved
# from each object's own compile directory, which gcov reports.
lcov --quiet --capture --directory "$build" --output-file "$build/coverage-all.info" \
  --rc lcov_branch_coverage=0 2>/dev/null
# Production code only: the tests, generated files (moc) and system headers out.
lcov --quiet --extract "$build/coverage-all.info" \
  "$root/platform/*" "$root/engine/*" "$root/modules/*" "$root/providers/*" "$root/tools/*" \
  --output-file "$info"
genhtml --quiet --output-directory "$build/coverage-html" --prefix "$root" "$info" >/dev/null

# Per folder: lines found (LF) and hit (LH) of every source file, summed;
# engine/ also per sub-folder ("engine/." is the files directly in engine/).
awk -v root="$root/" '
  /^SF:/ { file = substr($0, 4); sub("^" root, "", file) }
  /^LF:/ { found = substr($0, 4) }
  /^LH:/ {
    hit = substr($0, 4)
    n = split(file, part, "/")
    F[part[1]] += found; H[part[1]] += hit
    if (part[1] == "engine") {
      key = (n > 2) ? "engine/" part[2] : "engine/."
      F[key] += found; H[key] += hit
    }
    F["~total"] += found; H["~total"] += hit
  }
  END { for (k in F) printf "%s %d %d\n", k, F[k], H[k] }' "$info" | LC_ALL=C sort |
  awk '
    BEGIN {
      printf "| %-20s | %7s | %7s | %6s |\n", "Folder", "Lines", "Covered", "Rate"
      print "|----------------------|--------:|--------:|-------:|"
    }
    { name = ($1 == "~total") ? "total" : $1
      printf "| %-20s | %7d | %7d | %5.1f%% |\n", name, $2, $3, $2 ? 100 * $3 / $2 : 0 }'
echo "HTML report: $build/coverage-html/index.html"
exit "$status"
