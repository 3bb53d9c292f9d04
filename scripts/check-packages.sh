#!/usr/bin/env bash
# Builds the Debian packages from a plain Release build, checks them (names
# that follow the SONAME, the control files, lintian without an error),
# installs them with the system's package manager, uses them as a user would
# (the README's C++ example built with nothing but pkg-config, the tool, the
# Python module), removes them and checks that nothing of them is left. Needs
# root (or sudo), and lintian (scripts/install-deps.sh --packages).
# Usage: scripts/check-packages.sh [BUILD_DIR]   (default build/release)
set -euo pipefail
cd "$(dirname "$0")/.."
build="${1:-build/release}"
SUDO=""
[[ $(id -u) -ne 0 ]] && SUDO="sudo"
version="$(sed -n 's/^project(orvx VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)"
command -v lintian >/dev/null || { echo "check-packages.sh: lintian is missing (scripts/install-deps.sh --packages)" >&2; exit 2; }

cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX=/usr \
  -DORVX_BUILD_TESTS=OFF -DORVX_BUILD_BENCH=OFF >/dev/null
cmake --build "$build"
rm -f "$build"/*.deb "$build"/*.tar.gz
(cd "$build" && cpack -G DEB >/dev/null && cpack -G TGZ >/dev/null)
# The SONAME carries major.minor below 1.0, the major alone from 1.0 on; the
# library's package is named after it.
soname="$(readelf -d "$build/src/liborvx.so" | sed -n 's/.*(SONAME).*\[\(.*\)\]/\1/p')"
major="${version%%.*}"
minor="${version#*.}"; minor="${minor%%.*}"
if ((major == 0)); then soversion="$major.$minor"; else soversion="$major"; fi
[[ "$soname" == "liborvx.so.$soversion" ]] || { echo "the SONAME is \"$soname\", not liborvx.so.$soversion" >&2; exit 1; }
lib="liborvx$soversion"
debs=("$PWD/$build/${lib}_${version}"_*.deb "$PWD/$build"/liborvx-dev_*.deb "$PWD/$build"/orvdb_*.deb)
ls "${debs[@]}" "$build"/*.tar.gz >/dev/null
for deb in "${debs[@]}"; do
  echo "$(basename "$deb"): $(dpkg-deb -f "$deb" Package) $(dpkg-deb -f "$deb" Version), depends: $(dpkg-deb -f "$deb" Depends)"
  [[ "$(dpkg-deb -f "$deb" Version)" == "$version" ]]
  [[ -n "$(dpkg-deb -f "$deb" Description)" ]]
done
has() { grep -q "$2" <<<"$(dpkg-deb -c "$1")" || { echo "$(basename "$1") lacks $2" >&2; exit 1; }; }
has "${debs[0]}" " \./usr/lib/.*/${soname//./\\.} -> "
has "${debs[1]}" 'include/orvx/orvx.h'
has "${debs[1]}" 'pkgconfig/orvx.pc'
has "${debs[2]}" 'share/man/man1/orvdb\.1\.gz$'
has "${debs[2]}" 'share/orvx/ORVDB.dat'
for deb in "${debs[@]}"; do
  package="$(dpkg-deb -f "$deb" Package)"
  has "$deb" "usr/share/doc/$package/copyright\$"
  has "$deb" "usr/share/doc/$package/changelog\.gz\$"
done
for deb in "${debs[1]}" "${debs[2]}"; do
  grep -q "\b$lib (= $version)" <<<"$(dpkg-deb -f "$deb" Depends)" || { echo "$(basename "$deb") does not depend on $lib (= $version)" >&2; exit 1; }
done
[[ "$(dpkg-deb -I "${debs[0]}" shlibs)" == "liborvx $soversion $lib (>= $version)" ]]
[[ "$(dpkg-deb -I "${debs[0]}" symbols | sed -n 1p)" == "$soname $lib #MINVER#" ]]
# Errors fail; warnings and notes are shown.
lintian --fail-on error "${debs[@]}"

export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get install -y --no-install-recommends "${debs[@]}" >/dev/null
files="$(mktemp)"
work="$(mktemp -d)"
trap 'rm -rf "$work" "$files"' EXIT
dpkg -L "$lib" liborvx-dev orvdb | sort -u >"$files"

echo "README example against the installed packages, with pkg-config alone:"
# shellcheck disable=SC2046
g++ -o "$work/host" tests/install_consumer/main.cpp $(pkg-config --cflags --libs orvx)
out="$(cd /usr/share/orvx && "$work/host")"
echo " $out"
grep -q '^Vantor LP-1200' <<<"$out"
[[ "$(orvdb --version)" == "orvdb $version" ]]
# sed reads it all: head would leave orvdb writing into a closed pipe.
orvdb show --db /usr/share/orvx/ORVDB.dat "Vantor LP-1200" | sed -n 1p
# The system's Python finds the module in its dist-packages.
if [[ -x /usr/bin/python3 ]]; then
  (cd /usr/share/orvx && PYTHONDONTWRITEBYTECODE=1 /usr/bin/python3 -c \
    'import orvx; print(" python:", orvx.Database("ORVDB.dat").lookup("Vantor LP-1200")[1])')
fi

$SUDO apt-get remove --purge -y "$lib" liborvx-dev orvdb >/dev/null
left=0
while read -r f; do
  if [[ -f "$f" || -L "$f" ]]; then echo "left behind: $f"; left=1; fi
  if [[ -d "$f" && "$f" == *orvx* ]]; then echo "directory left behind: $f"; left=1; fi
done <"$files"
if find /usr -name '*orvx*' -o -name 'orvdb*' 2>/dev/null | grep .; then left=1; fi
((left == 0))
echo "package check passed ($version)"
