// Entity lists: the group-code view of objects (get, make, modify, delete, walk).
#include <algorithm>
#include <cmath>
#include <cctype>
#include <cstring>
#include <unordered_map>

#include "host/base/case.h"
#include "host/db/database_impl.h"

using namespace dx::db;

namespace {

DatabaseImpl* workingDb() {
  DxDbDatabase* db = dxdbHostApplicationServices()->workingDatabase();
  return db ? db->impl() : nullptr;
}

char* dup(std::string_view s) {
  char* d = static_cast<char*>(std::malloc(s.size() + 1));
  std::memcpy(d, s.data(), s.size());
  d[s.size()] = 0;
  return d;
}

constexpr double kRadPerDeg = M_PI / 180.0;

class ListSink : public Sink {
 public:
  ListSink() { entityList = true; }
  resbuf* head = nullptr;
  resbuf* tail = nullptr;
  void push(resbuf* rb) {
    (tail ? tail->rbnext : head) = rb;
    tail = rb;
  }
  void str(int code, std::string_view s) override {
    resbuf* rb = dxutNewRb(code);
    rb->resval.rstring = dup(s);
    push(rb);
  }
  void real(int code, double v) override {
    resbuf* rb = dxutNewRb(code);
    // Lists carry angles in radians, whatever the file's unit.
    rb->resval.rreal = (anglesInDegrees && dx::dxf::isAngleCode(code)) ? v * kRadPerDeg : v;
    push(rb);
  }
  void integer(int code, int64_t v) override {
    resbuf* rb = dxutNewRb(code);
    switch (dxutGroupCodeType(code)) {
      case RTSHORT: rb->resval.rint = short(v); break;
      case RTLONG: rb->resval.rlong = int32_t(v); break;
      case RTINT64: rb->resval.rlong64 = v; break;
      case RTREAL: rb->resval.rreal = double(v); break;
      default: rb->resval.rlong64 = v; break;
    }
    push(rb);
  }
  void point(int code, const double* p, int dims) override {
    resbuf* rb = dxutNewRb(code);
    rb->resval.rpoint[0] = p[0];
    rb->resval.rpoint[1] = p[1];
    rb->resval.rpoint[2] = dims == 3 ? p[2] : 0.0;
    push(rb);
  }
  void ref(int code, DxDbObjectId id) override {
    resbuf* rb = dxutNewRb(code);
    dxdbIdToName(rb->resval.rlname, id);
    push(rb);
  }
  void xtag(const XTag& t) override {
    if (t.isRef) return ref(t.code, DxDbObjectId(t.ref));
    if (t.dims) return point(t.code, t.v, t.dims);
    switch (t.kind) {
      case dx::dxf::Kind::Double: return real(t.code, t.v[0]);
      case dx::dxf::Kind::Int16:
      case dx::dxf::Kind::Int32:
      case dx::dxf::Kind::Int64:
      case dx::dxf::Kind::Bool: return integer(t.code, t.i);
      default: return str(t.code, t.s);
    }
  }
};

// A chain as the groups the schema engine takes.
struct ListTags {
  std::vector<InTag> tags;
  std::vector<std::string> strings;
  std::string type;
  DxDbObjectId ename;
  bool hasXData = false;

