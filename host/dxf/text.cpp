#include "host/dxf/text.h"

#include <iconv.h>

#include <cerrno>
#include <cstring>

#include "host/dxf/tags.h"

namespace dx::dxf {
namespace text {
namespace {

const iconv_t kNoIconv = reinterpret_cast<iconv_t>(-1);

char upper(char c) { return c >= 'a' && c <= 'z' ? char(c - 'a' + 'A') : c; }

bool allDigits(std::string_view s) {
  if (s.empty()) return false;
  for (char c : s)
    if (c < '0' || c > '9') return false;
  return true;
}

int hexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

// Four hex digits at s[0..3], or -1.
int hex4(const char* s) {
  int v = 0;
  for (int i = 0; i < 4; ++i) {
    int h = hexValue(s[i]);
    if (h < 0) return -1;
    v = v * 16 + h;
  }
  return v;
}

// Length of the valid UTF-8 sequence starting at s[i], or 0 when it is invalid.
size_t utf8SequenceLength(const unsigned char* s, size_t i, size_t n, uint32_t* cpOut) {
  unsigned char c = s[i];
  if (c < 0x80) {
    if (cpOut) *cpOut = c;
    return 1;
  }
  size_t len;
  uint32_t cp, min;
  if ((c & 0xE0) == 0xC0) len = 2, cp = c & 0x1F, min = 0x80;
  else if ((c & 0xF0) == 0xE0) len = 3, cp = c & 0x0F, min = 0x800;
  else if ((c & 0xF8) == 0xF0) len = 4, cp = c & 0x07, min = 0x10000;
  else return 0;
  if (i + len > n) return 0;
  for (size_t k = 1; k < len; ++k) {
    if ((s[i + k] & 0xC0) != 0x80) return 0;
    cp = (cp << 6) | (s[i + k] & 0x3F);
  }
  if (cp < min || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) return 0;
  if (cpOut) *cpOut = cp;
  return len;
}

}  // namespace

std::string iconvName(std::string_view page) {
  std::string p;
  for (char c : page)
    if (c != ' ') p += upper(c);
  if (p == "UTF8" || p == "UTF-8" || p == "UTF_8") return {};
  std::string_view v = p;
  if (v.substr(0, 5) == "ANSI_" && allDigits(v.substr(5))) {
    std::string_view n = v.substr(5);
    if (n == "1361") return "JOHAB";
    return "CP" + std::string(n);  // 874, 932, 936, 949, 950, 1250-1258
  }
  if (v.substr(0, 3) == "DOS" && allDigits(v.substr(3))) return "CP" + std::string(v.substr(3));
  if (v.substr(0, 7) == "ISO8859" && v.size() > 8 && allDigits(v.substr(8)))
    return "ISO-8859-" + std::string(v.substr(8));
  if (v == "MACINTOSH" || v == "MAC-ROMAN") return "MACINTOSH";
  if (v == "BIG5") return "BIG5";
  if (v == "GB2312") return "GBK";
  if (v == "KSC5601") return "CP949";
  if (v == "JOHAB") return "JOHAB";
  return "CP1252";
}

CodePageDecoder::CodePageDecoder(std::string_view dwgCodePage) {
  std::string name = iconvName(dwgCodePage);
  if (name.empty()) return;
  iconv_t cd = iconv_open("UTF-8", name.c_str());
  if (cd == kNoIconv) cd = iconv_open("UTF-8", "CP1252");
  if (cd == kNoIconv) cd = iconv_open("UTF-8", "ISO-8859-1");  // glibc always has it
  cd_ = cd == kNoIconv ? nullptr : cd;
}

CodePageDecoder::~CodePageDecoder() {
  if (cd_) iconv_close(static_cast<iconv_t>(cd_));
}

void CodePageDecoder::append(std::string_view in, std::string& out) {
  if (!cd_) {
    appendSanitizedUtf8(in, out);
    return;
  }
  auto cd = static_cast<iconv_t>(cd_);
  iconv(cd, nullptr, nullptr, nullptr, nullptr);
  char* src = const_cast<char*>(in.data());
  size_t srcLeft = in.size();
  size_t start = out.size();
  // Every byte of the code pages we use turns into at most 3 bytes of UTF-8.
  out.resize(start + in.size() * 3 + 8);
  char* dst = out.data() + start;
  size_t dstLeft = out.size() - start;
  while (srcLeft > 0) {
    size_t r = iconv(cd, &src, &srcLeft, &dst, &dstLeft);
    if (r != static_cast<size_t>(-1)) break;
    if (errno == E2BIG) {
      size_t used = dst - out.data();
      out.resize(out.size() * 2 + 16);
      dst = out.data() + used;
      dstLeft = out.size() - used;
      continue;
    }
    // EILSEQ or EINVAL: a byte the code page does not define, or a lead byte cut
    // off at the end. Replace that one byte and carry on.
    if (dstLeft < 3) {
      size_t used = dst - out.data();
      out.resize(out.size() + 16);
      dst = out.data() + used;
      dstLeft = out.size() - used;
    }
    std::memcpy(dst, "\xEF\xBF\xBD", 3);
    dst += 3;
    dstLeft -= 3;
    ++src;
    --srcLeft;
    iconv(cd, nullptr, nullptr, nullptr, nullptr);
  }
  out.resize(dst - out.data());
}

EscapeDecoder::EscapeDecoder() = default;
EscapeDecoder::~EscapeDecoder() = default;

bool EscapeDecoder::hasEscape(std::string_view s) {
  for (size_t i = s.find('\\'); i != std::string_view::npos; i = s.find('\\', i + 1)) {
    if (i + 7 <= s.size() && s[i + 2] == '+') {
      char k = upper(s[i + 1]);
      if (k == 'U' && hex4(&s[i + 3]) > 0) return true;
      if (k == 'M' && i + 8 <= s.size() && s[i + 3] >= '1' && s[i + 3] <= '5' &&
          hex4(&s[i + 4]) >= 0)
        return true;
    }
  }
  return false;
}

void EscapeDecoder::append(std::string_view s, std::string& out) {
  static const char* const kMultibytePages[5] = {"ANSI_932", "ANSI_950", "ANSI_949",
                                                 "ANSI_1361", "ANSI_936"};
  size_t i = 0, n = s.size();
  while (i < n) {
    size_t bs = s.find('\\', i);
    if (bs == std::string_view::npos) {
      out.append(s.substr(i));
      return;
    }
    out.append(s.substr(i, bs - i));
    i = bs;
    char k = i + 2 < n && s[i + 2] == '+' ? upper(s[i + 1]) : 0;
    if (k == 'U' && i + 7 <= n) {
      int cp = hex4(&s[i + 3]);
      if (cp > 0) {
        i += 7;
        if (cp >= 0xD800 && cp <= 0xDBFF) {
          // A character beyond U+FFFF comes as a surrogate pair of two escapes.
          int low = i + 7 <= n && s[i] == '\\' && upper(s[i + 1]) == 'U' && s[i + 2] == '+'
                        ? hex4(&s[i + 3])
                        : -1;
          if (low >= 0xDC00 && low <= 0xDFFF) {
            appendCodePoint(0x10000 + ((uint32_t(cp) - 0xD800) << 10) + (uint32_t(low) - 0xDC00),
                            out);
            i += 7;
          } else {
            appendCodePoint(0xFFFD, out);
          }
        } else if (cp >= 0xDC00 && cp <= 0xDFFF) {
          appendCodePoint(0xFFFD, out);
        } else {
          appendCodePoint(uint32_t(cp), out);
        }
        continue;
      }
    } else if (k == 'M' && i + 8 <= n && s[i + 3] >= '1' && s[i + 3] <= '5') {
      int code = hex4(&s[i + 4]);
      if (code >= 0) {
        int page = s[i + 3] - '1';
        auto& dec = multibyte_[page];
        if (!dec) dec = std::make_unique<CodePageDecoder>(kMultibytePages[page]);
        char bytes[2] = {char(code >> 8), char(code & 0xFF)};
        if (code >> 8)
          dec->append(std::string_view(bytes, 2), out);
        else
          dec->append(std::string_view(bytes + 1, 1), out);
        i += 8;
        continue;
      }
    }
    out += '\\';
    ++i;
  }
}

bool isValidUtf8(std::string_view s) {
  auto p = reinterpret_cast<const unsigned char*>(s.data());
  size_t n = s.size();
  for (size_t i = 0; i < n;) {
    if (p[i] < 0x80) {
      ++i;
      continue;
    }
    size_t len = utf8SequenceLength(p, i, n, nullptr);
    if (!len) return false;
    i += len;
  }
  return true;
}

void appendSanitizedUtf8(std::string_view s, std::string& out) {
  auto p = reinterpret_cast<const unsigned char*>(s.data());
  size_t n = s.size(), run = 0;
  for (size_t i = 0; i < n;) {
    size_t len = p[i] < 0x80 ? 1 : utf8SequenceLength(p, i, n, nullptr);
    if (len) {
      i += len;
      continue;
    }
    out.append(s.substr(run, i - run));
    appendCodePoint(0xFFFD, out);
    run = ++i;
  }
  out.append(s.substr(run));
}

void appendCodePoint(uint32_t cp, std::string& out) {
  if (cp < 0x80) {
    out += char(cp);
  } else if (cp < 0x800) {
    out += char(0xC0 | (cp >> 6));
    out += char(0x80 | (cp & 0x3F));
  } else if (cp < 0x10000) {
    out += char(0xE0 | (cp >> 12));
    out += char(0x80 | ((cp >> 6) & 0x3F));
    out += char(0x80 | (cp & 0x3F));
  } else {
    out += char(0xF0 | (cp >> 18));
    out += char(0x80 | ((cp >> 12) & 0x3F));
    out += char(0x80 | ((cp >> 6) & 0x3F));
    out += char(0x80 | (cp & 0x3F));
  }
}

}  // namespace text

std::string decodeUnicodeEscapes(std::string_view s) {
  if (!text::EscapeDecoder::hasEscape(s)) return std::string(s);
  std::string out;
  out.reserve(s.size());
  text::EscapeDecoder().append(s, out);
  return out;
}

std::string codePageToUtf8(std::string_view s, std::string_view dwgCodePage) {
  bool ascii = true;
  for (unsigned char c : s)
    if (c >= 0x80) {
      ascii = false;
      break;
    }
  if (ascii) return std::string(s);
  std::string out;
  text::CodePageDecoder(dwgCodePage).append(s, out);
  return out;
}

std::string escapeNonAscii(std::string_view s) {
  static const char kHex[] = "0123456789ABCDEF";
  auto p = reinterpret_cast<const unsigned char*>(s.data());
  size_t n = s.size();
  std::string out;
  out.reserve(n + 16);
  auto escape = [&](uint32_t u) {
    char b[7] = {'\\', 'U', '+', kHex[(u >> 12) & 15], kHex[(u >> 8) & 15], kHex[(u >> 4) & 15],
                 kHex[u & 15]};
    out.append(b, 7);
  };
  for (size_t i = 0; i < n;) {
    if (p[i] < 0x80) {
      out += char(p[i++]);
      continue;
    }
    uint32_t cp = 0;
    size_t len = text::utf8SequenceLength(p, i, n, &cp);
    if (!len) {
      cp = 0xFFFD;
      len = 1;
    }
    i += len;
    if (cp > 0xFFFF) {
      cp -= 0x10000;
      escape(0xD800 + (cp >> 10));
      escape(0xDC00 + (cp & 0x3FF));
    } else {
      escape(cp);
    }
  }
  return out;
}

}  // namespace dx::dxf
