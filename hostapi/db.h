// Draxel host interface: database family. Objects, entities, symbol tables, dictionaries,
// groups, the database itself, result-buffer chains and entity lists.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "hostapi/geometry.h"
#include "hostapi/rx.h"

// ---------------------------------------------------------------------------------------
// Status codes

namespace Dxad {
enum ErrorStatus {
  eOk = 0,
  eNotImplementedYet = 1,
  eNotApplicable = 2,
  eInvalidInput = 3,
  eAmbiguousInput = 4,
  eOutOfMemory = 6,
  eBufferTooSmall = 7,
  eInvalidOpenState = 8,
  eNullObjectId = 9,
  eNullObjectPointer = 10,
  eObjectToBeDeleted = 11,
  eInvalidIndex = 12,
  eDuplicateKey = 13,
  eDuplicateRecordName = 14,
  eKeyNotFound = 15,
  eWasErased = 16,
  eNotInDatabase = 17,
  eWasOpenForRead = 18,
  eWasOpenForWrite = 19,
  eWasNotOpenForWrite = 20,
  eAtMaxReaders = 21,
  eWasOpenForNotify = 22,
  eNotOpenForWrite = 23,
  eNotThatKindOfClass = 24,
  eInvalidDxfCode = 25,
  eBadDxfSequence = 26,
  eFileNotFound = 27,
  eFileAccessErr = 28,
  eBadDxfFile = 29,
  eNotADrawingFile = 30,
  eIncompatibleVersion = 31,
  eAlreadyInDb = 32,
  eIllegalReplacement = 33,
  eSelfReference = 34,
  eInvalidSymbolTableName = 35,
  eLockViolation = 36,
  eNoDatabase = 37,
  eCannotBeErasedByCaller = 38,
  eWrongDatabase = 39,
  eHandleExists = 40,
  eNotOpen = 41,
  eInvalidContext = 42,
  eUndefinedLineType = 43,
  eNotAllowedForThisProxy = 44,
  eUnknownError = 99,
};
const char* errorName(ErrorStatus es);
}  // namespace Dxad

namespace DxDb {
enum OpenMode { kForRead = 0, kForWrite = 1, kForNotify = 2 };
// Drawing file versions the host writes (DXF: AC1014 to AC1032).
enum DxDbDwgVersion {
  kDHL_1014 = 21,
  kDHL_1015 = 23,
  kDHL_1018 = 25,
  kDHL_1021 = 27,
  kDHL_1024 = 29,
  kDHL_1027 = 31,
  kDHL_1032 = 33,
  kDHL_CURRENT = kDHL_1032,
};
enum Visibility { kVisible = 0, kInvisible = 1 };
enum LineWeight {
  kLnWt000 = 0, kLnWt005 = 5, kLnWt009 = 9, kLnWt013 = 13, kLnWt015 = 15, kLnWt018 = 18,
  kLnWt020 = 20, kLnWt025 = 25, kLnWt030 = 30, kLnWt035 = 35, kLnWt040 = 40, kLnWt050 = 50,
  kLnWt053 = 53, kLnWt060 = 60, kLnWt070 = 70, kLnWt080 = 80, kLnWt090 = 90, kLnWt100 = 100,
  kLnWt106 = 106, kLnWt120 = 120, kLnWt140 = 140, kLnWt158 = 158, kLnWt200 = 200,
  kLnWt211 = 211, kLnWtByLayer = -1, kLnWtByBlock = -2, kLnWtByLwDefault = -3,
};
enum TextHorzMode { kTextLeft = 0, kTextCenter = 1, kTextRight = 2, kTextAlign = 3,
                    kTextMid = 4, kTextFit = 5 };
enum TextVertMode { kTextBase = 0, kTextBottom = 1, kTextVertMid = 2, kTextTop = 3 };
}  // namespace DxDb
using DxDbDwgVersion = DxDb::DxDbDwgVersion;

// ---------------------------------------------------------------------------------------
// Result buffers: the host's group-code lists.

#define RTNONE 5000
#define RTREAL 5001
#define RTPOINT 5002
#define RTSHORT 5003
#define RTANG 5004
#define RTSTR 5005
#define RTENAME 5006
#define RTPICKS 5007
#define RTORINT 5008
#define RT3DPOINT 5009
#define RTLONG 5010
#define RTVOID 5014
#define RTLB 5016
#define RTLE 5017
#define RTDOTE 5018
#define RTNIL 5019
#define RTDXF0 5020
#define RTT 5021
#define RTRESBUF 5023
#define RTMODELESS 5027
#define RTLONG_PTR 5030
#define RTINT64 5031
#define RTNORM 5100
#define RTERROR (-5001)
#define RTCAN (-5002)
#define RTREJ (-5003)
#define RTFAIL (-5004)
#define RTKWORD (-5005)
#define RTINPUTTRUNCATED (-5008)

typedef int64_t dx_name[2];
typedef double dx_point[3];

struct dx_binary {
  short clen;
  char* buf;
};

union dx_u_val {
  double rreal;
  double rpoint[3];
  short rint;
  char* rstring;
  int32_t rlong;
  int64_t rlong64;
  int64_t mnLongPtr;
  dx_name rlname;
  dx_binary rbinary;
  unsigned char ihandle[8];
};

struct resbuf {
  resbuf* rbnext;
  short restype;
  dx_u_val resval;
};

// Allocates one zeroed buffer of the given type (an RT code or a DXF group code).
resbuf* dxutNewRb(int type);
// Releases a whole chain, with the strings and binary chunks it owns.
int dxutRelRb(resbuf* rb);
// Builds a chain from (type, value) pairs ending in a 0 type. Values by type: RTSTR and
// string group codes take const char*; RTREAL/RTANG and real codes take double; RTSHORT
// and 16-bit codes take int; RTLONG and 32-bit codes take int32_t (passed as int);
// RTPOINT/RT3DPOINT and point codes take const double*; RTENAME and handle codes take
// const int64_t* (a dx_name); RTLB, RTLE, RTDOTE, RTNIL, RTT take nothing.
resbuf* dxutBuildList(int type, ...);
// Deep copy of a chain.
resbuf* dxutDupRb(const resbuf* rb);
// Kind of value a DXF group code carries in a result buffer (RTREAL, RTSHORT, RTLONG,
// RTSTR, RT3DPOINT, RTENAME, RTINT64, ...).
int dxutGroupCodeType(int code);

// ---------------------------------------------------------------------------------------
// Object identity

class DxDbDatabase;
class DxDbObject;
namespace dx::db {
struct Stub;
struct Access;
struct ObjectExtras;
}  // namespace dx::db

class DxDbHandle {
 public:
  DxDbHandle() = default;
  DxDbHandle(uint64_t v) : m_value(v) {}
  explicit DxDbHandle(const char* hex);
  bool isNull() const { return m_value == 0; }
  uint64_t value() const { return m_value; }
  std::string str() const;  // upper-case hex
  bool operator==(const DxDbHandle&) const = default;
  auto operator<=>(const DxDbHandle&) const = default;

 private:
  uint64_t m_value = 0;
};

