#!/usr/bin/env bash
# Time of `orvdb eval` for one request with many top-level members, at two
# sizes, to show that it grows linearly: distinct names (each checked against
# those before it for a repeat) and one name repeated (the last one wins).
# Usage: bench/eval_members.sh [BUILD_DIR] [SMALL] [LARGE]
set -euo pipefail
build="${1:-build/default}"
small="${2:-20000}"
large="${3:-200000}"
orvdb="$build/tools/orvdb"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT

# request KIND N: an info request with N extra members.
request() {
  awk -v kind="$1" -v n="$2" 'BEGIN {
    printf "{\"op\":\"info\",\"calls\":[[\"get\",3336]]";
    for (i = 0; i < n; i++) if (kind == "distinct") printf ",\"m%d\":%d", i, i; else printf ",\"calls\":[[\"get\",%d]]", i;
    print "}";
  }'
}

printf '%-9s %9s %10s\n' kind members seconds
for kind in distinct repeated; do
  for n in "$small" "$large"; do
    request "$kind" "$n" > "$work/req.jsonl"
    best=""
    for run in 1 2 3; do  # the best of three: the machine is shared
      start=$(date +%s.%N)
      "$orvdb" eval < "$work/req.jsonl" > "$work/out.jsonl"
      end=$(date +%s.%N)
      t=$(awk -v s="$start" -v e="$end" 'BEGIN { print e - s }')
      if [[ -z "$best" ]] || awk -v t="$t" -v b="$best" 'BEGIN { exit !(t < b) }'; then best="$t"; fi
    done
    printf '%-9s %9d %10.3f\n' "$kind" "$n" "$best"
  done
done
