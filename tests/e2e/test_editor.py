#!/usr/bin/python3
"""draxel as a user drives it: scripts and one-liners on DXF drawings, results read back
with ezdxf (an independent reader), undo compared with dxfcompare.

Environment: DRAXEL (the program), DX_PICKLOOP (the test module, optional).
"""

import os
import pty
import select
import sys
import time
import unittest

import ezdxf

# Other end-to-end files build on these tests: the shared harness is found from here too.
sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "tools"))
from draxeltest import DRAXEL, DraxelTest, draxel as run  # noqa: E402
from draxeltest import compare as same_drawing  # noqa: E402,F401  (other end-to-end files use it)


class Console:
    """draxel on a drawing in a pseudo-terminal, as a user at the keyboard runs it."""

    def __init__(self, drawing, cwd=None):
        self.pid, self.fd = pty.fork()
        if self.pid == 0:
            if cwd:
                os.chdir(cwd)
            os.execv(DRAXEL, [DRAXEL, drawing])
        self.seen = b""

    def wait_for(self, text, timeout=20):
        """Whether text has been shown, reading what comes for at most timeout seconds."""
        end = time.time() + timeout
        while text.encode() not in self.seen and time.time() < end:
            if select.select([self.fd], [], [], 0.2)[0]:
                try:
                    self.seen += os.read(self.fd, 4096)
                except OSError:
                    break
        return text.encode() in self.seen


class Drawing(DraxelTest):
    def setUp(self):
        super().setUp()
        doc = ezdxf.new("R2018")
        msp = doc.modelspace()
        doc.layers.add("WALLS", color=1)
        doc.layers.add("LOCKED").lock()
        msp.add_line((0, 0), (10, 0), dxfattribs={"layer": "WALLS"})
        msp.add_circle((20, 20), 5)
        msp.add_line((0, 5), (10, 5), dxfattribs={"layer": "LOCKED"})
        inner = doc.blocks.new("INNER")
        inner.add_circle((0, 0), 1)
        door = doc.blocks.new("DOOR")
        door.add_line((0, 0), (1, 0))
        door.add_attdef("TAG", (0, 1), dxfattribs={"prompt": "Door tag"})
        door.add_blockref("INNER", (3, 0))
        ref = msp.add_blockref("DOOR", (50, 50))
        ref.add_attrib("TAG", "D1", (50, 51))
        msp.add_lwpolyline([(100, 0), (110, 0), (110, 10)], close=True)
        self.base = self.path("base.dxf")
        doc.saveas(self.base)
        part = ezdxf.new("R2018")
        pb = part.blocks.new("PIN")
        pb.add_circle((0, 0), 0.5)
        part.modelspace().add_line((0, 0), (2, 0))
        part.modelspace().add_blockref("PIN", (1, 1))
        part.saveas(self.path("part.dxf"))

    def script(self, text, out="out.dxf", drawing=None):
        scr = self.path("run.scr")
        with open(scr, "w") as f:
            f.write(text)
        out = self.path(out)
        r = run(drawing or self.base, "-s", scr, "-o", out)
        # The host reports objects a command left open; no command may leave one.
        self.assertNotIn("left open", r.stdout)
        return r, out

    def types(self, path, layout="msp"):
        doc = ezdxf.readfile(path)
        return sorted(e.dxftype() for e in doc.modelspace())

    def roundtrip(self):
        """The base drawing opened and saved by draxel with nothing done to it."""
        return super().roundtrip(self.base)

    def assert_undo_gives_back(self, steps_script):
        """The script's changes, then U for each command: the drawing as it was."""
        r, out = self.script(steps_script, out="undone.dxf")
        self.assertEqual(r.returncode, 0, r.stdout + r.stderr)
        self.assertSameDrawing(self.roundtrip(), out)


