#!/usr/bin/env bash
# Builds the Debian packages from a plain Release build, installs them with the
# system's package manager, uses them as a user would (the README's C++
# example built with nothing but pkg-config, the tool, the Python module),
# removes them and checks that nothing of them is left. Needs root (or sudo).
# Usage: scripts/check-packages.sh [BUILD_DIR]   (default build/release)
set -euo pipefail
cd "$(dirname "$0")/.."
build="${1:-build/release}"
SUDO=""
[[ $(id -u) -ne 0 ]] && SUDO="sudo"
version="$(sed -n 's/^project(orvx VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)"

cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX=/usr \
  -DORVX_BUILD_TESTS=OFF -DORVX_BUILD_BENCH=OFF >/dev/null
cmake --build "$build"
rm -f "$build"/*.deb "$build"/*.tar.gz
(cd "$build" && cpack -G DEB >/dev/null && cpack -G TGZ >/dev/null)
debs=("$PWD/$build"/liborvx0_*.deb "$PWD/$build"/liborvx-dev_*.deb "$PWD/$build"/orvdb_*.deb)
ls "$build"/*.tar.gz >/dev/null
for deb in "${debs[@]}"; do
  echo "$(basename "$deb"): $(dpkg-deb -f "$deb" Package) $(dpkg-deb -f "$deb" Version), depends: $(dpkg-deb -f "$deb" Depends)"
  [[ "$(dpkg-deb -f "$deb" Version)" == "$version" ]]
  [[ -n "$(dpkg-deb -f "$deb" Description)" ]]
done
has() { grep -q "$2" <<<"$(dpkg-deb -c "$1")" || { echo "$(basename "$1") lacks $2" >&2; exit 1; }; }
has "${debs[0]}" 'liborvx\.so\.0 -> '
has "${debs[1]}" 'include/orvx/orvx.h'
has "${debs[1]}" 'pkgconfig/orvx.pc'
has "${debs[2]}" 'share/man/man1/orvdb.1'
has "${debs[2]}" 'share/orvx/ORVDB.dat'

export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get install -y --no-install-recommends "${debs[@]}" >/dev/null
files="$(mktemp)"
work="$(mktemp -d)"
trap 'rm -rf "$work" "$files"' EXIT
dpkg -L liborvx0 liborvx-dev orvdb | sort -u >"$files"

echo "README example against the installed packages, with pkg-config alone:"
# shellcheck disable=SC2046
g++ -o "$work/host" tests/install_consumer/main.cpp $(pkg-config --cflags --libs orvx)
out="$(cd /usr/share/orvx && "$work/host")"
echo " $out"
grep -q '^Vantor LP-1200' <<<"$out"
[[ "$(orvdb --version)" == "orvdb $version" ]]
orvdb show --db /usr/share/orvx/ORVDB.dat "Vantor LP-1200" | head -1
# The system's Python finds the module in its dist-packages.
if [[ -x /usr/bin/python3 ]]; then
  (cd /usr/share/orvx && PYTHONDONTWRITEBYTECODE=1 /usr/bin/python3 -c \
    'import orvx; print(" python:", orvx.Database("ORVDB.dat").lookup("Vantor LP-1200")[1])')
fi

$SUDO apt-get remove --purge -y liborvx0 liborvx-dev orvdb >/dev/null
left=0
while read -r f; do
  if [[ -f "$f" || -L "$f" ]]; then echo "left behind: $f"; left=1; fi
  if [[ -d "$f" && "$f" == *orvx* ]]; then echo "directory left behind: $f"; left=1; fi
done <"$files"
if find /usr -name '*orvx*' -o -name 'orvdb*' 2>/dev/null | grep .; then left=1; fi
((left == 0))
echo "package check passed ($version)"
