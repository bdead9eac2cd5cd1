#pragma once
// The settings block that follows the memo of a JW_CAD drawing.

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

// A run of header values the import never interprets. They are kept exactly as read
// so that writing the header back reproduces them. Layout is the file order, one
// letter per value: 'w' a 32-bit word, 'd' a double.
template <const char* Layout>
struct JwwRawRun {
  static constexpr std::string_view kLayout{Layout};
  static constexpr std::size_t Count(char c) {
    std::size_t n = 0;
    for (char x : kLayout) n += (x == c);
    return n;
  }
  std::array<std::uint32_t, Count('w')> words{};
  std::array<double, Count('d')> reals{};
  bool operator==(const JwwRawRun&) const = default;
};

namespace jww_layout {
// Reserved words, dimension words, two settings words, print settings, grid settings.
inline constexpr char kBeforeLayerNames[] = "wwwwwwwwwwwwww" "wwwww" "w" "w" "ddd" "ww" "ddddd";
// Settings, an 8-row table, settings, 10 spacings, one more value.
inline constexpr char kAfterLayerNames[] =
    "ddwdddwdddddd"
    "dddw" "dddw" "dddw" "dddw" "dddw" "dddw" "dddw" "dddw"
    "dddwdddw"
    "dddddddddd"
    "d";
inline constexpr char kAfterLineTypes[] = "wwwwwwwwwwwwwwww" "ddddddddd" "ww";
// A 10-row table, settings, then two triples.
inline constexpr char kTail[] =
    "dddw" "dddw" "dddw" "dddw" "dddw" "dddw" "dddw" "dddw" "dddw" "dddw"
    "dddwwddw"
    "dddddd";
}  // namespace jww_layout

struct JwwLayerState {
  std::uint32_t state = 2;
  std::uint32_t protection = 0;
  bool operator==(const JwwLayerState&) const = default;
};

struct JwwLayerGroupState {
  std::uint32_t state = 2;
  std::uint32_t writeLayer = 0;
  double scale = 1;
  std::uint32_t protection = 0;
  std::array<JwwLayerState, 16> layers{};
  bool operator==(const JwwLayerGroupState&) const = default;
};

// Screen colour of a pen: RGB with red in the low byte, then green, then blue.
struct JwwPenColor {
  std::uint32_t rgb = 0;
  std::uint32_t width = 1;
  bool operator==(const JwwPenColor&) const = default;
};

// Print settings of a pen; the extended pens (100..356) also carry a name.
struct JwwPen {
  std::string name;
  std::uint32_t rgb = 0;
  std::uint32_t width = 1;
  double dotRadius = 0;
  bool operator==(const JwwPen&) const = default;
};

struct JwwLinePattern {
  std::string name;
  std::uint32_t code = 0;
  std::array<double, 10> lengths{};
  bool operator==(const JwwLinePattern&) const = default;
};

inline constexpr std::size_t kJwwPenCount = 357;       // 0..9 and 100..356
inline constexpr std::size_t kJwwExtendedPenFirst = 100;
inline constexpr std::size_t kJwwLineTypeCount = 63;   // 0..62

// Line-type table held column by column; the file interleaves the columns row by row.
struct JwwLineTypeTable {
  std::array<std::uint32_t, kJwwLineTypeCount> pattern{};
  std::array<std::uint32_t, kJwwLineTypeCount> unit{};
  std::array<std::uint32_t, kJwwLineTypeCount> pitch{};
  std::array<std::uint32_t, kJwwLineTypeCount> printPitch{};
  // Fifth column, carried only by the random lines 11..15.
  std::array<std::uint32_t, 5> randomExtra{};
  bool operator==(const JwwLineTypeTable&) const = default;
};

struct JwwHeader {
  JwwHeader();

  std::uint32_t paperSize = 3;
  std::uint32_t writeLayerGroup = 0;
  std::array<JwwLayerGroupState, 16> layerGroups{};
  JwwRawRun<jww_layout::kBeforeLayerNames> settingsBeforeLayerNames;
  std::array<std::array<std::string, 16>, 16> layerNames;  // [group][layer], UTF-8
  std::array<std::string, 16> layerGroupNames;
  JwwRawRun<jww_layout::kAfterLayerNames> settingsAfterLayerNames;
  std::array<JwwPenColor, kJwwPenCount> penColors{};  // 0..9, and 100..356 from version 420
  std::array<JwwPen, kJwwPenCount> pens{};            // 0..9, and 100..356 from version 420
  JwwLineTypeTable lineTypes;  // 2..9, 11..19, and 30..62 from version 420
  JwwRawRun<jww_layout::kAfterLineTypes> settingsAfterLineTypes;
  std::array<JwwLinePattern, 33> linePatterns{};  // from version 420
  JwwRawRun<jww_layout::kTail> settingsTail;

  // RGB of a pen colour number as records use it, or 0 for a number outside the table.
  std::uint32_t PenRgb(std::uint32_t penColor) const {
    return penColor < kJwwPenCount ? penColors[penColor].rgb : 0;
  }

  // Names used when a drawing is built in memory (export).
  static constexpr std::array<std::string_view, 15> kColorNames = {
      "black",     "green",      "blue",      "yellow",   "magenta",
      "cyan",      "white",      "deeppink",  "brown",    "orange",
      "lightgreen", "lightblue", "lavender",  "lightgray", "darkgray"};
  static constexpr std::array<std::string_view, 16> kLineTypeNames = {
      "continuous",
      "dashed",
      "dashed spaced",
      "long dashed dotted",
      "long dashed double-dotted",
      "long dashed triplicate-dotted",
      "dotted",
      "chain",
      "chain double dash",
      "dashed dotted",
      "double-dashed dotted",
      "dashed double-dotted",
      "double-dashed double-dotted",
      "dashed triplicate-dotted",
      "double-dashed triplicate-dotted",
      "undefined"};

  bool operator==(const JwwHeader&) const = default;
};
