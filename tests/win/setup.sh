#!/usr/bin/env bash
# Corvelle-setup.exe under Wine: a silent install for the current user puts Corvelle.dll, its
# shipped files and the per-user Corvelle.ini into the user's programs folder and registers the
# add-in under the current user only; the uninstaller unregisters it and removes what was
# installed, and no key of the add-in is left under either root.
#
#   setup.sh WINE SETUP_EXE RESOURCES
set -euo pipefail
wine=$1 setup=$2 resources=$3
wineserver=$(dirname "$wine")/wineserver
[ -x "$wineserver" ] || wineserver=$(dirname "$wine")/wineserver64
[ -x "$wineserver" ] || wineserver=wineserver

source "$(dirname "$0")/wine-run.sh"
fail() { echo "FAIL: $*"; exit 1; }
has_key() { wine_run reg query "$1" >/dev/null 2>&1; }
addin='Software\Microsoft\Office\Outlook\AddIns\Corvelle.Corvelle'
clsid='Software\Classes\CLSID\{C185AA98-016C-4850-AB95-780D467A56C4}'

programs=$(wine_run cmd /c 'echo %LOCALAPPDATA%')'\Programs\Corvelle'
folder=$(wine_run winepath.exe -u "$programs")
folder=${folder%/}

# What is registered for all users (the build's own registration, in a test run) stays as it is.
machine() { { wine_run reg query "HKLM\\$addin" /s || true; } | { grep -v '^reg: ' || true; }; }
machine_before=$(machine)

wine_run "$(cd "$(dirname "$setup")" && pwd)/$(basename "$setup")" /S || fail "the setup failed"
"$wineserver" -w
for f in Corvelle.dll Corvelle.ini uninstall.exe $(cd "$resources" && ls); do
  [ -f "$folder/$f" ] || fail "the setup did not install $f"
done
grep -qi 'PRIVILEGES=USER' "$folder/Corvelle.ini" || fail "Corvelle.ini does not ask for a per-user registration"
has_key "HKCU\\$addin" || fail "the add-in key is not under the current user"
has_key "HKCU\\$clsid" || fail "the class is not registered under the current user"
[ "$(machine)" = "$machine_before" ] || fail "the per-user setup changed the registration for all users"
echo "ok: installed and registered for the current user"

# A file of the user's, as Corvelle writes beside the DLL, stays.
printf 'data' > "$folder/Tasks.bin"
wine_run "$folder/uninstall.exe" /S || fail "the uninstaller failed"
"$wineserver" -w
for f in Corvelle.dll Corvelle.ini uninstall.exe $(cd "$resources" && ls); do
  [ ! -e "$folder/$f" ] || fail "the uninstaller left $f"
done
[ -f "$folder/Tasks.bin" ] || fail "the uninstaller removed the user's Tasks.bin"
has_key "HKCU\\$addin" && fail "the uninstaller left the add-in key"
has_key "HKCU\\$clsid" && fail "the uninstaller left the class"
has_key 'HKCU\Software\Microsoft\Windows\CurrentVersion\Uninstall\Corvelle' && fail "the uninstaller left its entry"
rm -rf "$folder"
echo "ok: uninstalled; the user's data stayed"
