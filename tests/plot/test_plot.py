#!/usr/bin/python3
"""draxel --plot and -PLOT on real drawings, checked by pixel probes at known places.

Drawings are written with ezdxf (an independent writer). Each plot uses --window and
--size so that a drawing point maps to a known pixel: SCALE pixels per drawing unit.

Environment: DRAXEL (the program), DX_SHARED_DATA (sample drawings; skipped when absent).
"""

import math
import os
import struct
import subprocess
import tempfile
import unittest
import xml.etree.ElementTree as ET

import ezdxf
from ezdxf.enums import TextEntityAlignment
from PIL import Image

DRAXEL = os.environ.get("DRAXEL", "draxel")
SHARED = os.environ.get("DX_SHARED_DATA", "")
SCALE = 20  # pixels per drawing unit with the window and size of plot()


def run(*args):
    return subprocess.run([DRAXEL, *args], capture_output=True, text=True, timeout=300,
                          stdin=subprocess.DEVNULL)


class Picture:
    """A plotted PNG and where a drawing point lands in it."""

    def __init__(self, path, window, black=False, scale=SCALE):
        self.scale = scale
        with Image.open(path) as img:
            self.img = img.convert("RGB")
        self.x1, self.y1 = window[0], window[1]
        self.height = self.img.size[1]
        self.bg = (0, 0, 0) if black else (255, 255, 255)

    def pixel(self, x, y):
        return (round((x - self.x1) * self.scale), round(self.height - (y - self.y1) * self.scale))

    def colours(self, x, y, r=2):
        px, py = self.pixel(x, y)
        return [self.img.getpixel((i, j))
                for i in range(max(px - r, 0), min(px + r + 1, self.img.size[0]))
                for j in range(max(py - r, 0), min(py + r + 1, self.height))]

    def ink(self, x, y, r=2):
        """Whether anything but the background lies within r pixels of a drawing point."""
        return any(sum(abs(a - b) for a, b in zip(c, self.bg)) > 90 for c in self.colours(x, y, r))

    def ink_box(self, x1, y1, x2, y2):
        """Drawing-unit bounding box of the ink inside an area, or None."""
        (px1, py2), (px2, py1) = self.pixel(x1, y1), self.pixel(x2, y2)
        xs, ys = [], []
        for i in range(px1, px2):
            for j in range(py1, py2):
                if sum(abs(a - b) for a, b in zip(self.img.getpixel((i, j)), self.bg)) > 90:
                    xs.append(i)
                    ys.append(j)
        if not xs:
            return None
        s = self.scale
        return (min(xs) / s + self.x1, (self.height - max(ys)) / s + self.y1,
                max(xs) / s + self.x1, (self.height - min(ys)) / s + self.y1)


class PlotCase(unittest.TestCase):
    def setUp(self):
        self.tmpdir = tempfile.TemporaryDirectory()
        self.tmp = self.tmpdir.name

    def tearDown(self):
        self.tmpdir.cleanup()

    def path(self, name):
        return os.path.join(self.tmp, name)

    def plot(self, drawing, window=(0, 0, 40, 30), *extra, name="out.png"):
        out = self.path(name)
        w = round((window[2] - window[0]) * SCALE)
        h = round((window[3] - window[1]) * SCALE)
        r = run(drawing, "--plot", out, "--size", f"{w}x{h}",
                "--window=" + ",".join(str(v) for v in window), *extra)
        self.assertEqual(r.returncode, 0, r.stderr)
        return Picture(out, window, black="black" in extra)

    def save(self, doc, name="in.dxf"):
        p = self.path(name)
        doc.saveas(p)
        return p


