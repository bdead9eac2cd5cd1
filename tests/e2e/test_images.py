#!/usr/bin/python3
"""Raster images attached and clipped by draxel scripts, read back with ezdxf."""

import math
import os
import sys
import unittest

import ezdxf
from PIL import Image

sys.path.insert(0, os.path.dirname(__file__))
from test_editor import Drawing, same_drawing  # noqa: E402


class Images(Drawing):
    def setUp(self):
        super().setUp()
        # 64 x 48 pixels at 96 dpi; the drawing is attached with the file's own path.
        Image.new("RGB", (64, 48), (200, 10, 10)).save(self.path("tile.png"), dpi=(96, 96))
        Image.new("L", (30, 60), 128).save(self.path("tall.bmp"))
        with open(self.path("map.ecw"), "wb") as f:
            f.write(b"\x00ECW not decodable here")

    def images(self, out):
        return list(ezdxf.readfile(out).modelspace().query("IMAGE"))

    def test_attach_png_gives_pixel_size_frame_and_links(self):
        r, out = self.script(f"-IMAGE A {self.path('tile.png')} 5,5 10 0\n")
        self.assertEqual(r.returncode, 0, r.stdout + r.stderr)
        self.assertIn("64 x 48 pixels", r.stdout)
        doc = ezdxf.readfile(out)
        (img,) = doc.modelspace().query("IMAGE")
        self.assertEqual(tuple(img.dxf.image_size)[:2], (64, 48))
        # The frame is 10 wide and keeps the picture's proportions.
        corners = sorted((round(p.x, 9), round(p.y, 9)) for p in img.boundary_path_wcs())
        self.assertEqual(corners[0], (5, 5))
        self.assertEqual(corners[-1], (15, 12.5))
        idef = img.image_def
        self.assertEqual(idef.dxf.filename, self.path("tile.png"))
        self.assertEqual(tuple(idef.dxf.image_size)[:2], (64, 48))
        # PNG keeps its resolution per metre, so it comes back in centimetres.
        self.assertEqual(idef.dxf.resolution_units, 2)
        self.assertAlmostEqual(idef.dxf.pixel_size[0], 2.54 / 96, places=4)
        images = doc.rootdict["ACAD_IMAGE_DICT"]
        self.assertIs(images["tile"], idef)
        reactor = doc.entitydb[img.dxf.image_def_reactor_handle]
        self.assertEqual(reactor.dxftype(), "IMAGEDEF_REACTOR")
        self.assertEqual(reactor.dxf.owner, img.dxf.handle)
        self.assertIn(reactor.dxf.handle, idef.get_reactors())
        self.assertEqual(doc.rootdict["ACAD_IMAGE_VARS"].dxftype(), "RASTERVARIABLES")

    def test_rotation_and_second_image_share_one_definition(self):
        png = self.path("tile.png")
        r, out = self.script(f"-IMAGE A {png} 0,0 8 90\n-IMAGE A {png} 20,0 4 0\n"
                             f"-IMAGE A {self.path('tall.bmp')} 40,0 3 0\n")
        self.assertEqual(r.returncode, 0, r.stdout + r.stderr)
        rotated, plain, tall = self.images(out)
        self.assertIs(rotated.image_def, plain.image_def)
        self.assertEqual(len(ezdxf.readfile(out).rootdict["ACAD_IMAGE_DICT"]), 2)
        u = rotated.dxf.u_pixel * 64
        self.assertAlmostEqual(u.x, 0, places=9)
        self.assertAlmostEqual(u.y, 8, places=9)
        v = rotated.dxf.v_pixel * 48
        self.assertAlmostEqual(v.x, -6, places=9)
        # A BMP without resolution: square pixels, 3 wide and twice as tall.
        height = (tall.dxf.v_pixel * 60).magnitude
        self.assertAlmostEqual(height, 6, places=9)

    def test_unreadable_format_attaches_nothing(self):
        r, out = self.script(f"-IMAGE A {self.path('map.ecw')}\n-IMAGE A {self.path('none.png')}\n")
        self.assertEqual(r.returncode, 0, r.stdout + r.stderr)
        self.assertIn('Cannot attach "' + self.path("map.ecw") + '"', r.stdout)
        self.assertIn("file not found", r.stdout)
        doc = ezdxf.readfile(out)
        self.assertEqual(len(doc.modelspace().query("IMAGE")), 0)
        self.assertNotIn("ACAD_IMAGE_DICT", doc.rootdict)

    def test_imageclip_rectangle_and_polygon_in_pixels(self):
        png = self.path("tile.png")
        r, out = self.script(f"-IMAGE A {png} 0,0 64 0\n-IMAGE A {png} 100,0 64 0\n"
                             "IMAGECLIP 1,1 N R 10,5 30,20\n"
                             "IMAGECLIP 101,1 N P 110,10 130,10 120,30 \"\"\n")
        self.assertEqual(r.returncode, 0, r.stdout + r.stderr)
        rect, poly = self.images(out)
        self.assertEqual(rect.dxf.clipping, 1)
        self.assertEqual(rect.dxf.clipping_boundary_type, 1)
        # World y grows upwards, pixel rows downwards from the top.
        self.assertEqual([tuple(p) for p in rect.boundary_path], [(9.5, 27.5), (29.5, 42.5)])
        wcs = sorted((round(p.x, 9), round(p.y, 9)) for p in poly.boundary_path_wcs())
        self.assertEqual(sorted(set(wcs)), [(110, 10), (120, 30), (130, 10)])
        self.assertEqual(poly.dxf.clipping_boundary_type, 2)

    def test_imageclip_off_and_delete(self):
        png = self.path("tile.png")
        r, out = self.script(f"-IMAGE A {png} 0,0 64 0\nIMAGECLIP 1,1 N R 10,5 30,20\n"
                             "IMAGECLIP 1,1 OFF\n")
        (img,) = self.images(out)
        self.assertEqual(img.dxf.clipping, 0)
        self.assertEqual(len(img.boundary_path), 2)
        r, out = self.script(f"-IMAGE A {png} 0,0 64 0\nIMAGECLIP 1,1 N R 10,5 30,20\n"
                             "IMAGECLIP 1,1 D\n")
        (img,) = self.images(out)
        self.assertEqual(img.dxf.clipping, 0)

    def test_detach_and_list(self):
        png = self.path("tile.png")
        r, out = self.script(f"-IMAGE A {png} 0,0 1 0\n-IMAGE A {png} 5,0 1 0\n-IMAGE ?\n"
                             "-IMAGE D tile\n")
        self.assertEqual(r.returncode, 0, r.stdout + r.stderr)
        self.assertIn("tile  " + png + "  64 x 48", r.stdout)
        doc = ezdxf.readfile(out)
        self.assertEqual(len(doc.modelspace().query("IMAGE")), 0)
        self.assertEqual(len(doc.rootdict["ACAD_IMAGE_DICT"]), 0)
        self.assertEqual(len(doc.objects.query("IMAGEDEF IMAGEDEF_REACTOR")), 0)

    def test_each_command_is_undone_by_u(self):
        png = self.path("tile.png")
        self.assert_undo_gives_back(f"-IMAGE A {png} 0,0 10 0\nU\n")
        self.assert_undo_gives_back(
            f"-IMAGE A {png} 0,0 64 0\nIMAGECLIP 1,1 N R 10,5 30,20\n-IMAGE D tile\nU\nU\nU\n")

    def test_saved_images_survive_reopening(self):
        r, out = self.script(f"-IMAGE A {self.path('tile.png')} 0,0 10 0\n"
                             "IMAGECLIP 1,1 N R 1,1 5,5\n")
        again = self.path("again.dxf")
        self.assertEqual(os.system(f"'{os.environ.get('DRAXEL', 'draxel')}' '{out}' -o '{again}'"
                                   " > /dev/null"), 0)
        ok, diff = same_drawing(out, again)
        self.assertTrue(ok, diff)


