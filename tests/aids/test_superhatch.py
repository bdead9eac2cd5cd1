#!/usr/bin/python3
"""-SUPERHATCH as a user runs it: draxel with express.drx on a 100 x 80 area of lines with
a circle and an arc-sided polyline as islands; tiles read back with ezdxf and checked for
covering the area exactly once.

Environment: DRAXEL, EXPRESS (express.drx), DX_TOOLS (tests/tools with dxfcompare.py).
"""

import math
import os
import subprocess
import sys
import tempfile
import unittest

import ezdxf
from ezdxf.math import Vec2
from ezdxf.math.clipping import is_point_in_polygon_2d
from PIL import Image

DRAXEL = os.environ.get("DRAXEL", "draxel")
EXPRESS = os.environ.get("EXPRESS", "express.drx")
TOOLS = os.environ.get("DX_TOOLS", os.path.join(os.path.dirname(__file__), "..", "tools"))


def shoelace(pts):
    return abs(sum(a.x * b.y - b.x * a.y for a, b in zip(pts, pts[1:] + pts[:1]))) / 2


def flattened_area(accuracy=64):
    """The area between outer and islands with each half circle sampled by the accuracy."""
    n = int(math.pi * accuracy / (2 * math.pi)) - 1  # chords per half circle
    half = 0.5 * n * math.sin(math.pi / n)           # of a unit half circle
    return 100 * 80 - 2 * half * 8 ** 2 - (20 * 20 + half * 10 ** 2)


def inside(p, poly):
    return is_point_in_polygon_2d(Vec2(p), poly, abs_tol=1e-9) >= 0