class Geometry(PlotCase):
    def test_dashes_follow_the_linetype_pattern(self):
        doc = ezdxf.new("R2018")
        # 10 on, 5 off, repeated from the start of the line.
        doc.linetypes.add("DASH10", pattern=[15, 10, -5], description="dash 10 gap 5")
        doc.modelspace().add_line((0, 10), (38, 10), dxfattribs={"linetype": "DASH10"})
        pic = self.plot(self.save(doc))
        for x in (5, 20, 35):
            self.assertTrue(pic.ink(x, 10), f"dash expected at x={x}")
        for x in (12.5, 27.5):
            self.assertFalse(pic.ink(x, 10, r=8), f"gap expected at x={x}")

    def test_linetype_writes_its_text_in_its_gaps(self):
        doc = ezdxf.new("R2018")
        doc.linetypes.add("GASLINE", pattern='A,.5,-.2,["GAS",STANDARD,S=.1,U=0.0,X=-0.1,Y=-.05],-.25',
                          description="Gas ---- GAS ----", length=0.95)
        # Ten times: a dash 0..5, the text from 6 on, standing on the line, 1 high.
        doc.modelspace().add_line((0, 10), (38, 10), dxfattribs={"linetype": "GASLINE", "ltscale": 10})
        pic = self.plot(self.save(doc))
        self.assertTrue(pic.ink(2.5, 10))
        for start in (0, 9.5):
            box = pic.ink_box(start + 5.2, 8.5, start + 9.4, 12)
            self.assertIsNotNone(box, start)
            self.assertGreater(box[3] - box[1], 0.6)  # letters, not a line
            self.assertGreater(box[0], start + 5.8)

    def test_linetype_draws_its_shapes_from_their_file(self):
        # BAR: a stroke 20 units up through the origin; RING: a circle of radius 5 around it.
        shapes = [(1, b"BAR\x00" + bytes([2, 8, 0, 0xF6, 1, 8, 0, 20, 0])),
                  (2, b"RING\x00" + bytes([2, 8, 5, 0, 1, 10, 5, 0x00, 0]))]
        shx = b"AutoCAD-86 shapes 1.0\r\n\x1a" + struct.pack("<HHH", 1, 2, len(shapes))
        shx += b"".join(struct.pack("<HH", n, len(d)) for n, d in shapes) + b"".join(d for _, d in shapes)
        with open(self.path("bars.shx"), "wb") as f:
            f.write(shx)
        with open(self.path("bars.lin"), "w") as f:
            f.write("*BARS,bars\nA,4,[BAR,bars.shx,S=.1],-4,[RING,bars.shx,S=.1],-4\n")
        with open(self.path("draw.scr"), "w") as f:
            f.write('-LINETYPE L BARS bars.lin ""\nCELTYPE BARS\nLINE 0,10 38,10 ""\n')
        src = self.save(ezdxf.new("R2018"))
        out = self.path("out.png")
        r = subprocess.run([DRAXEL, src, "-s", "draw.scr", "--plot", out, "--size", "800x600",
                            "--window=0,0,40,30"], capture_output=True, text=True, timeout=300,
                           cwd=self.tmp, stdin=subprocess.DEVNULL)
        self.assertEqual(r.returncode, 0, r.stderr)
        pic = Picture(out, (0, 0, 40, 30))
        # Every 12 units: a dash 0..4, a bar 2 high standing across the line at its end,
        # a ring of radius 0.5 at 8 with the line's gap through it.
        for start in (0, 12, 24):
            self.assertTrue(pic.ink(start + 2, 10), start)
            self.assertTrue(pic.ink(start + 4, 10.8, r=1), f"bar expected at x={start + 4}")
            self.assertFalse(pic.ink(start + 6, 10.8, r=3), start)
            for dx, dy in ((0, 0.5), (0, -0.5), (0.5, 0), (-0.5, 0)):
                self.assertTrue(pic.ink(start + 8 + dx, 10 + dy, r=1), f"ring expected around x={start + 8}")
            self.assertFalse(pic.ink(start + 8, 10, r=3), "the ring is hollow and the line has a gap there")

    def test_points_show_as_the_drawing_says(self):
        doc = ezdxf.new("R2018")
        doc.header["$PDMODE"] = 3  # a cross
        doc.header["$PDSIZE"] = 2
        doc.modelspace().add_point((10, 10))
        pic = self.plot(self.save(doc))
        self.assertTrue(pic.ink(10.7, 10.7) and pic.ink(9.3, 10.7))
        self.assertFalse(pic.ink(10.9, 10, r=1))
        doc.header["$PDMODE"] = 1  # nothing
        self.assertFalse(self.plot(self.save(doc)).ink(10, 10))

    def test_polyline_widths_and_bulges(self):
        doc = ezdxf.new("R2018")
        msp = doc.modelspace()
        # Light: 2 wide, then a half circle (bulge 1) from (20, 5) to (20, 15) bulging right.
        msp.add_lwpolyline([(2, 5, 2, 2, 0), (20, 5, 0, 0, 1), (20, 15, 0, 0, 0)], format="xyseb")
        # Heavy: a wedge from 0 to 4 wide.
        msp.add_polyline2d([(2, 25), (20, 25)], dxfattribs={"default_start_width": 0, "default_end_width": 4})
        pic = self.plot(self.save(doc))
        self.assertTrue(pic.ink(10, 5.8, r=0) and pic.ink(10, 4.2, r=0))  # 2 wide
        self.assertTrue(pic.ink(25, 10, r=1))  # the arc's far side: centre (20, 10), radius 5
        self.assertFalse(pic.ink(15, 10, r=3))  # no arc to the left
        self.assertTrue(pic.ink(19, 26.8, r=0) and not pic.ink(3, 26.8, r=2))

    def test_hatch_island_stays_empty(self):
        doc = ezdxf.new("R2018")
        hatch = doc.modelspace().add_hatch(color=1)
        hatch.paths.add_polyline_path([(0, 0), (20, 0), (20, 20), (0, 20)], is_closed=True, flags=1)
        hatch.paths.add_polyline_path([(5, 5), (15, 5), (15, 15), (5, 15)], is_closed=True, flags=16)
        pic = self.plot(self.save(doc))
        self.assertTrue(pic.ink(2, 2) and pic.ink(18, 10))
        self.assertFalse(pic.ink(10, 10, r=20))
        self.assertFalse(pic.ink(25, 10, r=20))

    def test_hatch_edges_arcs_and_pattern_angle(self):
        doc = ezdxf.new("R2018")
        msp = doc.modelspace()
        hatch = msp.add_hatch(color=1)
        hatch.paths.add_polyline_path([(0, 0), (20, 0), (20, 20), (0, 20)], is_closed=True, flags=1)
        # An island of edges: the upper half of a circle about (10, 10), closed by its diameter.
        edges = hatch.paths.add_edge_path(flags=16)
        edges.add_arc((10, 10), 5, 0, 180, ccw=True)
        edges.add_line((5, 10), (15, 10))
        # Vertical pattern lines (90 degrees) three units apart from x = 25 (the offset is
        # given in drawing axes, as the file keeps it).
        lines = msp.add_hatch(color=5)
        lines.set_pattern_fill("USER", definition=[[90, (25, 0), (-3, 0), []]])
        lines.paths.add_polyline_path([(24, 0), (38, 0), (38, 20), (24, 20)], is_closed=True, flags=1)
        pic = self.plot(self.save(doc))
        self.assertFalse(pic.ink(10, 13, r=20))  # inside the half disc
        self.assertTrue(pic.ink(10, 7) and pic.ink(3, 14))
        self.assertTrue(pic.ink(28, 10, r=1) and pic.ink(31, 15, r=1))
        self.assertFalse(pic.ink(29.5, 10, r=10))

    def test_pattern_hatch_draws_lines_inside_only(self):
        doc = ezdxf.new("R2018")
        hatch = doc.modelspace().add_hatch(color=5)
        # Horizontal lines two units apart.
        hatch.set_pattern_fill("USER", definition=[[0, (0, 0), (0, 2), []]])
        hatch.paths.add_polyline_path([(0, 0), (20, 0), (20, 20), (0, 20)], is_closed=True, flags=1)
        # Lines far closer than the pixels: a tint over the area, and only there.
        dense = doc.modelspace().add_hatch(color=5)
        dense.set_pattern_fill("USER", definition=[[45, (0, 0), (0, 0.001), []]])
        dense.paths.add_polyline_path([(25, 0), (35, 0), (35, 10), (25, 10)], is_closed=True, flags=1)
        pic = self.plot(self.save(doc))
        self.assertTrue(pic.ink(10, 10, r=1) and pic.ink(10, 12, r=1))
        self.assertFalse(pic.ink(10, 11, r=5))  # between two lines
        self.assertFalse(pic.ink(22.5, 10, r=10))  # beyond the boundaries
        self.assertTrue(pic.ink(30, 5, r=0))
        self.assertFalse(pic.ink(30, 15, r=10))

    def test_layers_off_and_frozen_leave_no_ink(self):
        doc = ezdxf.new("R2018")
        doc.layers.add("HIDDEN").off()
        doc.layers.add("ICE").freeze()
        msp = doc.modelspace()
        msp.add_line((0, 5), (40, 5), dxfattribs={"layer": "HIDDEN"})
        msp.add_line((0, 10), (40, 10), dxfattribs={"layer": "ICE"})
        msp.add_line((0, 15), (40, 15))
        blk = doc.blocks.new("B")
        blk.add_line((0, 0), (10, 0))
        msp.add_blockref("B", (5, 20), dxfattribs={"layer": "ICE"})
        pic = self.plot(self.save(doc))
        self.assertTrue(pic.ink(20, 15))
        self.assertFalse(pic.ink(20, 5, r=10))
        self.assertFalse(pic.ink(20, 10, r=10))
        self.assertFalse(pic.ink(10, 20, r=10))

    def test_colours_byblock_true_colour_and_lineweight(self):
        doc = ezdxf.new("R2018")
        msp = doc.modelspace()
        blk = doc.blocks.new("B")
        blk.add_line((0, 0), (10, 0), dxfattribs={"color": 0})  # BYBLOCK
        msp.add_blockref("B", (5, 5), dxfattribs={"color": 1})
        green = msp.add_line((5, 10), (15, 10))
        green.rgb = (0, 200, 0)
        msp.add_line((5, 20), (15, 20), dxfattribs={"lineweight": 200})  # 2 mm
        msp.add_line((20, 20), (30, 20), dxfattribs={"lineweight": 0})
        pic = self.plot(self.save(doc))
        self.assertTrue(any(r > 200 and g < 60 and b < 60 for r, g, b in pic.colours(10, 5)))
        self.assertTrue(any(g > 150 and r < 60 for r, g, b in pic.colours(10, 10)))
        # 2 mm at 96 dots an inch is some 7 pixels wide; the hairline is one.
        dy = 3 / pic.scale
        self.assertTrue(pic.ink(10, 20 + dy, r=0) and pic.ink(10, 20 - dy, r=0))
        self.assertFalse(pic.ink(25, 20 + dy, r=0))

    def test_black_background_draws_colour_seven_white(self):
        doc = ezdxf.new("R2018")
        doc.modelspace().add_line((0, 10), (40, 10))
        pic = self.plot(self.save(doc), (0, 0, 40, 30), "--background", "black")
        self.assertEqual(pic.img.getpixel((5, 5)), (0, 0, 0))
        self.assertTrue(any(min(c) > 200 for c in pic.colours(20, 10)))

    def test_nested_arrayed_references_with_attributes(self):
        doc = ezdxf.new("R2018")
        inner = doc.blocks.new("DOT")
        inner.add_circle((0, 0), 0.5)
        outer = doc.blocks.new("PAIR")
        outer.add_blockref("DOT", (0, 0))
        outer.add_blockref("DOT", (2, 0))
        msp = doc.modelspace()
        # Three columns 10 apart, two rows 8 apart, the whole turned by 90 degrees.
        ref = msp.add_blockref("PAIR", (30, 2), dxfattribs={"rotation": 90})
        ref.dxf.column_count, ref.dxf.row_count = 3, 2
        ref.dxf.column_spacing, ref.dxf.row_spacing = 10, 8
        pic = self.plot(self.save(doc))
        # Block x runs up the sheet; rows step to the left.
        for col in range(3):
            for row in range(2):
                for dot in (0, 2):
                    x, y = 30 - row * 8, 2 + col * 10 + dot
                    self.assertTrue(pic.ink(x + 0.5, y, r=1), (col, row, dot))
        self.assertFalse(pic.ink(14, 12, r=10))


    def test_external_reference_draws_its_file_in_place(self):
        part = ezdxf.new("R2018")
        part.modelspace().add_line((0, 0), (5, 0))
        part.modelspace().add_circle((5, 5), 1)
        self.save(part, "part.dxf")
        doc = ezdxf.new("R2018")
        doc.add_xref_def("part.dxf", "part")
        doc.add_xref_def("gone.dxf", "gone")
        doc.modelspace().add_blockref("part", (10, 10), dxfattribs={"xscale": 2, "yscale": 2})
        doc.modelspace().add_blockref("gone", (30, 20))
        pic = self.plot(self.save(doc))
        # The line runs from 10,10 to 20,10; the circle's centre is 20,20, radius 2.
        for x in (11, 15, 19):
            self.assertTrue(pic.ink(x, 10, r=1), x)
        self.assertTrue(pic.ink(22, 20, r=1))
        self.assertFalse(pic.ink(20, 20, r=10))
        self.assertFalse(pic.ink(5, 10, r=20))


