#!/usr/bin/env bash
# Plot of a generated drawing (lines, arcs, circles, polylines, texts, references with
# attributes) to a 1600x1200 PNG: draxel against ezdxf's drawing add-on on the same file,
# and draxel on ten times the entities. Reports wall and processor seconds; the plot's
# own time is the run with --plot less the run that only opens the drawing. ezdxf, slow,
# runs once and niced: compare processor seconds on a shared machine.
# Usage: bench/plot/run.sh [BINDIR] [ENTITIES]   (defaults: build/bin, 200000)
set -euo pipefail
cd "$(dirname "$0")/../.."
bin=${1:-build/bin}
n=${2:-200000}
big=$((n * 10))
work=${TMPDIR:-/tmp}/plot-bench
mkdir -p "$work"
for k in "$n" "$big"; do
  [ -f "$work/mixed_$k.dxf" ] || /usr/bin/python3 bench/gen_dxf.py "$work/mixed_$k.dxf" --entities "$k" >/dev/null
done

# "wall cpu" seconds of a command
timed() { /usr/bin/time -f "%e %U %S" "$@" 2>&1 >/dev/null | tail -1 | awk '{ printf "%.2f %.2f\n", $1, $2 + $3 }'; }

read -r open_n open_n_cpu < <(timed "$bin/draxel" "$work/mixed_$n.dxf" -c "")
read -r plot_n plot_n_cpu < <(timed "$bin/draxel" "$work/mixed_$n.dxf" --plot "$work/plot_$n.png")
read -r open_b open_b_cpu < <(timed "$bin/draxel" "$work/mixed_$big.dxf" -c "")
read -r plot_b plot_b_cpu < <(timed "$bin/draxel" "$work/mixed_$big.dxf" --plot "$work/plot_$big.png")
read -r ez ez_cpu < <(timed nice -n 10 /usr/bin/python3 -m ezdxf draw -o "$work/ezdxf_$n.png" "$work/mixed_$n.dxf")

awk -v n="$n" -v big="$big" -v on="$open_n" -v pn="$plot_n" -v ob="$open_b" -v pb="$plot_b" \
    -v onc="$open_n_cpu" -v pnc="$plot_n_cpu" -v obc="$open_b_cpu" -v pbc="$plot_b_cpu" \
    -v ez="$ez" -v ezc="$ez_cpu" 'BEGIN {
  printf "%-34s %10s %10s\n", "", "wall s", "cpu s"
  printf "%-34s %10.2f %10.2f\n", "draxel open " n, on, onc
  printf "%-34s %10.2f %10.2f\n", "draxel open+plot " n, pn, pnc
  printf "%-34s %10.2f %10.2f\n", "  plot alone", pn - on, pnc - onc
  printf "%-34s %10.2f %10.2f\n", "draxel open " big, ob, obc
  printf "%-34s %10.2f %10.2f\n", "draxel open+plot " big, pb, pbc
  printf "%-34s %10.2f %10.2f\n", "  plot alone", pb - ob, pbc - obc
  printf "%-34s %10.2f %10.2f\n", "ezdxf draw " n, ez, ezc
  printf "ezdxf / draxel (open+plot, %d):      %.1fx (cpu %.1fx)\n", n, ez / pn, ezc / pnc
  printf "10x entities, plot time ratio:       %.1fx (cpu %.1fx)\n", (pb - ob) / (pn - on), (pbc - obc) / (pnc - onc)
}'
