#!/usr/bin/env bash
# Compares the table of platform calls on Linux (platform/linux/README.md) with the headers that declare them and the
# libraries that implement them; fails when they differ.
#
#   scripts/check-layer.sh [BUILD_FOLDER]       of a finished build; build/linux-debug is the default
set -euo pipefail
cd "$(dirname "$0")/.."
layer=platform/linux
built=${1:-build/linux-debug}/$layer
libraries=("$built/libquillmark_linux_layer.a" "$built/libquillmark_linux_objects.a")
lists=$(mktemp -d)
trap 'rm -rf "$lists"' EXIT

cat "$layer"/include/*.h > "$lists/headers"
# The DPI calls are found by name at run time, so no header declares them.
sed -nE 's/^ *Entry\{"([A-Za-z]+)".*$/\1/p' "$layer/user32/Dpi.cpp" > "$lists/by-name"
sed -nE 's/^.*WINAPI ([A-Za-z0-9_]+)\(.*$/\1/p' "$lists/headers" | sort -u > "$lists/declared"
awk '/^struct [A-Za-z0-9_]+.*{/ { name = $2 }
     /^};/ { name = "" }
     name != "" && /^ *virtual [^~]*\(/ { sub(/\(.*/, ""); print name "::" $NF }' "$lists/headers" |
  sort -u > "$lists/methods"
nm --extern-only --defined-only "${libraries[@]}" | awk '$2 == "T" && $3 !~ /^_Z/ { print $3 }' |
  sort -u > "$lists/exported"
sed -nE 's/^\| (`[^|]*`) \|.*$/\1/p' "$layer/README.md" | tr -d '` ' | tr ',' '\n' | sort > "$lists/rows"
sort -u "$lists/declared" "$lists/methods" "$lists/by-name" > "$lists/calls"

status=0
# report TEXT LINES: reports a failure if there are any lines.
report() {
  if [ -n "$2" ]; then
    echo "$1:" $2
    status=1
  fi
}
report "declared but not implemented" "$(comm -23 "$lists/declared" "$lists/exported")"
report "implemented but not declared" "$(comm -13 "$lists/declared" "$lists/exported")"
report "no row in $layer/README.md" "$(comm -23 "$lists/calls" <(uniq "$lists/rows"))"
report "a row in $layer/README.md but no call" "$(comm -13 "$lists/calls" <(uniq "$lists/rows"))"
report "more than one row in $layer/README.md" "$(uniq -d "$lists/rows")"
if ! [ -s "$lists/exported" ] || ! [ -s "$lists/methods" ] || ! [ -s "$lists/by-name" ]; then
  echo "nothing found to check"
  status=1
fi
[ "$status" != 0 ] || echo "All $(wc -l < "$lists/calls") calls have a row."
exit "$status"
