#!/usr/bin/env bash
# Side-by-side benchmark: the same questions on the same data through tessera-sql,
# SpatiaLite (sqlite3 + mod_spatialite, with and without its R*Tree), GDAL's SQLite
# dialect (ogrinfo) and PostGIS (a throwaway local cluster), several runs each.
# Prints a markdown table of medians, ratios to this engine and an answer check, and
# writes it to $DATA/results.md. A peer that is missing or fails is reported, not fatal.
#
# Usage: bench/compare/compare.sh            (from the repository root or anywhere)
# Environment: RUNS (default 3), TIMEOUT seconds per run (default 300), MEASURE_REPEAT
# (queries per process for the measures, default 5), TESSERA_SQL
# (default build/tools/tessera-sql/tessera-sql), COMPARE_DATA (default
# build/compare-data), SYSTEMS (default "tessera spatialite spatialite+rtree gdal postgis";
# plain sqlite3, for start-up and the text functions, runs with spatialite),
# ONLY (a regular expression of workload names to run), KEEP=1 (keep the other results of
# the previous run); `compare.sh --report` prints the table of the last run again.
set -uo pipefail

HERE=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
ROOT=$(cd "$HERE/../.." && pwd)
RUNS=${RUNS:-3}
TIMEOUT=${TIMEOUT:-300}
TESSERA=${TESSERA_SQL:-$ROOT/build/tools/tessera-sql/tessera-sql}
DATA=${COMPARE_DATA:-$ROOT/build/compare-data}
SYSTEMS=${SYSTEMS:-"tessera spatialite spatialite+rtree gdal postgis"}
ONLY=${ONLY:-.}
TEXT_ROWS=${TEXT_ROWS:-1000000}
# The text queries run TEXT_REPEAT times in one process, so that their time stands out
# from the seconds it takes to generate the table.
TEXT_REPEAT=${TEXT_REPEAT:-5}
# The measures per row run MEASURE_REPEAT times in one process (except on GDAL, one
# query per ogrinfo): the first run of a query on an opened file also reads its
# geometries, which the later ones find kept.
MEASURE_REPEAT=${MEASURE_REPEAT:-5}
TRANSLATE_STATEMENTS=${TRANSLATE_STATEMENTS:-50000}
WORLD_ATLAS=world-atlas@2.0.2
RESULTS=$DATA/results.md
TSV=$DATA/results.tsv

log() { printf '%s\n' "$*" >&2; }
have() { command -v "$1" >/dev/null 2>&1; }

mkdir -p "$DATA" || { log "cannot create $DATA"; exit 1; }
WORK=$(mktemp -d "${TMPDIR:-/tmp}/tessera-compare.XXXXXX")
PGDIR=""
cleanup() {
  if [ -n "$PGDIR" ] && [ -f "$PGDIR/data/postmaster.pid" ]; then
    pg_as "$PG_CTL" -D "$PGDIR/data" -m immediate stop >/dev/null 2>&1
  fi
  [ -n "$PGDIR" ] && rm -rf "$PGDIR"
  rm -rf "$WORK"
}
trap cleanup EXIT
trap 'exit 130' INT TERM

# ---------------------------------------------------------------------------------------
# Data: Natural Earth admin-0 countries at 1:110m and 1:10m from the npm package
# world-atlas (TopoJSON), made valid, with centroids, boundaries and an Equal Earth
# (EPSG:8857) copy for the planar measures. Prepared once, kept in $DATA.
# ---------------------------------------------------------------------------------------
SPATIALITE_DB=$DATA/countries.sqlite