class Wipeouts(Drawing):
    def setUp(self):
        super().setUp()
        doc = ezdxf.new("R2018")
        msp = doc.modelspace()
        msp.add_lwpolyline([(0, 0), (10, 0), (10, 6), (0, 6)], close=True)
        # A full circle of radius 5 about (50, 0) from two half-circle bulges.
        msp.add_lwpolyline([(45, 0, 0, 0, 1), (55, 0, 0, 0, 1)], format="xyseb", close=True)
        msp.add_lwpolyline([(100, 0), (110, 0), (110, 10)])
        self.base = self.path("shapes.dxf")
        doc.saveas(self.base)

    def wipeouts(self, out):
        return list(ezdxf.readfile(out).modelspace().query("WIPEOUT"))

    def corners(self, wipeout):
        return sorted({(round(p.x, 9), round(p.y, 9)) for p in wipeout.boundary_path_wcs()})

    def test_from_points_enter_closes(self):
        r, out = self.script('WIPEOUT 20,20 30,20 30,32 ""\n')
        self.assertEqual(r.returncode, 0, r.stdout + r.stderr)
        (w,) = self.wipeouts(out)
        self.assertEqual(self.corners(w), [(20, 20), (30, 20), (30, 32)])
        self.assertEqual(w.dxf.clipping, 1)
        self.assertEqual(tuple(w.dxf.image_size)[:2], (1, 1))

    def test_from_polyline_keeps_or_erases_it(self):
        r, out = self.script("WIPEOUT P 5,0 N\n")
        self.assertEqual(r.returncode, 0, r.stdout + r.stderr)
        (w,) = self.wipeouts(out)
        self.assertEqual(self.corners(w), [(0, 0), (0, 6), (10, 0), (10, 6)])
        self.assertEqual(len(ezdxf.readfile(out).modelspace().query("LWPOLYLINE")), 3)
        r, out = self.script("WIPEOUT _P 5,0 _Y\n")
        self.assertEqual(len(self.wipeouts(out)), 1)
        self.assertEqual(len(ezdxf.readfile(out).modelspace().query("LWPOLYLINE")), 2)

    def test_bulged_polyline_becomes_a_polygon_on_its_arcs(self):
        r, out = self.script("WIPEOUT P 55,0 N\n")
        (w,) = self.wipeouts(out)
        pts = self.corners(w)
        self.assertEqual(len(pts), 64)
        for x, y in pts:
            self.assertAlmostEqual(math.hypot(x - 50, y), 5, places=6)

    def test_open_polyline_and_too_few_points_make_nothing(self):
        r, out = self.script('WIPEOUT 0,0 5,5 ""\nWIPEOUT 0,0 5,5 10,10 ""\nWIPEOUT P 105,0\n')
        self.assertIn("not closed", r.stdout)
        self.assertIn("at least three points", r.stdout)
        self.assertIn("no area", r.stdout)
        self.assertEqual(self.wipeouts(out), [])

    def test_frames_setting_is_stored(self):
        r, out = self.script("WIPEOUT F OFF\n")
        doc = ezdxf.readfile(out)
        self.assertEqual(doc.rootdict["ACAD_WIPEOUT_VARS"].dxf.frame, 0)
        r, out = self.script("WIPEOUT F OFF\nWIPEOUT F ON\n")
        self.assertEqual(ezdxf.readfile(out).rootdict["ACAD_WIPEOUT_VARS"].dxf.frame, 1)

    def test_each_wipeout_is_undone_by_u(self):
        self.assert_undo_gives_back('WIPEOUT P 5,0 Y\nWIPEOUT 20,20 30,20 30,32 ""\nWIPEOUT F OFF\n'
                                    "U\nU\nU\n")


