"""draxel opens and saves drawings; ezdxf, an independent reader, checks the result.

Environment: DRAXEL (the program), DX_SHARED_DATA (sample drawings).
"""
import os
import subprocess
import sys
import unittest

from draxeltest import HERE, SHARED, DraxelTest, draxel as run

DATA = os.path.join(SHARED, "dxf")
VERSIONS = ["AC1014", "AC1015", "AC1018", "AC1021", "AC1024", "AC1027", "AC1032"]


def tool(name, *args):
    return subprocess.run([sys.executable, os.path.join(HERE, name), *args],
                          capture_output=True, text=True, timeout=600)


def differences(output):
    """The difference lines of a dxfcompare run."""
    return [line.strip() for line in output.splitlines() if line.startswith("  ")]


def samples():
    return sorted(f for f in os.listdir(DATA) if f.lower().endswith(".dxf")) if os.path.isdir(DATA) else []


class Roundtrip(DraxelTest):
    out = DraxelTest.path

    @unittest.skipUnless(samples(), f"sample drawings not found in {DATA!r}")
    def test_every_sample_saves_what_a_reader_sees(self):
        for name in samples():
            with self.subTest(drawing=name):
                src = os.path.join(DATA, name)
                dst = self.out(name)
                r = run(src, "-o", dst)
                self.assertEqual(r.returncode, 0, r.stderr)
                cmp = tool("dxfcompare.py", src, dst)
                diffs = differences(cmp.stdout)
                # Drawings older than R13 are upgraded: their extra paper-space blocks
                # become layouts, which a reader lists.
                diffs = [d for d in diffs if not (d.startswith("layout ") and d.endswith("extra in OUTPUT"))]
                self.assertNotEqual(cmp.returncode, 2, cmp.stdout + cmp.stderr)
                self.assertEqual(diffs, [], cmp.stdout)

    @unittest.skipUnless(samples(), f"sample drawings not found in {DATA!r}")
    def test_samples_saved_in_other_versions(self):
        # Attributes, texts, hatches and Unicode through the versions that escape text.
        for name in ("multi_insert_with_attribs.dxf", "dxf_unicode.dxf", "hatches_1.dxf"):
            for ver in ("AC1015", "AC1018", "AC1024"):
                with self.subTest(drawing=name, version=ver):
                    src = os.path.join(DATA, name)
                    dst = self.out(f"{ver}_{name}")
                    r = run(src, "-o", dst, "--version", ver)
                    self.assertEqual(r.returncode, 0, r.stderr)
                    self.assertSameDrawing(src, dst)

    def test_drawing_made_by_another_program_keeps_every_entity_kind(self):
        import ezdxf
        from ezdxf.enums import TextEntityAlignment
        doc = ezdxf.new("R2018", setup=True)
        doc.layers.add("TRUE", true_color=0x123456)
        doc.appids.add("MYAPP")
        msp = doc.modelspace()
        blk = doc.blocks.new("TAG")
        blk.add_attdef("NAME", (0, 0), dxfattribs={"height": 1, "rotation": 30})
        ref = msp.add_blockref("TAG", (5, 5), dxfattribs={"xscale": 2, "rotation": 45})
        ref.add_auto_attribs({"NAME": "Ärger"})
        for i, align in enumerate(TextEntityAlignment):
            msp.add_text(f"t{i}", dxfattribs={"height": 0.5}).set_placement((i, 10, 0), (i + 3, 11, 0), align=align)
        msp.add_mtext("line 1\\Pline 2 " + "x" * 300, dxfattribs={"char_height": 0.4})
        msp.add_lwpolyline([(0, 0, 0.1, 0.2, 0.5), (3, 0, 0, 0, 0), (3, 3)], format="xyseb")
        msp.add_spline([(0, 0), (1, 2), (3, 1), (5, 4)])
        msp.add_ellipse((0, 0), major_axis=(3, 1), ratio=0.4, start_param=0.2, end_param=2.5)
        msp.add_arc((1, 1, 0), 2, 10, 200, dxfattribs={"extrusion": (0, 0, -1)})
        hatch = msp.add_hatch(color=3)
        hatch.paths.add_polyline_path([(0, 0), (4, 0), (4, 4)], is_closed=True)
        msp.add_linear_dim(base=(0, -2), p1=(0, 0), p2=(4, 0)).render()
        line = msp.add_line((0, 0), (1, 1), dxfattribs={"layer": "TRUE", "true_color": 0xFF8000})
        line.set_xdata("MYAPP", [(1000, "note"), (1040, 2.5), (1010, (1, 2, 3))])
        doc.groups.new("PAIR").extend([line, ref])
        src, dst = self.out("other.dxf"), self.out("other_out.dxf")
        doc.saveas(src)
        r = run(src, "-o", dst)
        self.assertEqual(r.returncode, 0, r.stderr)
        self.assertSameDrawing(src, dst)

    def test_new_drawing_in_every_version_audits_clean(self):
        for ver in VERSIONS:
            with self.subTest(version=ver):
                dst = self.out(f"new_{ver}.dxf")
                r = run("-o", dst, "--version", ver)
                self.assertEqual(r.returncode, 0, r.stderr)
                audit = tool("dxfaudit.py", dst)
                self.assertEqual(audit.returncode, 0, audit.stdout)
                with open(dst) as f:
                    head = f.read(200)
                # R14 is written as R14; the reader reports it upgraded to R2000.
                self.assertIn(ver, head)

    def test_bad_input_is_one_line_exit_one_and_touches_nothing(self):
        good = self.out("good.dxf")
        self.assertEqual(run("-o", good).returncode, 0)
        with open(good, "rb") as f:
            content = f.read()
        cases = {
            "empty.dxf": b"",
            "garbage.dxf": bytes(range(256)) * 8,
            "truncated.dxf": content[: len(content) // 2],
            "version.dxf": b"  0\nSECTION\n  2\nHEADER\n  9\n$ACADVER\n  1\nAC1099\n  0\nENDSEC\n  0\nEOF\n",
            "drawing.dxf": b"AC1032\x00\x00\x00\x00\x12\x34" + bytes(100),
        }
        existing = self.out("existing.dxf")
        with open(existing, "wb") as f:
            f.write(b"keep me")
        for name, data in cases.items():
            with self.subTest(case=name):
                path = self.out(name)
                with open(path, "wb") as f:
                    f.write(data)
                r = run(path, "-o", existing)
                self.assertEqual(r.returncode, 1, r.stderr)
                lines = r.stderr.strip().splitlines()
                self.assertEqual(len(lines), 1, r.stderr)
                self.assertIn(name, lines[0])
                with open(existing, "rb") as f:
                    self.assertEqual(f.read(), b"keep me")
        r = run(self.out("does-not-exist.dxf"))
        self.assertEqual(r.returncode, 1)
        self.assertIn("does-not-exist.dxf", r.stderr)
        # Nothing but the files made here: no temporary left behind.
        self.assertEqual(sorted(os.listdir(self.tmp)),
                         sorted(["app", "good.dxf", "existing.dxf", *cases.keys()]))


if __name__ == "__main__":
    unittest.main(verbosity=2)
