// Every class family of the database. A new entity class goes into a file of its own
// under entities/ (class record, schema lines and methods together, see family.h), gets
// a line here and its file in CMakeLists.txt; objects go under objects/, symbol table
// records under tables/.
#pragma once

#define DX_DB_FAMILIES(X) \
  X(Entity)               \
  X(Line)                 \
  X(ArcCircle)            \
  X(Ellipse)              \
  X(Point)                \
  X(Polyline)             \
  X(PolylineHeavy)        \
  X(Solid)                \
  X(MText)                \
  X(Text)                 \
  X(Insert)               \
  X(Hatch)                \
  X(Dimension)            \
  X(Image)                \
  X(Spline)               \
  X(Region)               \
  X(BlockRecord)          \
  X(SymbolTable)          \
  X(Layer)                \
  X(Linetype)             \
  X(TextStyle)            \
  X(DimStyle)             \
  X(ViewRecords)          \
  X(Dictionary)           \
  X(Group)                \
  X(Xrecord)              \
  X(ImageDef)             \
  X(ImageDefReactor)      \
  X(RasterVariables)      \
  X(WipeoutVariables)     \
  X(SortentsTable)        \
  X(SpatialFilter)        \
  X(Layout)               \
  X(UnknownObject)

namespace dx::db {
#define DX_DB_DECLARE_FAMILY(F) void define##F##Schemas();
DX_DB_FAMILIES(DX_DB_DECLARE_FAMILY)
#undef DX_DB_DECLARE_FAMILY
}  // namespace dx::db
