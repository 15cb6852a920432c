#!/usr/bin/env bash
# Corvelle's main job: builds what is missing, then runs the example tour through the scripted
# host corvelle-sim: the add-in against a simulated Outlook in a fresh folder, driven as a user
# would drive it, printing what it shows. Other scripts can be given instead of the tour.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/deps.sh
cmake --preset default >/dev/null
cmake --build --preset default -j "$(nproc)" --target corvelle-sim >/dev/null
if [ "$#" -eq 0 ]; then
  set -- examples/tour.csim
fi
exec ./build/default/apps/corvelle-sim "$@"
