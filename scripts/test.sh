#!/usr/bin/env bash
# Builds the project twice (optimised, and with ASan+UBSan) and runs every test in both.
set -euo pipefail
cd "$(dirname "$0")/.."
jobs=$(nproc 2>/dev/null || echo 2)
scripts/build.sh release
(cd build && ctest --output-on-failure -j "$jobs")
scripts/build.sh sanitize
export ASAN_OPTIONS=detect_leaks=1:abort_on_error=1
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
(cd build-asan && ctest --output-on-failure -j "$jobs")
echo "all tests passed"
