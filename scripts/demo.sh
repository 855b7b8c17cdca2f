#!/usr/bin/env bash
# Builds tessera-sql and runs dialect queries over the bundled country polygons,
# the last one drawn as a map.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
build="$root/build"
cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build "$build" --target tessera-sql -j"$(nproc)"
shell="$build/tools/tessera-sql/tessera-sql"
data="$root/tests/data/countries.geojson"

echo "The ten largest countries of the sample, by ellipsoidal area:"
"$shell" --open "$data=countries" -c \
  'Select name, Round(Area(obj, "sq km"), 1000) As area_sq_km, Round(Perimeter(obj, "km"), 1) As perimeter_km
   From countries Order By 2 Desc Limit 10'

echo
echo "Neighbours of Germany (countries whose polygons touch or overlap it):"
"$shell" --open "$data=countries" -c \
  'Select c.name From countries c, countries g
   Where g.name = "Germany" And c.name <> g.name And c.obj Intersects g.obj Order By c.name'

echo
echo "The same neighbours as a map, labelled with their names:"
"$shell" --open "$data=countries" --output "$build/germany-neighbours.png" --plot-label name -c \
  'Select c.name, c.obj From countries c, countries g
   Where g.name = "Germany" And c.obj Intersects g.obj And c.iso_a3 <> "FRA"'
echo "$build/germany-neighbours.png"
