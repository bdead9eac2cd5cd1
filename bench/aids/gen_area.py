#!/usr/bin/python3
"""Write a drawing for the superhatch benchmark: an N x N square of lines with ten circle
islands, and a 10 x 10 pixel image beside it for 1 x 1 tiles.

    gen_area.py OUT.dxf --size N     (N x N tiles; run with /usr/bin/python3, it has ezdxf)
"""

import argparse
import os

import ezdxf
from PIL import Image


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument("out")
    ap.add_argument("--size", type=int, default=100)
    a = ap.parse_args()
    n = a.size
    doc = ezdxf.new("R2018")
    msp = doc.modelspace()
    for p, q in [((0, 0), (n, 0)), ((n, 0), (n, n)), ((n, n), (0, n)), ((0, n), (0, 0))]:
        msp.add_line(p, q)
    # Ten islands in two rows, each a tenth of the side across.
    for k in range(10):
        msp.add_circle(((k % 5 + 0.5) * n / 5, (k // 5 + 0.5) * n / 2), n / 20)
    doc.saveas(a.out)
    Image.new("RGB", (10, 10), (150, 60, 30)).save(os.path.join(os.path.dirname(a.out) or ".", "tile.png"))


if __name__ == "__main__":
    main()
