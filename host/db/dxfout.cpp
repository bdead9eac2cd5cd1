// Writing a database as DXF.
#include "host/db/database_impl.h"

namespace dx::db {
namespace {

class DxfSink : public Sink {
 public:
  explicit DxfSink(dxf::TagWriter& w) : m_w(w) {}
  void str(int code, std::string_view s) override { m_w.str(code, s); }
  void real(int code, double v) override { m_w.real(code, v); }
  void integer(int code, int64_t v) override { m_w.integer(code, v); }
  void point(int code, const double* p, int dims) override {
    if (dims == 2) m_w.point2(code, p[0], p[1]);
    else m_w.point(code, p[0], p[1], p[2]);
  }
  // A reference to nothing (a damaged file, an erased object) is written cleared.
  void ref(int code, DxDbObjectId id) override { m_w.handle(code, liveHandle(id.stub())); }
  static uint64_t liveHandle(const Stub* s) { return s && s->obj && !s->erased ? s->handle : 0; }
  void xtag(const XTag& t) override {
    if (t.isRef) {
      m_w.handle(t.code, liveHandle(t.ref));
      return;
    }
    if (t.dims) {
      point(t.code, t.v, t.dims);
      return;
    }
    switch (t.kind) {
      case dxf::Kind::Double: m_w.real(t.code, t.v[0]); break;
      case dxf::Kind::Int16:
      case dxf::Kind::Int32:
      case dxf::Kind::Int64:
      case dxf::Kind::Bool: m_w.integer(t.code, t.i); break;
      default: m_w.str(t.code, t.s); break;
    }
  }

 private:
  dxf::TagWriter& m_w;
};

const Table kTableOrder[] = {Table::Vport, Table::Linetype, Table::Layer, Table::Style, Table::View,
                             Table::Ucs,   Table::AppId,    Table::DimStyle, Table::Block};

// Classes a reader only knows from the CLASSES section. A drawing that holds one of them
// but was read without its record (or made here) gets the record on writing.
struct ClassRecord {
  DxRxClass* (*desc)();
  const char* dxfName;
  const char* cppName;
  const char* appName;
  int proxyFlags;
  bool isEntity;
};
const ClassRecord kClassRecords[] = {
    {DxDbRasterImage::desc, "IMAGE", "AcDbRasterImage", "ISM", 127, true},
    {DxDbRasterImageDef::desc, "IMAGEDEF", "AcDbRasterImageDef", "ISM", 0, false},
    {DxDbRasterImageDefReactor::desc, "IMAGEDEF_REACTOR", "AcDbRasterImageDefReactor", "ISM", 1, false},
    {DxDbRasterVariables::desc, "RASTERVARIABLES", "AcDbRasterVariables", "ISM", 0, false},
    {DxDbWipeout::desc, "WIPEOUT", "AcDbWipeout", "WipeOut", 127, true},
    {DxDbWipeoutVariables::desc, "WIPEOUTVARIABLES", "AcDbWipeoutVariables", "WipeOut", 0, false},
    {DxDbSortentsTable::desc, "SORTENTSTABLE", "AcDbSortentsTable", "ObjectDBX Classes", 0, false},
    {DxDbSpatialFilter::desc, "SPATIAL_FILTER", "AcDbSpatialFilter", "ObjectDBX Classes", 0, false},
};

class Writer {
 public:
  Writer(const DatabaseImpl& db, Ver v, dxf::TagWriter& w) : m_db(db), m_w(w), m_sink(w) {
    m_sink.version = v;
  }

