// The schema engine: applying groups to objects and emitting them again.
#include "host/db/schema.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <mutex>
#include <unordered_map>

#include "host/db/database_impl.h"

namespace dx::db {

static const char* const kAcad[] = {"AC1009", "AC1014", "AC1015", "AC1018",
                                    "AC1021", "AC1024", "AC1027", "AC1032"};

Ver verFromAcad(std::string_view v) {
  for (int i = 7; i >= 0; --i)
    if (v >= kAcad[i]) return Ver(i);
  return Ver::R12;
}
const char* acadFromVer(Ver v) { return kAcad[int(v)]; }

double listAngleToDegrees(double radians) {
  constexpr double kRadPerDeg = M_PI / 180.0;
  double deg = radians / kRadPerDeg;
  for (double scale : {1.0, 1e3, 1e6, 1e9}) {
    double near = std::round(deg * scale) / scale;
    if (near * kRadPerDeg == radians) return near;
  }
  return deg;
}

Ver verFromDwgVersion(DxDbDwgVersion v) {
  switch (v) {
    case DxDb::kDHL_1014: return Ver::R14;
    case DxDb::kDHL_1015: return Ver::R2000;
    case DxDb::kDHL_1018: return Ver::R2004;
    case DxDb::kDHL_1021: return Ver::R2007;
    case DxDb::kDHL_1024: return Ver::R2010;
    case DxDb::kDHL_1027: return Ver::R2013;
    default: return Ver::R2018;
  }
}

XTag XTag::from(const InTag& t) {
  XTag x;
  x.code = int16_t(t.code);
  x.kind = t.kind;
  x.dims = t.dims;
  x.isRef = t.isRef;
  if (t.dims) {
    std::copy(t.pt, t.pt + 3, x.v);
  } else if (t.kind == dxf::Kind::Double) {
    x.v[0] = t.real;
  } else {
    x.i = t.integer;
  }
  if (t.isRef) x.ref = t.id.stub();
  else x.s.assign(t.text.data(), t.text.size());
  return x;
}

InTag XTag::view() const {
  InTag t;
  t.code = code;
  t.kind = kind;
  t.dims = dims;
  t.isRef = isRef;
  if (dims) std::copy(v, v + 3, t.pt);
  t.real = v[0];
  t.integer = i;
  t.text = s;
  t.id = DxDbObjectId(ref);
  return t;
}

void ClassSchema::finalize() {
  for (auto& s : subclasses) {
    s.byCode.fill(0);
    s.catchAll = -1;
    for (size_t i = 0; i < s.fields.size(); ++i) {
      const FieldDef& f = s.fields[i];
      if (f.code < 0) {
        s.catchAll = int16_t(i);
        continue;
      }
      auto put = [&](int c) {
        if (c >= 0 && c < 1072 && !s.byCode[size_t(c)]) s.byCode[size_t(c)] = int16_t(i + 1);
      };
      put(f.code);
      for (int c : f.more) put(c);
    }
  }
}


const ClassSchema* schemaOf(const DxRxClass* cls) {
  for (const DxRxClass* c = cls; c; c = c->myParent())
    if (c->schema) return c->schema;
  return nullptr;
}

const ClassSchema* schemaOf(const DxDbObject& o) { return schemaOf(o.isA()); }

Table tableFromName(std::string_view n) {
  if (n == "LAYER") return Table::Layer;
  if (n == "LTYPE") return Table::Linetype;
  if (n == "STYLE") return Table::Style;
  if (n == "DIMSTYLE") return Table::DimStyle;
  if (n == "BLOCK_RECORD" || n == "BLOCK") return Table::Block;
  if (n == "APPID") return Table::AppId;
  if (n == "UCS") return Table::Ucs;
  if (n == "VIEW") return Table::View;
  if (n == "VPORT") return Table::Vport;
  return Table::None;
}

DxDbSymbolTable* makeTable(Table t) {
  DxDbSymbolTable* tab = nullptr;
  DxRxClass* rec = nullptr;
  const char* name = "";
  switch (t) {
    case Table::Layer: tab = new DxDbLayerTable(), rec = DxDbLayerTableRecord::desc(), name = "LAYER"; break;
    case Table::Linetype: tab = new DxDbLinetypeTable(), rec = DxDbLinetypeTableRecord::desc(), name = "LTYPE"; break;
    case Table::Style: tab = new DxDbTextStyleTable(), rec = DxDbTextStyleTableRecord::desc(), name = "STYLE"; break;
    case Table::DimStyle: tab = new DxDbDimStyleTable(), rec = DxDbDimStyleTableRecord::desc(), name = "DIMSTYLE"; break;
    case Table::Block: tab = new DxDbBlockTable(), rec = DxDbBlockTableRecord::desc(), name = "BLOCK_RECORD"; break;
    case Table::AppId: tab = new DxDbRegAppTable(), rec = DxDbRegAppTableRecord::desc(), name = "APPID"; break;
    case Table::Ucs: tab = new DxDbUCSTable(), rec = DxDbUCSTableRecord::desc(), name = "UCS"; break;
    case Table::View: tab = new DxDbViewTable(), rec = DxDbViewTableRecord::desc(), name = "VIEW"; break;
    case Table::Vport: tab = new DxDbViewportTable(), rec = DxDbViewportTableRecord::desc(), name = "VPORT"; break;
    default: return nullptr;
  }
  Access::tableName(*tab) = name;
  Access::recordClass(*tab) = rec;
  return tab;
}

resbuf* resbufFromXTag(const XTag& t) {
  resbuf* rb = dxutNewRb(t.code);
  switch (dxutGroupCodeType(t.code)) {
    case RTREAL: rb->resval.rreal = t.v[0]; break;
    case RTSHORT: rb->resval.rint = short(t.i); break;
    case RTLONG: rb->resval.rlong = int32_t(t.i); break;
    case RTINT64: rb->resval.rlong64 = t.i; break;
    case RT3DPOINT: std::copy(t.v, t.v + 3, rb->resval.rpoint); break;
    case RTENAME: dxdbIdToName(rb->resval.rlname, DxDbObjectId(t.ref)); break;
    default: {
      // Handles of extended data (1005) travel as their text.
      std::string text = t.isRef ? DxDbHandle(t.ref ? t.ref->handle : 0).str() : t.s;
      rb->resval.rstring = strdup(text.c_str());
      break;
    }
  }
  return rb;
}

XTag xtagFromResbuf(const resbuf* rb) {
  XTag t;
  t.code = rb->restype;
  t.kind = dxf::kindOf(rb->restype);
  switch (dxutGroupCodeType(rb->restype)) {
    case RTREAL: t.v[0] = rb->resval.rreal; break;
    case RTSHORT: t.i = rb->resval.rint; break;
    case RTLONG: t.i = rb->resval.rlong; break;
    case RTINT64: t.i = rb->resval.rlong64; break;
    case RT3DPOINT:
      std::copy(rb->resval.rpoint, rb->resval.rpoint + 3, t.v);
      t.dims = 3;
      break;
    case RTENAME: {
      DxDbObjectId id;
      dxdbGetObjectId(id, rb->resval.rlname);
      t.ref = id.stub();
      t.isRef = true;
      break;
    }
    default: t.s = rb->resval.rstring ? rb->resval.rstring : ""; break;
  }
  return t;
}

DxDbObjectId LoadContext::resolveName(Table t, std::string_view name, bool create) {
  if (name.empty() || !db) return {};
  auto& seen = m_seen[size_t(t)];
  if (auto it = seen.find(name); it != seen.end() && !it->second.isErased() && it->second.isValid())
    return it->second;
  DxDbObjectId id = db->recordId(t, name);
  if (!id.isNull()) seen.emplace(std::string(name), id);
  if (!id.isNull() || !create || !db->table(t)) return id;
  // A name the tables lack: a CAD host adds the record rather than lose the reference.
  DxDbSymbolTableRecord* rec = nullptr;
  switch (t) {
    case Table::Layer: rec = new DxDbLayerTableRecord(); break;
    case Table::Linetype: rec = new DxDbLinetypeTableRecord(); break;
    case Table::Style: rec = new DxDbTextStyleTableRecord(); break;
    case Table::DimStyle: rec = new DxDbDimStyleTableRecord(); break;
    case Table::Block: rec = new DxDbBlockTableRecord(); break;
    case Table::AppId: rec = new DxDbRegAppTableRecord(); break;
    default: return {};
  }
  Access::name(*rec).assign(name.data(), name.size());
  Access::implicit(*rec) = !fromEntityList;
  id = db->addRecord(t, rec);
  seen.emplace(std::string(name), id);
  return id;
}

// ---------------------------------------------------------------------------------------
// Applying groups

namespace {
struct RunBuilder {
  ObjectExtras* extras = nullptr;
  DxDbObject* obj = nullptr;
  void add(const InTag& t, int16_t sub, int16_t after) {
    if (!extras) extras = &Access::extrasMut(*obj);
    auto& runs = extras->runs;
    if (runs.empty() || runs.back().subclass != sub || runs.back().afterField != after)
      runs.push_back({sub, after, {}});
    runs.back().tags.push_back(XTag::from(t));
  }
};
}  // namespace

// Replaces the value of the n-th kept group of a code, keeping where it stands.
static void overwriteKept(DxDbObject& o, const InTag& t, int n) {
  auto& ex = Access::extras(o);
  if (!ex) return;
  for (ExtraRun& r : ex->runs)
    for (XTag& x : r.tags)
      if (x.code == t.code && n-- == 0) {
        XTag fresh = XTag::from(t);
        if (x.dims && !fresh.dims) fresh.dims = x.dims;
        if (x.dims == 2) fresh.dims = 2;
        x = std::move(fresh);
        return;
      }
}

namespace {

// Applies one object's groups in file order: each goes to the field that takes it or is
// kept where it stands.
class GroupApplier {
 public:
  GroupApplier(DxDbObject& o, const ClassSchema& sc, LoadContext& ctx, bool keepExtras)
      : m_o(o), m_sc(sc), m_subs(sc.subclasses), m_ctx(ctx), m_keepExtras(keepExtras) {
    // Filled flags per subclass and field; classes have a few dozen fields at most, so
    // the common case needs no allocation per object.
    size_t total = 0;
    m_small = m_subs.size() <= m_baseSmall.size();
    if (!m_small) m_baseBig.resize(m_subs.size());
    for (size_t i = 0; i < m_subs.size(); ++i) {
      if (m_small) m_baseSmall[i] = uint16_t(total);
      else m_baseBig[i] = total;
      total += m_subs[i].fields.size();
    }
    if (total > m_filledSmall.size()) m_filledBig.resize(total, 0);
    m_filled = total > m_filledSmall.size() ? m_filledBig.data() : m_filledSmall.data();
    m_cur = m_subs.empty() ? -1 : (m_subs[0].marker[0] == 0 ? 0 : -1);
  }

