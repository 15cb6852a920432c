#!/usr/bin/env bash
# Builds and runs every benchmark of bench/ (one program per bench/bench_*.cpp), each printing
# its figures beside their references and ratios; the results also go to build/default/bench/
# results/. The folder of ten busy years is made once per scale under the temporary folder (or
# $CORVELLE_BUSY_DIR) and reused. BENCH="bench_startup bench_memory" runs only those programs.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/deps.sh >/dev/null
cmake --preset default >/dev/null
benches="${BENCH:-$(for f in bench/bench_*.cpp; do basename "$f" .cpp; done)}"
# shellcheck disable=SC2086
nice -n 10 cmake --build --preset default -j 2 --target corvelle-busy-folder $benches
out=build/default/bench/results
mkdir -p "$out"
for b in $benches; do
    echo "== $b"
    "./build/default/bench/$b" --benchmark_counters_tabular=true | tee "$out/$b.txt"
done
