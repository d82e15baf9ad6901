#!/usr/bin/env bash
# Checks that tests are reliable: builds a preset and runs each test TIMES times in a row under load. Stops at the
# first failure, which ctest names; exit code 0: none failed.
#
#   scripts/repeat.sh PRESET TIMES [CTEST OPTION...]       e.g. linux-debug 50 -R '^WorkerProcess'
#
# LOAD sets how many busy processes run at the same time (default: 4), JOBS how many jobs (default: the processors).
set -euo pipefail
cd "$(dirname "$0")/.."
[ $# -ge 2 ] || {
  echo "usage: scripts/repeat.sh PRESET TIMES [CTEST OPTION...]" >&2
  exit 2
}
preset=$1 times=$2
shift 2

scripts/test.sh "$preset" --show-only >/dev/null # builds it

burners=()
trap 'kill "${burners[@]}" 2>/dev/null || true' EXIT
trap 'exit 130' INT TERM
for ((i = 0; i < ${LOAD:-4}; i++)); do
  while kill -0 $$; do :; done 2>/dev/null &
  burners+=($!)
done
scripts/test.sh "$preset" --repeat "until-fail:$times" --stop-on-failure "$@"
