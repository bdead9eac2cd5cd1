#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "tag_test_util.h"

namespace dx::dxf::testing {
namespace {

using ::testing::HasSubstr;

TEST(AsciiReader, LfAndCrLfFilesGiveTheSameTags) {
  std::string lf = "  0\nLINE\n  8\n my layer \n 10\n1.25\n 70\n4\n  0\nEOF\n";
  std::string crlf;
  for (char c : lf) crlf += c == '\n' ? std::string("\r\n") : std::string(1, c);
  auto a = readBuffer(lf), b = readBuffer(crlf);
  ASSERT_EQ(a.error, "");
  ASSERT_EQ(b.error, "");
  std::vector<OwnedTag> want = {S(0, "LINE"), S(8, " my layer "), D(10, 1.25), I(70, 4),
                                S(0, "EOF")};
  EXPECT_EQ(a.tags, want);
  EXPECT_EQ(b.tags, want);
}

TEST(AsciiReader, AcceptsThePaddingAndNumberFormsRealWritersProduce) {
  // R12 writers pad codes and numbers; others write reals as integers and integers
  // as reals.
  auto r = readBuffer(
      "  10  \n   1.5  \n 20\n0\n 30\n1.\n 40\n.5\n 41\n+2\n 42\n-0\n 43\n1e3\n"
      " 70\n1.0\n 71\n   2.0 \r\n 72\n1e2\n 73\n+5\n 290\n1\n 160\n9223372036854775807\n"
      " 90\n-2147483648\n");
  ASSERT_EQ(r.error, "");
  std::vector<OwnedTag> want = {D(10, 1.5),  D(20, 0),    D(30, 1),   D(40, 0.5),  D(41, 2),
                                D(42, -0.0), D(43, 1000), I(70, 1),   I(71, 2),    I(72, 100),
                                I(73, 5),    I(290, 1),   I(160, INT64_MAX),        I(90, INT32_MIN)};
  EXPECT_EQ(r.tags, want);
  ASSERT_EQ(r.tags.size(), want.size());
  EXPECT_TRUE(std::signbit(r.tags[5].real)) << "-0 keeps its sign";
}

TEST(AsciiReader, StringsKeepEverythingButTheLineEnd) {
  auto r = readBuffer("  1\n\n  1\n  \t x y \t \r\n  1\nlast line without end");
  ASSERT_EQ(r.error, "");
  EXPECT_EQ(r.tags, (std::vector<OwnedTag>{S(1, ""), S(1, "  \t x y \t "),
                                           S(1, "last line without end")}));
}

TEST(AsciiReader, NumericTagsCarryTheirWrittenValue) {
  std::string err;
  auto r = TagReader::fromBuffer(" 10\n  0.500 \n", err);
  ASSERT_TRUE(r);
  Tag t;
  ASSERT_TRUE(r->next(t));
  EXPECT_EQ(t.text, "0.500");
  EXPECT_EQ(t.real, 0.5);
}

TEST(AsciiReader, RejectsMalformedTagsWithTheLineNumber) {
  struct Case {
    const char* data;
    const char* error;
    size_t tagsBefore;
  } cases[] = {
      {"  0\nSECTION\nxyz\nHEADER\n", "line 3: invalid group code 'xyz'", 1},
      {"  0\nSECTION\n 10 20\n1.0\n", "line 3: invalid group code ' 10 20'", 1},
      {"  0\nSECTION\n1.5\n1.0\n", "line 3: invalid group code '1.5'", 1},
      {"  0\nSECTION\n99999999999\nx\n", "line 3: invalid group code '99999999999'", 1},
      {"  0\nSECTION\n  2\n", "line 3: group code 2 without a value", 1},
      {"  0\nSECTION\n  2", "line 3: group code 2 without a value", 1},
      {" 10\nabc\n", "line 2: invalid value 'abc' for group code 10", 0},
      {" 10\n1.5abc\n", "line 2: invalid value '1.5abc' for group code 10", 0},
      {" 10\n\n", "line 2: invalid value '' for group code 10", 0},
      {" 10\n1e999\n", "line 2: invalid value '1e999' for group code 10", 0},
      {" 70\n0x10\n", "line 2: invalid value '0x10' for group code 70", 0},
      {" 70\n1 2\n", "line 2: invalid value '1 2' for group code 70", 0},
      {" 70\n- 1\n", "line 2: invalid value '- 1' for group code 70", 0},
      {"  0\nLINE\n\n  8\n", "line 3: invalid group code ''", 1},
  };
  for (const auto& c : cases) {
    auto r = readBuffer(c.data);
    EXPECT_TRUE(r.opened) << c.data;
    EXPECT_EQ(r.error, c.error) << c.data;
    EXPECT_EQ(r.tags.size(), c.tagsBefore) << c.data;
  }
}

TEST(AsciiReader, DamagedFilesGiveOneLineErrorsNotCrashes) {
  std::string good = writeAll({S(0, "SECTION"), S(2, "HEADER"), S(9, "$ACADVER"), S(1, "AC1015"),
                               S(9, "$DWGCODEPAGE"), S(3, "ANSI_932"), S(0, "ENDSEC"),
                               S(1, "\x93\xFA \\U+00E9 \\M+193FA"), D(10, 1.5), I(70, 3),
                               I(160, 1), S(310, "ABCD"), S(0, "EOF")});
  std::mt19937 rng(11);
  int failures = 0;
  for (int i = 0; i < 3000; ++i) {
    std::string damaged = good;
    for (int k = 0; k < 2; ++k) damaged[rng() % damaged.size()] = char(rng());
    if (i % 3 == 0) damaged.resize(rng() % damaged.size());
    auto r = readBuffer(damaged);
    if (r.error.empty()) continue;
    ++failures;
    EXPECT_EQ(r.error.find('\n'), std::string::npos) << r.error;
    for (unsigned char c : r.error) ASSERT_TRUE(c >= 0x20 && c < 0x7F) << r.error;
  }
  EXPECT_GT(failures, 100);
}

TEST(AsciiReader, StaysAtTheErrorOnceFailed) {
  std::string err;
  auto r = TagReader::fromBuffer("  0\nA\nbad\nB\n  0\nC\n", err);
  ASSERT_TRUE(r);
  Tag t;
  ASSERT_TRUE(r->next(t));
  EXPECT_FALSE(r->next(t));
  std::string first = r->error();
  EXPECT_FALSE(r->next(t));
  r->pushBack();
  EXPECT_FALSE(r->next(t));
  EXPECT_EQ(r->error(), first);
}

TEST(AsciiReader, RefusesDataThatIsNotDxfAtAll) {
  auto empty = readBuffer("");
  EXPECT_FALSE(empty.opened);
  EXPECT_EQ(empty.error, "empty file");
  auto blank = readBuffer(" \r\n\n\t\n");
  EXPECT_FALSE(blank.opened);
  EXPECT_EQ(blank.error, "empty file");
  auto garbage = readBuffer("garbage");
  EXPECT_FALSE(garbage.opened);
  EXPECT_EQ(garbage.error, "not a DXF file (line 1: invalid group code 'garbage')");
  auto binaryText = readBuffer(std::string("\x89PNG\r\n\x1a\n\0\0", 10));
  EXPECT_FALSE(binaryText.opened);
  EXPECT_THAT(binaryText.error, HasSubstr("not a DXF file"));
  auto cutSentinel = readBuffer("AutoCAD Binary DXF\r\n");
  EXPECT_FALSE(cutSentinel.opened);
  EXPECT_THAT(cutSentinel.error, HasSubstr("binary DXF"));
}

TEST(AsciiReader, EndsAtTheEofMarkerOrTrailingBlankLines) {
  auto padded = readBuffer("  0\nEOF\n\x1a\x1a garbage after the end\n");
  EXPECT_EQ(padded.error, "");
  EXPECT_EQ(padded.tags, (std::vector<OwnedTag>{S(0, "EOF")}));
  auto blanks = readBuffer("  0\nSECTION\n  \r\n\n\n");
  EXPECT_EQ(blanks.error, "");
  EXPECT_EQ(blanks.tags.size(), 1u);
  auto nulPadding = readBuffer(std::string("  0\nSECTION\n\0\0\0\0", 16));
  EXPECT_EQ(nulPadding.error, "");
  EXPECT_EQ(nulPadding.tags.size(), 1u);
  auto noMarker = readBuffer("  0\nSECTION\n  0\nENDSEC\n");
  EXPECT_EQ(noMarker.error, "");
  EXPECT_EQ(noMarker.tags.size(), 2u);
}

TEST(AsciiReader, SkipsAByteOrderMark) {
  auto r = readBuffer("\xEF\xBB\xBF  0\nSECTION\n");
  ASSERT_EQ(r.error, "");
  EXPECT_EQ(r.tags, (std::vector<OwnedTag>{S(0, "SECTION")}));
}

TEST(AsciiReader, PushBackReturnsTheSameTagAgain) {
  std::string err;
  auto r = TagReader::fromBuffer(
      "  0\nSECTION\n  2\nHEADER\n  9\n$ACADVER\n  1\nAC1015\n  0\nENDSEC\n  0\nSECTION\n"
      "  1\ncaf\xE9\n 10\n2.5\n",
      err);
  ASSERT_TRUE(r);
  Tag t;
  for (int i = 0; i < 6; ++i) ASSERT_TRUE(r->next(t));
  ASSERT_TRUE(r->next(t));
  EXPECT_EQ(t.text, "caf\xC3\xA9");
  r->pushBack();
  Tag again;
  ASSERT_TRUE(r->next(again));
  EXPECT_EQ(again.code, 1);
  EXPECT_EQ(again.text, "caf\xC3\xA9") << "converted text survives the push-back";
  EXPECT_EQ(r->position(), 13u);
  ASSERT_TRUE(r->next(t));
  EXPECT_EQ(t.real, 2.5);
  EXPECT_EQ(r->position(), 15u);
  r->pushBack();
  ASSERT_TRUE(r->next(t));
  EXPECT_EQ(t.code, 10);
  EXPECT_FALSE(r->next(t));
  EXPECT_EQ(r->error(), "");
}

TEST(AsciiReader, FollowsVersionAndCodePageOnlyInTheHeader) {
  std::string err;
  auto r = TagReader::fromBuffer(
      "  0\nSECTION\n  2\nHEADER\n  9\n$ACADVER\n  1\nAC1018\n  9\n$DWGCODEPAGE\n  3\nANSI_1251\n"
      "  0\nENDSEC\n  0\nSECTION\n  2\nENTITIES\n  9\n$ACADVER\n  1\nAC1032\n  3\nANSI_932\n"
      "  0\nENDSEC\n",
      err);
  ASSERT_TRUE(r);
  EXPECT_EQ(r->acadVersion(), "AC1009");
  EXPECT_EQ(r->codePage(), "ANSI_1252");
  Tag t;
  while (r->next(t)) {
  }
  EXPECT_EQ(r->error(), "");
  EXPECT_EQ(r->acadVersion(), "AC1018");
  EXPECT_EQ(r->codePage(), "ANSI_1251");
  EXPECT_FALSE(r->isBinary());
}

TEST(AsciiReader, ReadsFilesAndReportsMissingOnes) {
  auto missing = readFile("/nonexistent/folder/plan.dxf");
  EXPECT_FALSE(missing.opened);
  EXPECT_THAT(missing.error, HasSubstr("No such file"));
  auto folder = readFile("/tmp");
  EXPECT_FALSE(folder.opened);
  EXPECT_THAT(folder.error, HasSubstr("folder"));
}

}  // namespace
}  // namespace dx::dxf::testing
