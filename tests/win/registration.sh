#!/usr/bin/env bash
# The add-in's registration as regsvr32 makes it, in the Wine prefix of the test run: a copy of
# Corvelle.dll is registered and unregistered for all users (no .ini, and a broken one) and per
# user (an .ini with PRIVILEGES=user), and the add-in's keys under both roots are read back and
# compared with what they must be, exactly; after each unregistration nothing of them is left.
# At the end the build's Corvelle.dll is registered for all users, for the tests that drive it.
#
#   registration.sh WINE DLL TESTS_WIN_DIR WORK
set -euo pipefail
wine=$1 dll=$2 here=$3 work=$4

winpath() { local p=${1//\//\\}; printf 'Z:%s' "$p"; }
rm -rf "$work"
mkdir -p "$work/lib"
cp "$dll" "$work/lib/Corvelle.dll"
lib=$(winpath "$work/lib")

keys=('Software\Classes\CLSID\{C185AA98-016C-4850-AB95-780D467A56C4}'
      'Software\Classes\Corvelle.Corvelle'
      'Software\Classes\TypeLib\{373B9006-071F-4C39-841A-8F01B30B236B}'
      'Software\Classes\Interface\{A8AA6365-10D8-4266-9D75-4F5BC57A64DD}'
      'Software\Microsoft\Office\Outlook\AddIns\Corvelle.Corvelle'
      'Software\Classes\CLSID\{E66EBBF8-4238-487B-B3B0-65682637548F}'
      'Software\Classes\Corvelle.Pane')

source "$here/wine-run.sh"

# The add-in's keys under both roots, the library's folder written LIB.
snapshot() {
  local root k
  for root in HKEY_LOCAL_MACHINE HKEY_CURRENT_USER; do
    for k in "${keys[@]}"; do
      { wine_run reg query "$root\\$k" /s || true; } | { grep -v '^reg: ' || true; } | sed -e '/./,$!d'
    done
  done | LIB="$lib" awk '{ lib = ENVIRON["LIB"]
                          while ((i = index($0, lib)) > 0) $0 = substr($0, 1, i - 1) "LIB" substr($0, i + length(lib))
                          print }'
}

check() {  # what was done, the file of what the registry must hold ("" for nothing)
  snapshot > "$work/actual.txt"
  if [ -z "$2" ]; then : > "$work/expected.txt"; else cp "$2" "$work/expected.txt"; fi
  if ! diff -u "$work/expected.txt" "$work/actual.txt"; then
    echo "FAIL: the registry after $1 is not what it must be"
    exit 1
  fi
  echo "ok: $1"
}

regsvr() {  # [/u] and the library
  if ! wine_run regsvr32 /s "$@"; then
    echo "FAIL: regsvr32 $* failed"
    exit 1
  fi
}

ini="$work/lib/Corvelle.ini"
# Whatever an earlier run left, both ways.
printf '[CONFIG]\r\nPRIVILEGES=user\r\n' > "$ini"
wine_run regsvr32 /s /u "$lib\\Corvelle.dll" || true
rm -f "$ini"
wine_run regsvr32 /s /u "$lib\\Corvelle.dll" || true
check "a clean start" ""

regsvr "$lib\\Corvelle.dll"
check "registering without an .ini (all users)" "$here/registry-allusers.txt"
regsvr /u "$lib\\Corvelle.dll"
check "unregistering for all users" ""

printf '[Config]\r\nPrivileges = User\r\n' > "$ini"
regsvr "$lib\\Corvelle.dll"
check "registering with PRIVILEGES=User (per user)" "$here/registry-user.txt"
regsvr /u "$lib\\Corvelle.dll"
check "unregistering per user" ""

printf '\x00\xff[CONFIG\nPRIVILEGES\n' > "$ini"
regsvr "$lib\\Corvelle.dll"
check "registering with a broken .ini (all users)" "$here/registry-allusers.txt"
regsvr /u "$lib\\Corvelle.dll"
check "unregistering again" ""

regsvr "$(winpath "$dll")"
echo "ok: the build's Corvelle.dll is registered for all users"
