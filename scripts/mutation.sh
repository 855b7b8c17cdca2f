#!/usr/bin/env bash
# Mutation testing: how many small, plausible faults the test suite catches.
#
# Draws N mutants with SEED from the production lines (.cpp files under
# platform/, engine/, modules/, providers/, tools/) that the suite covers,
# as listed in the lcov data of scripts/coverage.sh. Kinds of mutant:
#   flip      a comparison turned round: < and >, <= and >=, == and !=
#   bound     an off-by-one bound: < and <=, > and >=
#   swap      the operands of - or / exchanged (a - b becomes b - a)
#   negation  a ! dropped (!ok becomes ok)
#   constant  an integer literal plus one, a real literal's last digit
#             changed, true and false exchanged
# One at a time: the mutant is written into the source, the build directory
# rebuilt incrementally, the tests of the file's folder run and then the whole
# suite (stopping at the first failing test);
# then the source is restored, always (also on Ctrl-C). A mutant that does not
# compile is discarded and replaced by the next one drawn. At most one mutant
# per line; the kinds take turns. The same seed and coverage data draw the
# same mutants.
#
# Usage: scripts/mutation.sh [N] [SEED]          (defaults 60 and 1)
# Environment:
#   MUTATION_BUILD     build directory (default build-mutation)
#   MUTATION_COVERAGE  lcov data (default build-coverage/coverage.info; made
#                      with scripts/coverage.sh when missing)
#   MUTATION_PATHS     folders to draw from, e.g. "tools modules" (default: all)
#   MUTATION_TIMEOUT   seconds per test executable (default 120)
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
count="${1:-60}"
seed="${2:-1}"
build="${MUTATION_BUILD:-$root/build-mutation}"
info="${MUTATION_COVERAGE:-$root/build-coverage/coverage.info}"
paths="${MUTATION_PATHS:-platform engine modules providers tools}"
timeout="${MUTATION_TIMEOUT:-120}"
jobs="$(nproc)"
case "$build" in /*) ;; *) build="$PWD/$build" ;; esac
case "$info" in /*) ;; *) info="$PWD/$info" ;; esac

work="$build/mutation"
backup="$work/original"
mkdir -p "$work"

# The file being mutated goes back to its original text whatever happens.
current=""
restore() {
  if [ -n "$current" ] && [ -f "$backup" ]; then
    cp "$backup" "$root/$current"
    rm -f "$backup" "$work/current"
  fi
  current=""
}
# A run killed hard (SIGKILL, power) left its mutant in the tree: undo it first.
if [ -f "$work/current" ] && [ -f "$backup" ]; then
  current="$(cat "$work/current")"
  echo "restoring $current from an interrupted run"
  restore
fi
trap 'restore' EXIT
trap 'restore; echo "interrupted"; exit 130' INT TERM

if [ ! -f "$info" ]; then
  "$root/scripts/coverage.sh"
fi

# RelWithDebInfo, as build/: the compiler cache has most objects already.
# Test programs are not relinked when only a shared library they use changed.
cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_LINK_DEPENDS_NO_SHARED=ON \
  -DTESSERA_BUILD_TESTS=ON -DTESSERA_BUILD_BENCH=OFF -DTESSERA_FUZZ=OFF >/dev/null
echo "building $build ..."
cmake --build "$build" -j"$jobs" >"$work/build.log" 2>&1 || { cat "$work/build.log"; exit 1; }

run_suite() {
  ctest --test-dir "$build" -j"$jobs" --stop-on-failure --timeout "$timeout" >"$work/test.log" 2>&1
}
# The tests of the mutated file's folder first (tests/engine/functions for
# engine/functions/X.cpp), which most often catch it, built alone; then the
# whole suite, built whole. Returns 2 when the mutant does not compile.
run_tests_for() {
  local dir="$build/tests/$(dirname "$1")"
  failed_in="$build"
  if [ -f "$dir/Makefile" ] && [ -f "$dir/CTestTestfile.cmake" ]; then
    make -C "$dir" -j"$jobs" >"$work/build.log" 2>&1 || return 2
    if ! ctest --test-dir "$dir" -j"$jobs" --stop-on-failure --timeout "$timeout" >"$work/test.log" 2>&1; then
      failed_in="$dir"
      return 1
    fi
  fi
  cmake --build "$build" -j"$jobs" >"$work/build.log" 2>&1 || return 2
  run_suite
}
echo "running the suite on the unchanged tree ..."
if ! run_suite; then
  cat "$work/test.log"
  echo "the suite fails without a mutant: fix that first" >&2
  exit 1
fi

# Every candidate mutant in the covered lines, in a fixed order, then shuffled
# with the seed: "file<TAB>line<TAB>column<TAB>kind<TAB>from<TAB>to".
perl - "$root" "$info" "$seed" $paths >"$work/candidates.tsv" <<'PERL'
use strict;
use warnings;
my ($root, $info, $seed, @folders) = @ARGV;
my %covered;    # file -> {line -> 1}
my $file;
open(my $in, '<', $info) or die "$info: $!";
while (<$in>) {
    chomp;
    if (/^SF:(.*)$/) {
        # Relative to the tree: the data may come from another copy of it.
        $file = $1;
        my @parts = split m{/}, $file;
        for my $i (0 .. $#parts) {
            my $rest = join('/', @parts[$i .. $#parts]);
            if ($rest ne '' && -f "$root/$rest" && $parts[$i] =~ /^(?:platform|engine|modules|providers|tools)$/) { $file = $rest; last; }
        }
    } elsif (/^DA:(\d+),(\d+)/ && $2 > 0) {
        $covered{$file}{$1} = 1;
    }
}
close($in);

my $folders = join('|', map { quotemeta } @folders);
# Lines whose change nobody sees or that do not compute: logging, assertions,
# declarations of Qt's meta-object system.
my $skip = qr/\b(?:qC?(?:Debug|Info|Warning|Critical)|Q_ASSERT\w*|assert|static_assert|Q_LOGGING_CATEGORY|Q_DECLARE\w*|Q_OBJECT|Q_PLUGIN_METADATA|Q_INTERFACES)\b/;
my @candidates;
for my $f (sort keys %covered) {
    next unless $f =~ m{^(?:$folders)/} && $f =~ /\.cpp$/;
    open(my $src, '<', "$root/$f") or next;
    my @lines = <$src>;
    close($src);
    my $inComment = 0;
    for my $n (1 .. @lines) {
        my $text = $lines[$n - 1];
        chomp $text;
        # Literals and comments blanked out, positions kept.
        my $masked = '';
        my $i = 0;
        my $len = length($text);
        while ($i < $len) {
            my $c = substr($text, $i, 1);
            if ($inComment) {
                if (substr($text, $i, 2) eq '*/') { $masked .= '  '; $i += 2; $inComment = 0; next; }
                $masked .= ' '; $i++; next;
            }
            if (substr($text, $i, 2) eq '//') { $masked .= ' ' x ($len - $i); last; }
            if (substr($text, $i, 2) eq '/*') { $masked .= '  '; $i += 2; $inComment = 1; next; }
            if ($c eq '"' || ($c eq "'" && !($i > 0 && substr($text, $i - 1, 1) =~ /[0-9A-Fa-f]/))) {
                my $j = $i + 1;
                while ($j < $len && substr($text, $j, 1) ne $c) { $j += (substr($text, $j, 1) eq '\\') ? 2 : 1; }
                $j = $len - 1 if $j >= $len;
                $masked .= $c . (' ' x ($j - $i - 1)) . $c;
                $i = $j + 1;
                next;
            }
            $masked .= $c; $i++;
        }
        next unless $covered{$f}{$n};
        next if $masked =~ /^\s*#/ || $text =~ $skip;
        my @found;
        my %flip = ('<' => '>', '>' => '<', '<=' => '>=', '>=' => '<=', '==' => '!=', '!=' => '==');
        my %bound = ('<' => '<=', '<=' => '<', '>' => '>=', '>=' => '>');
        while ($masked =~ /(?<=\s)(==|!=|<=|>=|<|>)(?=\s)/g) {
            my ($op, $at) = ($1, $-[1]);
            push @found, [$at, 'flip', $op, $flip{$op}];
            push @found, [$at, 'bound', $op, $bound{$op}] if $bound{$op};
        }
        while ($masked =~ /(?<![\w.>\])])([A-Za-z_]\w*|\d+(?:\.\d+)?) ([-\/]) ([A-Za-z_]\w*|\d+(?:\.\d+)?)(?![\w.(\[:])/g) {
            next if $1 eq $3;
            push @found, [$-[0], 'swap', "$1 $2 $3", "$3 $2 $1"];
        }
        while ($masked =~ /(?<![!=])!(?=[A-Za-z_(])/g) {
            push @found, [$-[0], 'negation', '!', ''];
        }
        while ($masked =~ /(?<![\w.])(\d+\.\d*|\d+)(?:[eE][-+]?\d+)?(?![\w.'])/g) {
            my ($digits, $at) = ($1, $-[1]);
            my $to;
            if ($digits =~ /\./) {
                next unless $digits =~ /^(.*?)(\d)(\.?)$/ || $digits =~ /^(.*)(\d)()$/;
                my ($head, $last, $dot) = ($1, $2, $3);
                $to = $head . ($last eq '9' ? '8' : $last + 1) . $dot;
            } else {
                next if length($digits) > 15;
                $to = $digits + 1;
            }
            push @found, [$at, 'constant', $digits, "$to"];
        }
        while ($masked =~ /\b(true|false)\b/g) {
            push @found, [$-[1], 'constant', $1, $1 eq 'true' ? 'false' : 'true'];
        }
        push @candidates, [$f, $n, @$_] for sort { $a->[0] <=> $b->[0] || $a->[1] cmp $b->[1] } @found;
    }
}
# Fisher-Yates with Perl's own generator (drand48, the same on every platform).
srand($seed);
for (my $i = $#candidates; $i > 0; $i--) {
    my $j = int(rand($i + 1));
    @candidates[$i, $j] = @candidates[$j, $i];
}
# Kinds taken in turn, so that the many constants do not crowd out the rest.
my @kinds = ('flip', 'bound', 'swap', 'negation', 'constant');
my %byKind = map { $_ => [] } @kinds;
push @{$byKind{$_->[3]}}, $_ for @candidates;
while (grep { @{$byKind{$_}} } @kinds) {
    for my $kind (@kinds) {
        my $c = shift @{$byKind{$kind}};
        print join("\t", @$c), "\n" if $c;
    }
}
PERL
total="$(wc -l <"$work/candidates.tsv")"
echo "$total candidate mutants in covered lines; testing $count (seed $seed)"

# Writes the mutant into the source: `to` for `from` at the column.
apply() {
  perl -i -pe 'BEGIN { ($n, $c, $from, $to) = splice(@ARGV, 1, 4) }
    if ($. == $n) { substr($_, $c, length $from) eq $from or die "mismatch\n"; substr($_, $c, length $from) = $to }' \
    "$root/$1" "$2" "$3" "$5" "$6"
}

report="$work/report.txt"
: >"$report"
tested=0 killed=0 discarded=0
declare -A used
survivors=()
while IFS=$'\t' read -r file line column kind from to; do
  [ "$tested" -ge "$count" ] && break
  [ -n "${used[$file:$line]:-}" ] && continue
  used[$file:$line]=1
  cp "$root/$file" "$backup"
  echo "$file" >"$work/current"
  current="$file"
  if ! apply "$file" "$line" "$column" "$kind" "$from" "$to"; then
    restore
    continue
  fi
  what="$file:$line $kind: '$from' -> '$to'"
  result=0
  run_tests_for "$file" || result=$?
  if [ "$result" -eq 2 ]; then
    discarded=$((discarded + 1))
    echo "        discarded (does not compile) $what" | tee -a "$report"
    restore
    continue
  fi
  tested=$((tested + 1))
  if [ "$result" -eq 0 ]; then
    outcome="survived"
    survivors+=("$what | $(sed -n "${line}p" "$backup" | sed 's/^[[:space:]]*//')")
  else
    outcome="killed"
    killed=$((killed + 1))
    by="$(head -1 "$failed_in/Testing/Temporary/LastTestsFailed.log" 2>/dev/null | cut -d: -f2)"
    what="$what (by ${by:-?})"
  fi
  printf '[%2d/%d] %-8s %s\n' "$tested" "$count" "$outcome" "$what" | tee -a "$report"
  restore
done <"$work/candidates.tsv"
# The last restored file is rebuilt, so the directory holds the real code again.
cmake --build "$build" -j"$jobs" >"$work/build.log" 2>&1 || true

{
  echo
  if [ "$tested" -gt 0 ]; then
    awk -v k="$killed" -v t="$tested" 'BEGIN { printf "Killed %d of %d mutants: %.1f%%\n", k, t, 100 * k / t }'
  fi
  echo "Discarded (did not compile): $discarded"
  echo "Survivors: ${#survivors[@]}"
  for s in "${survivors[@]}"; do echo "  $s"; done
} | tee -a "$report"
echo "Report: $report"