  void apply(const std::vector<InTag>& tags) {
    m_markers = std::any_of(tags.begin(), tags.end(), [](const InTag& t) { return t.code == 100; });
    for (size_t k = 0; k < tags.size(); ++k) {
      const InTag& t = tags[k];
      if (t.code >= 1000) {
        keepXData(tags, k);
        break;
      }
      if (t.code == 100 || t.code == 101) marker(t);
      else if (m_unknown) keepAtEnd(t);
      else if (m_restField >= 0) setRest(t);
      else group(t);
    }
    if (m_sc.afterLoad) m_sc.afterLoad(m_o, m_ctx);
  }

 private:
  void keepXData(const std::vector<InTag>& tags, size_t from) {
    if (!m_keepExtras) return;
    auto& xd = Access::extrasMut(m_o).xdata;
    xd.clear();
    for (size_t j = from; j < tags.size(); ++j) xd.push_back(XTag::from(tags[j]));
  }

  // A subclass marker: the next subclass of that name, or one the host does not model,
  // which is kept whole up to the next known marker.
  void marker(const InTag& t) {
    m_restField = -1;
    for (int j = m_cur + 1; j < int(m_subs.size()); ++j)
      if (m_subs[size_t(j)].markerCode == t.code && m_subs[size_t(j)].matches(t.text)) {
        m_cur = j;
        m_lastField = -1;
        m_unknown = false;
        if (m_subs[size_t(j)].part) m_subs[size_t(j)].part(m_o, true);
        return;
      }
    m_unknown = true;
    keepAtEnd(t);
  }

