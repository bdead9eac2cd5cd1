// The group-code schema of a database class: declared once per class, it drives the DXF
// reader, the DXF writer and the entity-list functions alike.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "host/dxf/tags.h"
#include "hostapi/db.h"

namespace dx::db {

class DatabaseImpl;

// Writes of the file versions, as indexes that compare in order.
enum class Ver : uint8_t { R12 = 0, R14, R2000, R2004, R2007, R2010, R2013, R2018 };
Ver verFromAcad(std::string_view acadver);  // "AC1015" -> R2000
const char* acadFromVer(Ver v);
Ver verFromDwgVersion(DxDbDwgVersion v);

// One group as it travels between a source (file, entity list) and an object. Points
// arrive whole (dims 2 or 3); references arrive as ids.
struct InTag {
  int code = 0;
  dxf::Kind kind = dxf::Kind::String;
  double real = 0;
  int64_t integer = 0;
  std::string_view text;
  double pt[3] = {0, 0, 0};
  uint8_t dims = 0;  // 2 or 3 for a point
  DxDbObjectId id;   // for handle codes
  bool isRef = false;
};

// An unmodelled group kept verbatim.
struct XTag {
  int16_t code = 0;
  uint8_t dims = 0;
  dxf::Kind kind = dxf::Kind::String;
  double v[3] = {0, 0, 0};
  int64_t i = 0;
  std::string s;
  Stub* ref = nullptr;  // handle codes: the object referred to (its handle is written)
  bool isRef = false;

  static XTag from(const InTag& t);
  InTag view() const;
};

// A run of unmodelled groups: where it stands among the modelled ones.
struct ExtraRun {
  int16_t subclass = -1;    // index of the subclass it follows the marker of; -1 before any
  int16_t afterField = -1;  // index of the field it follows within the subclass; -1 at start
  std::vector<XTag> tags;
};

// An object of its own that another one carries inside (the multiline text of an
// attribute): copied with its carrier, never in the database itself.
struct CarriedObject {
  std::unique_ptr<DxDbObject> obj;
  CarriedObject() = default;
  CarriedObject(const CarriedObject& o) : obj(o.obj ? o.obj->clone() : nullptr) {}
  CarriedObject& operator=(const CarriedObject& o) {
    obj.reset(o.obj ? o.obj->clone() : nullptr);
    return *this;
  }
  CarriedObject(CarriedObject&&) = default;
  CarriedObject& operator=(CarriedObject&&) = default;
};

struct ObjectExtras {
  std::vector<ExtraRun> runs;
  std::vector<XTag> xdata;  // from the first 1001 on
  DxDbObjectIdArray reactors;
  CarriedObject embedded;   // the object of a subclass with a part (see SubclassDef)
  bool empty() const { return runs.empty() && xdata.empty() && reactors.empty() && !embedded.obj; }
  // Whether id is among the reactors. Long lists (an image definition with a reactor per
  // image) are looked up in an index, rebuilt whenever the list changed behind its back.
  bool hasReactor(DxDbObjectId id);
  void addReactor(DxDbObjectId id);

