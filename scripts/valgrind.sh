#!/usr/bin/env bash
# Runs every unit-test binary of a build under valgrind memcheck: any memory
# error or leak fails the run.
# Usage: scripts/valgrind.sh [BUILD_DIR]   (default: build/default, built first)
set -euo pipefail
cd "$(dirname "$0")/.."
build="${1:-build/default}"
command -v valgrind >/dev/null || { echo "valgrind is missing: run scripts/install-deps.sh --hardening" >&2; exit 2; }
[[ "$build" == build/default ]] && cmake --preset default >/dev/null && cmake --build --preset default
status=0
scratch="$(mktemp -d)"
trap 'rm -rf "$scratch"' EXIT
for t in "$build"/tests/*_test; do
  name="$(basename "$t")"
  # The forking reliability tests run natively in the plain test runs; under
  # valgrind their timing-based kills say nothing about memory. The C
  # interface's test is a plain C program with arguments of its own.
  args=(--gtest_brief=1 --gtest_filter='-Reliability.*')
  [[ "$name" == c_api_test ]] && args=("$build/ORVDB.dat" "$scratch")
  if valgrind --quiet --leak-check=full --show-leak-kinds=definite,indirect --errors-for-leak-kinds=definite,indirect \
      --error-exitcode=99 "$t" "${args[@]}" >"$build/valgrind-$name.log" 2>&1; then
    echo "$name: clean"
  else
    echo "$name: FAILED (see $build/valgrind-$name.log)"
    tail -20 "$build/valgrind-$name.log"
    status=1
  fi
done
exit $status