class DxDbObjectId {
 public:
  DxDbObjectId() = default;
  explicit DxDbObjectId(dx::db::Stub* s) : m_stub(s) {}
  static const DxDbObjectId kNull;

  bool isNull() const { return m_stub == nullptr; }
  // Not null and the object exists in memory (it may be erased).
  bool isValid() const;
  bool isErased() const;
  DxDbHandle handle() const;
  DxDbDatabase* database() const;
  // The object class, without opening it; null for an id with no object.
  DxRxClass* objectClass() const;

  bool operator==(const DxDbObjectId&) const = default;
  bool operator<(const DxDbObjectId& o) const { return m_stub < o.m_stub; }
  explicit operator bool() const { return m_stub != nullptr; }
  dx::db::Stub* stub() const { return m_stub; }

 private:
  dx::db::Stub* m_stub = nullptr;
};
using DxDbObjectIdArray = std::vector<DxDbObjectId>;

// Entity names of the entity-list functions are object ids in disguise.
void dxdbIdToName(dx_name name, DxDbObjectId id);
Dxad::ErrorStatus dxdbGetObjectId(DxDbObjectId& id, const dx_name name);
Dxad::ErrorStatus dxdbGetGdsName(dx_name name, DxDbObjectId id);

// Opens an object; on success the caller owns one open and must call close().
Dxad::ErrorStatus dxdbOpenObject(DxDbObject*& obj, DxDbObjectId id, DxDb::OpenMode mode,
                                 bool openErased = false);
template <class T>
Dxad::ErrorStatus dxdbOpenObject(T*& obj, DxDbObjectId id, DxDb::OpenMode mode,
                                 bool openErased = false) {
  DxDbObject* o = nullptr;
  Dxad::ErrorStatus es = dxdbOpenObject(o, id, mode, openErased);
  if (es != Dxad::eOk) {
    obj = nullptr;
    return es;
  }
  obj = DxRxObject::cast<T>(reinterpret_cast<DxRxObject*>(o));
  if (!obj) {
    extern Dxad::ErrorStatus dxdbCloseObject(DxDbObject*);
    dxdbCloseObject(o);
    return Dxad::eNotThatKindOfClass;
  }
  return Dxad::eOk;
}
Dxad::ErrorStatus dxdbCloseObject(DxDbObject* obj);

// ---------------------------------------------------------------------------------------
// Colours

class DxCmColor {
 public:
  enum ColorMethod : uint8_t { kByLayer = 0xC0, kByBlock = 0xC1, kByColor = 0xC2, kByACI = 0xC3,
                               kForeground = 0xC5, kNone = 0xC8 };
  DxCmColor() = default;
  static DxCmColor byACI(int16_t index);

  ColorMethod colorMethod() const { return m_method; }
  void setColorMethod(ColorMethod m) { m_method = m; }
  bool isByLayer() const { return m_method == kByLayer; }
  bool isByBlock() const { return m_method == kByBlock; }
  bool isByACI() const { return m_method == kByACI; }
  bool isByColor() const { return m_method == kByColor; }
  // 0 BYBLOCK, 1-255 a colour index, 256 BYLAYER; for a true colour its nearest index.
  int16_t colorIndex() const;
  Dxad::ErrorStatus setColorIndex(int16_t index);
  Dxad::ErrorStatus setRGB(uint8_t r, uint8_t g, uint8_t b);
  uint8_t red() const;
  uint8_t green() const;
  uint8_t blue() const;
  // 0x00RRGGBB as in DXF group 420.
  int32_t rgb() const { return int32_t(m_rgb); }
  bool operator==(const DxCmColor&) const = default;

  // Palette of the 255 colour indexes, and the nearest index of an RGB value.
  static uint32_t paletteRGB(int16_t index);
  static int16_t nearestIndex(uint8_t r, uint8_t g, uint8_t b);

 private:
  ColorMethod m_method = kByLayer;
  int16_t m_index = 256;
  uint32_t m_rgb = 0;
  friend struct dx::db::Access;
};

// ---------------------------------------------------------------------------------------
// Objects

class DxDbObjectReactor;

class DxDbObject : public DxRxObject {
  DX_DECLARE_MEMBERS(DxDbObject);

 public:
  DxDbObject();
  DxDbObject(const DxDbObject&);
  DxDbObject& operator=(const DxDbObject&) = delete;
  ~DxDbObject() override;

  DxDbObjectId objectId() const;
  DxDbObjectId ownerId() const { return m_owner; }
  Dxad::ErrorStatus setOwnerId(DxDbObjectId id);
  DxDbHandle getDbHandle() const;
  DxDbHandle handle() const { return getDbHandle(); }
  DxDbDatabase* database() const;

  Dxad::ErrorStatus upgradeOpen();
  Dxad::ErrorStatus downgradeOpen();
  Dxad::ErrorStatus close();
  Dxad::ErrorStatus erase(bool erasing = true);
  bool isErased() const;
  bool isReadEnabled() const { return m_openCount > 0; }
  bool isWriteEnabled() const { return m_openWrite; }
  bool isNewObject() const;
  // Throws nothing; reports to the host's open-discipline log when violated.
  void assertReadEnabled() const;
  void assertWriteEnabled();

  DxDbObjectId extensionDictionary() const { return m_xdict; }
  Dxad::ErrorStatus createExtensionDictionary();
  Dxad::ErrorStatus releaseExtensionDictionary();

  // Extended data as a chain starting at group 1001; null when there is none. With an
  // application name, only that application's part.
  resbuf* xData(const char* regappName = nullptr) const;
  Dxad::ErrorStatus setXData(const resbuf* xdata);

  void addPersistentReactor(DxDbObjectId id);
  Dxad::ErrorStatus removePersistentReactor(DxDbObjectId id);
  const DxDbObjectIdArray& getPersistentReactorIds() const;

  // A copy that is not in any database (no id, no owner).
  virtual DxDbObject* clone() const = 0;

 protected:
  friend struct dx::db::Access;
  dx::db::Stub* m_stub = nullptr;
  DxDbObjectId m_owner;
  DxDbObjectId m_xdict;
  std::unique_ptr<dx::db::ObjectExtras> m_extras;  // unmodelled tags, xdata, reactors
  uint16_t m_openCount = 0;
  bool m_openWrite = false;
};

class DxDbEntity : public DxDbObject {
  DX_DECLARE_MEMBERS(DxDbEntity);

 public:
  DxDbObjectId blockId() const { return ownerId(); }

