#!/usr/bin/python3
"""draxel with express.drx, as a user starts it: the module loads from beside the program,
registers its commands, loads its menu and its resource library, and purges
spreadsheet-table blocks when a drawing is saved, also with the add-on gate set. Results
are read back with ezdxf.

Environment: DRAXEL (the program, with express.drx beside it), PROBE (probe.drx).
"""

import os
import shutil
import unittest

import ezdxf

from draxeltest import DRAXEL, DraxelTest, draxel

PROBE = os.environ.get("PROBE", "probe.drx")
BIN = os.path.dirname(os.path.abspath(DRAXEL))
EXPRESS = os.path.join(BIN, "express.drx")
SHEET_KEY = "{82380376-776B-484f-B3C4-9520E99003CF}"


class Module(DraxelTest):
    def run_draxel(self, *args, program=DRAXEL, **extra_env):
        env = self.env(**extra_env)
        if not extra_env:
            env.pop("DRAXEL_DISABLE_ADDONS", None)
        return draxel(*args, program=program, env=env)

    def listed(self, r):
        self.assertEqual(r.returncode, 0, r.stderr)
        rows = [line.split() for line in r.stdout.splitlines()]
        # Command rows (group, name, local name, flags) of the modules, not the host's.
        return [row for row in rows if len(row) == 4 and row[3].startswith("0x") and row[0] != "DRAXEL"]


class Commands(Module):
    def test_a_name_taken_before_fails_alone_and_unload_removes_every_group(self):
        alone = self.listed(self.run_draxel("--list-commands"))
        self.assertEqual(len(alone), 190)
        # This build's keyword library holds no local names.
        self.assertTrue(all(row[1] == row[2] for row in alone))
        r = self.run_draxel("--load", PROBE, "--load", EXPRESS, "--list-commands")
        rows = self.listed(r)
        self.assertEqual([row[1] for row in rows].count("BURST"), 1)
        self.assertEqual(len(rows), 191)  # probe's two, express's 189
        self.assertEqual([row[1] for row in rows if row[1] not in ("BURST", "QTYPROBE")],
                         [row[1] for row in alone if row[1] != "BURST"])
        r = self.run_draxel("--load", PROBE, "--load", EXPRESS, "-c", "BURST LOCKUP")
        self.assertEqual(r.returncode, 0, r.stderr)
        self.assertIn("probe's BURST ran", r.stdout)
        self.assertIn("The LOCKUP command is not available in this version.", r.stdout)
        # express unloads first: at probe's unload only the host's group is left, the
        # never-filled quantitiestool included in the removal.
        self.assertIn("probe: groups at unload: DRAXEL\n", r.stdout)
        # express.drx's own export answers with the host's version.
        self.assertIn("probe: express.drx reports API version 2400\n", r.stdout)

    def test_commands_without_a_body_say_so_in_one_line(self):
        r = self.run_draxel("-c", "bcount -LayoutMerge")
        self.assertEqual(r.returncode, 0, r.stderr)
        self.assertIn("\nThe bcount command is not available in this version.\n", r.stdout)
        self.assertIn("\nThe -LayoutMerge command is not available in this version.\n", r.stdout)

    def test_the_menu_group_is_loaded_with_every_command(self):
        r = self.run_draxel("-c", "MENUGROUPS")
        self.assertEqual(r.returncode, 0, r.stderr)
        self.assertIn("EXPRESS  %s  190 commands" % os.path.join(BIN, "express.cuix"), r.stdout)


class Resources(Module):
    def test_without_the_resource_library_loading_says_so_and_commands_still_run(self):
        alone = self.path("alone")
        os.mkdir(alone)
        for f in ("draxel", "express.drx", "express.cuix", "dxadkwlres.dll"):
            shutil.copy2(os.path.join(BIN, f), alone)
        r = self.run_draxel("-c", "txt2mtxt ^C LOCKUP", program=os.path.join(alone, "draxel"))
        self.assertEqual(r.returncode, 0, r.stderr)
        self.assertIn("Error: Cannot load expressres.dll!", r.stdout)
        # txt2mtxt's prompt exists only in the library: without it the prompt is empty.
        self.assertNotIn("Select text objects", r.stdout)
        self.assertIn("*Cancel*", r.stdout)
        self.assertIn("The LOCKUP command is not available in this version.", r.stdout)
        r = self.run_draxel("--list-commands", program=os.path.join(alone, "draxel"))
        self.assertEqual(len(self.listed(r)), 190)
        self.assertEqual(r.stdout.count("Error: Cannot load expressres.dll!"), 1)
        # With the library beside the module: no such message, and the library's prompt.
        r = self.run_draxel("-c", "txt2mtxt ^C")
        self.assertEqual(r.returncode, 0, r.stderr)
        self.assertNotIn("Cannot load expressres.dll", r.stdout)
        self.assertIn("Select text objects, or Enter for settings:", r.stdout)


class SavePurge(Module):
    def drawing(self):
        doc = ezdxf.new("R2018")
        for name, marked in (("SHEET_LONELY", True), ("SHEET_USED", True), ("PLAIN", False)):
            blk = doc.blocks.new(name)
            blk.add_line((0, 0), (1, 1))
            if marked:
                xdict = blk.block_record.new_extension_dict()
                xdict.add_xrecord(SHEET_KEY)
        doc.modelspace().add_blockref("SHEET_USED", (5, 5))
        path = self.path("sheets.dxf")
        doc.saveas(path)
        return path

    def blocks(self, path):
        doc = ezdxf.readfile(path)
        auditor = doc.audit()
        self.assertEqual(len(auditor.errors), 0, [str(e) for e in auditor.errors])
        return {b.name for b in doc.blocks}

    def test_saveas_command_purges_and_a_later_erase_frees_the_used_one(self):
        src = self.drawing()
        out = self.path("saved.dxf")
        r = self.run_draxel(src, "-c", 'ERASE ALL "" SAVEAS 2018 "%s"' % out)
        self.assertEqual(r.returncode, 0, r.stderr + r.stdout)
        names = self.blocks(out)
        self.assertNotIn("SHEET_LONELY", names)
        self.assertNotIn("SHEET_USED", names)
        self.assertIn("PLAIN", names)

    def test_saving_with_the_gate_set_still_purges_unreferenced_sheet_blocks(self):
        src = self.drawing()
        out = self.path("out.dxf")
        r = self.run_draxel(src, "-o", out, DRAXEL_DISABLE_ADDONS="1")
        self.assertEqual(r.returncode, 0, r.stderr)
        self.assertEqual({"SHEET_USED", "PLAIN"} - self.blocks(out), set())
        self.assertNotIn("SHEET_LONELY", self.blocks(out))


if __name__ == "__main__":
    unittest.main()
