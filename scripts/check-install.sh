#!/usr/bin/env bash
# Installs a build into a fresh, non-default prefix and builds and runs the
# README's examples against it, as another project would: with CMake (setting
# no language standard) and with nothing but the flags pkg-config prints.
# Usage: scripts/check-install.sh [BUILD_DIR]   (default build/default)
set -euo pipefail
cd "$(dirname "$0")/.."
build="${1:-build/default}"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
prefix="$work/some/prefix"
cmake --install "$build" --prefix "$prefix" >/dev/null

# The README's C++ example is the consumer's source, word for word.
awk '/<!-- example: tests\/install_consumer\/main.cpp -->/{f=1;next} f&&/^```cpp/{g=1;next} g&&/^```/{exit} g' README.md \
  | diff -u tests/install_consumer/main.cpp - || { echo "README's C++ example differs from tests/install_consumer/main.cpp" >&2; exit 1; }

libdir="$(dirname "$(find "$prefix" -name 'liborvx.so' | head -1)")"
data="$prefix/share/orvx"
expect() {  # expect PROGRAM ARGS...: runs it in the sample data's folder and checks what it says
  local out
  out="$(cd "$data" && LD_LIBRARY_PATH="$libdir" "$@")"
  echo "  $out"
  grep -q '^Vantor LP-1200' <<<"$out"
}

echo "CMake consumer (find_package, no C++ standard set):"
cmake -S tests/install_consumer -B "$work/cmake" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$work/cmake" >/dev/null
expect "$work/cmake/consumer"
expect "$work/cmake/c_consumer"

echo "pkg-config consumers (only the flags pkg-config prints):"
export PKG_CONFIG_PATH="$libdir/pkgconfig"
# shellcheck disable=SC2046
g++ -o "$work/pc_consumer" tests/install_consumer/main.cpp $(pkg-config --cflags --libs orvx)
# shellcheck disable=SC2046
cc -std=c99 -Wall -Wextra -pedantic -Werror -o "$work/pc_c_consumer" tests/install_consumer/main.c $(pkg-config --cflags --libs orvx-c)
expect "$work/pc_consumer"
expect "$work/pc_c_consumer"

echo "installed Python package (finds the installed library by itself):"
(cd "$data" && env -u ORVX_LIBRARY PYTHONPATH="$prefix/lib/python3/dist-packages" PYTHONDONTWRITEBYTECODE=1 python3 -c '
import orvx
with orvx.Database("ORVDB.dat") as db:
    record, how = db.lookup("Vantor LP-1200 PCL6")
    print(" ", record.name, how, orvx.version())
    assert (record.name, how) == ("Vantor LP-1200", "substring")
')

echo "installed tool:"
# The whole answer is read (sed, not head), so the tool never writes to a closed pipe.
"$prefix/bin/orvdb" show --db "$data/ORVDB.dat" "Vantor LP-1200" | sed -n 1p
# A missing database fails attach with the library's message, not a crash.
if (cd "$work" && LD_LIBRARY_PATH="$libdir" "$work/pc_consumer" 2>/dev/null); then
  echo "the example reported success without ORVDB.dat" >&2
  exit 1
fi
echo "install check passed"
