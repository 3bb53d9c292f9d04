#!/usr/bin/env bash
# How the registry store's cost grows with its size: `orvdb registry check`,
# `orvdb supported` (both lists loaded, then one question) and a COM
# configuration save and load, on stores of N keys and on one key of N
# values, at two sizes ten times apart. Linear work takes about ten times as
# long at the larger size.
# Usage: bench/registry_scale.sh [BUILD_DIR] [KEYS] [VALUES]
set -euo pipefail
build="${1:-build/default}"
keys="${2:-3000}"
values="${3:-10000}"
orvdb="$(realpath "$build/tools/orvdb")"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
cd "$work"

# N keys of one value each, the COM key last.
many_keys() {
  awk -v n="$1" -v hive="$2" 'BEGIN {
    print "Windows Registry Editor Version 5.00\n"
    for (i = 0; i < n; i++) printf "[%s\\Software\\Filler\\Key %d]\n\"Value\"=dword:%08x\n\n", hive, i, i
  }'
}
# One supported list of N models (and an unsupported one of N/10).
many_values() {
  awk -v n="$1" 'BEGIN {
    print "Windows Registry Editor Version 5.00\n"
    print "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Vantor Selby\\orvx\\Supported Models]"
    for (i = 0; i < n; i++) printf "\"LP-%d\"=dword:01000100\n", i
    print "\n[HKEY_LOCAL_MACHINE\\SOFTWARE\\Vantor Selby\\orvx\\Unsupported Models]"
    for (i = 0; i < n / 10; i++) printf "\"OLD-%d\"=dword:00000001\n", i
    print "\n[HKEY_CURRENT_USER\\Software\\orvx\\Com]"
    for (i = 0; i < n; i++) printf "\"X%d\"=hex:04,00,00,00\n", i
  }'
}

# Seconds of the best of three runs (a shared machine varies).
best() {
  local b=""
  for _ in 1 2 3; do
    local s e
    s=$(date +%s.%N)
    "$@" >/dev/null 2>&1 || true
    e=$(date +%s.%N)
    b=$(echo "$s $e ${b:-999}" | awk '{ d = $2 - $1; print (d < $3 ? d : $3) }')
  done
  printf '%8.3f' "$b"
}

run() {
  local what=$1 n=$2 file=$3
  export ORVX_HKLM_FILE=$PWD/$file ORVX_HKCU_FILE=$PWD/$file
  printf '%-8s %8d %8d bytes  check %s  supported %s  save %s  load %s\n' "$what" "$n" "$(stat -c %s "$file")" \
    "$(best "$orvdb" registry check "$file")" \
    "$(best "$orvdb" supported LP-7 --interface 1)" \
    "$(best sh -c "printf '\\004\\000\\000\\000' | \"$orvdb\" comcfg save --port 0x10")" \
    "$(best "$orvdb" comcfg load --port 0x10 --hex)"
}

echo "seconds, best of three"
for n in "$keys" $((keys * 10)); do
  many_keys "$n" HKEY_LOCAL_MACHINE >"keys-$n.reg"
  run keys "$n" "keys-$n.reg"
done
for n in "$values" $((values * 10)); do
  many_values "$n" >"values-$n.reg"
  run values "$n" "values-$n.reg"
done
