#!/usr/bin/python3
"""dimex, dimim (and the linetype and break-line tools) as a user runs them: draxel with
express.drx on drawings made here with ezdxf, scripts answering every prompt, results
read back with ezdxf.

Environment: DRAXEL, DX_MODULE (express.drx), DX_SHARED_DATA.
"""

import os
import re
import struct
import unittest

import ezdxf

from draxeltest import MODULE, DraxelTest

REAL_NAMES = {"DIMSCALE", "DIMASZ", "DIMEXO", "DIMDLI", "DIMEXE", "DIMRND", "DIMDLE", "DIMTP", "DIMTM",
              "DIMTXT", "DIMCEN", "DIMTSZ", "DIMALTF", "DIMLFAC", "DIMTVP", "DIMTFAC", "DIMGAP", "DIMALTRND",
              "DIMTXT_TXTSIZE", "DIMTXT_XSCALE", "DIMTXT_OANGLE", "DIMTXT_PRIORSIZE"}
REF_ATTRIBS = {"dimtxsty_handle": "STYLE", "dimblk_handle": "BLOCK_RECORD", "dimblk1_handle": "BLOCK_RECORD",
               "dimblk2_handle": "BLOCK_RECORD", "dimldrblk_handle": "BLOCK_RECORD"}


class Session(DraxelTest):
    module = MODULE


def style_drawing(path):
    """Two dimension styles with texts, arrows and reals of every form, a text style
    with full information, and a dimension of each style."""
    doc = ezdxf.new("R2018", setup=True)
    doc.styles.add("NARROW", font="DejaVuSans.ttf").dxf.width = 0.8
    doc.styles.get("NARROW").dxf.oblique = 12.5
    doc.styles.get("NARROW").dxf.height = 0.0
    a = doc.dimstyles.new("arch-1", dxfattribs={
        "dimtxt": 3.5, "dimasz": 1.75, "dimscale": 2.0, "dimexo": 0.625, "dimgap": 0.3, "dimdec": 3,
        "dimtad": 1, "dimzin": 8, "dimclrd": 1, "dimtxsty": "NARROW"})
    a.set_arrows(blk="DOT")
    b = doc.dimstyles.new("Metric")
    b.dxf.dimtxt = 2.5
    b.dxf.dimlfac = 10.0
    b.dxf.dimsah = 1
    b.set_arrows(blk1="OPEN30", blk2="ARCHTICK")
    msp = doc.modelspace()
    d = msp.add_linear_dim(base=(0, 10), p1=(0, 0), p2=(40, 0), dimstyle="arch-1")
    d.render()
    msp.add_aligned_dim(p1=(0, 20), p2=(30, 60), distance=5, dimstyle="Metric").render()
    doc.saveas(path)
    return doc


def name_of(doc, handle):
    if not handle or handle == "0":
        return ""
    e = doc.entitydb.get(handle)
    return e.dxf.name if e is not None else ""


FILE_CODES = set(range(3, 8)) | set(range(40, 49)) | set(range(140, 149)) | set(range(71, 80)) | \
    set(range(170, 180)) | set(range(270, 290)) | set(range(340, 345))


def comparable(doc, style):
    """A dimension style's variables that the file carries, with references as the names
    they point to."""
    out = {}
    for key, value in style.dxf.all_existing_dxf_attribs().items():
        attrib = style.DXFATTRIBS.get(key)
        if attrib is None or attrib.code not in FILE_CODES or key == "handle":
            continue
        if key in REF_ATTRIBS:
            value = name_of(doc, value).upper()
        if isinstance(value, float):
            value = round(value, 6)
        elif isinstance(value, str):
            value = value.upper()  # block names, as the drawing spells them
        out[key] = value
    return out


def dim_lines(path):
    with open(path, "rb") as f:
        raw = f.read()
    return raw


