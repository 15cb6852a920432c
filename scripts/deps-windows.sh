#!/usr/bin/env bash
# Installs the Debian packages that the Windows build and its tests need, when they are missing:
# the mingw-w64 cross compilers (posix threads) and widl, Wine (64-bit) and the IDL files widl
# imports (libwine-dev), GoogleTest's sources, zlib for Windows, NSIS for the setup program, and
# Xvfb and ImageMagick, on which the windows are drawn and photographed; then Debian's sources of
# libzip and pugixml, which the workbook engine needs and which Debian ships built for Linux only
# (they are built with the rest, from build/windows-sources/).
set -euo pipefail
. "$(dirname "$0")/install-missing.sh"
cd "$(dirname "$0")/.."
packages=(mingw-w64 g++-mingw-w64-x86-64-posix gcc-mingw-w64-x86-64-posix mingw-w64-tools wine64 libwine-dev
          googletest nsis libz-mingw-w64-dev dpkg-dev xvfb xauth imagemagick)
install_missing "${packages[@]}"

# The sources, fetched once through a source list of this script's own (the machine's lists stay
# as they are).
sources=build/windows-sources
if [ ! -f "$sources/pugixml/src/pugixml.cpp" ] || [ ! -f "$sources/libzip/lib/zip.h" ]; then
  echo "Fetching Debian's sources of pugixml and libzip"
  rm -rf "$sources"
  mkdir -p "$sources/apt/lists/partial"
  apt=(-o Dir::Etc::SourceList="$PWD/$sources/apt/sources.list" -o Dir::Etc::SourceParts=/dev/null
       -o Dir::State::Lists="$PWD/$sources/apt/lists")
  printf 'deb-src http://deb.debian.org/debian bookworm main\n' > "$sources/apt/sources.list"
  apt-get update -qq "${apt[@]}"
  (cd "$sources" && apt-get source -qq "${apt[@]}" pugixml libzip >/dev/null 2>&1)
  for p in pugixml libzip; do
    dir=$(find "$sources" -maxdepth 1 -type d -name "$p-*" | head -n 1)
    [ -n "$dir" ] || { echo "deps-windows.sh: the sources of $p could not be fetched" >&2; exit 1; }
    mv "$dir" "$sources/$p"
  done
fi