prepare_data() {
  if [ -f "$DATA/.prepared" ]; then return 0; fi
  for tool in npm ogr2ogr sqlite3; do
    have "$tool" || { log "missing $tool: run scripts/install-deps.sh"; return 1; }
  done
  log "preparing data in $DATA"
  if [ ! -f "$DATA/world-atlas/countries-10m.json" ]; then
    (cd "$WORK" && npm pack --silent "$WORLD_ATLAS" >/dev/null 2>"$WORK/npm.err") \
      || { log "npm pack $WORLD_ATLAS failed: $(head -3 "$WORK/npm.err")"; return 1; }
    mkdir -p "$DATA/world-atlas"
    tar -xzf "$WORK"/world-atlas-*.tgz -C "$DATA/world-atlas" --strip-components=1 || return 1
  fi
  rm -f "$SPATIALITE_DB" "$DATA"/*.geojson
  local r
  for r in 110 10; do
    # TopoJSON arcs can self-touch after quantisation: -makevalid gives every system the
    # same valid input, so a GEOS topology error is not mistaken for a slow engine. A
    # country that quantisation collapsed (the Vatican at 1:10m) comes out empty and is
    # left out: the systems disagree on whether an empty geometry intersects anything.
    ogr2ogr -f GeoJSON -makevalid -nlt MULTIPOLYGON -nln countries "$WORK/valid$r.geojson" \
      "$DATA/world-atlas/countries-${r}m.json" countries 2>>"$WORK/prep.err" || return 1
    ogr2ogr -f GeoJSON -nln countries -nlt MULTIPOLYGON -dialect SQLite \
      -sql "SELECT name, geometry FROM countries WHERE NOT ST_IsEmpty(geometry)" \
      "$DATA/countries$r.geojson" "$WORK/valid$r.geojson" 2>>"$WORK/prep.err" || return 1
    ogr2ogr -f GeoJSON -nln centroids -dialect SQLite \
      -sql "SELECT name, ST_Centroid(geometry) AS geometry FROM countries" \
      "$DATA/centroids$r.geojson" "$DATA/countries$r.geojson" 2>>"$WORK/prep.err" || return 1
    ogr2ogr -f GeoJSON -nln boundaries -nlt MULTILINESTRING -dialect SQLite \
      -sql "SELECT name, CastToMultiLineString(ST_Boundary(geometry)) AS geometry FROM countries" \
      "$DATA/boundaries$r.geojson" "$DATA/countries$r.geojson" 2>>"$WORK/prep.err" || return 1
  done
  local layer
  for layer in countries centroids boundaries; do
    ogr2ogr -f GeoJSON -t_srs EPSG:8857 "$DATA/${layer}10p.geojson" "$DATA/${layer}10.geojson" \
      2>>"$WORK/prep.err" || return 1
  done
  # SpatiaLite native tables (with their R*Tree; a query uses it only through SpatialIndex).
  local f first=1
  for f in countries110 centroids110 boundaries110 countries10 centroids10 boundaries10 \
           countries10p centroids10p boundaries10p; do
    if [ $first -eq 1 ]; then
      ogr2ogr -f SQLite -dsco SPATIALITE=YES -lco GEOMETRY_NAME=geom -nln "$f" \
        "$SPATIALITE_DB" "$DATA/$f.geojson" 2>>"$WORK/prep.err" || return 1
      first=0
    else
      ogr2ogr -update -lco GEOMETRY_NAME=geom -nln "$f" \
        "$SPATIALITE_DB" "$DATA/$f.geojson" 2>>"$WORK/prep.err" || return 1
    fi
  done
  make_translation_file "$DATA/statements.sql" "$TRANSLATE_STATEMENTS"
  touch "$DATA/.prepared"
}

# The generated text table: ASCII, varied lengths, "abc" in about one row in seven.
text_cte() {
  printf "With Recursive n(i) As (Select 1 Union All Select i + 1 From n Where i < %d) " "$TEXT_ROWS"
  printf "Select i, printf('Row %%d of the Generated table %%s, item %%x', i, "
  printf "substr('abcdefghijklmnopqrstuvwxyz', i %% 7 + 1, 3 + i %% 11), i * 7919) As s From n"
}

# 50,000 dialect statements of the kinds a GIS user writes, with varied names and
# numbers so that nothing is served from a cache of identical texts.
make_translation_file() {
  awk -v n="$2" 'BEGIN {
    split("France Chile Japan Brazil Kenya Norway Peru Canada India Egypt Mexico Spain", names, " ")
    split("sq km|sq mi|hectare|acre|sq m", aunits, "|"); split("km mi m nmi ft", lunits, " ")
    for (i = 0; i < n; i++) {
      a = names[i % 12 + 1]; b = names[(i * 7) % 12 + 1]; v = (i * 37) % 10000
      au = aunits[i % 5 + 1]; lu = lunits[i % 5 + 1]; k = i % 12
      if (k == 0) printf "Select name, Area(obj, \"%s\") From c Where Area(obj, \"%s\") > %d Order By 2 Desc;\n", au, au, v
      else if (k == 1) printf "Select Count(*) From c a, c b Where a.obj Intersects b.obj And a.name <> \"%s\";\n", a
      else if (k == 2) printf "Select name From c Where name Like \"%%%s%%\" Or name Like \"%s%%\";\n", substr(a, 2, 3), substr(b, 1, 1)
      else if (k == 3) printf "Select UCase(name), Len(name) From c Where InStr(name, \"%s\") > 0 Order By Len(name);\n", substr(a, 2, 2)
      else if (k == 4) printf "Select c.name, p.name From c, p Where c.obj Contains p.obj And c.name <> \"%s\";\n", b
      else if (k == 5) printf "Select name, Round(Perimeter(obj, \"%s\"), 2) From c Where name In (\"%s\", \"%s\");\n", lu, a, b
      else if (k == 6) printf "Select Left(name, %d) As code, Count(*) From c Group By code Having Count(*) > %d;\n", i % 4 + 1, i % 3
      else if (k == 7) printf "Select name, CentroidX(obj), CentroidY(obj) From c Where CentroidY(obj) Between %d And %d;\n", -(v % 60), v % 60
      else if (k == 8) printf "Select Max(Distance(a.obj, b.obj, \"%s\")) From p a, p b Where a.name = \"%s\";\n", lu, a
      else if (k == 9) printf "Select LCase(name) From c Where Not name Like \"%s%%\" And EllipsoidalArea(obj, \"%s\") < %d Order By name;\n", substr(a, 1, 1), au, v * 10
      else if (k == 10) printf "Select name, ObjectLen(obj, \"%s\") * %d / 100 As l From c Where (l > %d Or name = \"%s\") And Not (name Like \"%%land\");\n", lu, v % 90 + 10, v, a
      else printf "Select Case When Area(obj, \"%s\") > %d Then \"big\" Else \"small\" End As size, Count(*) From c Group By size;\n", au, v
    }
  }' > "$1"
}

# ---------------------------------------------------------------------------------------
# Peers
# ---------------------------------------------------------------------------------------
SPATIALITE_OK=0
GDAL_OK=0
PG_OK=0
PG_SOCK=""
PG_CTL=""
PG_NOTE=""

pg_as() {
  # PostgreSQL refuses to run as root: the cluster belongs to the postgres user then.
  if [ "$(id -u)" -eq 0 ]; then
    runuser -u postgres -- "$@"
  else
    "$@"
  fi
}

check_peers() {
  if have sqlite3 && sqlite3 :memory: '.load mod_spatialite' 'select spatialite_version();' >/dev/null 2>&1; then
    SPATIALITE_OK=1
  else
    log "SpatiaLite: sqlite3 or mod_spatialite missing, skipped"
  fi
  if have ogrinfo && ogrinfo --formats 2>/dev/null | grep -q 'SQLite'; then GDAL_OK=1
  else log "GDAL: ogrinfo missing, skipped"; fi
  case " $SYSTEMS " in *" postgis "*) start_postgis ;; esac
}

start_postgis() {
  local bindir
  bindir=$(pg_config --bindir 2>/dev/null)
  if [ -z "$bindir" ] || [ ! -x "$bindir/initdb" ]; then
    bindir=$(ls -d /usr/lib/postgresql/*/bin 2>/dev/null | sort -V | tail -1)
  fi
  if [ -z "$bindir" ] || [ ! -x "$bindir/initdb" ] || ! have psql; then
    PG_NOTE="PostgreSQL server not installed"; log "PostGIS: $PG_NOTE, skipped"; return
  fi
  if [ "$(id -u)" -eq 0 ] && ! id postgres >/dev/null 2>&1; then
    PG_NOTE="running as root without a postgres user"; log "PostGIS: $PG_NOTE, skipped"; return
  fi
  PG_CTL=$bindir/pg_ctl
  PGDIR=$(mktemp -d "${TMPDIR:-/tmp}/tessera-compare-pg.XXXXXX")
  chmod 755 "$PGDIR"
  [ "$(id -u)" -eq 0 ] && chown postgres "$PGDIR"
  PG_SOCK=$PGDIR
  if ! pg_as "$bindir/initdb" -D "$PGDIR/data" -U postgres -A trust >"$WORK/initdb.log" 2>&1; then
    PG_NOTE="initdb failed"; log "PostGIS: $PG_NOTE: $(tail -2 "$WORK/initdb.log")"; return
  fi
  if ! pg_as "$PG_CTL" -D "$PGDIR/data" -w -l "$PGDIR/server.log" \
        -o "-c listen_addresses='' -k $PG_SOCK -c fsync=off" start >/dev/null 2>&1; then
    PG_NOTE="server did not start"; log "PostGIS: $PG_NOTE: $(tail -2 "$PGDIR/server.log" 2>/dev/null)"; return
  fi
  if ! psql -h "$PG_SOCK" -U postgres -d postgres -qAt -c 'create extension postgis' >"$WORK/pg.err" 2>&1; then
    PG_NOTE="postgis extension not available"; log "PostGIS: $PG_NOTE: $(head -2 "$WORK/pg.err")"; return
  fi
  local f
  for f in countries110 centroids110 boundaries110 countries10 centroids10 boundaries10 \
           countries10p centroids10p boundaries10p; do
    if ! ogr2ogr -f PostgreSQL "PG:host=$PG_SOCK user=postgres dbname=postgres" "$DATA/$f.geojson" \
          -nln "$f" -lco GEOMETRY_NAME=geom -lco SPATIAL_INDEX=GIST >/dev/null 2>"$WORK/pg.err"; then
      PG_NOTE="loading $f failed"; log "PostGIS: $PG_NOTE: $(head -2 "$WORK/pg.err")"; return
    fi
  done
  psql -h "$PG_SOCK" -U postgres -d postgres -qAt -c 'vacuum analyze' >/dev/null 2>&1
  PG_OK=1
}