  std::string layer() const;
  DxDbObjectId layerId() const { return m_layer; }
  Dxad::ErrorStatus setLayer(const char* name);
  Dxad::ErrorStatus setLayer(DxDbObjectId id);
  std::string linetype() const;
  DxDbObjectId linetypeId() const { return m_linetype; }
  Dxad::ErrorStatus setLinetype(const char* name);
  Dxad::ErrorStatus setLinetype(DxDbObjectId id);
  double linetypeScale() const { return m_ltscale; }
  Dxad::ErrorStatus setLinetypeScale(double s);
  DxCmColor color() const { return m_color; }
  Dxad::ErrorStatus setColor(const DxCmColor& c);
  int16_t colorIndex() const { return m_color.colorIndex(); }
  Dxad::ErrorStatus setColorIndex(int16_t index);
  DxDb::LineWeight lineWeight() const { return DxDb::LineWeight(m_lineweight); }
  Dxad::ErrorStatus setLineWeight(DxDb::LineWeight lw);
  DxDb::Visibility visibility() const { return m_invisible ? DxDb::kInvisible : DxDb::kVisible; }
  Dxad::ErrorStatus setVisibility(DxDb::Visibility v);
  // Layer, linetype, colour, linetype scale, lineweight and visibility of the current
  // drawing settings of db (or the entity's own database).
  void setDatabaseDefaults(DxDbDatabase* db = nullptr);
  // Copies layer, colour, linetype, scale, lineweight and visibility of another entity.
  void setPropertiesFrom(const DxDbEntity* other);

  virtual Dxad::ErrorStatus getGeomExtents(DxGePoint3d& minPt, DxGePoint3d& maxPt) const;
  virtual Dxad::ErrorStatus transformBy(const DxGeMatrix3d& xform);
  // Highlighting is a display state of the editor; the host keeps it per entity.
  Dxad::ErrorStatus highlight();
  Dxad::ErrorStatus unhighlight();
  bool isHighlighted() const { return m_highlighted; }
  // Explodes into new entities (not in a database); eNotApplicable when it cannot.
  virtual Dxad::ErrorStatus explode(std::vector<DxDbEntity*>& pieces) const;

 protected:
  DxDbEntity();
  friend struct dx::db::Access;
  DxDbObjectId m_layer;
  DxDbObjectId m_linetype;
  double m_ltscale = 1.0;
  DxCmColor m_color;
  int16_t m_lineweight = -1;
  bool m_invisible = false;
  bool m_highlighted = false;
};

#define DX_DB_ENTITY_CLASS(CLASS) \
  DX_DECLARE_MEMBERS(CLASS);      \
                                  \
 public:                          \
  DxDbObject* clone() const override

class DxDbCurve : public DxDbEntity {
  DX_DECLARE_MEMBERS(DxDbCurve);

 protected:
  DxDbCurve() = default;
};

class DxDbLine : public DxDbCurve {
  DX_DB_ENTITY_CLASS(DxDbLine);
  DxDbLine() = default;
  DxDbLine(const DxGePoint3d& s, const DxGePoint3d& e) : m_start(s), m_end(e) {}
  DxGePoint3d startPoint() const { return m_start; }
  DxGePoint3d endPoint() const { return m_end; }
  Dxad::ErrorStatus setStartPoint(const DxGePoint3d& p);
  Dxad::ErrorStatus setEndPoint(const DxGePoint3d& p);
  double thickness() const { return m_thickness; }
  DxGeVector3d normal() const { return m_normal; }
  Dxad::ErrorStatus getGeomExtents(DxGePoint3d&, DxGePoint3d&) const override;
  Dxad::ErrorStatus transformBy(const DxGeMatrix3d& xform) override;

 private:
  friend struct dx::db::Access;
  DxGePoint3d m_start, m_end;
  double m_thickness = 0;
  DxGeVector3d m_normal{0, 0, 1};
};

class DxDbCircle : public DxDbCurve {
  DX_DB_ENTITY_CLASS(DxDbCircle);
  DxDbCircle() = default;
  DxDbCircle(const DxGePoint3d& center, const DxGeVector3d& normal, double radius);
  DxGePoint3d center() const;  // world coordinates
  Dxad::ErrorStatus setCenter(const DxGePoint3d& p);
  double radius() const { return m_radius; }
  Dxad::ErrorStatus setRadius(double r);
  DxGeVector3d normal() const { return m_normal; }
  Dxad::ErrorStatus setNormal(const DxGeVector3d& n);
  double thickness() const { return m_thickness; }
  Dxad::ErrorStatus getGeomExtents(DxGePoint3d&, DxGePoint3d&) const override;
  Dxad::ErrorStatus transformBy(const DxGeMatrix3d& xform) override;

 protected:
  friend struct dx::db::Access;
  DxGePoint3d m_center;  // object coordinates, as in the file
  double m_radius = 0;
  double m_thickness = 0;
  DxGeVector3d m_normal{0, 0, 1};
};

class DxDbArc : public DxDbCurve {
  DX_DB_ENTITY_CLASS(DxDbArc);
  DxDbArc() = default;
  DxDbArc(const DxGePoint3d& center, double radius, double startAngle, double endAngle);
  DxDbArc(const DxGePoint3d& center, const DxGeVector3d& normal, double radius,
          double startAngle, double endAngle);
  DxGePoint3d center() const;
  Dxad::ErrorStatus setCenter(const DxGePoint3d& p);
  double radius() const { return m_radius; }
  Dxad::ErrorStatus setRadius(double r);
  double startAngle() const;  // radians, in the arc's plane
  double endAngle() const;
  Dxad::ErrorStatus setStartAngle(double a);
  Dxad::ErrorStatus setEndAngle(double a);
  DxGeVector3d normal() const { return m_normal; }
  Dxad::ErrorStatus setNormal(const DxGeVector3d& n);
  double thickness() const { return m_thickness; }
  DxGePoint3d startPoint() const;
  DxGePoint3d endPoint() const;
  Dxad::ErrorStatus getGeomExtents(DxGePoint3d&, DxGePoint3d&) const override;
  Dxad::ErrorStatus transformBy(const DxGeMatrix3d& xform) override;

 private:
  friend struct dx::db::Access;
  DxGePoint3d m_center;
  double m_radius = 0;
  double m_startDeg = 0, m_endDeg = 360;  // degrees, as in the file
  double m_thickness = 0;
  DxGeVector3d m_normal{0, 0, 1};
};

class DxDbEllipse : public DxDbCurve {
  DX_DB_ENTITY_CLASS(DxDbEllipse);
  DxDbEllipse() = default;
  DxDbEllipse(const DxGePoint3d& center, const DxGeVector3d& normal,
              const DxGeVector3d& majorAxis, double radiusRatio, double startAngle = 0,
              double endAngle = 6.283185307179586);
  DxGePoint3d center() const { return m_center; }
  DxGeVector3d normal() const { return m_normal; }
  DxGeVector3d majorAxis() const { return m_major; }
  DxGeVector3d minorAxis() const;
  double radiusRatio() const { return m_ratio; }
  double startParam() const { return m_startParam; }
  double endParam() const { return m_endParam; }
  Dxad::ErrorStatus set(const DxGePoint3d& center, const DxGeVector3d& normal,
                        const DxGeVector3d& majorAxis, double radiusRatio,
                        double startParam = 0, double endParam = 6.283185307179586);
  Dxad::ErrorStatus getGeomExtents(DxGePoint3d&, DxGePoint3d&) const override;
  Dxad::ErrorStatus transformBy(const DxGeMatrix3d& xform) override;

