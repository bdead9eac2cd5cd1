#include <dirent.h>

#include <algorithm>
#include <fstream>
#include <sstream>

#include "tag_test_util.h"

namespace dx::dxf::testing {
namespace {

const std::string kSampleDir = std::string(DX_SHARED_DATA) + "/dxf";

std::vector<std::string> sampleFiles() {
  std::vector<std::string> out;
  if (DIR* d = ::opendir(kSampleDir.c_str())) {
    while (dirent* e = ::readdir(d)) {
      std::string name = e->d_name;
      if (name.size() > 4 && name.substr(name.size() - 4) == ".dxf") out.push_back(name);
    }
    ::closedir(d);
  }
  std::sort(out.begin(), out.end());
  return out;
}

std::string slurp(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream ss;
  ss << in.rdbuf();
  return ss.str();
}

// Every tag is two lines, so a file that ends at its EOF marker has lines / 2 tags.
size_t tagsByLineCount(const std::string& data) {
  size_t lines = std::count(data.begin(), data.end(), '\n');
  if (!data.empty() && data.back() != '\n') ++lines;
  return lines / 2;
}

const OwnedTag* valueAfter(const std::vector<OwnedTag>& tags, const OwnedTag& key, int code) {
  for (size_t i = 0; i + 1 < tags.size(); ++i)
    if (tags[i] == key) {
      for (size_t k = i + 1; k < tags.size() && tags[k].code != 0 && tags[k].code != 9; ++k)
        if (tags[k].code == code) return &tags[k];
    }
  return nullptr;
}

class SampleFiles : public ::testing::Test {
 protected:
  void SetUp() override {
    files_ = sampleFiles();
    if (files_.empty()) GTEST_SKIP() << "no sample drawings in " << kSampleDir;
  }
  std::vector<std::string> files_;
};

TEST_F(SampleFiles, EveryFileReadsToItsEofMarker) {
  EXPECT_GE(files_.size(), 14u);
  for (const auto& name : files_) {
    std::string path = kSampleDir + "/" + name;
    auto r = readFile(path);
    ASSERT_EQ(r.error, "") << name;
    ASSERT_FALSE(r.tags.empty()) << name;
    EXPECT_EQ(r.tags.back(), S(0, "EOF")) << name;
    EXPECT_EQ(r.tags.size(), tagsByLineCount(slurp(path))) << name;
  }
}

TEST_F(SampleFiles, KnownValuesComeOutRight) {
  auto r12 = readFile(kSampleDir + "/ASCII_R12.dxf");
  ASSERT_EQ(r12.error, "");
  // Greek by escapes, German umlauts by ANSI_1252 bytes, in one layer name.
  const OwnedTag* layer = valueAfter(r12.tags, S(9, "$CLAYER"), 8);
  ASSERT_TRUE(layer);
  EXPECT_EQ(layer->text,
            "\xCE\x9B\xCE\x91\xCE\x93\xCE\x95\xCE\xA1\xC3\x84\xC3\x9C\xC3\x96");  // ΛΑΓΕΡÄÜÖ

  auto dxflib = readFile(kSampleDir + "/cc_dxflib.dxf");
  ASSERT_EQ(dxflib.error, "");
  EXPECT_EQ(dxflib.tags.front(), S(999, "Created by CloudCompare v2.10.2 (Zephyrus)"));
  const OwnedTag* extMinY = valueAfter(dxflib.tags, S(9, "$EXTMIN"), 20);
  ASSERT_TRUE(extMinY);
  EXPECT_EQ(extMinY->real, -1.6403530448675157);

  auto unicode = readFile(kSampleDir + "/dxf_unicode.dxf");
  ASSERT_EQ(unicode.error, "");
  bool found = false;
  for (const auto& t : unicode.tags)
    found |= t == S(2, "Tsch\xC3\xBCss mit \xC3\xBC");  // UTF-8 bytes and an escape
  EXPECT_TRUE(found);

  auto crlf = readFile(kSampleDir + "/images.dxf");
  ASSERT_EQ(crlf.error, "");
  EXPECT_EQ(crlf.tags[1], S(2, "HEADER")) << "CR LF stripped";
}

TEST_F(SampleFiles, WritingAndReadingAgainKeepsEveryTag) {
  for (const auto& name : files_) {
    auto first = readFile(kSampleDir + "/" + name);
    ASSERT_EQ(first.error, "") << name;
    std::string written = writeAll(first.tags, first.needsEscapes());
    auto second = readBuffer(written);
    ASSERT_EQ(second.error, "") << name;
    EXPECT_EQ(second.tags, first.tags) << name;
  }
}

}  // namespace
}  // namespace dx::dxf::testing
