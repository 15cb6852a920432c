#!/usr/bin/env bash
# Installs what is missing, configures, builds and runs every test.
# PRESET=sanitize runs the same tests under AddressSanitizer and UndefinedBehaviorSanitizer.
# After the default run, scripts/test-extra.sh runs the sanitizers and the fuzz targets, and
# scripts/test-windows.sh the Windows build and its tests under Wine.
set -euo pipefail
cd "$(dirname "$0")/.."
preset="${PRESET:-default}"
bash scripts/deps.sh
cmake --preset "$preset"
cmake --build --preset "$preset" -j "$(nproc)"
ctest --preset "$preset" -j "$(nproc)"
[ "$preset" != default ] || bash scripts/test-extra.sh
# The Windows build and its tests under Wine.
[ "$preset" != default ] || bash scripts/test-windows.sh
