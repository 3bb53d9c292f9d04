#!/usr/bin/env bash
# Runs every fuzz target for SECONDS (or 20 million executions, whichever
# comes first), starting from its seed corpus in fuzz/corpus/<target>.
# New corpus entries and any crash land in build/fuzz/work/<target>.
# Usage: scripts/fuzz.sh [SECONDS] [JOBS] [TARGET...]
set -euo pipefail
cd "$(dirname "$0")/.."
seconds="${1:-30}"
jobs="${2:-1}"
targets=(fuzz_database fuzz_attach fuzz_size_list fuzz_registry fuzz_picture fuzz_lookup fuzz_json_import fuzz_json_reader)
shift $(($# < 2 ? $# : 2))
[[ $# -gt 0 ]] && targets=("$@")

# Without allocation stack traces and without filling new memory, ASan costs
# the targets about a third less; a crash's input is saved, and running it
# again with the default options gives the full report.
export ASAN_OPTIONS="${ASAN_OPTIONS:-malloc_context_size=0:max_malloc_fill_size=0}"

cmake --preset fuzz >/dev/null
cmake --build --preset fuzz

run() {
  local t="$1" work="build/fuzz/work/$1"
  mkdir -p "$work/corpus" "$work/crashes"
  local log="$work/log.txt"
  local seeds="fuzz/corpus/$t"
  [[ "$t" == fuzz_attach ]] && seeds="fuzz/corpus/fuzz_database"  # the same inputs, through a file
  if ! "build/fuzz/fuzz/$t" -max_total_time="$seconds" -runs=20000000 -timeout=60 -rss_limit_mb=4096 \
      -artifact_prefix="$work/crashes/" -print_final_stats=1 "$work/corpus" "$seeds" >"$log" 2>&1; then
    echo "$t: FAILED (see $log)"
    grep -E 'ERROR|SUMMARY|Test unit written' "$log" | head -5
    return 1
  fi
  local execs cov
  execs=$(grep -E '^stat::number_of_executed_units' "$log" | awk '{print $2}')
  cov=$(grep -E '^#[0-9]+.*(DONE|pulse|NEW|REDUCE)' "$log" | tail -1 | sed -E 's/.*cov: ([0-9]+) ft: ([0-9]+).*/cov \1, features \2/')
  echo "$t: ${execs:-?} executions, ${cov:-?}, no findings"
}

status=0
running=0
for t in "${targets[@]}"; do
  run "$t" &
  running=$((running + 1))
  if [[ $running -ge $jobs ]]; then
    wait -n || status=1
    running=$((running - 1))
  fi
done
while [[ $running -gt 0 ]]; do
  wait -n || status=1
  running=$((running - 1))
done
exit $status
