#!/usr/bin/env bash
# Demonstrates the worker on two ordinary programs: cuts a template out of each window, then moves, covers, minimises
# and restores them and compares every reported position with the window system's geometry. Draws the last hits into
# demo/hits.png. Exit code 0: all positions were right.
#
#   scripts/demo.sh                on a private X server with openbox and two monitors
#   scripts/demo.sh --here         on the current DISPLAY
set -euo pipefail
cd "$(dirname "$0")/.."

case "${1:-}" in
  '') here=no ;;
  --here) here=yes ;;
  *)
    echo "usage: scripts/demo.sh [--here]" >&2
    exit 2
    ;;
esac

scripts/packages.sh demo
cmake --preset linux-release
cmake --build --preset linux-release -j "${JOBS:-$(nproc)}" --target Quillmark quillmarkctl
worker=$PWD/build/linux-release/bin/Quillmark
ctl=$PWD/build/linux-release/bin/quillmarkctl

# ---- processes -----------------------------------------------------------------------------------------

work=$(mktemp -d)
pids=()
declare -A ids=() template=()

finish() {
  local code=$? index
  if [ "$code" -ne 0 ] && [ -s "$work/worker.log" ]; then
    echo "--- the worker's last log lines" >&2
    tail -n 20 "$work/worker.log" >&2
  fi
  for ((index = ${#pids[@]} - 1; index >= 0; index--)); do
    kill "${pids[index]}" 2>/dev/null || true
    wait "${pids[index]}" 2>/dev/null || true
  done
  rm -rf "$work"
}
trap finish EXIT
trap 'exit 130' INT TERM

start() {
  "$@" &
  pids+=($!)
}

say() { printf '\n== %s\n' "$*"; }
fail() {
  echo "demo.sh: $*" >&2
  exit 1
}

# until_true SECONDS COMMAND...: polls the command until it succeeds.
until_true() {
  local end=$((SECONDS + $1))
  shift
  until "$@"; do
    [ "$SECONDS" -lt "$end" ] || return 1
    sleep 0.05
  done
}

# ---- the desktop ---------------------------------------------------------------------------------------

start_private_desktop() {
  start Xvfb -displayfd 3 -screen 0 1600x800x24 -noreset 3>"$work/display" 2>"$work/xvfb.log"
  until_true 20 test -s "$work/display" || fail "the X server does not start: $(cat "$work/xvfb.log")"
  DISPLAY=:$(cat "$work/display")
  export DISPLAY
  xrandr --setmonitor '*LEFT' 800/212x800/212+0+0 screen >/dev/null
  xrandr --setmonitor RIGHT 800/212x800/212+800+0 none >/dev/null
  start openbox --sm-disable >"$work/openbox.log" 2>&1
  until_true 20 window_manager_runs || fail "the window manager does not start"
}
window_manager_runs() { xprop -root _NET_SUPPORTING_WM_CHECK | grep -q 'window id'; }

find_window() {
  ids[$1]=$(xdotool search --onlyvisible --classname "^$1\$" 2>/dev/null | tail -n 1)
  [ -n "${ids[$1]}" ]
}

# geometry PROGRAM: "X Y WIDTH HEIGHT" of the window's client area on the screen.
geometry() {
  xwininfo -id "${ids[$1]}" | awk '/Absolute upper-left X:/ {x = $NF} /Absolute upper-left Y:/ {y = $NF}
    /^  Width:/ {w = $NF} /^  Height:/ {h = $NF} END {print x, y, w, h}'
}

# Waits until the window stops moving.
settle() {
  local before=none now
  until now=$(geometry "$1") && [ "$now" = "$before" ]; do
    before=$now
    sleep 0.2
  done
}

# shot FILE [X Y WIDTH HEIGHT]: the screen, or an area of it, as a portable pixmap.
shot() {
  if [ $# -eq 1 ]; then
    xwd -root -silent | xwdtopnm -quiet >"$1"
  else
    xwd -root -silent | xwdtopnm -quiet | pamcut -left "$2" -top "$3" -width "$4" -height "$5" >"$1"
  fi
}

# ---- templates and hits --------------------------------------------------------------------------------

# add_spec PROGRAM X Y WIDTH HEIGHT: cuts a template out of the client area and sends it to the worker.
add_spec() {
  local program=$1 x y w h
  settle "$program"
  read -r x y w h < <(geometry "$program")
  template[$program]="$2 $3 $4 $5"
  shot "$work/$program.ppm" $((x + $2)) $((y + $3)) "$4" "$5"
  pnmtopng -quiet "$work/$program.ppm" >"$work/$program.png"
  "$ctl" add --target "$program.exe" --name "$program" --path "$program.png" --roi "0,0,$w,$h" --threshold 0.98 \
    || fail "the worker did not accept the spec $program"
}

# Makes the monitor deliver a frame, by drawing a dot in the top-left corner of the window's client area.
stir() {
  local x y
  read -r x y _ < <(geometry "$1")
  xrefresh -geometry "2x2+$x+$y"
}

# hit_since PROGRAM MILLISECONDS: "CX CY W H" of the newest hit later than that time.
hit_since() {
  sed -n "s/.*\"name\":\"$1\",\"cx\":\(-\?[0-9]*\),\"cy\":\(-\?[0-9]*\),\"w\":\([0-9]*\),\"h\":\([0-9]*\),.*\"ts\":\([0-9]*\)}/\1 \2 \3 \4 \5/p" \
    "$work/hits" | awk -v since="$2" '$5 > since {hit = $1 " " $2 " " $3 " " $4} END {if (hit) print hit; else exit 1}'
}
stir_for_hit() {
  stir "$1"
  hit=$(hit_since "$1" "$2")
}

# The next hit must be where the window system says the template is, and the screen must show it there.
checks=0
expect_hit() {
  local program=$1 x y w h tx ty tw th cx cy hw hh left top since
  settle "$program"
  since=$(date +%s%3N)
  until_true 10 stir_for_hit "$program" "$since" || fail "$program: no hit in 10 s"
  read -r cx cy hw hh <<<"$hit"
  read -r x y w h < <(geometry "$program")
  read -r tx ty tw th <<<"${template[$program]}"
  left=$((x + cx - hw / 2)) top=$((y + cy - hh / 2))
  [ "$left $top $hw $hh" = "$((x + tx)) $((y + ty)) $tw $th" ] \
    || fail "$program: hit at $left,$top size ${hw}x$hh, but the window has it at $((x + tx)),$((y + ty)) size ${tw}x$th"
  shot "$work/seen.ppm" "$left" "$top" "$hw" "$hh"
  cmp -s "$work/seen.ppm" "$work/$program.ppm" || fail "$program: the screen shows something else at $left,$top"
  checks=$((checks + 1))
  echo "-- right: $program is at $left,$top on the screen, as the window system says"
}

# Expects no hit of the first program while the second still has hits.
expect_no_hit() {
  local since
  sleep 0.5 # by then, earlier frames have been evaluated
  since=$(date +%s%3N)
  for _ in 1 2 3; do expect_hit "$2"; done
  if hit=$(hit_since "$1" "$since"); then fail "$1: a hit at ${hit% * *}, though it is not visible"; fi
  checks=$((checks + 1))
  echo "-- right: $1 is not visible and not reported"
}

move() { xdotool windowmove "${ids[$1]}" "$2" "$3"; }

# ---- the demonstration ---------------------------------------------------------------------------------

if [ "$here" = yes ]; then
  [ -n "${DISPLAY:-}" ] || fail "--here needs a DISPLAY"
else
  start_private_desktop
fi
# A private session, apart from any worker that is already running.
export XDG_RUNTIME_DIR=$work

say "Starting xcalc and xterm"
start xcalc 2>/dev/null
start xterm -geometry 40x10 -e sh -c 'printf "\n  Quillmark\n  watches this window\n"; exec sleep 3600' 2>/dev/null
until_true 20 find_window xcalc || fail "xcalc shows no window"
until_true 20 find_window xterm || fail "xterm shows no window"
move xcalc 60 60
move xterm 400 60

say "Starting the worker"
(cd "$work" && exec "$worker" 2>worker.log) &
pids+=($!)
echo "version $("$ctl" version --timeout 20)" || fail "the worker does not answer"
"$ctl" watch --json > >(tee "$work/hits") &
pids+=($!)

say "Cutting the templates"
add_spec xcalc 48 78 84 56
add_spec xterm 10 12 130 28
expect_hit xcalc
expect_hit xterm

say "Moving xcalc"
for place in "150 200" "90 333" "10 30"; do
  # shellcheck disable=SC2086 # two numbers
  move xcalc $place
  expect_hit xcalc
done
if [ "$here" = no ]; then
  say "Moving it across the border between the monitors, then onto the right one"
  move xcalc 640 100
  expect_hit xcalc
  move xcalc 1011 77
  expect_hit xcalc
fi

say "Covering xcalc with xterm"
read -r x y w h < <(geometry xcalc)
move xterm "$x" "$y"
xdotool windowraise "${ids[xterm]}"
expect_no_hit xcalc xterm
say "Uncovering it"
move xterm 300 500
expect_hit xcalc

say "Minimising xcalc"
xdotool windowminimize --sync "${ids[xcalc]}"
expect_no_hit xcalc xterm
say "Restoring it"
xdotool windowmap --sync "${ids[xcalc]}"
expect_hit xcalc
expect_hit xterm

# ---- the picture ---------------------------------------------------------------------------------------

drawing='setcolor red;'
for program in xcalc xterm; do
  read -r cx cy w h <<<"$(hit_since "$program" 0)"
  read -r x y _ < <(geometry "$program")
  l=$((x + cx - w / 2 - 1)) t=$((y + cy - h / 2 - 1)) r=$((x + cx + w / 2)) b=$((y + cy + h / 2))
  drawing+="line $l $t $r $t; line $r $t $r $b; line $r $b $l $b; line $l $b $l $t;"
  drawing+="text $l $((t - 4)) 12 0 \"$program $cx,$cy\";"
done
mkdir -p demo
shot "$work/screen.ppm"
ppmdraw -script="$drawing" "$work/screen.ppm" | pnmtopng -quiet >demo/hits.png

say "All $checks checks passed; demo/hits.png shows the last hits."