class HostCommands(Drawing):
    def test_line_draws_segments_and_close(self):
        r, out = self.script("LINE 0,0 10,10 \"\"\nLINE 200,0 210,0 205,8 C\n")
        self.assertEqual(r.returncode, 0, r.stderr)
        lines = [e for e in ezdxf.readfile(out).modelspace().query("LINE")]
        ends = sorted((tuple(e.dxf.start)[:2], tuple(e.dxf.end)[:2]) for e in lines)
        self.assertIn(((0, 0), (10, 10)), ends)
        self.assertIn(((205, 8), (200, 0)), ends)  # Close goes back to the first point
        self.assertEqual(len(lines), 2 + 1 + 3)
        self.assertIn("Specify next point or [Close/Undo]: C", r.stdout)

    def test_erase_by_pick_window_and_handle_skips_locked_layers(self):
        doc = ezdxf.readfile(self.base)
        circle = doc.modelspace().query("CIRCLE")[0].dxf.handle
        r, out = self.script(f"ERASE #{circle} W -1,-1 11,11 \"\"\n")
        self.assertEqual(r.returncode, 0, r.stderr)
        self.assertIn("1 was on a locked layer", r.stdout)
        layers = sorted(e.dxf.layer for e in ezdxf.readfile(out).modelspace().query("LINE"))
        self.assertEqual(layers, ["LOCKED"])
        self.assertEqual(len(ezdxf.readfile(out).modelspace().query("CIRCLE")), 0)

    def test_explode_block_with_attributes_and_nested_block(self):
        r, out = self.script("EXPLODE 50,50 \"\"\n")
        self.assertEqual(r.returncode, 0, r.stderr)
        msp = ezdxf.readfile(out).modelspace()
        # One level: the nested INNER stays a reference, the definition's ATTDEF comes
        # back as the block holds it, the reference's ATTRIB goes.
        inner = msp.query("INSERT")
        self.assertEqual([i.dxf.name for i in inner], ["INNER"])
        self.assertAlmostEqual(inner[0].dxf.insert.x, 53)
        attdefs = msp.query("ATTDEF")
        self.assertEqual([a.dxf.tag for a in attdefs], ["TAG"])
        self.assertEqual(len(msp.query("ATTRIB")), 0)
        self.assertEqual(len(msp.query("LINE")), 3)

    def test_explode_polyline_into_segments(self):
        r, out = self.script("EXPLODE 105,0 \"\"\n")
        self.assertEqual(r.returncode, 0, r.stderr)
        msp = ezdxf.readfile(out).modelspace()
        self.assertEqual(len(msp.query("LWPOLYLINE")), 0)
        self.assertEqual(len(msp.query("LINE")), 2 + 3)

    def test_chprop_layer_colour_on_a_crossing_selection(self):
        r, out = self.script("CHPROP C 15,15 30,30 \"\" LA WALLS C 3 LT Continuous \"\"\n")
        self.assertEqual(r.returncode, 0, r.stdout + r.stderr)
        c = ezdxf.readfile(out).modelspace().query("CIRCLE")[0]
        self.assertEqual((c.dxf.layer, c.dxf.color, c.dxf.linetype), ("WALLS", 3, "Continuous"))
        line = ezdxf.readfile(out).modelspace().query("LINE")[0]
        self.assertEqual(line.dxf.layer, "WALLS")  # outside the window: untouched

    def test_insert_a_drawing_file_with_scale_and_rotation(self):
        r, out = self.script(f"-INSERT {self.path('part.dxf')} 30,30 2 \"\" 90\n")
        self.assertEqual(r.returncode, 0, r.stdout + r.stderr)
        doc = ezdxf.readfile(out)
        ref = [i for i in doc.modelspace().query("INSERT") if i.dxf.name == "part"][0]
        self.assertEqual(tuple(ref.dxf.insert)[:2], (30, 30))
        self.assertEqual((ref.dxf.xscale, ref.dxf.yscale), (2, 2))
        self.assertAlmostEqual(ref.dxf.rotation, 90)
        block = sorted(e.dxftype() for e in doc.blocks["part"])
        self.assertEqual(block, ["INSERT", "LINE"])
        self.assertEqual(sorted(e.dxftype() for e in doc.blocks["PIN"]), ["CIRCLE"])

    def test_insert_block_asks_attribute_values(self):
        r, out = self.script("-INSERT DOOR 60,60 1 1 0 \"D 77\"\n")
        self.assertEqual(r.returncode, 0, r.stdout + r.stderr)
        refs = [i for i in ezdxf.readfile(out).modelspace().query("INSERT") if i.dxf.insert.x == 60]
        self.assertEqual([a.dxf.text for a in refs[0].attribs], ["D 77"])

    def test_linetype_load_from_lin_file_and_purge(self):
        with open(self.path("my.lin"), "w") as f:
            f.write(";; test\n*DASHDOT2,Dash dot __ . __\nA,.5,-.25,0,-.25\n*OTHER,x\nA,1,-1\n")
        r, out = self.script(f"-LINETYPE L DASHDOT2 {self.path('my.lin')} \"\"\n")
        self.assertEqual(r.returncode, 0, r.stdout + r.stderr)
        lt = ezdxf.readfile(out).linetypes.get("DASHDOT2")
        self.assertEqual(lt.dxf.description, "Dash dot __ . __")
        self.assertEqual([round(v, 6) for v in lt.simplified_line_pattern()], [0.5, 0.25, 0.0, 0.25])
        self.assertNotIn("OTHER", ezdxf.readfile(out).linetypes)
        r, out2 = self.script("PURGE A \"\" N\n", out="purged.dxf", drawing=out)
        self.assertEqual(r.returncode, 0, r.stdout + r.stderr)
        self.assertNotIn("DASHDOT2", ezdxf.readfile(out2).linetypes)

    def test_ucs_rotation_applies_to_typed_points_and_previous_restores(self):
        r, out = self.script("UCS Z 90\nLINE 0,0 10,0 \"\"\nUCS P\nLINE 0,0 0,7 \"\"\n")
        self.assertEqual(r.returncode, 0, r.stdout + r.stderr)
        ends = sorted(tuple(round(v, 9) for v in e.dxf.end)[:2]
                      for e in ezdxf.readfile(out).modelspace().query("LINE")
                      if tuple(e.dxf.start)[:2] == (0, 0))
        self.assertEqual(ends, [(0, 7), (0, 10), (10, 0)])

    def lines_from(self, path, start):
        """End points of the lines starting at a world point, rounded."""
        return sorted(tuple(round(v, 9) + 0.0 for v in e.dxf.end)
                      for e in ezdxf.readfile(path).modelspace().query("LINE")
                      if all(abs(a - b) < 1e-9 for a, b in zip(e.dxf.start, start)))

    def test_ucs_three_points(self):
        # X along world Y; then a UCS standing up in the world XZ plane.
        r, out = self.script("UCS 300,0 300,5 0,0\nLINE 0,0 4,0 \"\"\nUCS W\n"
                             "UCS 400,0 401,0 400,0,1\nLINE 0,0 0,3 \"\"\n")
        self.assertEqual(r.returncode, 0, r.stdout + r.stderr)
        self.assertEqual(self.lines_from(out, (300, 0, 0)), [(300, 4, 0)])
        self.assertEqual(self.lines_from(out, (400, 0, 0)), [(400, 0, 3)])
        r, out = self.script("UCS 0,0 1,0 2,0\nUCS 5,5 5,5\n")
        self.assertIn("The three points lie on one line", r.stdout)
        self.assertIn("The point is on the origin", r.stdout)

    def test_ucs_object_and_view(self):
        # A miss asks again; the line's end nearer the pick becomes the origin, X along it.
        r, out = self.script("UCS OB 500,500 9,0\nLINE 0,0 2,0 \"\"\n"
                             "UCS W\nUCS OB 20,25\nLINE 0,0 0,3 \"\"\n"
                             "UCS V\nLINE 0,0 7,0 \"\"\n")
        self.assertEqual(r.returncode, 0, r.stdout + r.stderr)
        self.assertEqual(self.lines_from(out, (10, 0, 0)), [(8, 0, 0)])
        # The circle's centre, X towards the pick (world Y), so the UCS's Y is world -X;
        # then the plan view's UCS: world axes, the origin kept.
        self.assertEqual(self.lines_from(out, (20, 20, 0)), [(17, 20, 0), (27, 20, 0)])

    def test_saveas_and_open(self):
        target = self.path("copy.dxf")
        r, _ = self.script(f"LINE 0,0 3,3 \"\"\nSAVEAS 2000 {target}\nOPEN {self.base}\n")
        self.assertEqual(r.returncode, 0, r.stdout + r.stderr)
        copy = ezdxf.readfile(target)
        self.assertEqual(copy.dxfversion, "AC1015")
        self.assertEqual(len(copy.modelspace().query("LINE")), 3)

    def test_script_command_runs_a_nested_script(self):
        with open(self.path("inner.scr"), "w") as f:
            f.write("LINE 0,0 4,4 \"\"\n")
        r, out = self.script(f"SCRIPT {self.path('inner.scr')}\n")
        self.assertEqual(r.returncode, 0, r.stdout + r.stderr)
        self.assertEqual(len(ezdxf.readfile(out).modelspace().query("LINE")), 3)


