#!/usr/bin/env bash
# Throughput of `orvdb eval` on requests read from a file, per request kind,
# beside what the library calls alone cost for the same requests, measured in
# the same run (bench/eval_library_cost): the typical (light) picture mix, a
# heavy one, info and sizelist requests, picture requests of 8 and of 9 to 12
# members, and lookups in one database file.
# Usage: bench/eval_throughput.sh [BUILD_DIR] [REQUESTS]
set -euo pipefail
build="${1:-build/default}"
count="${2:-500000}"
orvdb="$build/tools/orvdb"
cost="$build/bench/eval_library_cost"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT

# The typical picture mix: both entries, both forms, trays as names and
# objects, four or five in-trays, one or two out-trays, an option.
awk -v n="$count" 'BEGIN {
  r[0] = "{\"op\":\"picture\",\"vendor\":1,\"group\":0,\"inTrays\":[\"Multi Purpose Tray\",\"Cassette 1\",\"Optional Cassette 2\",\"Cassette 3\"],\"outTrays\":[\"Face Down Tray\",\"Face Up Tray\"],\"options\":[\"HH-418\"]}";
  r[1] = "{\"op\":\"picture\",\"entry\":\"GetPictureID\",\"vendor\":2,\"group\":6,\"inTrays\":[\"Bypass\",\"Tray 1\",\"Tray 2\",\"Tray 3\"],\"outTrays\":[\"Finisher\",\"Face Down\"],\"duplexUnit\":1}";
  r[2] = "{\"op\":\"picture\",\"vendor\":2,\"group\":16,\"form\":\"names\",\"inTrays\":[\"Bypass\",\"Cassette 1\",\"Cassette 2\"],\"outTrays\":[\"Top Tray\"],\"options\":[\"GX-268\"],\"docOptions\":[\"NMFR-8\"]}";
  r[3] = "{\"op\":\"picture\",\"vendor\":1,\"group\":20,\"inTrays\":[{\"name\":\"Bypass\",\"id\":-1},\"Cassette 1\",\"Cassette 2\",\"Large\"],\"outTrays\":[{\"name\":\"HI-079\",\"derivery\":3}],\"docOptions\":[\"HG-976\"]}";
  for (i = 0; i < n; i++) print r[i % 4];
}' > "$work/picture.jsonl"
awk -v n="$count" 'BEGIN {
  r[0] = "{\"op\":\"info\",\"calls\":[[\"get\",1034],[\"set\",1153,7],[\"get\",3336]]}";
  r[1] = "{\"op\":\"sizelist\",\"block\":[43,10,14,67,97,115,115,101,116,116,101,32,49,0,1,2,3,10,24,77,117,108,116,105,32,80,117,114,112,111,115,101,32,84,114,97,121,0,1,2,3,7,9],\"trayName\":\"multi purpose tray\"}";
  r[2] = "{\"op\":\"sizelist\",\"block\":[13,1,4,1,2,4,5,2,2,1,2,3,0],\"tray\":2}";
  for (i = 0; i < n; i++) print r[i % 3];
}' > "$work/info.jsonl"

# The heavy mix: 5 in-trays, 2 out-trays, 3 options and 2 document units a
# request, a third of them naming a model of the sample database.
awk -v n="$count" -v db="$build/ORVDB.dat" 'BEGIN {
  body[0] = "\"inTrays\":[\"Bypass\",\"Cassette 1\",\"Optional Cassette 2\",{\"name\":\"Cassette 3\",\"id\":-1},\"Large Capacity Tray\"],\"outTrays\":[\"Face Down Tray\",{\"name\":\"Finisher Tray A\",\"addUnit\":0}],\"options\":[\"HH-418\",\"GX-268\",\"Duplex Unit\"],\"docOptions\":[\"NMFR-8\",\"HG-976\"]";
  body[1] = "\"inTrays\":[\"Multi Purpose Tray\",\"Tray 1\",\"Tray 2\",\"Tray 3\",\"Default Tray\"],\"outTrays\":[\"Top Tray\",\"Face-d\"],\"options\":[\"HI-331\",\"RJ-7\",\"FU-404\"],\"docOptions\":[\"Doc-1\",\"NMFR-9\"]";
  rec[0] = "\"vendor\":1,\"group\":0"; rec[1] = "\"vendor\":2,\"group\":16";
  rec[2] = "\"db\":\"" db "\",\"model\":\"Vantor Selby DC-2200\"";
  rec[3] = "\"vendor\":1,\"group\":20"; rec[4] = "\"vendor\":2,\"group\":21";
  rec[5] = "\"db\":\"" db "\",\"model\":\"Vantor LP-3000 PCL6\"";
  for (i = 0; i < n; i++) printf "{\"op\":\"picture\",%s,%s}\n", rec[i % 6], body[i % 2];
}' > "$work/heavy.jsonl"

