#!/usr/bin/env bash
# What `orvdb diff` costs as databases grow: two databases of N models (the
# second with one model inserted near the front, whose name shadows an old
# one, and one renamed), diffed with lookup drift over every name and a names
# file of N host names, at two sizes ten times apart. Linear work takes about
# ten times as long at the larger size. Also prints the counts line, so the
# lookup classes can be seen at scale.
# Usage: bench/diff_scale.sh [BUILD_DIR] [MODELS]
set -euo pipefail
build="${1:-build/default}"
models="${2:-100000}"
orvdb="$(realpath "$build/tools/orvdb")"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
cd "$work"

# N models "Vantor LP-<i>0"; with "new", "Vantor LP-10" goes in at index 2
# (so "Vantor LP-100 PCL6" and the like find it first) and model 5 is renamed.
database() {
  awk -v n="$1" -v new="$2" 'BEGIN {
    printf "{\"models\": [{\"ModelName\": \"Other Printer\", \"VenderID\": 1}"
    for (i = 1; i < n; i++) {
      if (new && i == 2) printf ",\n{\"ModelName\": \"Vantor LP-10\", \"VenderID\": 1, \"ModelGroupID\": 2}"
      name = (new && i == 5) ? "Vantor LX-50" : sprintf("Vantor LP-%d0", i)
      printf ",\n{\"ModelName\": \"%s\", \"VenderID\": 1, \"ModelGroupID\": %d}", name, i % 30
    }
    print "]}"
  }' >"$3"
}

# Seconds of CPU (user + system) of the best of three runs.
best() {
  local b=999
  for _ in 1 2 3; do
    local t
    /usr/bin/time -f '%U %S' -o time.txt "$@" >/dev/null 2>&1 || true  # diff exits 1: it finds differences
    t=$(tail -1 time.txt | awk '{ print $1 + $2 }')
    b=$(echo "$t $b" | awk '{ print ($1 < $2 ? $1 : $2) }')
  done
  printf '%8.3f' "$b"
}

printf '%10s %10s  %s\n' models "diff s" counts
for n in $((models / 10)) "$models"; do
  database "$n" 0 old.json && database "$n" 1 new.json
  "$orvdb" build old.json -o old.dat 2>/dev/null && "$orvdb" build new.json -o new.dat 2>/dev/null
  awk -v n="$n" 'BEGIN { for (i = 0; i < n; i++) printf "Vantor LP-%d PS\n", i * 7 }' >names.txt
  counts=$("$orvdb" diff --summary --names names.txt old.dat new.dat || true)
  printf '%10d %10s  %s\n' "$n" "$(best "$orvdb" diff --summary --fail-on lookups --names names.txt old.dat new.dat)" "$counts"
done