class Undo(Drawing):
    def test_u_after_each_command_gives_back_the_drawing(self):
        for name, text in {
            "line": "LINE 0,0 10,10 20,0 \"\"\n",
            "erase": "ERASE ALL \"\"\n",
            "explode": "EXPLODE 50,50 \"\"\n",
            "chprop": "CHPROP ALL \"\" C 5 LA WALLS \"\"\n",
            "insert": f"-INSERT {self.path('part.dxf')} 30,30 1 1 0\n",
            "insert-block": "-INSERT DOOR 60,60 1 1 0 X\n",
        }.items():
            with self.subTest(command=name):
                self.assert_undo_gives_back(text + "U\n")

    def test_group_is_one_step_and_marks_and_back(self):
        self.assert_undo_gives_back(
            "UNDO BE\nLINE 0,0 1,1 \"\"\nERASE ALL \"\"\nUNDO E\nU\n")
        self.assert_undo_gives_back(
            "UNDO M\nLINE 0,0 1,1 \"\"\nLINE 0,0 2,2 \"\"\nUNDO B\n")
        self.assert_undo_gives_back("LINE 0,0 1,1 \"\"\nLINE 0,0 2,2 \"\"\nUNDO 2\n")
        # Only the last of two commands goes.
        r, out = self.script("LINE 0,0 1,1 \"\"\nLINE 0,0 2,2 \"\"\nU\n")
        self.assertEqual(len(ezdxf.readfile(out).modelspace().query("LINE")), 3)


