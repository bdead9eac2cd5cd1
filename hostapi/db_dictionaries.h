// Draxel host interface, database family: dictionaries, groups, extension records,
// image definitions, layouts.
#pragma once

#include "hostapi/db_objects.h"

// ---------------------------------------------------------------------------------------
// Dictionaries, groups and other objects

class DxDbDictionaryIterator {
 public:
  DxDbDictionaryIterator(std::vector<std::pair<std::string, DxDbObjectId>> items)
      : m_items(std::move(items)) {}
  bool done() const { return m_pos >= m_items.size(); }
  bool next() { return ++m_pos < m_items.size(); }
  const char* name() const { return m_items[m_pos].first.c_str(); }
  DxDbObjectId objectId() const { return m_items[m_pos].second; }
  template <class T>
  Dxad::ErrorStatus getObject(T*& obj, DxDb::OpenMode mode) const {
    return dxdbOpenObject(obj, objectId(), mode);
  }

 private:
  std::vector<std::pair<std::string, DxDbObjectId>> m_items;
  size_t m_pos = 0;
};

class DxDbDictionary : public DxDbObject {
  DX_DB_RECORD_CLASS(DxDbDictionary);
  DxDbDictionary() = default;
  Dxad::ErrorStatus getAt(const char* key, DxDbObjectId& id) const;
  template <class T>
  Dxad::ErrorStatus getAt(const char* key, T*& obj, DxDb::OpenMode mode) const {
    DxDbObjectId id;
    if (auto es = getAt(key, id); es != Dxad::eOk) return es;
    return dxdbOpenObject(obj, id, mode);
  }
  bool has(const char* key) const;
  bool has(DxDbObjectId id) const;
  // Takes ownership of a new object (or re-points an existing key).
  Dxad::ErrorStatus setAt(const char* key, DxDbObject* obj, DxDbObjectId& id);
  Dxad::ErrorStatus remove(const char* key);
  Dxad::ErrorStatus remove(DxDbObjectId id);
  Dxad::ErrorStatus nameAt(DxDbObjectId id, std::string& key) const;
  uint32_t numEntries() const;
  DxDbDictionaryIterator* newIterator() const;
  bool isHardOwner() const { return m_hardOwner != 0; }

 protected:
  friend struct dx::db::Access;
  std::vector<std::pair<std::string, DxDbObjectId>> m_items;  // in file order
  int16_t m_hardOwner = 0, m_cloning = 1;
  bool m_softKeys = false;  // entries written as 350 instead of 360
};

// The entry key of the drawing's named objects dictionary; when absent and make is given,
// the object make() returns is entered under key. Null when neither works.
DxDbObjectId dxdbNamedObject(DxDbDatabase* db, const char* key, DxDbObject* (*make)() = nullptr);

class DxDbDictionaryWithDefault : public DxDbDictionary {
  DX_DB_RECORD_CLASS(DxDbDictionaryWithDefault);
  DxDbDictionaryWithDefault() = default;

 private:
  friend struct dx::db::Access;
  DxDbObjectId m_default;
};

class DxDbGroup : public DxDbObject {
  DX_DB_RECORD_CLASS(DxDbGroup);
  DxDbGroup() = default;
  explicit DxDbGroup(const char* description, bool selectable = true);
  Dxad::ErrorStatus append(DxDbObjectId id);
  Dxad::ErrorStatus append(const DxDbObjectIdArray& ids);
  Dxad::ErrorStatus remove(DxDbObjectId id);
  bool has(DxDbObjectId id) const;
  uint32_t numEntities() const;
  uint32_t allEntityIds(DxDbObjectIdArray& ids) const;
  const char* description() const { return m_description.c_str(); }
  Dxad::ErrorStatus setDescription(const char* d);
  bool isSelectable() const { return m_selectable != 0; }
  Dxad::ErrorStatus setSelectable(bool on);
  bool isAnonymous() const { return m_unnamed != 0; }
  Dxad::ErrorStatus setAnonymous();
  // The group's key in the group dictionary.
  Dxad::ErrorStatus getName(std::string& name) const;
  // A new key; eDuplicateKey when another group has it.
  Dxad::ErrorStatus setName(const char* name);
  // Shows or hides every member (members that cannot be opened are skipped).
  Dxad::ErrorStatus setVisibility(DxDb::Visibility v);
  // Drops every member; the entities stay in the drawing.
  Dxad::ErrorStatus clear();

 private:
  friend struct dx::db::Access;
  std::string m_description;
  int16_t m_unnamed = 0, m_selectable = 1;
  DxDbObjectIdArray m_entities;
};

class DxDbXrecord : public DxDbObject {
  DX_DB_RECORD_CLASS(DxDbXrecord);
  DxDbXrecord() = default;
  // The data chain (any group codes); the caller releases it.
  Dxad::ErrorStatus rbChain(resbuf** chain) const;
  Dxad::ErrorStatus setFromRbChain(const resbuf* chain);

