#!/usr/bin/env bash
# Runs the micro-benchmarks of a build: median processor time, its spread, and the control's ratio to it (the
# same benchmark once more, interleaved: what differs from 1.00 is noise).
#
#   bench/run.sh [BUILD [FILTER]]      BUILD is build/linux-release by default
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build/linux-release}
filter=${2:-.}
repetitions=${REPETITIONS:-9}

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
for program in matching transform ipc specs engine; do
  "$build/bin/bench_$program" --benchmark_filter="$filter" --benchmark_format=csv \
    --benchmark_repetitions="$repetitions" --benchmark_enable_random_interleaving=true \
    --benchmark_min_time="${MIN_TIME:-0.05}" >"$work/$program.csv" 2>"$work/$program.log" || {
    tail -n 5 "$work/$program.log" >&2
    exit 1
  }
  if grep -h ',true,"' "$work/$program.csv" >&2; then exit 1; fi # a benchmark that reports an error
done
printf '%-44s %12s %12s %12s %8s\n' "processor time, us" median min max control
awk -f bench/median.awk "$work"/{matching,transform,ipc,specs,engine}.csv | sort -s -k1,1 | awk '
  { median[$1] = $2; low[$1] = $3; high[$1] = $4; names[NR] = $1 }
  END {
    for (i = 1; i <= NR; i++) {
      name = names[i]
      if (name ~ /\/control$/) continue
      printf "%-44s %12.3f %12.3f %12.3f %8.3f\n", name, median[name], low[name], high[name],
             median[name "/control"] / median[name]
    }
  }'
