#!/usr/bin/python3
"""Drawings for the style benchmarks: N dimension styles (each with its own text style
and arrow), or N rotated dimensions of one style. Usage:
  gen_styles.py OUT.dxf --styles N
  gen_styles.py OUT.dxf --dimensions N
"""
import argparse

import ezdxf

ap = argparse.ArgumentParser()
ap.add_argument("out")
ap.add_argument("--styles", type=int, default=0)
ap.add_argument("--dimensions", type=int, default=0)
a = ap.parse_args()
doc = ezdxf.new("R2018", setup=True)
for i in range(a.styles):
    doc.styles.add(f"TS{i}", font="DejaVuSans.ttf").dxf.width = 0.5 + (i % 10) / 10
    st = doc.dimstyles.new(f"STYLE-{i}")
    st.dxf.dimtxt = 1 + (i % 7) * 0.25
    st.dxf.dimdec = i % 5
    st.dxf.dimtxsty = f"TS{i}"
    st.set_arrows(blk=("DOT", "OPEN30", "ARCHTICK", "CLOSEDBLANK")[i % 4])
if a.dimensions:
    doc.dimstyles.new("BENCH").dxf.dimtxt = 2.5
    msp = doc.modelspace()
    for i in range(a.dimensions):
        x, y = (i % 100) * 50.0, (i // 100) * 20.0
        msp.add_linear_dim(base=(x, y + 8), p1=(x, y), p2=(x + 10 + i % 30, y), dimstyle="BENCH")
doc.saveas(a.out)
