// Drawings written by JW_CAD itself.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "jww_test_util.h"
#include "express/jww/jww_file_writer.h"

namespace {

const std::filesystem::path kSampleDir = std::filesystem::path(DX_SHARED_DATA) / "jww";

class JwwSampleFiles : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!std::filesystem::is_directory(kSampleDir))
      GTEST_SKIP() << "sample folder " << kSampleDir << " is absent; set DX_SHARED_DATA";
  }
  // Reads a sample from its file and checks that the reader stopped exactly at its end.
  JwwDocument ReadSample(const char* name) {
    std::filesystem::path path = kSampleDir / name;
    JwwDocument doc;
    JwwFileReader reader;
    EXPECT_TRUE(reader.Read(path.string(), doc)) << reader.Error().message << " " << reader.Error().detail;
    // Version 700 files end with one word the import does not read.
    std::uint64_t tail = doc.version >= kJwwTrailingWordVersion ? 4 : 0;
    EXPECT_EQ(reader.BytesRead() + tail, std::filesystem::file_size(path)) << name << " not read to its end";
    return doc;
  }
};

TEST_F(JwwSampleFiles, Test1HoldsItsKnownRecordsAndJapaneseText) {
  JwwDocument doc = ReadSample("Test1.jww");
  EXPECT_EQ(doc.version, 600u);
  const JwwEntitySet& e = doc.entities;
  EXPECT_EQ(e.lines.size(), 1642u);
  EXPECT_EQ(e.circles.size(), 4u);
  EXPECT_EQ(e.dots.size(), 4u);
  EXPECT_EQ(e.texts.size(), 36u);
  EXPECT_EQ(e.solids.size() + e.measures.size() + e.blocks.size(), 0u);
  EXPECT_TRUE(doc.blockDefs.empty());

  EXPECT_EQ(doc.memo, "日影図　ＴＥＳＴ用データ\r\n（陸屋根）");
  ASSERT_FALSE(e.texts.empty());
  EXPECT_EQ(e.texts[0].content, "５ｍラインの書き方");
  EXPECT_EQ(e.texts[0].fontName, "ＭＳ ゴシック");
  EXPECT_EQ(e.texts[1].content, "　敷地線を複線で５ｍ(5000mm)の位置");
  EXPECT_EQ(doc.header.layerNames[0][0], "　敷地");
  EXPECT_EQ(doc.header.layerNames[0][10], "#lv4");
  // Header columns land where JW_CAD put them: group scale 1:100, pen 2 black and
  // pen 3 green (red in the low byte), the dotted pattern of line type 2, the names
  // of the named line patterns, print widths growing with the pen number.
  const JwwHeader& h = doc.header;
  EXPECT_EQ(h.layerGroups[0].scale, 100.0);
  EXPECT_EQ(h.PenRgb(2), 0x000000u);
  EXPECT_EQ(h.PenRgb(3), 0x00C000u);
  EXPECT_EQ(h.PenRgb(6), 0xFF0000u);
  EXPECT_EQ(h.pens[8].width, 8u);
  EXPECT_EQ(h.lineTypes.pattern[2], 0x99999999u);
  EXPECT_EQ(h.lineTypes.unit[5], 16u);
  EXPECT_EQ(h.lineTypes.printPitch[16], 20u);
  EXPECT_EQ(h.linePatterns[1].name, "continuous");
  EXPECT_EQ(h.linePatterns[2].name, "dashed");
  // Layer and group numbers read from the right bytes stay in range.
  for (const JwwLine& l : e.lines) {
    ASSERT_LT(l.head.layer, 16);
    ASSERT_LT(l.head.layerGroup, 16);
  }
}

TEST_F(JwwSampleFiles, Test2AndTest3ReadWithHalfWidthKatakana) {
  JwwDocument two = ReadSample("Test2.jww");
  EXPECT_EQ(two.version, 600u);
  EXPECT_EQ(two.entities.lines.size(), 38u);
  EXPECT_EQ(two.entities.circles.size(), 4u);
  EXPECT_EQ(two.entities.dots.size(), 6u);
  EXPECT_EQ(two.entities.texts.size(), 23u);
  EXPECT_EQ(two.header.layerNames[0][5], "切妻屋根");

  JwwDocument three = ReadSample("Test3.jww");
  EXPECT_EQ(three.entities.lines.size(), 104u);
  EXPECT_EQ(three.entities.circles.size(), 6u);
  EXPECT_EQ(three.entities.dots.size(), 33u);
  EXPECT_EQ(three.entities.texts.size(), 56u);
  ASSERT_GT(three.entities.texts.size(), 27u);
  // 0xDF in CP932 is the half-width semi-voiced mark.
  EXPECT_EQ(three.entities.texts[27].content, "測定面の高さ  4.000m  緯度 36.000ﾟ  冬  至");
}