  std::vector<const ClassRecord*> missingClassRecords() const {
    std::vector<const ClassRecord*> out;
    if (m_sink.version == Ver::R12) return out;
    std::vector<bool> used(std::size(kClassRecords), false);
    m_db.forEachStub([&](const Stub& st) {
      if (!st.obj || st.erased) return;
      const DxRxClass* cls = st.obj->isA();
      for (size_t i = 0; i < used.size(); ++i)
        if (cls == kClassRecords[i].desc()) used[i] = true;
    });
    for (size_t i = 0; i < used.size(); ++i) {
      if (!used[i]) continue;
      bool present = false;
      for (const auto& c : m_db.classes)
        for (const XTag& t : c)
          if (t.code == 1 && t.s == kClassRecords[i].dxfName) present = true;
      if (!present) out.push_back(&kClassRecords[i]);
    }
    return out;
  }

  void run() {
    header();
    std::vector<const ClassRecord*> added = missingClassRecords();
    if (!m_db.classes.empty() || !added.empty()) {
      section("CLASSES");
      for (const auto& c : m_db.classes) {
        m_w.str(0, "CLASS");
        for (const XTag& t : c) m_sink.xtag(t);
      }
      for (const ClassRecord* c : added) {
        m_w.str(0, "CLASS");
        m_w.str(1, c->dxfName);
        m_w.str(2, c->cppName);
        m_w.str(3, c->appName);
        m_w.integer(90, c->proxyFlags);
        if (m_sink.version >= Ver::R2004) m_w.integer(91, 0);
        m_w.integer(280, 0);
        m_w.integer(281, c->isEntity ? 1 : 0);
      }
      endsec();
    }
    section("TABLES");
    for (Table t : kTableOrder) table(t);
    endsec();
    section("BLOCKS");
    blocks();
    endsec();
    section("ENTITIES");
    entitiesOf(m_db.modelSpace);
    entitiesOf(m_db.paperSpace);
    endsec();
    section("OBJECTS");
    if (DxDbObject* root = liveObjectOf(m_db.rootDict)) emitObject(*root, m_sink);
    for (const DxDbObjectId& id : m_db.objectsOrder)
      if (id != m_db.rootDict)
        if (DxDbObject* o = liveObjectOf(id)) emitObject(*o, m_sink);
    endsec();
    for (const auto& sec : m_db.trailingSections) {
      m_w.str(0, "SECTION");
      for (const XTag& t : sec) m_sink.xtag(t);
      endsec();
    }
    m_w.str(0, "EOF");
  }

 private:
  void section(const char* name) {
    m_w.str(0, "SECTION");
    m_w.str(2, name);
  }
  void endsec() { m_w.str(0, "ENDSEC"); }

  void header() {
    section("HEADER");
    m_w.str(9, "$ACADVER");
    m_w.str(1, acadFromVer(m_sink.version));
    bool wroteSeed = false, wroteCp = false;
    for (const HeaderVar& v : m_db.header) {
      if (v.name == "$ACADVER") continue;
      m_w.str(9, v.name);
      if (v.name == "$HANDSEED") {
        m_w.handle(5, seed());
        wroteSeed = true;
        continue;
      }
      if (v.name == "$DWGCODEPAGE") {
        m_w.str(3, "ANSI_1252");
        wroteCp = true;
        continue;
      }
      for (const XTag& t : v.tags) {
        XTag c = t;
        c.isRef = false;
        m_sink.xtag(c);
      }
    }
    if (!wroteCp) {
      m_w.str(9, "$DWGCODEPAGE");
      m_w.str(3, "ANSI_1252");
    }
    if (!wroteSeed) {
      m_w.str(9, "$HANDSEED");
      m_w.handle(5, seed());
    }
    endsec();
  }

  // Above every handle written and never below the seed the file came with; records
  // the host made for its own use do not move it.
  uint64_t seed() const {
    uint64_t top = m_db.fileHandseed;
    m_db.forEachStub([&](Stub& s) {
      if (!s.obj || s.erased || s.handle < top) return;
      if (auto* r = DxRxObject::cast<DxDbSymbolTableRecord>(s.obj); r && Access::implicit(*r)) return;
      top = s.handle == UINT64_MAX ? s.handle : s.handle + 1;
    });
    return top;
  }

