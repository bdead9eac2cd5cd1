#!/usr/bin/python3
"""XCLIP run by draxel scripts on real drawings; the clip read back with ezdxf."""

import math
import os
import sys
import unittest

import ezdxf
import ezdxf.bbox
from ezdxf.math import Matrix44, Vec3

sys.path.insert(0, os.path.dirname(__file__))
from test_editor import Drawing, run, same_drawing  # noqa: E402

SHARED = os.environ.get("DX_SHARED_DATA", "")


def spatial_filter(insert):
    """The SPATIAL_FILTER under ACAD_FILTER / SPATIAL of a reference, or None."""
    if not insert.has_extension_dict:
        return None
    filters = insert.get_extension_dict().dictionary.get("ACAD_FILTER")
    return filters.get("SPATIAL") if filters is not None else None


def filter_data(sf):
    """Boundary points, enabled flag and the inverse block matrix of a filter's tags."""
    tags = [(t.code, t.value) for t in sf.xtags.get_subclass("AcDbSpatialFilter")]
    points = [Vec3(v[0], v[1]) for c, v in tags if c == 10]
    count = next(v for c, v in tags if c == 70)
    enabled = next(v for c, v in tags if c == 71)
    reals = [v for c, v in tags if c == 40]
    rows = [reals[0:4], reals[4:8], reals[8:12]]
    inverse = Matrix44([rows[0][0], rows[1][0], rows[2][0], 0, rows[0][1], rows[1][1], rows[2][1], 0,
                        rows[0][2], rows[1][2], rows[2][2], 0, rows[0][3], rows[1][3], rows[2][3], 1])
    return count, points, enabled, inverse


