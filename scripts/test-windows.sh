#!/usr/bin/env bash
# The Windows build and its tests: Corvelle.dll, corvelle-winhost.exe, the Windows test programs
# and Corvelle-setup.exe cross-built with mingw-w64 (the windows preset, in build/windows), then
# every test run under Wine in a Wine prefix of its own, made for this run and removed after it:
# the logic's unit tests, the registration with regsvr32, the Windows unit tests, every scenario
# through COM (a few again with the explorer window drawn), the screenshots of the explorer with
# the panes (left in build/windows/screenshots/), and the setup program. Without a display, a
# virtual one (Xvfb) serves the run. build/windows/ is left with Corvelle.dll and the files that
# ship beside it, and Corvelle-setup.exe.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/deps-windows.sh

wine=""
for w in /usr/lib/wine/wine64 "$(command -v wine64 || true)" "$(command -v wine || true)"; do
  if [ -n "$w" ] && [ -x "$w" ]; then wine=$w; break; fi
done
[ -n "$wine" ] || { echo "test-windows.sh: Wine (wine64) is not installed" >&2; exit 1; }
wineserver=$(dirname "$wine")/wineserver
[ -x "$wineserver" ] || wineserver=$(command -v wineserver)

# The shipped files, report templates among them, as the Linux build makes them.
cmake --preset default >/dev/null
cmake --build --preset default -j "$(nproc)" --target corvelle_resources
cmake --preset windows
cmake --build --preset windows -j "$(nproc)"

prefix=$(mktemp -d "${TMPDIR:-/tmp}/corvelle-wine-XXXXXX")
export WINEPREFIX=$prefix WINEDEBUG=-all
# The tests that draw windows need a display: a virtual one when there is none.
xvfb=""
if [ -z "${DISPLAY:-}" ]; then
  for n in 78 79 80 81 82 83 84 85; do
    [ -e "/tmp/.X11-unix/X$n" ] || [ -e "/tmp/.X$n-lock" ] && continue
    Xvfb ":$n" -screen 0 1600x1000x24 -nolisten tcp >/dev/null 2>&1 &
    xvfb=$!
    export DISPLAY=":$n"
    break
  done
  for _ in $(seq 50); do [ -e "/tmp/.X11-unix/X${DISPLAY#:}" ] && break; sleep 0.1; done
fi
cleanup() {
  "$wineserver" -k 2>/dev/null || true
  rm -rf "$prefix"
  [ -z "$xvfb" ] || kill "$xvfb" 2>/dev/null || true
}
trap cleanup EXIT
# A new prefix: Wine makes its registry and folders (it may say that syswow64 is missing: this
# Wine is 64-bit only).
"$wine" wineboot -i >/dev/null 2>&1
ctest --preset windows -j "$(nproc)"
