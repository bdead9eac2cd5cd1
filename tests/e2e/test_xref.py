#!/usr/bin/python3
"""External references attached, listed, reloaded, bound and detached by draxel scripts;
the drawings read back with ezdxf."""

import os
import sys
import unittest

import ezdxf

sys.path.insert(0, os.path.dirname(__file__))
from test_editor import Console, Drawing, run, same_drawing  # noqa: E402

ATTACH = "-XREF A part.dxf 5,5 2 2 0\n"


class Xrefs(Drawing):
    def setUp(self):
        super().setUp()
        # The part: a line on its own layer and a block, from 0,0 to 4,3.
        part = ezdxf.new("R2018")
        part.layers.add("WALLS", color=3)
        part.blocks.new("PIN").add_circle((0, 0), 0.5)
        msp = part.modelspace()
        msp.add_line((0, 0), (4, 3), dxfattribs={"layer": "WALLS"})
        msp.add_blockref("PIN", (1, 1))
        msp.add_linear_dim(base=(0, 5), p1=(0, 0), p2=(4, 0)).render()
        part.saveas(self.path("part.dxf"))

    def dependents(self, doc, prefix="part|"):
        names = [r.dxf.name for t in (doc.layers, doc.linetypes, doc.styles, doc.blocks)
                 for r in (t if t is not doc.blocks else [b.block for b in t])]
        return sorted(n for n in names if n.startswith(prefix))

    def test_attach_saves_an_empty_xref_block_that_reopens_loaded(self):
        r, out = self.script(ATTACH + "._-XREF _A part.dxf _S 1.0 _R 0.0 30,40\n"
                             "EXPLODE L \"\"\n")
        self.assertEqual(r.returncode, 0, r.stdout + r.stderr)
        self.assertIn("not able to be exploded", r.stdout)
        doc = ezdxf.readfile(out)
        block = doc.blocks.get("part")
        self.assertTrue(block.block.is_xref)
        self.assertFalse(block.block.is_xref_overlay)
        self.assertEqual(block.block.dxf.xref_path, "part.dxf")
        self.assertEqual(len(block), 0)  # written empty, as other programs do
        refs = doc.modelspace().query("INSERT[name=='part']")
        self.assertEqual([(tuple(i.dxf.insert)[:2], i.dxf.xscale) for i in refs],
                         [((5, 5), 2), ((30, 40), 1)])
        layer = doc.layers.get("part|WALLS")
        self.assertEqual((layer.dxf.color, layer.dxf.flags & 48), (3, 48))
        # Reopened, the content is read again: a pick on the end of the part's line picks
        # the first reference, and the dependent records are the same after a save.
        again = self.path("again.dxf")
        r = run(out, "-c", "-XREF ?", "-c", 'ERASE 13,11 ""', "-o", again)
        self.assertEqual(r.returncode, 0, r.stdout + r.stderr)
        self.assertIn("part  Loaded  part.dxf", r.stdout)
        doc2 = ezdxf.readfile(again)
        self.assertEqual([tuple(i.dxf.insert)[:2] for i in doc2.modelspace().query("INSERT[name=='part']")],
                         [(30, 40)])
        self.assertEqual(self.dependents(doc2), self.dependents(doc))

    def test_missing_file_is_said_once_and_the_reference_kept(self):
        r, out = self.script(ATTACH + "-XREF A part.dxf 20,0 1 1 0\n")
        self.assertEqual(r.returncode, 0, r.stdout + r.stderr)
        os.remove(self.path("part.dxf"))
        kept = self.path("kept.dxf")
        r = run(out, "-c", "-XREF ?", "-o", kept)
        self.assertEqual(r.returncode, 0, r.stdout + r.stderr)
        self.assertEqual(r.stdout.count('"part.dxf" not found'), 1, r.stdout)
        self.assertIn("part  Unresolved  part.dxf", r.stdout)
        doc = ezdxf.readfile(kept)
        self.assertTrue(doc.blocks.get("part").block.is_xref)
        self.assertEqual(len(doc.modelspace().query("INSERT[name=='part']")), 2)
        # Attaching a file that is not there adds nothing and stops the script.
        r, _ = self.script("-XREF A nowhere.dxf 0,0 1 1 0\n")
        self.assertNotEqual(r.returncode, 0)
        self.assertIn('"nowhere.dxf" not found; nothing was attached', r.stdout)

    def test_bind_makes_an_ordinary_block_and_detach_removes_everything(self):
        r, out = self.script(ATTACH + "-XREF B part\n")
        self.assertEqual(r.returncode, 0, r.stdout + r.stderr)
        doc = ezdxf.readfile(out)
        block = doc.blocks.get("part")
        self.assertFalse(block.block.is_xref)
        self.assertEqual(sorted(e.dxftype() for e in block), ["DIMENSION", "INSERT", "LINE"])
        self.assertIn(block.query("DIMENSION")[0].dxf.geometry, doc.blocks)  # its picture is kept
        line = block.query("LINE")[0]
        self.assertEqual(line.dxf.layer, "part$0$WALLS")
        self.assertEqual(block.query("INSERT")[0].dxf.name, "part$0$PIN")
        self.assertEqual(doc.layers.get("part$0$WALLS").dxf.flags & 48, 0)
        self.assertEqual(self.dependents(doc), [])
        r, out = self.script(ATTACH + "-XREF D part\n")
        self.assertEqual(r.returncode, 0, r.stdout + r.stderr)
        doc = ezdxf.readfile(out)
        self.assertNotIn("part", doc.blocks)
        self.assertEqual(self.dependents(doc), [])
        self.assertEqual(len(doc.modelspace().query("INSERT[name=='part']")), 0)

    def test_each_action_is_one_undo_step(self):
        self.assert_undo_gives_back(ATTACH + "U\n")
        r, attached = self.script(ATTACH, out="attached.dxf")
        for action in ("B part", "D part", "R part"):
            r, out = self.script(ATTACH + f"-XREF {action}\nU\n", out="undone.dxf")
            self.assertEqual(r.returncode, 0, r.stdout + r.stderr)
            ok, diff = same_drawing(attached, out)
            self.assertTrue(ok, action + "\n" + diff)

    def test_reload_reads_the_changed_file(self):
        console = Console(self.base, cwd=self.tmp)
        self.assertTrue(console.wait_for("Command: "), console.seen)
        os.write(console.fd, ATTACH.replace("\n", "\r").encode())
        self.assertTrue(console.wait_for('"part" loaded.'), console.seen)
        part = ezdxf.readfile(self.path("part.dxf"))
        part.layers.add("ADDED")
        part.modelspace().add_circle((2, 2), 1, dxfattribs={"layer": "ADDED"})
        part.saveas(self.path("part.dxf"))
        os.write(console.fd, b"-XREF R part\r")
        self.assertTrue(console.wait_for('"part" reloaded.'), console.seen)
        os.write(console.fd, f"SAVEAS 2018 {self.path('reloaded.dxf')}\rQUIT\r".encode())
        console.wait_for("Save changes to", timeout=5)
        os.kill(console.pid, 9)
        os.waitpid(console.pid, 0)
        self.assertIn("part|ADDED", ezdxf.readfile(self.path("reloaded.dxf")).layers)

    def test_nested_references_load_overlays_stay_out_and_cycles_are_refused(self):
        def drawing(name, attach=(), overlay=()):
            doc = ezdxf.new("R2018")
            doc.modelspace().add_line((0, 0), (1, 1))
            for other in attach + overlay:
                flags = 4 | (8 if other in overlay else 0)
                doc.add_xref_def(f"{other}.dxf", other, flags=flags)
                doc.modelspace().add_blockref(other, (0, 0))
            doc.saveas(self.path(f"{name}.dxf"))

        drawing("outer", attach=("inner",), overlay=("over",))
        drawing("inner")
        drawing("over")
        r, out = self.script("-XREF A outer.dxf 0,0 1 1 0\n-XREF ?\n")
        self.assertEqual(r.returncode, 0, r.stdout + r.stderr)
        self.assertIn("outer|inner  Loaded  inner.dxf  (Attach, nested)", r.stdout)
        self.assertNotIn("over  ", r.stdout)
        r, _ = self.script("-XREF A outer.dxf 0,0 1 1 0\n-XREF D outer|inner\n")
        self.assertIn("nested in another reference", r.stdout)

        drawing("ping", attach=("pong",))
        drawing("pong", attach=("ping",))
        r, _ = self.script("-XREF A ping.dxf 0,0 1 1 0\n")
        self.assertNotEqual(r.returncode, 0)
        self.assertIn("circular reference base.dxf -> ping.dxf -> pong.dxf -> ping.dxf", r.stdout)
        # Opened on its own the cycle is said and the rest loads.
        r = run(self.path("ping.dxf"), "-c", "-XREF ?")
        self.assertEqual(r.returncode, 0, r.stdout + r.stderr)
        self.assertIn("pong  Loaded", r.stdout)
        self.assertIn("circular reference", r.stdout)


if __name__ == "__main__":
    unittest.main()
