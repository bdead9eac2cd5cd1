// Conversions of file text; bad bytes become U+FFFD and never stop a read.
#include <gtest/gtest.h>

#include "express/jww/jww_text_codec.h"

namespace {

std::string FromCp932(std::string_view bytes) {
  JwwTextCodec codec;
  std::string out;
  codec.Cp932ToUtf8(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size(), out);
  return out;
}
std::string FromUtf16(std::u16string_view units) {
  std::string bytes;
  for (char16_t u : units) {
    bytes.push_back(static_cast<char>(u & 0xFF));
    bytes.push_back(static_cast<char>(u >> 8));
  }
  JwwTextCodec codec;
  std::string out;
  codec.Utf16LeToUtf8(reinterpret_cast<const std::uint8_t*>(bytes.data()), units.size(), out);
  return out;
}

TEST(JwwTextCodec, Cp932) {
  EXPECT_EQ(FromCp932("\x90\x7D\x96\xCA"), "図面");
  EXPECT_EQ(FromCp932("\\~"), "\\~") << "CP932 keeps ASCII as it is";
  EXPECT_EQ(FromCp932("\xB1\xDF"), "ｱﾟ");
  EXPECT_EQ(FromCp932("\x87\x40"), "①") << "NEC special characters of CP932";
  EXPECT_EQ(FromCp932("a\x80" "b"), "a\uFFFD" "b");
  EXPECT_EQ(FromCp932("ab\x90"), "ab\uFFFD") << "a lead byte cut off at the end";
  EXPECT_EQ(FromCp932(std::string_view("a\0b", 3)), std::string("a\0b", 3));
}

TEST(JwwTextCodec, Utf16) {
  EXPECT_EQ(FromUtf16(u"ＭＳ ゴシック"), "ＭＳ ゴシック");
  EXPECT_EQ(FromUtf16(u"plain"), "plain");
  EXPECT_EQ(FromUtf16(u"\U0001F600"), "😀");
  EXPECT_EQ(FromUtf16(std::u16string{u'a', char16_t(0xD800), u'b'}), "a\uFFFD" "b");
  EXPECT_EQ(FromUtf16(std::u16string{u'a', char16_t(0xDC00)}), "a\uFFFD");
}

TEST(JwwTextCodec, EncodingCountsSubstitutions) {
  JwwTextCodec codec;
  std::string out;
  codec.Utf8ToCp932("図😀x", out);
  EXPECT_EQ(out, "\x90\x7D?x");
  EXPECT_EQ(codec.Substitutions(), 1u);
  codec.Utf8ToUtf16Le("図", out);
  EXPECT_EQ(out, std::string("\xF3\x56", 2));
}

}  // namespace
