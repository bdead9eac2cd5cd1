#!/usr/bin/python3
"""The compare tool must see every change a reader would see, and nothing else.

Each case changes one thing with ezdxf and checks that dxfcompare.py fails and
names the change.  Real drawings come from $DX_SHARED_DATA (default
../shared/data); without them those cases skip and the same faults are
checked on drawings ezdxf builds here.
"""

import json
import os
import shutil
import subprocess
import sys
import tempfile
import unittest

import ezdxf

HERE = os.path.dirname(os.path.abspath(__file__))
TOOL = os.path.join(HERE, "dxfcompare.py")
AUDIT_TOOL = os.path.join(HERE, "dxfaudit.py")
SHARED = os.environ.get("DX_SHARED_DATA") or os.path.join(HERE, "..", "..", "..", "shared", "data")
SAMPLES = os.path.join(SHARED, "dxf")
HAVE_SAMPLES = os.path.isdir(SAMPLES)
NO_SAMPLES = f"sample drawings not found in {SAMPLES} (set DX_SHARED_DATA)"


def run(*args):
    proc = subprocess.run([sys.executable, *args], capture_output=True, text=True, timeout=300)
    return proc.returncode, proc.stdout + proc.stderr


def build_drawing(path):
    """A small drawing with what the cases need: lines, layers, a block with
    attributes, an anonymous block, text, a polyline."""
    doc = ezdxf.new("R2013")
    doc.layers.add("WALLS", color=3)
    doc.layers.add("FLAGS", color=5, linetype="DASHED")
    doc.styles.add("NOTES", font="arial.ttf")
    flag = doc.blocks.new("FLAG")
    flag.add_line((0, 0), (0, 2))
    flag.add_attdef("NAME", (0.1, 2), dxfattribs={"height": 0.25})
    flag.add_attdef("XPOS", (0.1, 1.6), dxfattribs={"height": 0.25})
    anon = doc.blocks.new_anonymous_block("U")
    anon.add_circle((0, 0), 0.5)
    msp = doc.modelspace()
    for i in range(5):
        msp.add_line((i, 0), (i + 1, 1.5), dxfattribs={"layer": "WALLS"})
    msp.add_lwpolyline([(0, 0), (4, 0), (4, 3), (0, 3)], close=True)
    msp.add_text("plan 1:100", dxfattribs={"style": "NOTES", "layer": "0"})
    ins = msp.add_blockref("FLAG", (2, 2), dxfattribs={"layer": "FLAGS"})
    ins.add_auto_attribs({"NAME": "north", "XPOS": "2.0"})
    msp.add_blockref(anon.name, (7, 7))
    doc.layouts.new("Sheet A").add_circle((10, 10), 3)
    doc.saveas(path)


