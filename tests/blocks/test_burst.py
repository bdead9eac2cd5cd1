#!/usr/bin/python3
"""BURST as a user runs it: draxel with express.drx on DXF drawings made here with ezdxf
and on the shared multi_insert_with_attribs.dxf; results read back with ezdxf, undo
checked with dxfcompare.

Environment: DRAXEL, DX_MODULE (express.drx), DX_SHARED_DATA.
"""

import math
import unittest

import ezdxf

from draxeltest import MODULE, DraxelTest, shared

BYBLOCK, BYLAYER = 0, 256


def close(a, b, tol=1e-9):
    return all(math.isclose(x, y, rel_tol=tol, abs_tol=tol) for x, y in zip(a, b))


def assert_texts_replace_attributes(test, before, after):
    """Every attribute of BEFORE's references is a text of AFTER's model space, placed,
    sized, turned, styled and aligned as the attribute was (invisible ones too)."""
    attribs = {a.dxf.text: a for ref in before.modelspace().query("INSERT") for a in ref.attribs}
    texts = {t.dxf.text: t for t in after.modelspace().query("TEXT")}
    test.assertEqual(sorted(texts), sorted(attribs))
    for value, a in attribs.items():
        t = texts[value]
        test.assertTrue(close(t.dxf.insert, a.dxf.insert), value)
        test.assertAlmostEqual(t.dxf.height, a.dxf.height, msg=value)
        test.assertAlmostEqual(t.dxf.rotation, a.dxf.get("rotation", 0), msg=value)
        test.assertEqual(t.dxf.style.upper(), a.dxf.get("style", "Standard").upper(), value)
        align = (a.dxf.get("halign", 0), a.dxf.get("valign", 0))
        test.assertEqual((t.dxf.get("halign", 0), t.dxf.get("valign", 0)), align, value)
        if any(align):
            test.assertTrue(close(t.dxf.align_point, a.dxf.align_point), value)
    return texts


class BurstDrawing(DraxelTest):
    """Block PART, referenced with each kind of inherited property, and a runner."""

    module = MODULE

    def setUp(self):
        super().setUp()
        doc = ezdxf.new("R2018", setup=True)
        doc.layers.add("REFS", color=5)
        doc.layers.add("L2", color=3)
        doc.layers.add("LOCKED").lock()
        doc.styles.add("NARROW", font="DejaVuSans.ttf")
        inner = doc.blocks.new("INNER")
        inner.add_circle((0, 0), 0.25)
        part = doc.blocks.new("PART")
        # Pieces that inherit everything, one property, or nothing.
        part.add_line((0, 0), (4, 0), dxfattribs={"layer": "0", "color": BYBLOCK, "linetype": "BYBLOCK"})
        part.add_arc((0, 0), 2, 0, 90, dxfattribs={"layer": "0", "color": 1})
        part.add_line((0, 1), (4, 1), dxfattribs={"layer": "L2", "color": BYBLOCK})
        part.add_circle((2, 2), 1, dxfattribs={"layer": "L2", "color": 3, "linetype": "CONTINUOUS"})
        part.add_lwpolyline([(0, 3), (1, 3), (1, 4)], dxfattribs={"layer": "L2", "linetype": "BYBLOCK"})
        part.add_blockref("INNER", (3, 3), dxfattribs={"layer": "0"})
        part.add_attdef("NAME", (0, -1), dxfattribs={"height": 0.5, "layer": "0", "color": BYBLOCK})
        part.add_attdef("NOTE", (2, -2), dxfattribs={"height": 0.7, "style": "NARROW", "layer": "L2",
                                                    "color": 4}).set_placement((2, -2), align=ezdxf.enums.TextEntityAlignment.MIDDLE_CENTER)
        part.add_attdef("HIDDEN", (0, -3), dxfattribs={"height": 0.3, "flags": 1, "layer": "0"})
        self.doc = doc
        self.msp = doc.modelspace()
        self.refs = {}

    def reference(self, label, x, rotation=0.0, **attribs):
        """A PART reference at (x, 0) with its three attributes."""
        ref = self.msp.add_blockref("PART", (x, 0), dxfattribs=dict(rotation=rotation, **attribs))
        ref.add_auto_attribs({"NAME": f"{label}-name", "NOTE": f"{label} note", "HIDDEN": f"{label}-hidden"})
        self.refs[label] = ref.dxf.handle
        return ref

    def run_script(self, text, drawing=None):
        if drawing is None:
            drawing = self.path("in.dxf")
            self.doc.saveas(drawing)
        self.drawing = drawing
        doc = super().run_script(drawing, text)
        return self.result, doc

    @staticmethod
    def near(doc, x, kind):
        """Entities of a kind whose first point lies within the reference placed at x."""
        found = []
        for e in doc.modelspace().query(kind):
            if kind == "LWPOLYLINE":
                p = e.get_points()[0]
            else:
                p = e.dxf.insert if e.dxf.hasattr("insert") else e.dxf.start if e.dxf.hasattr("start") else e.dxf.center
            if x - 10 <= p[0] <= x + 10:
                found.append(e)
        return found

    def props(self, e):
        return (e.dxf.layer, e.dxf.get("color", BYLAYER), e.dxf.get("linetype", "BYLAYER").upper())


