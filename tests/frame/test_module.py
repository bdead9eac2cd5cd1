#!/usr/bin/python3
"""draxel with express.drx, as a user starts it: the module loads from beside the program,
registers its commands, loads its menu, honours the add-on gate and the user profile, and
purges spreadsheet-table blocks when a drawing is saved. Results are read back with ezdxf.

Environment: DRAXEL (the program, with express.drx beside it), PROBE (probe.drx).
"""

import os
import shutil
import subprocess
import tempfile
import unittest

import ezdxf

DRAXEL = os.environ.get("DRAXEL", "draxel")
PROBE = os.environ.get("PROBE", "probe.drx")
BIN = os.path.dirname(os.path.abspath(DRAXEL))
SHEET_KEY = "{82380376-776B-484f-B3C4-9520E99003CF}"

# The command table as the product defines it: name, group (K KvExpressTools,
# C KVEXPRESSTOOLSCMD, D DraxelTools), flags, local-name identifier.
TABLE = """
attout K 0x2 64000
attin K 0x0 64001
blocktoxref K 0x0 64002
blockreplace K 0x2000000 64003
-xlist K 0x1 64004
xlist K 0x1 64005
ncopy K 0x0 64006
BURST K 0x2 64009
bChgCol K 0x0 64010
bChgWid K 0x0 64011
bChgAng K 0x0 64012
bChgHei K 0x0 64013
bChgLay K 0x0 64014
chgXrefPath K 0x0 64015
tjnum K 0x0 64016
BLKNUM K 0x0 62044
bcount K 0x2 64017
fs K 0x7 64190
fastsel K 0x7 64191
fsmode K 0x2 64192
ssx K 0x7 64193
textfit K 0x2 64018
textmask K 0x0 64019
textunmask K 0x2 64020
txt2mtxt K 0x2 64021
tjust K 0x2 64022
torient K 0x2 64023
tcircle K 0x2 64024
tcount K 0x2 64025
tcase K 0x2 64026
chgsty K 0x0 64027
chgtxt K 0x2 64028
TxtHei K 0x0 64029
TxtWid K 0x0 64030
TxtAng K 0x0 64031
TxtPos K 0x2 64032
chkck K 0x0 64033
mmtext K 0x0 64034
wjsr K 0x0 64035
FILEIMP K 0x0 62045
hzcf K 0x0 64036
TXTSPLIT K 0x0 62046
wzdd K 0x0 64037
TXTBREAK K 0x0 62047
wzoff K 0x0 64038
ttl2 K 0x0 64039
DX_DZTEXT K 0x3 64040
TextOnLine K 0x0 64041
TextMatch K 0x0 64042
ChangeText K 0x6 64043
TextAlign K 0x6 64044
qlattach K 0x0 64045
qldetachset K 0x2 64046
qlattachset K 0x2 64047
dimex K 0x0 64048
dimim K 0x0 64049
dimreassoc K 0x2 64050
dimupdate K 0x0 64051
dimfix K 0x0 64052
getsel K 0x0 64053
getBlkSel K 0x0 64054
getEntSel K 0x0 64055
getLaySel K 0x0 64056
getColSel K 0x0 64057
getEntLaySel K 0x0 64058
getEntColSel K 0x0 64059
getLayColSel K 0x0 64060
mocoro K 0x2 64061
copym K 0x2 64062
exoffset K 0x2 64063
mpedit K 0x2 64064
extrim K 0x0 64066
AlignTool C 0x2 64067
ArrangeTool C 0x2 64068
LayoutByPath C 0x0 64069
AreaSum C 0x0 64070
breakobject K 0x0 64184
breakline K 0x0 64071
spline2line K 0x0 64074
superhatch K 0x2000000 64075
-superhatch K 0x2000000 640751
DX_boolop K 0x0 64076
Line2PL C 0x0 64077
sysvdlg K 0x0 64078
mkltype K 0x0 64079
xdata K 0x0 64080
XDLIST K 0x0 64081
closeline K 0x1 70012
clipit K 0x3 70013
formtxt K 0x0 64082
bge K 0x0 64083
bgh K 0x0 64084
bgfg K 0x0 64085
bgf K 0x0 64086
bgx K 0x0 64087
bgmt K 0x0 64088
bgst K 0x0 64089
bgjt K 0x0 64090
bgsf K 0x0 64091
bgzh K 0x0 64092
bgsh K 0x0 64093
bgzl K 0x0 64094
bgsl K 0x0 64181
bgsc K 0x2 64095
bgjs K 0x2 64096
DX_CTE C 0x3 64097
vmzzbd K 0x0 64098
DIMCORD K 0x0 62048
changeZ K 0x2 64099
coexport K 0x0 64185
Cmp C 0x0 64100
-cmp C 0x0 64186
batpurge K 0x0 64101
movebak D 0x0 64187
ZOTA_TABLYNX_HELP C 0x1 64102
ZOTA_TABLYNX_EDIT C 0x1 64103
ZOTA_TABLYNX_CREATE C 0x1 64104
ZOTA_TABLYNX_UPDATETBL C 0x3 64105
ZOTA_TABLYNX_UPDATEALLTBL C 0x0 64106
ZOTA_TABLYNX_SELECTION C 0x1 64107
ZOTA_TABLYNX_MANAGELINK C 0x1 64108
ZOTA_TABLYNX_USINGPATH C 0x1 64109
DX_layoffother K 0x0 64110
LAYOFFOTHER K 0x0 62041
DX_layfrzother C 0x0 64111
LAYFRZOTHER C 0x0 62042
DX_laylckother C 0x0 64112
LAYLCKOTHER C 0x0 62043
tcyd K 0x0 64113
LAYMOVE K 0x0 62040
pchc K 0x0 64114
LAYCHGCOLOR K 0x0 62039
LAYDRAWORDER K 0x0 62057
kll01 K 0x2 64115
PrintPlt K 0x0 64116
BP K 0x2000000 64117
Zdpt K 0x0 64183
FRAMEAR K 0x0 62050
vm_AddTxt K 0x1 64118
edgecam K 0x0 64119
ArcSum K 0x1 64120
chgdimtxt K 0x1 64121
ccoff K 0x1 64122
chla K 0x1 64123
tcsz K 0x0 64182
stychg K 0x0 64125
ddsty K 0x0 64128
bgelsp K 0x0 64129
bgsclsp K 0x0 64130
bgsflsp K 0x0 64131
bghlsp K 0x0 64132
bgflsp K 0x0 64133
bgxlsp K 0x0 64134
bgmtlsp K 0x0 64135
bgstlsp K 0x0 64136
bgjtlsp K 0x0 64137
bgjslsp K 0x0 64138
bgzhlsp K 0x0 64139
bgzllsp K 0x0 64140
bgshlsp K 0x0 64141
bgsllsp K 0x0 64142
xasget K 0x0 64143
CalcDist K 0x0 64157
DX_TextOnLine K 0x0 64158
RapidDist K 0x3 64188
Vpsync K 0x1 64196
LayoutMerge K 0x0 64194
-LayoutMerge K 0x0 64195
sascl D 0x0 64159
rtcur D 0x0 64160
rtcur0 D 0x0 64161
rtcur45 D 0x0 64162
rtcur1 D 0x0 64163
salpl D 0x2000000 64164
ett D 0x0 64165
gxfilt D 0x0 64166
gxfss D 0x0 64167
sfillet D 0x0 64168
lcw D 0x2 64169
cbk D 0x0 64170
cbkwid D 0x0 64171
edtxt D 0x2 64172
txt40 D 0x2 64173
txt41 D 0x2 64174
txt50 D 0x2 64175
txt51 D 0x2 64176
SUPERAXON D 0x2 62049
sahttp D 0x0 64178
LOCKUP D 0x0 70010
UNLOCK D 0x0 70011
"""
GROUPS = {"K": "KvExpressTools", "C": "KVEXPRESSTOOLSCMD", "D": "DraxelTools"}
EXPECTED = [(GROUPS[g], name, "0x%X" % int(flags, 16)) for name, g, flags, _ in
            (line.split() for line in TABLE.strip().splitlines())]


