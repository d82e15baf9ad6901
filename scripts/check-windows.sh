#!/usr/bin/env bash
# Compiles every source and, alone, every header of the product and of the control tool against the real
# Windows headers, with warnings as errors. Nothing is linked.
#
# JOBS sets how many compilers run at once (default: the number of processors).
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/packages.sh windows

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# The header-only libraries come in by links of their own: /usr/include as a whole holds this host's
# system headers, which must not be seen.
mkdir "$work/include"
ln -s /usr/include/CLI /usr/include/nlohmann "$work/include/"
opencv_config=$(echo /usr/include/*/opencv4)

export WORK=$work VERSION
VERSION=$(sed -n 's/^project(Quillmark VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
export FLAGS="-std=c++20 -Wall -Wextra -Werror -municode -DUNICODE -DNOMINMAX -DWIN32_LEAN_AND_MEAN
  -DQUILLMARK_VERSION=\"$VERSION\" -Iinclude -Isrc
  -isystem /usr/include/opencv4 -isystem $opencv_config -isystem $work/include"

compile() {
  local file=$1 flags log
  log=$WORK/${file//\//_}.log
  read -r -d '' -a flags <<<"$FLAGS" || true
  case $file in
    *.h) echo "#include \"$file\"" | x86_64-w64-mingw32-g++-posix "${flags[@]}" -I. -x c++ -fsyntax-only - ;;
    *) x86_64-w64-mingw32-g++-posix "${flags[@]}" -O1 -c "$file" -o "$log.o" ;;
  esac >"$log" 2>&1 || {
    echo "$file" >>"$WORK/failed"
    cat "$log" >&2
  }
}
export -f compile

# shellcheck disable=SC2016 # the inner shell expands $1
find src include tools/quillmarkctl \( -name '*.cpp' -o -name '*.h' \) -print0 |
  tee "$work/list" | xargs -0 -P "${JOBS:-$(nproc)}" -I{} bash -c 'compile "$1"' _ {}
count=$(tr -dc '\0' <"$work/list" | wc -c)

if [ -e "$work/failed" ]; then
  echo "Windows: $(wc -l <"$work/failed") of $count files do not compile:" >&2
  sort "$work/failed" >&2
  exit 1
fi
echo "Windows: all $count files compile."