class CompareCases:
    """Cases that run on a drawing ezdxf has written; subclasses say which."""

    line_source = None    # drawing with LINEs in model space
    attrib_source = None  # drawing with an INSERT with attributes in model space

    @classmethod
    def setUpClass(cls):
        cls.tmp = tempfile.mkdtemp(prefix="dxfcompare-test-")

    @classmethod
    def tearDownClass(cls):
        shutil.rmtree(cls.tmp, ignore_errors=True)

    def resaved(self, source, name):
        # ezdxf's own saving changes a few things; compare ezdxf output with
        # ezdxf output so that only the change under test differs
        doc = ezdxf.readfile(source)
        path = os.path.join(self.tmp, name)
        doc.saveas(path)
        return path

    def variant(self, source, name, change):
        base = self.resaved(source, name + "-base.dxf")
        doc = ezdxf.readfile(base)
        change(doc)
        path = os.path.join(self.tmp, name + "-changed.dxf")
        doc.saveas(path)
        return base, path

    def assert_reports(self, base, changed, *needles):
        rc, out = run(TOOL, base, changed)
        self.assertEqual(rc, 1, out)
        for needle in needles:
            self.assertIn(needle, out)
        return out

    def test_identical_files_are_equal(self):
        copy = os.path.join(self.tmp, "copy.dxf")
        shutil.copyfile(self.line_source, copy)
        rc, out = run(TOOL, self.line_source, copy)
        self.assertEqual(rc, 0, out)
        self.assertIn("equal", out)

    def test_resaving_an_ezdxf_file_is_equal(self):
        base = self.resaved(self.attrib_source, "again-base.dxf")
        again = self.resaved(base, "again.dxf")
        rc, out = run(TOOL, base, again)
        self.assertEqual(rc, 0, out)

    def test_moved_line_endpoint(self):
        handle = []

        def change(doc):
            line = doc.modelspace().query("LINE")[0]
            handle.append(line.dxf.handle)
            end = line.dxf.end
            line.dxf.end = (end.x + 0.001, end.y, end.z)
        base, changed = self.variant(self.line_source, "endpoint", change)
        out = self.assert_reports(base, changed, "LINE", "end")
        self.assertIn(f"#{handle[0]}", out)
        self.assertNotIn("start", out)

    def test_tiny_float_noise_is_equal(self):
        def change(doc):
            line = doc.modelspace().query("LINE")[0]
            end = line.dxf.end
            line.dxf.end = (end.x * (1 + 1e-13) if end.x else 1e-15, end.y, end.z)
        base, changed = self.variant(self.line_source, "noise", change)
        rc, out = run(TOOL, base, changed)
        self.assertEqual(rc, 0, out)

    def test_changed_layer_of_an_entity(self):
        def change(doc):
            doc.layers.add("MOVED_HERE")
            doc.modelspace().query("LINE")[-1].dxf.layer = "MOVED_HERE"
        base, changed = self.variant(self.line_source, "layer", change)
        self.assert_reports(base, changed, "layer: ", "'MOVED_HERE'",
                            "layer 'MOVED_HERE': extra in OUTPUT")

    def test_changed_colour(self):
        def change(doc):
            doc.modelspace().query("LINE")[0].dxf.color = 1
        base, changed = self.variant(self.line_source, "colour", change)
        self.assert_reports(base, changed, "color: ")

    def test_changed_attribute_value(self):
        def change(doc):
            insert = next(e for e in doc.modelspace().query("INSERT") if e.attribs)
            insert.attribs[0].dxf.text = "CHANGED VALUE"
        base, changed = self.variant(self.attrib_source, "attrib", change)
        self.assert_reports(base, changed, "INSERT", "attribs", "'CHANGED VALUE'")

    def test_deleted_entity_is_one_difference(self):
        def change(doc):
            msp = doc.modelspace()
            msp.delete_entity(msp.query("LINE")[0])
        base, changed = self.variant(self.line_source, "delete", change)
        out = self.assert_reports(base, changed, "missing in OUTPUT: LINE")
        # entities after the deleted one still line up with their partners
        self.assertNotIn("start:", out)
        self.assertNotIn(" end:", out)

    def test_renamed_layer(self):
        old = []

        def change(doc):
            layer = next(l for l in doc.layers if l.dxf.name not in ("0", "Defpoints"))
            old.append(layer.dxf.name)
            layer.rename("RENAMED_LAYER")
        base, changed = self.variant(self.attrib_source, "rename", change)
        self.assert_reports(base, changed, f"layer {old[0]!r}: missing in OUTPUT",
                            "layer 'RENAMED_LAYER': extra in OUTPUT")

    def test_new_audit_error_is_reported(self):
        def change(doc):
            # a layer name with a character DXF forbids: ezdxf's audit flags it
            doc.modelspace().query("LINE")[0].dxf.__dict__["layer"] = "BAD<NAME"
        base, changed = self.variant(self.line_source, "audit", change)
        self.assert_reports(base, changed, "audit issue(s) in OUTPUT")

    def test_json_summary(self):
        def change(doc):
            msp = doc.modelspace()
            msp.delete_entity(msp.query("LINE")[0])
        base, changed = self.variant(self.line_source, "json", change)
        rc, out = run(TOOL, "--json", base, changed)
        self.assertEqual(rc, 1, out)
        data = json.loads(out)
        self.assertFalse(data["equal"])
        before = data["input"]["layouts"]["Model"]["LINE"]
        self.assertEqual(data["output"]["layouts"]["Model"].get("LINE", 0), before - 1)
        self.assertGreaterEqual(data["difference_count"], 1)

    def test_unreadable_file_exits_2(self):
        junk = os.path.join(self.tmp, "junk.dxf")
        with open(junk, "w") as f:
            f.write("this is not a drawing\n")
        rc, out = run(TOOL, self.line_source, junk)
        self.assertEqual(rc, 2, out)
        rc, out = run(TOOL, self.line_source, os.path.join(self.tmp, "absent.dxf"))
        self.assertEqual(rc, 2, out)

    def test_audit_tool(self):
        base = self.resaved(self.line_source, "audit-clean.dxf")
        rc, out = run(AUDIT_TOOL, "--summary", base)
        self.assertEqual(rc, 0, out)
        self.assertGreater(json.loads(out)["layouts"]["Model"]["LINE"], 0)


