#!/usr/bin/python3
"""Areas, layers and object snaps as a script user meets them: draxel runs the script on a
drawing made here, ezdxf (an independent reader) reads the result back.

Environment: DRAXEL (the program).
"""

import math
import unittest

import ezdxf
from ezdxf import zoom

from draxeltest import DraxelTest, draxel


def bulge_area(pl):
    """Signed area of a closed LWPOLYLINE: shoelace plus the circular segment of each bulge."""
    pts = list(pl.get_points("xyb"))
    area = 0.0
    for i, (x0, y0, b) in enumerate(pts):
        x1, y1, _ = pts[(i + 1) % len(pts)]
        area += (x0 * y1 - x1 * y0) / 2
        if b:
            theta = 4 * math.atan(b)
            r = math.hypot(x1 - x0, y1 - y0) / (2 * math.sin(theta / 2))
            area += r * r / 2 * (theta - math.sin(theta))
    return area


class Geometry(DraxelTest):
    def setUp(self):
        super().setUp()
        doc = ezdxf.new("R2018")
        msp = doc.modelspace()
        for a, b in [((0, 0), (100, 0)), ((100, 0), (100, 100)), ((100, 100), (0, 100)), ((0, 100), (0, 0))]:
            msp.add_line(a, b)
        msp.add_circle((30, 30), 10)
        zoom.extents(msp)
        self.base = self.path("base.dxf")
        doc.saveas(self.base)

    def run_script(self, text, drawing=None):
        super().run_script(drawing or self.base, text, expect_ok=False)
        self.assertNotIn("left open", self.stdout)
        return self.result, self.out

    def test_room_of_a_floor_plan(self):
        # Walls of separate, overlapping lines; two doors (leaf and swing) in openings;
        # a table inside; the room next door shares a wall.
        doc = ezdxf.new("R2018")
        msp = doc.modelspace()
        walls = [((-1, 0), (7, 0)), ((5, 0), (16, 0)), ((10, -1), (10, 9)), ((16, -1), (16, 9)),
                 ((17, 8), (-1, 8)), ((0, 9), (0, 3)), ((0, 2), (0, -1))]
        for a, b in walls:
            msp.add_line(a, b)
        msp.add_line((0, 2), (1, 2))
        msp.add_arc((0, 2), 1, 0, 90)  # swing closing the opening between y 2 and 3
        blk = doc.blocks.new("TABLE")
        blk.add_lwpolyline([(0, 0), (2, 0), (2, 1), (0, 1)], close=True)
        msp.add_blockref("TABLE", (4, 3), dxfattribs={"xscale": 2, "yscale": 2, "rotation": 90})
        zoom.extents(msp)
        plan = self.path("plan.dxf")
        doc.saveas(plan)
        r, out = self.run_script('BOUNDARY 8,6 ""\n', drawing=plan)
        self.assertEqual(r.returncode, 0, r.stderr)
        made = ezdxf.readfile(out).modelspace().query("LWPOLYLINE")
        self.assertEqual(len(made), 2)
        self.assertAlmostEqual(bulge_area(made[0]), 80 - math.pi / 4, delta=1e-9)
        self.assertAlmostEqual(bulge_area(made[1]), -8, delta=1e-9)  # the table, scaled by 2

    def test_layer_made_coloured_and_current_then_drawn_on_from_a_corner(self):
        r, out = self.run_script('-LAYER M PIPES C 1 PIPES ""\nLINE END 99.9,0.1 50,50 ""\n')
        self.assertEqual(r.returncode, 0, r.stderr)
        doc = ezdxf.readfile(out)
        self.assertEqual(doc.layers.get("PIPES").color, 1)
        self.assertEqual(doc.header["$CLAYER"], "PIPES")
        line = doc.modelspace().query('LINE[layer=="PIPES"]')[0]
        self.assertEqual(tuple(line.dxf.start), (100, 0, 0))  # exactly the corner
        self.assertEqual(tuple(line.dxf.end), (50, 50, 0))

    def test_layer_states_and_names_that_are_missing(self):
        r, out = self.run_script('-LAYER N A,B F A LO B OFF B S A S NOPE ""\n'
                                 'CHPROP L "" LA NOPE LA B ""\n')
        self.assertEqual(r.returncode, 0, r.stderr)
        self.assertIn('Cannot set frozen layer "A" current', r.stdout)
        self.assertIn('Cannot find layer "NOPE"', r.stdout)
        doc = ezdxf.readfile(out)
        a, b = doc.layers.get("A"), doc.layers.get("B")
        self.assertTrue(a.is_frozen())
        self.assertTrue(b.is_locked() and b.is_off())
        self.assertEqual(doc.header["$CLAYER"], "0")
        # CHPROP kept asking after the missing layer and moved the last object to B.
        self.assertEqual(doc.modelspace()[-1].dxf.layer, "B")

    def test_insert_where_layers_are_missing(self):
        # The drawing's current layer and the part's only layer have no table records.
        doc = ezdxf.new("R2018")
        doc.modelspace().add_line((0, 0), (1, 1), dxfattribs={"layer": "PARTLAYER"})
        doc.saveas(self.path("part.dxf"))
        doc = ezdxf.readfile(self.base)
        doc.header["$CLAYER"] = "GONE"
        host = self.path("host.dxf")
        doc.saveas(host)
        r, out = self.run_script("-INSERT part.dxf 0,0 1 1 0\n", drawing=host)
        self.assertEqual(r.returncode, 0, r.stderr)
        self.assertIn('Current layer "GONE" is not in the drawing; the block reference goes on layer "0"', r.stdout)
        doc = ezdxf.readfile(out)
        self.assertEqual(doc.modelspace().query("INSERT")[0].dxf.layer, "0")
        # The part's layer is made, as the part's line needs it.
        self.assertIn("PARTLAYER", doc.layers)
        self.assertEqual(doc.blocks.get("part")[0].dxf.layer, "PARTLAYER")

    def test_running_snaps_move_script_points_onto_curves(self):
        # Endpoint and centre on: a point near a corner lands on it, one near the
        # circle's centre on the centre; OSMODE 0 leaves points where they are.
        r, out = self.run_script("OSMODE 5\nLINE 99.8,99.9 30.1,29.9 \"\"\n"
                                 "OSMODE 0\nLINE 99.8,99.9 30.1,29.9 \"\"\n"
                                 "OSMODE 512\nLINE 50,0.3 50,50 \"\"\n")
        self.assertEqual(r.returncode, 0, r.stderr)
        lines = ezdxf.readfile(out).modelspace().query("LINE")[4:]
        ends = [(tuple(round(v, 9) for v in l.dxf.start), tuple(round(v, 9) for v in l.dxf.end)) for l in lines]
        self.assertEqual(ends, [((100, 100, 0), (30, 30, 0)), ((99.8, 99.9, 0), (30.1, 29.9, 0)),
                                ((50, 0, 0), (50, 50, 0))])

    def test_snap_override_far_from_everything_asks_again(self):
        r, out = self.run_script('LINE MID 40,40 MID 50,0.5 60,60 ""\n')
        self.assertEqual(r.returncode, 0, r.stderr)
        self.assertIn("No snap point found", r.stdout)
        line = ezdxf.readfile(out).modelspace().query("LINE")[-1]
        self.assertEqual(tuple(line.dxf.start), (50, 0, 0))