class BadInput(Drawing):
    def assert_unchanged_and_stopped(self, r, out, message):
        self.assertNotEqual(r.returncode, 0, r.stdout)
        self.assertIn(message, r.stdout + r.stderr)
        self.assertFalse(os.path.exists(out), "a failed run must not write the drawing")
        self.assertEqual(r.stderr.count("\n"), 1, r.stderr)

    def test_unknown_command(self):
        r, out = self.script("LINE 0,0 1,1 \"\"\nFROBNICATE\nLINE 0,0 2,2 \"\"\n")
        self.assert_unchanged_and_stopped(r, out, 'Unknown command "FROBNICATE"')

    def test_script_out_of_answers(self):
        r, out = self.script("LINE 0,0 5,5\n")
        self.assert_unchanged_and_stopped(r, out, "LINE was waiting for an answer")
        # A variable typed by its name: the prompt says which.
        r, out = self.script("CELTYPE\n")
        self.assert_unchanged_and_stopped(r, out, 'the input ended at "Enter new value for CELTYPE')

    def test_malformed_point_is_asked_again(self):
        r, out = self.script("LINE 0,0 1,2,3,4 x,y 5,5 \"\"\n")
        self.assertEqual(r.returncode, 0, r.stderr)
        # The next-point prompt has keywords: the message says so.
        self.assertEqual(r.stdout.count("Point or option keyword required."), 2)
        self.assertEqual(len(ezdxf.readfile(out).modelspace().query("LINE")), 3)

    def test_missing_files(self):
        r = run(self.path("nope.dxf"), "-c", "LINE 0,0 1,1 \"\"")
        self.assertEqual(r.returncode, 1)
        self.assertEqual(r.stderr.strip().count("\n"), 0)
        self.assertIn("nope.dxf", r.stderr)
        r = run(self.base, "-s", self.path("nope.scr"))
        self.assertEqual(r.returncode, 1)
        self.assertIn("nope.scr", r.stderr)
        r, out = self.script(f"-INSERT {self.path('gone.dxf')} \"\"\nOPEN {self.path('gone.dxf')}\n")
        self.assertEqual(r.returncode, 0, r.stderr)
        self.assertIn("not found", r.stdout)
        self.assertSameDrawing(self.roundtrip(), out)

    def test_cancel_ends_the_command(self):
        r, out = self.script("ERASE ALL ^C\n")
        self.assertEqual(r.returncode, 0, r.stderr)
        self.assertIn("*Cancel*", r.stdout)
        self.assertSameDrawing(self.roundtrip(), out)


