#!/usr/bin/env bash
# Load and save a generated drawing with the host and with ezdxf in the same run, and
# load it beside dxflib. Usage: bench/db/run.sh [ENTITIES] (after scripts/build.sh release)
# The last line is the ratio ezdxf / host for load and save together, by wall time and by
# processor time: on a shared machine the processor-time ratio is the steadier one.
# ezdxf takes about 35 s per 200,000 entities; it runs niced.
set -euo pipefail
cd "$(dirname "$0")/../.."
n=${1:-200000}
work=${TMPDIR:-/tmp}/dxdb-bench
mkdir -p "$work"
file="$work/mixed_$n.dxf"
[ -f "$file" ] || /usr/bin/python3 bench/gen_dxf.py "$file" --entities "$n" >/dev/null
echo "== host, mixed drawing ($n entities: lines, arcs, circles, polylines, texts, inserts with attributes)"
host=$(build/bin/dxdb_bench "$file")
echo "$host"
echo "== host, lines only ($n)"
build/bin/dxdb_bench --lines "$n"
if [ -x build/bin/dxflib_compare_bench ]; then
  echo "== load beside dxflib (best of 3 each, processor time)"
  build/bin/dxflib_compare_bench "$file" 3
fi
echo "== ezdxf, same mixed drawing"
ezdxf=$(nice -n 10 /usr/bin/python3 bench/ezdxf_load_save.py "$file")
echo "$ezdxf"
/usr/bin/python3 - "$host" "$ezdxf" <<'PY'
import json, sys
h, e = json.loads(sys.argv[1]), json.loads(sys.argv[2])
hw, hc = h["load_s"] + h["save_s"], h["load_cpu_s"] + h["save_cpu_s"]
ew, ec = e["load_s"] + e["save_s"], e["load_cpu_s"] + e["save_cpu_s"]
print(f"load+save: host {hw:.3f} s ({hc:.3f} s processor), ezdxf {ew:.2f} s ({ec:.2f} s processor): "
      f"{ew / hw:.0f}x by wall time, {ec / hc:.0f}x by processor time")
PY