 private:
  friend struct dx::db::Access;
  int16_t m_cloning = 1;
};

class DxDbRasterImageDef : public DxDbObject {
  DX_DB_RECORD_CLASS(DxDbRasterImageDef);
  DxDbRasterImageDef() = default;
  const char* sourceFileName() const { return m_file.c_str(); }
  Dxad::ErrorStatus setSourceFileName(const char* f);
  DxGePoint2d size() const { return m_size; }  // pixels
  void setSize(const DxGePoint2d& s) { m_size = s; }
  DxGeVector2d resolutionMMPerPixel() const { return m_pixelSize; }
  // Size of one pixel in resolutionUnits() (0 none, 2 centimetres, 5 inches).
  DxGeVector2d pixelSize() const { return m_pixelSize; }
  int resolutionUnits() const { return m_resUnits; }
  Dxad::ErrorStatus setResolution(const DxGeVector2d& pixelSize, int units);
  bool isLoaded() const { return m_loaded != 0; }
  Dxad::ErrorStatus load();

 private:
  friend struct dx::db::Access;
  int32_t m_classVersion = 0;
  std::string m_file;
  DxGePoint2d m_size{1, 1};
  DxGeVector2d m_pixelSize{1, 1};
  int16_t m_loaded = 1, m_resUnits = 0;
};

// IMAGEDEF_REACTOR: owned by one image, listed among its definition's reactors.
class DxDbRasterImageDefReactor : public DxDbObject {
  DX_DB_RECORD_CLASS(DxDbRasterImageDefReactor);
  DxDbRasterImageDefReactor() = default;
  DxDbObjectId imageId() const { return m_image; }
  Dxad::ErrorStatus setImageId(DxDbObjectId id);
  // Ties an image in a drawing to its definition (the image's imageDefId()): a new reactor
  // that the image owns and the definition lists, so the definition knows who shows it.
  // The image and its definition must not be open. eInvalidInput when the image has no
  // definition.
  static Dxad::ErrorStatus link(DxDbObjectId imageId);
  // Undoes link before an image is erased: the definition drops the reactor, which goes.
  static Dxad::ErrorStatus unlink(DxDbObjectId imageId);

 private:
  friend struct dx::db::Access;
  int32_t m_classVersion = 2;
  DxDbObjectId m_image;
};

// RASTERVARIABLES: the drawing's image frame, quality and units settings.
class DxDbRasterVariables : public DxDbObject {
  DX_DB_RECORD_CLASS(DxDbRasterVariables);
  DxDbRasterVariables() = default;
  bool imageFrame() const { return m_frame != 0; }
  Dxad::ErrorStatus setImageFrame(bool on);
  // The drawing's raster settings object, made (under ACAD_IMAGE_VARS) when absent.
  static DxDbObjectId openOrCreate(DxDbDatabase* db);

 private:
  friend struct dx::db::Access;
  int32_t m_classVersion = 0;
  int16_t m_frame = 1, m_quality = 1, m_units = 0;
};

// WIPEOUTVARIABLES: whether wipeout frames are shown.
class DxDbWipeoutVariables : public DxDbObject {
  DX_DB_RECORD_CLASS(DxDbWipeoutVariables);
  DxDbWipeoutVariables() = default;
  bool showFrame() const { return m_frame != 0; }
  Dxad::ErrorStatus setShowFrame(bool on);
  // The drawing's wipeout settings object, made (under ACAD_WIPEOUT_VARS) when absent.
  static DxDbObjectId openOrCreate(DxDbDatabase* db);

 private:
  friend struct dx::db::Access;
  int16_t m_frame = 1;
};

// SORTENTSTABLE: the draw order of one block's entities. Each entity is drawn by its
// sort handle (its own handle when it has no entry); the table lives in the block
// record's extension dictionary under ACAD_SORTENTS.
class DxDbSortentsTable : public DxDbObject {
  DX_DB_RECORD_CLASS(DxDbSortentsTable);
  DxDbSortentsTable() = default;
  // The table of a block record; with create, made when the block has none.
  static Dxad::ErrorStatus openFor(DxDbObjectId blockId, DxDbSortentsTable*& table,
                                   DxDb::OpenMode mode, bool create);
  DxDbObjectId blockId() const { return m_block; }
  // The block's entities (not erased), first drawn first.
  Dxad::ErrorStatus getFullDrawOrder(DxDbObjectIdArray& ids) const;
  // Takes ids (all of the block's entities, first drawn first) as the new order.
  Dxad::ErrorStatus setFullDrawOrder(const DxDbObjectIdArray& ids);
  Dxad::ErrorStatus moveToTop(const DxDbObjectIdArray& ids);
  Dxad::ErrorStatus moveToBottom(const DxDbObjectIdArray& ids);
  Dxad::ErrorStatus moveAbove(const DxDbObjectIdArray& ids, DxDbObjectId target);
  Dxad::ErrorStatus moveBelow(const DxDbObjectIdArray& ids, DxDbObjectId target);

