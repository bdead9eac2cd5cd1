// Draxel host interface, database family: symbol tables and their records, block table
// records with the BLOCK and ENDBLK entities.
#pragma once

#include <map>
#include "hostapi/db_objects.h"

// ---------------------------------------------------------------------------------------
// Symbol tables

class DxDbSymbolTableRecord : public DxDbObject {
  DX_DECLARE_MEMBERS(DxDbSymbolTableRecord);

 public:
  Dxad::ErrorStatus getName(std::string& name) const;
  const std::string& getName() const { return m_name; }
  const char* name() const { return m_name.c_str(); }
  Dxad::ErrorStatus setName(const char* name);
  bool isDependent() const { return (m_flags & 16) != 0; }
  bool isResolved() const { return (m_flags & 32) != 0; }
  int16_t flags() const { return m_flags; }

 protected:
  DxDbSymbolTableRecord() = default;
  friend struct dx::db::Access;
  std::string m_name;
  int16_t m_flags = 0;
  // Made for a name a file used without defining it; not written back.
  bool m_implicit = false;
};

class DxDbSymbolTableIterator {
 public:
  explicit DxDbSymbolTableIterator(std::vector<DxDbObjectId> ids) : m_ids(std::move(ids)) {}
  void start() { m_pos = 0; }
  bool done() const { return m_pos >= m_ids.size(); }
  void step() { ++m_pos; }
  Dxad::ErrorStatus getRecordId(DxDbObjectId& id) const;
  template <class T>
  Dxad::ErrorStatus getRecord(T*& rec, DxDb::OpenMode mode, bool openErased = false) const {
    DxDbObjectId id;
    if (auto es = getRecordId(id); es != Dxad::eOk) return es;
    return dxdbOpenObject(rec, id, mode, openErased);
  }

 private:
  std::vector<DxDbObjectId> m_ids;
  size_t m_pos = 0;
};

class DxDbSymbolTable : public DxDbObject {
  DX_DECLARE_MEMBERS(DxDbSymbolTable);

 public:
  DxDbObject* clone() const override;
  // Case-insensitive lookup of a record name.
  Dxad::ErrorStatus getIdAt(const char* name, DxDbObjectId& id, bool getErased = false) const;
  template <class T>
  Dxad::ErrorStatus getAt(const char* name, T*& rec, DxDb::OpenMode mode) const {
    DxDbObjectId id;
    if (auto es = getIdAt(name, id); es != Dxad::eOk) return es;
    return dxdbOpenObject(rec, id, mode);
  }
  bool has(const char* name) const;
  bool has(DxDbObjectId id) const;
  // Takes ownership of rec; the table must be open for write.
  Dxad::ErrorStatus add(DxDbObjectId& id, DxDbSymbolTableRecord* rec);
  Dxad::ErrorStatus add(DxDbSymbolTableRecord* rec) {
    DxDbObjectId id;
    return add(id, rec);
  }
  Dxad::ErrorStatus newIterator(DxDbSymbolTableIterator*& it, bool atBeginning = true,
                                bool skipErased = true) const;
  const char* tableName() const { return m_tableName.c_str(); }
  // Records in table order (erased ones skipped).
  std::vector<DxDbObjectId> recordIds() const;

 protected:
  friend struct dx::db::Access;
  std::string m_tableName;  // LAYER, LTYPE, ...
  DxRxClass* m_recordClass = nullptr;
  std::vector<DxDbObjectId> m_records;
  std::map<std::string, DxDbObjectId> m_index;  // upper-case name
};

#define DX_DB_TABLE_CLASSES(TABLE, RECORD, ITERATOR)          \
  class RECORD;                                               \
  class TABLE : public DxDbSymbolTable {                      \
    DX_DECLARE_MEMBERS(TABLE);                                \
                                                              \
   public:                                                    \
    DxDbObject* clone() const override;                       \
  };                                                          \
  using ITERATOR = DxDbSymbolTableIterator;

