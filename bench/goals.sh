#!/usr/bin/env bash
# Prints the table of speed goals (docs/performance.md) for two builds, measured on real workers. The ratio says
# how many times better the new build is. Each case runs with the baseline, the new build and the baseline again,
# in an order that changes from round to round: the control is the ratio of the two baseline runs, from the
# smallest to the largest, and a ratio within it says nothing. The exit code says only that everything could be
# measured.
#
#   bench/goals.sh BASELINE_BUILD [BUILD]      BUILD is build/linux-release by default; its bench_goals drives both
#
# About four minutes; QUICK=1 takes the main cases in one minute. SECONDS_EACH (1) and ROUNDS (2).
# The Python loops run if /usr/bin/python3 has what they need.
set -euo pipefail
if [ $# -lt 1 ] || [ $# -gt 2 ]; then
  echo "usage: bench/goals.sh BASELINE_BUILD [BUILD]" >&2
  exit 2
fi
fail() {
  echo "goals.sh: $*" >&2
  exit 1
}
baseline=$(cd "$1" && pwd) || fail "no build folder $1"
cd "$(dirname "$0")/.."
build=$(cd "${2:-build/linux-release}" && pwd) || fail "no build folder ${2:-build/linux-release}"
for needed in "$baseline/bin/Quillmark" "$build/bin/Quillmark" "$build/bin/bench_goals"; do
  [ -x "$needed" ] || fail "$needed is missing: build it first"
done
rounds=${ROUNDS:-2} seconds=${SECONDS_EACH:-1}
[ -z "${QUICK:-}" ] || rounds=1

# Goal, case, figure, what the goal is about (ratio: baseline/new; new: the new build's figure), the goal, and
# whether the case is a quick one.
table='1  outside-1080p-mixed  ms_per_frame   ratio  >=100  quick
1  outside-4K-mixed     ms_per_frame   ratio  >=180  quick
1  outside-1080p-grey   ms_per_frame   ratio  >=50   quick
2  inside-first         ms_per_frame   ratio  >=40   quick
2  inside-in-turn       ms_per_frame   ratio  -      -
3  part-of-1080p        ms_per_frame   ratio  >=35   quick
3  part-of-400x300      ms_per_frame   ratio  >=7    -
5  idle-no-spec         cpu_percent    new    <=0.1  -
5  idle-no-spec         wakeups_per_s  new    <=25   -
5  idle-16-specs        cpu_percent    new    <=0.4  quick
5  idle-16-specs        wakeups_per_s  new    <=85   quick
6  hit-small-change     median_ms      new    <=2    quick
6  hit-new-content      median_ms      new    <=4    -
7  outside-400x300      ms_per_frame   new    <=0.12 -
8  paint-1080p          frames_per_s   new    >=45   quick
8  paint-16-regions     frames_per_s   new    >=45   -
9  outside-4K-mixed     resident_mib   new    <=80   quick
9  outside-4K-mixed     peak_mib       new    -      quick'
[ -z "${QUICK:-}" ] || table=$(grep 'quick$' <<<"$table")

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
# measure AS CASE WORKER; the new build for twice as long: small figures vary most.
measure() {
  local span=$seconds
  [ "$1" != new ] || span=$((2 * seconds))
  "$build/bin/bench_goals" "$2" "$span" "$3" 2>"$work/log" >"$work/out" || fail "$(tail -n 1 "$work/log")"
  awk -v as="$1" -v name="$2" -v round="$round" '{ print name, as, round, $1, $2 }' "$work/out" >>"$work/figures"
}
for ((round = 1; round <= rounds; round++)); do
  case $((round % 3)) in
    0) order="again base new" ;;
    1) order="base new again" ;;
    2) order="new again base" ;;
  esac
  for name in $(awk '!seen[$2]++ { print $2 }' <<<"$table"); do
    for as in $order; do
      worker=$baseline/bin/Quillmark
      [ "$as" = new ] && worker=$build/bin/Quillmark
      measure "$as" "$name" "$worker"
    done
  done
done
if [ -z "${QUICK:-}" ]; then round=1 measure python python-400x300 "$build/bin/Quillmark"; fi

printf '%-4s %-35s %9s %9s %8s  %-14s %-10s %s\n' row "case, figure" baseline new ratio control goal "frames/s"
awk '
  function Sorted(list, n,    i, j, v) {
    for (i = 2; i <= n; i++) { v = list[i]; for (j = i - 1; j >= 1 && list[j] > v; j--) list[j + 1] = list[j]; list[j + 1] = v }
  }
  # The median over the rounds.
  function Of(name, as, figure,    n, r, list) {
    n = 0
    for (r = 1; (name, as, r, figure) in value; r++) list[++n] = value[name, as, r, figure]
    Sorted(list, n)
    return n % 2 ? list[(n + 1) / 2] : (list[n / 2] + list[n / 2 + 1]) / 2
  }
  function Met(is, goal) {
    if (goal == "-") return "-"
    return (substr(goal, 1, 2) == ">=" ? is >= substr(goal, 3) + 0 : is <= substr(goal, 3) + 0) ? goal " met" : goal " no"
  }
  FNR == NR { value[$1, $2, $3, $4] = $5; next }
  {
    base = Of($2, "base", $3); again = Of($2, "again", $3); new = Of($2, "new", $3)
    low = high = 0
    for (r = 1; ($2, "base", r, $3) in value; r++) {
      c = value[$2, "again", r, $3] > 0 ? value[$2, "base", r, $3] / value[$2, "again", r, $3] : 0
      if (r == 1 || c < low) low = c
      if (r == 1 || c > high) high = c
    }
    if (base > 0 && new > 0) ratio = $3 == "frames_per_s" ? 2 * new / (base + again) : (base + again) / 2 / new
    else ratio = 0
    frames = $3 == "ms_per_frame" ? sprintf("%.0f, %.0f", Of($2, "base", "frames_per_s"), Of($2, "new", "frames_per_s")) : ""
    printf "%-4s %-35s %9.2f %9.2f %8.2f  %-14s %-10s %s\n", $1, $2 ", " $3, base, new, ratio,
           sprintf("%.2f to %.2f", low, high), Met($4 == "ratio" ? ratio : new, $5), frames
    if ($2 == "outside-400x300") check = new
  }
  END {
    split("shm xlib pillow", loops)
    for (i = 1; i <= 3; i++) {
      figure = loops[i] "_ms"
      if (!(("python-400x300", "python", 1, figure) in value)) continue
      loop = value["python-400x300", "python", 1, figure]
      printf "%-4s %-35s %9.2f %9.2f %8.2f  %-14s %s\n", 7, "a check in Python, " loops[i], loop, check, loop / check,
             "", Met(loop / check, loops[i] == "pillow" ? ">=150" : ">=50")
    }
  }' "$work/figures" <(printf '%s\n' "$table")
grep -h '^python-400x300.* missing' "$work/figures" | sed 's/.* missing/Python loops not measured: missing/' || true