# ---------------------------------------------------------------------------------------
# Running and timing
# ---------------------------------------------------------------------------------------
# The command line of each system (run under timeout and time, so no shell functions),
# and the filter that turns its output into the answer: space-separated numbers.
set_commands() {
  TS=("$TESSERA" --format csv)
  SL=(sqlite3 -batch -cmd '.load mod_spatialite' "$SPATIALITE_DB")
  SQ=(sqlite3 -batch :memory:)
  GD=(ogrinfo -ro -q -dialect SQLite -sql)
  PG=(psql -h "$PG_SOCK" -U postgres -d postgres -X -qAt -F ' ' -c)
}
answer_tessera() { awk '{ sub(/\r$/, "") } END { gsub(/"/, ""); gsub(/,/, " "); print }'; }
answer_spatialite() { awk 'END { gsub(/\|/, " "); print }'; }
answer_gdal() { awk -F' = ' '/ = / { out = out (out == "" ? "" : " ") $2 } END { print out }'; }
answer_plain() { awk 'END { print }'; }

now_ns() { date +%s%N; }
median_of() {
  printf '%s\n' "$@" | sort -n | awk '{ v[NR] = $1 } END {
    print (NR % 2) ? v[(NR + 1) / 2] : (v[NR / 2] + v[NR / 2 + 1]) / 2 }'
}

