#!/usr/bin/env bash
# Peak memory and time of the first lookup for three shapes of names, each at
# 100,000 models: names that share long prefixes (as real model names do),
# names of 250 random printable bytes (no shared prefixes), and a few huge
# names among short ones. `list` loads the database and prints it: the cost of
# the load alone; `show` loads it and makes one lookup, which builds the index.
# Usage: bench/index_shapes.sh [ORVDB] [MODELS]
set -euo pipefail
orvdb="${1:-build/default/tools/orvdb}"
models="${2:-100000}"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT

python3 - "$work" "$models" <<'EOF'
import json, random, sys
work, n = sys.argv[1], int(sys.argv[2])
rng = random.Random(1)
printable = [chr(c) for c in range(0x21, 0x7F) if chr(c) not in '"\\']
def record(name):
    return {"ModelName": name, "VenderID": 1, "ModelGroupID": 12, "BasedModelGroupID": 0,
            "IconBaseIdx": 0, "Flags": 64, "InTraySPSZSizeList": None}
shapes = {
    "shared": [f"Vantor LP-{i:06d}C PCL6 Series" for i in range(n)],
    "random": ["".join(rng.choice(printable) for _ in range(250)) for _ in range(n)],
    "huge": [("H%d-" % i) + "x" * 1_000_000 if i % (n // 10) == 1 else f"Vantor LP-{i:06d}" for i in range(n)],
}
for shape, names in shapes.items():
    with open(f"{work}/{shape}.json", "w") as f:
        json.dump({"models": [record(m) for m in names]}, f)
EOF

printf '%-7s %9s %14s %14s %14s %14s\n' shape 'file MB' 'list s' 'list peak MB' 'show s' 'show peak MB'
for shape in shared random huge; do
  "$orvdb" build "$work/$shape.json" -o "$work/$shape.dat" >/dev/null
  mb=$(stat -c %s "$work/$shape.dat" | awk '{printf "%.1f", $1 / 1048576}')
  measure() { /usr/bin/time -f '%e %M' "$@" 2>&1 >/dev/null | tail -1; }
  read -r ls lk < <(measure "$orvdb" list --db "$work/$shape.dat")
  read -r ss sk < <(measure "$orvdb" show --db "$work/$shape.dat" "Selby DC-2000 unknown")
  printf '%-7s %9s %14s %14.1f %14s %14.1f\n' "$shape" "$mb" "$ls" "$(echo "$lk / 1024" | bc -l)" "$ss" "$(echo "$sk / 1024" | bc -l)"
done
