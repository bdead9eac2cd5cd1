#!/usr/bin/python3
"""Regions as a script user makes them with -BOUNDARY, read back by ezdxf's own ACIS
reader (an independent reader of the body), kept unchanged through open and save, and
given back by U.

Environment: DRAXEL (the program).
"""

import math
import unittest

import ezdxf
from ezdxf import zoom
from ezdxf.acis import api as acis
from ezdxf.render import MeshBuilder

from draxeltest import DraxelTest, compare

BOUNDARY_REGION = '-BOUNDARY _A _IS _Y _OB _ORE "" 5,5 ""\n'
# Rectangle 100 x 60 less a circle of radius 10 and a 20 x 20 square with a half disc.
ROOM_AREA = 6000 - 100 * math.pi - (400 + 50 * math.pi)


def region_text(path):
    """The REGION entities of a file as written, group by group."""
    lines = open(path, encoding="utf-8").read().split("\n")
    out, inside = [], False
    for code, value in zip(lines[::2], lines[1::2]):
        if code.strip() == "0":
            inside = value == "REGION"
        if inside:
            out.append((code, value))
    return out


def ellipse_curves(sat_lines):
    """Centre, normal, major axis and ratio of each ellipse-curve record of the body."""
    curves = []
    for line in sat_lines:
        words = line.split()
        if "ellipse-curve" in words:
            v = [float(w) for w in words[words.index("ellipse-curve") + 2:][:10]]
            curves.append((v[0:3], v[3:6], v[6:9], v[9]))
    return curves


def face_area(face, curves):
    """Signed area of a face from ezdxf's loops: chords plus the circular segment of each
    arc edge, whose circle is the curve record both ends lie on."""
    total = 0.0
    for loop in face.loops():
        for co in loop.coedges():
            e = co.edge
            a, b = e.start_vertex.point.location, e.end_vertex.point.location
            if co.sense:
                a, b = b, a
            total += (a.x * b.y - b.x * a.y) / 2
            if e.curve.type == "straight-curve":
                continue
            (c, n, major, ratio), = [k for k in curves if abs(math.dist(a, k[0]) - math.hypot(*k[2])) < 1e-9
                                     and abs(math.dist(b, k[0]) - math.hypot(*k[2])) < 1e-9]
            assert ratio == 1
            ccw = (n[2] > 0) == (e.sense == co.sense)
            t0 = math.atan2(a.y - c[1], a.x - c[0])
            t1 = math.atan2(b.y - c[1], b.x - c[0])
            sweep = (t1 - t0) % (2 * math.pi) if ccw else -((t0 - t1) % (2 * math.pi))
            if sweep == 0:
                sweep = 2 * math.pi if ccw else -2 * math.pi  # a whole circle
            r = math.hypot(*major)
            total += r * r / 2 * (sweep - math.sin(sweep))
    return total


def flat_square(x, y, size):
    """A body of one square face, as ezdxf's own ACIS writer makes it."""
    mesh = MeshBuilder()
    mesh.add_face([(x, y, 0), (x + size, y, 0), (x + size, y + size, 0), (x, y + size, 0)])
    return acis.body_from_mesh(mesh)


class Regions(DraxelTest):
    def room(self, version="R2010"):
        doc = ezdxf.new(version)
        msp = doc.modelspace()
        for a, b in [((0, 0), (100, 0)), ((100, 0), (100, 60)), ((0, 60), (100, 60)), ((0, 60), (0, 0))]:
            msp.add_line(a, b)
        msp.add_circle((30, 30), 10)
        msp.add_lwpolyline([(60, 20, 0), (80, 20, 1), (80, 40, 0), (60, 40, 0)], format="xyb", close=True)
        zoom.extents(msp)
        path = self.path(f"room-{version}.dxf")
        doc.saveas(path)
        return path

    def test_boundary_region_has_its_islands_as_holes_and_true_arcs(self):
        room = self.run_script(self.room(), BOUNDARY_REGION)
        self.assertIn("BOUNDARY created 1 region", self.stdout)
        msp = room.modelspace()
        self.assertEqual(len(msp.query("LWPOLYLINE")), 1)  # no polylines made, only the island drawn
        region, = msp.query("REGION")
        body, = acis.load_dxf(region)
        faces = [f for lump in body.lumps() for shell in lump.shells() for f in shell.faces()]
        self.assertEqual(len(faces), 1)
        kinds = sorted(sorted(co.edge.curve.type != "straight-curve" for co in loop.coedges())
                       for loop in faces[0].loops())
        # Outline of four lines, the circle as one closed arc, the island's three lines and arc.
        self.assertEqual(kinds, [[False, False, False, False], [False, False, False, True], [True]])
        self.assertAlmostEqual(face_area(faces[0], ellipse_curves(region.sat)) / ROOM_AREA, 1, delta=1e-6)

    def test_undo_gives_the_drawing_back(self):
        room = self.room()
        self.run_script(room, BOUNDARY_REGION + "U\n")
        same, report = compare(room, self.out)
        self.assertTrue(same, report)

    def test_regions_are_saved_again_unchanged(self):
        # One of ours and one written by ezdxf (a flat square of its own ACIS writer).
        self.run_script(self.room(), BOUNDARY_REGION, out="ours.dxf")
        doc = ezdxf.readfile(self.out)
        acis.export_dxf(doc.modelspace().add_region(), [flat_square(200, 0, 7)])
        both = self.path("both.dxf")
        doc.saveas(both)
        again = self.run_script(both, "")
        self.assertEqual(region_text(self.out), region_text(both))
        self.assertEqual(len(again.modelspace().query("REGION")), 2)
        # The host follows ezdxf's body too (its own record layout, a shift in a
        # transform): a window around the square takes that region alone.
        left = self.run_script(both, 'ERASE W 199,-1 208,8 ""\n')
        self.assertEqual(len(left.modelspace().query("REGION")), 1)
        self.assertEqual(len(left.modelspace().query("LINE")), 4)

    def test_region_of_a_newer_file_keeps_its_binary_body(self):
        # From 2013 on the body lives in a section of its own; it must survive open and save.
        doc = ezdxf.new("R2018")
        acis.export_dxf(doc.modelspace().add_region(), [flat_square(0, 0, 3)])
        src = self.path("new.dxf")
        doc.saveas(src)
        again = self.run_script(src, "")
        region, = again.modelspace().query("REGION")
        body, = acis.load_dxf(region)
        self.assertEqual(len(body.lumps()[0].shells()[0].faces()), 1)
        self.assertEqual(region_text(self.out), region_text(src))


if __name__ == "__main__":
    unittest.main()
