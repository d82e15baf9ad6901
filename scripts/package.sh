#!/usr/bin/env bash
# Builds the package of a preset, unpacks it into an empty folder and runs the programs in it from there.
#
#   scripts/package.sh [PRESET]    linux-release (the default): quillmark_VERSION_amd64.deb
#                                  windows-mingw: Quillmark-VERSION-windows-x64.zip
#
# The package is in build/PRESET/packages. JOBS sets how many jobs run at once.
set -euo pipefail
cd "$(dirname "$0")/.."
preset=${1:-linux-release}
build=$PWD/build/$preset

case $preset in
  windows-*) scripts/packages.sh windows ;;
  *) scripts/packages.sh package ;;
esac
cmake --preset "$preset"
cmake --build --preset "$preset" -j "${JOBS:-$(nproc)}" --target src/app/all tools/all clients/c/all
version=$(sed -n 's/^CMAKE_PROJECT_VERSION:STATIC=//p' "$build/CMakeCache.txt")

work=$(mktemp -d)
worker=
finish() {
  # Under Wine the worker outlives the shell that started it.
  [ ! -d "$work/wine" ] || WINEPREFIX=$work/wine wineserver -k -w 2>/dev/null || true
  [ -z "$worker" ] || kill -9 "$worker" 2>/dev/null || true
  [ -z "$worker" ] || wait "$worker" 2>/dev/null || true
  rm -rf "$work"
}
trap finish EXIT
trap 'exit 130' INT TERM
fail() {
  echo "package.sh: $*" >&2
  exit 1
}

rm -rf "$build/packages"
(cd "$build" && cpack)

# Unpacks the package; sets where its programs and licence statement are, and how the programs are run.
runner=() suffix=
case $preset in
  windows-*)
    package=$build/packages/Quillmark-$version-windows-x64.zip
    (cd "$work" && cmake -E tar xf "$package")
    programs=$work/Quillmark-$version-windows-x64
    licences=$programs/LICENCES.txt
    runner=("$PWD/cmake/wine-run.sh") suffix=.exe
    ;;
  *)
    package=$build/packages/quillmark_${version}_amd64.deb
    dpkg-deb -x "$package" "$work"
    programs=$work/usr/bin
    licences=$work/usr/share/doc/quillmark/copyright
    [ -n "$(dpkg-deb -f "$package" Depends)" ] || fail "$package depends on no library"
    for page in man1/quillmarkctl.1 man1/Quillmark.1 man5/quillmark-specs.5; do
      gzip -t "$work/usr/share/man/$page.gz"
      command -v man >/dev/null || {
        echo "NOT CHECKED: how man shows $page, since man is not installed"
        continue
      }
      said=$(MANROFFSEQ='' man --warnings -E UTF-8 -l "$work/usr/share/man/$page.gz" 2>&1 >/dev/null)
      [ -z "$said" ] || fail "$page: $said"
    done
    for script in bash-completion/completions/quillmarkctl zsh/vendor-completions/_quillmarkctl \
      fish/vendor_completions.d/quillmarkctl.fish; do
      [ -s "$work/usr/share/$script" ] || fail "$script is missing or empty"
    done
    bash -n "$work/usr/share/bash-completion/completions/quillmarkctl"
    ;;
esac
[ -s "$licences" ] || fail "$package has no licence statement"
cp docs/img/tuning-letters.png "$work/template.png"

# A private session (or Wine) without a display, and a working directory for the probe.
export XDG_RUNTIME_DIR=$work WINEPREFIX=$work/wine
unset DISPLAY
cd "$work"

control() { "${runner[@]}" "$programs/quillmarkctl$suffix" "$@" | tr -d '\r'; }
pong() { control ping packaged --timeout 20 | sed 's/ in [0-9]* ms$//'; }
expect() {
  local expected=$1 answer
  shift
  answer=$("$@") || fail "$* fails"
  [ "$answer" = "$expected" ] || fail "$*: '$answer' instead of '$expected'"
}

expect "quillmarkctl $version" control --version
expect "No problems found in 1 spec." control lint template.png
"${runner[@]}" "$programs/Quillmark$suffix" 2>"$work/worker.log" &
worker=$!
expect packaged pong
expect "$version" control version
kill -0 "$worker" 2>/dev/null || fail "the worker has ended: $(cat "$work/worker.log")"

echo "$package: its programs run."