class Module(unittest.TestCase):
    def setUp(self):
        self.tmpdir = tempfile.TemporaryDirectory()
        self.tmp = self.tmpdir.name
        self.env = dict(os.environ)
        self.env.pop("DRAXEL_DISABLE_ADDONS", None)
        self.env["DRAXEL_PROFILE"] = self.path("profile.ini")
        self.env["DRAXEL_APPDIR"] = self.path("App")

    def tearDown(self):
        self.tmpdir.cleanup()

    def path(self, name):
        return os.path.join(self.tmp, name)

    def run_draxel(self, *args, program=DRAXEL, env=None):
        return subprocess.run([program, *args], capture_output=True, text=True, timeout=120,
                              env=env or self.env, stdin=subprocess.DEVNULL)

    def listed(self, r):
        self.assertEqual(r.returncode, 0, r.stderr)
        rows = [line.split() for line in r.stdout.splitlines()]
        # Command rows (group, name, local name, flags) of the modules, not the host's.
        return [row for row in rows if len(row) == 4 and row[3].startswith("0x") and row[0] != "DRAXEL"]

    def write(self, name, text):
        with open(self.path(name), "w") as f:
            f.write(text)

    def read(self, name):
        with open(self.path(name)) as f:
            return f.read()


class Commands(Module):
    def test_every_command_of_the_table_in_order_with_group_and_flags(self):
        rows = self.listed(self.run_draxel("--list-commands"))
        self.assertEqual(len(rows), 190)
        self.assertEqual([(g, n, f) for g, n, _, f in rows], EXPECTED)
        # This build's keyword library holds no local names.
        self.assertTrue(all(local == name for _, name, local, _ in rows))

    def test_a_name_taken_before_fails_alone_and_unload_removes_every_group(self):
        r = self.run_draxel("--load", PROBE, "--load", os.path.join(BIN, "express.drx"), "--list-commands")
        rows = self.listed(r)
        burst = [row for row in rows if row[1] == "BURST"]
        self.assertEqual(len(burst), 1)
        self.assertEqual(len(rows), 191)  # probe's two, express's 189
        self.assertEqual([row[1] for row in rows if row[1] not in ("BURST", "QTYPROBE")],
                         [name for _, name, _ in EXPECTED if name != "BURST"])
        r = self.run_draxel("--load", PROBE, "--load", os.path.join(BIN, "express.drx"),
                            "-c", "BURST LOCKUP")
        self.assertEqual(r.returncode, 0, r.stderr)
        self.assertIn("probe's BURST ran", r.stdout)
        self.assertIn("The LOCKUP command is not available in this version.", r.stdout)
        # express unloads first: at probe's unload only the host's group is left, the
        # never-filled quantitiestool included in the removal.
        self.assertIn("probe: groups at unload: DRAXEL\n", r.stdout)
        # express.drx's own export answers with the host's version.
        self.assertIn("probe: express.drx reports API version 2400\n", r.stdout)

    def test_commands_without_a_body_say_so_in_one_line(self):
        r = self.run_draxel("-c", "superhatch -LayoutMerge")
        self.assertEqual(r.returncode, 0, r.stderr)
        self.assertIn("\nThe superhatch command is not available in this version.\n", r.stdout)
        self.assertIn("\nThe -LayoutMerge command is not available in this version.\n", r.stdout)

    def test_the_menu_group_is_loaded_with_every_command(self):
        r = self.run_draxel("-c", "MENUGROUPS")
        self.assertEqual(r.returncode, 0, r.stderr)
        self.assertIn("EXPRESS  %s  190 commands" % os.path.join(BIN, "express.cuix"), r.stdout)


