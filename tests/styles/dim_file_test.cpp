// The ".dim" file as text: lines written as other programs expect them and read back
// whatever their line ends; the text a dimension shows for a measurement.
#include <gtest/gtest.h>

#include <sstream>

#include "express/styles/dim_file.h"
#include "hostapi/dimutil.h"

using namespace express::styles;

TEST(DimFile, StyleBlockIsUpperCaseNameThenLinesThenEndAndEmptyLine) {
  std::string block = styleHeader("iso-25") + dimLine("DIMPOST", dimTextValue("")) +
                      dimLine("DIMSCALE", dimRealValue(2.5)) + dimLine("DIMTAD", dimIntValue(-1)) + styleFooter("iso-25");
  EXPECT_EQ(block,
            "DIMENSION_STYLE_NAME ISO-25\r\nDIMPOST .\r\nDIMSCALE 2.500000\r\nDIMTAD -1\r\n"
            "END_OF_STYLE iso-25\r\n\r\n");
}

TEST(DimFile, ReadsBackWithEitherLineEnd) {
  const std::string crlf = styleHeader("A") + dimLine("DIMPOST", ".") + dimLine("DIMTXT", "0.25") +
                           styleFooter("A") + styleHeader("b") + dimLine("DIMDEC", "3") + styleFooter("b");
  std::string lf = crlf;
  for (size_t at; (at = lf.find('\r')) != std::string::npos;) lf.erase(at, 1);
  for (const std::string& text : {crlf, lf}) {
    std::istringstream in(text);
    auto styles = readDimStyles(in);
    ASSERT_EQ(styles.size(), 2u);
    EXPECT_EQ(styles[0].name, "A");
    ASSERT_EQ(styles[0].lines.size(), 2u);
    EXPECT_EQ(dimTextFromValue(styles[0].lines[0].value), "");
    EXPECT_DOUBLE_EQ(dimRealFromValue(styles[0].lines[1].value), 0.25);
    EXPECT_EQ(styles[1].name, "B");
    EXPECT_EQ(dimIntFromValue(styles[1].lines.at(0).value), 3);
  }
}

TEST(DimFile, LineSplitsAtFirstBlankAndDropsOneCarriageReturn) {
  DimLineRead r = parseDimLine("DIMPOST mm <> here\r");
  EXPECT_EQ(r.name, "DIMPOST");
  EXPECT_EQ(r.value, "mm <> here");
  // Only the style name line loses a trailing blank.
  EXPECT_EQ(parseDimLine("DIMENSION_STYLE_NAME NAME \r").value, "NAME");
  EXPECT_EQ(parseDimLine("DIMPOST x \r").value, "x ");
  EXPECT_EQ(parseDimLine("END_DIMTXT\r").name, "END_DIMTXT");
  // A text that is a single dot is the empty text; anything else is kept.
  EXPECT_EQ(dimTextFromValue(".."), "..");
}

TEST(DimFile, LinesOutsideAStyleAndUnknownNamesDoNotBreakReading) {
  std::istringstream in("junk before\nDIMENSION_STYLE_NAME S\nDIMFOO 1\nDIMASZ 3.000000\nEND_OF_STYLE S\n\nDIMASZ 9\n");
  auto styles = readDimStyles(in);
  ASSERT_EQ(styles.size(), 1u);
  ASSERT_EQ(styles[0].lines.size(), 2u);
  EXPECT_EQ(dimVarForImport(styles[0].lines[0].name), nullptr);
  ASSERT_NE(dimVarForImport(styles[0].lines[1].name), nullptr);
  EXPECT_EQ(dimVarForImport(styles[0].lines[1].name)->code, 41);
}

TEST(DimFile, BlockNamesImportIntoReferenceGroupsAndOnlyTheTablesCodesExport) {
  // The old text groups and the reference groups share names; import takes the reference.
  EXPECT_EQ(dimVarByCode(5)->name, std::string("DIMBLK"));
  EXPECT_EQ(dimVarForImport("DIMBLK")->code, 342);
  // Groups outside the file's table are not written.
  for (int code : {2, 70, 105, 49, 149, 180, 269, 290, 339, 345}) EXPECT_EQ(dimVarByCode(code), nullptr) << code;
}

TEST(DimFile, StylePatternsAreUpperCaseAndEmptyMeansAll) {
  EXPECT_EQ(splitStylePatterns(""), std::vector<std::string>{"*"});
  EXPECT_EQ(splitStylePatterns(" iso*, Arch ,,"), (std::vector<std::string>{"ISO*", "ARCH"}));
}

TEST(DimMeasurement, DecimalsZerosSeparatorRoundingAndPost) {
  DxDmUtil::Format f;
  f.decimals = 2;
  EXPECT_EQ(DxDmUtil::formatMeasurement(0.5, f), "0.50");
  f.zeroSuppress = 4;  // leading
  EXPECT_EQ(DxDmUtil::formatMeasurement(0.5, f), ".50");
  f.zeroSuppress = 8;  // trailing
  EXPECT_EQ(DxDmUtil::formatMeasurement(12.5, f), "12.5");
  EXPECT_EQ(DxDmUtil::formatMeasurement(12.0, f), "12");
  f.zeroSuppress = 0;
  f.separator = ',';
  f.round = 0.25;
  EXPECT_EQ(DxDmUtil::formatMeasurement(3.14, f), "3,25");
  f.post = "L=<> mm";
  EXPECT_EQ(DxDmUtil::formatMeasurement(-0.001, f), "L=0,00 mm");
  f.post = " m";
  f.round = 0;
  f.decimals = 0;
  EXPECT_EQ(DxDmUtil::formatMeasurement(99.6, f), "100 m");
}

TEST(DimArrows, StandardNamesWithOrWithoutUnderscore) {
  EXPECT_TRUE(DxDmUtil::isStandardArrow("_DOT"));
  EXPECT_TRUE(DxDmUtil::isStandardArrow("closedblank"));
  EXPECT_FALSE(DxDmUtil::isStandardArrow("MYARROW"));
  EXPECT_FALSE(DxDmUtil::isStandardArrow(""));
}