class DimensionStyles(Session):
    def export(self, doc_path, script="CMDDIA 0\nFILEDIA 0\nDIMEX * Y styles.dim\n"):
        self.run_script(doc_path, script)
        return dim_lines(self.path("styles.dim"))

    def test_export_writes_every_style_as_crlf_lines_in_the_file_format(self):
        src = self.path("styles.dxf")
        doc = style_drawing(src)
        raw = self.export(src)
        self.assertNotIn(b"\n", raw.replace(b"\r\n", b""), "every line ends in CR LF")
        text = raw.decode()
        blocks = re.findall(r"DIMENSION_STYLE_NAME (.*?)\r\n(.*?)END_OF_STYLE (.*?)\r\n\r\n", text, re.S)
        names = [b[0] for b in blocks]
        self.assertEqual(sorted(names), sorted(s.dxf.name.upper() for s in doc.dimstyles))
        self.assertEqual([b[2] for b in blocks if b[0] == "ARCH-1"], ["arch-1"])
        body = dict(blocks_by_name(blocks))["ARCH-1"]
        lines = body.split("\r\n")[:-1]
        values = dict(line.split(" ", 1) for line in lines if " " in line)
        self.assertEqual(values["DIMTXT"], "3.500000")
        self.assertEqual(values["DIMDEC"], "3")
        self.assertEqual(values["DIMBLK"], "_DOT")
        self.assertEqual(values["DIMTXSTY"], "NARROW")
        for name, value in values.items():
            if name in REAL_NAMES:
                self.assertRegex(value, r"^-?\d+\.\d{6}$", name)
        # The full text style group follows its name line, in the record's group order.
        at = lines.index("DIMTXSTY NARROW")
        self.assertEqual(lines[at + 1], "DIMTXT_FULLINFO 1")
        group = [line.split(" ")[0] for line in lines[at + 2:lines.index("END_DIMTXT ")]]
        self.assertEqual(group, ["DIMTXT_ISVERTICAL", "DIMTXT_TXTSIZE", "DIMTXT_XSCALE", "DIMTXT_OANGLE",
                                 "DIMTXT_FLAGS", "DIMTXT_PRIORSIZE", "DIMTXT_FILENAME", "DIMTXT_BIGFILE"])
        self.assertEqual(values["DIMTXT_XSCALE"], "0.800000")
        self.assertEqual(values["DIMTXT_FILENAME"], "DejaVuSans.ttf")
        self.assertEqual(values["DIMTXT_BIGFILE"], ".")

    def test_only_the_chosen_styles_and_no_text_style_information(self):
        src = self.path("styles.dxf")
        style_drawing(src)
        text = self.export(src, "CMDDIA 0\nFILEDIA 0\nDIMEX ARCH* N styles.dim\n").decode()
        self.assertEqual(re.findall(r"DIMENSION_STYLE_NAME (.*)\r\n", text), ["ARCH-1"])
        self.assertIn("DIMTXSTY NARROW\r\nDIMTXT_FULLINFO 0\r\n", text)
        self.assertNotIn("DIMTXT_XSCALE", text)

    def test_imported_styles_read_back_equal_in_a_new_drawing(self):
        src = self.path("styles.dxf")
        doc = style_drawing(src)
        self.export(src)
        empty = self.path("empty.dxf")
        ezdxf.new("R2018").saveas(empty)
        out = self.run_script(empty, "CMDDIA 0\nFILEDIA 0\nDIMIM styles.dim *\n")
        self.assertIn("dimension style(s) imported", self.stdout)
        written = ezdxf.readfile(src)  # as the file holds them
        for style in written.dimstyles:
            got = out.dimstyles.get(style.dxf.name)
            self.assertIsNotNone(got, style.dxf.name)
            want = comparable(written, style)
            have = comparable(out, got)
            self.assertEqual({k: have.get(k) for k in want}, want, style.dxf.name)
        narrow = out.styles.get("NARROW")
        self.assertAlmostEqual(narrow.dxf.width, 0.8)
        self.assertAlmostEqual(narrow.dxf.oblique, 12.5, places=4)  # kept in radians, six decimals
        self.assertEqual(narrow.dxf.font, "DejaVuSans.ttf")
        # The arrow blocks the styles name were made, with something in them.
        for name in ("_DOT", "_OPEN30", "_ARCHTICK"):
            self.assertIn(name, [b.name.upper() for b in out.blocks])
            self.assertGreater(len(out.blocks.get(name)), 0, name)

    def test_import_overwrites_a_style_and_regenerates_its_dimensions(self):
        src = self.path("styles.dxf")
        style_drawing(src)
        # The file: the style with another text height, and a name this version ignores.
        with open(self.path("new.dim"), "wb") as f:
            f.write(b"DIMENSION_STYLE_NAME ARCH-1\r\nDIMTXT 5.000000\r\nDIMFROBNICATE 3\r\n"
                    b"DIMSCALE 1.000000\r\nDIMDEC 1\r\nEND_OF_STYLE ARCH-1\r\n\r\n")
        doc = ezdxf.readfile(src)
        # A dimension of the style inside a block definition is regenerated too.
        blk = doc.blocks.new("DETAIL")
        blk.add_linear_dim(base=(0, 5), p1=(0, 0), p2=(12, 0), dimstyle="arch-1").render()
        doc.modelspace().add_blockref("DETAIL", (100, 100))
        doc.saveas(src)
        before = ezdxf.readfile(src)
        metric_block = before.modelspace().query("DIMENSION")[1].dxf.geometry
        metric_before = sorted(e.dxftype() for e in before.blocks.get(metric_block))
        out = self.run_script(src, "CMDDIA 0\nFILEDIA 0\nDIMIM new.dim ARCH-1\n")
        self.assertIn("2 dimension(s) regenerated", self.stdout)
        style = out.dimstyles.get("arch-1")
        self.assertAlmostEqual(style.dxf.dimtxt, 5.0)
        self.assertEqual(style.dxf.dimdec, 1)
        self.assertAlmostEqual(style.dxf.dimasz, 1.75, msg="variables the file leaves out stay")
        dims = list(out.modelspace().query("DIMENSION")) + list(out.blocks.get("DETAIL").query("DIMENSION"))
        for dim in dims:
            if dim.dxf.dimstyle.upper() != "ARCH-1":
                continue
            texts = out.blocks.get(dim.dxf.geometry).query("MTEXT")
            self.assertEqual(len(texts), 1)
            self.assertAlmostEqual(texts[0].dxf.char_height, 5.0)
            self.assertIn(texts[0].text, ("40", "12"))  # one decimal, trailing zeros suppressed
        # The other style's dimension keeps its block.
        metric = [d for d in out.modelspace().query("DIMENSION") if d.dxf.dimstyle == "Metric"][0]
        self.assertEqual(sorted(e.dxftype() for e in out.blocks.get(metric.dxf.geometry)), metric_before)

    def test_regenerated_block_follows_the_points_and_the_style(self):
        doc = ezdxf.new("R2018", setup=True)
        doc.dimstyles.new("T", dxfattribs={"dimtxt": 2.0, "dimasz": 1.0, "dimexo": 0.5, "dimexe": 1.5, "dimgap": 0.5,
                                            "dimtad": 1, "dimtih": 0, "dimdec": 1, "dimlfac": 2.0})
        doc.modelspace().add_linear_dim(base=(0, 10), p1=(0, 0), p2=(40, 0), dimstyle="T").render()
        src = self.path("one.dxf")
        doc.saveas(src)
        with open(self.path("t.dim"), "wb") as f:
            f.write(b"DIMENSION_STYLE_NAME T\r\nDIMTXT 4.000000\r\nDIMPOST <> mm\r\nDIMZIN 0\r\n"
                    b"DIMDEC 2\r\nDIMDSEP 46\r\nDIMAPOST .\r\nEND_OF_STYLE T\r\n\r\n")
        out = self.run_script(src, "CMDDIA 0\nFILEDIA 0\nDIMIM t.dim *\nDIMEX T Y back.dim\n")
        # An empty text goes out as a single dot.
        back = dim_lines(self.path("back.dim"))
        self.assertIn(b"\r\nDIMAPOST .\r\n", back)
        self.assertIn(b"\r\nDIMPOST <> mm\r\n", back)
        dim = out.modelspace().query("DIMENSION")[0]
        block = out.blocks.get(dim.dxf.geometry)
        text = block.query("MTEXT")[0]
        self.assertEqual(text.text, "80.00 mm")
        self.assertAlmostEqual(text.dxf.char_height, 4.0)
        # Above the line: half the height and the gap over y = 10, centred.
        self.assertAlmostEqual(text.dxf.insert.x, 20)
        self.assertAlmostEqual(text.dxf.insert.y, 10 + 2.0 + 0.5)
        lines = [(round(e.dxf.start.x, 6), round(e.dxf.start.y, 6), round(e.dxf.end.x, 6), round(e.dxf.end.y, 6))
                 for e in block.query("LINE")]
        self.assertIn((0, 0.5, 0, 11.5), lines)    # extension lines: offset and extension
        self.assertIn((40, 0.5, 40, 11.5), lines)
        self.assertIn((0, 10, 40, 10), lines)      # the dimension line
        self.assertEqual(len(block.query("SOLID")), 2)  # closed filled arrows
        self.assertAlmostEqual(dim.dxf.actual_measurement, 80.0)

    def test_missing_file_is_reported_and_nothing_changes(self):
        src = self.path("styles.dxf")
        style_drawing(src)
        out = self.run_script(src, "CMDDIA 0\nFILEDIA 0\nDIMIM nowhere.dim\n")
        self.assertIn("Cannot open file nowhere.dim", self.stdout)
        self.assertEqual(sorted(s.dxf.name for s in out.dimstyles),
                         sorted(s.dxf.name for s in ezdxf.readfile(src).dimstyles))

    def test_forms_export_and_import_when_dialogs_are_on(self):
        src = self.path("styles.dxf")
        style_drawing(src)
        dim = self.path("form.dim")
        # Export form: styles field, file field, then OK.
        self.run_script(src, f"DIMEX 1 METRIC 2 {dim}\n\n")
        text = dim_lines(dim).decode()
        self.assertEqual(re.findall(r"DIMENSION_STYLE_NAME (.*)\r\n", text), ["METRIC"])
        empty = self.path("empty.dxf")
        ezdxf.new("R2018").saveas(empty)
        out = self.run_script(empty, f"FILEDIA 0\nDIMIM {dim}\n\n")
        self.assertAlmostEqual(out.dimstyles.get("METRIC").dxf.dimlfac, 10.0)
        # A cancelled form imports nothing.
        out = self.run_script(empty, f"FILEDIA 0\nDIMIM {dim} C\n")
        self.assertFalse(out.dimstyles.has_entry("METRIC"))


