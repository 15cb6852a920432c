#!/usr/bin/env bash
# Runs the window tests under Wine on an X display (an Xvfb of its own when none is given), in a
# Wine prefix of their own (a prefix whose desktop was started without a display by another
# test draws no windows), and takes the screenshots the tests ask for: a test writes
# NAME.request into the folder and waits for NAME.done; this script photographs the whole screen
# into NAME.png in between.
set -euo pipefail
wine=$1 exe=$2 shots=$3
mkdir -p "$shots"
rm -f "$shots"/*.request "$shots"/*.done
pids=()
prefix=$(mktemp -d "${TMPDIR:-/tmp}/corvelle-winui-XXXXXX")
wineserver=$(dirname "$wine")/wineserver
[ -x "$wineserver" ] || wineserver=$(command -v wineserver)
cleanup() {
  for p in "${pids[@]}"; do kill "$p" 2>/dev/null || true; done
  WINEPREFIX=$prefix "$wineserver" -k 2>/dev/null || true
  rm -rf "$prefix"
}
trap cleanup EXIT
if [ -z "${DISPLAY:-}" ]; then
  display=77
  while [ -e "/tmp/.X$display-lock" ]; do display=$((display + 1)); done
  Xvfb ":$display" -screen 0 1920x1080x24 -nolisten tcp >/dev/null 2>&1 &
  pids+=($!)
  export DISPLAY=":$display"
  for _ in $(seq 50); do [ -e "/tmp/.X11-unix/X$display" ] && break; sleep 0.1; done
fi
(
  while true; do
    for r in "$shots"/*.request; do
      [ -e "$r" ] || continue
      base=${r%.request}
      import -window root "$base.png" || true
      rm -f "$r"
      touch "$base.done"
    done
    sleep 0.2
  done
) &
pids+=($!)
export WINEPREFIX=$prefix WINEDEBUG=-all
"$wine" wineboot -i >/dev/null 2>&1
CORVELLE_SCREENSHOTS="Z:$shots" "$wine" "$exe"
