#!/usr/bin/env bash
# Attaching a generated drawing as an external reference against opening that drawing
# alone: both are whole draxel runs (start, read, end), so the ratio is what a user waits.
# Reports wall and processor seconds, best of three runs each.
# Usage: bench/xref/run.sh [BINDIR] [ENTITIES]   (defaults: build/bin, 200000)
set -euo pipefail
cd "$(dirname "$0")/../.."
bin=${1:-build/bin}
n=${2:-200000}
work=${TMPDIR:-/tmp}/xref-bench
mkdir -p "$work"
part="$work/mixed_$n.dxf"
[ -f "$part" ] || /usr/bin/python3 bench/gen_dxf.py "$part" --entities "$n" >/dev/null
"$bin/draxel" -o "$work/host.dxf" >/dev/null

# "wall cpu" seconds of a command, the best of three
timed() {
  for _ in 1 2 3; do
    /usr/bin/time -f "%e %U %S" "$@" 2>&1 >/dev/null | tail -1 | awk '{ printf "%.2f %.2f\n", $1, $2 + $3 }'
  done | sort -n | head -1
}

read -r open open_cpu < <(timed "$bin/draxel" "$part" -c "")
read -r attach attach_cpu < <(timed "$bin/draxel" "$work/host.dxf" -c "-XREF A $part 0,0 1 1 0")

awk -v n="$n" -v o="$open" -v oc="$open_cpu" -v a="$attach" -v ac="$attach_cpu" 'BEGIN {
  printf "%-34s %10s %10s\n", "", "wall s", "cpu s"
  printf "%-34s %10.2f %10.2f\n", "draxel open " n, o, oc
  printf "%-34s %10.2f %10.2f\n", "draxel attach as xref " n, a, ac
  printf "attach / open:                      %.2fx (cpu %.2fx, at most 1.5x)\n", a / o, ac / oc
}'