class Text(PlotCase):
    def test_japanese_text_has_ink_where_its_glyphs_stand(self):
        doc = ezdxf.new("R2018")
        doc.modelspace().add_text("田中", dxfattribs={"height": 5, "insert": (5, 10)})
        pic = self.plot(self.save(doc))
        box = pic.ink_box(4, 8, 25, 20)
        self.assertIsNotNone(box)
        # Two full-width glyphs, each about as wide as the text is high; a replacement
        # question mark would be half as wide.
        self.assertGreater(box[2] - box[0], 8.5)
        self.assertGreater(box[3] - box[1], 4)
        # The cross at the middle of the first glyph.
        self.assertTrue(pic.ink(5 + (box[2] - box[0]) / 4, (box[1] + box[3]) / 2, r=2))

    def test_alignment_rotation_and_width_factor(self):
        doc = ezdxf.new("R2018")
        msp = doc.modelspace()
        # Right-aligned: the text ends at its alignment point.
        msp.add_text("HHHH", dxfattribs={"height": 2}).set_placement((30, 20), align=TextEntityAlignment.RIGHT)
        # Turned by 90 degrees: it rises from its insertion point.
        msp.add_text("HHHH", dxfattribs={"height": 2, "rotation": 90, "insert": (35, 2)})
        # Width factor 2 doubles the length.
        msp.add_text("HH", dxfattribs={"height": 2, "width": 2, "insert": (2, 2)})
        msp.add_text("HH", dxfattribs={"height": 2, "insert": (2, 6)})
        pic = self.plot(self.save(doc))
        right = pic.ink_box(15, 19, 39, 23)
        self.assertAlmostEqual(right[2], 30, delta=0.4)
        self.assertLess(right[0], 25)
        up = pic.ink_box(32, 1, 36.5, 15)
        self.assertGreater(up[3] - up[1], 5)
        self.assertLess(up[2] - up[0], 2.5)
        wide, narrow = pic.ink_box(1, 1.5, 15, 4.5), pic.ink_box(1, 5.5, 15, 8.5)
        self.assertAlmostEqual((wide[2] - wide[0]) / (narrow[2] - narrow[0]), 2, delta=0.25)

    def test_multiline_text_paragraphs_and_wrapping(self):
        doc = ezdxf.new("R2018")
        msp = doc.modelspace()
        msp.add_mtext("AAAA\\PBBBB", dxfattribs={"char_height": 1, "insert": (2, 28)})
        # A box 6 units wide makes three lines of three words.
        msp.add_mtext("HHH HHH HHH", dxfattribs={"char_height": 1, "insert": (20, 28), "width": 6})
        msp.add_mtext("{\\C1;RED}", dxfattribs={"char_height": 2, "insert": (2, 10)})
        msp.add_mtext("\\S1/2;", dxfattribs={"char_height": 2, "insert": (25, 6)})  # baseline at 4
        pic = self.plot(self.save(doc))
        two = pic.ink_box(1, 20, 15, 29)
        self.assertAlmostEqual(two[3] - two[1], 1 + 5 / 3, delta=0.3)
        wrapped = pic.ink_box(19, 15, 39, 29)
        self.assertLess(wrapped[2] - wrapped[0], 6)
        self.assertAlmostEqual(wrapped[3] - wrapped[1], 1 + 2 * 5 / 3, delta=0.3)
        # A stacked fraction stands above and below the baseline, past the capitals' height.
        frac = pic.ink_box(24, 1, 39, 9)
        self.assertLess(frac[1], 4 - 0.6, frac)
        self.assertGreater(frac[3], 4 + 2.2)
        red = pic.ink_box(1, 7, 15, 10.5)
        self.assertIsNotNone(red)
        self.assertTrue(any(r > 200 and g < 80 for r, g, b in pic.colours(2.2, 9, r=6)))

    def test_multiline_text_flows_into_its_columns(self):
        doc = ezdxf.new("R2018")
        msp = doc.modelspace()
        words = " ".join(["HHH"] * 5)
        # Columns 5 wide with a gutter of 1, 5 high: three lines fill the first, the other
        # two run on into the second, from the same top line.
        dyn = msp.add_mtext_dynamic_auto_height_columns(words, width=5, gutter_width=1, height=5, count=3)
        dyn.dxf.insert, dyn.dxf.char_height = (2, 28), 1
        # Static columns break where the text says (\N), whatever room is left.
        static = msp.add_mtext_static_columns(["HHH", "HHH"], width=5, gutter_width=1, height=10)
        static.dxf.insert, static.dxf.char_height = (22, 28), 1
        pic = self.plot(self.save(doc))
        first, second = pic.ink_box(1.5, 20, 7.2, 29), pic.ink_box(7.8, 20, 13.2, 29)
        self.assertIsNotNone(second, "nothing in the second column")
        self.assertGreater(first[1], 28 - 5.5, "the first column ends at its height")
        self.assertAlmostEqual(second[3], first[3], delta=0.1)
        self.assertGreater(second[0], 7.9)
        self.assertIsNone(pic.ink_box(1.5, 10, 20, 21), "the text does not run on below the columns")
        self.assertIsNone(pic.ink_box(13.5, 20, 20, 29), "two columns are enough")
        self.assertIsNotNone(pic.ink_box(27.8, 26, 33.2, 29), "a column break starts the second column")
        self.assertIsNone(pic.ink_box(21.5, 20, 27.5, 26.5))


