#!/usr/bin/env bash
# The main job on the bundled examples: every drawing in examples/ is opened,
# reported and saved again under out/. A drawing with a script of the same name
# (examples/NAME.scr) is run through it with express.drx loaded, and the result is
# reported and saved instead. At the end every drawing in out/ is plotted to a PNG.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/build.sh release >/dev/null
mkdir -p out
for f in examples/*.dxf; do
  name=$(basename "$f" .dxf)
  echo "== $f"
  if [[ -f "examples/$name.scr" ]]; then
    # The module's settings (dxad.ini) stay in out/, away from the user's own.
    mkdir -p out/appdir
    DRAXEL_APPDIR="$PWD/out/appdir" build/bin/draxel "$f" --load build/bin/express.drx \
      -s "examples/$name.scr" -o "out/$name.dxf"
    build/bin/draxel --report "out/$name.dxf"
    echo "   ran examples/$name.scr, saved out/$name.dxf"
  else
    build/bin/draxel --report "$f" -o "out/$name.dxf"
    echo "   saved out/$name.dxf"
  fi
done

# JWW import: a house plan written with our own JWW writer (JW_CAD's files are not on a
# user's machine), imported with FILEIMP into a new drawing and saved as DXF.
echo "== JWW import (FILEIMP)"
build/tools/jww_make_drawing example out/house.jww
build/bin/draxel -c "FILEIMP out/house.jww 0,0" -o out/house.dxf
build/bin/draxel --report out/house.dxf
echo "   imported out/house.jww, saved out/house.dxf"

# Every drawing written above, plotted to a picture beside it.
echo "== plots"
for f in out/*.dxf; do
  build/bin/draxel "$f" --plot "${f%.dxf}.png"
  echo "   plotted $f to ${f%.dxf}.png"
done
