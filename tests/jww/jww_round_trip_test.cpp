// Drawings written by our writer read back to what was written, for every layout
// variant a JW_CAD file can take.
#include <gtest/gtest.h>

#include "jww_samples.h"
#include "jww_test_util.h"

namespace {

struct Variant {
  std::uint32_t version;
  JwwWriteOptions options;
  const char* name;
};

JwwWriteOptions Unicode() {
  JwwWriteOptions o;
  o.unicodeStrings = true;
  return o;
}
JwwWriteOptions AllLongForms(bool unicode) {
  JwwWriteOptions o;
  o.unicodeStrings = unicode;
  o.longCounts = o.longClassTags = o.longStringLengths = true;
  return o;
}

class JwwRoundTrip : public ::testing::TestWithParam<Variant> {};

TEST_P(JwwRoundTrip, SampleDrawingReadsBackUnchanged) {
  const Variant& v = GetParam();
  JwwDocument original = MakeSampleDocument(v.version);
  std::vector<std::uint8_t> bytes = WriteOrDie(original, v.options);
  ReadResult read = ReadBytes(bytes);
  ASSERT_TRUE(read.ok) << read.error.detail;
  EXPECT_EQ(read.bytesRead + (v.version >= kJwwTrailingWordVersion ? 4 : 0), bytes.size());
  ExpectSameDrawing(original, read.doc);
  // Writing again what was read gives the very same bytes.
  EXPECT_EQ(WriteOrDie(read.doc, v.options), bytes);
  for (const JwwBlock& b : read.doc.entities.blocks) {
    const JwwBlockDef* def = read.doc.FindBlockDef(b.blockNumber);
    ASSERT_NE(def, nullptr);
    EXPECT_EQ(def->number, b.blockNumber);
  }
}

INSTANTIATE_TEST_SUITE_P(
    Versions, JwwRoundTrip,
    ::testing::Values(Variant{351, {}, "v351"}, Variant{420, {}, "v420"}, Variant{600, {}, "v600"},
                      Variant{700, Unicode(), "v700_unicode"},
                      Variant{600, AllLongForms(false), "v600_long_forms"},
                      Variant{700, AllLongForms(true), "v700_unicode_long_forms"}),
    [](const auto& info) { return std::string(info.param.name); });

// Size of the bytes a change to the drawing adds, so that each optional part of a
// layout is seen to be written and read with the width the format gives it.
std::size_t Size(const JwwDocument& doc, JwwWriteOptions options = {}) {
  return WriteOrDie(doc, options).size();
}

TEST(JwwLayout, OptionalTailsHaveTheirWidths) {
  JwwDocument doc = MakeEmptyDocument(600);
  std::size_t empty = Size(doc);

  doc.entities.dots = {MakeDot(1, false)};
  std::size_t plainDot = Size(doc);
  EXPECT_EQ(plainDot - empty, 2 + 2 + 2 + 8 + 15 + 20u);  // new-class tag, schema, name, head, body
  doc.entities.dots = {MakeDot(1, true)};
  EXPECT_EQ(Size(doc) - plainDot, 20u) << "a symbol point carries a u32 and two doubles more";

  doc = MakeEmptyDocument(600);
  doc.entities.solids = {MakeSolid(1, false)};
  std::size_t plainSolid = Size(doc);
  doc.entities.solids = {MakeSolid(1, true)};
  EXPECT_EQ(Size(doc) - plainSolid, 4u) << "a solid of pen colour 10 carries its RGB";

  // A dimension of 420 and later carries a u16, two lines and four points more.
  for (std::uint32_t version : {420u, 600u, 700u}) {
    JwwDocument old = MakeEmptyDocument(351), now = MakeEmptyDocument(version);
    old.entities.measures = {MakeMeasure(5, false)};
    now.entities.measures = {MakeMeasure(5, true)};
    std::size_t oldDelta = Size(old) - Size(MakeEmptyDocument(351));
    std::size_t newDelta = Size(now) - Size(MakeEmptyDocument(version));
    EXPECT_EQ(newDelta - oldDelta, 2 + 2 * 47 + 2 * 35 + 2 * 55u) << version;
  }
  // The extended header tables are there from 420 on only.
  EXPECT_EQ(Size(MakeEmptyDocument(420)), Size(MakeEmptyDocument(600)));
  EXPECT_EQ(Size(MakeEmptyDocument(700)) - Size(MakeEmptyDocument(600)), 4u) << "the trailing word";
  EXPECT_EQ(Size(MakeEmptyDocument(420)) - Size(MakeEmptyDocument(351)),
            257 * 8 + 257 * (1 + 16) + 33 * 16 + 33 * (1 + 4 + 80u));
}

TEST(JwwLayout, StringFormsAreTheArchiveOnes) {
  JwwDocument doc = MakeEmptyDocument(600);
  doc.memo = "図面";  // 4 bytes in CP932, 2 units in UTF-16
  std::vector<std::uint8_t> ansi = WriteOrDie(doc);
  EXPECT_EQ((std::vector<std::uint8_t>(ansi.begin() + 12, ansi.begin() + 17)),
            (std::vector<std::uint8_t>{0x04, 0x90, 0x7D, 0x96, 0xCA}));

  std::vector<std::uint8_t> wide = WriteOrDie(doc, Unicode());
  EXPECT_EQ((std::vector<std::uint8_t>(wide.begin() + 12, wide.begin() + 20)),
            (std::vector<std::uint8_t>{0xFF, 0xFE, 0xFF, 0x02, 0xF3, 0x56, 0x62, 0x97}));

  JwwWriteOptions longLengths;
  longLengths.longStringLengths = true;
  std::vector<std::uint8_t> escaped = WriteOrDie(doc, longLengths);
  EXPECT_EQ((std::vector<std::uint8_t>(escaped.begin() + 12, escaped.begin() + 15)),
            (std::vector<std::uint8_t>{0xFF, 0x04, 0x00}));
  ReadResult read = ReadBytes(escaped);
  ASSERT_TRUE(read.ok) << read.error.detail;
  EXPECT_EQ(read.doc.memo, "図面") << "a 0xFF length escape below 255 still gives the u16 length";
}

TEST(JwwLayout, LongStringsInBothForms) {
  JwwDocument doc = MakeEmptyDocument(700);
  std::string longText;
  for (int i = 0; i < 200; ++i) longText += "長";  // 200 units, 400 CP932 bytes
  longText += std::string(100, 'a');                // 300 units, 500 bytes
  doc.entities.texts = {MakeText(1, longText)};
  doc.memo = std::string(40000, 'm');
  for (JwwWriteOptions options : {JwwWriteOptions{}, Unicode()}) {
    ReadResult read = ReadBytes(WriteOrDie(doc, options));
    ASSERT_TRUE(read.ok) << read.error.detail;
    ASSERT_EQ(read.doc.entities.texts.size(), 1u);
    EXPECT_EQ(read.doc.entities.texts[0].content, longText);
    EXPECT_EQ(read.doc.memo.size(), 40000u);
  }
}

TEST(JwwLayout, MixedStringFormsInOneFile) {
  // The memo from a Unicode-form file, the rest from a CP932-form one.
  JwwDocument wideDoc = MakeEmptyDocument(600);
  wideDoc.memo = "ユニコード";
  std::vector<std::uint8_t> wide = WriteOrDie(wideDoc, Unicode());
  JwwDocument ansiDoc = MakeSampleDocument(600);
  ansiDoc.memo.clear();
  std::vector<std::uint8_t> ansi = WriteOrDie(ansiDoc);
  std::vector<std::uint8_t> mixed(wide.begin(), wide.begin() + 12 + 4 + 2 * 5);
  mixed.insert(mixed.end(), ansi.begin() + 13, ansi.end());
  ReadResult read = ReadBytes(mixed);
  ASSERT_TRUE(read.ok) << read.error.detail;
  EXPECT_EQ(read.doc.memo, "ユニコード");
  ExpectSameEntities(read.doc.entities, ansiDoc.entities);
}

TEST(JwwLayout, CharactersOutsideCp932BecomeQuestionMarks) {
  JwwDocument doc = MakeEmptyDocument(600);
  doc.memo = "a😀b";
  JwwFileWriter writer;
  std::vector<std::uint8_t> bytes;
  ASSERT_TRUE(writer.WriteBuffer(doc, bytes));
  EXPECT_EQ(writer.Substitutions(), 1u);
  EXPECT_EQ(ReadBytes(bytes).doc.memo, "a?b");
  // Repeated texts are converted once but each substitution is counted.
  doc.entities.texts = {MakeText(1, "a😀b"), MakeText(2, "a😀b")};
  ASSERT_TRUE(writer.WriteBuffer(doc, bytes));
  EXPECT_EQ(writer.Substitutions(), 3u);
  ReadResult texts = ReadBytes(bytes);
  ASSERT_EQ(texts.doc.entities.texts.size(), 2u);
  EXPECT_EQ(texts.doc.entities.texts[1].content, "a?b");
  // The UTF-16 form holds it, as a surrogate pair.
  EXPECT_EQ(ReadBytes(WriteOrDie(doc, Unicode())).doc.memo, "a😀b");
}

// Past 0xFFFE records a count takes its u32 form, and a class first named past index
// 0x7FFE is referred to with the 0x7FFF escape; JW_CAD does both in large drawings.
TEST(JwwLayout, LargeListUsesBothEscapesNaturally) {
  JwwDocument doc = MakeEmptyDocument(600);
  const std::uint32_t lines = 70000;
  doc.entities.lines.reserve(lines);
  for (std::uint32_t i = 0; i < lines; ++i) doc.entities.lines.push_back(MakeLine(i));
  doc.entities.circles = {MakeCircle(1), MakeCircle(2), MakeCircle(3)};
  std::vector<std::uint8_t> bytes = WriteOrDie(doc);

  std::vector<std::uint8_t> count{0xFF, 0xFF};
  PutU32(count, lines + 3);
  EXPECT_NE(FindBytes(bytes, count), std::string::npos) << "count not in its u32 form";
  // CDataSen is index 1, its lines 2..70001, CDataEnko 70002.
  std::vector<std::uint8_t> tag{0xFF, 0x7F};
  PutU32(tag, 0x80000000u | (lines + 2));
  std::size_t at = FindBytes(bytes, tag);
  EXPECT_NE(at, std::string::npos) << "circle class not referred to by the escape";

  ReadResult read = ReadBytes(bytes);
  ASSERT_TRUE(read.ok) << read.error.detail;
  ExpectSameEntities(read.doc.entities, doc.entities);

  // The index after the escape may also come without MFC's top bit.
  ASSERT_NE(at, std::string::npos);
  SetU32(bytes, at + 2, lines + 2);
  ReadResult plain = ReadBytes(bytes);
  ASSERT_TRUE(plain.ok) << plain.error.detail;
  EXPECT_EQ(plain.doc.entities.circles.size(), 3u);
}

TEST(JwwBlockTable, GrowsWithZerosAndFindsByNumber) {
  JwwDocument doc = MakeEmptyDocument(600);
  for (std::uint32_t number : {5u, 2u, 5u, 0xFFFFFFF0u}) {
    JwwBlockDef def;
    def.number = number;
    def.name = "b" + std::to_string(doc.blockDefs.size());
    doc.blockDefs.push_back(def);
  }
  ReadResult read = ReadBytes(WriteOrDie(doc));
  ASSERT_TRUE(read.ok) << read.error.detail;
  const JwwDocument& d = read.doc;
  EXPECT_EQ(d.blockDefByNumber.size(), 6u) << "grown up to the highest small number only";
  EXPECT_EQ(d.blockDefByNumber[0], 0u);
  EXPECT_EQ(d.blockDefByNumber[3], 0u);
  ASSERT_NE(d.FindBlockDef(5), nullptr);
  EXPECT_EQ(d.FindBlockDef(5)->name, "b2") << "the later definition of a number wins";
  ASSERT_NE(d.FindBlockDef(2), nullptr);
  EXPECT_EQ(d.FindBlockDef(2)->name, "b1");
  ASSERT_NE(d.FindBlockDef(0xFFFFFFF0u), nullptr);
  EXPECT_EQ(d.FindBlockDef(0xFFFFFFF0u)->name, "b3");
  EXPECT_EQ(d.FindBlockDef(3), nullptr);
  EXPECT_EQ(d.FindBlockDef(6), nullptr);
  EXPECT_EQ(d.FindBlockDef(0x7FFFFFFF), nullptr);
}

TEST(JwwFiles, AnUnwritablePathIsReported) {
  JwwFileWriter writer;
  EXPECT_FALSE(writer.Write("/nonexistent-dir/x.jww", MakeEmptyDocument(600)));
  EXPECT_EQ(writer.Error(), "Failed to write file /nonexistent-dir/x.jww !");
}

// A file of several megabytes is read in steps that hand parsed pages back; records
// read before and after those steps, and block lists after them, must all survive.
TEST(JwwFiles, LargeFileReadsWhole) {
  JwwDocument doc = MakeSampleDocument(600);
  for (std::uint32_t i = 0; i < 150000; ++i) doc.entities.lines.push_back(MakeLine(i));
  for (std::uint32_t i = 0; i < 20000; ++i) doc.blockDefs[0].entities.texts.push_back(MakeText(i, "文字" + std::to_string(i)));
  std::string path = ::testing::TempDir() + "jww_large.jww";
  JwwFileWriter writer;
  ASSERT_TRUE(writer.Write(path, doc)) << writer.Error();
  JwwDocument read;
  JwwFileReader reader;
  ASSERT_TRUE(reader.Read(path, read)) << reader.Error().detail;
  std::remove(path.c_str());
  ExpectSameDrawing(doc, read);
  EXPECT_EQ(read.entities.lines.capacity(), read.entities.lines.size()) << "arrays are sized once";
}

// A read overwrites every item the file holds: a 351 file leaves the 420 tables as they were.
TEST(JwwDefaults, OldFilesLeaveTheNewerTablesAtTheirDefaults) {
  JwwDocument written = MakeSampleDocument(351);
  ReadResult read = ReadBytes(WriteOrDie(written));
  ASSERT_TRUE(read.ok);
  EXPECT_EQ(read.doc.header.paperSize, written.header.paperSize);
  EXPECT_TRUE(read.doc.header.pens[200] == JwwHeader().pens[200]);
}

}  // namespace
