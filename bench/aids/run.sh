#!/usr/bin/env bash
# superhatch of 1 x 1 image tiles over an N x N area with ten islands, for N = 100 and 200
# (10,000 and 40,000 tiles): draxel with express.drx against the same drawing only opened
# and saved, so that the difference is the command's own time. Prints seconds per 1,000
# tiles and the ratio of the two sizes (at most 4.5 wanted for four times the tiles).
# Usage: bench/aids/run.sh [BINDIR] [N...]   (BINDIR defaults to build/bin)
set -euo pipefail
cd "$(dirname "$0")/../.."
bin=$(realpath "${1:-build/bin}")
shift || true
sizes=("$@")
[ ${#sizes[@]} -gt 0 ] || sizes=(100 200)
work=${TMPDIR:-/tmp}/superhatch-bench
mkdir -p "$work"

now() { date +%s.%N; }

printf "%8s %12s %14s %10s %18s\n" tiles "open+save s" "superhatch s" "tiles/s" "s per 1000 tiles"
for n in "${sizes[@]}"; do
  file="$work/area_$n.dxf"
  [ -f "$file" ] || /usr/bin/python3 bench/aids/gen_area.py "$file" --size "$n"
  pick="$(awk -v n="$n" 'BEGIN { printf "%g,%g", n * 0.01, n * 0.01 }')"
  t0=$(now)
  "$bin/draxel" "$file" -o "$work/base_$n.dxf" >/dev/null
  t1=$(now)
  (cd "$work" && "$bin/draxel" "$file" --load "$bin/express.drx" \
     -c "-SUPERHATCH I tile.png 0,0 1 0 $pick \"\" No" -o "$work/out_$n.dxf" >/dev/null)
  t2=$(now)
  awk -v n="$n" -v a="$t0" -v b="$t1" -v c="$t2" 'BEGIN {
    base = b - a; all = c - b; sh = all - base; tiles = n * n;
    printf "%8d %12.3f %14.3f %10.0f %18.4f\n", tiles, base, sh, tiles / sh, sh * 1000 / tiles }'
done
