#!/usr/bin/env bash
# Checks on a moving desktop that what the worker remembers is what it would find: real programs that scroll,
# turn and tick, a video, windows that a script drags, covers and minimises, and monitors that split and join.
# bench_equality evaluates a second time; exit code 0: no verdict differed.
#
#   scripts/check-equality.sh [MINUTES]      30 by default; PRESET chooses the build, linux-release by default
set -euo pipefail
cd "$(dirname "$0")/.."
minutes=${1:-30}

scripts/packages.sh test
preset=${PRESET:-linux-release}
cmake --preset "$preset"
cmake --build --preset "$preset" -j "${JOBS:-$(nproc)}" --target bench_equality

work=$(mktemp -d)
pids=()
finish() {
  kill "${pids[@]}" 2>/dev/null || true
  wait 2>/dev/null || true
  rm -rf "$work"
}
trap finish EXIT
trap 'exit 130' INT TERM
start() {
  "$@" >>"$work/log" 2>&1 &
  pids+=($!)
}

start Xvfb -displayfd 3 -screen 0 1600x1000x24 -noreset 3>"$work/display"
until [ -s "$work/display" ]; do
  kill -0 "${pids[0]}" # or the server does not start
  sleep 0.1
done
DISPLAY=:$(cat "$work/display")
export DISPLAY
start openbox --sm-disable
start xterm -T scrolling -geometry 80x24+500+60 \
  -e sh -c 'while :; do date +%N; ls -l /usr/bin | shuf -n 1; sleep 0.05; done'
start xterm -T cursor -geometry 60x10+60+500
start xclock -geometry 200x200+1100+60 -update 1
start xeyes -geometry 300x160+1100+400
start ico -faces -geometry 300x300+700+500 -sleep 0.03
start xcalc -geometry +300+600

# Drags a window at a time, with steps that a hand could make; sometimes raises or minimises it, moves the
# pointer, or splits and joins the monitors. A window may be gone, and a monitor there already.
drag() {
  local windows id step x y
  while :; do
    mapfile -t windows < <(xdotool search --onlyvisible --name '.')
    sleep 0.5
    [ ${#windows[@]} -gt 0 ] || continue
    id=${windows[RANDOM % ${#windows[@]}]}
    case $((RANDOM % 12)) in
      0)
        xdotool windowminimize "$id"
        sleep 0.3
        xdotool windowmap "$id"
        ;;
      1) xdotool windowraise "$id" ;;
      2)
        xrandr --setmonitor '*LEFT' 800/212x1000/265+0+0 screen
        xrandr --setmonitor RIGHT 800/212x1000/265+800+0 none
        ;;
      3)
        xrandr --delmonitor RIGHT
        xrandr --delmonitor LEFT
        ;;
      4) xdotool mousemove $((RANDOM % 1600)) $((RANDOM % 1000)) ;;
      *)
        x=$((RANDOM % 1300 - 50)) y=$((RANDOM % 800 - 20))
        for ((step = 0; step < 15; step++)); do
          xdotool windowmove "$id" $((x + 7 * step)) $((y + 3 * step))
          sleep 0.03
        done
        ;;
    esac || true
  done
}
start drag

"build/$preset/bin/bench_equality" "$minutes"
for pid in "${pids[@]}"; do
  kill -0 "$pid" 2>/dev/null || {
    echo "check-equality.sh: a program has ended; the desktop did not move as it should:" >&2
    tail -n 5 "$work/log" >&2
    exit 1
  }
done
