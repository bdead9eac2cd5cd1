#!/usr/bin/env bash
# Dimension styles: DIMEX and DIMIM of N styles (ms per style), and the regeneration of
# M dimensions after DIMIM overwrites their style (us per dimension), each against the
# same drawing only opened and saved, so that the difference is the command's own time.
# Times are processor time (user + system) of draxel, steadier than the wall clock on a
# shared machine.
# Usage: bench/styles/run.sh [BINDIR]   (BINDIR defaults to build/bin); STYLES=N and
# DIMENSIONS="M1 M2 ..." change the sizes.
set -euo pipefail
cd "$(dirname "$0")/../.."
gen=$PWD/bench/styles/gen_styles.py
bin=$(cd "${1:-build/bin}" && pwd)
work=${TMPDIR:-/tmp}/styles-bench
mkdir -p "$work"
cd "$work"
# Processor seconds of one draxel run.
cpu() { /usr/bin/time -f "%U %S" "$bin/draxel" "$@" 2>&1 >/dev/null | tail -1 | awk '{print $1 + $2}'; }
run() { cpu "$1" --load "$bin/express.drx" -c "CMDDIA 0" -c "FILEDIA 0" -c "$2" -o out.dxf; }

styles=${STYLES:-1000}
[ -f "styles_$styles.dxf" ] || /usr/bin/python3 "$gen" "styles_$styles.dxf" --styles "$styles"
[ -f empty.dxf ] || /usr/bin/python3 -c "import ezdxf; ezdxf.new('R2018').saveas('empty.dxf')"
b1=$(cpu "styles_$styles.dxf" -o base.dxf)
ex=$(run "styles_$styles.dxf" "DIMEX * Y bench.dim")
b2=$(cpu empty.dxf -o base.dxf)
im=$(run empty.dxf "DIMIM bench.dim *")
awk -v n="$styles" -v b1="$b1" -v ex="$ex" -v b2="$b2" -v im="$im" 'BEGIN {
  printf "%d styles: DIMEX %.3f ms per style, DIMIM %.3f ms per style\n", n, (ex - b1) * 1000 / n, (im - b2) * 1000 / n }'

printf "%12s %12s %14s %14s %18s\n" dimensions "open+save s" "with DIMIM s" "regenerate s" "per dimension us"
printf 'DIMENSION_STYLE_NAME BENCH\r\nDIMTXT 3.500000\r\nEND_OF_STYLE BENCH\r\n\r\n' > bench_one.dim
for n in ${DIMENSIONS:-12500 25000 50000 100000}; do
  file="dims_$n.dxf"
  [ -f "$file" ] || /usr/bin/python3 "$gen" "$file" --dimensions "$n"
  base=$(cpu "$file" -o base.dxf)
  all=$(run "$file" "DIMIM bench_one.dim *")
  awk -v n="$n" -v base="$base" -v all="$all" 'BEGIN {
    printf "%12d %12.2f %14.2f %14.2f %18.2f\n", n, base, all, all - base, (all - base) * 1e6 / n }'
done