  explicit ListTags(const resbuf* list) {
    size_t n = 0;
    for (const resbuf* rb = list; rb; rb = rb->rbnext) ++n;
    strings.reserve(n);
    bool inXData = false;
    for (const resbuf* rb = list; rb; rb = rb->rbnext) {
      int code = rb->restype;
      if (code == -1) {
        dxdbGetObjectId(ename, rb->resval.rlname);
        continue;
      }
      if (code == -3) {
        inXData = hasXData = true;
        continue;
      }
      if (code == 0) {
        type = rb->resval.rstring ? rb->resval.rstring : "";
        continue;
      }
      if (code < 0 || code == 5 || code == 105) continue;
      if (!inXData && code == 330 && tags.empty()) continue;  // the owner is the host's to set
      InTag t;
      t.code = code;
      t.kind = dx::dxf::kindOf(code);
      switch (dxutGroupCodeType(code)) {
        case RTREAL: t.real = rb->resval.rreal; break;
        case RTSHORT: t.integer = rb->resval.rint; break;
        case RTLONG: t.integer = rb->resval.rlong; break;
        case RTINT64: t.integer = rb->resval.rlong64; break;
        case RT3DPOINT:
        case RTPOINT:
          t.dims = 3;
          std::copy(rb->resval.rpoint, rb->resval.rpoint + 3, t.pt);
          t.real = t.pt[0];
          break;
        case RTENAME:
          t.isRef = true;
          dxdbGetObjectId(t.id, rb->resval.rlname);
          break;
        default:
          strings.emplace_back(rb->resval.rstring ? rb->resval.rstring : "");
          t.text = strings.back();
          break;
      }
      tags.push_back(t);
    }
  }
};


DxRxClass* classForList(const ListTags& lt) {
  if (lt.type == "DIMENSION") {
    for (const InTag& t : lt.tags)
      if (t.code == 100 && t.text == "AcDbRotatedDimension") return DxDbRotatedDimension::desc();
    for (const InTag& t : lt.tags)
      if (t.code == 100 && t.text == "AcDbAlignedDimension") return DxDbAlignedDimension::desc();
    for (const InTag& t : lt.tags)
      if (t.code == 70) return (t.integer & 7) == 1 ? DxDbAlignedDimension::desc() : DxDbRotatedDimension::desc();
    return DxDbRotatedDimension::desc();
  }
  return classForDxfName(lt.type);
}

void setXData(DxDbObject& o, const ListTags& lt) {
  auto& xd = Access::extrasMut(o).xdata;
  xd.clear();
  bool in = false;
  for (const InTag& t : lt.tags) {
    if (t.code == 1001) in = true;
    if (in && t.code >= 1000) xd.push_back(XTag::from(t));
  }
}

std::vector<InTag> withoutXData(const ListTags& lt) {
  std::vector<InTag> v;
  for (const InTag& t : lt.tags)
    if (t.code < 1000) v.push_back(t);
  return v;
}

// Application names of extended data: "*" takes all, otherwise a case-insensitive name
// with '*' wildcards.
bool appMatches(const char* name, const char* pat) {
  if (!*pat) return !*name;
  if (*pat == '*') return appMatches(name, pat + 1) || (*name && appMatches(name + 1, pat));
  return *name && dx::base::upperAscii(*name) == dx::base::upperAscii(*pat) &&
         appMatches(name + 1, pat + 1);
}

// Position cache of the entity walk, so that walking a space is linear.
struct WalkHint {
  const void* btr = nullptr;
  size_t index = 0;
};
WalkHint g_hint;

}  // namespace

resbuf* dxdbEntGet(const dx_name ent, const resbuf* apps) {
  DxDbObjectId id;
  if (dxdbGetObjectId(id, ent) != Dxad::eOk) return nullptr;
  DxDbObject* o = objectOf(id);
  if (!o || id.isErased()) return nullptr;
  ListSink sink;
  resbuf* first = dxutNewRb(-1);
  dxdbIdToName(first->resval.rlname, id);
  sink.push(first);
  emitObject(*o, sink, false);
  if (apps) {
    const ObjectExtras* ex = Access::extras(static_cast<const DxDbObject&>(*o));
    if (ex && !ex->xdata.empty()) {
      sink.push(dxutNewRb(-3));
      bool take = false;
      for (const XTag& t : ex->xdata) {
        if (t.code == 1001) {
          take = false;
          for (const resbuf* a = apps; a; a = a->rbnext)
            if (a->resval.rstring && appMatches(t.s.c_str(), a->resval.rstring)) take = true;
        }
        if (take) sink.xtag(t);
      }
      if (sink.tail->restype == -3) {
        // No application matched: no -3 group.
        resbuf* r = sink.head;
        while (r->rbnext != sink.tail) r = r->rbnext;
        dxutRelRb(sink.tail);
        r->rbnext = nullptr;
        sink.tail = r;
      }
    }
  }
  return sink.head;
}

