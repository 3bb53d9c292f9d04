#!/usr/bin/env bash
# The library's exported interface, on record: the ABI of liborvx.so (its
# exported symbols and the types they reach, read from the debug information
# by abigail-tools) in abi/liborvx.abi, and the names orvx.dll exports in
# abi/orvx.dll.exports. A build whose interface differs from the record fails,
# added names included, until the record is renewed on purpose with --update
# (and the change committed with the code that made it).
#
# The record carries the SONAME. A library that breaks the recorded ABI (a
# removed symbol, a changed type that an exported function reaches) must have
# another SONAME: while it keeps the recorded one, the check says so and
# --update refuses to record it. --allow-break records it all the same, for a
# SONAME that no release has shipped yet.
#
# Usage: scripts/check-abi.sh [--update [--allow-break]] [BUILD_DIR...]
#   A BUILD_DIR is a native build (src/liborvx.so, with debug information: the
#   default preset) or a Windows one (bin/orvx.dll). Without one: build/default,
#   and build/windows when it holds an orvx.dll.
set -euo pipefail
cd "$(dirname "$0")/.."
update=0
allow_break=0
dirs=()
for arg in "$@"; do
  case "$arg" in
    --update) update=1 ;;
    --allow-break) allow_break=1 ;;
    -*) echo "check-abi.sh: unknown option \"$arg\" (--update, --allow-break)" >&2; exit 2 ;;
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

# abidiff's verdict on a library against a record, written to REPORT: same,
# added (only new functions or variables), broken, or failed. Its status has
# the bits 1 error, 2 usage, 4 the ABI changed, 8 incompatibly; but 8 stands
# for removed symbols alone, so a changed layout is read from the summaries.
abi_compare() {  # RECORD LIBRARY REPORT
  local rc=0
  abidiff "$1" "$2" >"$3" 2>&1 || rc=$?
  if ((rc & 3)); then
    echo failed
  elif ((rc & 8)) || grep -Eq 'summary: .*\b[1-9][0-9]* (Removed|Changed)' "$3"; then
    echo broken
  elif ((rc & 4)); then
    echo added
  else
    echo same
  fi
}
record_soname() { sed -n "1s/.*soname='\([^']*\)'.*/\1/p" "$1"; }
elf_soname() { readelf -d "$1" | sed -n 's/.*(SONAME).*\[\(.*\)\]/\1/p'; }

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
    soname="$(elf_soname "$lib")"
    recorded=""
    verdict=same
    if [[ -f "$elf_baseline" ]]; then
      recorded="$(record_soname "$elf_baseline")"
      verdict="$(abi_compare "$elf_baseline" "$lib" "$dir/abi.diff")"
    fi
    kept=$([[ "$soname" == "$recorded" ]] && echo 1 || echo 0)
    if ((update)); then
      if [[ "$verdict" == failed ]]; then
        cat "$dir/abi.diff" >&2
        echo "abidiff failed: $elf_baseline is left as it was" >&2
        exit 1
      elif [[ "$verdict" == broken ]] && ((kept && !allow_break)); then
        cat "$dir/abi.diff" >&2
        echo "$soname breaks the recorded ABI and keeps its SONAME: $elf_baseline is left as it was." >&2
        echo "Raise the version (the minor below 1.0, else the major) so that the SONAME changes;" >&2
        echo "or, if no release has shipped $soname yet, renew with --update --allow-break." >&2
        exit 1
      fi
      abi_dump "$lib" "$elf_baseline"
      echo "$elf_baseline renewed from $lib (SONAME $soname, ABI $verdict${recorded:+ against $recorded})"
    elif [[ ! -f "$elf_baseline" ]]; then
      echo "check-abi.sh: there is no $elf_baseline to check against" >&2
      exit 2
    elif [[ "$verdict" == same ]]; then
      echo "liborvx.so has the recorded ABI ($elf_baseline, $soname)"
    else
      cat "$dir/abi.diff" >&2
      status=1
      case "$verdict" in
        added) echo "liborvx.so adds to the recorded ABI (new functions or variables)." >&2 ;;
        broken)
          if ((kept)); then
            echo "liborvx.so breaks the recorded ABI and keeps its SONAME $soname: a host built against" >&2
            echo "it may no longer run. Raise the version (the minor below 1.0, else the major) so that" >&2
            echo "the SONAME changes." >&2
          else
            echo "liborvx.so breaks the ABI recorded for $recorded, under a new SONAME $soname." >&2
          fi ;;
        *) echo "abidiff failed" >&2 ;;
      esac
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
