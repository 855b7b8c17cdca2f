#!/usr/bin/env bash
# Installs every Debian package needed to build, test and benchmark the project.
# Safe to run again: apt-get skips what is already installed.
set -euo pipefail

packages=(
  build-essential cmake pkg-config git ccache
  qtbase5-dev libqt5sql5-sqlite qttools5-dev-tools qttools5-dev
  libedit-dev tmux
  # Map images of the shell: glyph outlines and the system's sans-serif face.
  libfreetype-dev libfontconfig-dev fonts-dejavu-core
  libsqlite3-dev libspatialite-dev
  libgeos-dev libproj-dev proj-data libgeographiclib-dev
  libgdal-dev libboost-dev
  libgtest-dev googletest libgmock-dev libbenchmark-dev
  clang-14 clang libclang-rt-14-dev
  locales tzdata
  # Line coverage of the suite (scripts/coverage.sh, scripts/mutation.sh).
  lcov
  # Peers of the benchmarks and the PostGIS provider test: SpatiaLite's shell and module,
  # GDAL's tools (also to prepare benchmark data), PostgreSQL with PostGIS, peak RSS.
  sqlite3 libsqlite3-mod-spatialite gdal-bin time
  postgresql postgresql-postgis
)
# bench/compare fetches its data with npm: only on request.
if [ "${1:-}" = "--bench-compare" ]; then
  command -v npm >/dev/null 2>&1 || packages+=(npm)
fi

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done

# Test locales for the locale-dependent functions.
need_locales=0
for l in en_US.utf8 ru_RU.utf8 de_DE.utf8; do
  locale -a 2>/dev/null | grep -qi "^${l}$" || need_locales=1
done

SUDO=""
if [ "$(id -u)" -ne 0 ]; then SUDO="sudo"; fi

if [ ${#missing[@]} -gt 0 ]; then
  export DEBIAN_FRONTEND=noninteractive
  $SUDO apt-get update -qq
  $SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi

if [ "$need_locales" -eq 1 ]; then
  for l in "en_US.UTF-8 UTF-8" "ru_RU.UTF-8 UTF-8" "de_DE.UTF-8 UTF-8"; do
    grep -q "^${l}" /etc/locale.gen 2>/dev/null || echo "$l" | $SUDO tee -a /etc/locale.gen >/dev/null
  done
  $SUDO locale-gen >/dev/null
fi
