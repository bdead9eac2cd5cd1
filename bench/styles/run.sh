#!/usr/bin/env bash
# Dimension styles: DIMEX and DIMIM of N styles (ms per style), and the regeneration of
# M dimensions after DIMIM overwrites their style (us per dimension), each against the
# same drawing only opened and saved, so that the difference is the command's own time.
# Usage: bench/styles/run.sh [BINDIR]   (BINDIR defaults to build/bin)
set -euo pipefail
cd "$(dirname "$0")/../.."
bin=${1:-build/bin}
bin=$(cd "$bin" && pwd)
work=${TMPDIR:-/tmp}/styles-bench
mkdir -p "$work"
cd "$work"
now() { date +%s.%N; }
cpu() { /usr/bin/time -f "%U %S" "$@" 2>&1 >/dev/null | tail -1 | awk '{print $1 + $2}'; }
gen=$OLDPWD/bench/styles/gen_styles.py

styles=${STYLES:-1000}
[ -f "styles_$styles.dxf" ] || /usr/bin/python3 "$gen" "styles_$styles.dxf" --styles "$styles"
ezdxf_empty=empty.dxf
[ -f "$ezdxf_empty" ] || /usr/bin/python3 -c "import ezdxf; ezdxf.new('R2018').saveas('$ezdxf_empty')"
t0=$(now); "$bin/draxel" "styles_$styles.dxf" -o base.dxf >/dev/null
t1=$(now); "$bin/draxel" "styles_$styles.dxf" --load "$bin/express.drx" -c "CMDDIA 0" -c "FILEDIA 0" \
  -c "DIMEX * Y bench.dim" -o ex.dxf >/dev/null
t2=$(now); "$bin/draxel" "$ezdxf_empty" -o base2.dxf >/dev/null
t3=$(now); "$bin/draxel" "$ezdxf_empty" --load "$bin/express.drx" -c "CMDDIA 0" -c "FILEDIA 0" \
  -c "DIMIM bench.dim *" -o im.dxf >/dev/null
t4=$(now)
awk -v n="$styles" -v a="$t0" -v b="$t1" -v c="$t2" -v d="$t3" -v e="$t4" 'BEGIN {
  printf "%d styles: DIMEX %.3f ms per style, DIMIM %.3f ms per style\n", n,
         ((c - b) - (b - a)) * 1000 / n, ((e - d) - (d - c)) * 1000 / n }'

printf "%12s %12s %14s %14s %18s\n" dimensions "open+save s" "with DIMIM s" "regenerate s" "per dimension us"
printf 'DIMENSION_STYLE_NAME BENCH\r\nDIMTXT 3.500000\r\nEND_OF_STYLE BENCH\r\n\r\n' > bench_one.dim
for n in ${DIMENSIONS:-12500 25000 50000 100000}; do
  file="dims_$n.dxf"
  [ -f "$file" ] || /usr/bin/python3 "$gen" "$file" --dimensions "$n"
  t0=$(now); "$bin/draxel" "$file" -o base.dxf >/dev/null
  t1=$(now); "$bin/draxel" "$file" --load "$bin/express.drx" -c "CMDDIA 0" -c "FILEDIA 0" \
    -c "DIMIM bench_one.dim *" -o regen.dxf >/dev/null
  t2=$(now)
  awk -v n="$n" -v a="$t0" -v b="$t1" -v c="$t2" 'BEGIN {
    base = b - a; all = c - b; regen = all - base;
    printf "%12d %12.3f %14.3f %14.3f %18.2f\n", n, base, all, regen, regen * 1e6 / n }'
done