DX_DB_TABLE_CLASSES(DxDbLayerTable, DxDbLayerTableRecord, DxDbLayerTableIterator)
DX_DB_TABLE_CLASSES(DxDbLinetypeTable, DxDbLinetypeTableRecord, DxDbLinetypeTableIterator)
DX_DB_TABLE_CLASSES(DxDbTextStyleTable, DxDbTextStyleTableRecord, DxDbTextStyleTableIterator)
DX_DB_TABLE_CLASSES(DxDbDimStyleTable, DxDbDimStyleTableRecord, DxDbDimStyleTableIterator)
DX_DB_TABLE_CLASSES(DxDbBlockTable, DxDbBlockTableRecord, DxDbBlockTableIterator)
DX_DB_TABLE_CLASSES(DxDbRegAppTable, DxDbRegAppTableRecord, DxDbRegAppTableIterator)
DX_DB_TABLE_CLASSES(DxDbUCSTable, DxDbUCSTableRecord, DxDbUCSTableIterator)
DX_DB_TABLE_CLASSES(DxDbViewTable, DxDbViewTableRecord, DxDbViewTableIterator)
DX_DB_TABLE_CLASSES(DxDbViewportTable, DxDbViewportTableRecord, DxDbViewportTableIterator)

class DxDbLayerTableRecord : public DxDbSymbolTableRecord {
  DX_DB_RECORD_CLASS(DxDbLayerTableRecord);
  DxDbLayerTableRecord() = default;
  bool isOff() const { return m_color < 0; }
  void setIsOff(bool off);
  bool isFrozen() const { return (m_flags & 1) != 0; }
  void setIsFrozen(bool f);
  bool isLocked() const { return (m_flags & 4) != 0; }
  void setIsLocked(bool l);
  bool isPlottable() const { return m_plot; }
  void setIsPlottable(bool p);
  DxCmColor color() const;
  void setColor(const DxCmColor& c);
  DxDbObjectId linetypeObjectId() const { return m_linetype; }
  void setLinetypeObjectId(DxDbObjectId id);
  DxDb::LineWeight lineWeight() const { return DxDb::LineWeight(m_lineweight); }
  void setLineWeight(DxDb::LineWeight lw);

 private:
  friend struct dx::db::Access;
  int16_t m_color = 7;  // negative: layer off
  int32_t m_trueColor = -1;
  DxDbObjectId m_linetype;
  bool m_plot = true;
  int16_t m_lineweight = -3;
};

class DxDbLinetypeTableRecord : public DxDbSymbolTableRecord {
  DX_DB_RECORD_CLASS(DxDbLinetypeTableRecord);
  DxDbLinetypeTableRecord() = default;
  struct Dash {
    double length = 0;
    int16_t shapeFlags = 0;  // 2: text, 4: shape
    int16_t shapeNumber = 0;
    DxDbObjectId style;
    double scale = 1, rotationRad = 0, xOffset = 0, yOffset = 0;
    std::string text;
  };
  const char* comments() const { return m_description.c_str(); }
  Dxad::ErrorStatus setComments(const char* s);
  double patternLength() const { return m_patternLength; }
  Dxad::ErrorStatus setPatternLength(double l);
  int numDashes() const { return int(m_dashes.size()); }
  const std::vector<Dash>& dashes() const { return m_dashes; }
  Dxad::ErrorStatus setDashes(const std::vector<Dash>& d);
  bool isScaledToFit() const { return m_scaledToFit; }

 private:
  friend struct dx::db::Access;
  std::string m_description;
  int16_t m_alignment = 'A';
  double m_patternLength = 0;
  bool m_scaledToFit = false;
  std::vector<Dash> m_dashes;
};