def write_shx(path):
    """A compiled shape file of two shapes: BOX (131) and TRACK1 (132)."""
    shapes = [(131, b"BOX\x00\x01\x10\x00"), (132, b"TRACK1\x00\x01\x14\x00")]
    shx = b"AutoCAD-86 shapes 1.0\r\n\x1a" + struct.pack("<HHH", 131, 132, len(shapes))
    shx += b"".join(struct.pack("<HH", n, len(d)) for n, d in shapes) + b"".join(d for _, d in shapes)
    with open(path, "wb") as f:
        f.write(shx)


def ltype_tags(doc, name):
    return [(t.code, t.value) for t in doc.linetypes.get(name).pattern_tags.tags]


class MakeLinetype(Session):
    def fence_drawing(self, extra=()):
        doc = ezdxf.new("R2018")
        msp = doc.modelspace()
        msp.add_line((0, 0), (8, 0))
        msp.add_line((12, 0), (20, 0))
        msp.add_text("x", height=2.5, dxfattribs={"insert": (10, -1.25), "style": "Standard"})
        for e in extra:
            e(msp)
        path = self.path("fence.dxf")
        doc.saveas(path)
        return path

    def test_pattern_of_dashes_gaps_and_text_written_and_loaded(self):
        src = self.fence_drawing([lambda m: m.add_point((22, 0.5))])
        out = self.run_script(src, 'FILEDIA 0\nMKLTYPE my.lin FENCE "fence --x--" 0,0 25,0 W -1,-5 26,5 ""\n'
                                   'LINE 0,0 10,0 ""\n')
        with open(self.path("my.lin"), "rb") as f:
            lin = f.read().decode()
        self.assertEqual(lin, '*FENCE,fence --x--\nA,8,["x",Standard,S=2.5,R=-360,X=2,Y=-1.25],-4,8,-2,0,-3\n')
        self.assertIn("Linetype FENCE created and loaded.", self.stdout)
        tags = ltype_tags(out, "FENCE")
        self.assertEqual([v for c, v in tags if c == 49], [8, -4, 8, -2, 0, -3])
        self.assertIn((74, 2), tags)
        self.assertIn((9, "x"), tags)
        self.assertIn((44, 2.0), tags)
        self.assertIn((45, -1.25), tags)
        self.assertIn((46, 2.5), tags)
        self.assertEqual(out.linetypes.get("FENCE").dxf.description, "fence --x--")
        # The coordinate system is back as it was: the line drawn afterwards runs along x.
        line = out.modelspace().query("LINE")[-1]
        self.assertAlmostEqual(line.dxf.end.x, 10)
        self.assertAlmostEqual(line.dxf.end.y, 0)

    def test_along_a_turned_line_the_pattern_is_measured_in_its_direction(self):
        doc = ezdxf.new("R2018")
        msp = doc.modelspace()
        msp.add_line((0, 0), (3, 4))
        msp.add_line((6, 8), (9, 12))
        src = self.path("turned.dxf")
        doc.saveas(src)
        out = self.run_script(src, "FILEDIA 0\nMKLTYPE t.lin TURNED . 0,0 9,12 C -1,-1 10,13 \"\"\n"
                                   "LINE 0,0 10,0 \"\"\n")
        # Measured in a turned coordinate system, which is given back afterwards.
        last = out.modelspace().query("LINE")[-1]
        self.assertAlmostEqual(last.dxf.end.x, 10)
        self.assertAlmostEqual(last.dxf.end.y, 0)
        with open(self.path("t.lin")) as f:
            self.assertEqual(f.read().splitlines()[1], "A,5,-5,5")
        self.assertEqual([v for c, v in ltype_tags(out, "TURNED") if c == 49], [5, -5, 5])

    def test_a_shape_becomes_a_shape_element_of_its_file(self):
        write_shx(self.path("shapes.shx"))
        doc = ezdxf.new("R2018")
        doc.styles.new("SHP", dxfattribs={"font": "shapes.shx", "flags": 1})
        msp = doc.modelspace()
        msp.add_line((0, 0), (4, 0))
        msp.add_line((6, 0), (10, 0))
        msp.add_shape("TRACK1", (5, 0.5), size=0.5).dxf.rotation = 90
        src = self.path("shape.dxf")
        doc.saveas(src)
        out = self.run_script(src, 'FILEDIA 0\nMKLTYPE s.lin TRACKS . 0,0 10,0 W -1,-2 11,2 ""\n')
        with open(self.path("s.lin")) as f:
            self.assertEqual(f.read().splitlines()[1], "A,4,[TRACK1,shapes.shx,S=0.5,R=-270,X=1,Y=0.5],-2,4")
        tags = ltype_tags(out, "TRACKS")
        self.assertIn((74, 4), tags)
        self.assertIn((75, 132), tags)

    def test_redefining_asks_and_no_keeps_the_file(self):
        src = self.fence_drawing()
        with open(self.path("my.lin"), "w") as f:
            f.write(";; kept\n*FENCE,old\nA,1,-1\n*OTHER,other\nA,2,-2\n")
        self.run_script(src, "FILEDIA 0\nMKLTYPE my.lin FENCE N\n")
        self.assertIn("Operation ignored.", self.stdout)
        with open(self.path("my.lin")) as f:
            self.assertIn("*FENCE,old\nA,1,-1\n", f.read())
        out = self.run_script(src, 'FILEDIA 0\nMKLTYPE my.lin FENCE Y new 0,0 20,0 W -1,-5 21,5 ""\n'
                                   'MKLTYPE my.lin FENCE Y newer 0,0 20,0 W -1,-5 21,5 ""\n')
        self.assertIn("Linetype FENCE created and loaded.", self.stdout)
        self.assertIn("Linetype FENCE redefined and loaded.", self.stdout)
        with open(self.path("my.lin")) as f:
            text = f.read()
        self.assertTrue(text.startswith(";; kept\n*FENCE,newer\nA,8,"), text)
        self.assertTrue(text.endswith("*OTHER,other\nA,2,-2\n"), text)
        self.assertEqual(out.linetypes.get("FENCE").dxf.description, "newer")

    def test_refusals_bad_name_and_continuous(self):
        src = self.fence_drawing()
        # A forbidden character is refused and the name asked again.
        self.run_script(src, 'FILEDIA 0\nMKLTYPE a.lin "A,B" GOOD . 0,0 20,0 W -1,-5 21,5 ""\n')
        self.assertIn("Invalid linetype name.", self.stdout)
        with open(self.path("a.lin")) as f:
            self.assertTrue(f.read().startswith("*GOOD,.\n"))
        # One line over the whole length is a continuous line.
        out = self.run_script(src, 'FILEDIA 0\nMKLTYPE b.lin SOLIDLINE . 0,0 8,0 W -1,-1 9,1 ""\n')
        self.assertIn("continuous linetype", self.stdout)
        self.assertFalse(os.path.exists(self.path("b.lin")))
        self.assertFalse(out.linetypes.has_entry("SOLIDLINE"))


