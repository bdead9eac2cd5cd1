#pragma once
// Text conversions of JWW strings: CP932 and UTF-16LE in the file, UTF-8 in memory.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

class JwwTextCodec {
 public:
  JwwTextCodec();
  ~JwwTextCodec();
  JwwTextCodec(const JwwTextCodec&) = delete;
  JwwTextCodec& operator=(const JwwTextCodec&) = delete;

  // Decoding never fails: a byte sequence with no character becomes U+FFFD.
  void Cp932ToUtf8(const std::uint8_t* bytes, std::size_t size, std::string& out);
  void Utf16LeToUtf8(const std::uint8_t* bytes, std::size_t units, std::string& out);

  // Encoding replaces a character that has no form in the target by '?' and counts it.
  void Utf8ToCp932(std::string_view text, std::string& out);
  void Utf8ToUtf16Le(std::string_view text, std::string& out);  // out holds the bytes
  std::size_t Substitutions() const { return substitutions_; }

 private:
  enum Direction { kFromCp932, kFromUtf16, kToCp932, kToUtf16, kDirectionCount };
  void* Handle(Direction d);
  void Convert(Direction d, const char* in, std::size_t inSize, std::string& out);
  void ConvertNew(Direction d, const char* in, std::size_t inSize, std::string& out);

  // The last texts each direction converted: a drawing repeats its font names and
  // many texts, and a comparison is far cheaper than a conversion.
  struct Remembered {
    std::string input;
    std::string output;
    std::size_t substitutions = 0;
  };
  static constexpr std::size_t kRemembered = 8;
  bool Reuse(Direction d, const char* in, std::size_t inSize, std::string& out);
  void Remember(Direction d, const char* in, std::size_t inSize, const std::string& out,
                std::size_t substitutions);

  void* handles_[kDirectionCount] = {};
  Remembered remembered_[kDirectionCount][kRemembered];
  std::size_t nextSlot_[kDirectionCount] = {};
  std::size_t substitutions_ = 0;
};