class Purge(Drawing):
    """PURGE by type and name pattern, with and without asking for each name."""

    def setUp(self):
        super().setUp()
        doc = ezdxf.new("R2018")
        msp = doc.modelspace()
        for name in ("USED", "OLD-1", "OLD-2", "OLDER"):
            doc.layers.add(name)
        doc.linetypes.add("DASH1", pattern=[1.0, 0.5, -0.5], description="unused")
        doc.linetypes.add("DASH2", pattern=[2.0, 1.0, -1.0], description="used")
        doc.styles.new("OLDSTYLE", dxfattribs={"font": "DejaVuSans.ttf"})
        doc.dimstyles.new("OLDDIM")
        inner = doc.blocks.new("INNER")
        inner.add_circle((0, 0), 1, dxfattribs={"layer": "OLDER"})
        outer = doc.blocks.new("OUTER")
        outer.add_blockref("INNER", (0, 0))
        doc.blocks.new("PLACED").add_line((0, 0), (1, 1))
        msp.add_line((0, 0), (5, 0), dxfattribs={"layer": "USED", "linetype": "DASH2"})
        msp.add_blockref("PLACED", (10, 10))
        self.base = self.path("purge.dxf")
        doc.saveas(self.base)

    def names(self, path):
        doc = ezdxf.readfile(path)
        return {
            "layers": {l.dxf.name for l in doc.layers} - {"0", "Defpoints"},
            "linetypes": {l.dxf.name.upper() for l in doc.linetypes} - {"BYLAYER", "BYBLOCK", "CONTINUOUS"},
            "styles": {s.dxf.name for s in doc.styles} - {"Standard"},
            "dimstyles": {d.dxf.name for d in doc.dimstyles} - {"Standard"},
            "blocks": {b.name for b in doc.blocks if not b.name.startswith("*")},
        }

    def test_a_type_and_a_name_pattern_limit_what_goes(self):
        r, out = self.script("PURGE LA OLD-* N\n")
        self.assertEqual(r.returncode, 0, r.stdout + r.stderr)
        self.assertIn('Deleting layer "OLD-1".', r.stdout)
        self.assertIn("2 items purged.", r.stdout)
        after = self.names(out)
        # OLDER does not match; USED is used; nothing of another type went.
        self.assertEqual(after["layers"], {"USED", "OLDER"})
        self.assertEqual(after, {**self.names(self.base), "layers": {"USED", "OLDER"}})

    def test_each_type_on_its_own(self):
        for typed, key, gone in [("LT", "linetypes", {"DASH1"}), ("ST", "styles", {"OLDSTYLE"}),
                                 ("D", "dimstyles", {"OLDDIM"})]:
            with self.subTest(type=typed):
                r, out = self.script(f"PURGE {typed} \"\" N\n")
                self.assertEqual(r.returncode, 0, r.stdout + r.stderr)
                self.assertEqual(self.names(out), {**self.names(self.base),
                                                   key: self.names(self.base)[key] - gone})

    def test_blocks_used_only_by_purged_blocks_go_too(self):
        r, out = self.script("PURGE B * N\n")
        self.assertEqual(r.returncode, 0, r.stdout + r.stderr)
        self.assertEqual(self.names(out)["blocks"], {"PLACED"})
        # The layer INNER's circle was on is now unused, but only blocks were asked for.
        self.assertIn("OLDER", self.names(out)["layers"])
        r, out = self.script("PURGE A * N\n", out="all.dxf")
        after = self.names(out)
        self.assertEqual(after, {"layers": {"USED"}, "linetypes": {"DASH2"}, "styles": set(),
                                 "dimstyles": set(), "blocks": {"PLACED"}})

    def test_verify_asks_once_for_each_name(self):
        # OUTER yes, OLD-1 no, OLD-2 yes, OLDSTYLE no, OLDDIM yes. INNER does not match;
        # OLDER stays in use by INNER. The second round, after OUTER went, does not ask
        # about OLD-1 again.
        r, out = self.script("PURGE A O* Y\nY\nN\nY\nN\nY\n", out="asked.dxf")
        self.assertEqual(r.returncode, 0, r.stdout + r.stderr)
        asked = [line.split('"')[1] for line in r.stdout.splitlines() if line.startswith("Purge ")]
        self.assertEqual(asked, ["OUTER", "OLD-1", "OLD-2", "OLDSTYLE", "OLDDIM"], r.stdout)
        self.assertEqual(self.names(out), {"layers": {"USED", "OLD-1", "OLDER"}, "linetypes": {"DASH1", "DASH2"},
                                           "styles": {"OLDSTYLE"}, "dimstyles": set(),
                                           "blocks": {"INNER", "PLACED"}})

    def test_verify_default_and_answers(self):
        r, out = self.script("PURGE LA * \"\"\nY\n\"\"\n")
        self.assertEqual(r.returncode, 0, r.stdout + r.stderr)
        self.assertIn('Purge layer "OLD-1"? [Yes/No] <N>: Y', r.stdout)
        self.assertEqual(self.names(out)["layers"], {"USED", "OLD-2", "OLDER"})

    def test_cancel_at_a_question_and_u_give_back_the_drawing(self):
        r, out = self.script("PURGE LA * Y\nY\n^C\n", out="cancelled.dxf")
        self.assertEqual(r.returncode, 0, r.stdout + r.stderr)
        self.assertSameDrawing(self.roundtrip(), out)
        self.assert_undo_gives_back("PURGE A * N\nU\n")

    def test_nothing_to_purge_and_a_wrong_type(self):
        r, out = self.script("PURGE LT NOSUCH* N\nPURGE FOO B * N\nPURGE B * N\n")
        self.assertEqual(r.returncode, 0, r.stdout + r.stderr)
        self.assertIn('No unreferenced linetypes found matching "NOSUCH*".', r.stdout)
        self.assertIn("Invalid option keyword.", r.stdout)
        self.assertIn("No unreferenced blocks found.", r.stdout)


