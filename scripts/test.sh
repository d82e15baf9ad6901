#!/usr/bin/env bash
# Installs the packages it needs, builds a preset and runs all its tests.
#
#   scripts/test.sh [PRESET [CTEST OPTION...]]       linux-debug (the default), linux-release, linux-asan or linux-tsan
#
# JOBS sets how many jobs run at once (default: the number of processors).
set -euo pipefail
cd "$(dirname "$0")/.."
preset=${1:-linux-debug}
jobs=${JOBS:-$(nproc)}

scripts/packages.sh test
cmake --preset "$preset"
cmake --build --preset "$preset" -j "$jobs"

runner=()
if [ "$preset" = linux-tsan ] && [ "$(cat /proc/sys/vm/mmap_rnd_bits)" -gt 28 ]; then
  # The thread sanitizer's fixed address ranges allow at most 28 random bits.
  runner=(setarch "$(uname -m)" --addr-no-randomize)
fi
"${runner[@]}" ctest --preset "$preset" -j "$jobs" "${@:2}"
