#!/usr/bin/env bash
# Holds the table of the platform's calls on Linux (platform/linux/README.md) against the headers that declare
# them and the libraries that implement them; fails when one has what another lacks.
#
#   scripts/check-layer.sh [BUILD_FOLDER]       of a finished build; build/linux-debug is the default
set -euo pipefail
cd "$(dirname "$0")/.."
layer=platform/linux
built=${1:-build/linux-debug}/$layer
libraries=("$built/libquillmark_linux_layer.a" "$built/libquillmark_linux_objects.a")
lists=$(mktemp -d)
trap 'rm -rf "$lists"' EXIT

# The DPI calls are found by name at run time and so are declared apart.
cat "$layer"/include/*.h "$layer/user32/Dpi.h" > "$lists/headers"
sed -nE 's/^.*WINAPI ([A-Za-z0-9_]+)\(.*$/\1/p' "$lists/headers" | sort -u > "$lists/declared"
awk '/^struct [A-Za-z0-9_]+.*{/ { name = $2 }
     /^};/ { name = "" }
     name != "" && /^ *virtual [^~]*\(/ { sub(/\(.*/, ""); print name "::" $NF }' "$lists/headers" |
  sort -u > "$lists/methods"
nm --extern-only --defined-only "${libraries[@]}" | awk '$2 == "T" && $3 !~ /^_Z/ { print $3 }' |
  sort -u > "$lists/exported"
sed -nE 's/^\| (`[^|]*`) \|.*$/\1/p' "$layer/README.md" | tr -d '` ' | tr ',' '\n' | sort > "$lists/rows"
sort -u "$lists/declared" "$lists/methods" > "$lists/calls"

status=0
# report TEXT LINES: complains about each line.
report() {
  if [ -n "$2" ]; then
    echo "$1:" $2
    status=1
  fi
}
report "declared but not implemented" "$(comm -23 "$lists/declared" "$lists/exported")"
report "implemented but not declared" "$(comm -13 "$lists/declared" "$lists/exported")"
report "without a row in $layer/README.md" "$(comm -23 "$lists/calls" <(uniq "$lists/rows"))"
report "a row in $layer/README.md but no call" "$(comm -13 "$lists/calls" <(uniq "$lists/rows"))"
report "more than one row in $layer/README.md" "$(uniq -d "$lists/rows")"
if ! [ -s "$lists/exported" ] || ! [ -s "$lists/methods" ]; then
  echo "nothing was found to check"
  status=1
fi
[ "$status" != 0 ] || echo "$(wc -l < "$lists/calls") calls have their rows."
exit "$status"