@unittest.skipUnless(HAVE_SAMPLES, NO_SAMPLES)
class SampleDrawings(CompareCases, unittest.TestCase):
    line_source = os.path.join(SAMPLES, "groups.dxf")
    attrib_source = os.path.join(SAMPLES, "multi_insert_with_attribs.dxf")

    def test_every_sample_equals_itself(self):
        for name in sorted(os.listdir(SAMPLES)):
            if name.lower().endswith(".dxf"):
                path = os.path.join(SAMPLES, name)
                rc, out = run(TOOL, path, path)
                self.assertEqual(rc, 0, f"{name}: {out}")


class GeneratedDrawings(CompareCases, unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.line_source = os.path.join(cls.tmp, "generated.dxf")
        build_drawing(cls.line_source)
        cls.attrib_source = cls.line_source

    def test_renamed_anonymous_blocks_are_equal(self):
        # the same two anonymous blocks created in the other order get each
        # other's names; a reader sees the same drawing
        def drawing(path, order):
            doc = ezdxf.new("R2013")
            made = {}
            for radius in order:
                blk = doc.blocks.new_anonymous_block("U")
                blk.add_circle((0, 0), radius)
                made[radius] = blk.name
            doc.modelspace().add_blockref(made[1.0], (0, 0))
            doc.modelspace().add_blockref(made[2.0], (5, 0))
            doc.saveas(path)
            return made
        a, b = (os.path.join(self.tmp, n) for n in ("anon-a.dxf", "anon-b.dxf"))
        names_a, names_b = drawing(a, (1.0, 2.0)), drawing(b, (2.0, 1.0))
        self.assertNotEqual(names_a[1.0], names_b[1.0])
        rc, out = run(TOOL, a, b)
        self.assertEqual(rc, 0, out)

        def change(doc):
            for blk in doc.blocks:
                if blk.name.startswith("*U"):
                    blk.query("CIRCLE")[0].dxf.radius = 9.0
                    break
        base, changed = self.variant(a, "anon", change)
        self.assert_reports(base, changed, "CIRCLE", "radius: ")

    def test_unknown_entity_compares_by_raw_tags(self):
        base = os.path.join(self.tmp, "unknown-base.dxf")
        doc = ezdxf.new("R2000")
        doc.modelspace().add_line((0, 0), (1, 1))
        doc.saveas(base)
        owner = doc.modelspace().block_record_handle
        with open(base) as f:
            text = f.read()

        def with_entity(handle, value):
            entity = (f"  0\nFROBNICATOR\n  5\n{handle}\n330\n{owner}\n100\nAcDbEntity\n"
                      f"  8\n0\n100\nAcDbFrobnicator\n 10\n{value}\n 20\n2.0\n 30\n0.0\n")
            head, sep, tail = text.partition("  0\nENDSEC\n  0\nSECTION\n  2\nOBJECTS")
            self.assertTrue(sep, "layout of the written file changed")
            return head + entity + sep + tail

        paths = {}
        for key, handle, value in (("a", "FFF0", "1.0"), ("b", "FFF1", "1.0"), ("c", "FFF0", "1.5")):
            paths[key] = os.path.join(self.tmp, f"unknown-{key}.dxf")
            with open(paths[key], "w") as f:
                f.write(with_entity(handle, value))
        check = ezdxf.readfile(paths["a"]).modelspace()
        self.assertEqual([e.dxftype() for e in check], ["LINE", "FROBNICATOR"])
        rc, out = run(TOOL, paths["a"], paths["b"])  # only the handle differs
        self.assertEqual(rc, 0, out)
        self.assert_reports(paths["a"], paths["c"], "FROBNICATOR", "tags")


if __name__ == "__main__":
    unittest.main(verbosity=2)
