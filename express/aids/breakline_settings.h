// The break line's settings in the user profile and its scale rule.
#pragma once

#include <string>

namespace express::aids {

inline constexpr const char* kBreaklineBlockKey = "DXET.BREAKLINE-BLOCK";
inline constexpr const char* kBreaklineSizeKey = "DXET.BREAKLINE-BLKSIZE";
inline constexpr const char* kBreaklineExtensionKey = "DXET.BREAKLINE-BLKEXE";

struct BreaklineSettings {
  std::string block = "BRKSYM.DXF", size = "1.0", extension = "2.5";
};

// Strips every leading character that is one of set (not the set as a prefix): stored
// values lose their type tag this way, and a value starting with such letters loses
// them too.
std::string trimLeftChars(const std::string& s, const char* set);
// A stored value read back: the tag trimmed; empty stays empty.
std::string untagged(const std::string& stored, bool isText);

// Profile section "General"; a missing or empty value gives the default.
BreaklineSettings readBreaklineSettings();
// Stored with the tag of its kind ("STR_" for the block, "REAL_" for numbers).
void writeBreaklineSetting(const char* key, const std::string& value);

// Scale of the symbol: size times DIMSCALE (1 when 0 or less) over the symbol's length,
// 25.4 times smaller in an imperial drawing (MEASUREMENT 0).
double breaklineScale(double size, double dimscale, int measurement, double symbolLength);

}  // namespace express::aids
