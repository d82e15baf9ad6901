#!/usr/bin/env bash
# Checks the Windows build on Debian: compiles every header alone, builds the preset windows-mingw with its libraries
# (scripts/windows-deps.sh), runs its tests under Wine on a private display, checks both programs' imports and
# resources, compares the matching code's figures with the Linux build's, and makes and runs the package. If the
# libraries' sources are not available, it says so and only compiles.
#
# JOBS sets how many jobs run at once (default: the number of processors).
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/packages.sh windows
jobs=${JOBS:-$(nproc)}

work=$(mktemp -d)
pids=()
finish() {
  # Ends everything in this Wine and waits: nothing may write to it while it is removed.
  [ ! -d "$work/wine" ] || WINEPREFIX=$work/wine wineserver -k -w 2>/dev/null || true
  for pid in "${pids[@]}"; do
    kill "$pid" 2>/dev/null || true
    wait "$pid" 2>/dev/null || true
  done
  rm -rf "$work"
}
trap finish EXIT
trap 'exit 130' INT TERM

# ---- compile check -------------------------------------------------------------------------------------

# Links to these libraries' headers only: /usr/include also has this host's system headers, which must not be used.
mkdir "$work/include"
ln -s /usr/include/CLI /usr/include/nlohmann /usr/include/toml++ /usr/include/libpng16/*.h "$work/include/"
opencv_config=$(echo /usr/include/*/opencv4)

export WORK=$work
version=$(sed -n 's/^project(Quillmark VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
export FLAGS="-std=c++20 -Wall -Wextra -Werror -municode -DUNICODE -DNOMINMAX -DWIN32_LEAN_AND_MEAN
  -DQM_BUILDING -DQUILLMARK_CODECS=\"codecs\" -DQUILLMARK_VERSION=\"$version\" -Iinclude -Isrc
  -Iclients/c -Iclients/c/include -Itools -Itools/quillmarkctl
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

# begins_a_source HEADER: whether its source file includes it first, and so compiles it alone.
begins_a_source() {
  local source=${1%.h}.cpp
  [ -e "$source" ] && [[ $(grep -m 1 '^#include' "$source") == *[\"/]"${1##*/}"\" ]]
}

# compile_all PATTERN...: compiles every matching file of the product, the client library and the tools, except headers
# that their source files compile.
compile_all() {
  local file pattern count names=()
  for pattern in "$@"; do names+=(-o -name "$pattern"); done
  find src include clients/c tools -not -path '*/linux/*' \( "${names[@]:1}" \) -print | while read -r file; do
    [[ $file == *.h ]] && begins_a_source "$file" || echo "$file"
  done >"$work/list"
  # shellcheck disable=SC2016 # the inner shell expands $1
  xargs -d '\n' -P "$jobs" -I{} bash -c 'compile "$1"' _ {} <"$work/list"
  count=$(wc -l <"$work/list")
  if [ -e "$work/failed" ]; then
    echo "Windows: $(wc -l <"$work/failed") of $count files do not compile:" >&2
    sort "$work/failed" >&2
    exit 1
  fi
  echo "Windows: all $count files ($*) compile alone."
}

# ---- libraries -----------------------------------------------------------------------------------------

status=0
prefix=$(scripts/windows-deps.sh) || status=$?
if [ "$status" = 3 ]; then
  compile_all '*.h' '*.cpp'
  echo "NOT CHECKED: Windows programs were not linked or run, since source packages are missing (see above)"
  exit 0
elif [ "$status" != 0 ]; then
  exit "$status"
fi
echo "Windows: libraries in $prefix"
# The build compiles the rest.
compile_all '*.h'

# ---- build, tests --------------------------------------------------------------------------------------

cmake --preset windows-mingw
cmake --build --preset windows-mingw -j "$jobs"

# A private display and Wine: tests share kernel objects with nobody and leave nothing behind.
Xvfb -displayfd 3 -screen 0 1280x1024x24 -noreset 3>"$work/display" 2>"$work/xvfb.log" &
pids+=($!)
for ((tries = 0; tries < 200; tries++)); do
  [ ! -s "$work/display" ] || break
  sleep 0.1
done
[ -s "$work/display" ] || {
  echo "Windows: the X server does not start: $(cat "$work/xvfb.log")" >&2
  exit 1
}
DISPLAY=:$(cat "$work/display")
export DISPLAY WINEPREFIX=$work/wine
ctest --preset windows-mingw -j "$jobs"

# ---- programs ------------------------------------------------------------------------------------------

# The libraries of Windows; anything else would have to be shipped.
own_dlls='advapi32|d3d11|dwmapi|dxgi|gdi32|kernel32|msvcrt|ole32|oleaut32|shcore|shell32|shlwapi|user32|version'

# check_imports FILE: it needs only libraries of Windows.
check_imports() {
  local file=build/windows-mingw/bin/$1 imports foreign
  x86_64-w64-mingw32-objdump -p "$file" >"$work/headers"
  imports=$(sed -n 's/^[[:space:]]*DLL Name: //p' "$work/headers" | tr '[:upper:]' '[:lower:]' | sort -u)
  [ -n "$imports" ] || {
    echo "Windows: no imports found in $file" >&2
    return 1
  }
  foreign=$(grep -vxE "($own_dlls)\.dll" <<<"$imports" || true)
  [ -z "$foreign" ] || {
    echo "Windows: $file needs libraries that Windows does not have:" $foreign >&2
    return 1
  }
  echo "Windows: $1 needs only" $imports
}

# check_program NAME SUBSYSTEM: the file's imports, subsystem, version block and manifest.
check_program() {
  local file=build/windows-mingw/bin/$1.exe
  check_imports "$1.exe"
  grep -q "^Subsystem.*($2)" "$work/headers" || {
    echo "Windows: $file does not have the subsystem $2:" "$(grep ^Subsystem "$work/headers")" >&2
    return 1
  }
  # The block's texts are UTF-16. Without it the worker would report its built-in version, so no test would notice.
  tr -d '\0' <"$file" | grep -aF "FileVersion$version" >/dev/null || {
    echo "Windows: $file lacks the version block of $version" >&2
    return 1
  }
  # Only the resource contains the manifest, unchanged.
  grep -q '>PerMonitorV2, PerMonitor<' "$file" && grep -q '>UTF-8</activeCodePage>' "$file" || {
    echo "Windows: $file lacks its manifest" >&2
    return 1
  }
}
check_imports libquillmark.dll
check_program Quillmark "Windows GUI"
check_program quillmarkctl "Windows CUI"

# ---- figures, package ------------------------------------------------------------------------------------

scripts/check-figures.sh linux-release windows-mingw
scripts/package.sh windows-mingw