PICKLOOP = os.environ.get("DX_PICKLOOP", "")


@unittest.skipUnless(os.path.isfile(PICKLOOP), "the pickloop test module is not built")
class MissedPickLoop(Drawing):
    """MARKRED (a module command loaded with --load) picks objects one at a time and
    colours them red; a missed pick asks again while ERRNO is non-zero."""

    def markred(self, answers, out="marked.dxf"):
        scr = self.path("pick.scr")
        with open(scr, "w") as f:
            f.write(answers)
        out = self.path(out)
        r = run(self.base, "--load", PICKLOOP, "-s", scr, "-o", out)
        self.assertNotIn("left open", r.stdout)
        return r, out

    def colours(self, path):
        msp = ezdxf.readfile(path).modelspace()
        return {e.dxftype() + ":" + e.dxf.layer: e.dxf.color for e in msp.query("LINE CIRCLE")}

    def test_misses_repeat_the_prompt_and_enter_ends_it(self):
        # Empty space twice, the WALLS line, a handle that is no object, the circle's rim, Enter.
        r, out = self.markred("MARKRED\n200,200\n300,-40\n5,0\n#FFFFF\n25,20\n\"\"\nERRNO \"\"\n")
        self.assertEqual(r.returncode, 0, r.stdout + r.stderr)
        self.assertEqual(r.stdout.count("Select object to mark red: "), 6, r.stdout)
        self.assertEqual(r.stdout.count("Nothing there; pick again."), 3, r.stdout)
        self.assertIn("2 marked, 3 missed.", r.stdout)
        # Enter left ERRNO at 0.
        self.assertIn("Enter new value for ERRNO <0>: ", r.stdout)
        self.assertEqual(self.colours(out), {"LINE:WALLS": 1, "CIRCLE:0": 1, "LINE:LOCKED": 256})

    def test_enter_at_once_changes_nothing_and_u_takes_the_loop_back_in_one_step(self):
        r, out = self.markred("MARKRED\n\"\"\n")
        self.assertEqual(r.returncode, 0, r.stdout + r.stderr)
        self.assertIn("0 marked, 0 missed.", r.stdout)
        self.assertSameDrawing(self.roundtrip(), out)
        r, out = self.markred("MARKRED\n5,0\n80,20\n25,20\n\"\"\nU\n", out="undone.dxf")
        self.assertEqual(r.returncode, 0, r.stdout + r.stderr)
        self.assertIn("2 marked, 1 missed.", r.stdout)
        self.assertSameDrawing(self.roundtrip(), out)

    def test_cancel_ends_the_loop_and_a_script_out_of_picks_stops(self):
        r, out = self.markred("MARKRED\n5,0\n999,999\n^C\n")
        self.assertEqual(r.returncode, 0, r.stdout + r.stderr)
        self.assertIn("1 marked, 1 missed.", r.stdout)
        self.assertEqual(self.colours(out)["LINE:WALLS"], 1)
        r, out = self.markred("MARKRED\n999,999\n", out="stopped.dxf")
        self.assertNotEqual(r.returncode, 0)
        self.assertIn("waiting for an answer", r.stderr)
        self.assertFalse(os.path.exists(out))

    def test_the_command_is_listed_with_its_group(self):
        r = run("--load", PICKLOOP, "--list-commands")
        self.assertEqual(r.returncode, 0, r.stderr)
        self.assertIn(["E2EPICKLOOP", "MARKRED", "MARKRED", "0x0"],
                      [line.split() for line in r.stdout.splitlines()])


