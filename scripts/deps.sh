#!/usr/bin/env bash
# Installs the Debian packages that building and testing Corvelle need, when they are missing.
set -euo pipefail
. "$(dirname "$0")/install-missing.sh"
packages=(cmake ninja-build g++ pkg-config libgtest-dev libgmock-dev libbenchmark-dev libicu-dev
          nlohmann-json3-dev libzip-dev libpugixml-dev libxlsxwriter-dev python3-openpyxl
          clang libclang-rt-14-dev)
install_missing "${packages[@]}"