class DxDbTextStyleTableRecord : public DxDbSymbolTableRecord {
  DX_DB_RECORD_CLASS(DxDbTextStyleTableRecord);
  DxDbTextStyleTableRecord() = default;
  const char* fileName() const { return m_font.c_str(); }
  Dxad::ErrorStatus setFileName(const char* f);
  const char* bigFontFileName() const { return m_bigFont.c_str(); }
  Dxad::ErrorStatus setBigFontFileName(const char* f);
  double textSize() const { return m_fixedHeight; }
  Dxad::ErrorStatus setTextSize(double h);
  double xScale() const { return m_widthFactor; }
  Dxad::ErrorStatus setXScale(double w);
  double obliquingAngle() const;
  Dxad::ErrorStatus setObliquingAngle(double r);
  double priorSize() const { return m_lastHeight; }
  bool isShapeFile() const { return (m_flags & 1) != 0; }
  bool isVertical() const { return (m_flags & 4) != 0; }
  int16_t flagBits() const { return m_genFlags; }
  // Font family of a TrueType style, from its extended data ("" when none).
  std::string fontFamily() const;

 private:
  friend struct dx::db::Access;
  double m_fixedHeight = 0, m_widthFactor = 1, m_obliqueDeg = 0, m_lastHeight = 2.5;
  int16_t m_genFlags = 0;
  std::string m_font = "txt", m_bigFont;
};

class DxDbDimStyleTableRecord : public DxDbSymbolTableRecord {
  DX_DB_RECORD_CLASS(DxDbDimStyleTableRecord);
  DxDbDimStyleTableRecord() = default;
  // Dimension variables are kept by group code: real, integer, text or object values.
  bool getValue(int code, double& v) const;
  bool getValue(int code, int& v) const;
  bool getValue(int code, std::string& v) const;
  bool getValue(int code, DxDbObjectId& v) const;
  Dxad::ErrorStatus setValue(int code, double v);
  Dxad::ErrorStatus setValue(int code, int v);
  Dxad::ErrorStatus setValue(int code, const char* v);
  Dxad::ErrorStatus setValue(int code, DxDbObjectId v);
  Dxad::ErrorStatus removeValue(int code);
  std::vector<int> codes() const;
  double dimscale() const;
  double dimtxt() const;
  DxDbObjectId dimtxsty() const;

  // One dimension variable by group code.
  struct Var {
    int code;
    double real = 0;
    int64_t integer = 0;
    std::string text;
    DxDbObjectId id;
  };

 private:
  friend struct dx::db::Access;
  std::vector<Var> m_vars;
};

class DxDbRegAppTableRecord : public DxDbSymbolTableRecord {
  DX_DB_RECORD_CLASS(DxDbRegAppTableRecord);
  DxDbRegAppTableRecord() = default;
};

class DxDbUCSTableRecord : public DxDbSymbolTableRecord {
  DX_DB_RECORD_CLASS(DxDbUCSTableRecord);
  DxDbUCSTableRecord() = default;
  DxGePoint3d origin() const { return m_origin; }
  DxGeVector3d xAxis() const { return m_x; }
  DxGeVector3d yAxis() const { return m_y; }
  void setOrigin(const DxGePoint3d& p);
  void setXAxis(const DxGeVector3d& v);
  void setYAxis(const DxGeVector3d& v);

 private:
  friend struct dx::db::Access;
  DxGePoint3d m_origin;
  DxGeVector3d m_x{1, 0, 0}, m_y{0, 1, 0};
};

class DxDbViewTableRecord : public DxDbSymbolTableRecord {
  DX_DB_RECORD_CLASS(DxDbViewTableRecord);
  DxDbViewTableRecord() = default;
};

class DxDbViewportTableRecord : public DxDbSymbolTableRecord {
  DX_DB_RECORD_CLASS(DxDbViewportTableRecord);
  DxDbViewportTableRecord() = default;
  DxGePoint2d centerPoint() const { return m_center; }
  double height() const { return m_height; }
  double aspect() const { return m_aspect; }
  void setCenterPoint(const DxGePoint2d& p);
  void setHeight(double h);