class Groups(Drawing):
    def groups(self, out):
        doc = ezdxf.readfile(out)
        return doc, {name: g for name, g in doc.groups}

    def test_create_named_group_from_window(self):
        r, out = self.script('-GROUP C DOORS "front doors" W -1,-1 30,30 ""\n-GROUP ?\n\n')
        self.assertEqual(r.returncode, 0, r.stdout + r.stderr)
        self.assertIn('DOORS  front doors  (3, selectable)', r.stdout)
        doc, groups = self.groups(out)
        doors = groups["DOORS"]
        self.assertEqual(doors.dxf.description, "front doors")
        self.assertEqual(sorted(e.dxftype() for e in doors), ["CIRCLE", "LINE", "LINE"])
        for e in doors:
            self.assertIn(doors.dxf.handle, e.get_reactors())

    def test_unnamed_groups_get_star_a_names(self):
        r, out = self.script('-GROUP C * "" 0,0 ""\n-GROUP C * "" 25,20 ""\n')
        doc, groups = self.groups(out)
        self.assertEqual(sorted(groups), ["*A1", "*A2"])
        self.assertTrue(all(g.dxf.unnamed == 1 for g in groups.values()))

    def test_add_remove_rename_explode(self):
        r, out = self.script('-GROUP C G1 "" 0,0 ""\n-GROUP A G1 25,20 ""\n'
                             '-GROUP R G1 0,0 ""\n-GROUP REN G1 KEEP\n')
        doc, groups = self.groups(out)
        self.assertEqual(list(groups), ["KEEP"])
        self.assertEqual([e.dxftype() for e in groups["KEEP"]], ["CIRCLE"])
        line = doc.modelspace().query("LINE")[0]
        self.assertNotIn(groups["KEEP"].dxf.handle, line.get_reactors())
        r, out = self.script('-GROUP C G1 "" 0,0 25,20 ""\n-GROUP E G1\n')
        doc, groups = self.groups(out)
        self.assertEqual(groups, {})
        self.assertEqual(len(doc.modelspace().query("LINE CIRCLE")), 3)
        self.assertEqual(len(doc.objects.query("GROUP")), 0)

    def test_duplicate_and_missing_names_are_refused(self):
        r, out = self.script('-GROUP C G1 "" 0,0 ""\n-GROUP C g1\n-GROUP E NOPE\n')
        self.assertIn('Group "g1" already exists.', r.stdout)
        self.assertIn('Group "NOPE" does not exist.', r.stdout)
        self.assertEqual(len(self.groups(out)[1]), 1)

    def test_picking_a_member_selects_the_group_when_pickstyle_says_so(self):
        made = '-GROUP C G1 "" 0,0 25,20 ""\n'
        r, out = self.script(made + "ERASE 0,0 \"\"\n")
        self.assertEqual(self.types(out), sorted(["LINE", "LWPOLYLINE", "INSERT"]))
        r, out = self.script(made + "PICKSTYLE 0\nERASE 0,0 \"\"\n")
        self.assertEqual(self.types(out), sorted(["CIRCLE", "LINE", "LWPOLYLINE", "INSERT"]))
        r, out = self.script(made + '-GROUP S G1 N\nERASE 0,0 ""\n')
        self.assertEqual(self.types(out), sorted(["CIRCLE", "LINE", "LWPOLYLINE", "INSERT"]))

    def test_each_group_command_is_undone_by_u(self):
        self.assert_undo_gives_back('-GROUP C G1 "" 0,0 25,20 ""\n-GROUP R G1 0,0 ""\n'
                                    "-GROUP REN G1 G2\n-GROUP E G2\nU\nU\nU\nU\n")