int dxdbEntMake(const resbuf* list) {
  DatabaseImpl* db = workingDb();
  if (!db || !list) return RTERROR;
  ListTags lt(list);
  if (lt.type.empty()) return RTERROR;
  DxRxClass* cls = classForList(lt);
  const ClassSchema* sc = cls ? schemaOf(cls) : nullptr;
  if (!sc) return RTERROR;
  Table table = sc->isEntity ? Table::None : tableFromName(lt.type);
  if (!sc->isEntity && table == Table::None) return RTERROR;
  auto* o = static_cast<DxDbObject*>(cls->create());
  if (!o) return RTERROR;
  LoadContext ctx;
  ctx.db = db;
  ctx.fromEntityList = true;
  applyTags(*o, *sc, withoutXData(lt), ctx, false);
  if (lt.hasXData) setXData(*o, lt);
  // Hands the new object to its container, or drops it when that fails.
  auto addTo = [&](DxDbObjectId containerId, auto add) {
    DxDbObject* container = nullptr;
    if (dxdbOpenObject(container, containerId, DxDb::kForWrite) != Dxad::eOk) {
      delete o;
      return RTERROR;
    }
    Dxad::ErrorStatus es = add(container);
    container->close();
    if (es != Dxad::eOk) {
      delete o;
      return RTERROR;
    }
    o->close();
    return RTNORM;
  };
  if (table != Table::None) {
    auto* rec = static_cast<DxDbSymbolTableRecord*>(o);
    if (rec->getName().empty()) {
      delete o;
      return RTERROR;
    }
    return addTo(db->tables[size_t(table)], [&](DxDbObject* tab) {
      DxDbObjectId id;
      return static_cast<DxDbSymbolTable*>(tab)->add(id, rec);
    });
  }
  auto* ent = static_cast<DxDbEntity*>(o);
  // Required geometry: an entity list without its defining points is refused.
  bool hasPoint = false;
  for (const InTag& t : lt.tags) hasPoint |= t.dims != 0;
  if (!hasPoint && !DxRxObject::cast<DxDbSequenceEnd>(ent)) {
    delete o;
    return RTERROR;
  }
  if (ent->layerId().isNull()) Access::self<DxDbEntity>(*ent).setLayer(db->owner()->clayer());
  return addTo(db->currentSpace, [&](DxDbObject* space) {
    DxDbObjectId id;
    auto* btr = DxRxObject::cast<DxDbBlockTableRecord>(space);
    return btr ? btr->appendDxDbEntity(id, ent) : Dxad::eNotThatKindOfClass;
  });
}

int dxdbEntMod(const resbuf* list) {
  if (!list) return RTERROR;
  ListTags lt(list);
  DxDbObject* o = nullptr;
  if (dxdbOpenObject(o, lt.ename, DxDb::kForWrite) != Dxad::eOk) return RTERROR;
  const ClassSchema* sc = schemaOf(*o);
  if (!sc) {
    o->close();
    return RTERROR;
  }
  LoadContext ctx;
  ctx.db = Access::stub(*o)->db;
  ctx.fromEntityList = true;
  // A changed layer must exist; a CAD host refuses the list otherwise.
  for (const InTag& t : lt.tags)
    if (t.code == 8 && sc->isEntity && ctx.db->recordId(Table::Layer, t.text).isNull() && t.text.empty()) {
      o->close();
      return RTERROR;
    }
  applyTags(*o, *sc, withoutXData(lt), ctx, false);
  if (lt.hasXData) setXData(*o, lt);
  o->close();
  return RTNORM;
}

int dxdbEntDel(const dx_name ent) {
  DxDbObjectId id;
  if (dxdbGetObjectId(id, ent) != Dxad::eOk) return RTERROR;
  DxDbObject* o = nullptr;
  if (dxdbOpenObject(o, id, DxDb::kForWrite, true) != Dxad::eOk) return RTERROR;
  if (!DxRxObject::cast<DxDbEntity>(o)) {
    o->close();
    return RTERROR;
  }
  Dxad::ErrorStatus es = o->erase(!o->isErased());
  o->close();
  return es == Dxad::eOk ? RTNORM : RTERROR;
}

