#!/usr/bin/python3
"""txt2mtxt and tcount as a user runs them: draxel with express.drx on DXF drawings made
here with ezdxf (and the shared text_alignments.dxf), scripts answering every prompt and
the settings form, results read back with ezdxf and undo checked with dxfcompare.

Environment: DRAXEL, DX_MODULE (express.drx), DX_SHARED_DATA.
"""

import unittest

import ezdxf

from draxeltest import MODULE, DraxelTest, shared


class TextDrawing(DraxelTest):
    """A drawing of texts, a private program folder for dxad.ini, and a runner."""

    module = MODULE

    def setUp(self):
        super().setUp()
        self.doc = ezdxf.new("R2018")
        self.doc.layers.add("NOTES", color=3)
        self.doc.layers.add("FROZENNOTES").lock()
        self.doc.styles.add("NARROW", font="DejaVuSans.ttf")
        self.msp = self.doc.modelspace()
        self.handles = {}

    def text(self, label, string, x, y, **attribs):
        attribs.setdefault("height", 2.5)
        attribs.setdefault("layer", "NOTES")
        t = self.msp.add_text(string, dxfattribs=attribs)
        t.dxf.insert = (x, y)
        self.handles[label] = t.dxf.handle
        return t

    def ini(self, **keys):
        with open(self.path("app/dxad.ini"), "w") as f:
            f.write("[Other]\nKEY=1\n\n[DXADEXCMD]\n")
            for k, v in keys.items():
                f.write(f"TXT2MTXT_{k}={v}\n")

    def read_ini(self):
        with open(self.path("app/dxad.ini")) as f:
            return f.read()

    def run_script(self, text, drawing=None):
        if drawing is None:
            drawing = self.path("in.dxf")
            self.doc.saveas(drawing)
        self.drawing = drawing
        return super().run_script(drawing, text)

    def sel(self, *labels):
        return " ".join("#" + self.handles[l] for l in labels) + ' ""'

    def assertSameAsInput(self, out_doc_path):
        self.assertSameDrawing(self.roundtrip(self.drawing), out_doc_path)

    @staticmethod
    def mtexts(doc):
        return list(doc.modelspace().query("MTEXT"))

    @staticmethod
    def texts(doc):
        return sorted(t.dxf.text for t in doc.modelspace().query("TEXT"))