class DrawOrder(Drawing):
    def order(self, out):
        from ezdxf import reorder
        msp = ezdxf.readfile(out).modelspace()
        names = {"WALLS": "wall", "LOCKED": "locked"}
        return [names.get(e.dxf.layer, e.dxftype().lower())
                for e in reorder.ascending(msp, msp.get_redraw_order())]

    def test_front_back_above_under(self):
        r, out = self.script('DRAWORDER 25,20 "" B\n')
        self.assertEqual(r.returncode, 0, r.stdout + r.stderr)
        self.assertEqual(self.order(out), ["circle", "wall", "locked", "insert", "lwpolyline"])
        r, out = self.script('DRAWORDER 5,0 "" F\n')
        self.assertEqual(self.order(out), ["circle", "locked", "insert", "lwpolyline", "wall"])
        r, out = self.script('DRAWORDER 5,0 "" A 105,0 ""\n')
        self.assertEqual(self.order(out), ["circle", "locked", "insert", "lwpolyline", "wall"])
        r, out = self.script('DRAWORDER 105,0 "" U 25,20 ""\n')
        self.assertEqual(self.order(out), ["wall", "lwpolyline", "circle", "locked", "insert"])

    def test_order_is_stored_in_the_space_and_survives_reopening(self):
        r, first = self.script('DRAWORDER 25,20 "" B\n', out="first.dxf")
        doc = ezdxf.readfile(first)
        xdict = doc.modelspace().block_record.get_extension_dict()
        self.assertEqual(xdict["ACAD_SORTENTS"].dxftype(), "SORTENTSTABLE")
        # The reopened drawing starts from the stored order.
        r, out = self.script('DRAWORDER 105,0 "" B\n', drawing=first)
        self.assertEqual(self.order(out), ["lwpolyline", "circle", "wall", "locked", "insert"])
        r, again = self.script("", out="again.dxf", drawing=first)
        ok, diff = same_drawing(first, again)
        self.assertTrue(ok, diff)

    def test_new_entities_are_drawn_on_top(self):
        r, out = self.script('DRAWORDER 5,0 "" F\nLINE 0,0 1,1 ""\n')
        self.assertEqual(self.order(out)[-2:], ["wall", "line"])

    def test_draworder_is_undone_by_u(self):
        self.assert_undo_gives_back('DRAWORDER 25,20 "" B\nDRAWORDER 5,0 "" A 105,0 ""\nU\nU\n')


if __name__ == "__main__":
    unittest.main()
