#!/usr/bin/env bash
# Peak memory and time of `orvdb diff` between two databases of N models in
# which every record moved (NEW holds OLD's records in reverse order): the
# full report, and --summary, which counts without making the report.
# Usage: bench/diff_summary.sh [ORVDB] [MODELS]
set -euo pipefail
orvdb="${1:-build/default/tools/orvdb}"
models="${2:-100000}"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT

for order in old new; do
  awk -v n="$models" -v order="$order" 'BEGIN {
    printf "{\"models\":[";
    for (i = 0; i < n; i++)
      printf "%s{\"ModelName\":\"Vantor LP-%06d\",\"VenderID\":1}", (i ? "," : ""), (order == "old" ? i : n - 1 - i);
    print "]}";
  }' >"$work/$order.json"
  "$orvdb" build "$work/$order.json" -o "$work/$order.dat" 2>/dev/null
done

printf '%-10s %8s %10s\n' report seconds 'peak MB'
for mode in full --summary; do
  args=("$work/old.dat" "$work/new.dat")
  [[ $mode == full ]] || args=("$mode" "${args[@]}")
  read -r s k < <(/usr/bin/time -f '%e %M' "$orvdb" diff "${args[@]}" 2>&1 >/dev/null | tail -1)
  printf '%-10s %8s %10.1f\n' "$mode" "$s" "$(echo "$k / 1024" | bc -l)"
done
