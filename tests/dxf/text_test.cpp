#include "tag_test_util.h"

namespace dx::dxf::testing {
namespace {

// A drawing with the given header and one text tag after it; returns that text.
std::string textIn(const std::string& version, const std::string& codePage,
                   const std::string& raw) {
  std::string dxf = "  0\nSECTION\n  2\nHEADER\n";
  if (!version.empty()) dxf += "  9\n$ACADVER\n  1\n" + version + "\n";
  if (!codePage.empty()) dxf += "  9\n$DWGCODEPAGE\n  3\n" + codePage + "\n";
  dxf += "  0\nENDSEC\n  0\nSECTION\n  2\nENTITIES\n  0\nTEXT\n  1\n" + raw + "\n  0\nENDSEC\n";
  auto r = readBuffer(dxf);
  EXPECT_EQ(r.error, "");
  for (size_t i = 0; i + 1 < r.tags.size(); ++i)
    if (r.tags[i].code == 0 && r.tags[i].text == "TEXT") return r.tags[i + 1].text;
  ADD_FAILURE() << "no TEXT in the drawing";
  return {};
}

const std::string kE9 = "\xC3\xA9";                    // é
const std::string kNihon = "\xE6\x97\xA5\xE6\x9C\xAC";  // 日本

TEST(DrawingText, OldDrawingsAreReadInTheirCodePage) {
  EXPECT_EQ(textIn("AC1015", "ANSI_1252", "caf\xE9"), "caf" + kE9);
  EXPECT_EQ(textIn("AC1018", "ANSI_932", "\x93\xFA\x96\x7B"), kNihon);
  EXPECT_EQ(textIn("AC1014", "ANSI_1251", "\xCC\xE8\xF0"), "\xD0\x9C\xD0\xB8\xD1\x80");  // Мир
  EXPECT_EQ(textIn("AC1012", "ANSI_936", "\xD6\xD0"), "\xE4\xB8\xAD");                 // 中
  EXPECT_EQ(textIn("AC1009", "", "\xC4\xDC\xD6"), "\xC3\x84\xC3\x9C\xC3\x96")
      << "no code page given: ANSI_1252";
  EXPECT_EQ(textIn("", "", "\xE9"), kE9) << "no version given: AC1009";
}

TEST(DrawingText, OldDrawingsConvertEvenWhenTheBytesLookLikeUtf8) {
  EXPECT_EQ(textIn("AC1015", "ANSI_1252", "\xC3\xA9"), "\xC3\x83\xC2\xA9");
}

TEST(DrawingText, NewDrawingsAreUtf8AndBadBytesBecomeReplacementCharacters) {
  EXPECT_EQ(textIn("AC1021", "ANSI_932", kNihon), kNihon);
  EXPECT_EQ(textIn("AC1032", "ANSI_1252", "caf\xE9!"), "caf\xEF\xBF\xBD!");
  EXPECT_EQ(textIn("AC1027", "ANSI_1252", "\xE6\x97"), "\xEF\xBF\xBD\xEF\xBF\xBD")
      << "a cut-off sequence";
  EXPECT_EQ(textIn("AC1027", "", "\xED\xA0\x80"), "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD")
      << "an encoded surrogate is not UTF-8";
}

TEST(DrawingText, UnicodeEscapesDecodeInEveryVersion) {
  for (const char* v : {"AC1009", "AC1015", "AC1032"}) {
    EXPECT_EQ(textIn(v, "ANSI_1252", "caf\\U+00E9"), "caf" + kE9) << v;
    EXPECT_EQ(textIn(v, "ANSI_1252", "\\U+65E5\\u+672c"), kNihon) << v;
  }
  EXPECT_EQ(textIn("AC1032", "", "\\U+D83D\\U+DE00"), "\xF0\x9F\x98\x80");
  EXPECT_EQ(textIn("AC1015", "ANSI_932", "\\M+193FA\\M+1967B"), kNihon);
}

TEST(DrawingText, ConvertsTheCodePageBeforeLookingForEscapes) {
  // 0x83 0x5C is one Shift-JIS character whose second byte is a backslash.
  EXPECT_EQ(textIn("AC1015", "ANSI_932", "\x83\x5CU+0041"), "\xE3\x82\xBDU+0041");
}

TEST(UnicodeEscapes, LeaveEverythingElseAsItIs) {
  EXPECT_EQ(decodeUnicodeEscapes("a\\Pb\\\\c\\U+00E9"), "a\\Pb\\\\c" + kE9);
  EXPECT_EQ(decodeUnicodeEscapes("\\U+12 and \\U+XYZW and \\U+"), "\\U+12 and \\U+XYZW and \\U+");
  EXPECT_EQ(decodeUnicodeEscapes("end\\"), "end\\");
  EXPECT_EQ(decodeUnicodeEscapes("\\U+00E9F"), kE9 + "F") << "exactly four digits";
  EXPECT_EQ(decodeUnicodeEscapes("\\U+D83Dx"), "\xEF\xBF\xBDx") << "lone high surrogate";
  EXPECT_EQ(decodeUnicodeEscapes("\\U+DE00"), "\xEF\xBF\xBD") << "lone low surrogate";
  EXPECT_EQ(decodeUnicodeEscapes("\\M+5D6D0"), "\xE4\xB8\xAD") << "GB2312 multibyte";
}

TEST(CodePages, MapDxfNamesToTheirCharacterSets) {
  struct Case {
    const char* page;
    const char* in;
    const char* out;
  } cases[] = {
      {"ANSI_1252", "\x80", "\xE2\x82\xAC"},         // €
      {"ansi_1250", "\x8A", "\xC5\xA0"},             // Š
      {"ANSI_1253", "\xC1", "\xCE\x91"},             // Α
      {"ANSI_949", "\xC7\xD1", "\xED\x95\x9C"},      // 한
      {"ANSI_950", "\xA4\xA4", "\xE4\xB8\xAD"},      // 中
      {"ANSI_874", "\xA1", "\xE0\xB8\x81"},          // ก
      {"DOS850", "\x82", "\xC3\xA9"},                // é
      {"DOS437", "\xE1", "\xC3\x9F"},                // ß
      {"MACINTOSH", "\x8E", "\xC3\xA9"},             // é
      {"NO_SUCH_PAGE", "\xE9", "\xC3\xA9"},          // unknown: ANSI_1252
      {"ANSI_1252", "\x81", "\xEF\xBF\xBD"},         // undefined in 1252
      {"ANSI_932", "a\x93", "a\xEF\xBF\xBD"},        // lead byte cut off
  };
  for (const auto& c : cases) EXPECT_EQ(codePageToUtf8(c.in, c.page), c.out) << c.page;
  EXPECT_EQ(codePageToUtf8("plain ASCII", "ANSI_932"), "plain ASCII");
}

TEST(EscapeNonAscii, WritesEveryOtherCharacterAsAnEscape) {
  EXPECT_EQ(escapeNonAscii("abc"), "abc");
  EXPECT_EQ(escapeNonAscii("caf" + kE9), "caf\\U+00E9");
  EXPECT_EQ(escapeNonAscii("\xF0\x9F\x98\x80"), "\\U+D83D\\U+DE00");
  EXPECT_EQ(escapeNonAscii("bad\xFF"), "bad\\U+FFFD");
  EXPECT_EQ(decodeUnicodeEscapes(escapeNonAscii(kNihon + "\xF0\x9F\x98\x80")),
            kNihon + "\xF0\x9F\x98\x80");
}

}  // namespace
}  // namespace dx::dxf::testing
