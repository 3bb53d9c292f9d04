#!/usr/bin/env bash
# Installs the Debian packages the build, tools and tests need.
# Safe to run repeatedly; used by .ci/run and by developers on a fresh machine.
set -euo pipefail
# --hardening adds what the fuzz, coverage and memcheck jobs need; --windows
# the MinGW-w64 cross compiler, GoogleTest's sources and Wine for the Windows
# DLL and its tests; --web emscripten for the wasm preset, with chromium,
# its driver and Selenium for the page's browser test; --abi abigail-tools for
# scripts/check-abi.sh; --packages lintian for scripts/check-packages.sh. Any
# of them may be given together.
pkgs=(cmake ninja-build g++ pkg-config python3 python3-venv libgtest-dev libgmock-dev libbenchmark-dev nlohmann-json3-dev libcli11-dev)
for arg in "$@"; do
  case "$arg" in
    --hardening) pkgs+=(clang libclang-rt-14-dev llvm valgrind gcovr) ;;
    --windows) pkgs+=(g++-mingw-w64-x86-64-posix binutils-mingw-w64-x86-64 googletest wine64) ;;
    --web) pkgs+=(emscripten chromium chromium-driver python3-selenium) ;;
    --abi) pkgs+=(abigail-tools) ;;
    --packages) pkgs+=(lintian) ;;
    *) echo "install-deps.sh: unknown option \"$arg\" (--hardening, --windows, --web, --abi, --packages)" >&2; exit 2 ;;
  esac
done
missing=()
for p in "${pkgs[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if ((${#missing[@]})); then
  SUDO=""
  [[ $(id -u) -ne 0 ]] && SUDO="sudo"
  export DEBIAN_FRONTEND=noninteractive
  $SUDO apt-get update
  $SUDO apt-get install -y --no-install-recommends "${missing[@]}"
fi
