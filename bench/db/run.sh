#!/usr/bin/env bash
# Load and save a generated drawing of 1,000,000 entities with the host and with ezdxf.
# Usage: bench/db/run.sh [ENTITIES]   (after scripts/build.sh release)
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
echo "== ezdxf, same mixed drawing"
/usr/bin/python3 bench/ezdxf_load_save.py "$file"
