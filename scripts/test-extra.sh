#!/usr/bin/env bash
# The checks that follow the unit tests: the whole suite again under the sanitize preset
# (AddressSanitizer with LeakSanitizer, UndefinedBehaviorSanitizer; any finding fails the run),
# then a short run of each fuzz target (scripts/fuzz.sh).
set -euo pipefail
cd "$(dirname "$0")/.."
cmake --preset sanitize
cmake --build --preset sanitize -j "$(nproc)"
ctest --preset sanitize -j "$(nproc)"
bash scripts/fuzz.sh