class Covering(PlotCase):
    def wipeout_drawing(self):
        doc = ezdxf.new("R2018")
        msp = doc.modelspace()
        msp.add_line((0, 5), (30, 5))
        moved_up = msp.add_line((0, 3), (30, 3))
        msp.add_wipeout([(10, 0), (20, 0), (20, 10), (10, 10)])
        msp.add_line((0, 7), (30, 7))
        # Draw order: the second line goes after everything else.
        msp.set_redraw_order({moved_up.dxf.handle: "FFFF"})
        return self.save(doc)

    def test_wipeout_hides_only_what_lies_under_it_in_draw_order(self):
        pic = self.plot(self.wipeout_drawing())
        self.assertTrue(pic.ink(5, 5))
        self.assertFalse(pic.ink(15, 5, r=10))  # drawn before: hidden
        self.assertTrue(pic.ink(15, 7))  # drawn after: shown
        self.assertTrue(pic.ink(15, 3))  # sorted after: shown

    def test_image_shows_its_picture_inside_its_clip(self):
        # Left half red, right half blue with a green top, 40 by 20 pixels, beside the drawing.
        pic = Image.new("RGB", (40, 20), (0, 0, 255))
        pic.paste((255, 0, 0), (0, 0, 20, 20))
        pic.paste((0, 255, 0), (20, 0, 40, 10))
        pic.save(self.path("pic.bmp"))
        doc = ezdxf.new("R2018")
        msp = doc.modelspace()
        idef = doc.add_image_def(filename="pic.bmp", size_in_pixel=(40, 20))
        msp.add_image(idef, insert=(5, 5), size_in_units=(20, 10))
        clipped = msp.add_image(idef, insert=(5, 18), size_in_units=(20, 10))
        clipped.set_boundary_path([(0, 0), (10, 20)])  # pixels: the left quarter
        out = self.plot(self.save(doc))
        red = lambda c: c[0] > 200 and c[1] < 60 and c[2] < 60
        blue = lambda c: c[2] > 200 and c[0] < 60 and c[1] < 60
        self.assertTrue(all(red(c) for c in out.colours(10, 10)))
        self.assertTrue(all(blue(c) for c in out.colours(20, 7)))
        self.assertTrue(all(c[1] > 200 and c[0] < 60 for c in out.colours(20, 13)))
        self.assertTrue(all(red(c) for c in out.colours(7, 23)))
        self.assertFalse(any(red(c) or blue(c) for c in out.colours(15, 23, r=6)))

    def sample(self, name):
        p = os.path.join(SHARED, "dxf", name)
        if not os.path.isfile(p):
            self.skipTest(f"sample drawing {p} not at hand")
        return p

    def test_clipped_references(self):
        pic = self.plot(self.sample("xclip.dxf"), (0, -5, 50, 32))
        # A reference at (5, 5) clipped to the band 7.08 < x < 10.13: its horizontal
        # line (y = 8.5) shows inside the band only.
        self.assertTrue(pic.ink(8.5, 8.5))
        self.assertFalse(pic.ink(6, 8.5, r=4))
        self.assertFalse(pic.ink(11.5, 8.5, r=4))
        # An inverted clip: its line (y = 10) is hidden inside 27.57..31.01 x 8.84..11.39
        # and shows outside it.
        self.assertFalse(pic.ink(29.3, 10.0, r=6))
        self.assertTrue(pic.ink(26.3, 10.0))
        self.assertTrue(pic.ink(32.2, 10.0))

    def test_clips_made_by_xclip(self):
        doc = ezdxf.new("R2018")
        doc.blocks.new("BAR").add_line((-20, 0), (20, 0))
        doc.modelspace().add_blockref("BAR", (20, 15), dxfattribs={"rotation": 10})
        p = self.save(doc)
        for invert, name in (("", "inside.png"), ("I ", "inverted.png")):
            scr = self.path("clip.scr")
            with open(scr, "w") as f:
                f.write(f'XCLIP 20,15 "" N {invert}R 15,5 25,25\n')
            pic = self.plot(p, (0, 0, 40, 30), "-s", scr, name=name)
            # The turned line at x = 20, 9 and 31 (y from its 10 degree slope).
            inside, left, right = [pic.ink(x, 15 + (x - 20) * math.tan(math.radians(10)), r=3)
                                   for x in (20, 9, 31)]
            self.assertEqual((inside, left, right), (not invert, bool(invert), bool(invert)), name)

    def test_clipped_external_reference(self):
        part = ezdxf.new("R2018")
        part.modelspace().add_line((0, 0), (4, 3))
        part.saveas(self.path("part.dxf"))
        scr = self.path("clip.scr")
        with open(scr, "w") as f:
            f.write(f'-XREF A {self.path("part.dxf")} 5,5 2 2 0\nXCLIP 9,8 "" N R 5,5 9,8\n')
        pic = self.plot(self.save(ezdxf.new("R2018")), (0, 0, 20, 15), "-s", scr)
        self.assertTrue(pic.ink(7, 6.5))  # the part's line, 5,5 to 13,11, inside the clip
        self.assertFalse(pic.ink(11, 9.5, r=3))