 private:
  std::unordered_set<dx::db::Stub*> m_reactorIndex;
  size_t m_indexedSize = 0;
  dx::db::Stub* m_indexedBack = nullptr;
};

// Receives the groups of an object: the DXF writer and the entity-list builder.
class Sink {
 public:
  virtual ~Sink() = default;
  virtual void str(int code, std::string_view s) = 0;
  virtual void real(int code, double v) = 0;
  virtual void integer(int code, int64_t v) = 0;
  virtual void point(int code, const double* p, int dims) = 0;
  virtual void ref(int code, DxDbObjectId id) = 0;
  virtual void xtag(const XTag& t) = 0;
  // A symbol table record referred to by name.
  virtual void nameRef(int code, DxDbObjectId, std::string_view name) { str(code, name); }
  Ver version = Ver::R2018;
  bool entityList = false;  // entity lists show every group, the file omits defaults
  bool anglesInDegrees = true;  // of the field being emitted (see AngleUnit)
};

struct LoadContext;

using SetFn = void (*)(DxDbObject& o, const InTag& t, LoadContext& ctx);
using EmitFn = void (*)(const DxDbObject& o, Sink& out, int code);
using IsDefaultFn = bool (*)(const DxDbObject& o);

// Unit of the angle groups (50-58) in the file; entity lists carry every angle in
// radians. ByClass: the unit of the class (degrees unless the class says otherwise).
enum class AngleUnit : uint8_t { ByClass, Degrees, Radians };

// An angle of an entity list (radians) in degrees, as the file keeps it. A value written
// with a few decimals comes back exactly: a list that is given back unchanged changes
// nothing.
double listAngleToDegrees(double radians);

enum class Table : uint8_t { None, Layer, Linetype, Style, DimStyle, Block, AppId, Ucs, View, Vport };

struct FieldDef {
  int code = 0;              // first code; -1 takes every group no other field takes
  std::vector<int> more;     // further codes of a multi-group field (lists)
  const char* name = "";
  SetFn set = nullptr;
  EmitFn emit = nullptr;
  IsDefaultFn isDefault = nullptr;  // when it says true the file omits the field
  Ver minVer = Ver::R12;
  bool repeat = false;       // takes any number of groups (a list)
  bool rest = false;         // from its first group on, takes every group of its subclass
  AngleUnit angles = AngleUnit::ByClass;
};

struct SubclassDef {
  const char* marker = "";   // "" for groups before any subclass marker
  int16_t markerCode = 100;  // 101 for an embedded object
  // Other markers the same subclass goes by, and which one an object writes (by state).
  std::vector<std::string_view> alts;
  const char* (*markerFn)(const DxDbObject& o) = nullptr;
  bool matches(std::string_view m) const {
    if (m == marker) return true;
    for (auto a : alts)
      if (a == m) return true;
    return false;
  }
  Ver minVer = Ver::R14;     // markers appear from R13 on
  // A subclass whose fields belong to an object the object carries (an embedded
  // multiline text): the carried object, made on its marker when make is set, null when
  // there is none (then the subclass is not written). Such a subclass is written from
  // minVer on, and only its marker opens it.
  DxDbObject* (*part)(const DxDbObject& o, bool make) = nullptr;
  std::vector<FieldDef> fields;
  std::array<int16_t, 1072> byCode{};  // code -> field index + 1 (0: none)
  int16_t catchAll = -1;
  int16_t indexOf(int code) const {
    if (code >= 0 && code < 1072 && byCode[size_t(code)]) return int16_t(byCode[size_t(code)] - 1);
    return catchAll;
  }
};

struct ClassSchema {
  const char* dxfName = "";
  DxRxClass* cls = nullptr;
  std::vector<SubclassDef> subclasses;
  bool isEntity = false;
  int handleCode = 5;  // DIMSTYLE records use 105
  AngleUnit angles = AngleUnit::Degrees;  // of angle groups no field names otherwise
  bool inDegrees(const FieldDef* f) const {
    AngleUnit u = f && f->angles != AngleUnit::ByClass ? f->angles : angles;
    return u != AngleUnit::Radians;
  }
  // Class-specific finishing after all groups were applied (derived values).
  void (*afterLoad)(DxDbObject& o, LoadContext& ctx) = nullptr;
  void finalize();
};

// What the reader knows while applying groups: the database, how to resolve names.
struct LoadContext {
  DatabaseImpl* db = nullptr;
  Ver version = Ver::R2018;
  bool fromEntityList = false;
  bool firstHit = false;  // the field being set sees its first group of this object
  std::string error;
  DxDbObjectId resolveName(Table t, std::string_view name, bool create = true);

 private:
  // Names seen while loading, as written, per table: a drawing names a few dozen
  // layers a million times.
  struct NameHash {
    using is_transparent = void;
    size_t operator()(std::string_view s) const { return std::hash<std::string_view>()(s); }
  };
  std::unordered_map<std::string, DxDbObjectId, NameHash, std::equal_to<>> m_seen[10];
};

// The schema of a class (walking up to the nearest class that has one).
const ClassSchema* schemaOf(const DxRxClass* cls);
const ClassSchema* schemaOf(const DxDbObject& o);
// The class for a DXF name ("LINE", "LAYER", ...); null for names the host does not model.
DxRxClass* classForDxfName(std::string_view dxfName);
void ensureSchemas();

// Applies one object's groups (handle and owner already taken off) to it.
void applyTags(DxDbObject& o, const ClassSchema& sc, const std::vector<InTag>& tags,
               LoadContext& ctx, bool keepExtras = true);
// Emits every group of an object, from its type name to its extended data.
void emitObject(const DxDbObject& o, Sink& out, bool withXData = true);

// Grants the schema definitions and the database core access to class internals.
struct Access {
  // The schema lines of a class family (see family.h), which name class internals.
  template <class Family>
  struct Schemas;
  static Stub*& stub(DxDbObject& o) { return o.m_stub; }
  static Stub* stub(const DxDbObject& o) { return o.m_stub; }
  static DxDbObjectId& owner(DxDbObject& o) { return o.m_owner; }
  static DxDbObjectId& xdict(DxDbObject& o) { return o.m_xdict; }
  static std::unique_ptr<ObjectExtras>& extras(DxDbObject& o) { return o.m_extras; }
  static const ObjectExtras* extras(const DxDbObject& o) { return o.m_extras.get(); }
  static ObjectExtras& extrasMut(DxDbObject& o);
  static uint16_t& openCount(DxDbObject& o) { return o.m_openCount; }
  // Makes a copy free of any database: no id, owner, extension dictionary or open state.
  static void detach(DxDbObject& o) {
    o.m_stub = nullptr;
    o.m_owner = {};
    o.m_xdict = {};
    o.m_openCount = 0;
    o.m_openWrite = false;
  }
  static bool& openWrite(DxDbObject& o) { return o.m_openWrite; }

