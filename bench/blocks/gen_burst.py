#!/usr/bin/python3
"""Write a drawing for the BURST benchmark: N references of one block of 10 entities and
5 attribute definitions, each reference with its 5 attributes.

    gen_burst.py OUT.dxf --references 10000 [--check]

ezdxf makes the template (tables, the block, one reference); the references are then
written as raw DXF text, because ezdxf takes minutes for a hundred thousand of them.
--check reads the result back with ezdxf.  Run with /usr/bin/python3 (it has ezdxf).
"""

import argparse
import io
import re
import sys

import ezdxf

TAGS = ("NAME", "TYPE", "SIZE", "MAKER", "NOTE")


def template():
    doc = ezdxf.new("R2018", setup=True)
    doc.layers.add("REFS", color=5)
    doc.layers.add("PARTS", color=3)
    block = doc.blocks.new("BENCH")
    # Ten pieces: some inherit layer, colour or linetype, some keep their own.
    for i in range(4):
        block.add_line((0, i), (4, i), dxfattribs={"layer": "0", "color": 0 if i % 2 else 256,
                                                   "linetype": "BYBLOCK" if i == 3 else "BYLAYER"})
    for i in range(3):
        block.add_circle((6, i), 0.5, dxfattribs={"layer": "PARTS", "color": 0 if i == 0 else 3})
    for i in range(3):
        block.add_arc((8, i), 0.5, 0, 180, dxfattribs={"layer": "0"})
    for i, tag in enumerate(TAGS):
        block.add_attdef(tag, (0, -1 - i), dxfattribs={"height": 0.25, "layer": "0", "color": 0})
    msp = doc.modelspace()
    ref = msp.add_blockref("BENCH", (0, 0), dxfattribs={"layer": "REFS", "color": 2})
    ref.add_auto_attribs({tag: f"{tag.lower()} 0" for tag in TAGS})
    return doc


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument("out")
    ap.add_argument("--references", type=int, default=10000)
    ap.add_argument("--check", action="store_true")
    args = ap.parse_args()

    doc = template()
    msp_owner = doc.modelspace().block_record.dxf.handle
    buf = io.StringIO()
    doc.write(buf)
    text = buf.getvalue()
    # Drop the template's reference; write N of them in its place.
    start = text.index("\n  0\nINSERT\n")
    end = text.index("\n  0\nSEQEND\n", start)
    end = text.index("\n  0\n", end + 1)
    handle = 0x100000
    out = io.StringIO()
    for n in range(args.references):
        x, y = (n % 300) * 20.0, (n // 300) * 20.0
        ref = handle
        handle += 1
        out.write(f"\n  0\nINSERT\n  5\n{ref:X}\n330\n{msp_owner}\n100\nAcDbEntity\n  8\nREFS\n 62\n2\n"
                  f"100\nAcDbBlockReference\n 66\n1\n  2\nBENCH\n 10\n{x}\n 20\n{y}\n 30\n0.0")
        for i, tag in enumerate(TAGS):
            out.write(f"\n  0\nATTRIB\n  5\n{handle:X}\n330\n{ref:X}\n100\nAcDbEntity\n  8\n0\n 62\n0\n"
                      f"100\nAcDbText\n 10\n{x}\n 20\n{y - 1 - i}\n 30\n0.0\n 40\n0.25\n  1\n{tag.lower()} {n}\n"
                      f"100\nAcDbAttribute\n280\n0\n  2\n{tag}\n 70\n0")
            handle += 1
        out.write(f"\n  0\nSEQEND\n  5\n{handle:X}\n330\n{ref:X}\n100\nAcDbEntity\n  8\nREFS")
        handle += 1
    text = text[:start] + out.getvalue() + text[end:]
    text = re.sub(r"(\n  9\n\$HANDSEED\n  5\n)[0-9A-Fa-f]+", lambda m: m.group(1) + f"{handle:X}", text, count=1)
    with open(args.out, "w") as f:
        f.write(text)
    if args.check:
        check = ezdxf.readfile(args.out)
        refs = check.modelspace().query("INSERT")
        if len(refs) != args.references or any(len(r.attribs) != len(TAGS) for r in refs):
            sys.exit(f"{args.out}: {len(refs)} references, expected {args.references}")
    return 0


if __name__ == "__main__":
    sys.exit(main())
