#!/usr/bin/env bash
# Saves the explorer window with the add-in's panes as PNG files: corvelle-winhost --window runs
# screenshots.csim in the folder OUT (the files it names are removed first; the window tests'
# pictures in the same folder stay), in a fresh add-in folder with the shipped files. Each file
# the script names must come out as a PNG, and the script's user actions must have gone to the
# windows as input.
#
#   screenshots.sh WINE HOST SCRIPT OUT RESOURCES
set -euo pipefail
wine=$1 host=$2 script=$3 out=$4 resources=$5
here=$(dirname "$0")
source "$here/wine-run.sh"

winpath() { local p=${1//\//\\}; printf 'Z:%s' "$p"; }
shots=$(sed -n 's/^screenshot \([^ ]*\).*/\1/p' "$script")
mkdir -p "$out"
for f in $shots; do rm -f "$out/$f"; done
rm -rf "$out/addin" "$out/tmp"
mkdir -p "$out/addin" "$out/tmp"
cp "$resources"/* "$out/addin/" 2>/dev/null || true
cd "$out"
if ! CORVELLE_TMP=$(winpath "$out/tmp") wine_run "$host" --window --dir "$(winpath "$out/addin")" "$script" \
     > "$out/transcript.txt"; then
  cat "$out/transcript.txt"
  echo "FAIL: the screenshot script did not run through"
  exit 1
fi
rm -rf "$out/addin" "$out/tmp"
# The script's clicks and typing reached the panes and the dialog as the windows' input.
if ! grep -Eq '^INPUT windows=[1-9][0-9]* headless=' "$out/transcript.txt"; then
  grep '^INPUT' "$out/transcript.txt" || true
  echo "FAIL: no user action of the script went to the windows as input"
  exit 1
fi
for f in $shots; do
  if [ "$(head -c 8 "$out/$f" 2>/dev/null | od -An -tx1 | tr -d ' \n')" != "89504e470d0a1a0a" ]; then
    echo "FAIL: $f is no PNG"
    exit 1
  fi
  echo "ok: $out/$f"
done
