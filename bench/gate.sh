#!/usr/bin/env bash
# Counts the instructions of the engine's ticks with callgrind and compares them with the limits in
# bench/gate.txt. Exit code 1: a case takes more than 2 % more than its limit.
#
#   bench/gate.sh [--update] [BUILD]
#
# Builds bench_gate in build/linux-release, unless BUILD is given. --update writes what was counted to
# bench/gate.txt.
#
# Valgrind shows every program the same processor, with AVX2 if the machine has it, so the image library and
# the C library choose the same code everywhere. The limits hold for that processor: on another one nothing is
# checked. The versions of the libraries are told but not enforced.
set -euo pipefail
cd "$(dirname "$0")/.."
update=no
if [ "${1:-}" = --update ]; then
  update=yes
  shift
fi
build=${1:-build/linux-release}
limits=bench/gate.txt
if [ $# -eq 0 ]; then
  scripts/packages.sh gate
  cmake --preset linux-release
  cmake --build --preset linux-release -j "${JOBS:-$(nproc)}" --target bench_gate
fi

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
# One processor: the pool then has the same size on every machine.
cpu=$(taskset -cp $$ | sed 's/.*: \([0-9]*\).*/\1/')
taskset -c "$cpu" valgrind --tool=callgrind --callgrind-out-file="$work/out" \
  --zero-before='quillmark::bench::Begin()' --dump-before='quillmark::bench::End()' \
  "$build/bin/bench_gate" >"$work/cases" 2>"$work/log" || {
  tail -n 5 "$work/log" >&2
  exit 1
}

version() { dpkg-query -W -f '${Version}' "$1"; }
libraries="libopencv-core406 $(version libopencv-core406), libc6 $(version libc6), g++ $(version g++),"
libraries="$libraries valgrind $(version valgrind)"
processor=$(sed -n 's/^processor //p' "$work/cases")
number=0
while read -r name; do
  number=$((number + 1))
  [ "$name" != rehearsal ] || continue
  awk -v name="$name" '/^totals:/ { printf "%s %d\n", name, $2 / 4 }' "$work/out.$number"
done < <(grep -v '^processor ' "$work/cases") >"$work/counted"

if [ "$update" = yes ]; then
  awk -v processor="$processor" -v libraries="$libraries" '
    FNR == NR { counted[$1] = $2; next }
    /^processor / { print "processor " processor; next }
    /^libraries / { print "libraries " libraries; next }
    $1 in counted { printf "%-22s %12d %12d\n", $1, counted[$1], $3; next }
    { print }' "$work/counted" "$limits" >"$work/new"
  cp "$work/new" "$limits"
fi

known=$(sed -n 's/^processor //p' "$limits")
if [ "$processor" != "$known" ]; then
  echo "NOT CHECKED: instructions of a tick: the limits are for a processor with $known, this is $processor"
  exit 0
fi
known=$(sed -n 's/^libraries //p' "$limits")
[ "$libraries" = "$known" ] || printf 'The limits were counted with\n  %s\nthese are with\n  %s\n' "$known" "$libraries"
awk '
  FNR == NR { if ($0 !~ /^(#|processor|libraries)/ && NF == 3) { limit[$1] = $2; base[$1] = $3; cases++ } next }
  FNR == 1 { printf "%-22s %12s %12s %9s %12s\n", "instructions a tick", "now", "limit", "now/limit", "e33b541/now" }
  !($1 in limit) { printf "%s has no limit in bench/gate.txt\n", $1; bad = 1; next }
  {
    printf "%-22s %12d %12d %9.4f %12.1f\n", $1, $2, limit[$1], $2 / limit[$1], base[$1] / $2
    seen++
    if ($2 > 1.02 * limit[$1]) { over = over " " $1; bad = 1 }
  }
  END {
    if (seen != cases) { printf "%d of %d cases were counted\n", seen, cases; bad = 1 }
    if (over != "") print "more than 2 % over the limit:" over
    exit bad
  }' "$limits" "$work/counted"