class Superhatch(unittest.TestCase):
    def setUp(self):
        self.tmpdir = tempfile.TemporaryDirectory()
        self.tmp = self.tmpdir.name
        doc = ezdxf.new("R2018")
        msp = doc.modelspace()
        for a, b in [((0, 0), (100, 0)), ((100, 0), (100, 80)), ((100, 80), (0, 80)), ((0, 80), (0, 0))]:
            msp.add_line(a, b)
        msp.add_circle((30, 40), 8)
        msp.add_lwpolyline([(60, 20, 0, 0, 0), (80, 20, 0, 0, 0), (80, 40, 0, 0, 1.0), (60, 40, 0, 0, 0)],
                           format="xyseb", close=True)
        tile = doc.blocks.new("TILE")
        tile.add_lwpolyline([(0, 0), (7, 0), (7, 5), (0, 5)], close=True)
        small = doc.blocks.new("SMALL")
        small.add_line((0, 0), (2, 2))
        self.base = self.path("base.dxf")
        doc.saveas(self.base)
        Image.new("RGB", (70, 50), (180, 90, 40)).save(self.path("brick.png"))

    def tearDown(self):
        self.tmpdir.cleanup()

    def path(self, name):
        return os.path.join(self.tmp, name)

    def run_script(self, text, out="out.dxf"):
        scr = self.path("run.scr")
        with open(scr, "w") as f:
            f.write(text)
        out = self.path(out)
        env = dict(os.environ, DRAXEL_APPDIR=self.path("app"))
        os.makedirs(env["DRAXEL_APPDIR"], exist_ok=True)
        r = subprocess.run([DRAXEL, self.base, "--load", EXPRESS, "-s", scr, "-o", out], capture_output=True,
                           text=True, timeout=300, env=env, cwd=self.tmp)
        self.assertEqual(r.returncode, 0, r.stdout + r.stderr)
        self.assertNotIn("left open", r.stdout)
        self.stdout = r.stdout
        return ezdxf.readfile(out)

    def group_members(self, doc):
        groups = [g for _, g in doc.groups if g.dxf.description == "SuperHatch"]
        self.assertEqual(len(groups), 1)
        self.assertEqual(groups[0].dxf.unnamed, 1)
        return list(groups[0])

    def assert_no_leftovers(self, doc):
        # Only the drawing's own polylines (the island) remain: no boundary or outline.
        self.assertEqual(len(doc.modelspace().query("LWPOLYLINE")), 1)

    def assert_covers_area_once(self, parts, accuracy=64):
        """parts: world polygons. Their areas add up to the area, and sample points of the
        area lie in exactly one part, points of the islands and outside in none."""
        self.assertAlmostEqual(sum(shoelace(p) for p in parts), flattened_area(accuracy), delta=1e-6)
        boxes = [(min(v.x for v in p), min(v.y for v in p), max(v.x for v in p), max(v.y for v in p)) for p in parts]
        circle = [Vec2(30 + 8 * math.cos(a / 32 * math.pi), 40 + 8 * math.sin(a / 32 * math.pi)) for a in range(64)]
        for i in range(-2, 103, 3):
            for j in range(-2, 83, 3):
                p = Vec2(i + 0.37, j + 0.61)
                hits = sum(1 for poly, (x0, y0, x1, y1) in zip(parts, boxes)
                           if x0 <= p.x <= x1 and y0 <= p.y <= y1 and inside(p, poly))
                in_island = p.distance(Vec2(30, 40)) < 7.9 or (60 < p.x < 80 and 20 < p.y < 40) or \
                    (p.y >= 40 and p.distance(Vec2(70, 40)) < 9.9)
                in_area = 0 < p.x < 100 and 0 < p.y < 80 and not in_island
                if in_area and p.distance(Vec2(30, 40)) > 8.1 and p.distance(Vec2(70, 40)) > 10.1:
                    self.assertEqual(hits, 1, p)
                elif not in_area:
                    self.assertEqual(hits, 0, p)

    def image_parts(self, images):
        parts = []
        for img in images:
            o, u, v = Vec2(img.dxf.insert), Vec2(img.dxf.u_pixel), Vec2(img.dxf.v_pixel)
            w, h = img.dxf.image_size.x, img.dxf.image_size.y
            clip = [Vec2(p) for p in img.boundary_path_wcs()]
            if clip[0].isclose(clip[-1]):
                clip.pop()
            # Each tile's clip boundary lies on the tile, so it is what shows of it.
            for p in clip:
                s, t = (p - o).dot(u) / u.dot(u), (p - o).dot(v) / v.dot(v)
                self.assertTrue(-1e-6 <= s <= w + 1e-6 and -1e-6 <= t <= h + 1e-6, p)
            parts.append(clip)
        return parts

    def test_wipeout_fills_the_area_without_a_grid(self):
        doc = self.run_script('-SUPERHATCH W 0,0 10,0 10,10 "" 50,50 ""\n')
        members = self.group_members(doc)
        wipeouts = list(doc.modelspace().query("WIPEOUT"))
        self.assertEqual({e.dxf.handle for e in wipeouts}, {e.dxf.handle for e in members})
        parts = [[Vec2(p) for p in w.boundary_path_wcs()][:-1] for w in wipeouts]
        self.assert_covers_area_once(parts)
        self.assert_no_leftovers(doc)

    def assert_clips_make_up_the_area(self, refs):
        """The distinct clip polygons of the references are pieces whose areas add up to the area."""
        pieces = set()
        for ref in refs:
            tags = ref.get_extension_dict()["ACAD_FILTER"]["SPATIAL"].xtags.get_subclass("AcDbSpatialFilter")
            pieces.add(tuple((round(t.value[0], 9), round(t.value[1], 9)) for t in tags if t.code == 10))
        self.assertAlmostEqual(sum(shoelace([Vec2(p) for p in piece]) for piece in pieces), flattened_area(),
                               delta=1e-6)

    def test_block_tiles_are_clipped_to_pieces_that_make_up_the_area(self):
        # The block comes in at 0,0, inside the area: it must not cut its own footprint out.
        doc = self.run_script('-SUPERHATCH B TILE 0,0 50,50 ""\n')
        self.assert_clips_make_up_the_area(self.group_members(doc))
        self.assert_no_leftovers(doc)

    def test_xref_tiles_are_clipped_like_block_tiles(self):
        tile = ezdxf.new("R2018")
        tile.modelspace().add_lwpolyline([(0, 0), (7, 0), (7, 5), (0, 5)], close=True)
        tile.saveas(self.path("xtile.dxf"))
        doc = self.run_script('-SUPERHATCH X xtile.dxf 0,0 50,50 ""\n')
        members = self.group_members(doc)
        self.assertEqual({m.dxf.name for m in members}, {"xtile"})
        self.assertTrue(doc.blocks.get("xtile").block.is_xref)
        self.assert_clips_make_up_the_area(members)
        self.assert_no_leftovers(doc)

    def test_rotated_image_tiles_cover_the_area_too(self):
        doc = self.run_script('-SUPERHATCH I brick.png 3,4 0 7 30 50,50 ""\n')
        self.assertIn("The value should be positive and nonzero.", self.stdout)  # and the scale asked again
        images = list(doc.modelspace().query("IMAGE"))
        self.assertTrue(all(abs(Vec2(i.dxf.u_pixel).angle_deg - 30) < 1e-9 for i in images))
        self.assert_covers_area_once(self.image_parts(images))

    def test_image_tiles_clipped_in_pixels(self):
        doc = self.run_script('-SUPERHATCH I brick.png 0,0 7 0 50,50 ""\n')
        members = self.group_members(doc)
        images = list(doc.modelspace().query("IMAGE"))
        self.assertEqual({e.dxf.handle for e in images}, {e.dxf.handle for e in members})
        for img in images:
            self.assertEqual(img.dxf.clipping, 1)
            self.assertEqual(img.dxf.flags & 7, 7)
        self.assert_covers_area_once(self.image_parts(images))
        self.assert_no_leftovers(doc)
        # The definition knows every tile through its reactors.
        idef = images[0].image_def
        self.assertEqual(len(doc.objects.query("IMAGEDEF_REACTOR")), len(images))
        self.assertTrue(all(i.image_def is idef for i in images))

    def test_accuracy_changes_the_flattening_and_stays_in_range(self):
        doc = self.run_script('-SUPERHATCH A 15 A 32 A 257 W 0,0 10,0 10,10 "" 50,50 ""\n')
        self.assertEqual(self.stdout.count("Please enter integer between 16 and 256."), 2)
        self.assertIn("Enter circle accuracy<32>:", self.stdout)
        parts = [[Vec2(p) for p in w.boundary_path_wcs()][:-1] for w in doc.modelspace().query("WIPEOUT")]
        self.assert_covers_area_once(parts, accuracy=32)

    def test_dialog_sets_accuracy_and_comes_back_after_a_failed_pattern(self):
        doc = self.run_script('superhatch\n1\n""\n6\n300\n32\n4\n0,0 10,0 10,10 ""\n50,50 ""\n')
        self.assertIn("File name cannot be empty!", self.stdout)
        # The dialog's own word on its accuracy field, not the form's.
        self.assertEqual(self.stdout.count("Please enter integer between 16 and 256."), 1)
        self.assertNotIn("The value must lie between", self.stdout)
        self.assertEqual(self.stdout.count("Circle accuracy: 32"), 1)  # the dialog shown again
        parts = [[Vec2(p) for p in w.boundary_path_wcs()][:-1] for w in doc.modelspace().query("WIPEOUT")]
        self.assert_covers_area_once(parts, accuracy=32)

    def test_selected_image_is_tiled_and_stays_where_it_was(self):
        doc = self.run_script('-IMAGE A brick.png 200,0 7 0\n-SUPERHATCH S 203,2 50,50 ""\n')
        members = self.group_members(doc)
        images = list(doc.modelspace().query("IMAGE"))
        original = [i for i in images if i.dxf.handle not in {m.dxf.handle for m in members}]
        self.assertEqual(len(original), 1)
        self.assertTrue(Vec2(original[0].dxf.insert).isclose(Vec2(200, 0)))
        self.assert_covers_area_once(self.image_parts([i for i in images if i not in original]))

    def test_large_job_question_reads_no_as_go_on(self):
        asked = "Are you sure you want to do this? [Yes/No] <Yes>:"
        for answer, tiled in (("Yes", False), ("No", True), ('""', True)):
            doc = self.run_script(f'-SUPERHATCH I brick.png 0,0 0.5 0 50,50 "" {answer}\n')
            self.assertIn("The hatch object is very small in relation to the boundary data.", self.stdout)
            self.assertIn(asked, self.stdout)
            self.assertEqual(len(doc.modelspace().query("IMAGE")) > 0, tiled, answer)
            self.assert_no_leftovers(doc)
        # Tiles of 7 x 5: no question.
        self.run_script('-SUPERHATCH I brick.png 0,0 7 0 50,50 ""\n')
        self.assertNotIn(asked, self.stdout)

    def test_bad_answers_end_with_messages(self):
        doc = self.run_script('-SUPERHATCH Q\n-SUPERHATCH I missing.png\n-SUPERHATCH I ""\n'
                              '-SUPERHATCH B NOSUCH\n')
        self.assertIn("Invalid option keyword.", self.stdout)
        self.assertIn("missing.png not found.", self.stdout)
        self.assertIn("File name cannot be empty!", self.stdout)
        self.assertIn("Block name does not exist.", self.stdout)
        self.assertEqual(len(doc.modelspace()), 6)

    def test_one_u_gives_back_the_drawing(self):
        self.run_script("", out="before.dxf")
        self.run_script('-SUPERHATCH I brick.png 0,0 7 0 50,50 ""\nU\n', out="undone.dxf")
        r = subprocess.run([sys.executable, os.path.join(TOOLS, "dxfcompare.py"), self.path("before.dxf"),
                            self.path("undone.dxf")], capture_output=True, text=True, timeout=120)
        self.assertEqual(r.returncode, 0, r.stdout + r.stderr)


if __name__ == "__main__":
    unittest.main()