  void table(Table t) {
    const DxDbSymbolTable* tab = m_db.table(t);
    if (!tab) return;
    emitObject(*tab, m_sink);
    for (const DxDbObjectId& id : Access::records(const_cast<DxDbSymbolTable&>(*tab)))
      if (DxDbObject* r = liveObjectOf(id))
        if (!Access::implicit(static_cast<DxDbSymbolTableRecord&>(*r)) && !rebuiltOnLoad(*r))
          emitObject(*r, m_sink);
    m_w.str(0, "ENDTAB");
  }

  // Anonymous blocks of an external reference (dimension pictures) are made afresh each
  // time it loads; nothing written refers to them.
  static bool rebuiltOnLoad(const DxDbObject& o) {
    auto* b = DxRxObject::cast<DxDbBlockTableRecord>(&o);
    return b && (b->blockFlags() & 17) == 17;
  }

  void entity(const DxDbObject& e) {
    emitObject(e, m_sink);
    if (auto* ins = DxRxObject::cast<DxDbBlockReference>(&e)) {
      auto& b = const_cast<DxDbBlockReference&>(*ins);
      if (Access::attribs(b).empty()) return;
      for (const auto& id : Access::attribs(b))
        if (DxDbObject* a = liveObjectOf(id)) emitObject(*a, m_sink);
      seqend(Access::seqend(b), e);
    } else if (auto* pl = DxRxObject::cast<DxDbPolylineHeavy>(&e)) {
      auto& p = const_cast<DxDbPolylineHeavy&>(*pl);
      for (const auto& id : Access::vertices(p))
        if (DxDbObject* v = liveObjectOf(id)) emitObject(*v, m_sink);
      seqend(Access::seqend(p), e);
    }
  }

  void seqend(DxDbObjectId id, const DxDbObject& parent) {
    if (DxDbObject* s = liveObjectOf(id)) {
      emitObject(*s, m_sink);
      return;
    }
    // The end marker was erased: readers need one, so a fresh one owned by the parent
    // is written (it gets its handle when the file is read again).
    DxDbSequenceEnd end;
    Access::owner(end) = parent.objectId();
    Access::layer(end) = m_db.layerZero;
    emitObject(end, m_sink);
  }

  void entitiesOf(DxDbObjectId btrId) {
    auto* btr = DxRxObject::cast<DxDbBlockTableRecord>(liveObjectOf(btrId));
    if (!btr) return;
    for (const DxDbObjectId& id : Access::entities(*btr))
      if (DxDbObject* e = liveObjectOf(id)) entity(*e);
  }

  void blocks() {
    const DxDbSymbolTable* tab = m_db.table(Table::Block);
    if (!tab) return;
    for (const DxDbObjectId& id : Access::records(const_cast<DxDbSymbolTable&>(*tab))) {
      auto* btr = DxRxObject::cast<DxDbBlockTableRecord>(liveObjectOf(id));
      if (!btr || rebuiltOnLoad(*btr)) continue;
      if (DxDbObject* b = liveObjectOf(Access::blockBegin(*btr))) emitObject(*b, m_sink);
      // What an external reference brings is read from its file, not kept in ours.
      if (id != m_db.modelSpace && id != m_db.paperSpace && !(btr->blockFlags() & (4 | 16)))
        for (const DxDbObjectId& eid : Access::entities(*btr))
          if (DxDbObject* e = liveObjectOf(eid)) entity(*e);
      if (DxDbObject* e = liveObjectOf(Access::blockEnd(*btr))) emitObject(*e, m_sink);
    }
  }

  const DatabaseImpl& m_db;
  dxf::TagWriter& m_w;
  DxfSink m_sink;
};

}  // namespace

void writeDxf(const DatabaseImpl& db, Ver version, dxf::TagWriter& w) {
  ensureSchemas();
  w.setEscapeNonAscii(version < Ver::R2007);
  Writer(db, version, w).run();
}

}  // namespace dx::db