int dxdbEntLast(dx_name result) {
  DatabaseImpl* db = workingDb();
  if (!db) return RTERROR;
  auto* btr = DxRxObject::cast<DxDbBlockTableRecord>(objectOf(db->currentSpace));
  if (!btr) return RTERROR;
  auto& ents = Access::entities(*btr);
  for (size_t i = ents.size(); i-- > 0;)
    if (!ents[i].isErased() && ents[i].isValid()) {
      dxdbIdToName(result, ents[i]);
      g_hint = {btr, i};
      return RTNORM;
    }
  return RTERROR;
}

int dxdbEntNext(const dx_name ent, dx_name result) {
  DatabaseImpl* db = workingDb();
  if (!db) return RTERROR;
  auto* btr = DxRxObject::cast<DxDbBlockTableRecord>(objectOf(db->currentSpace));
  if (!btr) return RTERROR;
  auto& ents = Access::entities(*btr);
  size_t start = 0;
  DxDbObjectId id;
  if (ent && (ent[0] || ent[1])) {
    dxdbGetObjectId(id, ent);
    DxDbObject* o = objectOf(id);
    if (!o) return RTERROR;
    // Sub-entities: the next attribute or vertex, then the end marker, then on.
    if (auto* parent = objectOf(o->ownerId()); parent && !DxRxObject::cast<DxDbBlockTableRecord>(parent)) {
      const DxDbObjectIdArray* subs = nullptr;
      DxDbObjectId end;
      if (auto* ins = DxRxObject::cast<DxDbBlockReference>(parent)) {
        subs = &Access::attribs(*ins);
        end = Access::seqend(*ins);
      } else if (auto* pl = DxRxObject::cast<DxDbPolylineHeavy>(parent)) {
        subs = &Access::vertices(*pl);
        end = Access::seqend(*pl);
      }
      if (subs && id != end) {
        auto it = std::find(subs->begin(), subs->end(), id);
        for (++it; it != subs->end() && it <= subs->end(); ++it)
          if (!it->isErased()) {
            dxdbIdToName(result, *it);
            return RTNORM;
          }
        if (!end.isNull()) {
          dxdbIdToName(result, end);
          return RTNORM;
        }
      }
      id = parent->objectId();
    } else if (auto* ins = DxRxObject::cast<DxDbBlockReference>(o)) {
      for (const auto& a : Access::attribs(*ins))
        if (!a.isErased()) {
          dxdbIdToName(result, a);
          return RTNORM;
        }
    } else if (auto* pl = DxRxObject::cast<DxDbPolylineHeavy>(o)) {
      for (const auto& v : Access::vertices(*pl))
        if (!v.isErased()) {
          dxdbIdToName(result, v);
          return RTNORM;
        }
    }
    size_t pos = ents.size();
    if (g_hint.btr == btr && g_hint.index < ents.size() && ents[g_hint.index] == id) pos = g_hint.index;
    else
      for (size_t i = 0; i < ents.size(); ++i)
        if (ents[i] == id) {
          pos = i;
          break;
        }
    if (pos == ents.size()) return RTERROR;
    start = pos + 1;
  }
  for (size_t i = start; i < ents.size(); ++i)
    if (!ents[i].isErased() && ents[i].isValid()) {
      dxdbIdToName(result, ents[i]);
      g_hint = {btr, i};
      return RTNORM;
    }
  return RTERROR;
}

namespace {
// The table entry of a block: its BLOCK entity's type and own groups (without the name
// the file repeats, and the external-reference path only when there is one), then the
// block's first entity.
class BlockEntrySink : public ListSink {
 public:
  void str(int code, std::string_view s) override {
    if (code == 100) own = s == ownMarker;
    else if (code == 0 || (own && code != 3 && !(code == 1 && s.empty()))) ListSink::str(code, s);
  }
  void real(int code, double v) override {
    if (own) ListSink::real(code, v);
  }
  void integer(int code, int64_t v) override {
    if (own) ListSink::integer(code, v);
  }
  void point(int code, const double* p, int dims) override {
    if (own) ListSink::point(code, p, dims);
  }
  void ref(int code, DxDbObjectId id) override {
    if (own) ListSink::ref(code, id);
  }
  void xtag(const XTag& t) override {
    if (own) ListSink::xtag(t);
  }
  std::string_view ownMarker;