class Txt2mtxtMerging(TextDrawing):
    def three_lines(self):
        self.text("A", "Alpha", 10, 30)
        self.text("B", "Beta", 10, 20)
        self.text("C", "Gamma", 10, 10)

    def test_default_settings_merge_top_to_bottom_with_wrap_width(self):
        self.three_lines()
        doc = self.run_script("txt2mtxt " + self.sel("C", "A", "B") + "\n")
        self.assertEqual(self.texts(doc), [])
        [m] = self.mtexts(doc)
        self.assertEqual(m.text, "Alpha Beta Gamma ")
        self.assertEqual(m.dxf.layer, "NOTES")
        self.assertAlmostEqual(m.dxf.char_height, 2.5)
        self.assertEqual(m.dxf.attachment_point, 1)
        # Top left at the head's insertion point raised by its height.
        self.assertAlmostEqual(m.dxf.insert.x, 10)
        self.assertAlmostEqual(m.dxf.insert.y, 32.5)
        # The wrap width spans the widest text's box: "Gamma" at 2.5 is several units wide.
        self.assertGreater(m.dxf.width, 5)
        self.assertLess(m.dxf.width, 20)
        self.assertIn("3 text objects removed, 1 MText object added.", self.stdout)

    def test_word_wrap_off_breaks_every_line_and_leaves_no_width(self):
        self.three_lines()
        self.ini(WORDWARD="FALSE")
        doc = self.run_script("txt2mtxt W 0,0 100,100 \"\"\n")
        [m] = self.mtexts(doc)
        self.assertEqual(m.text, "Alpha \\PBeta \\PGamma ")
        self.assertEqual(m.dxf.get("width", 0), 0)

    def test_only_exact_TRUE_is_on(self):
        self.three_lines()
        self.ini(WORDWARD="true", SELECTTYPE="True ", MERGEMTEXT="TRUE")
        doc = self.run_script("txt2mtxt " + self.sel("C", "B", "A") + "\n")
        [m] = self.mtexts(doc)
        # Word wrap off ("true"), selection order off ("True"), merging on.
        self.assertEqual(m.text, "Alpha \\PBeta \\PGamma ")

    def test_selection_order_takes_the_first_picked_as_head_and_its_colour(self):
        self.text("A", "Alpha", 10, 30, color=1, width=0.8)
        self.text("B", "Beta", 40, 20, color=5)
        self.ini(SELECTTYPE="TRUE", WORDWARD="FALSE")
        doc = self.run_script("txt2mtxt " + self.sel("B", "A") + "\n")
        [m] = self.mtexts(doc)
        # No width-factor code in this mode; later colours as codes, the head's carried.
        self.assertEqual(m.text, "Beta \\P\\C1;Alpha ")
        self.assertEqual(m.dxf.color, 5)
        self.assertAlmostEqual(m.dxf.insert.x, 40)
        self.assertAlmostEqual(m.dxf.insert.y, 22.5)

    def test_merge_off_makes_one_multiline_text_per_text_without_wrapping(self):
        self.three_lines()
        self.ini(MERGEMTEXT="FALSE", WORDWARD="TRUE")
        doc = self.run_script("txt2mtxt W 0,0 100,100 \"\"\n")
        ms = self.mtexts(doc)
        self.assertEqual(sorted(m.text for m in ms), ["Alpha", "Beta", "Gamma"])
        self.assertTrue(all(m.dxf.get("width", 0) == 0 for m in ms))
        self.assertEqual(sorted(round(m.dxf.insert.y, 6) for m in ms), [12.5, 22.5, 32.5])
        self.assertIn("3 text objects removed, 3 MText object added.", self.stdout)

    def test_height_and_colour_changes_become_codes_and_the_object_keeps_the_default_colour(self):
        self.text("A", "Big", 0, 30, height=5, color=1)
        self.text("B", "small", 0, 20, height=2.5, color=1)
        self.text("C", "red", 0, 10, height=2.5, color=256)
        self.ini(WORDWARD="FALSE")
        doc = self.run_script("DIMZIN 0\nLUPREC 2\ntxt2mtxt W -1,0 100,100 \"\"\n")
        [m] = self.mtexts(doc)
        self.assertEqual(m.text, "Big \\P\\H2.50;small \\P\\C256;red ")
        self.assertAlmostEqual(m.dxf.char_height, 5)
        self.assertEqual(m.dxf.get("color", 256), 256)

    def test_equal_heights_along_a_row_keep_selection_order(self):
        self.text("A", "one", 0, 10)
        self.text("B", "two", 30, 10)
        self.text("C", "top", 60, 20)
        doc = self.run_script("txt2mtxt " + self.sel("B", "A", "C") + "\n")
        [m] = self.mtexts(doc)
        self.assertEqual(m.text, "top two one ")


class Txt2mtxtConversion(TextDrawing):
    def convert_one(self, string, **attribs):
        self.text("T", string, 0, 0, **attribs)
        doc = self.run_script("txt2mtxt " + self.sel("T") + "\n")
        [m] = self.mtexts(doc)
        return m

    def test_percent_backslash_underline_overline_rules(self):
        cases = {
            "50%%% off": "50% off",
            "C:\\temp\\x": "C:\\\\temp\\\\x",
            "%%Uunder%%U plain": "\\Lunder\\L plain\\l",
            "%%Oover": "\\Oover\\o",
            "%%U%%Oboth": "\\L\\Oboth\\l\\o",
            # The percent rule comes first: "%%%U" is a literal "%U", no underline.
            "%%%U": "%U",
            # Lower case codes are not rewritten.
            "%%u": "%%u",
        }
        for string, expected in cases.items():
            with self.subTest(string=string):
                self.msp.delete_all_entities()
                self.assertEqual(self.convert_one(string).text, expected)

    def test_width_factor_prefix_and_single_text_gets_no_trailing_blank(self):
        m = self.convert_one("narrow", width=0.8)
        self.assertEqual(m.text, "\\W0.8000;narrow")

    def test_vertical_text_is_measured_by_its_height(self):
        m = self.convert_one("a rather long upright text", rotation=90, height=3)
        self.assertAlmostEqual(m.dxf.width, 3)
        self.assertAlmostEqual(m.get_rotation(), 90, places=6)
        self.assertAlmostEqual(m.dxf.insert.y, 3)  # raised by its height, not turned

    def test_style_of_the_head_is_kept(self):
        m = self.convert_one("styled", style="NARROW")
        self.assertEqual(m.dxf.style, "NARROW")

    def test_annotative_text_gives_annotative_multiline_text(self):
        t = self.text("T", "scaled", 0, 0)
        self.doc.appids.add("AcadAnnotative")
        t.set_xdata("AcadAnnotative", [(1000, "AnnotativeData"), (1002, "{"), (1070, 1), (1070, 1), (1002, "}")])
        doc = self.run_script("txt2mtxt " + self.sel("T") + "\n")
        [m] = self.mtexts(doc)
        xd = m.get_xdata("AcadAnnotative")
        self.assertEqual([v for c, v in xd if c == 1070], [1, 1])
        self.assertIn("AcadAnnotative", doc.appids)


