// Raster headers as -IMAGE reads them: every format users attach, written here by
// GraphicsMagick with a known size and resolution, read back through readRasterInfo.
#include <gtest/gtest.h>

#include <Magick++.h>

#include <filesystem>
#include <fstream>

#include "host/editor/raster/raster_file.h"

using dx::ed::RasterInfo;
using dx::ed::RasterPixels;
using dx::ed::readRasterInfo;
using dx::ed::readRasterPixels;
namespace fs = std::filesystem;

namespace {

class RasterFiles : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { Magick::InitializeMagick(nullptr); }
  void SetUp() override {
    dir = fs::temp_directory_path() / ("raster_" + std::to_string(::getpid()));
    fs::create_directories(dir);
  }
  void TearDown() override { fs::remove_all(dir); }

  // A w x h picture written in the format its extension names.
  std::string make(const std::string& name, int w, int h, double dpi = 0) {
    Magick::Image img(Magick::Geometry(w, h), Magick::Color("red"));
    if (dpi > 0) {
      img.resolutionUnits(Magick::PixelsPerInchResolution);
      img.density(Magick::Geometry(unsigned(dpi), unsigned(dpi)));
    }
    std::string ext = fs::path(name).extension().string().substr(1);
    // CALS holds black and white pictures only.
    if (ext == "cal") img.type(Magick::BilevelType);
    std::string path = (dir / name).string();
    img.write((ext == "cal" ? "CALS:" : "") + path);
    return path;
  }

  fs::path dir;
};

TEST_F(RasterFiles, EveryAttachableFormatGivesItsPixelSize) {
  int w = 37;
  for (const char* ext : {"bmp", "cal", "jpg", "png", "gif", "pcx", "tga", "tif"}) {
    std::string path = make(std::string("pic.") + ext, w, 23);
    RasterInfo info;
    std::string why;
    ASSERT_TRUE(readRasterInfo(path, info, why)) << ext << ": " << why;
    EXPECT_EQ(info.width, w) << ext;
    EXPECT_EQ(info.height, 23) << ext;
    ++w;  // a different size per format, so no result can come from the previous file
  }
}

TEST_F(RasterFiles, ResolutionBecomesThePixelSizeInItsUnit) {
  RasterInfo info;
  std::string why;
  ASSERT_TRUE(readRasterInfo(make("inch.tif", 10, 10, 200), info, why)) << why;
  EXPECT_EQ(info.units, 5);
  EXPECT_NEAR(info.pixelWidth, 1.0 / 200, 1e-9);
  ASSERT_TRUE(readRasterInfo(make("plain.gif", 10, 10), info, why)) << why;
  EXPECT_EQ(info.units, 0);
  EXPECT_EQ(info.pixelWidth, 1);
}

TEST_F(RasterFiles, UnreadableFilesGiveAReasonNotAnImage) {
  std::string ecw = (dir / "map.ecw").string();
  std::ofstream(ecw) << "ECW";
  std::string truncated = make("cut.png", 40, 40);
  fs::resize_file(truncated, 10);
  for (const std::string& path : {ecw, truncated, (dir / "none.png").string()}) {
    RasterInfo info;
    std::string why;
    EXPECT_FALSE(readRasterInfo(path, info, why)) << path;
    EXPECT_FALSE(why.empty()) << path;
    EXPECT_EQ(why.find("Magick:"), std::string::npos) << why;
  }
}

TEST_F(RasterFiles, PixelsComeTopRowFirstWithTheirTransparency) {
  // 3 x 2: red in the top left corner, blue below it, half-transparent green at the
  // top right; the BMP copy has no transparency and stands opaque.
  Magick::Image img(Magick::Geometry(3, 2), Magick::Color("white"));
  img.matte(true);
  img.pixelColor(0, 0, Magick::Color("red"));
  img.pixelColor(0, 1, Magick::Color("blue"));
  img.pixelColor(2, 0, Magick::Color("#00FF0080"));
  img.write((dir / "p.png").string());
  img.matte(false);
  img.write((dir / "p.bmp").string());
  for (const char* name : {"p.png", "p.bmp"}) {
    RasterPixels px;
    std::string why;
    ASSERT_TRUE(readRasterPixels((dir / name).string(), px, why)) << name << ": " << why;
    ASSERT_EQ(px.width, 3);
    ASSERT_EQ(px.height, 2);
    auto at = [&](int x, int y, int c) { return int(px.bgra[size_t(y * 3 + x) * 4 + c]); };
    EXPECT_EQ(at(0, 0, 2), 255) << name;  // red
    EXPECT_EQ(at(0, 0, 0), 0) << name;
    EXPECT_EQ(at(0, 1, 0), 255) << name;  // blue
    EXPECT_EQ(at(0, 1, 2), 0) << name;
    EXPECT_EQ(at(1, 1, 3), 255) << name;
    EXPECT_NEAR(at(2, 0, 3), std::string(name) == "p.png" ? 128 : 255, 1) << name;
  }
  RasterPixels px;
  std::string why;
  EXPECT_FALSE(readRasterPixels((dir / "none.png").string(), px, why));
  EXPECT_EQ(why, "file not found");
}

}  // namespace
