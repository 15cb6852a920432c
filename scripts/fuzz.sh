#!/usr/bin/env bash
# Builds the fuzz targets (the fuzz preset: clang, libFuzzer, AddressSanitizer and UBSan), makes
# their seeds, and fuzzes all three side by side for FUZZ_SECONDS each (60 unless set). The
# corpus grows in build/fuzz/corpus from run to run; an input that breaks a target is kept in
# build/fuzz/crashes and fails the run. Replay one with: build/fuzz/tests/fuzz/fuzz_NAME FILE
set -euo pipefail
cd "$(dirname "$0")/.."
seconds="${FUZZ_SECONDS:-60}"
cmake --preset fuzz >/dev/null
cmake --build --preset fuzz -j "$(nproc)"
out=build/fuzz
"$out/tests/fuzz/corvelle-fuzz-seeds" "$out/seeds" tests/scenarios examples
rm -rf "$out/crashes"
mkdir -p "$out/crashes"
pids=()
for target in table_file json_rows script_lexer; do
  mkdir -p "$out/corpus/$target"
  "$out/tests/fuzz/fuzz_$target" "$out/corpus/$target" "$out/seeds/$target" \
    -max_total_time="$seconds" -print_final_stats=1 -artifact_prefix="$out/crashes/$target-" \
    > "$out/fuzz_$target.log" 2>&1 &
  pids+=($!)
done
failed=0
i=0
for target in table_file json_rows script_lexer; do
  if wait "${pids[$i]}"; then
    runs=$(grep -a -m1 'stat::number_of_executed_units' "$out/fuzz_$target.log" | awk '{print $2}')
    echo "fuzz $target: ${runs:-?} inputs in ${seconds}s, nothing found"
  else
    echo "fuzz $target: FAILED, see $out/fuzz_$target.log and $out/crashes/"
    grep -a -E 'ERROR|runtime error|property failed|what\(\)' "$out/fuzz_$target.log" | head -5 || true
    failed=1
  fi
  i=$((i + 1))
done
exit "$failed"
