#!/usr/bin/env bash
# Corvelle's main job: builds what is missing, then starts the add-in against the simulated
# Outlook in a fresh folder, saves, shuts down and starts again, telling what happened.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/deps.sh
cmake --preset default >/dev/null
cmake --build --preset default -j "$(nproc)" --target corvelle >/dev/null
exec ./build/default/apps/corvelle "$@"
