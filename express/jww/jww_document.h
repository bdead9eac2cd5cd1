#pragma once
// A whole JW_CAD drawing in memory.

#include <cstdint>
#include <string>
#include <vector>

#include "express/jww/jww_header.h"
#include "express/jww/jww_records.h"

inline constexpr char kJwwSignature[] = "JwwData.";
inline constexpr std::uint32_t kJwwDefaultVersion = 600;

// Versions the reader accepts; 600 and 700 are laid out like 420.
inline bool JwwIsKnownVersion(std::uint32_t v) {
  return v == 351 || v == 420 || v == 600 || v == 700;
}
// From 420 on, the header carries the extended pen and line-type tables and every
// dimension record its extension lines and points.
inline bool JwwHasExtendedLayout(std::uint32_t v) { return v >= 420; }

// From this version on a file carries a 32-bit word after the block definition list,
// which is not read.
inline constexpr std::uint32_t kJwwTrailingWordVersion = 700;

struct JwwDocument {
  std::uint32_t version = kJwwDefaultVersion;
  std::string memo;  // UTF-8
  JwwHeader header;
  JwwEntitySet entities;               // the drawing itself
  std::vector<JwwBlockDef> blockDefs;  // in file order
  // Indexed by block number: 1 + index into blockDefs, 0 where no definition has that
  // number. Numbers past kDenseBlockNumbers are found by a search instead, so that a
  // stray huge number cannot make the table huge.
  std::vector<std::uint32_t> blockDefByNumber;
  static constexpr std::uint32_t kDenseBlockNumbers = 1u << 20;

  // The definition a block insertion refers to, or nullptr.
  const JwwBlockDef* FindBlockDef(std::uint32_t number) const;
  // Records the definition at `index` under its number (the last one read wins).
  void IndexBlockDef(std::size_t index);
};
