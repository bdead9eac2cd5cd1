#!/usr/bin/python3
"""Write a big, valid DXF drawing for load/save benchmarks.

    gen_dxf.py OUT.dxf [--entities 1000000] [--version AC1027] [--seed 1] [--check]

ezdxf builds a small template (header, tables, blocks with attribute
definitions, objects); the model space entities are then written here as raw
DXF text, because building a million entities through ezdxf takes minutes.
--entities counts model space entities; each block reference brings its three
ATTRIBs and a SEQEND on top.  --check loads the result with ezdxf, audits it
and exits 1 unless it is clean.  Run with /usr/bin/python3 (it has ezdxf).
"""

import argparse
import io
import os
import random
import re
import sys
import time

import ezdxf

VERSIONS = ("AC1015", "AC1018", "AC1021", "AC1024", "AC1027", "AC1032")
LAYER_COUNT = 20
EXTENT = 10000.0  # drawing units square the entities are spread over

# (name, attribute tags); every definition holds a little geometry too
BLOCKS = (
    ("DOOR", ("ID", "TYPE", "FIRE_RATING")),
    ("WINDOW", ("ID", "WIDTH", "GLAZING")),
    ("ROOM_TAG", ("NUMBER", "NAME", "AREA")),
)
STYLES = (("Standard", "txt"), ("NOTES", "arial.ttf"), ("TITLES", "isocpeur.ttf"))

# share of each entity kind in the mix, in percent
MIX = (("LINE", 30), ("ARC", 10), ("CIRCLE", 10), ("LWPOLYLINE", 20), ("TEXT", 15), ("INSERT", 15))


def layer_names():
    return [f"A-{kind}-{i:02d}" for i, kind in
            zip(range(LAYER_COUNT), ["WALL", "DOOR", "GLAZ", "FURN", "ANNO"] * 4)]


def build_template(version):
    doc = ezdxf.new(version)
    colours = [1, 2, 3, 4, 5, 6, 7, 8, 30, 140]
    for i, name in enumerate(layer_names()):
        doc.layers.add(name, color=colours[i % len(colours)],
                       linetype="DASHED" if i % 5 == 4 else "Continuous")
    for name, font in STYLES:
        if name not in doc.styles:
            doc.styles.add(name, font=font)
    for name, tags in BLOCKS:
        blk = doc.blocks.new(name, base_point=(0, 0))
        blk.add_lwpolyline([(0, 0), (1, 0), (1, 0.2), (0, 0.2)], close=True)
        blk.add_arc((0, 0), 1.0, 0, 90)
        for i, tag in enumerate(tags):
            blk.add_attdef(tag, (1.2, 0.3 * i), dxfattribs={"height": 0.2, "style": "NOTES"})
    doc.header["$EXTMIN"] = (0.0, 0.0, 0.0)
    doc.header["$EXTMAX"] = (EXTENT, EXTENT, 0.0)
    stream = io.StringIO()
    doc.write(stream)
    return stream.getvalue(), doc.modelspace().block_record_handle