 private:
  friend struct dx::db::Access;
  DxGePoint3d m_center;
  DxGeVector3d m_major{1, 0, 0};
  DxGeVector3d m_normal{0, 0, 1};
  double m_ratio = 1, m_startParam = 0, m_endParam = 6.283185307179586;
};

class DxDbPoint : public DxDbEntity {
  DX_DB_ENTITY_CLASS(DxDbPoint);
  DxDbPoint() = default;
  explicit DxDbPoint(const DxGePoint3d& p) : m_pos(p) {}
  DxGePoint3d position() const { return m_pos; }
  Dxad::ErrorStatus setPosition(const DxGePoint3d& p);
  DxGeVector3d normal() const { return m_normal; }
  Dxad::ErrorStatus getGeomExtents(DxGePoint3d&, DxGePoint3d&) const override;
  Dxad::ErrorStatus transformBy(const DxGeMatrix3d& xform) override;

 private:
  friend struct dx::db::Access;
  DxGePoint3d m_pos;
  double m_thickness = 0;
  DxGeVector3d m_normal{0, 0, 1};
  double m_xAngleDeg = 0;
};

// Lightweight polyline: 2-D vertices in its object coordinate system.
class DxDbPolyline : public DxDbCurve {
  DX_DB_ENTITY_CLASS(DxDbPolyline);
  DxDbPolyline() = default;
  explicit DxDbPolyline(unsigned reserve) { m_verts.reserve(reserve); }
  struct Vertex {
    DxGePoint2d pt;
    double startWidth = 0, endWidth = 0, bulge = 0;
    int32_t id = 0;
  };
  unsigned numVerts() const { return unsigned(m_verts.size()); }
  Dxad::ErrorStatus addVertexAt(unsigned index, const DxGePoint2d& pt, double bulge = 0,
                                double startWidth = -1, double endWidth = -1);
  Dxad::ErrorStatus removeVertexAt(unsigned index);
  Dxad::ErrorStatus getPointAt(unsigned index, DxGePoint2d& pt) const;
  Dxad::ErrorStatus getPointAt(unsigned index, DxGePoint3d& pt) const;  // world
  Dxad::ErrorStatus setPointAt(unsigned index, const DxGePoint2d& pt);
  Dxad::ErrorStatus getBulgeAt(unsigned index, double& bulge) const;
  Dxad::ErrorStatus setBulgeAt(unsigned index, double bulge);
  Dxad::ErrorStatus getWidthsAt(unsigned index, double& startW, double& endW) const;
  bool hasBulges() const;
  bool isOnlyLines() const { return !hasBulges(); }
  bool isClosed() const { return (m_flags & 1) != 0; }
  void setClosed(bool c);
  double elevation() const { return m_elevation; }
  void setElevation(double e);
  DxGeVector3d normal() const { return m_normal; }
  void setNormal(const DxGeVector3d& n);
  double constantWidth() const { return m_constWidth; }
  double thickness() const { return m_thickness; }
  // Segment i as an arc: false when the segment is straight.
  bool getArcSegAt(unsigned index, DxGePoint3d& center, double& radius, double& startAng,
                   double& endAng) const;
  Dxad::ErrorStatus getGeomExtents(DxGePoint3d&, DxGePoint3d&) const override;
  Dxad::ErrorStatus transformBy(const DxGeMatrix3d& xform) override;
  Dxad::ErrorStatus explode(std::vector<DxDbEntity*>& pieces) const override;

 private:
  friend struct dx::db::Access;
  friend class DxDbPolylineHeavy;
  std::vector<Vertex> m_verts;
  int16_t m_flags = 0;
  double m_constWidth = 0, m_elevation = 0, m_thickness = 0;
  DxGeVector3d m_normal{0, 0, 1};
};

class DxDbSequenceEnd : public DxDbEntity {
  DX_DB_ENTITY_CLASS(DxDbSequenceEnd);
  DxDbSequenceEnd() = default;
};

class DxDbVertex : public DxDbEntity {
  DX_DB_ENTITY_CLASS(DxDbVertex);
  DxDbVertex() = default;
  DxGePoint3d position() const { return m_pos; }
  Dxad::ErrorStatus setPosition(const DxGePoint3d& p);
  double bulge() const { return m_bulge; }
  int16_t vertexFlags() const { return m_flags; }

 private:
  friend struct dx::db::Access;
  friend class DxDbPolylineHeavy;
  DxGePoint3d m_pos;
  double m_startWidth = 0, m_endWidth = 0, m_bulge = 0, m_tangentDeg = 0;
  int16_t m_flags = 0;
};

// Old-style polyline (2-D, 3-D, mesh) with its vertices as owned sub-entities.
class DxDbPolylineHeavy : public DxDbCurve {
  DX_DB_ENTITY_CLASS(DxDbPolylineHeavy);
  DxDbPolylineHeavy();
  ~DxDbPolylineHeavy() override;
  int16_t polyFlags() const { return m_flags; }
  bool isClosed() const { return (m_flags & 1) != 0; }
  bool is3d() const { return (m_flags & (8 | 16 | 64)) != 0; }
  const DxDbObjectIdArray& vertexIds() const { return m_vertices; }
  // Appends a vertex (owned by the polyline from then on).
  Dxad::ErrorStatus appendVertex(DxDbObjectId& id, DxDbVertex* v);
  DxGeVector3d normal() const { return m_normal; }
  double elevation() const { return m_elevation.z; }
  Dxad::ErrorStatus getGeomExtents(DxGePoint3d&, DxGePoint3d&) const override;
  Dxad::ErrorStatus transformBy(const DxGeMatrix3d& xform) override;
  Dxad::ErrorStatus explode(std::vector<DxDbEntity*>& pieces) const override;

 private:
  friend struct dx::db::Access;
  DxGePoint3d m_elevation;
  int16_t m_flags = 0;
  double m_startWidth = 0, m_endWidth = 0, m_thickness = 0;
  int16_t m_meshM = 0, m_meshN = 0, m_smoothM = 0, m_smoothN = 0, m_curveType = 0;
  DxGeVector3d m_normal{0, 0, 1};
  DxDbObjectIdArray m_vertices;
  DxDbObjectId m_seqend;
  // Vertices of a polyline not yet in a database; they join it when it is appended.
  std::vector<std::shared_ptr<DxDbVertex>> m_pendingVertices;
};
using DxDb2dPolyline = DxDbPolylineHeavy;

class DxDbSolid : public DxDbEntity {
  DX_DB_ENTITY_CLASS(DxDbSolid);
  DxDbSolid() = default;
  DxDbSolid(const DxGePoint3d& p0, const DxGePoint3d& p1, const DxGePoint3d& p2,
            const DxGePoint3d& p3);
  Dxad::ErrorStatus getPointAt(int idx, DxGePoint3d& p) const;
  Dxad::ErrorStatus setPointAt(int idx, const DxGePoint3d& p);
  Dxad::ErrorStatus getGeomExtents(DxGePoint3d&, DxGePoint3d&) const override;
  Dxad::ErrorStatus transformBy(const DxGeMatrix3d& xform) override;

