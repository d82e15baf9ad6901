#!/usr/bin/env bash
# Compares the micro-benchmarks of two builds in one run: in each round every program runs three times, from
# the old build, the new one and the old one again, in an order that changes from round to round. Prints
# new/old, and old/old as the control: a ratio inside the control's spread says nothing.
#
#   bench/compare.sh OLD_BUILD NEW_BUILD [FILTER]
set -euo pipefail
if [ $# -lt 2 ] || [ $# -gt 3 ]; then
  echo "usage: bench/compare.sh OLD_BUILD NEW_BUILD [FILTER]" >&2
  exit 2
fi
bench=$(cd "$(dirname "$0")" && pwd)
old=$1 new=$2 filter=${3:-.}
rounds=${ROUNDS:-7}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# measure BUILD AS PROGRAM ROUND
measure() {
  "$1/bin/bench_$3" --benchmark_filter="$filter" --benchmark_format=csv \
    --benchmark_min_time="${MIN_TIME:-0.05}" --benchmark_enable_random_interleaving=true \
    >"$work/raw" 2>"$work/log" || {
    tail -n 5 "$work/log" >&2
    exit 1
  }
  awk '/^"/ && !/\/control/' "$work/raw" >"$work/$2-$3-$4.csv"
}
for ((round = 1; round <= rounds; round++)); do
  for program in matching ipc specs engine; do
    case $((round % 3)) in
      0) order=(old new again) ;;
      1) order=(new again old) ;;
      2) order=(again old new) ;;
    esac
    for which in "${order[@]}"; do
      build=$old
      [ "$which" = new ] && build=$new
      measure "$build" "$which" "$program" "$round"
    done
  done
done

# The ratio of each round, then the median and the extremes of the rounds.
ratios() {
  for ((round = 1; round <= rounds; round++)); do
    for program in matching ipc specs engine; do
      awk -F, -v OFS=, 'FNR == NR { time[$1] = $4; next }
        $1 in time && time[$1] > 0 { print $1, 1, 1, $4 / time[$1] }' \
        "$work/old-$program-$round.csv" "$work/$1-$program-$round.csv"
    done
  done | awk -f "$bench/median.awk" | sort -s -k1,1
}
ratios new >"$work/new"
ratios again >"$work/again"
[ -s "$work/new" ] || {
  echo "compare.sh: no benchmark has a name with '$filter'" >&2
  exit 1
}
printf '%-44s %24s   %24s\n' "ratios over $rounds rounds: median (min to max)" "new/old" "control: old/old"
join "$work/new" "$work/again" |
  awk '{ printf "%-44s %8.3f (%.3f to %.3f)   %8.3f (%.3f to %.3f)\n", $1, $2, $3, $4, $5, $6, $7 }'
