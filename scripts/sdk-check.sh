#!/usr/bin/env bash
# Checks the SDK the way a third party uses it: installs a built tree into a
# temporary prefix, builds examples/plugin against the installed package
# (find_package(Tessera), not the build tree), and runs the installed
# tessera-sql with that plug-in on a query that uses its function and its
# table. Also compiles a program through the pkg-config file.
# Usage: scripts/sdk-check.sh [build-dir]
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
build="${1:-$root/build}"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
prefix="$work/prefix"

cmake --install "$build" --prefix "$prefix" >/dev/null
cmake -S "$root/examples/plugin" -B "$work/example" -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$work/example" -j"$(nproc)" >/dev/null
plugin="$work/example/series_plugin.so"

fail() { echo "sdk-check: $*" >&2; exit 1; }
# Output and errors of the installed shell with the plug-in; never fails, so
# that a wrong answer is reported by what follows.
sql() { "$prefix/bin/tessera-sql" --plugin "$plugin" --format csv "$@" 2>&1 || true; }

got="$(sql -c 'Select n, Squared(n) As sq From series Where n > 8')"
[[ "$got" == $'n,sq\n9,81\n10,100' ]] || fail "series query gave: $got"
got="$(sql --raw -c 'Create Virtual Table three Using series(3)' -c 'Select Sum(Squared(n)) As s From three')"
[[ "$got" == *$'s\n14' ]] || fail "created series gave: $got"
got="$(sql -c '.plugins')"
[[ "$got"$'\n' == *$'\nseries,1.0.0,'"$plugin"$'\n'* ]] || fail ".plugins gave: $got"
# The installed GDAL provider plug-in opens files for the installed shell.
[[ "$got" == *$'\ngdal,'* ]] || fail "the gdal plug-in is not installed: $got"
got="$(sql --open "$root/tests/data/countries.geojson=c" -c 'Select Count(*) As n From c')"
[[ "$got" == $'n\n90' ]] || fail "opening through the installed provider gave: $got"

# pkg-config: a program that links the engine.
export PKG_CONFIG_PATH="$(dirname "$(find "$prefix" -name tessera.pc)")"
[[ "$(pkg-config --modversion tessera)" == "$(sed -n 's/^project(tessera .*VERSION \([0-9.]*\)).*/\1/p' "$root/CMakeLists.txt")" ]] \
    || fail "pkg-config version differs from the project's"
printf '#include <engine/Engine.h>\nint main() { auto* load = &tessera::Engine::load; return load ? 0 : 1; }\n' >"$work/probe.cpp"
# shellcheck disable=SC2046
c++ -std=c++17 "$work/probe.cpp" -o "$work/probe" $(pkg-config --cflags --libs tessera) -Wl,-rpath,"$prefix/lib" \
    || fail "cannot build against the pkg-config file"
echo "sdk-check: ok"