class Writer:
    """Raw DXF text for model space entities, with fresh handles."""

    def __init__(self, first_handle, owner, version, rng):
        self.handle = first_handle
        self.owner = owner
        self.rng = rng
        self.layers = layer_names()
        self.styles = [name for name, _ in STYLES]
        self.with_attrib_version = version >= "AC1024"  # ATTRIB group 280 from R2010 on
        self.chunks = []

    def next_handle(self):
        h = self.handle
        self.handle += 1
        return "%X" % h

    def head(self, kind, owner=None, layer=None):
        # every 7th entity carries its own colour instead of BYLAYER
        rng = self.rng
        layer = layer or self.layers[int(rng.random() * LAYER_COUNT)]
        colour = "" if rng.random() > 0.14 else " 62\n%d\n" % (1 + int(rng.random() * 7))
        return "  0\n%s\n  5\n%s\n330\n%s\n100\nAcDbEntity\n  8\n%s\n%s" % (
            kind, self.next_handle(), owner or self.owner, layer, colour)

    def point(self):
        r = self.rng.random
        return r() * EXTENT, r() * EXTENT

    def line(self):
        x, y = self.point()
        r = self.rng.random
        return self.head("LINE") + "100\nAcDbLine\n 10\n%.6f\n 20\n%.6f\n 30\n0.0\n 11\n%.6f\n 21\n%.6f\n 31\n0.0\n" % (
            x, y, x + (r() - 0.5) * 50, y + (r() - 0.5) * 50)

    def circle(self):
        x, y = self.point()
        return self.head("CIRCLE") + "100\nAcDbCircle\n 10\n%.6f\n 20\n%.6f\n 30\n0.0\n 40\n%.6f\n" % (
            x, y, 0.1 + self.rng.random() * 20)

    def arc(self):
        x, y = self.point()
        r = self.rng.random
        start = r() * 360.0
        return self.head("ARC") + ("100\nAcDbCircle\n 10\n%.6f\n 20\n%.6f\n 30\n0.0\n 40\n%.6f\n"
                                   "100\nAcDbArc\n 50\n%.4f\n 51\n%.4f\n") % (
            x, y, 0.1 + r() * 20, start, (start + 10 + r() * 300) % 360.0)

    def lwpolyline(self):
        r = self.rng.random
        n = 4 + int(r() * 7)
        x, y = self.point()
        parts = [self.head("LWPOLYLINE"), "100\nAcDbPolyline\n 90\n%d\n 70\n%d\n 43\n0.0\n" % (n, int(r() < 0.5))]
        for _ in range(n):
            x += (r() - 0.5) * 20
            y += (r() - 0.5) * 20
            parts.append(" 10\n%.6f\n 20\n%.6f\n" % (x, y))
        return "".join(parts)

    def text(self):
        x, y = self.point()
        r = self.rng.random
        return self.head("TEXT") + ("100\nAcDbText\n 10\n%.6f\n 20\n%.6f\n 30\n0.0\n 40\n%.3f\n  1\n%s\n"
                                    " 50\n%.3f\n  7\n%s\n100\nAcDbText\n") % (
            x, y, 0.5 + r() * 5, "Note %d, level %d" % (self.handle, int(r() * 12)),
            r() * 90.0 if r() < 0.2 else 0.0, self.styles[int(r() * len(self.styles))])

    def insert(self):
        r = self.rng.random
        name, tags = BLOCKS[int(r() * len(BLOCKS))]
        x, y = self.point()
        angle = r() * 360.0 if r() < 0.3 else 0.0
        layer = self.layers[int(r() * LAYER_COUNT)]
        insert_handle = "%X" % self.handle
        parts = [self.head("INSERT", layer=layer),
                 "100\nAcDbBlockReference\n 66\n1\n  2\n%s\n 10\n%.6f\n 20\n%.6f\n 30\n0.0\n 50\n%.4f\n" % (
                     name, x, y, angle)]
        for i, tag in enumerate(tags):
            parts.append(self.head("ATTRIB", owner=insert_handle, layer=layer))
            parts.append("100\nAcDbText\n 10\n%.6f\n 20\n%.6f\n 30\n0.0\n 40\n0.2\n  1\n%s-%d\n  7\nNOTES\n"
                         "100\nAcDbAttribute\n%s  2\n%s\n 70\n0\n" % (
                             x + 1.2, y + 0.3 * i, tag, int(r() * 1000),
                             "280\n0\n" if self.with_attrib_version else "", tag))
        parts.append("  0\nSEQEND\n  5\n%s\n330\n%s\n100\nAcDbEntity\n  8\n%s\n" % (
            self.next_handle(), insert_handle, layer))
        return "".join(parts)


def kinds_sequence(count, rng):
    table = []
    for kind, share in MIX:
        table.extend([kind] * share)
    return [table[int(rng.random() * len(table))] for _ in range(count)]


