#!/usr/bin/python3
"""BATPURGE as a user runs it: draxel with express.drx purges folders of drawings, from the
command line (CMDDIA 0) and through its form answered by a script; ezdxf reads the results.

Environment: DRAXEL, DX_MODULE (express.drx), DX_SHARED_DATA (sample drawings, optional),
GEN_DXF (bench/gen_dxf.py, writes generated drawings).
"""

import os
import random
import resource
import shutil
import signal
import subprocess
import sys
import time
import unittest

import ezdxf

from draxeltest import DRAXEL, MODULE, SHARED, DraxelTest

GEN_DXF = os.environ.get("GEN_DXF", os.path.join(os.path.dirname(__file__), "..", "..", "bench", "gen_dxf.py"))


def read(path):
    with open(path, "rb") as f:
        return f.read()


def unused_records_drawing(path):
    """A drawing with one used and one unused record of every purgeable kind."""
    doc = ezdxf.new("AC1015")
    doc.layers.add("USED")
    doc.layers.add("UNUSED")
    doc.linetypes.add("USEDLT", pattern=[0.5, 0.25, -0.25])
    doc.linetypes.add("UNUSEDLT", pattern=[0.5, 0.25, -0.25])
    doc.styles.add("USEDST", font="txt")
    doc.styles.add("UNUSEDST", font="txt")
    doc.dimstyles.new("UNUSEDDIM")
    doc.blocks.new("USEDBLK").add_line((0, 0), (1, 0))
    # Records whose last use goes only with another record: found by later passes.
    doc.linetypes.add("CHAINLT", pattern=[0.5, 0.25, -0.25])
    doc.layers.add("CHAINED", linetype="CHAINLT")
    doc.layers.add("BLOCKONLY")
    doc.blocks.new("UNUSEDBLK").add_line((0, 0), (1, 0), dxfattribs={"layer": "BLOCKONLY"})
    msp = doc.modelspace()
    msp.add_line((0, 0), (10, 0), dxfattribs={"layer": "USED", "linetype": "USEDLT"})
    msp.add_text("note", dxfattribs={"style": "USEDST"})
    msp.add_blockref("USEDBLK", (5, 5))
    doc.saveas(path)