  void keepAtEnd(const InTag& t) {
    if (m_keepExtras)
      m_runs.add(inFileUnit(t, nullptr), int16_t(m_cur),
                 int16_t(m_cur >= 0 ? m_subs[size_t(m_cur)].fields.size() : 0));
  }

  void setRest(const InTag& t) {
    const FieldDef& f = m_subs[size_t(m_cur)].fields[size_t(m_restField)];
    m_ctx.firstHit = false;
    f.set(target(size_t(m_cur)), inFileUnit(t, &f), m_ctx);
  }

  // A group of the object's body.
  void group(const InTag& t) {
    int here = m_cur >= 0 ? m_subs[size_t(m_cur)].indexOf(t.code) : -1;
    if (here >= 0 && !m_subs[size_t(m_cur)].fields[size_t(here)].set) {
      // A group this subclass keeps as it is, in its place.
      m_lastField = int16_t(here);
      if (m_keepExtras)
        m_runs.add(inFileUnit(t, &m_subs[size_t(m_cur)].fields[size_t(here)]), int16_t(m_cur), m_lastField);
      return;
    }
    int si = m_cur, fi = -1;
    if (here >= 0 && (!filled(size_t(m_cur), here) || m_subs[size_t(m_cur)].fields[size_t(here)].repeat))
      fi = here;
    // In an entity list a group given twice changes the field twice: the last one holds.
    if (here >= 0 && fi < 0 && m_ctx.fromEntityList) fi = here;
    if (fi < 0 && here < 0) fieldElsewhere(t.code, si, fi);
    if (fi >= 0) set(si, fi, t);
    else keepInPlace(t);
  }