class CommandLine(Drawing):
    def test_echo_reads_like_a_session_and_comments_are_skipped(self):
        r, _ = self.script("; a comment\nLINE\n0,0\n\"3,4\"\n\n")
        self.assertEqual(r.returncode, 0, r.stderr)
        self.assertIn("Command: LINE\nSpecify first point: 0,0\n", r.stdout)
        self.assertNotIn("comment", r.stdout)

    def test_one_liners_and_scripts_run_in_order(self):
        scr = self.path("a.scr")
        with open(scr, "w") as f:
            f.write("LINE 0,0 1,0 \"\"\n")
        out = self.path("o.dxf")
        r = run(self.base, "-c", "ERASE ALL \"\"", "-s", scr, "-o", out)
        self.assertEqual(r.returncode, 0, r.stderr)
        # ERASE ALL left the line on the locked layer; the script's line came after.
        lines = ezdxf.readfile(out).modelspace().query("LINE")
        self.assertEqual(sorted(e.dxf.layer for e in lines), ["0", "LOCKED"])
        self.assertEqual(self.types(out), ["LINE", "LINE"])

    def test_interactive_session_in_a_pseudo_terminal(self):
        console = Console(self.base)
        fd, wait_for = console.fd, console.wait_for
        self.assertTrue(wait_for("Command: "), console.seen)
        os.write(fd, b"LINE 0,0\r")
        self.assertTrue(wait_for("Specify next point or [Undo]: "), console.seen)
        os.write(fd, b"5,5\r\r")
        os.write(fd, b"CMDECHO\r")
        self.assertTrue(wait_for("Enter new value for CMDECHO <1>: "), console.seen)
        os.write(fd, b"\rQUIT\r")
        self.assertTrue(wait_for("Save changes to"), console.seen)
        os.write(fd, b"N\r")
        _, status = os.waitpid(console.pid, 0)
        os.close(fd)
        seen = console.seen
        self.assertEqual(os.WEXITSTATUS(status), 0, seen)
        self.assertIn(b"Specify first point: 0,0", seen)  # typed ahead: echoed
        self.assertIn(b"LINE 0,0", seen)                  # the terminal's own echo


if __name__ == "__main__":
    unittest.main(verbosity=2)
