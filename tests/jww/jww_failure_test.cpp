// Every way a file can be wrong ends in the right message, never in a crash.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <filesystem>
#include <fstream>

#include "jww_samples.h"
#include "jww_test_util.h"

namespace {

const std::string kPath = "/drawings/test.jww";
const std::string kCorrupt = "Failed to read /drawings/test.jww, maybe it corrupted or suffix is not .jww.";
const std::string kTooNew = "Failed to read /drawings/test.jww, its version is greater than 7.02.";

void ExpectCorrupt(const std::vector<std::uint8_t>& bytes, const std::string& detailPart = {}) {
  ReadResult r = ReadBytes(bytes, kPath);
  ASSERT_FALSE(r.ok);
  EXPECT_EQ(r.error.resourceId, kJwwMsgCorrupt);
  EXPECT_EQ(r.error.message, kCorrupt);
  if (!detailPart.empty()) {
    EXPECT_NE(r.error.detail.find(detailPart), std::string::npos) << r.error.detail;
  }
}

std::vector<std::uint8_t> WithVersion(std::uint32_t version) {
  return WriteOrDie(MakeSampleDocument(version));
}

TEST(JwwSignature, AnythingButJwwDataIsRejected) {
  std::vector<std::uint8_t> good = WithVersion(600);
  for (std::size_t i = 0; i < 8; ++i) {
    std::vector<std::uint8_t> bad = good;
    bad[i] ^= 0x20;
    SCOPED_TRACE(i);
    ExpectCorrupt(bad, "signature");
  }
  ExpectCorrupt({});
  ExpectCorrupt(Ascii("JwwData"));
  ExpectCorrupt(Ascii("JwwData.\x58\x02"));
}

TEST(JwwVersion, OnlyTheFourVersionsAreRead) {
  for (std::uint32_t v : {351u, 420u, 600u, 700u}) EXPECT_TRUE(ReadBytes(WithVersion(v)).ok) << v;
  // Unknown versions below 701 look like a damaged file...
  for (std::uint32_t v : {0u, 1u, 350u, 352u, 419u, 421u, 500u, 599u, 601u, 650u, 699u}) {
    SCOPED_TRACE(v);
    ReadResult r = ReadBytes(WithVersion(v), kPath);
    EXPECT_FALSE(r.ok);
    EXPECT_EQ(r.error.resourceId, kJwwMsgCorrupt);
    EXPECT_EQ(r.error.message, kCorrupt);
  }
  // ...newer ones get their own message.
  for (std::uint32_t v : {701u, 702u, 1000u, 0xFFFFFFFFu}) {
    SCOPED_TRACE(v);
    ReadResult r = ReadBytes(WithVersion(v), kPath);
    EXPECT_FALSE(r.ok);
    EXPECT_EQ(r.error.resourceId, kJwwMsgVersionTooNew);
    EXPECT_EQ(r.error.message, kTooNew);
  }
}

// A drawing with no records and `n` block definitions with empty lists and the name
// "a": the positions of their tags are then known.
struct BlockListFile {
  std::vector<std::uint8_t> bytes;
  std::size_t secondTag = 0;  // offset of the second definition's class tag
};
BlockListFile MakeBlockListFile(JwwWriteOptions options = {}) {
  JwwDocument doc = MakeEmptyDocument(600);
  for (std::uint32_t n : {1u, 2u, 3u}) {
    JwwBlockDef def;
    def.number = n;
    def.name = "a";
    doc.blockDefs.push_back(def);
  }
  BlockListFile f;
  f.bytes = WriteOrDie(doc, options);
  std::size_t name = FindBytes(f.bytes, Ascii("CDataList"));
  f.secondTag = name + 9 + 15 + 12 + 2 + 2;
  return f;
}

TEST(JwwBlockList, FirstClassMustBeCDataList) {
  BlockListFile f = MakeBlockListFile();
  ASSERT_TRUE(ReadBytes(f.bytes).ok);
  std::vector<std::uint8_t> bad = f.bytes;
  bad[FindBytes(bad, Ascii("CDataList")) + 8] = 'X';
  ExpectCorrupt(bad, "CDataLisX");
}

TEST(JwwBlockList, LaterTagsMustReferToCDataList) {
  BlockListFile f = MakeBlockListFile();
  // CDataList took index 1 and the first definition 2.
  ASSERT_EQ(f.bytes[f.secondTag], 0x01);
  ASSERT_EQ(f.bytes[f.secondTag + 1], 0x80);
  std::vector<std::uint8_t> bad = f.bytes;
  bad[f.secondTag] = 0x02;
  ExpectCorrupt(bad, "class index 2");

  JwwWriteOptions escaped;
  escaped.longClassTags = true;
  BlockListFile g = MakeBlockListFile(escaped);
  ASSERT_TRUE(ReadBytes(g.bytes).ok);
  ASSERT_EQ(GetU32(g.bytes, g.secondTag + 2), 0x80000001u);
  bad = g.bytes;
  SetU32(bad, g.secondTag + 2, 0x80000002u);
  ExpectCorrupt(bad, "class index 2");
  SetU32(bad, g.secondTag + 2, 0x00010001u);  // high half of the u32 counts too
  ExpectCorrupt(bad);
}

TEST(JwwObjectList, UnknownClassesAndIndicesAreRejected) {
  JwwDocument doc = MakeEmptyDocument(600);
  doc.entities.lines = {MakeLine(1), MakeLine(2)};
  doc.entities.dots = {MakeDot(3, false)};
  std::vector<std::uint8_t> good = WriteOrDie(doc);
  ASSERT_TRUE(ReadBytes(good).ok);

  std::vector<std::uint8_t> bad = good;
  bad[FindBytes(bad, Ascii("CDataTen")) + 7] = 'x';
  ExpectCorrupt(bad, "unknown class \"CDataTex\"");

  // The second line refers to CDataSen (index 1); index 2 is the first line itself.
  std::size_t second = FindBytes(good, Ascii("CDataSen")) + 8 + 15 + 32;
  ASSERT_EQ(good[second], 0x01);
  ASSERT_EQ(good[second + 1], 0x80);
  bad = good;
  bad[second] = 0x02;
  ExpectCorrupt(bad, "class index 2");
  bad[second] = 0x00;  // the null index
  ExpectCorrupt(bad, "class index 0");
  // The class bit is not needed: the low 15 bits name the class.
  bad = good;
  bad[second + 1] = 0x00;
  EXPECT_TRUE(ReadBytes(bad).ok);

  // A block definition class inside an object list is not a record class.
  std::vector<std::uint8_t> list = WriteOrDie(MakeEmptyDocument(600));
  list.resize(list.size() - 4);
  PutU16(list, 1);
  PutU16(list, 0xFFFF);
  PutU16(list, 600);
  PutU16(list, 9);
  for (char c : std::string("CDataList")) list.push_back(static_cast<std::uint8_t>(c));
  list.resize(list.size() + 64, 0);
  ExpectCorrupt(list, "unknown class \"CDataList\"");
}

TEST(JwwBounds, CountsAndLengthsAreCheckedBeforeUse) {
  std::vector<std::uint8_t> empty = WriteOrDie(MakeEmptyDocument(600));
  std::vector<std::uint8_t> base(empty.begin(), empty.end() - 4);

  std::vector<std::uint8_t> huge = base;
  PutU16(huge, 0xFFFF);
  PutU32(huge, 0xFFFFFFFF);
  ExpectCorrupt(huge, "4294967295 objects");

  std::vector<std::uint8_t> blocks = base;
  PutU16(blocks, 0);
  PutU16(blocks, 0xFFFF);
  PutU32(blocks, 100000);
  ExpectCorrupt(blocks, "100000 block definitions");

  // The memo: a length past the end, and the 32-bit length form.
  std::vector<std::uint8_t> memo(empty.begin(), empty.begin() + 12);
  memo.insert(memo.end(), {0xFF, 0xF0, 0xFF});
  memo.resize(memo.size() + 1000, 'a');
  ExpectCorrupt(memo, "short");
  memo = {empty.begin(), empty.begin() + 12};
  memo.insert(memo.end(), {0xFF, 0xFF, 0xFF, 0x01, 0x00, 0x00, 0x00, 'a'});
  ExpectCorrupt(memo, "32-bit");
  memo = {empty.begin(), empty.begin() + 12};
  memo.insert(memo.end(), {0xFF, 0xFE, 0xFF, 0xFF, 0xFF, 0xFF});
  ExpectCorrupt(memo, "32-bit");
  memo = {empty.begin(), empty.begin() + 12};
  memo.insert(memo.end(), {0xFF, 0xFE, 0xFF, 0x80, 'a', 0});
  ExpectCorrupt(memo, "short");

  // A class name may not be long.
  std::vector<std::uint8_t> name = base;
  PutU16(name, 1);
  PutU16(name, 0xFFFF);
  PutU16(name, 600);
  PutU16(name, 5000);
  name.resize(name.size() + 6000, 'C');
  ExpectCorrupt(name, "class name of 5000 bytes");
}

TEST(JwwBounds, BytesAfterTheBlockListAreNotRead) {
  std::vector<std::uint8_t> bytes = WithVersion(600);
  std::size_t size = bytes.size();
  bytes.insert(bytes.end(), {1, 2, 3, 4, 5});
  ReadResult r = ReadBytes(bytes);
  ASSERT_TRUE(r.ok);
  EXPECT_EQ(r.bytesRead, size);
}

// Every prefix that ends inside the drawing is a damaged file. Only the trailing word
// of version 700 files may be cut, as it is not read.
void ExpectEveryTruncationRejected(const std::vector<std::uint8_t>& bytes, std::size_t tail = 0) {
  ASSERT_TRUE(ReadBytes(bytes).ok);
  for (std::size_t n = bytes.size() - tail; n < bytes.size(); ++n)
    EXPECT_TRUE(ReadBytes({bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(n)}).ok) << n;
  for (std::size_t n = 0; n < bytes.size() - tail; ++n) {
    std::vector<std::uint8_t> prefix(bytes.begin(), bytes.begin() + n);
    ReadResult r = ReadBytes(prefix, kPath);
    ASSERT_FALSE(r.ok) << "prefix of " << n << " bytes was accepted";
    ASSERT_EQ(r.error.resourceId, kJwwMsgCorrupt) << n;
    ASSERT_EQ(r.error.message, kCorrupt) << n;
    ASSERT_LE(r.error.offset, n);
  }
}

TEST(JwwTruncation, AtEveryByteOfAVersion351Drawing) {
  ExpectEveryTruncationRejected(WriteOrDie(MakeSampleDocument(351, false)));
}

TEST(JwwTruncation, AtEveryByteOfAUnicodeDrawingWithLongForms) {
  JwwWriteOptions o;
  o.unicodeStrings = o.longCounts = o.longClassTags = o.longStringLengths = true;
  ExpectEveryTruncationRejected(WriteOrDie(MakeSampleDocument(700, false), o), 4);
}

class JwwFileErrors : public ::testing::Test {
 protected:
  void SetUp() override {
    dir_ = std::filesystem::path(::testing::TempDir()) / "jww_file_errors";
    std::filesystem::create_directories(dir_);
  }
  void TearDown() override { std::filesystem::remove_all(dir_); }
  ReadResult ReadFile(const std::filesystem::path& path) {
    ReadResult r;
    JwwFileReader reader;
    r.ok = reader.Read(path.string(), r.doc);
    r.error = reader.Error();
    return r;
  }
  void WriteFile(const std::filesystem::path& path, const std::vector<std::uint8_t>& bytes) {
    std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char*>(bytes.data()),
                                                static_cast<std::streamsize>(bytes.size()));
  }
  std::filesystem::path dir_;
};

TEST_F(JwwFileErrors, MissingFile) {
  std::filesystem::path path = dir_ / "nope.jww";
  ReadResult r = ReadFile(path);
  EXPECT_FALSE(r.ok);
  EXPECT_EQ(r.error.resourceId, kJwwMsgFileMissing);
  EXPECT_EQ(r.error.message, "File " + path.string() + " doesn't exist !");
  EXPECT_EQ(ReadFile(dir_ / "no-dir" / "x.jww").error.resourceId, kJwwMsgFileMissing);
}

TEST_F(JwwFileErrors, UnopenableFile) {
  ReadResult r = ReadFile(dir_);
  EXPECT_FALSE(r.ok);
  EXPECT_EQ(r.error.resourceId, kJwwMsgOpenFailed);
  EXPECT_EQ(r.error.message, "Failed to open file " + dir_.string() + " !");
  if (geteuid() != 0) {  // root opens anything
    std::filesystem::path locked = dir_ / "locked.jww";
    WriteFile(locked, WithVersion(600));
    chmod(locked.c_str(), 0);
    EXPECT_EQ(ReadFile(locked).error.resourceId, kJwwMsgOpenFailed);
  }
}

}  // namespace
