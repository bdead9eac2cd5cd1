"""Damaged drawings, hostile input and drawings inserted into others: draxel never
crashes or hangs, says what it repaired, and ezdxf reads what it writes cleanly.

Environment: DRAXEL (the program), DX_SHARED_DATA (sample drawings), DX_TOOLS (the
folder of dxfaudit.py).
"""
import collections
import math
import os
import shutil
import subprocess
import sys
import tempfile
import unittest

DRAXEL = os.environ.get("DRAXEL", "draxel")
SHARED = os.environ.get("DX_SHARED_DATA", "")
BAD = os.path.join(SHARED, "bad-dxf")
GOOD = os.path.join(SHARED, "dxf")
TOOLS = os.environ.get("DX_TOOLS", os.path.join(os.path.dirname(__file__), "..", "tools"))


def run(*args, stdin=None, timeout=120):
    return subprocess.run([DRAXEL, *args], capture_output=True, text=True, timeout=timeout, stdin=stdin)


def audit(path):
    return subprocess.run([sys.executable, os.path.join(TOOLS, "dxfaudit.py"), path],
                          capture_output=True, text=True, timeout=600)


def groups(path):
    with open(path, encoding="utf-8", errors="replace") as f:
        lines = f.read().splitlines()
    return [(int(lines[i]), lines[i + 1].strip()) for i in range(0, len(lines) - 1, 2)]


def have(folder, *names):
    return all(os.path.isfile(os.path.join(folder, n)) for n in names)