def generate(path, count, version, seed):
    template, owner = build_template(version)
    seed_match = re.search(r"\n  9\n\$HANDSEED\n  5\n([0-9A-Fa-f]+)\n", template)
    if not seed_match:
        raise SystemExit("gen_dxf: template has no $HANDSEED")
    rng = random.Random(seed)
    kinds = kinds_sequence(count, rng)
    first = int(seed_match.group(1), 16)
    # an INSERT takes five handles: itself, three ATTRIBs, the SEQEND
    last = first + count + 4 * kinds.count("INSERT")
    template = template[:seed_match.start(1)] + "%X" % last + template[seed_match.end(1):]
    marker = "  0\nSECTION\n  2\nENTITIES\n"
    cut = template.index(marker) + len(marker)
    writer = Writer(first, owner, version, rng)
    make = {"LINE": writer.line, "ARC": writer.arc, "CIRCLE": writer.circle,
            "LWPOLYLINE": writer.lwpolyline, "TEXT": writer.text, "INSERT": writer.insert}
    encoding = "utf-8" if version >= "AC1021" else "cp1252"
    with open(path, "w", encoding=encoding, newline="\n") as out:
        out.write(template[:cut])
        batch = []
        for kind in kinds:
            batch.append(make[kind]())
            if len(batch) >= 20000:
                out.write("".join(batch))
                batch.clear()
        out.write("".join(batch))
        out.write(template[cut:])
    if writer.handle != last:
        raise SystemExit(f"gen_dxf: handle count went wrong ({writer.handle:X} != {last:X})")


def check_links(path, handseed):
    """Handles unique and below $HANDSEED; ATTRIB and SEQEND owned by their INSERT."""
    problems = []
    seen = set()
    limit = int(handseed, 16)
    with open(path, encoding="utf-8", errors="replace") as f:
        lines = iter(f.read().split("\n"))
    kind = insert = None
    for code in lines:
        value = next(lines, "")
        code = code.strip()
        if code == "0":
            kind = value
        elif code == "5" and kind not in ("SECTION", "ENDSEC"):
            h = int(value, 16)
            if h in seen:
                problems.append(f"handle {value} used twice")
            if h >= limit:
                problems.append(f"handle {value} not below $HANDSEED {handseed}")
            seen.add(h)
            if kind == "INSERT":
                insert = value
        elif code == "330" and kind in ("ATTRIB", "SEQEND") and insert is not None:
            if value != insert:
                problems.append(f"{kind} owned by {value}, not by INSERT {insert}")
        if len(problems) > 30:
            break
    return problems


def check(path, count):
    """Load with ezdxf and audit; 0 when clean and complete."""
    started = time.time()
    doc = ezdxf.readfile(path)
    loaded = time.time() - started
    msp = doc.modelspace()
    found = len(msp)
    auditor = doc.audit()
    problems = [f"error {int(e.code)}: {e.message}" for e in auditor.errors]
    problems += [f"fixed {int(e.code)}: {e.message}" for e in auditor.fixes]
    if found != count:
        problems.append(f"model space holds {found} entities, expected {count}")
    attribs = sum(len(e.attribs) for e in msp.query("INSERT"))
    # ezdxf re-parents ATTRIBs on loading, so links and handles are checked on the text
    problems += check_links(path, doc.header["$HANDSEED"])
    print(f"check: ezdxf loaded {found} entities ({attribs} attributes) in {loaded:.1f} s, "
          + ("audit clean" if not problems else f"{len(problems)} problem(s)"))
    for line in problems[:30]:
        print("  " + line)
    return 0 if not problems else 1


def main(argv=None):
    parser = argparse.ArgumentParser(description="Generate a big DXF drawing for benchmarks.")
    parser.add_argument("output")
    parser.add_argument("--entities", type=int, default=1000000)
    parser.add_argument("--version", default="AC1027", choices=VERSIONS)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--check", action="store_true", help="load with ezdxf and audit")
    args = parser.parse_args(argv)
    started = time.time()
    generate(args.output, args.entities, args.version, args.seed)
    print(f"{args.output}: {args.entities} entities, {args.version}, "
          f"{os.path.getsize(args.output)} bytes, {time.time() - started:.1f} s")
    if args.check:
        return check(args.output, args.entities)
    return 0


if __name__ == "__main__":
    sys.exit(main())
