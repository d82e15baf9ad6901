#!/usr/bin/env bash
# Breaks the product one line at a time and reports what the tests miss: each mutant of scripts/mutants.txt is
# applied to a copy of this tree, which is built and tested incrementally. Not part of the CI: a mutant takes about
# ten seconds.
#
#   scripts/mutants.sh [REGEX]     REGEX picks mutants by their "file: text ==> replacement"
#
# In scripts/mutants.txt a line "[file: program...]" names a source file and the test programs that should notice its
# mutants, cheapest first; "program/FILTER" runs only matching cases. Each line after it is a mutant of that file,
# "text ==> replacement" or "text ==> replacement ## why no test notices". The text must occur in the file exactly
# once.
#
# The copy stays in build/mutants. JOBS sets how many jobs run at once (default: 2). Fails when a mutant survives
# without a reason, does not compile or no longer applies.
set -euo pipefail
cd "$(dirname "$0")/.."
pick=${1:-}
jobs=${JOBS:-2}
copy=$PWD/build/mutants
build=$copy/build/linux-debug
mkdir -p "$copy"

# Compares contents, not times: this restores what an interrupted run left mutated, and rebuilds nothing else.
git ls-files -z --cached --others --exclude-standard | while IFS= read -r -d '' file; do
  [ -f "$file" ] && ! cmp -s "$file" "$copy/$file" || continue
  mkdir -p "$copy/$(dirname "$file")"
  cp "$file" "$copy/$file"
done
log=$copy/log
(cd "$copy" && cmake --preset linux-debug -DCMAKE_CXX_FLAGS_DEBUG=-g0 -DQUILLMARK_WERROR=OFF) >"$log" || { cat "$log"; exit 1; }

Build() { nice -n 10 cmake --build "$build" -j "$jobs" --target "${1%%/*}" >"$log" 2>&1; }
Test() {
  local filter=${1#*/}
  [ "$filter" != "$1" ] || filter='*'
  timeout 60 "$build/bin/${1%%/*}" --gtest_brief=1 --gtest_fail_fast --gtest_filter="$filter" >"$log" 2>&1
}

declare -A counts=() sound=()
Count() { counts[$1]=$((${counts[$1]:-0} + 1)); }
# Prints and counts the fate of the mutant `what`.
Tell() {
  Count "$1"
  printf '%-20s %s%s\n' "$1" "$what" "${2:+  ($2)}"
}

# The fate of the current file: killed by a program, or survived.
Judge() {
  local program
  for program in $programs; do
    Build "$program" || { Tell "did not compile" "$(grep -m1 -o 'error:.*' "$log")"; return; }
    Test "$program" || { Tell killed "$(sed -n 's/^\[  FAILED  \] \([^ ]*\).*/\1/p' "$log" | head -n1)"; return; }
  done
  if [ -n "$reason" ]; then Tell "survived, expected" "$reason"; else Tell SURVIVED; fi
}

# A program that fails without a mutant would seem to kill every one.
RequireSound() {
  local program
  for program in $programs; do
    [ -z "${sound[$program]:-}" ] || continue
    { Build "$program" && Test "$program"; } || { tail -n 30 "$log"; echo "mutants.sh: $program fails unmutated" >&2; exit 1; }
    sound[$program]=1
  done
}

Mutate() {
  local times original
  times=$({ grep -oF -- "$text" "$file" || true; } | wc -l)
  if [ "$times" != 1 ]; then Tell "no longer applies" "found $times times"; return; fi
  RequireSound
  original=$(cat "$file"; echo .)
  printf '%s' "${original/"$text"/"$replacement"}" | sed '$ s/\.$//' >"$copy/$file"
  Judge
  cp "$file" "$copy/$file"
}

while IFS= read -r line; do
  case $line in
    '' | '#'*) continue ;;
    '['*)
      line=${line#[}
      file=${line%%:*} programs=${line#*:}
      programs=${programs%]}
      continue
      ;;
  esac
  what="$file: ${line%% ## *}"
  [[ $what =~ $pick ]] || continue
  text=${line%% ==>*} replacement=${line#* ==>} reason=
  [[ $replacement != *' ## '* ]] || reason=${replacement#* ## }
  replacement=${replacement%% ## *} replacement=${replacement# }
  Mutate </dev/null
done <scripts/mutants.txt

echo
for fate in "${!counts[@]}"; do printf '%5d %s\n' "${counts[$fate]}" "$fate"; done
[ -n "${counts[*]:-}" ] || { echo "mutants.sh: no mutant matches $pick" >&2; exit 1; }
[ -z "${counts[SURVIVED]:-}${counts[did not compile]:-}${counts[no longer applies]:-}" ]