  template <class T>
  static T& self(DxDbObject& o) { return static_cast<T&>(o); }
  template <class T>
  static const T& self(const DxDbObject& o) { return static_cast<const T&>(o); }

  // Internals of containers.
  static std::vector<DxDbObjectId>& entities(DxDbBlockTableRecord& b) { return b.m_entities; }
  static DxDbObjectId& blockBegin(DxDbBlockTableRecord& b) { return b.m_blockBegin; }
  static DxDbObjectId& blockEnd(DxDbBlockTableRecord& b) { return b.m_blockEnd; }
  static DxDbObjectId& layout(DxDbBlockTableRecord& b) { return b.m_layout; }
  static int16_t& blockFlags(DxDbBlockTableRecord& b) { return b.m_blockFlags; }
  static std::vector<DxDbObjectId>& records(DxDbSymbolTable& t) { return t.m_records; }
  static std::map<std::string, DxDbObjectId>& index(DxDbSymbolTable& t) { return t.m_index; }
  static std::string& tableName(DxDbSymbolTable& t) { return t.m_tableName; }
  static DxRxClass*& recordClass(DxDbSymbolTable& t) { return t.m_recordClass; }
  static std::string& name(DxDbSymbolTableRecord& r) { return r.m_name; }
  static int16_t& flags(DxDbSymbolTableRecord& r) { return r.m_flags; }
  static bool& implicit(DxDbSymbolTableRecord& r) { return r.m_implicit; }
  static DxDbObjectIdArray& attribs(DxDbBlockReference& r) { return r.m_attribs; }
  static DxDbObjectId& seqend(DxDbBlockReference& r) { return r.m_seqend; }
  static DxDbObjectIdArray& vertices(DxDbPolylineHeavy& p) { return p.m_vertices; }
  static std::vector<std::shared_ptr<DxDbVertex>>& pendingVertices(DxDbPolylineHeavy& p) {
    return p.m_pendingVertices;
  }
  static std::vector<std::shared_ptr<DxDbAttribute>>& pendingAttribs(DxDbBlockReference& r) {
    return r.m_pendingAttribs;
  }
  static DxDbObjectId& seqend(DxDbPolylineHeavy& p) { return p.m_seqend; }
  static std::vector<std::pair<std::string, DxDbObjectId>>& items(DxDbDictionary& d) {
    return d.m_items;
  }
  static int16_t& hardOwner(DxDbDictionary& d) { return d.m_hardOwner; }
  static DxDbObjectIdArray& groupEntities(DxDbGroup& g) { return g.m_entities; }
  // Direct field access for the host's own bookkeeping (no open checks, no journal).
  static DxDbObjectId& layer(DxDbEntity& e) { return e.m_layer; }
  static DxDbObjectId& linetype(DxDbEntity& e) { return e.m_linetype; }
  static std::string& dimBlockName(DxDbDimension& d) { return d.m_blockName; }
  static std::string& layoutName(DxDbLayout& l) { return l.m_name; }
  static DxDbObjectId& layoutBlock(DxDbLayout& l) { return l.m_block; }
  static int16_t& tabOrder(DxDbLayout& l) { return l.m_tabOrder; }
  static std::string& unknownName(DxDbUnknownEntity& e) { return e.m_dxfName; }
  static std::string& unknownName(DxDbUnknownObject& e) { return e.m_dxfName; }
};

// The table of a TABLE name or record type ("LAYER", "BLOCK_RECORD", "BLOCK", ...).
Table tableFromName(std::string_view name);
// A new, empty symbol table of a kind, with its name and record class.
DxDbSymbolTable* makeTable(Table t);
// One kept group as a result buffer and back.
resbuf* resbufFromXTag(const XTag& t);
XTag xtagFromResbuf(const resbuf* rb);

// Case-insensitive upper-case key of a symbol name (ASCII letters only, as CAD does).
std::string upperKey(std::string_view s);

}  // namespace dx::db
