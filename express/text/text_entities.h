// Reading and writing the text tools' objects through the host: what a text holds, the
// locked-layer and kind tests they select by, and annotative scaling.
#pragma once

#include <string>
#include <vector>

#include "express/env/holders.h"
#include "express/text/text_merge.h"
#include "hostapi/db.h"

namespace express::text {

// The DXF kind of an object ("TEXT", "MTEXT", ...); "" when it cannot be opened.
std::string entityKind(DxDbObjectId id);
// Ids of kind "TEXT" (single-line texts only, not attribute definitions) whose layer is
// not locked, in the given order.
std::vector<DxDbObjectId> unlockedTexts(const std::vector<DxDbObjectId>& ids);

// A text as txt2mtxt reads it from its entity list.
struct TextRecord {
  DxDbObjectId id;
  SourceText text;
  double z = 0;
  std::string style, layer;
  DxGeVector3d normal{0, 0, 1};
};
// False when the entity list cannot be read. measure: take the text box too (it only
// matters for the wrapping width, and measuring glyphs is the costly part).
bool readTextRecord(DxDbObjectId id, TextRecord& rec, bool measure);

// Annotative scaling is kept as the "AcadAnnotative" extended data.
inline constexpr const char* kAnnotativeApp = "AcadAnnotative";
bool isAnnotative(const resbuf* entityListWithXData);
// Marks an entity annotative (registering the application name when needed).
bool makeAnnotative(DxDbObjectId id);

// The value of a group in a chain, or null.
const resbuf* findGroup(const resbuf* list, int code);

}  // namespace express::text
