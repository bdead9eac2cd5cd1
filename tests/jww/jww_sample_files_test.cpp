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

// Record counts, layer names and texts of these files are checked by the import's
// end-to-end test; here: the header columns it does not show, and CP932 corners.
TEST_F(JwwSampleFiles, HeaderColumnsLandWhereJwCadPutThem) {
  JwwDocument doc = ReadSample("Test1.jww");
  EXPECT_EQ(doc.version, 600u);
  EXPECT_EQ(doc.memo, "日影図　ＴＥＳＴ用データ\r\n（陸屋根）");
  // Group scale 1:100, pen 2 black and pen 3 green (red in the low byte), the dotted
  // pattern of line type 2, the names of the named line patterns, print widths growing
  // with the pen number.
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
  for (const JwwLine& l : doc.entities.lines) {
    ASSERT_LT(l.head.layer, 16);
    ASSERT_LT(l.head.layerGroup, 16);
  }
}

TEST_F(JwwSampleFiles, HalfWidthKatakanaMarksAreRead) {
  JwwDocument three = ReadSample("Test3.jww");
  ASSERT_GT(three.entities.texts.size(), 27u);
  // 0xDF in CP932 is the half-width semi-voiced mark.
  EXPECT_EQ(three.entities.texts[27].content, "測定面の高さ  4.000m  緯度 36.000ﾟ  冬  至");
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
    // Version 700 files end with one word the import does not read.
    EXPECT_EQ(read.bytesRead + (read.doc.version >= kJwwTrailingWordVersion ? 4 : 0), original.size());
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
