#!/usr/bin/env bash
# The library's exported interface, on record: the ABI of liborvx.so (its
# exported symbols and the types they reach, read from the debug information
# by abigail-tools) in abi/liborvx.abi, and the names orvx.dll exports in
# abi/orvx.dll.exports. A build whose interface differs from the record fails,
# added names included, until the record is renewed on purpose with --update
# (and the change committed with the code that made it).
#
# Usage: scripts/check-abi.sh [--update] [BUILD_DIR...]
#   A BUILD_DIR is a native build (src/liborvx.so, with debug information: the
#   default preset) or a Windows one (bin/orvx.dll). Without one: build/default,
#   and build/windows when it holds an orvx.dll.
set -euo pipefail
cd "$(dirname "$0")/.."
update=0
dirs=()
for arg in "$@"; do
  case "$arg" in
    --update) update=1 ;;
    -*) echo "check-abi.sh: unknown option \"$arg\" (--update)" >&2; exit 2 ;;
    *) dirs+=("$arg") ;;
  esac
done
if ((${#dirs[@]} == 0)); then
  dirs=(build/default)
  [[ -f build/windows/bin/orvx.dll ]] && dirs+=(build/windows)
fi

elf_baseline=abi/liborvx.abi
dll_baseline=abi/orvx.dll.exports
mkdir -p abi
status=0

# The ELF record: no paths or source lines (they differ between checkouts;
# the sources' names are kept relative to the checkout), type IDs from hashes
# (so that one change does not renumber the whole file).
abi_dump() {
  abidw --no-corpus-path --no-comp-dir-path --no-show-locs --type-id-style hash --out-file "$2" "$1"
  sed -i "s|path='$PWD/|path='|" "$2"
}

dll_exports() {  # the export table's names, one a line, sorted
  x86_64-w64-mingw32-objdump -p "$1" \
    | awk '/\[Ordinal\/Name Pointer\] Table/{t=1;next} t&&/^[ \t]*\[ *[0-9]+\]/{print $NF;next} t&&NF==0{t=0}' \
    | LC_ALL=C sort
}

for dir in "${dirs[@]}"; do
  if [[ -f "$dir/bin/orvx.dll" ]]; then
    lib="$dir/bin/orvx.dll"
    if ((update)); then
      dll_exports "$lib" >"$dll_baseline"
      echo "$dll_baseline renewed from $lib ($(wc -l <"$dll_baseline") names)"
    elif ! diff -u "$dll_baseline" <(dll_exports "$lib") >"$dir/abi-exports.diff"; then
      echo "orvx.dll exports other names than $dll_baseline records (- recorded, + built):" >&2
      cat "$dir/abi-exports.diff" >&2
      status=1
    else
      echo "orvx.dll exports the $(wc -l <"$dll_baseline") recorded names"
    fi
  elif [[ -f "$dir/src/liborvx.so" ]]; then
    lib="$(readlink -f "$dir/src/liborvx.so")"
    if ((update)); then
      abi_dump "$lib" "$elf_baseline"
      echo "$elf_baseline renewed from $lib"
    else
      # Bits of abidiff's status: 1 error, 2 usage, 4 the ABI changed, 8 incompatibly.
      rc=0
      abidiff "$elf_baseline" "$lib" >"$dir/abi.diff" 2>&1 || rc=$?
      if ((rc == 0)); then
        echo "liborvx.so has the recorded ABI ($elf_baseline)"
      else
        cat "$dir/abi.diff" >&2
        if ((rc & 8)); then
          echo "liborvx.so breaks the recorded ABI: a host built against it may no longer run." >&2
        elif ((rc & 4)); then
          echo "liborvx.so changes the recorded ABI compatibly (e.g. new functions)." >&2
        else
          echo "abidiff failed (status $rc)" >&2
        fi
        status=1
      fi
    fi
  else
    echo "check-abi.sh: $dir holds neither src/liborvx.so nor bin/orvx.dll" >&2
    exit 2
  fi
done
if ((status)); then
  echo "If the change is meant, renew the record: scripts/check-abi.sh --update, and commit abi/." >&2
fi
exit "$status"