  // Without subclass markers (older files, entity lists) any subclass may take a group;
  // with them, an earlier one may (some writers put text groups of an attribute after
  // its attribute marker), unless the groups are an embedded object's.
  void fieldElsewhere(int code, int& si, int& fi) const {
    size_t limit = (!m_markers || m_cur < 0)          ? m_subs.size()
                   : m_subs[size_t(m_cur)].part ? 0 : size_t(m_cur);
    for (size_t j = 0; j < limit; ++j) {
      int f = m_subs[j].part ? -1 : m_subs[j].indexOf(code);
      if (f >= 0 && m_subs[j].fields[size_t(f)].set && (!filled(j, f) || m_subs[j].fields[size_t(f)].repeat)) {
        si = int(j);
        fi = f;
        return;
      }
    }
    if (!m_ctx.fromEntityList) return;
    for (size_t j = 0; j < limit && fi < 0; ++j) {
      int f = m_subs[j].part ? -1 : m_subs[j].indexOf(code);
      if (f >= 0 && m_subs[j].fields[size_t(f)].set) si = int(j), fi = f;
    }
  }

  void set(int si, int fi, const InTag& t) {
    const FieldDef& f = m_subs[size_t(si)].fields[size_t(fi)];
    uint8_t& done = m_filled[base(size_t(si)) + size_t(fi)];
    m_ctx.firstHit = !done;
    f.set(target(size_t(si)), inFileUnit(t, &f), m_ctx);
    done = 1;
    if (si == m_cur && f.code >= 0) m_lastField = int16_t(fi);
    if (si == m_cur && f.rest) m_restField = int16_t(fi);
  }

  // A group no field takes: kept after the field before it. In an entity list given
  // back, it replaces the kept group it stands for.
  void keepInPlace(const InTag& t) {
    if (!m_keepExtras && m_ctx.fromEntityList) {
      // The n-th group of a code replaces the n-th kept one (links and markers stay the
      // host's).
      if (t.code != 100 && t.code != 101 && t.code != 102 && t.code != 330 && t.code != 360 && t.code != 5)
        overwriteKept(m_o, inFileUnit(t, nullptr), m_overwritten[t.code]++);
      return;
    }
    // Before any subclass: application groups stay ahead of the owner, the rest after it.
    if (m_keepExtras)
      m_runs.add(inFileUnit(t, nullptr), int16_t(m_cur),
                 m_cur >= 0 ? m_lastField : int16_t(t.code == 102 && !m_bodySeen ? -1 : 0));
    if (m_cur < 0 && t.code != 102) m_bodySeen = true;
  }

  // Entity lists carry angles in radians; the object keeps the file's unit.
  const InTag& inFileUnit(const InTag& t, const FieldDef* f) {
    if (!m_ctx.fromEntityList || !dxf::isAngleCode(t.code) || t.dims || t.kind != dxf::Kind::Double ||
        !m_sc.inDegrees(f))
      return t;
    m_converted = t;
    m_converted.real = listAngleToDegrees(t.real);
    return m_converted;
  }

