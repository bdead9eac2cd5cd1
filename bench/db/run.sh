#!/usr/bin/env bash
# Load and save a generated drawing with the host and with ezdxf, and load it beside
# dxflib. Usage: bench/db/run.sh [ENTITIES]   (after scripts/build.sh release)
# The host's figures are processor time as well as wall time: on a shared machine
# compare those.
set -euo pipefail
cd "$(dirname "$0")/../.."
n=${1:-1000000}
work=${TMPDIR:-/tmp}/dxdb-bench
mkdir -p "$work"
file="$work/mixed_$n.dxf"
[ -f "$file" ] || /usr/bin/python3 bench/gen_dxf.py "$file" --entities "$n" >/dev/null
echo "== host, mixed drawing ($n entities: lines, arcs, circles, polylines, texts, inserts with attributes)"
build/bin/dxdb_bench "$file"
echo "== host, lines only ($n)"
build/bin/dxdb_bench --lines "$n"
if [ -x build/bin/dxflib_compare_bench ]; then
  echo "== load beside dxflib (best of 3 each, processor time)"
  build/bin/dxflib_compare_bench "$file" 3
fi
echo "== ezdxf, same mixed drawing"
/usr/bin/python3 bench/ezdxf_load_save.py "$file"
