#!/usr/bin/env bash
# Regenerates the JWW fuzzing seed corpus in tests/jww/corpus from the sample drawings.
set -euo pipefail
cd "$(dirname "$0")/.."
cmake -S . -B build-jww -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build build-jww --target jww_make_corpus -j2 >/dev/null
mkdir -p tests/jww/corpus
build-jww/bin/jww_make_corpus tests/jww/corpus
ls tests/jww/corpus | wc -l
