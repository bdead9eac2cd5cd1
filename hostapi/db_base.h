// Draxel host interface, database family: status codes, file versions, result-buffer
// chains, object identity and opening, colours.
#pragma once

#include <cstdint>
#include <functional>
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
  friend struct std::hash<DxDbObjectId>;
  dx::db::Stub* m_stub = nullptr;
};
using DxDbObjectIdArray = std::vector<DxDbObjectId>;
// Entities handed in and out by pointer (curves to regions and the like).
using DxDbVoidPtrArray = std::vector<void*>;

// Ids as keys of unordered containers.
template <>
struct std::hash<DxDbObjectId> {
  size_t operator()(const DxDbObjectId& id) const noexcept { return std::hash<const void*>()(id.m_stub); }
};

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