 private:
  friend struct dx::db::Access;
  DxGePoint3d m_pts[4];
  double m_thickness = 0;
  DxGeVector3d m_normal{0, 0, 1};
};

class DxDbText : public DxDbEntity {
  DX_DB_ENTITY_CLASS(DxDbText);
  DxDbText() = default;
  DxDbText(const DxGePoint3d& pos, const char* text, DxDbObjectId style = DxDbObjectId(),
           double height = 0, double rotation = 0);
  DxGePoint3d position() const { return m_pos; }
  Dxad::ErrorStatus setPosition(const DxGePoint3d& p);
  DxGePoint3d alignmentPoint() const { return m_align; }
  Dxad::ErrorStatus setAlignmentPoint(const DxGePoint3d& p);
  bool isDefaultAlignment() const { return m_hmode == 0 && m_vmode == 0; }
  const char* textString() const { return m_text.c_str(); }
  Dxad::ErrorStatus setTextString(const char* s);
  DxDbObjectId textStyle() const { return m_style; }
  Dxad::ErrorStatus setTextStyle(DxDbObjectId id);
  double height() const { return m_height; }
  Dxad::ErrorStatus setHeight(double h);
  double rotation() const;  // radians
  Dxad::ErrorStatus setRotation(double r);
  double widthFactor() const { return m_widthFactor; }
  Dxad::ErrorStatus setWidthFactor(double w);
  double oblique() const;  // radians
  Dxad::ErrorStatus setOblique(double r);
  DxDb::TextHorzMode horizontalMode() const { return DxDb::TextHorzMode(m_hmode); }
  DxDb::TextVertMode verticalMode() const { return DxDb::TextVertMode(m_vmode); }
  Dxad::ErrorStatus setHorizontalMode(DxDb::TextHorzMode m);
  Dxad::ErrorStatus setVerticalMode(DxDb::TextVertMode m);
  bool isMirroredInX() const { return (m_genFlags & 2) != 0; }
  bool isMirroredInY() const { return (m_genFlags & 4) != 0; }
  DxGeVector3d normal() const { return m_normal; }
  Dxad::ErrorStatus setNormal(const DxGeVector3d& n);
  double thickness() const { return m_thickness; }
  Dxad::ErrorStatus getGeomExtents(DxGePoint3d&, DxGePoint3d&) const override;
  Dxad::ErrorStatus transformBy(const DxGeMatrix3d& xform) override;

 protected:
  friend struct dx::db::Access;
  friend class DxDbAttribute;
  DxGePoint3d m_pos, m_align;
  double m_height = 0, m_rotationDeg = 0, m_widthFactor = 1, m_obliqueDeg = 0, m_thickness = 0;
  std::string m_text;
  DxDbObjectId m_style;
  int16_t m_genFlags = 0, m_hmode = 0, m_vmode = 0;
  bool m_hasAlign = false;  // the alignment point was given (files keep it even at left/base)
  DxGeVector3d m_normal{0, 0, 1};
};

class DxDbMText : public DxDbEntity {
  DX_DB_ENTITY_CLASS(DxDbMText);
  enum AttachmentPoint { kTopLeft = 1, kTopCenter, kTopRight, kMiddleLeft, kMiddleCenter,
                         kMiddleRight, kBottomLeft, kBottomCenter, kBottomRight };
  enum FlowDirection { kLtoR = 1, kRtoL = 2, kTtoB = 3, kBtoT = 4, kByStyle = 5 };
  DxDbMText() = default;
  DxGePoint3d location() const { return m_location; }
  Dxad::ErrorStatus setLocation(const DxGePoint3d& p);
  DxGeVector3d normal() const { return m_normal; }
  Dxad::ErrorStatus setNormal(const DxGeVector3d& n);
  DxGeVector3d direction() const;
  Dxad::ErrorStatus setDirection(const DxGeVector3d& d);
  double rotation() const;
  Dxad::ErrorStatus setRotation(double r);
  double width() const { return m_width; }
  Dxad::ErrorStatus setWidth(double w);
  double textHeight() const { return m_height; }
  Dxad::ErrorStatus setTextHeight(double h);
  DxDbObjectId textStyle() const { return m_style; }
  Dxad::ErrorStatus setTextStyle(DxDbObjectId id);
  AttachmentPoint attachment() const { return AttachmentPoint(m_attach); }
  Dxad::ErrorStatus setAttachment(AttachmentPoint a);
  FlowDirection flowDirection() const { return FlowDirection(m_flow); }
  Dxad::ErrorStatus setFlowDirection(FlowDirection f);
  std::string contents() const { return m_contents; }
  Dxad::ErrorStatus setContents(const char* s);
  double lineSpacingFactor() const { return m_lsFactor; }
  Dxad::ErrorStatus getGeomExtents(DxGePoint3d&, DxGePoint3d&) const override;
  Dxad::ErrorStatus transformBy(const DxGeMatrix3d& xform) override;

 private:
  friend struct dx::db::Access;
  friend class DxDbAttribute;
  DxGePoint3d m_location;
  double m_height = 0, m_width = 0, m_refHeight = 0;
  int16_t m_attach = 1, m_flow = 1, m_lsStyle = 1;
  double m_lsFactor = 1, m_rotationRad = 0;
  bool m_hasRotation = false;
  bool m_hasWidth = false;  // files may leave the reference width out
  std::string m_contents;
  DxDbObjectId m_style;
  DxGeVector3d m_normal{0, 0, 1}, m_xdir{1, 0, 0};
};

class DxDbAttributeDefinition : public DxDbText {
  DX_DB_ENTITY_CLASS(DxDbAttributeDefinition);
  DxDbAttributeDefinition() = default;
  const char* tag() const { return m_tag.c_str(); }
  Dxad::ErrorStatus setTag(const char* t);
  const char* prompt() const { return m_prompt.c_str(); }
  Dxad::ErrorStatus setPrompt(const char* p);
  bool isInvisible() const { return (m_attFlags & 1) != 0; }
  bool isConstant() const { return (m_attFlags & 2) != 0; }
  bool isVerifiable() const { return (m_attFlags & 4) != 0; }
  bool isPreset() const { return (m_attFlags & 8) != 0; }
  bool isMTextAttributeDefinition() const;
  int16_t attributeFlags() const { return m_attFlags; }

 private:
  friend struct dx::db::Access;
  std::string m_tag, m_prompt;
  int16_t m_attFlags = 0, m_fieldLength = 0;
};

class DxDbAttribute : public DxDbText {
  DX_DB_ENTITY_CLASS(DxDbAttribute);
  DxDbAttribute() = default;
  const char* tag() const { return m_tag.c_str(); }
  Dxad::ErrorStatus setTag(const char* t);
  bool isInvisible() const { return (m_attFlags & 1) != 0; }
  bool isConstant() const { return (m_attFlags & 2) != 0; }
  int16_t attributeFlags() const { return m_attFlags; }
  // A multiline attribute carries an embedded multiline text.
  bool isMTextAttribute() const;
  // A new multiline text (not in a database) with the attribute's multiline contents.
  DxDbMText* getMTextAttribute() const;
  // Copies position, style and text of a definition, transformed by a reference's matrix.
  Dxad::ErrorStatus setAttributeFromBlock(const DxDbAttributeDefinition* def,
                                          const DxGeMatrix3d& blockXform);