  // The object a subclass's fields belong to.
  DxDbObject& target(size_t si) { return m_subs[si].part ? *m_subs[si].part(m_o, true) : m_o; }
  size_t base(size_t i) const { return m_small ? size_t(m_baseSmall[i]) : m_baseBig[i]; }
  bool filled(size_t si, int fi) const { return m_filled[base(si) + size_t(fi)] != 0; }

  DxDbObject& m_o;
  const ClassSchema& m_sc;
  const std::vector<SubclassDef>& m_subs;
  LoadContext& m_ctx;
  const bool m_keepExtras;
  bool m_markers = false;
  bool m_small = true;
  std::array<uint16_t, 16> m_baseSmall{};
  std::vector<size_t> m_baseBig;
  std::array<uint8_t, 256> m_filledSmall{};
  std::vector<uint8_t> m_filledBig;
  uint8_t* m_filled = nullptr;
  RunBuilder m_runs{nullptr, &m_o};
  int m_cur = -1;
  int16_t m_lastField = -1;
  bool m_unknown = false;
  bool m_bodySeen = false;
  int16_t m_restField = -1;  // a field of the current subclass taking every further group
  std::unordered_map<int, int> m_overwritten;
  InTag m_converted;
};

}  // namespace

void applyTags(DxDbObject& o, const ClassSchema& sc, const std::vector<InTag>& tags,
               LoadContext& ctx, bool keepExtras) {
  GroupApplier(o, sc, ctx, keepExtras).apply(tags);
}

// ---------------------------------------------------------------------------------------
// Emitting groups

static void emitRuns(const ObjectExtras* ex, Sink& out, int sub, int after) {
  if (!ex) return;
  for (const ExtraRun& r : ex->runs)
    if (r.subclass == sub && r.afterField == after)
      for (const XTag& t : r.tags) out.xtag(t);
}

void emitObject(const DxDbObject& o, Sink& out, bool withXData) {
  const ClassSchema* sc = schemaOf(o);
  if (!sc) return;
  out.anglesInDegrees = sc->inDegrees(nullptr);
  const ObjectExtras* ex = Access::extras(o);
  Stub* st = Access::stub(o);
  if (auto* u = DxRxObject::cast<DxDbUnknownEntity>(&o))
    out.str(0, u->dxfName());
  else if (auto* uo = DxRxObject::cast<DxDbUnknownObject>(&o))
    out.str(0, uo->dxfName());
  else
    out.str(0, sc->dxfName);
  if (auto* tab = DxRxObject::cast<DxDbSymbolTable>(&o)) out.str(2, tab->tableName());
  if (st) out.str(sc->handleCode, DxDbHandle(st->handle).str());
  if (ex && !ex->reactors.empty()) {
    out.str(102, "{ACAD_REACTORS");
    for (const DxDbObjectId& r : ex->reactors) out.ref(330, r);
    out.str(102, "}");
  }
  const DxDbObjectId& xd = Access::xdict(const_cast<DxDbObject&>(o));
  if (!xd.isNull() && !xd.isErased()) {
    out.str(102, "{ACAD_XDICTIONARY");
    out.ref(360, xd);
    out.str(102, "}");
  }
  emitRuns(ex, out, -1, -1);
  out.ref(330, o.ownerId());
  emitRuns(ex, out, -1, 0);
  for (size_t si = 0; si < sc->subclasses.size(); ++si) {
    const SubclassDef& s = sc->subclasses[si];
    const DxDbObject* of = &o;
    if (s.part && (out.version < s.minVer || !(of = s.part(o, false)))) continue;
    if (s.marker[0] && out.version >= s.minVer)
      out.str(s.markerCode, s.markerFn ? s.markerFn(*of) : s.marker);
    emitRuns(ex, out, int(si), -1);
    for (size_t fi = 0; fi < s.fields.size(); ++fi) {
      const FieldDef& f = s.fields[fi];
      if (out.version >= f.minVer && f.emit && !(f.isDefault && f.isDefault(*of))) {
        out.anglesInDegrees = sc->inDegrees(&f);
        f.emit(*of, out, f.code);
        out.anglesInDegrees = sc->inDegrees(nullptr);
      }
      emitRuns(ex, out, int(si), int(fi));
    }
    emitRuns(ex, out, int(si), int(s.fields.size()));
  }
  if (withXData && ex)
    for (const XTag& t : ex->xdata) out.xtag(t);
}

}  // namespace dx::db
