#!/usr/bin/env bash
# BURST on N references of a block with 10 entities and 5 attributes, for N from 10,000
# to 100,000: draxel with express.drx against the same drawing only opened and saved, so
# that the difference is the command's own time.
# Usage: bench/blocks/run.sh [BINDIR] [N...]   (BINDIR defaults to build/bin)
set -euo pipefail
cd "$(dirname "$0")/../.."
bin=${1:-build/bin}
shift || true
counts=("$@")
[ ${#counts[@]} -gt 0 ] || counts=(10000 20000 50000 100000)
work=${TMPDIR:-/tmp}/burst-bench
mkdir -p "$work"

now() { date +%s.%N; }
printf "%10s %12s %12s %12s %16s\n" references "open+save s" "with BURST s" "BURST s" "per reference ms"
for n in "${counts[@]}"; do
  file="$work/burst_$n.dxf"
  [ -f "$file" ] || /usr/bin/python3 bench/blocks/gen_burst.py "$file" --references "$n"
  t0=$(now)
  "$bin/draxel" "$file" -o "$work/base_$n.dxf" >/dev/null
  t1=$(now)
  "$bin/draxel" "$file" --load "$bin/express.drx" -c 'BURST ALL ""' -o "$work/burst_out_$n.dxf" >/dev/null
  t2=$(now)
  awk -v n="$n" -v a="$t0" -v b="$t1" -v c="$t2" 'BEGIN {
    base = b - a; all = c - b; burst = all - base;
    printf "%10d %12.3f %12.3f %12.3f %16.4f\n", n, base, all, burst, burst * 1000 / n }'
done
