#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cmath>
#include <fstream>
#include <limits>
#include <random>
#include <sstream>

#include "tag_test_util.h"

namespace dx::dxf::testing {
namespace {

using ::testing::HasSubstr;

TEST(TagWriter, RightAlignsCodesInThreeColumns) {
  TagWriter w;
  w.str(0, "LINE");
  w.str(8, "0");
  w.integer(62, 7);
  w.str(100, "AcDbEntity");
  w.str(1001, "APP");
  w.integer(1071, -5);
  w.str(-1, "x");
  EXPECT_EQ(w.buffer(),
            "  0\nLINE\n  8\n0\n 62\n7\n100\nAcDbEntity\n1001\nAPP\n1071\n-5\n -1\nx\n");
}

TEST(TagWriter, WritesRealsShortestWithADecimalPoint) {
  struct Case {
    double v;
    const char* text;
  } cases[] = {{1.0, "1.0"},      {0.0, "0.0"},     {-0.0, "-0.0"},  {-3.5, "-3.5"},
               {0.1, "0.1"},      {100.0, "100.0"}, {1e20, "1e+20"}, {1e-300, "1e-300"},
               {1.0 / 3, "0.3333333333333333"},      {123456789.0, "123456789.0"}};
  for (const auto& c : cases) {
    TagWriter w;
    w.real(40, c.v);
    EXPECT_EQ(w.buffer(), std::string(" 40\n") + c.text + "\n") << c.text;
  }
}

TEST(TagWriter, WritesPointsHandlesAndTagsByKind) {
  TagWriter w;
  w.point(10, 1, 2, 3);
  w.point2(11, -1, 0.5);
  w.handle(5, 0x2FAB);
  w.handle(330, 0);
  Tag t;
  t.code = 290;
  t.kind = Kind::Bool;
  t.integer = 1;
  w.tag(t);
  t = Tag{};
  t.code = 310;
  t.kind = Kind::Binary;
  t.text = "01ABFF";
  w.tag(t);
  EXPECT_EQ(w.buffer(),
            " 10\n1.0\n 20\n2.0\n 30\n3.0\n 11\n-1.0\n 21\n0.5\n  5\n2FAB\n330\n0\n290\n1\n"
            "310\n01ABFF\n");
}

TEST(TagWriter, EscapesNonAsciiForOldDrawings) {
  TagWriter w;
  w.setEscapeNonAscii(true);
  w.str(1, "caf\xC3\xA9 \xE6\x97\xA5 \xF0\x9F\x98\x80 plain");
  EXPECT_EQ(w.buffer(), "  1\ncaf\\U+00E9 \\U+65E5 \\U+D83D\\U+DE00 plain\n");
  TagWriter utf8;
  utf8.str(1, "caf\xC3\xA9");
  EXPECT_EQ(utf8.buffer(), "  1\ncaf\xC3\xA9\n");
}

TEST(TagWriter, KeepsLineBreaksInsideValuesFromSplittingTheTag) {
  TagWriter w;
  w.str(1, "two\nlines\r");
  w.str(0, "EOF");
  auto r = readBuffer(w.buffer());
  ASSERT_EQ(r.error, "");
  EXPECT_EQ(r.tags, (std::vector<OwnedTag>{S(1, "two^Jlines^M"), S(0, "EOF")}));
}

// Values that printing and parsing doubles tends to get wrong.
const double kHardDoubles[] = {0.1,
                               0.2 + 0.1,
                               1e-300,
                               -0.0,
                               0.0,
                               1e300,
                               std::numeric_limits<double>::max(),
                               -std::numeric_limits<double>::max(),
                               std::numeric_limits<double>::min(),
                               std::numeric_limits<double>::denorm_min(),
                               9007199254740993.0,
                               123456789012345678.0,
                               2.5e-8,
                               1.0 / 3};

TEST(TagRoundTrip, ReadWriteReadKeepsEveryTagBitExact) {
  std::vector<OwnedTag> tags = {S(0, "SECTION"), S(2, "HEADER"), S(9, "$ACADVER"),
                                S(1, "AC1032"), S(0, "ENDSEC"),
                                S(0, "SECTION"), S(2, "ENTITIES"), S(0, "LINE"),
                                S(5, "2F"),      S(8, "layer with spaces "), I(62, -7),
                                I(90, 2147483647), I(160, -9223372036854775807LL - 1),
                                I(290, 0),       S(310, "DEADBEEF00"), S(999, "a comment"),
                                S(1000, "\xE6\x97\xA5\xE6\x9C\xAC"), I(1071, -1)};
  for (double d : kHardDoubles) tags.push_back(D(10, d));
  std::mt19937_64 rng(42);
  // Coordinates as drawings hold them: computed to the last digit, or snapped.
  std::uniform_real_distribution<double> coord(-5000.0, 5000.0);
  for (int i = 0; i < 5000; ++i) {
    double c = coord(rng);
    double scale = std::pow(10.0, i % 6);
    tags.push_back(D(20, c));
    tags.push_back(D(30, std::round(c * scale) / scale));
  }
  for (int i = 0; i < 20000; ++i) {
    uint64_t bits = rng();
    double d;
    std::memcpy(&d, &bits, sizeof d);
    if (std::isfinite(d)) tags.push_back(D(1040, d));
  }
  tags.push_back(S(0, "EOF"));
  std::string first = writeAll(tags);
  auto back = readBuffer(first);
  ASSERT_EQ(back.error, "");
  ASSERT_EQ(back.tags.size(), tags.size());
  for (size_t i = 0; i < tags.size(); ++i) ASSERT_EQ(back.tags[i], tags[i]) << "tag " << i;
  EXPECT_EQ(writeAll(back.tags), first) << "writing again gives the same bytes";
}

TEST(TagRoundTrip, EscapedTextReadsBackAsTheSameUtf8) {
  std::string text = "Gr\xC3\xBC\xC3\x9F" "e \xE6\x97\xA5\xE6\x9C\xAC \xF0\x9F\x98\x80";
  for (const char* version : {"AC1009", "AC1015", "AC1032"}) {
    std::vector<OwnedTag> tags = {S(0, "SECTION"), S(2, "HEADER"), S(9, "$ACADVER"),
                                  S(1, version),   S(0, "ENDSEC"), S(1, text)};
    auto back = readBuffer(writeAll(tags, /*escape=*/true));
    ASSERT_EQ(back.error, "");
    ASSERT_EQ(back.tags.size(), tags.size());
    EXPECT_EQ(back.tags.back().text, text) << version;
  }
}

class SaveTo : public ::testing::Test {
 protected:
  void SetUp() override {
    char tmpl[] = "/tmp/dxf-save-XXXXXX";
    ASSERT_NE(::mkdtemp(tmpl), nullptr);
    dir_ = tmpl;
  }
  void TearDown() override {
    for (const auto& f : files()) ::unlink((dir_ + "/" + f).c_str());
    ::rmdir((dir_ + "/sub").c_str());
    ::rmdir(dir_.c_str());
  }
  std::vector<std::string> files() const {
    std::vector<std::string> out;
    if (DIR* d = ::opendir(dir_.c_str())) {
      while (dirent* e = ::readdir(d))
        if (e->d_name[0] != '.') out.push_back(e->d_name);
      ::closedir(d);
    }
    return out;
  }
  static std::string slurp(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream ss;
    ss << in.rdbuf();
    return ss.str();
  }
  std::string dir_;
};

TEST_F(SaveTo, ReplacesTheFileAndLeavesNoTemporary) {
  std::string path = dir_ + "/plan.dxf";
  {
    std::ofstream old(path);
    old << "old content that is longer than the new one";
  }
  TagWriter w;
  w.str(0, "EOF");
  std::string err;
  ASSERT_TRUE(w.saveTo(path, err)) << err;
  EXPECT_EQ(slurp(path), "  0\nEOF\n");
  EXPECT_EQ(files(), std::vector<std::string>{"plan.dxf"});
  w.setSyncOnSave(true);
  w.str(999, "again");
  ASSERT_TRUE(w.saveTo(path, err)) << err;
  EXPECT_EQ(slurp(path), "  0\nEOF\n999\nagain\n");
}

TEST_F(SaveTo, FailsWithOneLineAndCleansUp) {
  TagWriter w;
  w.str(0, "EOF");
  std::string err;
  EXPECT_FALSE(w.saveTo(dir_ + "/missing/plan.dxf", err));
  EXPECT_THAT(err, HasSubstr("/missing/plan.dxf"));
  EXPECT_EQ(err.find('\n'), std::string::npos);
  // The target is a folder: the rename fails after the temporary was written.
  ASSERT_EQ(::mkdir((dir_ + "/sub").c_str(), 0755), 0);
  err.clear();
  EXPECT_FALSE(w.saveTo(dir_ + "/sub", err));
  EXPECT_THAT(err, HasSubstr("cannot replace"));
  EXPECT_EQ(files(), std::vector<std::string>{"sub"}) << "no temporary left behind";
}

// A streamed save goes out in chunks while it is written: the file holds the same bytes
// as a save of the whole buffer, and an abandoned or failed one leaves nothing behind.
TEST_F(SaveTo, StreamedInChunksLikeTheWholeBufferAndCleansUp) {
  auto fill = [](TagWriter& w) {
    for (int i = 0; i < 60000; ++i) {
      w.str(0, "LINE");
      w.handle(5, uint64_t(i) + 0x10);
      w.point(10, i * 0.25, -i / 3.0, 0);
      w.integer(62, i % 256);
    }
    w.str(0, "EOF");
  };
  TagWriter whole, streamed;
  fill(whole);
  ASSERT_GT(whole.buffer().size(), size_t(3) << 20);
  std::string err;
  ASSERT_TRUE(streamed.open(dir_ + "/plan.dxf", err)) << err;
  fill(streamed);
  EXPECT_LT(streamed.buffer().size(), size_t(2) << 20) << "the chunks went out as they filled";
  ASSERT_TRUE(streamed.commit(err)) << err;
  EXPECT_TRUE(slurp(dir_ + "/plan.dxf") == whole.buffer());
  EXPECT_EQ(files(), std::vector<std::string>{"plan.dxf"});
  {
    TagWriter abandoned;
    ASSERT_TRUE(abandoned.open(dir_ + "/plan.dxf", err)) << err;
    fill(abandoned);
  }
  EXPECT_EQ(files(), std::vector<std::string>{"plan.dxf"});
  EXPECT_TRUE(slurp(dir_ + "/plan.dxf") == whole.buffer()) << "the old file stays";
  TagWriter nowhere;
  EXPECT_FALSE(nowhere.open(dir_ + "/missing/plan.dxf", err));
  EXPECT_THAT(err, HasSubstr("/missing/plan.dxf"));
}

}  // namespace
}  // namespace dx::dxf::testing
