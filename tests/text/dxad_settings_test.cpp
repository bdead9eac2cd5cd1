// The settings file: lookups, rewriting in place, and the exact "TRUE".
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "express/text/dxad_settings.h"

using namespace express;

namespace {

class IniFile : public ::testing::Test {
 protected:
  void SetUp() override {
    dir = std::filesystem::temp_directory_path() /
          ("dxadini-" + std::to_string(::getpid()) + "-" + ::testing::UnitTest::GetInstance()->current_test_info()->name());
    std::filesystem::create_directories(dir);
    path = (dir / "dxad.ini").string();
  }
  void TearDown() override { std::filesystem::remove_all(dir); }
  void write(const std::string& s) { std::ofstream(path, std::ios::binary) << s; }
  std::string read() {
    std::ifstream in(path, std::ios::binary);
    std::stringstream ss;
    ss << in.rdbuf();
    return ss.str();
  }
  std::filesystem::path dir;
  std::string path;
};

}  // namespace

TEST_F(IniFile, MissingFileSectionOrKeyGivesTheFallback) {
  EXPECT_EQ(readIniString(path, "DXADEXCMD", "K", "dflt"), "dflt");
  write("[OTHER]\r\nK=1\r\n");
  EXPECT_EQ(readIniString(path, "DXADEXCMD", "K", "dflt"), "dflt");
  write("[dxadexcmd]\r\n k = yes \r\n");
  EXPECT_EQ(readIniString(path, "DXADEXCMD", "K", "dflt"), "yes");
}

TEST_F(IniFile, WritingReplacesOrAddsAndKeepsTheRest) {
  write("; comment\n[A]\nX=1\n\n[DXADEXCMD]\nK=old\n[B]\nY=2\n");
  ASSERT_TRUE(writeIniString(path, "DXADEXCMD", "K", "new"));
  ASSERT_TRUE(writeIniString(path, "dxadexcmd", "L", "added"));
  ASSERT_TRUE(writeIniString(path, "C", "Z", "3"));
  EXPECT_EQ(read(), "; comment\r\n[A]\r\nX=1\r\n\r\n[DXADEXCMD]\r\nK=new\r\nL=added\r\n[B]\r\nY=2\r\n\r\n[C]\r\nZ=3\r\n");
  EXPECT_EQ(readIniString(path, "B", "Y", ""), "2");
}

TEST_F(IniFile, UnwritableFileIsReportedAndLeftAlone) {
  std::string missing = (dir / "no-such-folder" / "dxad.ini").string();
  EXPECT_FALSE(writeIniString(missing, "S", "K", "V"));
  EXPECT_FALSE(std::filesystem::exists(missing));
}

