#!/usr/bin/env bash
# Line coverage of src/ by the unit tests (gcov through gcovr).
# Usage: scripts/coverage.sh [--html DIR]
set -euo pipefail
cd "$(dirname "$0")/.."
command -v gcovr >/dev/null || { echo "gcovr is missing: run scripts/install-deps.sh --hardening" >&2; exit 2; }
cmake --preset coverage >/dev/null
cmake --build --preset coverage
find build/coverage -name '*.gcda' -delete
ctest --preset coverage >/dev/null
# Search build/coverage only: other build trees may hold links out of the tree
# (a Wine prefix maps its drive Z: to /).
args=(build/coverage --root . --filter 'src/' --object-directory build/coverage --print-summary --exclude-unreachable-branches)
if [[ "${1:-}" == "--html" ]]; then
  mkdir -p "$2"
  args+=(--html-details "$2/index.html")
fi
gcovr "${args[@]}" --txt build/coverage/coverage.txt
cat build/coverage/coverage.txt