 private:
  friend struct dx::db::Access;
  Dxad::ErrorStatus place(const DxDbObjectIdArray& ids, DxDbObjectId target, bool above);
  DxDbObjectId m_block;
  std::vector<std::pair<DxDbObjectId, uint64_t>> m_entries;  // entity, sort handle
};

// SPATIAL_FILTER: the clip boundary of a block or external reference, kept under
// ACAD_FILTER / SPATIAL in the reference's extension dictionary. The boundary points
// lie in the plane of normal() where the reference stood when it was clipped; the
// inverse of the reference's block transform at that time takes them into the block.
class DxDbSpatialFilter : public DxDbObject {
  DX_DB_RECORD_CLASS(DxDbSpatialFilter);
  DxDbSpatialFilter() = default;
  // Two points are the corners of a rectangle, more a polygon.
  const std::vector<DxGePoint2d>& boundary() const { return m_points; }
  DxGeVector3d normal() const { return m_normal; }
  bool isEnabled() const { return m_enabled != 0; }
  Dxad::ErrorStatus setEnabled(bool on);
  // A new boundary (plane coordinates of normal) for a reference whose block transform
  // is blockTransform now. Fails on fewer than two points or a singular transform.
  Dxad::ErrorStatus setDefinition(const std::vector<DxGePoint2d>& points,
                                  const DxGeVector3d& normal, const DxGeMatrix3d& blockTransform);
  DxGeMatrix3d inverseBlockTransform() const;
  // The boundary as a polygon in the block's own coordinates (a rectangle as its four
  // corners); an inverted clip gives the region it hides.
  std::vector<DxGePoint3d> blockPolygon() const;
  // Whether the clip hides what lies inside its boundary (kept, as other programs keep
  // it, in a round-trip record of the filter's extension dictionary).
  bool isInverted() const;
  // Turns the boundary into an inverted clip: the filter itself then holds an outline
  // from the plane points lo to hi (widened to take in the boundary) with the boundary
  // cut out, which readers that know no inverted clips show as the same picture. The
  // filter must be in a database and open for write.
  Dxad::ErrorStatus setInverted(DxGePoint2d lo, DxGePoint2d hi);

 private:
  friend struct dx::db::Access;
  std::vector<DxGePoint2d> invertedBoundary() const;
  std::vector<DxGePoint2d> m_points;
  DxGeVector3d m_normal{0, 0, 1};
  DxGePoint3d m_origin;
  int16_t m_enabled = 1, m_frontOn = 0, m_backOn = 0;
  double m_front = 0, m_back = 0;
  // Rows of two 3x4 matrices: the inverse block transform and the clip-bound transform.
  double m_matrices[24] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0};
  int m_readReals = 0;  // matrix values read so far while loading
  bool m_readBack = false;
};

// The clip of a block reference as it stands now.
struct DxDbReferenceClip {
  std::vector<DxGePoint3d> blockPolygon;  // in the block's coordinates
  std::vector<DxGePoint3d> worldPolygon;  // the same through the reference's transform
  bool enabled = false;
  bool inverted = false;
};
// The spatial filter of a reference (ACAD_FILTER / SPATIAL), null when it has none.
DxDbObjectId dxdbSpatialFilterOf(const DxDbObject* reference);
// False when the reference carries no clip boundary.
bool dxdbReferenceClip(const DxDbBlockReference* reference, DxDbReferenceClip& clip);

class DxDbLayout : public DxDbObject {
  DX_DB_RECORD_CLASS(DxDbLayout);
  DxDbLayout() = default;
  const char* getLayoutName() const { return m_name.c_str(); }
  Dxad::ErrorStatus setLayoutName(const char* n);
  DxDbObjectId getBlockTableRecordId() const { return m_block; }
  Dxad::ErrorStatus setBlockTableRecordId(DxDbObjectId id);
  int getTabOrder() const { return m_tabOrder; }

 private:
  friend struct dx::db::Access;
  std::string m_name;
  int16_t m_layoutFlags = 1, m_tabOrder = 0;
  DxDbObjectId m_block;
};

// Any object class the host does not model: kept whole.
class DxDbUnknownObject : public DxDbObject {
  DX_DB_RECORD_CLASS(DxDbUnknownObject);
  DxDbUnknownObject() = default;
  const std::string& dxfName() const { return m_dxfName; }

 private:
  friend struct dx::db::Access;
  std::string m_dxfName;
};
