#!/usr/bin/python3
"""FILEIMP and wjsr as a user runs them: draxel with express.drx imports JWW drawings into
a new drawing and saves it; ezdxf (an independent reader) reads the result back.

Environment: DRAXEL, DX_MODULE (express.drx), JWW_MAKE_DRAWING (writes drawings with our
JWW writer), DX_SHARED_DATA (JW_CAD's own files, optional).
"""

import math
import os
import re
import subprocess
import unittest

import ezdxf

import dxfcompare
from draxeltest import MODULE, SHARED, DraxelTest

MAKE_DRAWING = os.environ.get("JWW_MAKE_DRAWING", "jww_make_drawing")

SUMMARY = {
    "lines": ("LINE",),
    "circles": ("CIRCLE", "ARC", "ELLIPSE"),
    "dots": ("POINT",),
    "texts": ("TEXT",),
    "solids": ("HATCH",),
    "dimentions": ("DIMENSION",),
    "blocks": ("INSERT",),
}
LINE_TYPES = ["Continuous", "DASHED2", "DASHED", "DASHEDX2", "DASHDOT", "DASHDOTX2", "DIVIDE2", "DIVIDE", "DOT"]


def summary_counts(output):
    return {m.group(2): int(m.group(1))
            for m in re.finditer(r"Translated (\d+) (\w+) to entities of DXAD\.", output)}


def report_lines(output):
    lines = [l for l in output.splitlines() if l.startswith(("Created new layer", "Translated"))]
    assert lines, output
    return lines


def model_counts(doc):
    counts = {}
    for e in doc.modelspace():
        counts[e.dxftype()] = counts.get(e.dxftype(), 0) + 1
    return counts