class HostileInput(unittest.TestCase):
    def setUp(self):
        self.tmp = tempfile.mkdtemp(prefix="dxhostile")

    def tearDown(self):
        shutil.rmtree(self.tmp, ignore_errors=True)

    def out(self, name):
        return os.path.join(self.tmp, name)

    def assertSound(self, path):
        """Readable by ezdxf without audit findings, every handle unique."""
        a = audit(path)
        self.assertEqual(a.returncode, 0, a.stdout + a.stderr)
        handles = [v for c, v in groups(path) if c in (5, 105)]
        self.assertNotIn("0", handles)
        dup = [h for h, n in collections.Counter(handles).items() if n > 1]
        self.assertEqual(dup, [], "handles written twice")

    @unittest.skipUnless(os.path.isdir(BAD), f"damaged samples not found in {BAD!r}")
    def test_damaged_drawings_are_repaired_said_and_saved_sound(self):
        # file -> what the repair message names (None: nothing to repair)
        cases = {
            "blocktable_typeconfusion.dxf": "DIMSTYLE record in the BLOCK_RECORD table",
            "layoutdict_not_dictionary.dxf": "ACAD_LAYOUT",
            "handle_collision.dxf": "ACAD_LAYOUT",
            "insert_modelspace.dxf": "'*Model_Space'",
            "self_insert.dxf": "'SELF' inside 'SELF'",
            "handle_max.dxf": None,
        }
        for name, said in cases.items():
            with self.subTest(drawing=name):
                dst = self.out(name)
                # Selection by window measures every reference (extents), then new
                # objects need new handles.
                r = run(os.path.join(BAD, name), "-c", 'ERASE W -10,-10 10,10 "" LINE 0,0 5,5 ""', "-o", dst)
                self.assertEqual(r.returncode, 0, r.stderr)
                repairs = [ln for ln in r.stdout.splitlines() if ln.startswith(name + ": ")]
                if said:
                    self.assertTrue(any(said in ln for ln in repairs), r.stdout)
                else:
                    self.assertEqual(repairs, [])
                self.assertSound(dst)

    @unittest.skipUnless(os.path.isdir(BAD) and os.path.isdir(GOOD), "sample drawings not found")
    def test_inserted_drawing_brings_everything_it_needs(self):
        import ezdxf
        files = [os.path.join(BAD, n) for n in sorted(os.listdir(BAD)) if n.startswith("insert_")]
        files += [os.path.join(GOOD, n) for n in sorted(os.listdir(GOOD)) if n.endswith(".dxf")]
        for src in files:
            name = os.path.splitext(os.path.basename(src))[0]
            with self.subTest(drawing=name):
                dst = self.out("ins_" + name + ".dxf")
                r = run("-c", f"-INSERT {src} 0,0 1 1 0", "-o", dst)
                self.assertEqual(r.returncode, 0, r.stderr)
                self.assertSound(dst)
                copy = ezdxf.readfile(dst)
                # Compare with what draxel reads of the source (its cycles broken, and
                # some samples are beyond ezdxf's plain loader).
                own = self.out("own_" + name + ".dxf")
                self.assertEqual(run(src, "-o", own).returncode, 0)
                source = ezdxf.readfile(own)
                block = copy.blocks.get(name)
                self.assertIsNotNone(block)
                kinds = lambda layout: collections.Counter(e.dxftype() for e in layout)
                self.assertEqual(kinds(block), kinds(source.modelspace()))
                attribs = lambda layout: sum(len(e.attribs) for e in layout.query("INSERT"))
                self.assertEqual(attribs(block), attribs(source.modelspace()))

    def test_nesting_is_walked_without_recursion_and_cycles_are_broken(self):
        import ezdxf
        depth = 20000
        doc = ezdxf.new("R2000")
        doc.blocks.new("B0").add_line((0, 0), (1, 1))
        for i in range(1, depth):
            doc.blocks.new(f"B{i}").add_blockref(f"B{i - 1}", (0, 0))
        doc.modelspace().add_blockref(f"B{depth - 1}", (2, 2))
        # Two blocks holding each other.
        doc.blocks.new("PING").add_blockref("PONG", (0, 0))
        doc.blocks.new("PONG").add_blockref("PING", (0, 0))
        doc.modelspace().add_blockref("PING", (0, 0))
        src, dst = self.out("deep.dxf"), self.out("deep_out.dxf")
        doc.saveas(src)
        r = run(src, "-c", 'ERASE W 1.5,1.5 3.5,3.5 ""', "-o", dst, timeout=600)
        self.assertEqual(r.returncode, 0, r.stderr)
        self.assertIn("would contain itself", r.stdout)
        self.assertIn("1 found", r.stdout)  # the chain is measured to its end: 2,2 .. 3,3
        out = ezdxf.readfile(dst)
        self.assertEqual(len(out.modelspace()), 1)  # PING; the chain was erased
        self.assertEqual(len(out.blocks.get("B1")), 1)
        ping, pong = (len(out.blocks.get(n).query("INSERT")) for n in ("PING", "PONG"))
        self.assertEqual(ping + pong, 1)

    @unittest.skipUnless(have(BAD, "nan_ucs_3point.scr", "nan_ucs_rotation.scr", "nan_insert_rotation.scr")
                         and have(GOOD, "ASCII_R12.dxf", "dimension_in_block.dxf"), "sample files not found")
    def test_arithmetic_overflow_never_reaches_the_drawing(self):
        import ezdxf
        cases = [("nan_ucs_3point.scr", "ASCII_R12.dxf", "out of range"),
                 ("nan_ucs_rotation.scr", "ASCII_R12.dxf", None),
                 ("nan_insert_rotation.scr", "dimension_in_block.dxf", None)]
        for script, drawing, said in cases:
            with self.subTest(script=script):
                dst = self.out(script + ".dxf")
                r = run(os.path.join(GOOD, drawing), "-s", os.path.join(BAD, script), "-o", dst)
                self.assertEqual(r.returncode, 0, r.stderr)
                if said:
                    self.assertIn(said, r.stdout)
                for code, value in groups(dst):
                    if 10 <= code <= 59 or 110 <= code <= 149 or 210 <= code <= 239:
                        self.assertTrue(math.isfinite(float(value)), f"group {code}: {value}")
                self.assertSound(dst)
                # What the script asked for that could be done was done.
                lines = ezdxf.readfile(dst).modelspace().query("LINE")
                if script.startswith("nan_ucs"):
                    self.assertTrue(any(abs(ln.dxf.start.distance(ln.dxf.end) - math.sqrt(2)) < 1e-9
                                        for ln in lines))

    def test_endless_input_is_refused(self):
        for args, stdin in ((["/dev/zero"], None), (["-s", "/dev/zero"], None), (["-s", "-"], "/dev/zero")):
            with self.subTest(args=args):
                with open(stdin or os.devnull, "rb") as f:
                    r = run(*args, stdin=f, timeout=60)
                self.assertEqual(r.returncode, 1)
                self.assertEqual(len(r.stderr.strip().splitlines()), 1, r.stderr)
        script = self.out("self.scr")
        with open(script, "w") as f:
            f.write(f"LINE\n0,0\n1,1\n\nSCRIPT\n{script}\n")
        dst = self.out("self.dxf")
        r = run("-s", script, "-o", dst, timeout=60)
        self.assertEqual(r.returncode, 0, r.stderr)
        self.assertIn("nested too deep", r.stdout)
        import ezdxf
        # Every level drew its line before going deeper.
        self.assertEqual(len(ezdxf.readfile(dst).modelspace().query("LINE")), 32)

    def test_drawings_older_than_r12_and_without_header_open(self):
        import ezdxf
        line = "  0\nLINE\n  8\nWALLS\n 10\n0\n 20\n0\n 11\n3\n 21\n4\n"
        tables = ("  0\nSECTION\n  2\nTABLES\n  0\nTABLE\n  2\nLAYER\n 70\n1\n"
                  "  0\nLAYER\n  2\nWALLS\n 70\n0\n 62\n5\n  6\nCONTINUOUS\n  0\nENDTAB\n  0\nENDSEC\n")
        entities = "  0\nSECTION\n  2\nENTITIES\n" + line + "  0\nENDSEC\n  0\nEOF\n"
        for ver in ("AC1003", "AC1006", None):
            with self.subTest(version=ver):
                header = f"  0\nSECTION\n  2\nHEADER\n  9\n$ACADVER\n  1\n{ver}\n  0\nENDSEC\n" if ver else ""
                src, dst = self.out(f"old_{ver}.dxf"), self.out(f"old_{ver}_out.dxf")
                with open(src, "w") as f:
                    f.write(header + (tables if ver else "") + entities)
                r = run(src, "-o", dst)
                self.assertEqual(r.returncode, 0, r.stderr)
                self.assertSound(dst)
                doc = ezdxf.readfile(dst)
                (ln,) = doc.modelspace().query("LINE")
                self.assertEqual((ln.dxf.layer, tuple(ln.dxf.end)), ("WALLS", (3, 4, 0)))
                if ver:
                    self.assertEqual(doc.layers.get("WALLS").dxf.color, 5)

    def test_damaged_structure_needs_recover_which_keeps_what_it_can(self):
        import ezdxf
        good = self.out("good.dxf")
        self.assertEqual(run("-c", "LINE 0,0 1,1 \"\"", "-o", good, "--version", "AC1015").returncode, 0)
        with open(good) as f:
            text = f.read()
        # TABLES loses its ENDSEC, stray groups stand before ENTITIES, two lines share
        # a handle and a polyline is cut off by ENDSEC.
        tables_end = text.index("  0\nENDSEC\n", text.index("TABLES"))
        text = text[:tables_end] + text[tables_end + len("  0\nENDSEC\n"):]
        line = "  0\nLINE\n  5\nA0\n  8\n0\n 10\n{x}\n 20\n0\n 11\n{x}\n 21\n9\n"
        cut = "  0\nPOLYLINE\n  8\n0\n 66\n1\n 10\n0\n 20\n0\n  0\nVERTEX\n  8\n0\n 10\n5\n 20\n5\n"
        text = text.replace("  0\nSECTION\n  2\nENTITIES\n", "  8\nstray\n  0\nSECTION\n  2\nENTITIES\n" +
                            line.format(x=3) + line.format(x=4) + cut, 1)
        damaged = self.out("damaged.dxf")
        with open(damaged, "w") as f:
            f.write(text)
        r = run(damaged, "-o", self.out("refused.dxf"))
        self.assertEqual(r.returncode, 1)
        self.assertIn("RECOVER", r.stderr)
        self.assertFalse(os.path.exists(self.out("refused.dxf")))
        for args in (["--recover", damaged], ["-c", f"RECOVER {damaged}"]):
            with self.subTest(args=args[0]):
                dst = self.out("recovered.dxf")
                r = run(*args, "-o", dst)
                self.assertEqual(r.returncode, 0, r.stderr)
                for said in ("TABLES without ENDSEC", "stray groups", "got new handles", "recovered, 3 repairs"):
                    self.assertIn(said, r.stdout)
                self.assertSound(dst)
                msp = ezdxf.readfile(dst).modelspace()
                self.assertEqual(len(msp.query("LINE")), 3)
                self.assertEqual(len(msp.query("POLYLINE")), 1)

    def test_small_refusals_and_messages(self):
        import ezdxf
        # A scale of 0 is refused and asked again; the cancel leaves LTSCALE as it was.
        r = run("-c", "LTSCALE 0 -2 ^C")
        self.assertEqual(r.stdout.count("Requires a value greater than 0."), 2, r.stdout)
        # A cancelled -LINETYPE ends the command: what follows runs as commands.
        dst = self.out("cancel.dxf")
        r = run("-c", '-LINETYPE L ^C LINE 0,0 1,1 ""', "-o", dst)
        self.assertEqual(r.returncode, 0, r.stderr)
        self.assertEqual(len(ezdxf.readfile(dst).modelspace().query("LINE")), 1)
        # A pattern longer than the format allows is refused, the others load.
        lin = self.out("long.lin")
        with open(lin, "w") as f:
            f.write("*LONG,too long\nA," + ",".join(["1,-1"] * 6) + ",1\n*SHORT,fine\nA,1,-1\n")
        r = run("-c", f'-LINETYPE L * {lin} ""', "-o", dst)
        self.assertIn('"LONG" has more than 12 dashes', r.stdout)
        names = {lt.dxf.name for lt in ezdxf.readfile(dst).linetypes}
        self.assertIn("SHORT", names)
        self.assertNotIn("LONG", names)
        # Saving through a symbolic link replaces the file it names.
        target, link = self.out("target.dxf"), self.out("link.dxf")
        with open(target, "w") as f:
            f.write("old")
        os.symlink("target.dxf", link)
        self.assertEqual(run("-o", link).returncode, 0)
        self.assertTrue(os.path.islink(link))
        self.assertEqual(ezdxf.readfile(target).dxfversion, "AC1032")
        # A bad line is quoted short, on one line, its position said once.
        bad = self.out("bad.dxf")
        with open(bad, "w") as f:
            f.write("  0\nSECTION\n  2\nHEADER\n  0\n" + "X" * 5000 + "\n")
        r = run(bad)
        self.assertEqual(r.returncode, 1)
        self.assertEqual(len(r.stderr.splitlines()), 1, r.stderr)
        self.assertLess(len(r.stderr), 200 + len(bad) + 40)
        self.assertEqual(r.stderr.count("line "), 1, r.stderr)

    def test_fuzzer_findings_load_or_are_refused_and_what_is_saved_loads(self):
        # Each file is the smallest input a fuzzer found that broke the host: it opens
        # (then its repairs are said, and the saved copy opens again) or it is refused
        # with a one-line message.
        folder = os.path.join(os.path.dirname(os.path.abspath(__file__)), "fuzz_findings")
        names = sorted(os.listdir(folder))
        self.assertTrue(names)
        for name in names:
            with self.subTest(finding=name):
                dst = self.out(name)
                r = run(os.path.join(folder, name), "-o", dst)
                self.assertIn(r.returncode, (0, 1), r.stderr)  # a signal is a crash
                if r.returncode == 1:
                    self.assertEqual(len(r.stderr.splitlines()), 1, r.stderr)
                    continue
                again = run(dst, "-o", self.out("again.dxf"))
                self.assertEqual(again.returncode, 0, again.stderr)
                self.assertSound(dst)


if __name__ == "__main__":
    unittest.main(verbosity=2)
