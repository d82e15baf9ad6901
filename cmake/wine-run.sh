#!/bin/sh
# Runs a Windows program under Wine, for CMake's CROSSCOMPILING_EMULATOR: quick, because one server stays for
# a minute after the last program, and quiet, because a crash ends the program instead of opening a dialog.
#
# WINEPREFIX   the Wine installation to run in (default: wine in the cache folder, see windows-deps.sh);
#              it is made at the first use and takes 700 MB
set -eu
: "${WINEPREFIX:=${QUILLMARK_CACHE:-${XDG_CACHE_HOME:-$HOME/.cache}/quillmark}/wine}"
: "${WINEDEBUG:=-all}"
: "${WINEDLLOVERRIDES:=mscoree,mshtml,winedbg.exe=}"
export WINEPREFIX WINEDEBUG WINEDLLOVERRIDES
mkdir -p "$WINEPREFIX"

# The server must not hold the pipes of the test that happens to start it.
(
  flock 9
  if ! [ -e "$WINEPREFIX/ready" ] || ! wineserver -k0 2>/dev/null; then
    wineserver -p60 </dev/null >/dev/null 2>&1 9>&- || :
    wine cmd /c exit </dev/null >/dev/null 2>&1 9>&-
    : >"$WINEPREFIX/ready"
  fi
) 9>"$WINEPREFIX.lock"
# A console's host inherits the error output of the program that opened the console and may outlive it. A
# reader that waits for the end of that output would then wait for the host.
errors=$(mktemp)
exec 7<"$errors" 8>"$errors"
rm "$errors"
status=0
wine "$@" 2>&8 7<&- || status=$?
cat <&7 >&2
exit "$status"
