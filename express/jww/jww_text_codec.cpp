#include "express/jww/jww_text_codec.h"

#include <cerrno>
#include <cstring>
#include <iconv.h>

namespace {

constexpr char kReplacementUtf8[] = "\xEF\xBF\xBD";
const iconv_t kNoHandle = reinterpret_cast<iconv_t>(-1);

struct DirectionInfo {
  const char* from;
  const char* to;
  std::size_t skipOnError;     // input unit to step over when a sequence has no character
  const char* replacement;     // in the target encoding
  std::size_t replacementSize;
};

constexpr DirectionInfo kDirections[] = {
    {"CP932", "UTF-8", 1, kReplacementUtf8, 3},
    {"UTF-16LE", "UTF-8", 2, kReplacementUtf8, 3},
    {"UTF-8", "CP932", 0, "?", 1},
    {"UTF-8", "UTF-16LE", 0, "?\0", 2},
};

// Length of the UTF-8 sequence that starts with `lead`, for stepping over a character
// the target cannot hold.
std::size_t Utf8SequenceLength(unsigned char lead) {
  if (lead < 0xC0) return 1;
  if (lead < 0xE0) return 2;
  if (lead < 0xF0) return 3;
  return 4;
}

bool IsAscii(const std::uint8_t* p, std::size_t n) {
  unsigned char any = 0;
  for (std::size_t i = 0; i < n; ++i) any |= p[i];
  return any < 0x80;
}

}  // namespace

JwwTextCodec::JwwTextCodec() {
  for (auto& h : handles_) h = kNoHandle;
}

JwwTextCodec::~JwwTextCodec() {
  for (void* h : handles_)
    if (h != kNoHandle) iconv_close(static_cast<iconv_t>(h));
}

void* JwwTextCodec::Handle(Direction d) {
  if (handles_[d] == kNoHandle) handles_[d] = iconv_open(kDirections[d].to, kDirections[d].from);
  return handles_[d];
}

bool JwwTextCodec::Reuse(Direction d, const char* in, std::size_t inSize, std::string& out) {
  for (const Remembered& r : remembered_[d]) {
    if (r.input.size() == inSize && std::memcmp(r.input.data(), in, inSize) == 0) {
      out = r.output;
      substitutions_ += r.substitutions;
      return true;
    }
  }
  return false;
}

void JwwTextCodec::Remember(Direction d, const char* in, std::size_t inSize, const std::string& out,
                            std::size_t substitutions) {
  Remembered& r = remembered_[d][nextSlot_[d]];
  nextSlot_[d] = (nextSlot_[d] + 1) % kRemembered;
  r.input.assign(in, inSize);
  r.output = out;
  r.substitutions = substitutions;
}

void JwwTextCodec::Convert(Direction d, const char* in, std::size_t inSize, std::string& out) {
  if (Reuse(d, in, inSize, out)) return;
  std::size_t before = substitutions_;
  ConvertNew(d, in, inSize, out);
  Remember(d, in, inSize, out, substitutions_ - before);
}

void JwwTextCodec::ConvertNew(Direction d, const char* in, std::size_t inSize, std::string& out) {
  const DirectionInfo& info = kDirections[d];
  out.clear();
  iconv_t cd = static_cast<iconv_t>(Handle(d));
  if (cd == kNoHandle) {
    // No converter on this system: keep what is plainly ASCII, mark the rest.
    for (std::size_t i = 0; i < inSize; i += (info.skipOnError ? info.skipOnError : 1)) {
      unsigned char c = static_cast<unsigned char>(in[i]);
      bool ascii = c < 0x80 && (d != kFromUtf16 || (i + 1 < inSize && in[i + 1] == 0));
      if (ascii) {
        out.push_back(static_cast<char>(c));
        if (d == kToUtf16) out.push_back('\0');
      } else {
        out.append(info.replacement, info.replacementSize);
        ++substitutions_;
      }
    }
    return;
  }
  iconv(cd, nullptr, nullptr, nullptr, nullptr);
  char* src = const_cast<char*>(in);
  std::size_t left = inSize;
  while (left > 0) {
    std::size_t used = out.size();
    out.resize(used + left * 3 + 8);
    char* dst = out.data() + used;
    std::size_t room = out.size() - used;
    std::size_t r = iconv(cd, &src, &left, &dst, &room);
    out.resize(static_cast<std::size_t>(dst - out.data()));
    if (r != static_cast<std::size_t>(-1)) break;
    if (errno == E2BIG) continue;
    // EILSEQ or EINVAL (a sequence cut short at the end): replace one character.
    std::size_t skip = info.skipOnError ? info.skipOnError
                                        : Utf8SequenceLength(static_cast<unsigned char>(*src));
    if (skip > left) skip = left;
    src += skip;
    left -= skip;
    out.append(info.replacement, info.replacementSize);
    ++substitutions_;
    iconv(cd, nullptr, nullptr, nullptr, nullptr);
  }
}

void JwwTextCodec::Cp932ToUtf8(const std::uint8_t* bytes, std::size_t size, std::string& out) {
  // CP932 agrees with ASCII below 0x80, and most strings of a drawing are plain ASCII.
  if (IsAscii(bytes, size)) {
    out.assign(reinterpret_cast<const char*>(bytes), size);
    return;
  }
  Convert(kFromCp932, reinterpret_cast<const char*>(bytes), size, out);
}

void JwwTextCodec::Utf16LeToUtf8(const std::uint8_t* bytes, std::size_t units, std::string& out) {
  bool ascii = true;
  for (std::size_t i = 0; i < units && ascii; ++i) ascii = bytes[2 * i] < 0x80 && bytes[2 * i + 1] == 0;
  if (ascii) {
    out.resize(units);
    for (std::size_t i = 0; i < units; ++i) out[i] = static_cast<char>(bytes[2 * i]);
    return;
  }
  Convert(kFromUtf16, reinterpret_cast<const char*>(bytes), units * 2, out);
}

void JwwTextCodec::Utf8ToCp932(std::string_view text, std::string& out) {
  if (IsAscii(reinterpret_cast<const std::uint8_t*>(text.data()), text.size())) {
    out.assign(text);
    return;
  }
  Convert(kToCp932, text.data(), text.size(), out);
}

void JwwTextCodec::Utf8ToUtf16Le(std::string_view text, std::string& out) {
  Convert(kToUtf16, text.data(), text.size(), out);
}
