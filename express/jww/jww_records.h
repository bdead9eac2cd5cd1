#pragma once
// In-memory records of a JW_CAD drawing, one struct per record class of the file.

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

// Common head of every record, 15 bytes in the file.
struct JwwRecordHead {
  std::uint32_t group = 0;       // curve/attribute group number
  std::uint8_t penStyle = 1;     // line type number; 100 marks a point with a symbol
  std::uint16_t penColor = 1;    // pen colour number; 10 marks a solid with its own RGB
  std::uint16_t penWidth = 0;
  std::uint16_t layer = 0;       // 0..15 within its group
  std::uint16_t layerGroup = 0;  // 0..15
  std::uint16_t flags = 0;
  bool operator==(const JwwRecordHead&) const = default;
};

// penStyle value of a point that carries a symbol.
inline constexpr std::uint8_t kJwwSymbolPenStyle = 100;
// penColor value of a solid that carries its own RGB colour.
inline constexpr std::uint16_t kJwwRgbSolidPenColor = 10;

struct JwwLine {  // CDataSen
  JwwRecordHead head;
  double startX = 0, startY = 0, endX = 0, endY = 0;
  bool operator==(const JwwLine&) const = default;
};

struct JwwCircle {  // CDataEnko: arc, circle or elliptic arc
  JwwRecordHead head;
  double centerX = 0, centerY = 0, radius = 0;
  double startAngle = 0, arcAngle = 0, tiltAngle = 0;
  double flatness = 1;  // minor/major ratio; 1 for circular records
  std::uint32_t fullCircle = 0;
  bool operator==(const JwwCircle&) const = default;
};

struct JwwDot {  // CDataTen
  JwwRecordHead head;
  double x = 0, y = 0;
  std::uint32_t temporary = 0;
  // Present in the file only when head.penStyle is kJwwSymbolPenStyle.
  std::uint32_t symbolCode = 0;
  double rotationAngle = 0, scale = 0;
  bool HasSymbol() const { return head.penStyle == kJwwSymbolPenStyle; }
  bool operator==(const JwwDot&) const = default;
};

struct JwwText {  // CDataMoji
  JwwRecordHead head;
  double startX = 0, startY = 0, endX = 0, endY = 0;
  std::uint32_t textKind = 0;
  double sizeX = 0, sizeY = 0, spacing = 0, angle = 0;  // angle in degrees
  std::string fontName;  // UTF-8
  std::string content;   // UTF-8
  bool operator==(const JwwText&) const = default;
};

struct JwwSolid {  // CDataSolid: filled quadrilateral
  JwwRecordHead head;
  double x1 = 0, y1 = 0, x2 = 0, y2 = 0, x3 = 0, y3 = 0, x4 = 0, y4 = 0;
  // Present in the file only when head.penColor is kJwwRgbSolidPenColor.
  std::uint32_t rgbColor = 0;
  bool HasRgb() const { return head.penColor == kJwwRgbSolidPenColor; }
  bool operator==(const JwwSolid&) const = default;
};

struct JwwMeasure {  // CDataSunpou: dimension
  JwwLine line;  // the dimension line
  JwwText text;  // the dimension text
  // Present in files of version 420 and later only.
  std::uint16_t sxfMode = 0;
  std::array<JwwLine, 2> extensionLines;
  std::array<JwwDot, 4> points;
  bool operator==(const JwwMeasure&) const = default;
};

struct JwwBlock {  // CDataBlock: block insertion
  JwwRecordHead head;
  double refX = 0, refY = 0, scaleX = 1, scaleY = 1, rotation = 0;
  std::uint32_t blockNumber = 0;
  bool operator==(const JwwBlock&) const = default;
};

// One growable array per record class, records in file order.
struct JwwEntitySet {
  std::vector<JwwLine> lines;
  std::vector<JwwCircle> circles;
  std::vector<JwwDot> dots;
  std::vector<JwwText> texts;
  std::vector<JwwSolid> solids;
  std::vector<JwwMeasure> measures;
  std::vector<JwwBlock> blocks;

  std::size_t RecordCount() const {
    return lines.size() + circles.size() + dots.size() + texts.size() + solids.size() +
           measures.size() + blocks.size();
  }
  bool operator==(const JwwEntitySet&) const = default;
};

struct JwwBlockDef {  // CDataList: block definition
  JwwRecordHead head;
  std::uint32_t number = 0;
  std::uint32_t referenced = 0;
  std::uint32_t timeStamp = 0;
  std::string name;  // UTF-8
  JwwEntitySet entities;
  bool operator==(const JwwBlockDef&) const = default;
};