# measure WORKLOAD SYSTEM BASELINE ANSWER-FILTER -- COMMAND...
# Runs COMMAND $RUNS times; records the median wall time, the peak RSS of the first
# run, the answer of the first run and the baseline workload whose median is subtracted
# (start-up and opening the data) to give the net time.
measure() {
  local workload=$1 system=$2 baseline=$3 filter=$4
  shift 5
  [[ $workload =~ $ONLY ]] || return 0
  local i t0 t1 rc times=() rss="" answer="" note="" note_runs="" cpus=()
  for ((i = 0; i < RUNS; i++)); do
    t0=$(now_ns)
    if [ -x /usr/bin/time ]; then
      timeout "$TIMEOUT" /usr/bin/time -f '%M %U %S' -o "$WORK/rss" "$@" >"$WORK/out" 2>"$WORK/err"
    else
      timeout "$TIMEOUT" "$@" >"$WORK/out" 2>"$WORK/err"
    fi
    rc=$?
    t1=$(now_ns)
    if [ $rc -eq 124 ]; then note="timeout after ${TIMEOUT}s"; break; fi
    if [ $rc -ne 0 ] || grep -qiE '^(error|ERROR [0-9])' "$WORK/err" "$WORK/out"; then
      note="error: $(grep -m1 -iE 'error' "$WORK/err" "$WORK/out" -h | cut -c1-90)"
      [ "$note" = "error: " ] && note="error: exit $rc"
      break
    fi
    times+=($(((t1 - t0) / 1000)))
    [ -x /usr/bin/time ] && cpus+=("$(tail -1 "$WORK/rss" | awk '{ printf "%d", ($2 + $3) * 1e6 }')")
    if [ $i -eq 0 ]; then
      answer=$($filter <"$WORK/out")
      [ -x /usr/bin/time ] && rss=$(tail -1 "$WORK/rss" 2>/dev/null | awk '{ print $1 }')
    fi
    # A run of more than a minute is not repeated: its median would not change the picture.
    [ $((t1 - t0)) -gt 60000000000 ] && note_runs=" (1 run)" && break
  done
  local median="" cpu=""
  if [ ${#times[@]} -gt 0 ] && [ -z "$note" ]; then
    median=$(median_of "${times[@]}")
    [ ${#cpus[@]} -gt 0 ] && cpu=$(median_of "${cpus[@]}")
  fi
  [ -z "$note" ] && [ -n "$note_runs" ] && note="ok$note_runs"
  forget "$workload" "$system"
  printf '%s\t%s\t%s\t%s\t%s\t%s\t%s\t%s\t%s\n' "$workload" "$system" "${median:--}" "$baseline" \
    "${rss:--}" "${answer:--}" "${note:--}" "${cpu:--}" "${REPEAT:-1}" >>"$TSV"
  log "$(printf '%-28s %-17s %10s us  %s  %s' "$workload" "$system" "${median:--}" "${answer:0:60}" "$note")"
}

# Drops an earlier result of WORKLOAD on SYSTEM (a rerun with KEEP=1 replaces it).
forget() {
  awk -F'\t' -v w="$1" -v s="$2" '!($1 == w && $2 == s)' "$TSV" >"$WORK/tsv" && cat "$WORK/tsv" >"$TSV"
}

enabled() { case " $SYSTEMS " in *" $1 "*) return 0 ;; esac; return 1; }

skip() { # WORKLOAD SYSTEM REASON
  [[ $1 =~ $ONLY ]] || return 0
  forget "$1" "$2"
  printf '%s\t%s\t-\t-\t-\t-\t%s\t-\n' "$1" "$2" "skipped: $3" >>"$TSV"
}

# ---------------------------------------------------------------------------------------
# Workloads
# ---------------------------------------------------------------------------------------
# run_spatial NAME TESSERA-OPENS TESSERA-QUERY SPATIALITE-QUERY RTREE-QUERY GDAL-FILE GDAL-QUERY POSTGIS-QUERY
# Queries name their tables; for tessera the opened files are named c, p, b.
# With REPEAT set, each query but GDAL's runs that many times in one process.
run_spatial() {
  local name=$1 opens=$2 tq=$3 sq=$4 rq=$5 gfile=$6 gq=$7 pq=$8 base=$9
  local k reps=${REPEAT:-1} targs=() sargs=() rargs=() pargs=("$pq")
  for ((k = 0; k < reps; k++)); do
    targs+=(-c "$tq"); sargs+=("$sq"); rargs+=("$rq")
    [ $k -gt 0 ] && pargs+=(-c "$pq")
  done
  if enabled tessera; then
    if [ -x "$TESSERA" ]; then
      # shellcheck disable=SC2086
      measure "$name" tessera "$base" answer_tessera -- "${TS[@]}" $opens "${targs[@]}"
    else skip "$name" tessera "$TESSERA not built"; fi
  fi
  if enabled spatialite; then
    if [ $SPATIALITE_OK -eq 1 ] && [ -n "$sq" ]; then
      measure "$name" spatialite "$base" answer_spatialite -- "${SL[@]}" "${sargs[@]}"
    elif [ $SPATIALITE_OK -ne 1 ]; then skip "$name" spatialite "mod_spatialite not available"; fi
  fi
  if enabled spatialite+rtree && [ -n "$rq" ]; then
    if [ $SPATIALITE_OK -eq 1 ]; then
      measure "$name" spatialite+rtree "$base" answer_spatialite -- "${SL[@]}" "${rargs[@]}"
    else skip "$name" spatialite+rtree "mod_spatialite not available"; fi
  fi
  if enabled gdal && [ -n "$gq" ]; then
    if [ $GDAL_OK -eq 1 ]; then
      REPEAT=1 measure "$name" gdal "$base" answer_gdal -- "${GD[@]}" "$gq" "$gfile"
    else skip "$name" gdal "ogrinfo not available"; fi
  fi
  if enabled postgis && [ -n "$pq" ]; then
    if [ $PG_OK -eq 1 ]; then
      measure "$name" postgis "$base" answer_plain -- "${PG[@]}" "${pargs[@]}"
    else skip "$name" postgis "${PG_NOTE:-not started}"; fi
  fi
}

workloads() {
  local D=$DATA r c p
  # Start-up: an empty query.
  if enabled tessera && [ -x "$TESSERA" ]; then
    measure "start-up (Select 1)" tessera "" answer_tessera -- "${TS[@]}" -c 'Select 1'
  fi
  if enabled spatialite && [ $SPATIALITE_OK -eq 1 ]; then
    measure "start-up (Select 1)" spatialite "" answer_spatialite -- "${SQ[@]}" -cmd '.load mod_spatialite' 'select 1;'
  fi
  if enabled spatialite && have sqlite3; then
    measure "start-up (Select 1)" sqlite "" answer_spatialite -- "${SQ[@]}" 'select 1;'
  fi
  if enabled gdal && [ $GDAL_OK -eq 1 ]; then
    measure "start-up (Select 1)" gdal "" answer_gdal -- "${GD[@]}" 'select 1' "$D/centroids110.geojson"
  fi
  if enabled postgis && [ $PG_OK -eq 1 ]; then
    measure "start-up (Select 1)" postgis "" answer_plain -- "${PG[@]}" 'select 1'
  fi

  # Open-and-count of each file: the baseline subtracted from the workloads on that file.
  local f
  for f in countries110 centroids110 countries10 centroids10 boundaries10 countries10p centroids10p boundaries10p; do
    run_spatial "open+count $f" "--open $D/$f.geojson=c" 'Select Count(*) From c' \
      "select count(*) from $f;" "" "$D/$f.geojson" "select count(*) from ${f%%[0-9]*}" \
      "select count(*) from $f" ""
  done
  # Two files for the joins of countries with centroids.
  for r in 110 10; do
    run_spatial "open+count countries$r+centroids$r" \
      "--open $D/countries$r.geojson=c --open $D/centroids$r.geojson=p" \
      'Select (Select Count(*) From c) + (Select Count(*) From p)' \
      "select (select count(*) from countries$r) + (select count(*) from centroids$r);" "" \
      "$D/countries$r.geojson" "select (select count(*) from countries) + (select count(*) from \"$D/centroids$r.geojson\".centroids)" \
      "select (select count(*) from countries$r) + (select count(*) from centroids$r)" ""
  done

  # Intersects self-join.
  for r in 110 10; do
    c=countries$r
    run_spatial "intersects self-join $r" "--open $D/$c.geojson=c" \
      'Select Count(*) From c a, c b Where a.obj Intersects b.obj' \
      "select count(*) from $c a, $c b where st_intersects(a.geom, b.geom);" \
      "select count(*) from $c a, $c b where st_intersects(a.geom, b.geom) and b.rowid in (select rowid from SpatialIndex where f_table_name = '$c' and search_frame = a.geom);" \
      "$D/$c.geojson" "select count(*) from countries a, countries b where st_intersects(a.geometry, b.geometry)" \
      "select count(*) from $c a, $c b where st_intersects(a.geom, b.geom)" "open+count $c"
  done

  # Contains-centroid join: countries x centroids.
  for r in 110 10; do
    c=countries$r; p=centroids$r
    run_spatial "contains-centroid join $r" "--open $D/$c.geojson=c --open $D/$p.geojson=p" \
      'Select Count(*) From c, p Where c.obj Contains p.obj' \
      "select count(*) from $c c, $p p where st_contains(c.geom, p.geom);" \
      "select count(*) from $c c, $p p where st_contains(c.geom, p.geom) and p.rowid in (select rowid from SpatialIndex where f_table_name = '$p' and search_frame = c.geom);" \
      "$D/$c.geojson" "select count(*) from countries c, \"$D/$p.geojson\".centroids p where st_contains(c.geometry, p.geometry)" \
      "select count(*) from $c c, $p p where st_contains(c.geom, p.geom)" "open+count $c+$p"
  done

  # Measures per row, 1:10m. Planar on the Equal Earth copy (square metres, metres).
  local model tf sf pf file tbl
  REPEAT=$MEASURE_REPEAT
  for model in planar ellipsoidal spherical; do
    case $model in
      planar) tf=Cartesian; sf=""; pf=""; file=p ;;
      ellipsoidal) tf=Ellipsoidal; sf=", 1"; pf="::geography"; file="" ;;
      spherical) tf=Spherical; sf=", 0"; pf="::geography"; file="" ;;
    esac
    local pg_sph=""; [ $model = spherical ] && pg_sph=", false"
    tbl=countries10$file
    run_spatial "area $model" "--open $D/$tbl.geojson=c" \
      "Select Sum(${tf}Area(obj, \"sq m\")) From c" \
      "select sum(st_area(geom$sf)) from $tbl;" "" \
      "$D/$tbl.geojson" "select sum(st_area(geometry$sf)) from countries" \
      "select sum(st_area(geom$pf$pg_sph)) from $tbl" "open+count $tbl"
    run_spatial "perimeter $model" "--open $D/$tbl.geojson=c" \
      "Select Sum(${tf}Perimeter(obj, \"m\")) From c" \
      "select sum(st_perimeter(geom$sf)) from $tbl;" "" \
      "$D/$tbl.geojson" "select sum(st_perimeter(geometry$sf)) from countries" \
      "select sum(st_perimeter(geom$pf$pg_sph)) from $tbl" "open+count $tbl"
    tbl=boundaries10$file
    run_spatial "length $model" "--open $D/$tbl.geojson=c" \
      "Select Sum(${tf}ObjectLen(obj, \"m\")) From c" \
      "select sum(st_length(geom$sf)) from $tbl;" "" \
      "$D/$tbl.geojson" "select sum(st_length(geometry$sf)) from boundaries" \
      "select sum(st_length(geom$pf$pg_sph)) from $tbl" "open+count $tbl"
    tbl=centroids10$file
    run_spatial "distance all pairs $model" "--open $D/$tbl.geojson=p" \
      "Select Sum(${tf}Distance(a.obj, b.obj, \"m\")) From p a, p b" \
      "select sum(st_distance(a.geom, b.geom$sf)) from $tbl a, $tbl b;" "" \
      "$D/$tbl.geojson" "select sum(st_distance(a.geometry, b.geometry$sf)) from centroids a, centroids b" \
      "select sum(st_distance(a.geom$pf, b.geom$pf$pg_sph)) from $tbl a, $tbl b" "open+count $tbl"
  done
  REPEAT=1

  # Text functions over generated rows: this engine's functions (in its own process,
  # the table made with --raw) against SQLite's built-ins in sqlite3.
  local cte make
  cte=$(text_cte)
  make="Create Table t As $cte"
  local name texpr sexpr
  local base k targs sargs
  while IFS='|' read -r name texpr sexpr; do
    base="text make table"; REPEAT=$TEXT_REPEAT
    [ "$name" = "make table" ] && base="start-up (Select 1)" && REPEAT=1
    targs=(); sargs=()
    for ((k = 0; k < REPEAT; k++)); do
      targs+=(-c "Select $texpr From t"); sargs+=("select $sexpr from t;")
    done
    if enabled tessera && [ -x "$TESSERA" ]; then
      measure "text $name" tessera "$base" answer_tessera -- \
        "${TS[@]}" --raw -c "$make" "${targs[@]}"
    fi
    if enabled spatialite && have sqlite3; then
      measure "text $name" sqlite "$base" answer_spatialite -- \
        "${SQ[@]}" "$make;" "${sargs[@]}"
    fi
  done <<'EOF'
make table|Count(*)|count(*)
lcase|Sum(Length(LCase(s)))|sum(length(lower(s)))
ucase|Sum(Length(UCase(s)))|sum(length(upper(s)))
len|Sum(Len(s))|sum(length(s))
instr|Sum(InStr(s, 'abc'))|sum(instr(s, 'abc'))
like '%abc%'|Sum(s Like '%abc%')|sum(s like '%abc%')
EOF
  REPEAT=1

  # Translation throughput.
  if enabled tessera && [ -x "$TESSERA" ] && [ -f "$DATA/statements.sql" ]; then
    measure "translate ${TRANSLATE_STATEMENTS} statements" tessera "open+count countries110+centroids110" count_translations -- \
      "${TS[@]}" --open "$D/countries110.geojson=c" --open "$D/centroids110.geojson=p" --translate "$DATA/statements.sql"
  fi
}
count_translations() { grep -c ';$'; }

