#!/usr/bin/env bash
# Throughput of `orvdb eval` on picture requests read from a file.
# Usage: bench/eval_throughput.sh [ORVDB_BINARY] [REQUESTS]
set -euo pipefail
orvdb="${1:-build/default/tools/orvdb}"
count="${2:-200000}"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT

# A mix of typical requests: both entries, both forms, trays as names and objects.
awk -v n="$count" 'BEGIN {
  r[0] = "{\"op\":\"picture\",\"vendor\":1,\"group\":0,\"inTrays\":[\"Multi Purpose Tray\",\"Cassette 1\",\"Optional Cassette 2\",\"Cassette 3\"],\"outTrays\":[\"Face Down Tray\",\"Face Up Tray\"],\"options\":[\"HH-418\"]}";
  r[1] = "{\"op\":\"picture\",\"entry\":\"GetPictureID\",\"vendor\":2,\"group\":6,\"inTrays\":[\"Bypass\",\"Tray 1\",\"Tray 2\",\"Tray 3\"],\"outTrays\":[\"Finisher\",\"Face Down\"],\"duplexUnit\":1}";
  r[2] = "{\"op\":\"picture\",\"vendor\":2,\"group\":16,\"form\":\"names\",\"inTrays\":[\"Bypass\",\"Cassette 1\",\"Cassette 2\"],\"outTrays\":[\"Top Tray\"],\"options\":[\"GX-268\"],\"docOptions\":[\"NMFR-8\"]}";
  r[3] = "{\"op\":\"picture\",\"vendor\":1,\"group\":20,\"inTrays\":[{\"name\":\"Bypass\",\"id\":-1},\"Cassette 1\",\"Cassette 2\",\"Large\"],\"outTrays\":[{\"name\":\"HI-079\",\"derivery\":3}],\"docOptions\":[\"HG-976\"]}";
  for (i = 0; i < n; i++) print r[i % 4];
}' > "$work/requests.jsonl"

start=$(date +%s.%N)
"$orvdb" eval < "$work/requests.jsonl" > "$work/answers.jsonl"
end=$(date +%s.%N)

answers=$(wc -l < "$work/answers.jsonl")
errors=$(grep -c '"error"' "$work/answers.jsonl" || true)
[[ "$answers" -eq "$count" && "$errors" -eq 0 ]] || { echo "expected $count answers without errors, got $answers ($errors errors)" >&2; exit 1; }
awk -v s="$start" -v e="$end" -v n="$count" 'BEGIN { t = e - s; printf "%d picture requests in %.3f s: %.0f requests/s\n", n, t, n / t }'
