#!/usr/bin/env bash
# Installs the Debian packages that the Windows build and its tests need, when they are missing:
# the mingw-w64 cross compilers (posix threads) and widl, Wine (64-bit) and the IDL files widl
# imports (libwine-dev), GoogleTest's sources, and NSIS for the setup program.
set -euo pipefail
packages=(mingw-w64 g++-mingw-w64-x86-64-posix gcc-mingw-w64-x86-64-posix mingw-w64-tools wine64 libwine-dev
          googletest nsis)
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  echo "Installing: ${missing[*]}"
  sudo=""
  [ "$(id -u)" -eq 0 ] || sudo="sudo"
  $sudo apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi
