#pragma once
// Helpers shared by the JWW tests.

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "express/jww/jww_file_reader.h"

struct ReadResult {
  bool ok = false;
  JwwDocument doc;
  JwwReadError error;
  std::uint64_t bytesRead = 0;
};

inline ReadResult ReadBytes(const std::vector<std::uint8_t>& bytes,
                            const std::string& path = "/drawings/test.jww") {
  ReadResult r;
  JwwFileReader reader;
  r.ok = reader.ReadBuffer(bytes.data(), bytes.size(), path, r.doc);
  r.error = reader.Error();
  r.bytesRead = reader.BytesRead();
  return r;
}

inline void ExpectSameEntities(const JwwEntitySet& a, const JwwEntitySet& b) {
  EXPECT_EQ(a.lines.size(), b.lines.size());
  EXPECT_TRUE(a.lines == b.lines) << "lines differ";
  EXPECT_TRUE(a.circles == b.circles) << "circles differ";
  EXPECT_TRUE(a.dots == b.dots) << "dots differ";
  EXPECT_TRUE(a.texts == b.texts) << "texts differ";
  EXPECT_TRUE(a.solids == b.solids) << "solids differ";
  EXPECT_TRUE(a.measures == b.measures) << "measures differ";
  EXPECT_TRUE(a.blocks == b.blocks) << "block insertions differ";
}

inline void ExpectSameDrawing(const JwwDocument& a, const JwwDocument& b) {
  EXPECT_EQ(a.version, b.version);
  EXPECT_EQ(a.memo, b.memo);
  EXPECT_TRUE(a.header == b.header) << "headers differ";
  ExpectSameEntities(a.entities, b.entities);
  ASSERT_EQ(a.blockDefs.size(), b.blockDefs.size());
  for (std::size_t i = 0; i < a.blockDefs.size(); ++i) {
    SCOPED_TRACE("block definition " + std::to_string(i));
    EXPECT_TRUE(a.blockDefs[i].head == b.blockDefs[i].head);
    EXPECT_EQ(a.blockDefs[i].number, b.blockDefs[i].number);
    EXPECT_EQ(a.blockDefs[i].referenced, b.blockDefs[i].referenced);
    EXPECT_EQ(a.blockDefs[i].timeStamp, b.blockDefs[i].timeStamp);
    EXPECT_EQ(a.blockDefs[i].name, b.blockDefs[i].name);
    ExpectSameEntities(a.blockDefs[i].entities, b.blockDefs[i].entities);
  }
}

inline void PutU16(std::vector<std::uint8_t>& out, std::uint16_t v) {
  out.push_back(static_cast<std::uint8_t>(v));
  out.push_back(static_cast<std::uint8_t>(v >> 8));
}
inline void PutU32(std::vector<std::uint8_t>& out, std::uint32_t v) {
  for (int i = 0; i < 4; ++i) out.push_back(static_cast<std::uint8_t>(v >> (8 * i)));
}
inline std::uint32_t GetU32(const std::vector<std::uint8_t>& in, std::size_t at) {
  return in[at] | (in[at + 1] << 8) | (in[at + 2] << 16) | (std::uint32_t{in[at + 3]} << 24);
}
inline void SetU32(std::vector<std::uint8_t>& out, std::size_t at, std::uint32_t v) {
  for (int i = 0; i < 4; ++i) out[at + i] = static_cast<std::uint8_t>(v >> (8 * i));
}

// Offset of the first occurrence of `needle` at or after `from`, or npos.
inline std::size_t FindBytes(const std::vector<std::uint8_t>& hay, const std::vector<std::uint8_t>& needle,
                             std::size_t from = 0) {
  if (needle.empty() || hay.size() < needle.size()) return std::string::npos;
  for (std::size_t i = from; i + needle.size() <= hay.size(); ++i)
    if (std::equal(needle.begin(), needle.end(), hay.begin() + i)) return i;
  return std::string::npos;
}
inline std::vector<std::uint8_t> Ascii(std::string_view s) { return {s.begin(), s.end()}; }