 private:
  friend struct dx::db::Access;
  std::string m_tag;
  int16_t m_attFlags = 0, m_fieldLength = 0;
};

class DxDbObjectIterator {
 public:
  virtual ~DxDbObjectIterator() = default;
  virtual bool done() const = 0;
  virtual void step() = 0;
  virtual DxDbObjectId objectId() const = 0;
  virtual void start() = 0;
};

class DxDbBlockReference : public DxDbEntity {
  DX_DB_ENTITY_CLASS(DxDbBlockReference);
  DxDbBlockReference();
  DxDbBlockReference(const DxGePoint3d& pos, DxDbObjectId blockTableRecord);
  ~DxDbBlockReference() override;
  DxDbObjectId blockTableRecord() const { return m_block; }
  Dxad::ErrorStatus setBlockTableRecord(DxDbObjectId id);
  DxGePoint3d position() const { return m_pos; }
  Dxad::ErrorStatus setPosition(const DxGePoint3d& p);
  DxGeVector3d scaleFactors() const { return {m_scale[0], m_scale[1], m_scale[2]}; }
  Dxad::ErrorStatus setScaleFactors(const DxGeVector3d& s);
  double rotation() const;  // radians
  Dxad::ErrorStatus setRotation(double r);
  DxGeVector3d normal() const { return m_normal; }
  Dxad::ErrorStatus setNormal(const DxGeVector3d& n);
  // Block coordinates to world coordinates (includes the block's base point).
  DxGeMatrix3d blockTransform() const;
  // Attributes, in order.
  DxDbObjectIterator* attributeIterator() const;
  const DxDbObjectIdArray& attributeIds() const { return m_attribs; }
  Dxad::ErrorStatus appendAttribute(DxDbObjectId& id, DxDbAttribute* att);
  int16_t columnCount() const { return m_cols; }
  int16_t rowCount() const { return m_rows; }
  Dxad::ErrorStatus getGeomExtents(DxGePoint3d&, DxGePoint3d&) const override;
  Dxad::ErrorStatus transformBy(const DxGeMatrix3d& xform) override;
  Dxad::ErrorStatus explode(std::vector<DxDbEntity*>& pieces) const override;

 private:
  friend struct dx::db::Access;
  DxDbObjectId m_block;
  DxGePoint3d m_pos;
  double m_scale[3] = {1, 1, 1};
  double m_rotationDeg = 0;
  int16_t m_cols = 1, m_rows = 1;
  double m_colSpacing = 0, m_rowSpacing = 0;
  DxGeVector3d m_normal{0, 0, 1};
  DxDbObjectIdArray m_attribs;
  DxDbObjectId m_seqend;
  // Attributes of a reference not yet in a database; they join it when it is appended.
  std::vector<std::shared_ptr<DxDbAttribute>> m_pendingAttribs;
};

class DxDbHatch : public DxDbEntity {
  DX_DB_ENTITY_CLASS(DxDbHatch);
  enum HatchPatternType { kUserDefined = 0, kPreDefined = 1, kCustomDefined = 2 };
  enum HatchLoopType { kDefault = 0, kExternal = 1, kPolyline = 2, kDerived = 4,
                       kTextbox = 8, kOutermost = 16 };
  DxDbHatch();
  DxDbHatch(const DxDbHatch&);
  ~DxDbHatch() override;
  const char* patternName() const { return m_pattern.c_str(); }
  bool isSolidFill() const { return m_solid != 0; }
  bool associative() const { return m_assoc != 0; }
  double elevation() const { return m_elevation.z; }
  DxGeVector3d normal() const { return m_normal; }
  // Sets a predefined pattern ("SOLID" makes a solid fill).
  Dxad::ErrorStatus setPattern(HatchPatternType type, const char* name);
  Dxad::ErrorStatus setNormal(const DxGeVector3d& n);
  Dxad::ErrorStatus setElevation(double e);
  // A polyline loop in object coordinates; bulges may be empty.
  Dxad::ErrorStatus appendLoop(int32_t loopType, const std::vector<DxGePoint2d>& vertices,
                               const std::vector<double>& bulges);
  int numLoops() const;
  // The loops (an edge loop as the start points of its edges, without bulges).
  Dxad::ErrorStatus getLoopAt(int index, int32_t& loopType, std::vector<DxGePoint2d>& vertices,
                              std::vector<double>& bulges) const;
  Dxad::ErrorStatus evaluateHatch();
  Dxad::ErrorStatus getGeomExtents(DxGePoint3d&, DxGePoint3d&) const override;
  Dxad::ErrorStatus transformBy(const DxGeMatrix3d& xform) override;
  // Loops with their edges, pattern lines and seed points, kept by the host.
  struct Boundary;

 private:
  friend struct dx::db::Access;
  std::unique_ptr<Boundary> m_boundary;
  DxGePoint3d m_elevation;
  DxGeVector3d m_normal{0, 0, 1};
  std::string m_pattern = "SOLID";
  int16_t m_solid = 1, m_assoc = 0;
};

class DxDbDimension : public DxDbEntity {
  DX_DB_ENTITY_CLASS(DxDbDimension);
  DxDbDimension() = default;
  DxDbObjectId dimensionBlockId() const { return m_block; }
  DxDbObjectId dimensionStyle() const { return m_dimstyle; }
  Dxad::ErrorStatus setDimensionStyle(DxDbObjectId id);
  std::string dimensionText() const { return m_text; }
  Dxad::ErrorStatus setDimensionText(const char* t);
  DxGePoint3d textPosition() const { return m_textPos; }
  Dxad::ErrorStatus setTextPosition(const DxGePoint3d& p);
  DxGePoint3d dimLinePoint() const { return m_defPoint; }
  int16_t dimensionType() const { return m_type; }
  DxGeVector3d normal() const { return m_normal; }
  double textRotation() const;
  Dxad::ErrorStatus transformBy(const DxGeMatrix3d& xform) override;
  Dxad::ErrorStatus getGeomExtents(DxGePoint3d&, DxGePoint3d&) const override;
  Dxad::ErrorStatus explode(std::vector<DxDbEntity*>& pieces) const override;
  // Rebuilds the block of a rotated or aligned dimension from its points and its style
  // (open for write); eNotApplicable for other kinds, whose block stays as it is.
  Dxad::ErrorStatus recomputeDimBlock(bool forceUpdate = true);

 protected:
  friend struct dx::db::Access;
  std::string m_blockName;  // kept by name: the block may be written after the dimension
  DxDbObjectId m_block;
  DxGePoint3d m_defPoint, m_textPos;
  int16_t m_type = 0, m_attach = 5, m_lsStyle = 1;
  double m_lsFactor = 1, m_measurement = 0, m_textRotDeg = 0, m_hdirDeg = 0;
  std::string m_text;
  DxDbObjectId m_dimstyle;
  DxGeVector3d m_normal{0, 0, 1};
  // Aligned and rotated dimensions
  DxGePoint3d m_xline1, m_xline2;
  double m_rotationDeg = 0, m_obliqueDeg = 0;
};

