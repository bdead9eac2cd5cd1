// The ACIS text a REGION carries in a drawing file: a planar sheet body written from the
// region's faces, and read back into faces when its curves are lines and ellipses on a
// plane. The file keeps the text with every character but the blank mirrored (c -> 159 -
// c), which encode and decode undo, caret escapes included.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "hostapi/db.h"

namespace dx::db::sat {

std::string writeBody(const std::vector<DxDbRegion::Face>& faces, const DxGeVector3d& normal);
// False when the text is not a body the host can follow (other curve or surface kinds,
// broken links); faces and normal are then left empty.
bool readBody(std::string_view text, std::vector<DxDbRegion::Face>& faces, DxGeVector3d& normal);

std::string encode(std::string_view plain);
std::string decode(std::string_view stored);

}  // namespace dx::db::sat

namespace dx::db {
// Signed area of a loop seen against normal (counter-clockwise positive).
double loopArea(const DxDbRegion::Loop& loop, const DxGeVector3d& normal);
// The same loop run the other way.
void reverseLoop(DxDbRegion::Loop& loop);
// Outline counter-clockwise, holes clockwise, the outline (largest loop) first.
void orientFace(DxDbRegion::Face& face, const DxGeVector3d& normal);
}  // namespace dx::db