# The members a picture request may have, 8 and 9 to 12 of them: the check
# for repeated members must cost as little per member above 8 as below.
awk -v n="$count" 'BEGIN {
  base = "\"op\":\"picture\",\"entry\":\"GetPictureIDEx\",\"form\":\"trays\",\"vendor\":1,\"group\":0,\"inTrays\":[\"Multi Purpose Tray\",\"Cassette 1\"],\"outTrays\":[\"Face Down Tray\"],\"options\":[\"HH-418\"]";
  r[0] = base ",\"docOptions\":[]";
  r[1] = r[0] ",\"duplexUnit\":0";
  r[2] = r[1] ",\"outputUnit\":0";
  r[3] = r[2] ",\"model\":\"Vantor LP-2100\"";
  for (i = 0; i < n; i++) { print "{" base "}" > "/dev/stderr"; print "{" r[i % 4] "}" }
}' > "$work/wide.jsonl" 2> "$work/eight.jsonl"
# Lookups in one database of 9,000 models, each name with " PCL6": eval
# checks per request that the file is still the one it read.
awk 'BEGIN {
  printf "{\"models\":[";
  for (i = 0; i < 9000; i++) printf "%s{\"ModelName\":\"Vantor LP-%d\",\"VenderID\":1}", i ? "," : "", 9000 - i;
  print "]}";
}' > "$work/lookup.json"
"$orvdb" build "$work/lookup.json" -o "$work/lookup.dat" 2>/dev/null || true
awk -v n="$count" -v db="$work/lookup.dat" 'BEGIN {
  for (i = 0; i < n; i++) printf "{\"op\":\"lookup\",\"db\":\"%s\",\"name\":\"Vantor LP-%d PCL6\"}\n", db, 1 + i * 7919 % 9000;
}' > "$work/lookup.jsonl"
sleep 3  # a database changed in the last seconds is read anew for each request

# Wall-clock time on a shared machine varies: the best of five runs.
for kind in picture heavy info eight wide lookup; do
  best=""
  for run in 1 2 3 4 5; do
    start=$(date +%s.%N)
    "$orvdb" eval < "$work/$kind.jsonl" > "$work/$kind.out"
    end=$(date +%s.%N)
    t=$(awk -v s="$start" -v e="$end" 'BEGIN { print e - s }')
    if [[ -z "$best" ]] || awk -v t="$t" -v b="$best" 'BEGIN { exit !(t < b) }'; then best="$t"; fi
  done
  answers=$(wc -l < "$work/$kind.out")
  errors=$(grep -c '"error"' "$work/$kind.out" || true)
  [[ "$answers" -eq "$count" && "$errors" -eq 0 ]] || { echo "expected $count answers without errors, got $answers ($errors errors)" >&2; exit 1; }
  library=""
  [[ -x "$cost" && $kind != lookup ]] && library="$(for run in 1 2 3; do "$cost" "$work/$kind.jsonl"; done | sort -n | head -1)"
  awk -v t="$best" -v n="$count" -v k="$kind" -v lib="$library" 'BEGIN {
    per = t / n * 1e9
    printf "%-8s %d requests in %.3f s: %.0f requests/s, %.0f ns each", k, n, t, n / t, per
    if (lib != "") printf "; the library calls alone: %.0f ns each, eval/library = %.1f", lib, per / lib
    printf "\n"
  }'
done
