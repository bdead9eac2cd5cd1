#!/usr/bin/env bash
# The main job on the bundled examples: every drawing in examples/ is opened,
# reported and saved again under out/.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/build.sh release >/dev/null
mkdir -p out
for f in examples/*.dxf; do
  name=$(basename "$f" .dxf)
  echo "== $f"
  build/bin/draxel --report "$f" -o "out/$name.dxf"
  echo "   saved out/$name.dxf"
done