TEST_F(JwwSampleFiles, UnicodeBuildFilesReadWithBlocks) {
  JwwDocument doc = ReadSample("2blocks.jww");
  EXPECT_EQ(doc.version, 700u);
  EXPECT_EQ(doc.memo, "");
  EXPECT_EQ(doc.entities.texts.size(), 6u);
  ASSERT_FALSE(doc.entities.texts.empty());
  EXPECT_EQ(doc.entities.texts[0].fontName, "ＭＳ ゴシック");
  EXPECT_EQ(doc.entities.texts[0].content, "Printer_Orientation = 0");
  ASSERT_EQ(doc.blockDefs.size(), 2u);
  EXPECT_EQ(doc.blockDefs[0].name, "2lines@@SfigorgFlag@@4");
  EXPECT_EQ(doc.blockDefs[0].entities.lines.size(), 2u);
  EXPECT_EQ(doc.blockDefs[1].name, "2circles@@SfigorgFlag@@4");
  EXPECT_EQ(doc.blockDefs[1].entities.circles.size(), 2u);
  ASSERT_EQ(doc.entities.blocks.size(), 2u);
  for (const JwwBlock& b : doc.entities.blocks) {
    const JwwBlockDef* def = doc.FindBlockDef(b.blockNumber);
    ASSERT_NE(def, nullptr) << "insertion of block " << b.blockNumber;
    EXPECT_EQ(def->number, b.blockNumber);
  }

  JwwDocument plain = ReadSample("non_block.jww");
  EXPECT_EQ(plain.version, 700u);
  EXPECT_EQ(plain.entities.lines.size(), 4u);
  EXPECT_EQ(plain.entities.circles.size(), 2u);
  EXPECT_EQ(plain.entities.texts.size(), 6u);
  EXPECT_TRUE(plain.blockDefs.empty());
}

// Writing what was read reproduces JW_CAD's own bytes: the header and every record
// layout agree with the real thing, not just with our reader.
TEST_F(JwwSampleFiles, WriterReproducesJwCadBytes) {
  for (const char* name : {"Test1.jww", "Test2.jww", "Test3.jww", "2blocks.jww", "non_block.jww"}) {
    SCOPED_TRACE(name);
    std::filesystem::path path = kSampleDir / name;
    std::ifstream in(path, std::ios::binary);
    std::vector<std::uint8_t> original((std::istreambuf_iterator<char>(in)), {});
    ReadResult read = ReadBytes(original);
    ASSERT_TRUE(read.ok) << read.error.detail;
    JwwWriteOptions options;
    options.unicodeStrings = read.doc.version == 700;
    std::vector<std::uint8_t> written;
    JwwFileWriter writer(options);
    ASSERT_TRUE(writer.WriteBuffer(read.doc, written)) << writer.Error();
    // Same records, same tag and string forms: same size, whatever the order of kinds.
    EXPECT_EQ(written.size(), original.size());
    ReadResult again = ReadBytes(written);
    ASSERT_TRUE(again.ok) << again.error.detail;
    ExpectSameDrawing(read.doc, again.doc);
    // Everything up to the drawing's object list is byte-identical.
    JwwDocument headerOnly;
    headerOnly.version = read.doc.version;
    headerOnly.memo = read.doc.memo;
    headerOnly.header = read.doc.header;
    std::vector<std::uint8_t> prefix;
    ASSERT_TRUE(writer.WriteBuffer(headerOnly, prefix));
    // Less the two empty list counts and the trailing word of version 700.
    prefix.resize(prefix.size() - 4 - (read.doc.version >= kJwwTrailingWordVersion ? 4 : 0));
    ASSERT_LE(prefix.size(), original.size());
    EXPECT_TRUE(std::equal(prefix.begin(), prefix.end(), original.begin()));
  }
}

}  // namespace