class Import(DraxelTest):
    module = MODULE

    def make(self, kind):
        out = self.path(kind + ".jww")
        subprocess.run([MAKE_DRAWING, kind, out], check=True, timeout=60)
        return out

    def convert(self, jww, command="FILEIMP", point="0,0", name="out.dxf"):
        out = self.path(name)
        r = self.draxel("-c", f'{command} "{jww}" {point}', "-o", out)
        self.assertEqual(r.returncode, 0, r.stdout + r.stderr)
        return out, r.stdout

    def read_clean(self, dxf):
        doc, note = dxfcompare.load_doc(dxf)
        self.assertEqual(note, "readfile")
        self.assertEqual(dxfcompare.audit_issues(doc), [])
        return doc

    def check_summary(self, doc, output):
        counts = summary_counts(output)
        in_model = model_counts(doc)
        for word, types in SUMMARY.items():
            self.assertEqual(counts.get(word, 0), sum(in_model.get(t, 0) for t in types), word)
        # Nothing else lands in model space.
        known = {t for types in SUMMARY.values() for t in types}
        self.assertEqual(set(in_model) - known, set())
        return counts

    def check_layers_and_properties(self, doc, output):
        created = re.findall(r"Created new layer\((.*?)\) in DXAD relating to layer\[(\d+)\] of grouplayer\[(\d+)\]",
                             output)
        on_layers = {e.dxf.layer for e in doc.modelspace()}
        order = [(int(group), int(layer)) for _, layer, group in created]
        self.assertEqual(order, sorted(order), "layers are made group by group, layer by layer")
        for name, layer, group in created:
            self.assertTrue(name.startswith(f"JWW[{group}][{layer}]"), name)
            self.assertIn(name, doc.layers)
            # Only the drawing's own records make layers, not block contents.
            self.assertIn(name, on_layers)
        if created:
            self.assertIn(f"Translated {len(created)} layers of JWCAD to layers of DXAD.", output)
        for e in doc.modelspace():
            self.assertTrue(e.dxf.layer == "0" or e.dxf.layer.startswith("JWW["), e.dxf.layer)
            self.assertIn(e.dxf.linetype, LINE_TYPES + ["BYLAYER", "ByLayer"])
            if e.dxf.linetype not in ("BYLAYER", "ByLayer"):
                self.assertIn(e.dxf.linetype, doc.linetypes)

    # ---- the files JW_CAD wrote

    def shared_files(self):
        folder = os.path.join(SHARED, "jww")
        if not SHARED or not os.path.isdir(folder):
            self.skipTest(f"no JW_CAD sample files in {folder!r} (DX_SHARED_DATA)")
        return sorted(os.path.join(folder, f) for f in os.listdir(folder) if f.endswith(".jww"))

    def test_every_jw_cad_file_imports_clean_with_its_counts(self):
        for jww in self.shared_files():
            with self.subTest(file=os.path.basename(jww)):
                dxf, output = self.convert(jww, name=os.path.basename(jww) + ".dxf")
                self.assertIn(f"Succeeded to read data from {jww}", output)
                doc = self.read_clean(dxf)
                self.check_summary(doc, output)
                self.check_layers_and_properties(doc, output)

    def test_test1_layers_colours_line_types_and_japanese_text(self):
        jww = next((f for f in self.shared_files() if f.endswith("Test1.jww")), None)
        if not jww:
            self.skipTest("no Test1.jww")
        dxf, output = self.convert(jww)
        doc = self.read_clean(dxf)
        counts = self.check_summary(doc, output)
        self.assertEqual(counts, {"lines": 1642, "circles": 4, "dots": 4, "texts": 36})
        # Layers in use, named with group, layer and the file's name, all editable there.
        names = sorted(l.dxf.name for l in doc.layers if l.dxf.name.startswith("JWW["))
        self.assertEqual(names, ["JWW[0][0]\u3000敷地", "JWW[0][10]#lv4", "JWW[0][1]\u3000屋上",
                                 "JWW[0][2]\u3000塔屋", "JWW[0][4]\u3000説明"])
        for name in names:
            layer = doc.layers.get(name)
            self.assertTrue(layer.is_on() and not layer.is_locked() and not layer.is_frozen(), name)
        # Pens by their nearest colour index: one index per pen (the palette is the host's).
        texts = [e for e in doc.modelspace() if e.dxftype() == "TEXT"]
        contents = [t.dxf.text for t in texts]
        self.assertIn("５ｍラインの書き方", contents)
        self.assertIn("日影規制をクリアーした。", contents)
        big = next(t for t in texts if t.dxf.text == "５ｍラインの書き方")
        self.assertNotIn(big.dxf.color, (0, 256))
        self.assertAlmostEqual(big.dxf.height, 6.0)
        self.assertEqual(doc.styles.get(big.dxf.style).get_extended_font_data()[0], "ＭＳ ゴシック")
        lines = [e for e in doc.modelspace() if e.dxftype() == "LINE"]
        by_pen = {}
        for e in lines:
            by_pen[e.dxf.color] = by_pen.get(e.dxf.color, 0) + 1
        self.assertEqual(sorted(by_pen.values()), [6, 1636])  # pens 1 and 2 of the file
        self.assertNotIn(big.dxf.color, by_pen)
        # Pen styles 2 and 6 of the file: loaded from the host's line-type file.
        styles = {}
        for e in lines:
            styles[e.dxf.linetype] = styles.get(e.dxf.linetype, 0) + 1
        self.assertEqual(styles, {"Continuous": 1632, "DASHED2": 6, "DASHDOTX2": 4})
        dashes = [t.value for t in doc.linetypes.get("DASHDOTX2").pattern_tags.tags if t.code == 49]
        self.assertEqual(dashes, [1.0, -0.5, 0.0, -0.5])  # as draxel.lin has it

    def test_block_insertions_point_at_their_definitions(self):
        jww = next((f for f in self.shared_files() if f.endswith("2blocks.jww")), None)
        if not jww:
            self.skipTest("no 2blocks.jww")
        dxf, output = self.convert(jww)
        doc = self.read_clean(dxf)
        self.assertEqual(summary_counts(output), {"texts": 6, "blocks": 2})
        inserts = sorted((e.dxf.name, e.dxf.insert) for e in doc.modelspace().query("INSERT"))
        self.assertEqual([name for name, _ in inserts], ["2circles@@SfigorgFlag@@41", "2lines@@SfigorgFlag@@40"])
        self.assertAlmostEqual(inserts[0][1][0], 70.7043, places=3)
        self.assertAlmostEqual(inserts[1][1][1], 18.8545, places=3)
        self.assertEqual([e.dxftype() for e in doc.blocks.get("2lines@@SfigorgFlag@@40")], ["LINE", "LINE"])
        self.assertEqual(sorted(e.dxftype() for e in doc.blocks.get("2circles@@SfigorgFlag@@41")),
                         ["CIRCLE", "CIRCLE"])

    # ---- drawings written by our JWW writer

    def test_geometry_of_every_record_kind_is_kept(self):
        jww = self.make("geometry")
        dxf, output = self.convert(jww, point="100,200")
        doc = self.read_clean(dxf)
        self.check_summary(doc, output)
        msp = doc.modelspace()
        dx, dy = 100, 200

        def near(a, b, tol=1e-6):
            for x, y in zip(a, b):
                self.assertAlmostEqual(x, y, delta=tol)

        layer = "JWW[1][2]形状"
        self.assertIn(layer, doc.layers)
        line = msp.query("LINE")[0]
        near(line.dxf.start, (dx, dy))
        near(line.dxf.end, (dx + 100, dy + 50))
        self.assertEqual(line.dxf.layer, layer)
        self.assertEqual(line.dxf.color, 1)  # pen 3 is pure red

        circle = msp.query("CIRCLE")[0]
        near(circle.dxf.center, (dx + 10, dy + 20))
        self.assertAlmostEqual(circle.dxf.radius, 5)
        arc = msp.query("ARC")[0]
        near(arc.dxf.center, (dx + 30, dy + 20))
        # Drawn clockwise from 90 to 0 degrees: the same quarter, counter-clockwise.
        self.assertAlmostEqual(arc.dxf.start_angle % 360, 0, delta=1e-6)
        self.assertAlmostEqual(arc.dxf.end_angle, 90, delta=1e-6)

        ellipses = {round(e.dxf.center[0] - dx): e for e in msp.query("ELLIPSE")}
        tilted = ellipses[50]
        near(tilted.dxf.major_axis, (10 * math.cos(math.pi / 6), 10 * math.sin(math.pi / 6), 0))
        self.assertAlmostEqual(tilted.dxf.ratio, 0.5)
        self.assertAlmostEqual(tilted.dxf.end_param - tilted.dxf.start_param, 2 * math.pi)
        near(ellipses[70].dxf.major_axis, (0, 10, 0))
        near(ellipses[90].dxf.center, (dx + 90, dy + 20))

        point = msp.query("POINT")[0]
        near(point.dxf.location, (dx + 5, dy + 6))

        texts = {t.dxf.text: t for t in msp.query("TEXT")}
        self.assertEqual(set(texts), {"傾いた文字", "italic"})  # the picture text is left out
        leaning = texts["傾いた文字"]
        near(leaning.dxf.insert, (dx + 10, dy + 40))
        self.assertAlmostEqual(leaning.dxf.height, 3)
        self.assertAlmostEqual(leaning.dxf.width, 0.8)
        self.assertAlmostEqual(leaning.dxf.rotation, 30)
        self.assertEqual(doc.styles.get(leaning.dxf.style).get_extended_font_data(), ("ＭＳ 明朝", False, True))

        hatch = msp.query("HATCH")[0]
        self.assertEqual(hatch.dxf.pattern_name, "SOLID")
        self.assertEqual(hatch.dxf.solid_fill, 1)
        loop = [tuple(v)[:2] for v in hatch.paths[0].vertices]
        self.assertEqual(loop, [(dx, dy + 100), (dx + 10, dy + 100), (dx + 10, dy + 110), (dx, dy + 110)])

        dim = msp.query("DIMENSION")[0]
        near(dim.dxf.defpoint2, (dx, dy - 20))
        near(dim.dxf.defpoint3, (dx + 40, dy - 20))
        near(dim.dxf.defpoint, (dx + 40, dy - 30))
        self.assertAlmostEqual(dim.dxf.angle, 0)
        self.assertEqual(dim.dxf.text, "40")
        self.assertEqual(sorted(e.dxftype() for e in doc.blocks.get(dim.dxf.geometry)), ["LINE", "LINE", "LINE", "TEXT"])

        ref = msp.query("INSERT")[0]
        self.assertEqual(ref.dxf.name, "outer6")
        near(ref.dxf.insert, (dx + 200, dy + 100))
        self.assertAlmostEqual(ref.dxf.xscale, 2)
        self.assertAlmostEqual(ref.dxf.yscale, 3)
        self.assertAlmostEqual(ref.dxf.rotation, 45)
        nested = list(doc.blocks.get("outer6"))
        self.assertEqual([e.dxftype() for e in nested], ["INSERT"])
        self.assertEqual(nested[0].dxf.name, "inner5")
        near(nested[0].dxf.insert, (2, 3))

    def test_layer_states_follow_the_file_through_the_alias_wjsr(self):
        jww = self.make("example")
        dxf, output = self.convert(jww, "wjsr")
        doc = self.read_clean(dxf)
        self.check_summary(doc, output)
        self.check_layers_and_properties(doc, output)
        grid = doc.layers.get("JWW[0][0]通り芯")
        self.assertTrue(grid.is_locked() and grid.is_on())
        hidden = doc.layers.get("JWW[0][6]仕上")
        self.assertTrue(hidden.is_off())
        walls = doc.layers.get("JWW[0][1]躯体")
        self.assertTrue(walls.is_on() and not walls.is_locked())
        # The dimension down the left side reads along its line.
        side = next(d for d in doc.modelspace().query("DIMENSION") if d.dxf.text == "6,370")
        self.assertAlmostEqual(side.dxf.angle % 360, 270)
        self.assertAlmostEqual(side.dxf.text_rotation % 360, 270)
        # The table set nests the chair four times.
        table = doc.blocks.get("食卓セット4")
        self.assertEqual(sorted(e.dxf.name for e in table.query("INSERT")), ["椅子3"] * 4)

    # ---- twice, cancel, bad files, undo

    def test_second_import_makes_no_layer(self):
        jww = self.make("example")
        out = self.path("twice.dxf")
        r = self.draxel("-c", f'FILEIMP "{jww}" 0,0', "-c", f'FILEIMP "{jww}" 500,500', "-o", out)
        self.assertEqual(r.returncode, 0, r.stderr)
        second = r.stdout[r.stdout.rindex("Succeeded to read data"):]
        self.assertEqual(r.stdout.count("layers of JWCAD to layers of DXAD"), 1)
        self.assertNotIn("Created new layer", second)
        self.assertNotIn("layers of JWCAD", second)
        doc = self.read_clean(out)
        once, _ = self.convert(jww, name="once.dxf")
        once_doc = ezdxf.readfile(once)
        self.assertEqual(len(doc.layers), len(once_doc.layers))
        self.assertEqual(len(doc.modelspace()), 2 * len(once_doc.modelspace()))
        # Block definitions are shared; each dimension has its own drawing block.
        named = lambda d: sorted(b.name for b in d.blocks if not b.name.startswith("*"))
        self.assertEqual(named(doc), named(once_doc))

    def test_no_insertion_point_adds_no_entity_but_reports_and_keeps_the_layers_and_u_undoes(self):
        jww = self.make("example")
        _, placed = self.convert(jww, name="placed.dxf")
        base = self.path("base.dxf")
        self.assertEqual(self.draxel("-o", base).returncode, 0)
        for answer in ("^C", '""'):
            with self.subTest(answer=answer):
                out = self.path("cancel.dxf")
                r = self.draxel(base, "-c", f'FILEIMP "{jww}" {answer}', "-o", out)
                self.assertEqual(r.returncode, 0, r.stderr)
                # The same report as a placed import: layers first, then the counts.
                self.assertEqual(report_lines(r.stdout), report_lines(placed))
                doc = self.read_clean(out)
                self.assertEqual(len(doc.modelspace()), 0)
                self.assertEqual([b.name for b in doc.blocks if not b.name.startswith("*")], [])
                created = re.findall(r"Created new layer\((.*?)\)", r.stdout)
                self.assertTrue(created)
                self.assertEqual(sorted(created), sorted(l.dxf.name for l in doc.layers if l.dxf.name.startswith("JWW[")))
        # One U takes back the layers of a cancelled import, and a whole import.
        for answer in ("^C", "0,0"):
            out = self.path("undone.dxf")
            r = self.draxel(base, "-c", f'FILEIMP "{jww}" {answer}', "-c", "U", "-o", out)
            self.assertEqual(r.returncode, 0, r.stderr)
            self.assertSameDrawing(base, out)

    def test_blocks_are_named_by_name_and_number_and_make_no_layer_of_their_own(self):
        jww = self.make("blocks")
        dxf, output = self.convert(jww)
        doc = self.read_clean(dxf)
        self.check_summary(doc, output)
        # Layer 3 ("建具") is used only inside the door: no layer, its pieces on "0".
        self.assertEqual(re.findall(r"Created new layer\((.*?)\)", output), ["JWW[0][1]壁"])
        self.assertIn("Translated 1 layers of JWCAD to layers of DXAD.", output)
        self.assertNotIn("JWW[0][3]建具", doc.layers)
        self.assertEqual(sorted(e.dxf.name for e in doc.modelspace().query("INSERT")), ["2", "door1"])
        door = doc.blocks.get("door1")
        self.assertEqual(sorted((e.dxftype(), e.dxf.layer) for e in door),
                         [("ARC", "0"), ("LINE", "0"), ("LINE", "JWW[0][1]壁")])
        self.assertEqual([e.dxf.layer for e in doc.blocks.get("2")], ["JWW[0][1]壁"])

    def test_bad_files_give_their_message_and_change_nothing(self):
        jww = self.make("example")
        with open(jww, "rb") as f:
            data = f.read()
        truncated = self.path("truncated.jww")
        with open(truncated, "wb") as f:
            f.write(data[: len(data) // 2])
        too_new = self.path("new.jww")
        with open(too_new, "wb") as f:
            f.write(data[:8] + (702).to_bytes(4, "little") + data[12:])
        not_jww = self.path("plan.jww")
        with open(not_jww, "wb") as f:
            f.write(b"0\nSECTION\n")
        cases = [(truncated, f"Failed to read {truncated}, maybe it corrupted or suffix is not .jww."),
                 (not_jww, f"Failed to read {not_jww}, maybe it corrupted or suffix is not .jww."),
                 (too_new, f"Failed to read {too_new}, its version is greater than 7.02.")]
        base = self.path("base.dxf")
        self.assertEqual(self.draxel("-o", base).returncode, 0)
        for bad, message in cases:
            with self.subTest(file=os.path.basename(bad)):
                out = self.path("after.dxf")
                # The insertion point is never asked for: the point answer is left over and
                # taken as an unknown command, so the script reports it.
                r = self.draxel(base, "-c", f'FILEIMP "{bad}"', "-o", out)
                self.assertIn(message, r.stdout + r.stderr)
                self.assertNotIn("Succeeded", r.stdout)
                self.assertEqual(r.returncode, 0, r.stderr)
                self.assertSameDrawing(base, out)


if __name__ == "__main__":
    unittest.main(verbosity=2)