class Txt2mtxtSelection(TextDrawing):
    def test_locked_layers_multiline_texts_and_attribute_definitions_are_left_alone(self):
        self.text("A", "free", 0, 20)
        self.text("L", "locked", 0, 10, layer="FROZENNOTES")
        self.msp.add_mtext("already multiline", dxfattribs={"insert": (0, 40)})
        self.msp.add_attdef("TAG", (0, 50), dxfattribs={"height": 2})
        doc = self.run_script("txt2mtxt W -5,-5 100,100 \"\"\n")
        self.assertEqual(self.texts(doc), ["locked"])
        self.assertEqual(sorted(m.text for m in self.mtexts(doc)), ["already multiline", "free"])
        self.assertEqual(len(doc.modelspace().query("ATTDEF")), 1)
        self.assertIn("Text objects kept: 1.", self.stdout)
        self.assertIn("1 text objects removed, 1 MText object added.", self.stdout)

    def test_only_locked_texts_change_nothing(self):
        self.text("L", "locked", 0, 10, layer="FROZENNOTES")
        self.run_script("txt2mtxt " + self.sel("L") + "\n")
        self.assertIn("Text objects kept: 0.", self.stdout)
        self.assertIn("No text object on an unlocked layer to convert.", self.stdout)
        self.assertSameAsInput(self.out)

    def test_cancel_at_the_prompt_changes_nothing(self):
        # Older programs spell the current linetype in capitals: it stays so.
        self.doc.header["$CELTYPE"] = "BYLAYER"
        self.text("A", "stays", 0, 0)
        for command in ("txt2mtxt ^C\n", "tcount ^C\n"):
            doc = self.run_script(command)
            self.assertEqual(doc.header["$CELTYPE"], "BYLAYER", command)
            self.assertSameAsInput(self.out)

    def test_one_U_gives_back_every_original_text(self):
        for i in range(6):
            self.text(str(i), f"line {i}", 0, 10 * i, color=i + 1)
        self.run_script("txt2mtxt ALL \"\"\nU\n")
        self.assertIn("6 text objects removed, 1 MText object added.", self.stdout)
        self.assertSameAsInput(self.out)

    def test_settings_variables_are_restored(self):
        self.text("A", "x", 0, 0)
        doc = self.run_script('OSMODE 7\nCMDECHO 1\ntxt2mtxt ALL ""\nOSMODE ""\nCMDECHO ""\n')
        self.assertEqual(len(self.mtexts(doc)), 1)
        after = self.stdout[self.stdout.index("MText object added"):]
        self.assertRegex(after, r"OSMODE[^\n]*<7>")
        self.assertRegex(after, r"CMDECHO[^\n]*<1>")


class Txt2mtxtSettingsForm(TextDrawing):
    def test_enter_opens_the_form_and_OK_writes_the_settings_before_selecting_again(self):
        self.text("A", "Alpha", 0, 20)
        self.text("B", "Beta", 0, 10)
        doc = self.run_script('txt2mtxt ""\n2 Off\n1 On\nOK\n' + self.sel("B", "A") + "\n")
        self.assertIn("Text to MText Settings", self.stdout)
        self.assertIn("[X] Word wrap", self.stdout)
        self.assertIn("[ ] Word wrap", self.stdout)
        ini = self.read_ini()
        self.assertIn("TXT2MTXT_SELECTTYPE=TRUE", ini)
        self.assertIn("TXT2MTXT_WORDWARD=FALSE", ini)
        self.assertIn("TXT2MTXT_MERGEMTEXT=TRUE", ini)
        [m] = self.mtexts(doc)
        self.assertEqual(m.text, "Beta \\PAlpha ")

    def test_cancelled_form_keeps_the_file_and_other_sections(self):
        self.ini(WORDWARD="FALSE")
        before = self.read_ini()
        self.text("A", "Alpha", 0, 20)
        self.run_script('txt2mtxt ""\n3 Off\nCancel\n^C\n')
        self.assertEqual(self.read_ini(), before)
        self.ini(WORDWARD="FALSE")
        self.run_script('txt2mtxt ""\n1 On\n""\n^C\n')
        ini = self.read_ini()
        self.assertIn("[Other]", ini)
        self.assertIn("KEY=1", ini)
        self.assertIn("TXT2MTXT_SELECTTYPE=TRUE", ini)
        self.assertIn("TXT2MTXT_WORDWARD=FALSE", ini)

    def test_wrong_field_answers_are_asked_again(self):
        self.text("A", "Alpha", 0, 20)
        self.run_script('txt2mtxt ""\n9\nfoo\n3 Off\nOK\n^C\n')
        self.assertIn("Answer a field number from 1 to 3", self.stdout)
        self.assertIn("TXT2MTXT_MERGEMTEXT=FALSE", self.read_ini())