 private:
  bool own = false;
};

resbuf* recordList(DxDbObjectId id, Table t) {
  DxDbObject* o = objectOf(id);
  if (!o) return nullptr;
  auto start = [](ListSink& sink, DxDbObjectId ename) {
    resbuf* first = dxutNewRb(-1);
    dxdbIdToName(first->resval.rlname, ename);
    sink.push(first);
  };
  if (t != Table::Block) {
    ListSink sink;
    start(sink, id);
    emitObject(*o, sink, false);
    return sink.head;
  }
  auto* b = static_cast<DxDbBlockTableRecord*>(o);
  DxDbObject* begin = objectOf(Access::blockBegin(*b));
  if (!begin) return nullptr;
  BlockEntrySink sink;
  sink.ownMarker = schemaOf(*begin)->subclasses.back().marker;
  start(sink, begin->objectId());
  emitObject(*begin, sink, false);
  auto ids = b->entityIds();
  if (!ids.empty()) sink.ListSink::ref(-2, ids.front());
  return sink.head;
}

std::unordered_map<int, size_t> g_tblCursor;
}  // namespace

resbuf* dxdbTblSearch(const char* table, const char* sym, int setnext) {
  DatabaseImpl* db = workingDb();
  if (!db || !table || !sym) return nullptr;
  Table t = tableFromName(upperKey(table));
  if (t == Table::None) return nullptr;
  DxDbObjectId id = db->recordId(t, sym);
  if (id.isNull()) return nullptr;
  if (setnext) {
    auto& recs = Access::records(*db->table(t));
    for (size_t i = 0; i < recs.size(); ++i)
      if (recs[i] == id) g_tblCursor[int(t)] = i + 1;
  }
  return recordList(id, t);
}

resbuf* dxdbTblNext(const char* table, int rewind) {
  DatabaseImpl* db = workingDb();
  if (!db || !table) return nullptr;
  Table t = tableFromName(upperKey(table));
  if (t == Table::None) return nullptr;
  size_t& cur = g_tblCursor[int(t)];
  if (rewind) cur = 0;
  auto& recs = Access::records(*db->table(t));
  while (cur < recs.size()) {
    DxDbObjectId id = recs[cur++];
    if (!id.isErased() && id.isValid()) return recordList(id, t);
  }
  return nullptr;
}

int dxdbTblObjName(const char* table, const char* sym, dx_name result) {
  DatabaseImpl* db = workingDb();
  if (!db || !table || !sym) return RTERROR;
  Table t = tableFromName(upperKey(table));
  if (t == Table::None) return RTERROR;
  DxDbObjectId id = db->recordId(t, sym);
  if (id.isNull()) return RTERROR;
  dxdbIdToName(result, id);
  return RTNORM;
}

int dxdbHandEnt(const char* handle, dx_name result) {
  DatabaseImpl* db = workingDb();
  if (!db || !handle) return RTERROR;
  Stub* s = db->findStub(DxDbHandle(handle).value());
  if (!s || !s->obj || s->erased) return RTERROR;
  dxdbIdToName(result, DxDbObjectId(s));
  return RTNORM;
}

namespace {
int applyToPointOrVector(const DxGeMatrix3d& m, const double* p, double* q, bool isVector) {
  if (isVector) {
    DxGeVector3d v = m * DxGeVector3d(p[0], p[1], p[2]);
    q[0] = v.x, q[1] = v.y, q[2] = v.z;
  } else {
    DxGePoint3d v = m * DxGePoint3d(p[0], p[1], p[2]);
    q[0] = v.x, q[1] = v.y, q[2] = v.z;
  }
  return RTNORM;
}
}  // namespace

int dxdbWcs2Ecs(const double* p, double* q, const double* norm, bool isVector) {
  return applyToPointOrVector(DxGeMatrix3d::worldToPlane(DxGeVector3d(norm[0], norm[1], norm[2])), p, q, isVector);
}

int dxdbEcs2Wcs(const double* p, double* q, const double* norm, bool isVector) {
  return applyToPointOrVector(DxGeMatrix3d::planeToWorld(DxGeVector3d(norm[0], norm[1], norm[2])), p, q, isVector);
}
