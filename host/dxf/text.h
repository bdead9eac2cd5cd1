// Text helpers shared by the tag reader and writer: UTF-8 checks, code-page
// conversion through iconv, and the "\U+XXXX" / "\M+nXXXX" escapes of DXF.
#pragma once

#include <cstdint>
#include <cstring>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace dx::dxf::text {

// iconv name for a DXF code page ("ANSI_1252" -> "CP1252"); empty for UTF-8 drawings.
std::string iconvName(std::string_view dwgCodePage);

// Converts from one code page to UTF-8. Bytes the code page does not define become
// U+FFFD; the converter never fails.
class CodePageDecoder {
 public:
  explicit CodePageDecoder(std::string_view dwgCodePage);
  ~CodePageDecoder();
  CodePageDecoder(const CodePageDecoder&) = delete;
  CodePageDecoder& operator=(const CodePageDecoder&) = delete;
  void append(std::string_view in, std::string& out);

 private:
  void* cd_ = nullptr;  // iconv_t; null means the text is UTF-8 already
};

// Turns "\U+XXXX" and "\M+nXXXX" into UTF-8. Keeps one decoder per multibyte code
// page that "\M+" names, opened on first use.
class EscapeDecoder {
 public:
  EscapeDecoder();
  ~EscapeDecoder();
  // True when s holds an escape this decoder would replace.
  static bool hasEscape(std::string_view s);
  void append(std::string_view in, std::string& out);

 private:
  std::unique_ptr<CodePageDecoder> multibyte_[5];
};

bool isValidUtf8(std::string_view s);
// Appends s with every byte that is not part of valid UTF-8 replaced by U+FFFD.
void appendSanitizedUtf8(std::string_view s, std::string& out);
void appendCodePoint(uint32_t cp, std::string& out);

// True when s contains a byte >= 0x80 or a backslash, the only cases that need work.
inline bool needsDecoding(std::string_view s) {
  // Eight bytes at a time: any high bit, or any byte equal to a backslash.
  const char* p = s.data();
  size_t n = s.size();
  for (; n >= 8; p += 8, n -= 8) {
    uint64_t w;
    std::memcpy(&w, p, 8);
    uint64_t x = w ^ 0x5C5C5C5C5C5C5C5CULL;
    uint64_t zeroByte = (x - 0x0101010101010101ULL) & ~x & 0x8080808080808080ULL;
    if ((w & 0x8080808080808080ULL) | zeroByte) return true;
  }
  for (; n; ++p, --n)
    if ((unsigned char)*p >= 0x80 || *p == '\\') return true;
  return false;
}

}  // namespace dx::dxf::text