class DxDbAlignedDimension : public DxDbDimension {
  DX_DB_ENTITY_CLASS(DxDbAlignedDimension);
  DxDbAlignedDimension();
  DxGePoint3d xLine1Point() const { return m_xline1; }
  DxGePoint3d xLine2Point() const { return m_xline2; }
  Dxad::ErrorStatus setXLine1Point(const DxGePoint3d& p);
  Dxad::ErrorStatus setXLine2Point(const DxGePoint3d& p);
  Dxad::ErrorStatus setDimLinePoint(const DxGePoint3d& p);
};

class DxDbRotatedDimension : public DxDbDimension {
  DX_DB_ENTITY_CLASS(DxDbRotatedDimension);
  DxDbRotatedDimension();
  DxDbRotatedDimension(double rotation, const DxGePoint3d& xLine1, const DxGePoint3d& xLine2,
                       const DxGePoint3d& dimLine, const char* text = "",
                       DxDbObjectId dimStyle = DxDbObjectId());
  DxGePoint3d xLine1Point() const { return m_xline1; }
  DxGePoint3d xLine2Point() const { return m_xline2; }
  Dxad::ErrorStatus setXLine1Point(const DxGePoint3d& p);
  Dxad::ErrorStatus setXLine2Point(const DxGePoint3d& p);
  Dxad::ErrorStatus setDimLinePoint(const DxGePoint3d& p);
  double rotation() const;
  Dxad::ErrorStatus setRotation(double r);
};

class DxDbRasterImage : public DxDbEntity {
  DX_DB_ENTITY_CLASS(DxDbRasterImage);
  enum ImageDisplayOpt { kShow = 1, kShowUnAligned = 2, kClip = 4, kTransparent = 8 };
  DxDbRasterImage() = default;
  DxDbObjectId imageDefId() const { return m_imageDef; }
  Dxad::ErrorStatus setImageDefId(DxDbObjectId id);
  // Insertion point and the vectors of one pixel's width and height.
  void getOrientation(DxGePoint3d& origin, DxGeVector3d& u, DxGeVector3d& v) const;
  // Sets origin and the vectors of the whole image's width and height.
  bool setOrientation(const DxGePoint3d& origin, const DxGeVector3d& uWhole,
                      const DxGeVector3d& vWhole);
  DxGePoint2d imageSize() const { return m_size; }
  void setImageSize(const DxGePoint2d& pixels) { m_size = pixels; }
  Dxad::ErrorStatus setDisplayOpt(ImageDisplayOpt opt, bool on);
  bool isSetDisplayOpt(ImageDisplayOpt opt) const { return (m_display & opt) != 0; }
  bool isClipped() const { return m_clipping != 0; }
  // Clip boundary in pixel coordinates.
  const std::vector<DxGePoint2d>& clipBoundary() const { return m_clip; }
  Dxad::ErrorStatus setClipBoundary(const std::vector<DxGePoint2d>& pixels);
  Dxad::ErrorStatus getGeomExtents(DxGePoint3d&, DxGePoint3d&) const override;
  Dxad::ErrorStatus transformBy(const DxGeMatrix3d& xform) override;

 protected:
  friend struct dx::db::Access;
  int32_t m_classVersion = 0;
  DxGePoint3d m_origin;
  DxGeVector3d m_u{1, 0, 0}, m_v{0, 1, 0};
  DxGePoint2d m_size{1, 1};
  DxDbObjectId m_imageDef, m_imageDefReactor;
  int16_t m_display = 7, m_clipping = 0, m_clipType = 1;
  int16_t m_brightness = 50, m_contrast = 50, m_fade = 0;
  std::vector<DxGePoint2d> m_clip;
};

class DxDbWipeout : public DxDbRasterImage {
  DX_DB_ENTITY_CLASS(DxDbWipeout);
  DxDbWipeout() = default;
};

class DxDbSpline : public DxDbCurve {
  DX_DB_ENTITY_CLASS(DxDbSpline);
  DxDbSpline() = default;
  int degree() const { return m_degree; }
  bool isClosed() const { return (m_flags & 1) != 0; }
  bool isRational() const { return (m_flags & 4) != 0; }
  const std::vector<DxGePoint3d>& controlPoints() const { return m_ctrl; }
  const std::vector<double>& knots() const { return m_knots; }
  const std::vector<double>& weights() const { return m_weights; }
  const std::vector<DxGePoint3d>& fitPoints() const { return m_fit; }
  DxGeVector3d normal() const { return m_normal; }
  // Points along the curve (de Boor evaluation), at least count of them.
  void getSamplePoints(int count, std::vector<DxGePoint3d>& pts) const;
  Dxad::ErrorStatus getGeomExtents(DxGePoint3d&, DxGePoint3d&) const override;
  Dxad::ErrorStatus transformBy(const DxGeMatrix3d& xform) override;

 private:
  friend struct dx::db::Access;
  DxGeVector3d m_normal{0, 0, 1};
  int16_t m_flags = 8, m_degree = 3;
  double m_knotTol = 1e-10, m_ctrlTol = 1e-10, m_fitTol = 1e-10;
  DxGeVector3d m_startTan, m_endTan;
  std::vector<double> m_knots, m_weights;
  std::vector<DxGePoint3d> m_ctrl, m_fit;
};

// Any entity class the host does not model: kept whole and written back unchanged.
class DxDbUnknownEntity : public DxDbEntity {
  DX_DB_ENTITY_CLASS(DxDbUnknownEntity);
  DxDbUnknownEntity() = default;
  const std::string& dxfName() const { return m_dxfName; }

 private:
  friend struct dx::db::Access;
  std::string m_dxfName;
};

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

#define DX_DB_RECORD_CLASS(CLASS) \
  DX_DECLARE_MEMBERS(CLASS);      \
                                  \
 public:                          \
  DxDbObject* clone() const override

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
  bool isAnonymous() const { return m_unnamed != 0; }
  Dxad::ErrorStatus setAnonymous();
  // The group's key in the group dictionary.
  Dxad::ErrorStatus getName(std::string& name) const;

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

// ---------------------------------------------------------------------------------------
// The database

class DxDbDatabaseReactor : public DxRxObject {
 public:
  DX_DECLARE_MEMBERS(DxDbDatabaseReactor);
  virtual void objectAppended(const DxDbDatabase* db, const DxDbObject* obj) {}
  virtual void objectModified(const DxDbDatabase* db, const DxDbObject* obj) {}
  virtual void objectErased(const DxDbDatabase* db, const DxDbObject* obj, bool erased) {}
  virtual void goodbye(const DxDbDatabase* db) {}
};

namespace dx::db {
class DatabaseImpl;
}

class DxDbDatabase : public DxRxObject {
 public:
  DX_DECLARE_MEMBERS(DxDbDatabase);
  // With buildDefaultDrawing, the standard tables, records, layouts and dictionaries of a
  // new drawing; without, an empty database meant to be filled by readDwgFile.
  explicit DxDbDatabase(bool buildDefaultDrawing = true, bool noDocument = false);
  ~DxDbDatabase() override;
  DxDbDatabase(const DxDbDatabase&) = delete;
  DxDbDatabase& operator=(const DxDbDatabase&) = delete;