class Layouts(PlotCase):
    def test_paper_space_shows_model_through_its_viewport(self):
        doc = ezdxf.new("R2018")
        msp = doc.modelspace()
        msp.add_line((5, 10), (15, 10))
        msp.add_circle((40, 40), 1)
        doc.layers.add("NOT_HERE")
        msp.add_line((5, 8), (15, 8), dxfattribs={"layer": "NOT_HERE"})
        sheet = doc.layouts.new("Sheet")
        vp = sheet.add_viewport(center=(100, 100), size=(50, 50), view_center_point=(10, 10), view_height=20)
        vp.frozen_layers = ["NOT_HERE"]
        sheet.add_line((60, 60), (140, 60))
        p = self.save(doc)
        window = (60, 55, 150, 140)
        out = self.path("sheet.png")
        w, h = (window[2] - window[0]) * SCALE // 4, (window[3] - window[1]) * SCALE // 4
        r = run(p, "--plot", out, "--layout", "Sheet", "--size", f"{w}x{h}",
                "--window=" + ",".join(map(str, window)))
        self.assertEqual(r.returncode, 0, r.stderr)
        pic = Picture(out, window, scale=SCALE // 4)
        # Model (10, 10) stands at the viewport's centre, 2.5 times larger.
        self.assertTrue(pic.ink(100, 100) and pic.ink(110, 100))
        self.assertFalse(pic.ink(100, 110, r=4))
        self.assertFalse(pic.ink(100, 95, r=2))  # its layer is frozen in this viewport
        self.assertTrue(pic.ink(100, 60))  # paper space itself
        # The circle at model (40, 40) would stand at (175, 175), beyond the frame.
        self.assertFalse(pic.ink(130, 130, r=4))

    def test_plot_command_from_a_script(self):
        doc = ezdxf.new("R2018")
        doc.modelspace().add_line((0, 10), (40, 10))
        p = self.save(doc)
        out = self.path("cmd.png")
        r = run(p, "-c", f"-PLOT {out} \"\" 0,0 40,30")
        self.assertEqual(r.returncode, 0, r.stderr)
        # The default size, 1600x1200, frames the window at 40 pixels a unit.
        pic = Picture(out, (0, 0, 40, 30), scale=40)
        self.assertTrue(pic.ink(20, 10))
        self.assertFalse(pic.ink(20, 20, r=10))
        r = run(p, "-c", "-PLOT nowhere/x.png Model E")
        self.assertIn("Cannot plot", r.stdout)


class FilesAndErrors(PlotCase):
    def test_every_sample_drawing_plots_to_png_svg_and_pdf(self):
        folder = os.path.join(SHARED, "dxf")
        if not os.path.isdir(folder):
            self.skipTest(f"sample drawings {folder} not at hand")
        for name in sorted(os.listdir(folder)):
            if not name.endswith(".dxf"):
                continue
            with self.subTest(name):
                base = self.path(name[:-4])
                r = run(os.path.join(folder, name), "--plot", base + ".png", "--plot", base + ".svg",
                        "--plot", base + ".pdf", "--size", "400x300")
                self.assertEqual(r.returncode, 0, r.stderr)
                with Image.open(base + ".png") as img:
                    self.assertEqual(img.size, (400, 300))
                root = ET.parse(base + ".svg").getroot()
                self.assertTrue(root.tag.endswith("svg"))
                back = subprocess.run(["pdftoppm", "-png", "-r", "20", "-singlefile", base + ".pdf", base + "-pdf"],
                                      capture_output=True, text=True, timeout=120)
                self.assertEqual(back.returncode, 0, back.stderr)
                self.assertTrue(os.path.isfile(base + "-pdf.png"))

    def test_pdf_and_svg_carry_the_drawing(self):
        doc = ezdxf.new("R2018")
        doc.modelspace().add_line((0, 10), (40, 10), dxfattribs={"color": 1})
        p = self.save(doc)
        r = run(p, "--plot", self.path("a.pdf"), "--plot", self.path("a.svg"), "--size", "400x300",
                "--window=0,0,40,30")
        self.assertEqual(r.returncode, 0, r.stderr)
        subprocess.run(["pdftoppm", "-png", "-r", "72", "-singlefile", self.path("a.pdf"), self.path("pdf")],
                       check=True, timeout=120)
        with Image.open(self.path("pdf.png")) as page:
            img = page.convert("RGB")
        self.assertEqual(img.size, (400, 300))
        # The red line at y = 10 of 30: two thirds down the page.
        self.assertTrue(any(img.getpixel((200, y))[1] < 100 for y in range(195, 206)))
        self.assertFalse(any(img.getpixel((200, y))[1] < 200 for y in range(100, 150)))
        svg = ET.parse(self.path("a.svg")).getroot()
        self.assertTrue(any("path" in el.tag for el in svg.iter()))

    def test_bad_requests_give_a_message_and_leave_files_alone(self):
        doc = ezdxf.new("R2018")
        doc.modelspace().add_line((0, 0), (1, 1))
        p = self.save(doc)
        keep = self.path("keep.png")
        with open(keep, "wb") as f:
            f.write(b"old")
        cases = [
            (["--plot", self.path("x.bmp")], 1, ".png, .svg or .pdf"),
            (["--plot", keep, "--layout", "NoSuchSheet"], 1, "NoSuchSheet"),
            (["--plot", keep, "--size", "12by3"], 2, "WxH"),
            (["--plot", keep, "--window=1,1,1,5"], 2, "x1,y1,x2,y2"),
            (["--plot", os.path.join(self.tmp, "no", "dir", "x.png")], 1, "cannot write"),
        ]
        for args, code, text in cases:
            with self.subTest(args):
                r = run(p, *args)
                self.assertEqual(r.returncode, code, r.stderr)
                self.assertIn(text, r.stderr)
        with open(keep, "rb") as f:
            self.assertEqual(f.read(), b"old")
        self.assertEqual(sorted(os.listdir(self.tmp)), ["in.dxf", "keep.png"])


if __name__ == "__main__":
    unittest.main(verbosity=2)