class BurstsEveryKindOfReference(BurstDrawing):
    def burst_all(self):
        self.reference("R1", 0, layer="REFS", color=2, linetype="DASHED")
        self.reference("R2", 100, rotation=30, layer="REFS")   # no colour, no linetype group
        self.reference("R3", 200, layer="0", color=BYBLOCK, linetype="BYBLOCK")
        return self.run_script('BURST ALL ""\n')

    def test_no_reference_no_attdef_and_nested_references_stay(self):
        r, doc = self.burst_all()
        msp = doc.modelspace()
        self.assertEqual([e.dxf.name for e in msp.query("INSERT")], ["INNER"] * 3)
        self.assertEqual(len(msp.query("ATTDEF")), 0)
        self.assertEqual(len(msp.query("ATTRIB")), 0)
        # Every piece came out once per reference.
        for kind, n in (("LINE", 6), ("ARC", 3), ("CIRCLE", 3), ("LWPOLYLINE", 3), ("TEXT", 9)):
            self.assertEqual(len(msp.query(kind)), n, kind)

    def test_attribute_values_become_texts_where_the_attributes_were(self):
        r, doc = self.burst_all()
        texts = assert_texts_replace_attributes(self, ezdxf.readfile(self.drawing), doc)
        note = texts["R2 note"]
        self.assertEqual((note.dxf.halign, note.dxf.valign), (1, 2))  # middle centre survives
        self.assertAlmostEqual(note.dxf.rotation, 30)

    def test_reference_with_colour_and_linetype(self):
        r, doc = self.burst_all()
        line = [e for e in self.near(doc, 0, "LINE") if abs(e.dxf.start[1]) < 1e-9][0]
        self.assertEqual(self.props(line), ("REFS", 2, "DASHED"))
        arc = self.near(doc, 0, "ARC")[0]
        self.assertEqual(self.props(arc), ("REFS", 1, "BYLAYER"))      # only the layer inherited
        l2 = [e for e in self.near(doc, 0, "LINE") if abs(e.dxf.start[1] - 1) < 1e-9][0]
        self.assertEqual(self.props(l2), ("L2", 2, "BYLAYER"))         # only the colour
        poly = self.near(doc, 0, "LWPOLYLINE")[0]
        self.assertEqual(self.props(poly), ("L2", BYLAYER, "DASHED"))  # only the linetype
        circle = self.near(doc, 0, "CIRCLE")[0]
        self.assertEqual(self.props(circle), ("L2", 3, "CONTINUOUS"))  # nothing
        texts = {t.dxf.text: t for t in self.near(doc, 0, "TEXT")}
        self.assertEqual(self.props(texts["R1-name"]), ("REFS", 2, "BYLAYER"))
        self.assertEqual(self.props(texts["R1 note"]), ("L2", 4, "BYLAYER"))

    def test_reference_without_colour_group(self):
        r, doc = self.burst_all()
        lines = sorted(self.near(doc, 100, "LINE"), key=lambda e: e.dxf.start[1])
        # A BYBLOCK piece becomes BYLAYER; a BYBLOCK linetype becomes BYLAYER.
        self.assertEqual(self.props(lines[0]), ("REFS", BYLAYER, "BYLAYER"))
        self.assertEqual(self.props(lines[1]), ("L2", BYLAYER, "BYLAYER"))
        texts = {t.dxf.text: t for t in self.near(doc, 100, "TEXT")}
        self.assertEqual(self.props(texts["R2-name"]), ("REFS", BYLAYER, "BYLAYER"))  # colour 0 -> 256

    def test_reference_on_layer_0_with_byblock_colour(self):
        r, doc = self.burst_all()
        line = [e for e in self.near(doc, 200, "LINE") if abs(e.dxf.start[1]) < 1e-9][0]
        self.assertEqual(self.props(line), ("0", BYBLOCK, "BYBLOCK"))
        arc = self.near(doc, 200, "ARC")[0]
        self.assertEqual(self.props(arc), ("0", 1, "BYLAYER"))
        texts = {t.dxf.text: t for t in self.near(doc, 200, "TEXT")}
        self.assertEqual(self.props(texts["R3-name"]), ("0", BYBLOCK, "BYLAYER"))

    def test_one_u_gives_back_every_reference(self):
        self.reference("R1", 0, layer="REFS", color=2, linetype="DASHED")
        self.reference("R2", 100, layer="REFS")
        r, doc = self.run_script('BURST ALL ""\nU\n')
        self.assertSameDrawing(self.roundtrip(self.drawing), self.out)
        self.assertEqual(len(doc.modelspace().query("INSERT[name=='PART']")), 2)