  // Reads a drawing file (DXF, ASCII or binary). On failure the database is unchanged
  // and lastError() holds a one-line message.
  Dxad::ErrorStatus readDwgFile(const char* fileName);
  Dxad::ErrorStatus readDxfFromBuffer(std::string data);
  Dxad::ErrorStatus saveAs(const char* fileName, DxDbDwgVersion version = DxDb::kDHL_CURRENT);
  const std::string& lastError() const;
  const char* originalFileName() const;
  // Version the drawing was read in ("AC1009" ... "AC1032").
  const char* originalFileVersion() const;

  DxDbObjectId blockTableId() const;
  DxDbObjectId layerTableId() const;
  DxDbObjectId linetypeTableId() const;
  DxDbObjectId textStyleTableId() const;
  DxDbObjectId dimStyleTableId() const;
  DxDbObjectId regAppTableId() const;
  DxDbObjectId UCSTableId() const;
  DxDbObjectId viewTableId() const;
  DxDbObjectId viewportTableId() const;
  DxDbObjectId namedObjectsDictionaryId() const;
  DxDbObjectId getGroupDictionaryId() const;
  Dxad::ErrorStatus getGroupDictionary(DxDbDictionary*& dict, DxDb::OpenMode mode) const;
  DxDbObjectId modelSpaceId() const;
  DxDbObjectId paperSpaceId() const;
  DxDbObjectId currentSpaceId() const;
  Dxad::ErrorStatus setCurrentSpace(DxDbObjectId btrId);
  DxDbObjectId byLayerLinetype() const;
  DxDbObjectId byBlockLinetype() const;
  DxDbObjectId continuousLinetype() const;

  template <class T>
  Dxad::ErrorStatus getSymbolTable(T*& table, DxDb::OpenMode mode) const {
    return dxdbOpenObject(table, symbolTableId(T::desc()), mode);
  }
  DxDbObjectId symbolTableId(const DxRxClass* tableClass) const;

  // Current settings (header variables).
  DxDbObjectId clayer() const;
  Dxad::ErrorStatus setClayer(DxDbObjectId id);
  DxDbObjectId textstyle() const;
  Dxad::ErrorStatus setTextstyle(DxDbObjectId id);
  DxDbObjectId dimstyle() const;
  Dxad::ErrorStatus setDimstyle(DxDbObjectId id);
  DxDbObjectId celtype() const;
  Dxad::ErrorStatus setCeltype(DxDbObjectId id);
  DxCmColor cecolor() const;
  Dxad::ErrorStatus setCecolor(const DxCmColor& c);
  double textsize() const;
  double celtscale() const;
  // A header variable as a result-buffer chain ($-less name); null when unknown.
  resbuf* getHeaderVar(const char* name) const;
  Dxad::ErrorStatus setHeaderVar(const char* name, const resbuf* value);

  // Object lookup by handle (the id of an existing object, or null).
  Dxad::ErrorStatus getObjectId(DxDbObjectId& id, bool createIfNotFound, DxDbHandle h);
  // Adds an object not owned by a container (for example an object of the OBJECTS
  // section); the caller sets its owner.
  Dxad::ErrorStatus addDxDbObject(DxDbObjectId& id, DxDbObject* obj);
  // Number of objects in the database (not erased).
  size_t numObjects() const;

  void addReactor(DxDbDatabaseReactor* r) const;
  void removeReactor(DxDbDatabaseReactor* r) const;

  // The open-discipline report: objects open right now, and violations seen so far.
  std::vector<DxDbObjectId> openObjects() const;
  std::vector<std::string> takeDisciplineReport();

  dx::db::DatabaseImpl* impl() const { return m_impl.get(); }

 private:
  std::unique_ptr<dx::db::DatabaseImpl> m_impl;
};

class DxDbHostApplicationServices {
 public:
  DxDbDatabase* workingDatabase() const { return m_working; }
  void setWorkingDatabase(DxDbDatabase* db) { m_working = db; }

 private:
  DxDbDatabase* m_working = nullptr;
};
DxDbHostApplicationServices* dxdbHostApplicationServices();

// ---------------------------------------------------------------------------------------
// Entity lists

// The entity list of an object; with apps (a chain of RTSTR names, "*" for all), its
// extended data too. Null when the name is not valid. The caller releases the chain.
resbuf* dxdbEntGet(const dx_name ent, const resbuf* apps = nullptr);
// Makes an entity from a list and appends it to the current space; RTNORM or RTERROR.
int dxdbEntMake(const resbuf* list);
// Changes an entity (or object) by the groups of its list; RTNORM or RTERROR.
int dxdbEntMod(const resbuf* list);
// Erases (or, when erased, brings back) an entity.
int dxdbEntDel(const dx_name ent);
// The last entity of the current space that is not erased.
int dxdbEntLast(dx_name result);
// The first entity (ent null) or the one after ent, in the current space.
int dxdbEntNext(const dx_name ent, dx_name result);
// The symbol table record list of table ("LAYER", "LTYPE", "STYLE", "DIMSTYLE", "BLOCK",
// "APPID", "UCS", "VIEW", "VPORT") named sym; null when absent.
resbuf* dxdbTblSearch(const char* table, const char* sym, int setnext = 0);
// The next record of a table (rewind from the start with rewind != 0).
resbuf* dxdbTblNext(const char* table, int rewind = 0);
// The entity name of a record.
int dxdbTblObjName(const char* table, const char* sym, dx_name result);
// Object and entity handles in text form.
int dxdbHandEnt(const char* handle, dx_name result);

// Coordinate systems of the entity-list functions.
int dxdbWcs2Ecs(const double* p, double* q, const double* norm, bool isVector);
int dxdbEcs2Wcs(const double* p, double* q, const double* norm, bool isVector);

// Removes what a user's PURGE ALL removes: unreferenced layers other than "0" and
// "DEFPOINTS", linetypes, text styles, dimension styles and blocks, repeatedly until
// nothing more goes. True when it ran. Exported under its plain name, so that modules
// can find it in the host with dlsym.
extern "C" bool purgeAll(DxDbDatabase* db, bool verbose = false);
using PurgeAllFn = bool (*)(DxDbDatabase*, bool);
// The same, reporting each removed name ("Layer", "FOO") to the callback.
using PurgeReport = void (*)(void* ctx, const char* kind, const char* name);
bool purgeAllWithReport(DxDbDatabase* db, PurgeReport report, void* ctx);
// A purge limited by a filter: an unreferenced record goes only when the filter answers
// true for its kind ("Block", "Layer", "Linetype", "Text style", "Dimension style") and
// name. Repeats until nothing more goes; true when it ran.
using PurgeFilter = bool (*)(void* ctx, const char* kind, const char* name);
bool purgeSome(DxDbDatabase* db, PurgeFilter filter, PurgeReport report, void* ctx);
