#!/usr/bin/env bash
# Opening a GIS file and counting its rows through tessera-sql
#   tessera-sql --open FILE=c -c 'Select Count(*) From c'
# against GDAL describing the same file (ogrinfo -so -al: open, schema,
# count, extent), each process timed whole (start-up included), the median
# of RUNS runs in wall and in CPU time (user + system).
#
# Usage: bench/vtables/open_count.sh [FILE]   (RUNS=5 by default; FILE defaults
# to the 1:10m countries of bench/compare when prepared, else the sample)
# Needs: a built tessera-sql (TESSERA_SQL or build/tools/tessera-sql),
# gdal-bin and GNU time (/usr/bin/time).
set -euo pipefail

root=$(cd "$(dirname "$0")/../.." && pwd)
tessera=${TESSERA_SQL:-$root/build/tools/tessera-sql/tessera-sql}
default=$root/build/compare-data/countries10.geojson
[ -f "$default" ] || default=$root/tests/data/countries.geojson
data=${1:-$default}
runs=${RUNS:-5}

for tool in "$tessera" ogrinfo /usr/bin/time; do
  command -v "$tool" >/dev/null || { echo "missing: $tool (see scripts/install-deps.sh)" >&2; exit 1; }
done
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT

# "WALL CPU" in milliseconds, the medians of RUNS runs of the command.
measure() {
  local i
  for ((i = 0; i < runs; i++)); do
    /usr/bin/time -o "$tmp/time" -f '%e %U %S' "$@" >"$tmp/out" 2>/dev/null
    awk '{ printf "%d %d\n", $1 * 1000, ($2 + $3) * 1000 }' "$tmp/time"
  done >"$tmp/runs"
  local mid=$(( (runs + 1) / 2 ))
  echo "$(cut -d' ' -f1 "$tmp/runs" | sort -n | sed -n "${mid}p") $(cut -d' ' -f2 "$tmp/runs" | sort -n | sed -n "${mid}p")"
}

read -r tw tc < <(measure "$tessera" --format csv --open "$data=c" -c 'Select Count(*) From c')
rows=$(tail -1 "$tmp/out")
read -r ow oc < <(measure ogrinfo -so -al "$data")
grep -q "^Feature Count: $rows\$" "$tmp/out" || { echo "ogrinfo counted: $(grep 'Feature Count' "$tmp/out")" >&2; exit 1; }

echo "data: $data ($rows rows), median of $runs runs"
printf '%-40s %10s %10s\n' command "wall (ms)" "CPU (ms)"
printf '%-40s %10s %10s\n' "tessera-sql --open, Select Count(*)" "$tw" "$tc"
printf '%-40s %10s %10s\n' "ogrinfo -so -al" "$ow" "$oc"
awk -v a="$tw" -v b="$ow" -v c="$tc" -v d="$oc" \
  'BEGIN { printf "tessera-sql / ogrinfo -so: %.2f (wall), %.2f (CPU)\n", a / (b > 0 ? b : 1), c / (d > 0 ? d : 1) }'
