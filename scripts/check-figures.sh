#!/usr/bin/env bash
# Compares the figures of several builds of the matching code byte for byte: every verdict and figure with all digits,
# for the same seeded image files.
#
#   scripts/check-figures.sh [PRESET...]     linux-release and windows-mingw are the default; those for
#                                            Windows run under Wine. The first one makes the image files.
#
# JOBS sets how many jobs run at once (default: the number of processors).
set -euo pipefail
cd "$(dirname "$0")/.."
[ $# -gt 0 ] || set -- linux-release windows-mingw

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# AVX-512 adds up the products of a correlation in a different order than AVX2: ncc and edges then differ by up to 1e-6.
# Not every build of the image library has AVX-512 code.
export OPENCV_CPU_DISABLE=AVX512-SKX

first=
for preset in "$@"; do
  case $preset in
    windows-*) scripts/packages.sh windows ;;
    *) scripts/packages.sh test ;;
  esac
  cmake --preset "$preset" >"$work/log" || { cat "$work/log"; exit 1; }
  cmake --build --preset "$preset" -j "${JOBS:-$(nproc)}" --target quillmark_figures
  case $preset in
    windows-*) program=(cmake/wine-run.sh "build/$preset/bin/quillmark_figures.exe") ;;
    *) program=("build/$preset/bin/quillmark_figures") ;;
  esac
  if [ -z "$first" ]; then
    first=$preset
    mkdir "$work/images"
    "${program[@]}" make "$work/images"
  fi
  echo "$preset:"
  "${program[@]}" print "$work/images" "$work/$preset" | tr -d '\r'
  [ "$(wc -l <"$work/$preset")" -gt 1000 ] || { echo "check-figures.sh: too few figures from $preset" >&2; exit 1; }
  if ! diff "$work/$first" "$work/$preset" >"$work/differences"; then
    head -n 20 "$work/differences"
    echo "check-figures.sh: $preset differs from $first in $(grep -c '^>' "$work/differences") of" \
      "$(wc -l <"$work/$preset") lines" >&2
    exit 1
  fi
done
echo "The figures of $* are identical ($(wc -l <"$work/$first") lines)."
