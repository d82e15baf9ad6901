#!/usr/bin/env bash
# Installs the client library into an empty folder and uses it from there: by pkg-config from C, by CMake for the
# example. Checks what it exports and needs.
#
#   installed.sh SOURCE_FOLDER BUILD_FOLDER VERSION
set -euo pipefail
source=$1 build=$2 version=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail() {
  echo "installed.sh: $*" >&2
  exit 1
}

cmake --install "$build" --component client --prefix "$work/prefix" >/dev/null
library=$(find "$work/prefix" -name libquillmark.so)
[ "$(objdump -p "$library" | awk '$1 == "SONAME" { print $2 }')" = "libquillmark.so.${version%%.*}" ] ||
  fail "wrong soname"
foreign=$(nm --dynamic --defined-only --extern-only "$library" | awk '$3 !~ /^(qm_|QUILLMARK_)/ { print $3 }')
[ -z "$foreign" ] || fail "it exports what quillmark.h does not declare:" $foreign
needed=$(objdump -p "$library" | awk '$1 == "NEEDED" { print $2 }')
[ -n "$needed" ] || fail "it needs nothing at all"
foreign=$(grep -vE '^(libstdc\+\+|libgcc_s|libc|libm|ld-linux-x86-64)\.so\.' <<<"$needed" || true)
[ -z "$foreign" ] || fail "it needs other libraries:" $foreign

export PKG_CONFIG_PATH=$(dirname "$library")/pkgconfig LD_LIBRARY_PATH=$(dirname "$library") XDG_RUNTIME_DIR=$work
[ "$(pkg-config --modversion quillmark)" = "$version" ] || fail "pkg-config gives another version"
for standard in c99 c17; do
  # shellcheck disable=SC2046 # several words
  cc -std=$standard -Wall -Wextra -Wpedantic -Wconversion -Werror -DQUILLMARK_VERSION="\"$version\"" \
    "$source/tests/unit/clients/smoke.c" $(pkg-config --cflags --libs quillmark) -o "$work/smoke"
  "$work/smoke"
done

# By the generator that built the library: a bare machine has no other.
generator=$(sed -n 's/^CMAKE_GENERATOR:INTERNAL=//p' "$build/CMakeCache.txt")
cmake -G "$generator" -S "$source/examples/cpp" -B "$work/example" -DCMAKE_PREFIX_PATH="$work/prefix" >/dev/null
cmake --build "$work/example" >/dev/null
status=0
output=$("$work/example/watch_template" 2>&1) || status=$?
[ "$status" = 2 ] && [[ $output == usage:* ]] || fail "the example does not run: $output"