 private:
  friend struct dx::db::Access;
  DxGePoint2d m_lowerLeft{0, 0}, m_upperRight{1, 1}, m_center{0, 0};
  double m_height = 10, m_aspect = 1;
};

class DxDbBlockTableRecordIterator {
 public:
  explicit DxDbBlockTableRecordIterator(std::vector<DxDbObjectId> ids) : m_ids(std::move(ids)) {}
  void start() { m_pos = 0; }
  bool done() const { return m_pos >= m_ids.size(); }
  void step() { ++m_pos; }
  Dxad::ErrorStatus getEntityId(DxDbObjectId& id) const;
  Dxad::ErrorStatus getEntity(DxDbEntity*& ent, DxDb::OpenMode mode,
                              bool openErased = false) const;

 private:
  std::vector<DxDbObjectId> m_ids;
  size_t m_pos = 0;
};

class DxDbBlockTableRecord : public DxDbSymbolTableRecord {
  DX_DB_RECORD_CLASS(DxDbBlockTableRecord);
  DxDbBlockTableRecord();
  ~DxDbBlockTableRecord() override;

  // Takes ownership of ent; the record must be open for write.
  Dxad::ErrorStatus appendDxDbEntity(DxDbObjectId& id, DxDbEntity* ent);
  Dxad::ErrorStatus appendDxDbEntity(DxDbEntity* ent) {
    DxDbObjectId id;
    return appendDxDbEntity(id, ent);
  }
  Dxad::ErrorStatus newIterator(DxDbBlockTableRecordIterator*& it, bool atBeginning = true,
                                bool skipErased = true) const;
  // Entities in order, erased ones skipped.
  std::vector<DxDbObjectId> entityIds() const;
  size_t entityCount() const;
  // Direct references (block references and dimensions whose block this is).
  Dxad::ErrorStatus getBlockReferenceIds(DxDbObjectIdArray& ids, bool directOnly = true,
                                         bool forceValidity = false) const;
  DxGePoint3d origin() const { return m_origin; }
  Dxad::ErrorStatus setOrigin(const DxGePoint3d& p);
  bool isLayout() const;
  bool isAnonymous() const { return (m_blockFlags & 1) != 0; }
  bool hasAttributeDefinitions() const;
  bool isFromExternalReference() const { return (m_blockFlags & 4) != 0; }
  bool isFromOverlayReference() const { return (m_blockFlags & 8) != 0; }
  bool isDependent() const { return (m_blockFlags & 16) != 0; }
  bool explodable() const { return m_explodable; }
  void setExplodable(bool e);
  const char* pathName() const { return m_xrefPath.c_str(); }
  Dxad::ErrorStatus setPathName(const char* p);
  const char* comments() const { return m_description.c_str(); }
  int16_t blockFlags() const { return m_blockFlags; }
  DxDbObjectId getLayoutId() const { return m_layout; }

 private:
  friend struct dx::db::Access;
  std::vector<DxDbObjectId> m_entities;
  DxDbObjectId m_layout;
  int16_t m_insertUnits = 0;
  bool m_explodable = true, m_scalable = false;
  // The BLOCK and ENDBLK entities of the file carry their own handles and properties.
  DxDbObjectId m_blockBegin, m_blockEnd;
  DxGePoint3d m_origin;
  int16_t m_blockFlags = 0;
  std::string m_xrefPath, m_description;
};

// BLOCK and ENDBLK entities; they belong to their block table record.
class DxDbBlockBegin : public DxDbEntity {
  DX_DB_ENTITY_CLASS(DxDbBlockBegin);
  DxDbBlockBegin() = default;
};
class DxDbBlockEnd : public DxDbEntity {
  DX_DB_ENTITY_CLASS(DxDbBlockEnd);
  DxDbBlockEnd() = default;
};
