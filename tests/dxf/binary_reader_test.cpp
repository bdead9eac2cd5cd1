#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <random>

#include "tag_test_util.h"

namespace dx::dxf::testing {
namespace {

using ::testing::HasSubstr;

const std::string kSentinel("AutoCAD Binary DXF\r\n\x1a\0", 22);

// Builds binary DXF from tags: two-byte codes as since R13, or one-byte codes with
// the 255 escape as before.
std::string binaryDxf(const std::vector<OwnedTag>& tags, bool oneByteCodes) {
  std::string out = kSentinel;
  auto le = [&out](uint64_t v, int bytes) {
    for (int i = 0; i < bytes; ++i) out += char((v >> (8 * i)) & 0xFF);
  };
  for (const auto& t : tags) {
    if (!oneByteCodes) {
      le(uint16_t(t.code), 2);
    } else if (t.code < 255) {
      out += char(t.code);
    } else {
      out += '\xFF';
      le(uint16_t(t.code), 2);
    }
    switch (t.kind) {
      case Kind::Double: {
        uint64_t bits;
        std::memcpy(&bits, &t.real, 8);
        le(bits, 8);
        break;
      }
      case Kind::Int16: le(uint64_t(t.integer), 2); break;
      case Kind::Int32: le(uint64_t(t.integer), 4); break;
      case Kind::Int64: le(uint64_t(t.integer), 8); break;
      case Kind::Bool: le(uint64_t(t.integer), 1); break;
      case Kind::Binary:
        out += char(t.text.size() / 2);
        for (size_t i = 0; i < t.text.size(); i += 2)
          out += char(std::stoi(t.text.substr(i, 2), nullptr, 16));
        break;
      default: out += t.text; out += '\0';
    }
  }
  return out;
}

std::vector<OwnedTag> sampleTags() {
  return {S(0, "SECTION"), S(2, "HEADER"), S(9, "$ACADVER"), S(1, "AC1015"),
          S(9, "$DWGCODEPAGE"), S(3, "ANSI_1252"), S(0, "ENDSEC"),
          S(0, "SECTION"), S(2, "ENTITIES"), S(0, "LINE"), S(5, "2A"), S(330, "1F"),
          S(8, "Wand"), I(62, -3), D(10, 0.1), D(20, -0.0), D(30, 1e-300), D(11, 1e300),
          D(21, 2), D(31, 3), I(90, -123456), I(160, 1LL << 40), I(290, 1), I(280, 7),
          S(310, "00FF10AB"), S(1001, "APP"), S(1000, "x"), S(1004, "01ABFF"),
          D(1040, 1.5), I(1070, 7), I(1071, 999999), S(0, "TEXT"), S(1, "Caf\xC3\xA9"),
          S(0, "ENDSEC"), S(0, "EOF")};
}

// The TEXT value as the file stores it: code page bytes.
std::vector<OwnedTag> sampleTagsAsStored() {
  auto tags = sampleTags();
  for (auto& t : tags)
    if (t.code == 1 && t.text == "Caf\xC3\xA9") t.text = "Caf\xE9";
  return tags;
}

TEST(BinaryReader, BothCodeWidthsGiveTheTagsOfTheAsciiFile) {
  auto ascii = readBuffer(writeAll(sampleTagsAsStored()));
  ASSERT_EQ(ascii.error, "");
  ASSERT_EQ(ascii.tags, sampleTags());
  for (bool oneByte : {false, true}) {
    auto bin = readBuffer(binaryDxf(sampleTagsAsStored(), oneByte));
    ASSERT_EQ(bin.error, "") << "one-byte codes: " << oneByte;
    EXPECT_EQ(bin.tags, ascii.tags) << "one-byte codes: " << oneByte;
  }
}

TEST(BinaryReader, ReportsByteOffsetsAndVersion) {
  std::string err;
  auto r = TagReader::fromBuffer(binaryDxf(sampleTagsAsStored(), false), err);
  ASSERT_TRUE(r);
  EXPECT_TRUE(r->isBinary());
  Tag t;
  ASSERT_TRUE(r->next(t));
  EXPECT_EQ(r->position(), 22u);
  ASSERT_TRUE(r->next(t));
  EXPECT_EQ(r->position(), 22u + 2 + 8);  // after (0, "SECTION\0")
  EXPECT_EQ(t.text, "HEADER");
  r->pushBack();
  ASSERT_TRUE(r->next(t));
  EXPECT_EQ(t.text, "HEADER");
  EXPECT_EQ(r->position(), 22u + 2 + 8);
  std::vector<OwnedTag> rest;
  while (r->next(t)) rest.push_back({t.code, t.kind, t.real, t.integer, std::string(t.text)});
  EXPECT_EQ(r->error(), "");
  EXPECT_EQ(rest.size(), sampleTags().size() - 2);
  EXPECT_EQ(r->acadVersion(), "AC1015");
  r->pushBack();
  ASSERT_TRUE(r->next(t)) << "the EOF tag can be pushed back too";
  EXPECT_EQ(t.text, "EOF");
  EXPECT_FALSE(r->next(t));
}

TEST(BinaryReader, EveryTruncationIsAnErrorNotACrash) {
  for (bool oneByte : {false, true}) {
    std::string full = binaryDxf(sampleTagsAsStored(), oneByte);
    for (size_t len = kSentinel.size(); len < full.size(); ++len) {
      auto r = readBuffer(full.substr(0, len));
      if (!r.opened) continue;
      EXPECT_THAT(r.error, HasSubstr("byte ")) << "cut at " << len;
      EXPECT_LT(r.tags.size(), sampleTags().size());
    }
  }
}

TEST(BinaryReader, SurvivesDamagedBytes) {
  std::string full = binaryDxf(sampleTagsAsStored(), false);
  std::mt19937 rng(7);
  int failures = 0;
  for (int i = 0; i < 3000; ++i) {
    std::string damaged = full;
    for (int k = 0; k < 3; ++k)
      damaged[kSentinel.size() + rng() % (full.size() - kSentinel.size())] = char(rng());
    auto r = readBuffer(damaged);
    if (!r.error.empty()) ++failures;
  }
  EXPECT_GT(failures, 0) << "some damage must be noticed";
}

// Writes a drawing with ezdxf (an independent implementation) as ASCII and as binary
// DXF and compares what we read from both.
class EzdxfBinary : public ::testing::TestWithParam<const char*> {
 protected:
  static void SetUpTestSuite() {
    if (::access(DX_PYTHON, X_OK) != 0) return;
    char tmpl[] = "/tmp/dxf-ezdxf-XXXXXX";
    if (!::mkdtemp(tmpl)) return;
    dir_ = tmpl;
    std::string script = dir_ + "/make.py";
    FILE* f = std::fopen(script.c_str(), "w");
    if (!f) return;
    std::fputs(
        "import sys, ezdxf\n"
        "ezdxf.options.write_fixed_meta_data_for_testing = True\n"
        "for ver in ('R12', 'R2000', 'R2018'):\n"
        "    doc = ezdxf.new(ver)\n"
        "    msp = doc.modelspace()\n"
        "    msp.add_line((0, 0.1, -0.0), (1e-300, 1e300, 3.5))\n"
        "    msp.add_circle((1, 2), 1 / 3)\n"
        "    msp.add_text('Gr\\u00fc\\u00dfe \\u65e5\\u672c', dxfattribs={'height': 2.5})\n"
        "    if ver != 'R12':\n"
        "        msp.add_lwpolyline([(0, 0), (1, 0), (1, 1)])\n"
        "        doc.appids.new('TESTAPP')\n"
        "        line = msp.add_line((0, 0), (1, 1))\n"
        "        line.set_xdata('TESTAPP', [(1000, 'x'), (1004, b'\\x01\\xab\\xff'),\n"
        "                                   (1040, 1.5), (1070, 7), (1071, 123456)])\n"
        "    doc.saveas(sys.argv[1] + '/' + ver + '.dxf')\n"
        "    doc.saveas(sys.argv[1] + '/' + ver + '.bin.dxf', fmt='bin')\n",
        f);
    std::fclose(f);
    std::string cmd = std::string(DX_PYTHON) + " " + script + " " + dir_ + " 2>/dev/null";
    made_ = std::system(cmd.c_str()) == 0;
  }
  static void TearDownTestSuite() {
    if (!dir_.empty()) std::system(("rm -rf " + dir_).c_str());
  }
  static std::string dir_;
  static bool made_;
};
std::string EzdxfBinary::dir_;
bool EzdxfBinary::made_ = false;

TEST_P(EzdxfBinary, ReadsTheSameTagsAsFromAscii) {
  if (!made_) GTEST_SKIP() << "ezdxf for " DX_PYTHON " is not available";
  std::string base = dir_ + "/" + GetParam();
  auto ascii = readFile(base + ".dxf");
  auto bin = readFile(base + ".bin.dxf");
  ASSERT_EQ(ascii.error, "");
  ASSERT_EQ(bin.error, "");
  EXPECT_GT(ascii.tags.size(), 300u);
  EXPECT_EQ(bin.tags, ascii.tags);
  bool sawText = false, sawRadius = false;
  for (size_t i = 0; i + 1 < bin.tags.size(); ++i) {
    if (bin.tags[i].code == 1 && bin.tags[i].text == "Gr\xC3\xBC\xC3\x9F" "e \xE6\x97\xA5\xE6\x9C\xAC")
      sawText = true;
    if (bin.tags[i] == D(40, 1.0 / 3)) sawRadius = true;
  }
  EXPECT_TRUE(sawText);
  EXPECT_TRUE(sawRadius);
}

INSTANTIATE_TEST_SUITE_P(Versions, EzdxfBinary, ::testing::Values("R12", "R2000", "R2018"));

}  // namespace
}  // namespace dx::dxf::testing