class Txt2mtxtSharedSample(TextDrawing):
    def test_text_alignments_sample_merges_every_text_and_U_restores_it(self):
        sample = shared("dxf", "text_alignments.dxf")
        if not sample:
            self.skipTest("sample drawing text_alignments.dxf not found (DX_SHARED_DATA)")
        src = ezdxf.readfile(sample)
        n = len(src.modelspace().query("TEXT"))
        self.assertGreater(n, 1)
        doc = self.run_script("txt2mtxt ALL \"\"\n", drawing=sample)
        self.assertEqual(len(doc.modelspace().query("TEXT")), 0)
        self.assertEqual(len(self.mtexts(doc)) - len(src.modelspace().query("MTEXT")), 1)
        self.assertIn(f"{n} text objects removed, 1 MText object added.", self.stdout)
        self.ini(MERGEMTEXT="FALSE")
        doc = self.run_script("txt2mtxt ALL \"\"\n", drawing=sample)
        self.assertEqual(len(self.mtexts(doc)) - len(src.modelspace().query("MTEXT")), n)
        self.run_script("txt2mtxt ALL \"\"\nU\n", drawing=sample)
        self.assertSameAsInput(self.out)


class Tcount(TextDrawing):
    def column(self):
        self.text("A", "ten", 0, 10)
        self.text("B", "twenty", 5, 20)
        self.text("C", "thirty", 10, 30)

    def strings(self, doc):
        return {e.dxf.handle: (e.text if e.dxftype() == "MTEXT" else e.dxf.text)
                for e in doc.modelspace() if e.dxftype() in ("TEXT", "MTEXT", "ATTDEF")}

    def numbered(self, doc):
        s = self.strings(doc)
        return {label: s[h] for label, h in self.handles.items()}

    def field_drawing(self):
        """A text that shows a field ("Room" and the drawing's file name), as CAD programs
        write it: extension dictionary, ACAD_FIELD, TEXT, a FIELD whose code holds the
        child field as a placeholder."""
        t = self.text("F", "Room plan.dxf", 0, 0)
        xdict = t.new_extension_dict().dictionary
        fields = self.doc.objects.add_dictionary(owner=xdict.dxf.handle, hard_owned=True)
        xdict["ACAD_FIELD"] = fields
        rec = fields.add_xrecord("TEXT")
        rec.reset([(1, "_text"), (2, "Room %<\\_FldIdx 0>%"), (90, 0), (97, 0)])
        src = self.path("fields.dxf")
        self.doc.saveas(src)
        with open(src) as f:
            content = f.read()
        # ezdxf writes no FIELD objects: the record becomes one by its type and subclass.
        self.assertEqual(content.count("\nXRECORD\n"), 1)
        content = content.replace("\nXRECORD\n", "\nFIELD\n").replace("\nAcDbXrecord\n", "\nAcDbField\n")
        with open(src, "w") as f:
            f.write(content)
        return src

    def field_code(self, path):
        with open(path) as f:
            lines = f.read().split("\n")
        start = lines.index("FIELD")
        for i in range(start, len(lines) - 1):
            if lines[i].strip() == "2":
                return lines[i + 1]
        return None

    def test_a_text_holding_a_field_keeps_it_and_its_code_gets_the_number(self):
        src = self.field_drawing()
        self.run_script("tcount " + self.sel("F") + " X 7,1 P\n", drawing=src)
        out = self.path("out.dxf")
        self.assertEqual(self.numbered(ezdxf.readfile(out)), {"F": "7 Room plan.dxf"})
        self.assertEqual(self.field_code(out), "7 Room %<\\_FldIdx 0>%")

    def test_a_suffix_goes_after_the_field_placeholder(self):
        src = self.field_drawing()
        self.run_script("tcount " + self.sel("F") + " X 3,1 S\n", drawing=src)
        self.assertEqual(self.field_code(self.path("out.dxf")), "Room %<\\_FldIdx 0>% 3")

    def test_Y_numbers_top_to_bottom(self):
        self.column()
        doc = self.run_script("tcount " + self.sel("A", "B", "C") + " Y 1,1 O\n")
        self.assertEqual(self.numbered(doc), {"C": "1", "B": "2", "A": "3"})

    def test_X_numbers_left_to_right(self):
        self.column()
        doc = self.run_script("tcount " + self.sel("C", "A", "B") + " X 10,5 S\n")
        self.assertEqual(self.numbered(doc), {"A": "ten 10", "B": "twenty 15", "C": "thirty 20"})

    def test_selection_order_is_the_default_and_prefix_the_default_placement(self):
        self.column()
        doc = self.run_script("tcount " + self.sel("B", "C", "A") + ' "" 3,-1 ""\n')
        self.assertEqual(self.numbered(doc), {"B": "3 twenty", "C": "2 thirty", "A": "1 ten"})

    def test_ties_under_X_keep_selection_order_and_under_Y_reverse_it(self):
        self.text("A", "a", 0, 0)
        self.text("B", "b", 0, 0)
        doc = self.run_script("tcount " + self.sel("A", "B") + " X 1,1 O\n")
        self.assertEqual(self.numbered(doc), {"A": "1", "B": "2"})
        doc = self.run_script("tcount " + self.sel("A", "B") + " Y 1,1 O\n")
        self.assertEqual(self.numbered(doc), {"A": "2", "B": "1"})

    def test_fractional_increment_is_written_without_decimals(self):
        for i, label in enumerate("ABCDE"):
            self.text(label, "t", 10 * i, 0)
        doc = self.run_script("tcount " + self.sel(*"ABCDE") + " X 1,0.5 O\n")
        got = [self.numbered(doc)[l] for l in "ABCDE"]
        self.assertEqual(got, ["%.0f" % v for v in (1, 1.5, 2, 2.5, 3)])
        self.assertTrue(all("." not in g for g in got))

    def test_find_and_replace_puts_the_number_at_every_occurrence(self):
        self.text("A", "Room # of #", 0, 10)
        self.text("B", "no marker", 0, 0)
        doc = self.run_script("tcount " + self.sel("A", "B") + " S 7,1 F\n#\n")
        self.assertEqual(self.numbered(doc), {"A": "Room 7 of 7", "B": "no marker"})

    def test_empty_answer_keeps_the_last_start_and_increment(self):
        self.column()
        doc = self.run_script("tcount " + self.sel("A") + " S 100,10 O\n"
                              "tcount " + self.sel("B", "C") + ' S "" O\n')
        self.assertEqual(self.numbered(doc), {"A": "100", "B": "100", "C": "110"})
        self.assertIn("<100,10>", self.stdout)

    def test_unparsable_answer_is_asked_again(self):
        self.column()
        doc = self.run_script("tcount " + self.sel("A") + " S abc 5 4,x 4,2 O\n")
        self.assertEqual(self.stdout.count("Invalid input."), 3)
        self.assertEqual(self.numbered(doc)["A"], "4")

    def test_multiline_texts_and_attribute_definitions_are_numbered_too(self):
        m = self.msp.add_mtext("\\Pold", dxfattribs={"insert": (0, 30)})
        self.handles["M"] = m.dxf.handle
        long_m = self.msp.add_mtext("x" * 600, dxfattribs={"insert": (0, 20)})
        self.handles["L"] = long_m.dxf.handle
        a = self.msp.add_attdef("TAG", (0, 10), text="value", dxfattribs={"height": 2})
        self.handles["D"] = a.dxf.handle
        doc = self.run_script("tcount " + self.sel("M", "L", "D") + " Y 1,1 O\n")
        self.assertEqual(self.numbered(doc), {"M": "\\P1", "L": "2", "D": "3"})
        doc = self.run_script("tcount " + self.sel("L") + " Y 1,1 S\n")
        self.assertEqual(self.numbered(doc)["L"], "x" * 600 + " 1")

    def test_locked_layers_and_other_planes_are_left_alone_and_take_no_number(self):
        self.text("A", "a", 0, 30)
        self.text("L", "locked", 0, 20, layer="FROZENNOTES")
        self.text("N", "tilted", 0, 10, extrusion=(0, 1, 0))
        self.text("B", "b", 0, 0)
        doc = self.run_script("tcount " + self.sel("A", "L", "N", "B") + " Y 1,1 O\n")
        self.assertEqual(self.numbered(doc), {"A": "1", "L": "locked", "N": "tilted", "B": "2"})
        self.assertIn("1 objects on a locked layer are left alone.", self.stdout)
        self.assertIn("1 objects lie in another plane and are left out.", self.stdout)

    def test_one_U_gives_back_every_text(self):
        self.column()
        self.run_script("tcount W -1,-1 100,100 \"\" Y 1,1 P\nU\n")
        self.assertSameAsInput(self.out)


if __name__ == "__main__":
    unittest.main(verbosity=2)
