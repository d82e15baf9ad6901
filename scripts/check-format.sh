#!/usr/bin/env bash
# Fails when a C++ file is not formatted according to .clang-format; `scripts/check-format.sh --fix` formats them.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/packages.sh format

mapfile -d '' files < <(find bench clients examples include platform src tests tools \
  -name '*.[ch]' -print0 -o -name '*.[ch]pp' -print0)
if [ "${1:-}" = --fix ]; then
  clang-format -i "${files[@]}"
else
  clang-format --dry-run -Werror "${files[@]}"
  echo "${#files[@]} files are formatted."
fi