class Gate(Module):
    def test_gate_set_by_variable_or_profile_registers_nothing_and_loads_no_menu(self):
        env = dict(self.env, DRAXEL_DISABLE_ADDONS="1")
        self.assertEqual(self.listed(self.run_draxel("--list-commands", env=env)), [])
        r = self.run_draxel("-c", "MENUGROUPS", env=env)
        self.assertIn("No menu group is loaded.", r.stdout)
        r = self.run_draxel("-c", "LOCKUP", env=env)
        self.assertNotEqual(r.returncode, 0)  # unknown command

        self.write("profile.ini", "[General]\nDisableAddOnCommands=1\nDXAD=/opt/x\n")
        self.assertEqual(self.listed(self.run_draxel("--list-commands")), [])
        self.assertEqual(self.read("profile.ini"), "[General]\nDisableAddOnCommands=1\nDXAD=/opt/x\n")


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


class SupportPath(Module):
    def folder(self):
        return os.path.join(self.path("App"), "ExtendCmd")

    def test_folder_appended_and_stored_path_upper_cased_once(self):
        self.write("profile.ini", "[General]\nDXAD=/usr/share/Fonts;~/lisp\nKeep=me\n")
        self.assertEqual(self.run_draxel("-c", "").returncode, 0)
        self.assertEqual(self.read("profile.ini"),
                         "[General]\nDXAD=/USR/SHARE/FONTS;~/LISP;%s\nKeep=me\n" % self.folder())
        self.run_draxel("-c", "")
        self.assertEqual(self.read("profile.ini"),
                         "[General]\nDXAD=/USR/SHARE/FONTS;~/LISP;%s\nKeep=me\n" % self.folder())

    def test_folder_present_in_another_case_leaves_the_profile_untouched(self):
        text = "[General]\nDXAD=/usr/share/fonts;%s\n" % self.folder().upper()
        self.write("profile.ini", text)
        self.run_draxel("-c", "")
        self.assertEqual(self.read("profile.ini"), text)

    def test_no_key_no_change(self):
        self.write("profile.ini", "[Display]\nDXAD=/elsewhere\n")
        r = self.run_draxel("--list-commands")
        self.assertEqual(len(self.listed(r)), 190)
        self.assertEqual(self.read("profile.ini"), "[Display]\nDXAD=/elsewhere\n")


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

    def test_saving_with_output_option_purges_unreferenced_sheet_blocks(self):
        src = self.drawing()
        out = self.path("out.dxf")
        r = self.run_draxel(src, "-o", out)
        self.assertEqual(r.returncode, 0, r.stderr)
        names = self.blocks(out)
        self.assertNotIn("SHEET_LONELY", names)
        self.assertIn("SHEET_USED", names)
        self.assertIn("PLAIN", names)

    def test_saveas_command_purges_and_a_later_erase_frees_the_used_one(self):
        src = self.drawing()
        out = self.path("saved.dxf")
        r = self.run_draxel(src, "-c", 'ERASE ALL "" SAVEAS 2018 "%s"' % out)
        self.assertEqual(r.returncode, 0, r.stderr + r.stdout)
        names = self.blocks(out)
        self.assertNotIn("SHEET_LONELY", names)
        self.assertNotIn("SHEET_USED", names)
        self.assertIn("PLAIN", names)

    def test_the_gate_keeps_commands_out_but_not_the_purge(self):
        src = self.drawing()
        out = self.path("out.dxf")
        r = self.run_draxel(src, "-o", out, env=dict(self.env, DRAXEL_DISABLE_ADDONS="1"))
        self.assertEqual(r.returncode, 0, r.stderr)
        self.assertIn("SHEET_USED", self.blocks(out))
        self.assertNotIn("SHEET_LONELY", self.blocks(out))


if __name__ == "__main__":
    unittest.main()