class LeavesAlone(BurstDrawing):
    def test_locked_layer_reference_is_not_selected(self):
        self.reference("R1", 0, layer="REFS")
        self.reference("RL", 100, layer="LOCKED")
        r, doc = self.run_script('BURST ALL ""\n')
        refs = doc.modelspace().query("INSERT[name=='PART']")
        self.assertEqual([e.dxf.handle for e in refs], [self.refs["RL"]])
        self.assertEqual(len(refs[0].attribs), 3)
        self.assertNotIn("RL-name", [t.dxf.text for t in doc.modelspace().query("TEXT")])

    def test_only_block_references_are_taken(self):
        self.reference("R1", 0, layer="REFS")
        self.msp.add_line((500, 500), (510, 510))
        self.msp.add_text("plain", dxfattribs={"insert": (520, 500)})
        r, doc = self.run_script('BURST ALL ""\n')
        self.assertEqual(len(doc.modelspace().query("LINE")), 2 + 1)
        self.assertEqual(len(doc.modelspace().query("INSERT[name=='PART']")), 0)

    def test_empty_selection_changes_nothing(self):
        self.reference("R1", 0, layer="REFS")
        r, doc = self.run_script('BURST W 1000,1000 1010,1010 ""\n')
        self.assertSameDrawing(self.roundtrip(self.drawing), self.out)

    def test_external_and_unexplodable_blocks_are_reported_and_kept(self):
        self.doc.add_xref_def("elsewhere.dxf", "OUTSIDE")
        self.msp.add_blockref("OUTSIDE", (300, 0))
        fixed = self.doc.blocks.new("FIXED")
        fixed.add_line((0, 0), (1, 1))
        fixed.block_record.dxf.explode = 0
        self.msp.add_blockref("FIXED", (400, 0))
        self.reference("R1", 0, layer="REFS")
        r, doc = self.run_script('BURST ALL ""\n')
        self.assertIn("external reference", r.stdout)
        self.assertIn("cannot be exploded", r.stdout)
        names = sorted(e.dxf.name for e in doc.modelspace().query("INSERT"))
        self.assertEqual(names, ["FIXED", "INNER", "OUTSIDE"])   # R1 was still burst

class MultilineAttributes(BurstDrawing):
    def test_multiline_attribute_becomes_multiline_text(self):
        ref = self.reference("R1", 0, layer="REFS", color=6)
        a = ref.add_attrib("MEMO", "", (0, -5), dxfattribs={"color": BYBLOCK, "layer": "0"})
        mt = ezdxf.entities.MText.new(dxfattribs={"insert": (0, -5), "char_height": 0.4, "width": 8})
        mt.text = "first line\\Psecond line"
        a.embed_mtext(mt)
        r, doc = self.run_script('BURST ALL ""\n')
        mtexts = doc.modelspace().query("MTEXT")
        self.assertEqual(len(mtexts), 1)
        m = mtexts[0]
        self.assertEqual(m.text, "first line\\Psecond line")
        self.assertEqual(self.props(m), ("REFS", 6, "BYLAYER"))
        self.assertTrue(close(m.dxf.insert, (0, -5, 0)))


class SharedSample(DraxelTest):
    """multi_insert_with_attribs.dxf: an array reference of FLAG on layer FLAGS, three
    attributes on layer 0, a 2-D polyline and a circle in the block."""

    module = MODULE

    def setUp(self):
        super().setUp()
        self.src = shared("dxf", "multi_insert_with_attribs.dxf")
        if not self.src:
            self.skipTest("shared sample multi_insert_with_attribs.dxf is not here (set DX_SHARED_DATA)")

    def burst(self, src):
        before = ezdxf.readfile(src)
        refs = before.modelspace().query("INSERT")
        attribs = {a.dxf.text: a for ref in refs for a in ref.attribs}
        doc = self.run_script(src, 'BURST ALL ""\n')
        msp = doc.modelspace()
        self.assertEqual(len(msp.query("INSERT")), 0)
        self.assertEqual(len(msp.query("ATTDEF")), 0)
        for value, t in assert_texts_replace_attributes(self, before, doc).items():
            self.assertEqual(t.dxf.get("color", BYLAYER), attribs[value].dxf.get("color", BYLAYER))
        # Everything of the block sat on layer 0 and takes the reference's layer.
        self.assertEqual({e.dxf.layer for e in msp}, {ref.dxf.layer for ref in refs})
        self.assertEqual(sorted(e.dxftype() for e in msp if e.dxftype() != "TEXT"),
                         sorted(e.dxftype() for e in before.blocks.get(refs[0].dxf.name)
                                if e.dxftype() != "ATTDEF"))
        return doc

    def test_burst_of_the_sample(self):
        # Its block holds an old-style polyline: exploded pieces keep their vertices.
        self.burst(self.src)


if __name__ == "__main__":
    unittest.main(verbosity=2)
