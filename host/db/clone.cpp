// Copying an object from one database into another through its groups, so that no
// reference of the copy can point into the database it came from.
#include <deque>

#include "host/db/database_impl.h"

namespace dx::db {
namespace {

// Takes an object's groups as the reader would hand them over: without its type,
// handle, owner and reactor or extension-dictionary groups, references already mapped.
class CopySink : public Sink {
 public:
  explicit CopySink(const RefMap& map) : m_map(map) {}
  std::vector<InTag> tags;

  void str(int code, std::string_view s) override {
    if (m_first) {  // the type name
      m_first = false;
      return;
    }
    if (code == 102) {
      m_inGroup = !s.empty() && s.front() == '{';
      return;
    }
    if (m_inGroup) return;
    if ((code == 5 || code == 105) && !m_sawHandle) {
      m_sawHandle = true;
      return;
    }
    if (code == 100) m_sawSubclass = true;
    InTag& t = push(code);
    t.kind = dxf::kindOf(code);
    t.text = m_texts.emplace_back(s);
  }
  void real(int code, double v) override {
    InTag& t = push(code);
    t.kind = dxf::Kind::Double;
    t.real = v;
  }
  void integer(int code, int64_t v) override {
    InTag& t = push(code);
    t.kind = dxf::kindOf(code);
    t.integer = v;
    t.real = double(v);
  }
  void point(int code, const double* p, int dims) override {
    InTag& t = push(code);
    t.kind = dxf::Kind::Double;
    t.dims = uint8_t(dims);
    for (int i = 0; i < dims; ++i) t.pt[i] = p[i];
    t.real = p[0];
  }
  void ref(int code, DxDbObjectId id) override {
    if (m_inGroup) return;
    if (code == 330 && !m_sawSubclass && !m_sawOwner) {  // the owner: the target's to set
      m_sawOwner = true;
      return;
    }
    InTag& t = push(code);
    t.kind = dxf::Kind::String;
    t.isRef = true;
    t.id = m_map(id);
    t.text = m_texts.emplace_back(t.id.isNull() ? "0" : t.id.handle().str());
  }
  void nameRef(int code, DxDbObjectId id, std::string_view name) override {
    // The record is copied first; the copy may go by another name (anonymous blocks).
    DxDbObjectId mapped = m_map(id);
    Stub* s = mapped.stub();
    auto* rec = s && s->obj ? DxRxObject::cast<DxDbSymbolTableRecord>(s->obj) : nullptr;
    str(code, rec ? std::string_view(rec->getName()) : name);
  }
  void xtag(const XTag& x) override {
    if (x.isRef) return ref(x.code, DxDbObjectId(x.ref));
    if (x.dims) return point(x.code, x.v, x.dims);
    switch (x.kind) {
      case dxf::Kind::Double: return real(x.code, x.v[0]);
      case dxf::Kind::Int16:
      case dxf::Kind::Int32:
      case dxf::Kind::Int64:
      case dxf::Kind::Bool: return integer(x.code, x.i);
      default: return str(x.code, x.s);
    }
  }

 private:
  InTag& push(int code) {
    InTag& t = tags.emplace_back();
    t.code = code;
    return t;
  }
  const RefMap& m_map;
  std::deque<std::string> m_texts;
  bool m_first = true, m_inGroup = false, m_sawHandle = false, m_sawOwner = false, m_sawSubclass = false;
};

}  // namespace

DxDbObject* copyAcross(const DxDbObject& src, DxDbDatabase& target, const RefMap& map) {
  ensureSchemas();
  const ClassSchema* sc = schemaOf(src);
  if (!sc) return nullptr;
  CopySink sink(map);
  emitObject(src, sink);
  DxDbObject* o = nullptr;
  if (auto* u = DxRxObject::cast<DxDbUnknownEntity>(&src)) {
    auto* c = new DxDbUnknownEntity();
    Access::unknownName(*c) = u->dxfName();
    o = c;
  } else if (auto* uo = DxRxObject::cast<DxDbUnknownObject>(&src)) {
    auto* c = new DxDbUnknownObject();
    Access::unknownName(*c) = uo->dxfName();
    o = c;
  } else {
    o = static_cast<DxDbObject*>(src.isA()->create());
  }
  if (!o) return nullptr;
  LoadContext ctx;
  ctx.db = implOf(&target);
  applyTags(*o, *schemaOf(*o), sink.tags, ctx);
  // A dimension names its picture block by name: the copy names the target's copy.
  if (auto* dim = DxRxObject::cast<DxDbDimension>(o)) {
    Stub* s = Access::stub(src);
    std::string& name = Access::dimBlockName(*dim);
    if (s && s->db && !name.empty()) {
      DxDbObjectId mapped = map(s->db->recordId(Table::Block, name));
      Stub* ms = mapped.stub();
      auto* btr = ms && ms->obj ? DxRxObject::cast<DxDbBlockTableRecord>(ms->obj) : nullptr;
      name = btr ? btr->getName() : std::string();
    }
  }
  return o;
}

}  // namespace dx::db
