#!/usr/bin/python3
"""breakline as a user runs it: draxel with express.drx, the shipped break symbol drawing,
a private user profile, scripts answering every prompt; the drawing read back with ezdxf.

Environment: DRAXEL, DX_MODULE (express.drx).
"""

import math
import unittest

import ezdxf
from ezdxf.math import Vec3

from draxeltest import MODULE, DraxelTest


class BreakLine(DraxelTest):
    module = MODULE

    def setUp(self):
        super().setUp()
        self.drawing = self.path("in.dxf")
        ezdxf.new("R2018").saveas(self.drawing)

    def run_script(self, text):
        return super().run_script(self.drawing, text)

    def parts(self, doc):
        msp = doc.modelspace()
        lines = sorted(((Vec3(e.dxf.start), Vec3(e.dxf.end)) for e in msp.query("LINE")), key=lambda l: l[0].x)
        inserts = list(msp.query("INSERT"))
        return lines, inserts

    def definition_points(self, doc, insert):
        m = insert.matrix44()
        return sorted((m.transform(p.dxf.location) for p in doc.blocks.get(insert.dxf.name).query("POINT")),
                      key=lambda v: (v.x, v.y))

    def assertClose(self, a, b, places=6):
        self.assertTrue(Vec3(a).isclose(Vec3(b), abs_tol=10 ** -places), f"{a} != {b}")

    def test_defaults_extension_midpoint_and_gap_of_the_definition_points(self):
        doc = self.run_script('MEASUREMENT 1\nBREAKLINE 0,0 100,0 ""\n')
        self.assertIn("Block =  BRKSYM.DXF, Size = 1.0, Extension = 2.5", self.stdout)
        lines, inserts = self.parts(doc)
        self.assertEqual(len(lines), 2)
        self.assertEqual(len(inserts), 1)
        # Extended 2.5 past both picks, the gap exactly between the symbol's points,
        # centred on the midpoint.
        self.assertClose(lines[0][0], (-2.5, 0))
        self.assertClose(lines[1][1], (102.5, 0))
        d1, d2 = self.definition_points(doc, inserts[0])
        self.assertClose(lines[0][1], d1)
        self.assertClose(lines[1][0], d2)
        self.assertClose((d1 + d2) / 2, (50, 0))
        self.assertAlmostEqual(d1.distance(d2), 1.0)  # size 1 in a metric drawing

    def test_symbol_follows_a_turned_line_and_a_picked_location_on_it(self):
        doc = self.run_script("MEASUREMENT 1\nDIMSCALE 2\nBREAKLINE 0,0 30,40 11.2,16.6\n")
        lines, inserts = self.parts(doc)
        d1, d2 = self.definition_points(doc, inserts[0])
        u = Vec3(0.6, 0.8)
        # The pick, 1 off the line, lands on it at its nearest point, 20 along it.
        self.assertClose((d1 + d2) / 2, u * 20)
        self.assertAlmostEqual(d1.distance(d2), 2.0)  # DIMSCALE 2
        self.assertAlmostEqual(inserts[0].dxf.rotation, math.degrees(math.atan2(0.8, 0.6)))
        ends = sorted([lines[0][0], lines[0][1], lines[1][0], lines[1][1]], key=lambda v: v.x)
        self.assertClose(ends[0], u * -2.5)
        self.assertClose(ends[-1], u * 52.5)
        for p in (d1, d2):
            self.assertTrue(any(p.isclose(e, abs_tol=1e-6) for e in ends), p)

    def test_imperial_drawings_get_a_symbol_25_4_times_smaller_and_dimscale_0_counts_as_1(self):
        metric = self.run_script('MEASUREMENT 1\nDIMSCALE 0\nBREAKLINE 0,0 100,0 ""\n')
        imperial = self.run_script('MEASUREMENT 0\nDIMSCALE 0\nBREAKLINE 0,0 100,0 ""\n')
        m = self.parts(metric)[1][0].dxf.xscale
        i = self.parts(imperial)[1][0].dxf.xscale
        self.assertAlmostEqual(m, 1.0)
        self.assertAlmostEqual(m / i, 25.4)

    def test_profile_values_carry_their_tags_and_lose_leading_tag_letters(self):
        self.run_script("BREAKLINE S 3 E 4.5 X\n")
        with open(self.profile) as f:
            text = f.read()
        self.assertIn("DXET.BREAKLINE-BLKSIZE=REAL_3", text)
        self.assertIn("DXET.BREAKLINE-BLKEXE=REAL_4.5", text)
        with open(self.profile, "w") as f:
            f.write("[General]\nDXET.BREAKLINE-BLOCK=STR_STAIRS.DXF\nDXET.BREAKLINE-BLKSIZE=REAL_2\n"
                    "DXET.BREAKLINE-BLKEXE=\n")
        self.run_script("BREAKLINE X\n")
        self.assertIn("Block =  AIRS.DXF, Size = 2, Extension = 2.5", self.stdout)

    def test_block_keyword_takes_another_symbol_whose_points_lie_on_any_layer(self):
        sym = ezdxf.new("R2018")
        sym.modelspace().add_lwpolyline([(0, 0), (1, 2), (3, -2), (4, 0)])
        for x in (0, 4):
            sym.modelspace().add_point((x, 0), dxfattribs={"layer": "MARKS"})
        sym.saveas(self.path("zig.dxf"))
        doc = self.run_script('MEASUREMENT 1\nFILEDIA 0\nBREAKLINE B zig.dxf P E 1 0,0 100,0 ""\n')
        with open(self.profile) as f:
            self.assertIn("DXET.BREAKLINE-BLOCK=STR_zig.dxf", f.read())
        lines, inserts = self.parts(doc)
        self.assertEqual(inserts[0].dxf.name.upper(), "ZIG")
        self.assertAlmostEqual(inserts[0].dxf.xscale, 0.25)  # size 1 over a span of 4
        self.assertClose(lines[0][0], (-1, 0))
        self.assertAlmostEqual(lines[1][0].x - lines[0][1].x, 1.0)

    def test_a_missing_symbol_drawing_is_reported_and_asked_again(self):
        with open(self.profile, "w") as f:
            f.write("[General]\nDXET.BREAKLINE-BLOCK=STR_NOWHERE.DXF\n")
        doc = self.run_script("BREAKLINE 0,0 X\n")
        self.assertIn("geteName error!", self.stdout)
        self.assertEqual(len(doc.modelspace()), 0)

    def test_extremely_small_size_still_draws_and_says_so(self):
        doc = self.run_script('MEASUREMENT 1\nBREAKLINE S 0.00000000001 0,0 100,0 ""\n'
                              'BREAKLINE S 0 0,0 100,0 ""\n')
        self.assertEqual(self.stdout.count("Extremely small scale factor ignored."), 2)
        lines, inserts = self.parts(doc)
        self.assertEqual(len(lines), 4)
        self.assertEqual(len(inserts), 1)  # a zero scale inserts nothing
        self.assertAlmostEqual(inserts[0].dxf.xscale, 1e-11)

    def test_too_short_second_pick_is_asked_again(self):
        doc = self.run_script('MEASUREMENT 1\nBREAKLINE S 20 0,0 5,0 100,0 ""\n')
        self.assertIn("too close", self.stdout)
        lines, inserts = self.parts(doc)
        self.assertClose(lines[1][1], (102.5, 0))
        self.assertAlmostEqual(lines[1][0].x - lines[0][1].x, 20)

    def test_cancel_at_the_location_and_one_u_leave_nothing(self):
        doc = self.run_script("MEASUREMENT 1\nBREAKLINE 0,0 100,0 ^C\n")
        self.assertEqual(len(doc.modelspace()), 0)
        doc = self.run_script('MEASUREMENT 1\nLINE 0,10 10,10 ""\nBREAKLINE 0,0 100,0 ""\nU\n')
        self.assertEqual([e.dxftype() for e in doc.modelspace()], ["LINE"])
        self.assertClose(doc.modelspace()[0].dxf.end, (10, 10))


if __name__ == "__main__":
    unittest.main()