class LoadComplexLinetypes(Session):
    def test_text_and_shape_elements_are_kept_as_the_dxf_reference_lays_them_out(self):
        # A compiled shape file with two shapes, and the source of another one.
        write_shx(self.path("shapes.shx"))
        with open(self.path("srconly.shp"), "w") as f:
            f.write("*200,4,ZIG\n014,010,01C,0\n")
        with open(self.path("complex.lin"), "w") as f:
            f.write("*TRACKS,tracks\nA,.25,-.2,[TRACK1,shapes.shx,S=.25,R=90,X=-.1,Y=.1],-.2\n"
                    "*ZIGS,zigs\nA,1,[ZIG,srconly.shx,S=2],-1\n"
                    '*GAS,gas\nA,.5,-.2,["GAS",NOSTYLE,S=.1,R=0.0,X=-0.1,Y=-.05],-.25\n'
                    "*MISSING,missing\nA,1,[NOPE,nothere.shx],-1\n")
        empty = self.path("empty.dxf")
        ezdxf.new("R2018").saveas(empty)
        out = self.run_script(empty, '-LINETYPE L * complex.lin ""\n')
        tracks = ltype_tags(out, "TRACKS")
        self.assertEqual([v for c, v in tracks if c == 49], [0.25, -0.2, -0.2])
        at = tracks.index((74, 4))  # on the gap before it
        self.assertEqual(tracks[at - 1], (49, -0.2))
        self.assertEqual(tracks[at + 1], (75, 132))
        style = out.entitydb.get(dict(tracks[at:])[340])
        self.assertEqual(style.dxf.font, "shapes.shx")
        self.assertEqual(style.dxf.flags & 1, 1)
        self.assertEqual([tracks[at + i] for i in range(3, 7)], [(46, 0.25), (50, 90.0), (44, -0.1), (45, 0.1)])
        self.assertIn((75, 200), ltype_tags(out, "ZIGS"))
        gas = ltype_tags(out, "GAS")
        # One element per dash, the text riding on the gap before it, in Standard as the
        # style the file names is missing.
        self.assertEqual([v & 2 for c, v in gas if c == 74], [0, 2, 0])
        self.assertIn((9, "GAS"), gas)
        self.assertEqual(out.entitydb[dict(gas)[340]].dxf.name.upper(), "STANDARD")
        missing = ltype_tags(out, "MISSING")
        self.assertNotIn((74, 4), missing)
        self.assertIn('shape file "nothere.shx" not found', self.stdout)


def blocks_by_name(blocks):
    return [(b[0], b[1]) for b in blocks]


if __name__ == "__main__":
    unittest.main()
