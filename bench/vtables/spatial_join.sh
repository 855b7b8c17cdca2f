#!/usr/bin/env bash
# The spatial self-join
#   Select Count(*) From c a, c b Where a.rowid < b.rowid And a.obj Intersects b.obj
# on the same country polygons through tessera-sql (the file served live by
# the table adapter, R-tree push-down), SpatiaLite (sqlite3 + mod_spatialite,
# a native table with and without its R*Tree) and GDAL's SQLite dialect
# (ogrinfo -dialect SQLite), with the ratios.
#
# Each engine runs the join REPEAT times in one process; the time of the same
# process doing only the opening and a row count is subtracted, so start-up
# and loading are not counted (for tessera-sql the first join, which builds
# the R-tree and encodes the geometries, is among the REPEAT). ogrinfo runs
# the join once per process.
#
# Usage: bench/vtables/spatial_join.sh [DATA.geojson]   (REPEAT=50, RUNS=3 by default)
# Needs: a built tessera-sql (TESSERA_SQL or build/tools/tessera-sql),
# sqlite3, libsqlite3-mod-spatialite, gdal-bin (scripts/install-deps.sh).
set -euo pipefail

root=$(cd "$(dirname "$0")/../.." && pwd)
tessera=${TESSERA_SQL:-$root/build/tools/tessera-sql/tessera-sql}
data=${1:-$root/tests/data/countries.geojson}
repeat=${REPEAT:-50}

for tool in "$tessera" sqlite3 ogrinfo ogr2ogr; do
  command -v "$tool" >/dev/null || { echo "missing: $tool (see scripts/install-deps.sh)" >&2; exit 1; }
done

tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
ogr2ogr -f SQLite -dsco SPATIALITE=YES -lco SPATIAL_INDEX=NO -nln c "$tmp/plain.sqlite" "$data"
ogr2ogr -f SQLite -dsco SPATIALITE=YES -lco SPATIAL_INDEX=YES -nln c "$tmp/indexed.sqlite" "$data"
layer=$(ogrinfo -q "$data" | sed -n 's/^[0-9]*: \([^ ]*\).*/\1/p' | head -1)

# Milliseconds a command takes, the best of RUNS runs (its output goes to
# $tmp/out); the best run is the one least disturbed by other processes.
runs=${RUNS:-3}
ms() {
  local start end best=-1 i
  for ((i = 0; i < runs; i++)); do
    start=$(date +%s%N)
    "$@" >"$tmp/out" 2>&1
    end=$(date +%s%N)
    (( best < 0 || end - start < best )) && best=$(( end - start ))
  done
  echo $(( best / 1000000 ))
}
# The SQL text repeated n times.
times() { local i; for ((i = 0; i < $2; i++)); do printf '%s\n' "$1"; done; }

join_tessera='Select Count(*) From c a, c b Where a.rowid < b.rowid And a.obj Intersects b.obj;'
join_plain='Select Count(*) From c a, c b Where a.rowid < b.rowid And ST_Intersects(a.GEOMETRY, b.GEOMETRY);'
join_rtree="Select Count(*) From c a, c b Where a.rowid < b.rowid And ST_Intersects(a.GEOMETRY, b.GEOMETRY)
  And b.rowid In (Select pkid From idx_c_GEOMETRY Where xmin <= MbrMaxX(a.GEOMETRY) And xmax >= MbrMinX(a.GEOMETRY)
                  And ymin <= MbrMaxY(a.GEOMETRY) And ymax >= MbrMinY(a.GEOMETRY));"
join_ogr="Select Count(*) From \"$layer\" a, \"$layer\" b Where a.rowid < b.rowid And ST_Intersects(a.geometry, b.geometry)"
count='Select Count(*) From c;'

run_tessera() { "$tessera" --format csv --open "$data=c" <<<"$1"; }
run_sqlite() { sqlite3 -cmd '.load mod_spatialite' "$1" <<<"$2"; }

check() {   # the answer of the last run must be the expected count
  tr -d '\r' <"$tmp/out" | grep -q "^$expected\$" || { echo "$1 answered: $(tail -1 "$tmp/out") (expected $expected)" >&2; exit 1; }
}

expected=$(run_sqlite "$tmp/plain.sqlite" "$join_plain" | tail -1)
echo "data: $data ($(run_sqlite "$tmp/plain.sqlite" "$count" | tail -1) rows), $expected intersecting pairs, $repeat repetitions"

base=$(ms run_tessera "$count")
many_t=$(( $(ms run_tessera "$(times "$join_tessera" "$repeat")") - base )); check tessera-sql

base=$(ms run_sqlite "$tmp/indexed.sqlite" "$count")
many_r=$(( $(ms run_sqlite "$tmp/indexed.sqlite" "$(times "$join_rtree" "$repeat")") - base )); check "SpatiaLite R*Tree"

base=$(ms run_sqlite "$tmp/plain.sqlite" "$count")
many_p=$(( $(ms run_sqlite "$tmp/plain.sqlite" "$(times "$join_plain" "$repeat")") - base ))

base=$(ms ogrinfo -q -dialect SQLite -sql "Select Count(*) From \"$layer\"" "$data")
once_o=$(( $(ms ogrinfo -q -dialect SQLite -sql "$join_ogr" "$data") - base ))
grep -q "= $expected\$" "$tmp/out" || { echo "ogrinfo answered: $(grep Count "$tmp/out")" >&2; exit 1; }

per() { awk -v t="$1" -v n="$repeat" 'BEGIN { printf "%.2f", (t < 0 ? 0 : t) / n }'; }
ratio() { awk -v a="$1" -v b="$2" 'BEGIN { if (b <= 0) b = 0.01; printf "%.1f", a / b }'; }

t=$(per "$many_t")
printf '%-36s %14s\n' engine "per join (ms)"
printf '%-36s %14s\n' "tessera-sql (live GeoJSON, R-tree)" "$t"
printf '%-36s %14s\n' "SpatiaLite with R*Tree" "$(per "$many_r")"
printf '%-36s %14s\n' "SpatiaLite without index" "$(per "$many_p")"
printf '%-36s %14s\n' "ogrinfo -dialect SQLite" "$once_o"
echo
echo "SpatiaLite with R*Tree / tessera-sql:    $(ratio "$(per "$many_r")" "$t")"
echo "SpatiaLite without index / tessera-sql:  $(ratio "$(per "$many_p")" "$t")"
echo "ogrinfo -dialect SQLite / tessera-sql:   $(ratio "$once_o" "$t")"
