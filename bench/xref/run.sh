#!/usr/bin/env bash
# Attaching a generated drawing as an external reference against opening that drawing
# alone: both are whole draxel runs (start, read, end), so the ratio is what a user waits.
# Reports wall and processor seconds, the median of five runs each.
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

# "wall cpu" seconds of a command
timed() { /usr/bin/time -f "%e %U %S" "$@" 2>&1 >/dev/null | tail -1 | awk '{ printf "%.3f %.3f\n", $1, $2 + $3 }'; }

# The two runs alternate, so that a busy machine slows both alike; medians of five.
: >"$work/open.txt"
: >"$work/attach.txt"
for _ in 1 2 3 4 5; do
  timed "$bin/draxel" "$part" -c "" >>"$work/open.txt"
  timed "$bin/draxel" "$work/host.dxf" -c "-XREF A $part 0,0 1 1 0" >>"$work/attach.txt"
done
median() { sort -n -k"$2" "$1" | sed -n 3p | awk -v k="$2" '{ print $k }'; }

awk -v n="$n" -v o="$(median "$work/open.txt" 1)" -v oc="$(median "$work/open.txt" 2)" \
    -v a="$(median "$work/attach.txt" 1)" -v ac="$(median "$work/attach.txt" 2)" 'BEGIN {
  printf "%-34s %10s %10s\n", "", "wall s", "cpu s"
  printf "%-34s %10.2f %10.2f\n", "draxel open " n, o, oc
  printf "%-34s %10.2f %10.2f\n", "draxel attach as xref " n, a, ac
  printf "attach / open:                      %.2fx (cpu %.2fx, at most 1.5x)\n", a / o, ac / oc
}'
