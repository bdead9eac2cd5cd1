#!/usr/bin/python3
"""Round-trip tests trust dxfcompare.py to fail when a drawing changed.  Each case
here changes one thing a reader would see and checks that the tool fails and names
it, so a round-trip test cannot pass because the comparer looked past a change."""

import os
import shutil
import subprocess
import sys
import tempfile
import unittest

import ezdxf

TOOL = os.path.join(os.path.dirname(os.path.abspath(__file__)), "dxfcompare.py")


def compare(a, b):
    proc = subprocess.run([sys.executable, TOOL, a, b], capture_output=True, text=True, timeout=300)
    return proc.returncode, proc.stdout + proc.stderr


def first_line(doc):
    return doc.modelspace().query("LINE")[0]


def move_end(doc):
    line = first_line(doc)
    end = line.dxf.end
    line.dxf.end = (end.x + 0.001, end.y, end.z)


def move_to_new_layer(doc):
    doc.layers.add("MOVED_HERE")
    doc.modelspace().query("LINE")[-1].dxf.layer = "MOVED_HERE"


def set_attribute(doc):
    insert = next(e for e in doc.modelspace().query("INSERT") if e.attribs)
    insert.attribs[0].dxf.text = "CHANGED VALUE"


def delete_first_line(doc):
    doc.modelspace().delete_entity(first_line(doc))


def grow_anonymous_circle(doc):
    blk = next(b for b in doc.blocks if b.name.startswith("*U"))
    blk.query("CIRCLE")[0].dxf.radius = 9.0


def forbidden_layer_name(doc):
    # bypasses ezdxf's validation; its audit flags the name
    first_line(doc).dxf.__dict__["layer"] = "BAD<NAME"


# (what changes, what the report must name)
CHANGES = [
    (move_end, ["LINE", " end: "]),
    (move_to_new_layer, ["layer: ", "'MOVED_HERE'", "layer 'MOVED_HERE': extra in OUTPUT"]),
    (lambda doc: setattr(first_line(doc).dxf, "color", 1), ["color: "]),
    (set_attribute, ["INSERT", "attribs", "'CHANGED VALUE'"]),
    (delete_first_line, ["missing in OUTPUT: LINE"]),
    (lambda doc: doc.layers.get("WALLS").rename("RENAMED"),
     ["layer 'WALLS': missing in OUTPUT", "layer 'RENAMED': extra in OUTPUT"]),
    (grow_anonymous_circle, ["CIRCLE", "radius: "]),
    (forbidden_layer_name, ["audit issue(s) in OUTPUT"]),
]


class Compare(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.tmp = tempfile.mkdtemp(prefix="dxfcompare-test-")
        doc = ezdxf.new("R2013")
        doc.layers.add("WALLS", color=3)
        flag = doc.blocks.new("FLAG")
        flag.add_attdef("NAME", (0.1, 2), dxfattribs={"height": 0.25})
        anon = doc.blocks.new_anonymous_block("U")
        anon.add_circle((0, 0), 0.5)
        msp = doc.modelspace()
        for i in range(5):
            msp.add_line((i, 0), (i + 1, 1.5), dxfattribs={"layer": "WALLS"})
        msp.add_blockref("FLAG", (2, 2)).add_auto_attribs({"NAME": "north"})
        msp.add_blockref(anon.name, (7, 7))
        cls.base = os.path.join(cls.tmp, "base.dxf")
        doc.saveas(cls.base)

    @classmethod
    def tearDownClass(cls):
        shutil.rmtree(cls.tmp, ignore_errors=True)

    def test_each_change_fails_and_is_named(self):
        for change, needles in CHANGES:
            with self.subTest(change=change.__name__):
                doc = ezdxf.readfile(self.base)
                change(doc)
                changed = os.path.join(self.tmp, "changed.dxf")
                doc.saveas(changed)
                rc, out = compare(self.base, changed)
                self.assertEqual(rc, 1, out)
                for needle in needles:
                    self.assertIn(needle, out)

    def test_unknown_entities_compare_by_their_tags(self):
        with open(self.base) as f:
            text = f.read()
        owner = ezdxf.readfile(self.base).modelspace().block_record_handle

        def written(name, handle, x):
            entity = (f"  0\nFROBNICATOR\n  5\n{handle}\n330\n{owner}\n100\nAcDbEntity\n"
                      f"  8\n0\n100\nAcDbFrobnicator\n 10\n{x}\n 20\n2.0\n 30\n0.0\n")
            head, sep, tail = text.partition("  0\nENDSEC\n  0\nSECTION\n  2\nOBJECTS")
            self.assertTrue(sep, "layout of the written file changed")
            path = os.path.join(self.tmp, name)
            with open(path, "w") as f:
                f.write(head + entity + sep + tail)
            return path

        a, b, c = written("a.dxf", "FFF0", "1.0"), written("b.dxf", "FFF1", "1.0"), written("c.dxf", "FFF0", "1.5")
        self.assertIn("FROBNICATOR", [e.dxftype() for e in ezdxf.readfile(a).modelspace()])
        self.assertEqual(compare(a, b)[0], 0)  # only the handle differs
        rc, out = compare(a, c)
        self.assertEqual(rc, 1, out)
        self.assertIn("FROBNICATOR", out)

    def test_an_unreadable_output_is_an_error_not_equal(self):
        junk = os.path.join(self.tmp, "junk.dxf")
        with open(junk, "w") as f:
            f.write("this is not a drawing\n")
        for other in (junk, os.path.join(self.tmp, "absent.dxf")):
            rc, out = compare(self.base, other)
            self.assertEqual(rc, 2, out)


if __name__ == "__main__":
    unittest.main(verbosity=2)
