#!/usr/bin/env bash
# Configures and builds one tree. Usage: scripts/build.sh [release|sanitize] [extra cmake args]
set -euo pipefail
cd "$(dirname "$0")/.."
kind=${1:-release}; shift || true
jobs=$(nproc 2>/dev/null || echo 2)
case "$kind" in
  release)  dir=build;      args=(-DCMAKE_BUILD_TYPE=Release) ;;
  sanitize) dir=build-asan; args=(-DCMAKE_BUILD_TYPE=Debug -DDX_SANITIZE=ON -DDX_BUILD_BENCH=OFF) ;;
  *) echo "usage: $0 [release|sanitize]" >&2; exit 2 ;;
esac
cmake -S . -B "$dir" "${args[@]}" "$@" >/dev/null
cmake --build "$dir" -j "$jobs"
echo "$dir"