class Extents(DraxelTest):
    """Windows select what lies wholly inside them by the entities' extents: a window a
    hair outside the true extents takes the entity, one a hair inside does not."""

    def test_true_extents_of_ellipses_splines_and_bulged_polylines(self):
        doc = ezdxf.new("R2018")
        msp = doc.modelspace()
        turn = math.radians(30)
        msp.add_ellipse((0, 0), major_axis=(2 * math.cos(turn), 2 * math.sin(turn)), ratio=0.5)
        msp.add_open_spline([(10, 0), (11, 10), (12, 0)], degree=2)  # peaks at y 5, not 10
        msp.add_polyline2d([(20, 0, 0, 0, 1), (22, 0, 0, 0, 0)], format="xyseb")  # dips to y -1
        drawing = self.path("ext.dxf")
        doc.saveas(drawing)
        hx = math.hypot(2 * math.cos(turn), math.sin(turn))
        hy = math.hypot(2 * math.sin(turn), math.cos(turn))
        e, cut = 1e-6, 5e-4
        # Per entity: a window just outside its true extents, and one that cuts 5e-4
        # off the side a rough box gets wrong (control points, chords, the arc).
        windows = {
            "ELLIPSE": [((-hx - e, -hy - e, hx + e, hy + e), 2), ((-hx + cut, -hy - e, hx + e, hy + e), 3)],
            "SPLINE": [((10 - e, -e, 12 + e, 5 + e), 2), ((10 - e, -e, 12 + e, 5 - cut), 3)],
            "POLYLINE": [((20 - e, -1 - e, 22 + e, e), 2), ((20 - e, -1 + cut, 22 + e, e), 3)],
        }
        for kind, cases in windows.items():
            for (x0, y0, x1, y1), kept in cases:
                out = self.path("out.dxf")
                r = draxel(drawing, "-c", f'ERASE W {x0},{y0} {x1},{y1} ""', "-o", out)
                self.assertEqual(r.returncode, 0, r.stderr)
                left = [e.dxftype() for e in ezdxf.readfile(out).modelspace()]
                self.assertEqual(len(left), kept, (kind, x0, y0, x1, y1, left))
                self.assertEqual(kind in left, kept == 3, kind)


if __name__ == "__main__":
    unittest.main()