class Xclip(Drawing):
    def setUp(self):
        super().setUp()
        doc = ezdxf.new("R2018")
        cross = doc.blocks.new("CROSS")
        cross.add_line((-10, 0), (10, 0))
        cross.add_line((0, -10), (0, 10))
        msp = doc.modelspace()
        # Scaled and turned, so that the stored inverse transform is not a plain shift.
        msp.add_blockref("CROSS", (20, 20), dxfattribs={"xscale": 2, "yscale": 2, "rotation": 30})
        msp.add_lwpolyline([(0, 0), (30, 0), (30, 30), (0, 30)], close=True)
        self.base = self.path("clip.dxf")
        doc.saveas(self.base)

    def clipped(self, text):
        r, out = self.script(text)
        self.assertEqual(r.returncode, 0, r.stdout + r.stderr)
        doc = ezdxf.readfile(out)
        (ref,) = doc.modelspace().query("INSERT")
        return doc, ref, spatial_filter(ref)

    def assert_block_polygon(self, ref, sf, world):
        """The stored points go through the inverse and the insert's own matrix back to
        where the boundary was drawn."""
        _, points, _, inverse = filter_data(sf)
        back = [ref.matrix44().transform(inverse.transform(p)) for p in points]
        self.assertEqual(len(back), len(world))
        for got, want in zip(back, world):
            self.assertAlmostEqual(got.x, want[0], places=9)
            self.assertAlmostEqual(got.y, want[1], places=9)

    def test_select_polyline_stores_polygon_in_extension_dictionary(self):
        doc, ref, sf = self.clipped('XCLIP 20,20 "" N S 5,0\n')
        self.assertIsNotNone(sf, "no ACAD_FILTER / SPATIAL in the reference's extension dictionary")
        self.assertEqual(sf.dxftype(), "SPATIAL_FILTER")
        count, points, enabled, _ = filter_data(sf)
        self.assertEqual((count, enabled), (4, 1))
        self.assert_block_polygon(ref, sf, [(0, 0), (30, 0), (30, 30), (0, 30)])
        self.assertEqual(len(doc.modelspace().query("LWPOLYLINE")), 1)

    def test_rectangle_then_new_boundary_replaces_it(self):
        _, ref, sf = self.clipped('XCLIP 20,20 "" N R 0,0 50,50\n')
        count, points, _, _ = filter_data(sf)
        self.assertEqual(count, 2)
        self.assertEqual([(p.x, p.y) for p in points], [(0, 0), (50, 50)])
        # A second clip asks to delete the old one; No keeps it, Yes replaces it.
        _, ref, sf = self.clipped('XCLIP 20,20 "" N R 0,0 50,50\nXCLIP 20,20 "" N N\n'
                                  'XCLIP 20,20 "" N Y P 0,0 40,0 20,30 ""\n')
        count, _, _, _ = filter_data(sf)
        self.assertEqual(count, 3)
        self.assert_block_polygon(ref, sf, [(0, 0), (40, 0), (20, 30)])

    def test_inverted_clip_keeps_its_boundary_in_a_round_trip_record(self):
        _, ref, sf = self.clipped('XCLIP 20,20 "" N I R 10,10 30,30\n')
        rec = sf.get_extension_dict().dictionary["ACAD_XREC_ROUNDTRIP"]
        tags = [(t.code, t.value) for t in rec.tags]
        at = tags.index((102, "ACAD_INVERTEDCLIP_ROUNDTRIP"))
        self.assertEqual([tuple(v)[:2] for _, v in tags[at + 1:at + 3]], [(10, 10), (30, 30)])
        # The filter itself is a frame round the whole reference with the square cut out.
        count, points, _, _ = filter_data(sf)
        self.assertGreater(count, 8)
        box = ezdxf.bbox.extents([ref])
        self.assertLess(min(p.x for p in points), box.extmin.x)
        self.assertGreater(max(p.y for p in points), box.extmax.y)
        for corner in [(10, 10), (30, 10), (30, 30), (10, 30)]:
            self.assertIn(corner, [(p.x, p.y) for p in points])

    def test_off_delete_and_generated_polyline(self):
        _, _, sf = self.clipped('XCLIP 20,20 "" N R 0,0 50,50\nXCLIP 20,20 "" OFF\n')
        self.assertEqual(filter_data(sf)[2], 0)
        _, ref, sf = self.clipped('XCLIP 20,20 "" N R 0,0 50,50\nXCLIP 20,20 "" D\n')
        self.assertIsNone(sf)
        doc, _, _ = self.clipped('XCLIP 20,20 "" N R 5,5 25,45\nXCLIP 20,20 "" P\n')
        made = [p for p in doc.modelspace().query("LWPOLYLINE") if len(p) == 4 and p[0][0] != 0]
        self.assertEqual(len(made), 1)
        self.assertTrue(made[0].closed)
        corners = sorted((round(x, 9), round(y, 9)) for x, y, *_ in made[0].get_points())
        self.assertEqual(corners, [(5, 5), (5, 45), (25, 5), (25, 45)])

    def test_bad_answers_change_nothing(self):
        r, out = self.script('XCLIP 20,20 "" N R 0,0 0,50\nXCLIP 5,0 ""\n')
        self.assertIn("no area", r.stdout)
        self.assertIn("No block references", r.stdout)
        self.assertIsNone(spatial_filter(ezdxf.readfile(out).modelspace().query("INSERT")[0]))

    def test_external_reference_is_clipped_like_a_block(self):
        part = ezdxf.new("R2018")
        part.modelspace().add_line((0, 0), (4, 3))
        part.saveas(self.path("part.dxf"))
        # The part's line runs from 5,5 to 13,11; 9,8 picks it.
        r, out = self.script(f'-XREF A {self.path("part.dxf")} 5,5 2 2 0\nXCLIP 9,8 "" N R 5,5 9,8\n')
        self.assertEqual(r.returncode, 0, r.stdout + r.stderr)
        (xref,) = ezdxf.readfile(out).modelspace().query("INSERT[name=='part']")
        sf = spatial_filter(xref)
        self.assertEqual(filter_data(sf)[0], 2)
        self.assert_block_polygon(xref, sf, [(5, 5), (9, 8)])

    def test_undo_gives_back_the_drawing(self):
        self.assert_undo_gives_back('XCLIP 20,20 "" N S 5,0\nXCLIP 20,20 "" OFF\nXCLIP 20,20 "" D\n'
                                    'U\nU\nU\n')

    def test_sample_with_clipped_references_round_trips(self):
        sample = os.path.join(SHARED, "dxf", "xclip.dxf")
        if not os.path.isfile(sample):
            self.skipTest(f"sample drawing {sample} not at hand")
        out = self.path("sample.dxf")
        self.assertEqual(run(sample, "-o", out).returncode, 0)
        ok, diff = same_drawing(sample, out)
        self.assertTrue(ok, diff)


if __name__ == "__main__":
    unittest.main()