class BatPurge(DraxelTest):
    module = MODULE

    def setUp(self):
        super().setUp()
        self.plans = self.path("plans")
        os.makedirs(self.plans)
        self.log = os.path.join(self.appdir, "BatPurge.log")

    def tearDown(self):
        for root, dirs, files in os.walk(self.tmp):
            for name in files:
                os.chmod(os.path.join(root, name), 0o644)
        super().tearDown()

    def run_draxel(self, *commands, **kw):
        r = self.draxel(*[a for c in commands for a in ("-c", c)], timeout=600, **kw)
        self.assertEqual(r.returncode, 0, r.stdout + r.stderr)
        return r.stdout

    def generated(self, name, entities=300, seed=1):
        path = os.path.join(self.plans, name)
        subprocess.run([sys.executable, GEN_DXF, path, "--entities", str(entities), "--seed", str(seed),
                        "--version", "AC1018"], check=True, timeout=300, capture_output=True)
        return path

    def log_lines(self):
        data = read(self.log)
        self.assertTrue(data.endswith(b"\r\n"))
        self.assertNotIn(b"\n", data.replace(b"\r\n", b""), "every line ends with CR LF")
        return data.decode("utf-8").split("\r\n")[:-1]

    def check_log(self, totals, rows):
        lines = self.log_lines()
        self.assertEqual(lines[0], "Latest Purge:")
        self.assertRegex(lines[1], r"^Start Time:\d{4}-\d\d-\d\d  \d\d:\d\d:\d\d$")
        self.assertRegex(lines[2], r"^End Time:\d{4}-\d\d-\d\d  \d\d:\d\d:\d\d$")
        self.assertRegex(lines[3], r"^Time Consumption:(\d+[dhms])*$")
        self.assertEqual(lines[4], totals)
        self.assertEqual(lines[5:], [f"{os.path.abspath(p)}\t\t{state}" for p, state in rows])

    # ---- the command line (CMDDIA 0)

    def test_a_pattern_purges_every_drawing_in_place(self):
        files = []
        folder = os.path.join(SHARED, "dxf") if SHARED else ""
        if folder and os.path.isdir(folder):
            for name in sorted(os.listdir(folder)):
                if name.endswith(".dxf"):
                    files.append(shutil.copyfile(os.path.join(folder, name), os.path.join(self.plans, name)))
        else:
            print(f"no sample drawings in {folder!r} (DX_SHARED_DATA); generated ones only", file=sys.stderr)
        files.append(self.generated("generated.dxf"))
        unused_records_drawing(os.path.join(self.plans, "records.dxf"))
        files.append(os.path.join(self.plans, "records.dxf"))
        files.sort()
        before = {p: read(p) for p in files}

        out = self.run_draxel("CMDDIA 0", 'BATPURGE plans/*.dxf "" ""')
        # Not a terminal: one line per file with its state.
        for p in files:
            self.assertIn(f"{os.path.abspath(p)} Succeed", out)
        n = len(files)
        self.check_log(f"Total:{n}, Succeed:{n},Failed:0, Not Do:0", [(p, "Succeed") for p in files])
        for p in files:
            with self.subTest(file=os.path.basename(p)):
                doc = ezdxf.readfile(p)
                self.assertEqual(doc.dxfversion, "AC1032")
                self.assertEqual(read(os.path.splitext(p)[0] + ".bak"), before[p])

        doc = ezdxf.readfile(os.path.join(self.plans, "records.dxf"))
        for gone in ("CHAINED", "BLOCKONLY"):
            self.assertNotIn(gone, doc.layers)
        self.assertNotIn("CHAINLT", doc.linetypes)
        for table, used, unused in ((doc.layers, "USED", "UNUSED"), (doc.linetypes, "USEDLT", "UNUSEDLT"),
                                    (doc.styles, "USEDST", "UNUSEDST"), (doc.dimstyles, "Standard", "UNUSEDDIM")):
            self.assertIn(used, table)
            self.assertNotIn(unused, table)
        self.assertIn("USEDBLK", doc.blocks)
        self.assertNotIn("UNUSEDBLK", doc.blocks)
        self.assertEqual(len(doc.modelspace()), 3)

    def test_a_failed_save_leaves_the_original(self):
        # A file size limit makes every write of a drawing fail as a full disk would.
        big = self.generated("big.dxf", 3000)
        before = read(big)

        def limit():
            signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
            resource.setrlimit(resource.RLIMIT_FSIZE, (100000, 100000))

        self.assertGreater(len(before), 200000)
        self.run_draxel("CMDDIA 0", 'BATPURGE plans/*.dxf "" ""', preexec_fn=limit)
        self.assertEqual(read(big), before)
        self.check_log("Total:1, Succeed:0,Failed:1, Not Do:0", [(big, "Failed")])
        self.assertEqual(sorted(f for f in os.listdir(self.plans) if ".tmp" in f), [])

    def test_nothing_to_purge_asks_for_files_and_writes_no_log(self):
        out = self.run_draxel("CMDDIA 0", 'BATPURGE ""')
        self.assertIn("CAUTION: Please pick files first!", out)
        out = self.run_draxel("CMDDIA 0", 'BATPURGE plans/*.dxf ""')  # a pattern that finds nothing
        self.assertIn('No drawing file found at "plans/*.dxf".', out)
        self.assertIn("Please pick files first!", out)
        self.assertFalse(os.path.exists(self.log))

    # ---- the form, answered by a script

    def test_form_purges_the_checked_rows_in_the_chosen_format(self):
        files = [self.generated(f"{i}.dxf", 60, seed=i) for i in range(1, 6)]
        before = {p: read(p) for p in files}
        # 3 add a folder, 5 uncheck rows 1, 3 and 5, 6 the second format, 7 start, Enter closes.
        out = self.run_draxel(f'BATPURGE 3 {self.plans} 5 "1 3 5" 6 2 7 ""')
        self.assertIn("5 file(s) added.", out)
        rows = [(p, "Succeed" if i in (1, 3) else "Not Do") for i, p in enumerate(files)]
        self.check_log("Total:5, Succeed:2,Failed:0, Not Do:3", rows)
        for i, p in enumerate(files):
            if i in (1, 3):
                self.assertEqual(ezdxf.readfile(p).dxfversion, "AC1027")
            else:
                self.assertEqual(read(p), before[p], "unchecked files keep their bytes")
        # The form shows the states after the run.
        self.assertIn("[X] " + os.path.abspath(files[1]) + "  Succeed", out)
        self.assertIn("[ ] " + os.path.abspath(files[0]) + "  NotDo", out)

    def test_form_start_without_files_and_view_log_without_a_log(self):
        out = self.run_draxel('BATPURGE 7 8 ""')
        self.assertIn("CAUTION: Please pick files first!", out)
        self.assertIn("CAUTION: No files have ever been purged,there's no log file now!", out)
        self.assertFalse(os.path.exists(self.log))

    # ---- killed at any moment

    def test_sigkill_at_random_moments_leaves_each_drawing_whole(self):
        originals = {}
        for i in range(6):
            p = self.generated(f"k{i}.dxf", 2000, seed=10 + i)
            originals[os.path.basename(p)] = read(p)
        reference = os.path.join(self.tmp, "reference")
        shutil.copytree(self.plans, reference)
        started = time.monotonic()
        self.run_draxel("CMDDIA 0", f'BATPURGE {reference} "" ""')
        full_run = time.monotonic() - started
        purged = {name: read(os.path.join(reference, name)) for name in originals}
        self.assertNotEqual(purged, originals)

        rng = random.Random(7)
        outcomes = set()
        for attempt in range(20):
            shutil.rmtree(self.plans)
            os.makedirs(self.plans)
            for name, data in originals.items():
                with open(os.path.join(self.plans, name), "wb") as f:
                    f.write(data)
            proc = subprocess.Popen([DRAXEL, "--load", MODULE, "-c", "CMDDIA 0", "-c", f'BATPURGE {self.plans} "" ""'],
                                    cwd=self.tmp, env=self.env(), stdin=subprocess.DEVNULL,
                                    stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
            time.sleep(rng.uniform(0, full_run))
            proc.send_signal(signal.SIGKILL)
            proc.wait()
            for name in originals:
                data = read(os.path.join(self.plans, name))
                with self.subTest(attempt=attempt, file=name):
                    self.assertIn(data, (originals[name], purged[name]))
                    outcomes.add(data == purged[name])
        self.assertEqual(outcomes, {True, False}, "the kills fell before and after some saves")


if __name__ == "__main__":
    unittest.main(verbosity=2)
