// Bringing one drawing's objects into another: copied one by one through their groups
// (a drawing inserted as a block), or taken over whole (an external reference, whose
// file is read again each time the drawing opens). Also the flags of records and
// blocks that only the host sets.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "hostapi/db.h"

namespace dx::db {

// Gives the target database's object for a reference of the source (copying it there
// first when needed), or null to clear the reference.
using RefMap = std::function<DxDbObjectId(DxDbObjectId)>;
// A copy of an object for another database, not attached: every reference it holds
// went through map. Its owner, extension dictionary and reactors are left for the
// caller; sub-entities (attributes, vertices) are copied one by one.
DxDbObject* copyAcross(const DxDbObject& src, DxDbDatabase& target, const RefMap& map);

// Block and record flags of the DXF reference.
constexpr int16_t kXrefFlag = 4, kOverlayFlag = 8, kDependentFlag = 16, kResolvedFlag = 32;
// The flags as stored, for the host's own commands (the object is open for write).
int16_t& recordFlags(DxDbSymbolTableRecord& rec);
int16_t& blockFlags(DxDbBlockTableRecord& block);
// The name of the block a dimension shows, as the dimension holds it.
const std::string& dimensionBlockName(const DxDbDimension& dim);

// Erases every entity of a block.
void emptyBlock(DxDbObjectId block);

// Puts an external reference's drawing (source, read from its file) into its block:
// the model space entities go into the block, the records they use into the drawing's
// tables as "name|record" (dependent), except the records every drawing has, for which
// the drawing's own stand in. What an earlier load left under the same names is
// replaced; source is left empty. Returns the blocks of the references nested in the
// file, still to be loaded.
std::vector<DxDbObjectId> adoptReferencedDrawing(DxDbDatabase& host, DxDbDatabase& source,
                                                 DxDbObjectId block, const std::string& name);

}  // namespace dx::db