# ---------------------------------------------------------------------------------------
# Report
# ---------------------------------------------------------------------------------------
# Net = the median minus the same system's median of its baseline (start-up, or start-up
# and opening the data), for wall time and for CPU time (user + system of the process: far
# steadier than wall time on a shared machine; not shown for PostGIS, whose work is in the
# server). "× ours" = this system's net time / this engine's: below 1 the peer is faster.
# Answers are compared to this engine's (else the first peer's) number by number, 1e-9
# relative.
report() {
  awk -F'\t' -v known="$HERE/known-differences.tsv" '
    BEGIN {
      while ((getline line < known) > 0) {
        if (line ~ /^#/ || line == "") continue
        split(line, k, "\t"); knownTol[k[1] "\t" k[2]] = k[3]; knownNote[k[1] "\t" k[2]] = k[4]
      }
    }
    { gsub(/\r/, "", $6); n++; W[n] = $1; S[n] = $2; M[n] = $3; B[n] = $4; R[n] = $5; A[n] = $6; N[n] = $7
      C[n] = ($2 == "postgis" || $8 == "") ? "-" : $8
      P[n] = ($9 == "") ? 1 : $9
      wall[$1 "\t" $2] = $3; cpu[$1 "\t" $2] = C[n]
      if (!($1 in seen)) { seen[$1] = 1; order[++nw] = $1 } }
    function net(i, v, tbl,   b) {
      if (v == "-") return ""
      if (B[i] == "" || B[i] == "-") return v / P[i]
      b = tbl[B[i] "\t" S[i]]
      # The R*Tree variant opens the same database as plain SpatiaLite.
      if (b == "" && S[i] == "spatialite+rtree") b = tbl[B[i] "\tspatialite"]
      if (b == "" || b == "-") return ""
      return (v - b > 0) ? (v - b) / P[i] : 0
    }
    function fmt(us) {
      if (us == "") return "-"
      if (us >= 1e6) return sprintf("%.2f s", us / 1e6)
      return sprintf("%.1f ms", us / 1e3)
    }
    function ratio(t, o) { return (t != "" && o != "" && o > 0) ? sprintf("%.2f", t / o) : "-" }
    function abs(x) { return x < 0 ? -x : x }
    # Sets lastWorst to the largest relative difference.
    function check(a, ref,   x, y, nx, ny, j, d, worst) {
      lastWorst = 1e300
      if (a == "-" || a == "") return "-"
      nx = split(a, x, " "); ny = split(ref, y, " ")
      if (nx != ny) return "differs: " a " vs " ref
      worst = 0
      for (j = 1; j <= nx; j++) {
        if (x[j] == y[j]) continue
        if (x[j] !~ /^-?[0-9.eE+-]+$/ || y[j] !~ /^-?[0-9.eE+-]+$/) return "differs: " a " vs " ref
        d = abs(x[j] - y[j]) / (abs(y[j]) > 0 ? abs(y[j]) : 1)
        if (d > worst) worst = d
      }
      lastWorst = worst
      if (worst <= 1e-9) return "ok"
      return sprintf("differs (%.1e rel)", worst)
    }
    END {
      print "| workload | system | wall (net) | CPU (net) | wall (total) | × ours (wall) | × ours (CPU) | peak RSS | answer |"
      print "|---|---|---:|---:|---:|---:|---:|---:|---|"
      for (w = 1; w <= nw; w++) {
        wl = order[w]; oursW = ""; oursC = ""; ref = ""
        for (i = 1; i <= n; i++)
          if (W[i] == wl && S[i] == "tessera" && M[i] != "-") { oursW = net(i, M[i], wall); oursC = net(i, C[i], cpu); ref = A[i] }
        if (ref == "" || ref == "-")
          for (i = 1; i <= n; i++) if (W[i] == wl && A[i] != "-" && ref == "") ref = A[i]
        for (i = 1; i <= n; i++) {
          if (W[i] != wl) continue
          tw = net(i, M[i], wall); tc = net(i, C[i], cpu)
          # This engine is checked against PostGIS (else SpatiaLite), the peers against it;
          # a known difference is named only when it explains the size of the gap.
          peer = S[i]; against = ref
          if (S[i] == "tessera") {
            peer = ""
            for (j = 1; j <= n; j++) if (W[j] == wl && S[j] == "postgis" && A[j] != "-") { peer = "postgis"; against = A[j] }
            if (peer == "")
              for (j = 1; j <= n; j++) if (W[j] == wl && S[j] == "spatialite" && A[j] != "-") { peer = "spatialite"; against = A[j] }
          }
          if (N[i] != "-" && N[i] !~ /^ok/) chk = N[i]
          else {
            chk = check(A[i], against)
            if (chk != "ok" && chk != "-" && S[i] == "tessera") chk = chk " from " peer
            if (chk != "ok" && ((wl "\t" peer) in knownNote) && lastWorst <= knownTol[wl "\t" peer] + 0)
              chk = chk "; known: " knownNote[wl "\t" peer]
            if (N[i] ~ /^ok/) chk = chk substr(N[i], 3)
          }
          shown = fmt(tw)
          if (match(wl, /^translate [0-9]+/) && tc != "" && tc > 0)
            shown = shown sprintf(" (%.0f/s CPU)", substr(wl, 11, RLENGTH - 10) / (tc / 1e6))
          printf "| %s | %s | %s | %s | %s | %s | %s | %s | %s |\n", wl, S[i], shown, fmt(tc),
            fmt(M[i] == "-" ? "" : M[i]), ratio(tw, oursW), ratio(tc, oursC),
            (R[i] == "-" ? "-" : sprintf("%.0f MB", R[i] / 1024)), chk
        }
      }
    }' "$TSV"
}

main() {
  if [ "${1:-}" = "--report" ]; then report; exit 0; fi
  log "tessera-sql: $TESSERA"
  prepare_data || { log "data preparation failed: $(tail -3 "$WORK/prep.err" 2>/dev/null)"; exit 1; }
  check_peers
  set_commands
  # tessera-sql runs as shipped: a host that loads the engine, the functions and the
  # tables as plug-ins from the folder beside it (and TESSERA_PLUGIN_PATH), so its
  # start-up includes finding and loading them. Which ones it loaded goes into the report.
  PLUGINS=""
  if enabled tessera && [ -x "$TESSERA" ]; then
    PLUGINS=$("$TESSERA" --format csv -c '.plugins' 2>/dev/null | awk -F, 'NR > 1 { printf "%s%s %s", (NR > 2 ? ", " : ""), $1, $2 }')
    log "tessera-sql plug-ins: ${PLUGINS:-none}"
  fi
  # KEEP=1 keeps the results of an earlier run, e.g. to rerun one workload with ONLY.
  [ "${KEEP:-0}" = 1 ] && [ -f "$TSV" ] || : >"$TSV"
  workloads
  {
    printf '%s, %s, load average %s, %s runs each, medians; net = minus the same system'"'"'s start-up and open+count of the same data.\n\n' \
      "$(date -u '+%Y-%m-%d %H:%M UTC')" "$(nproc) cores $(uname -m)" "$(cut -d' ' -f1-3 /proc/loadavg 2>/dev/null)" "$RUNS"
    [ -n "$PLUGINS" ] && printf 'tessera-sql loaded its plug-ins as a user'"'"'s would: %s.\n\n' "$PLUGINS"
    report
  } >"$RESULTS"
  cat "$RESULTS"
  log "written to $RESULTS"
}

main "$@"
