// INSERT: block references with their attributes and the SEQEND that closes them.
#include <cmath>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "host/db/entities/entity_geometry.h"
#include "host/db/family.h"

using namespace dx::db;
using namespace dx::db::fields;
using Dxad::ErrorStatus;

DX_DEFINE_CONCRETE(DxDbBlockReference, DxDbEntity, "INSERT")

namespace dx::db {

template <>
struct Access::Schemas<DxDbBlockReference> {
  static void define() {
    {
      using B = DxDbBlockReference;
      SubclassDef s =
          sub("AcDbBlockReference",
              {
                  derived(
                      66, [](const DxDbObject&, Sink& out, int c) { out.integer(c, 1); },
                      [](const DxDbObject& o) { return Access::self<B>(o).m_attribs.empty(); }),
                  nameRef<&B::m_block, Table::Block>(2, "name"),
                  req<&B::m_pos>(10, "insert"),
                  custom(
                      41, {42, 43},
                      [](DxDbObject& o, const InTag& t, LoadContext&) {
                        Access::self<B>(o).m_scale[t.code - 41] = asReal(t);
                      },
                      [](const DxDbObject& o, Sink& out, int) {
                        const double* s = Access::self<B>(o).m_scale;
                        for (int i = 0; i < 3; ++i)
                          if (s[i] != 1.0 || out.entityList) out.real(41 + i, s[i]);
                      },
                      nullptr, "scale"),
                  opt<&B::m_rotationDeg, 0>(50, "rotation"),
                  opt<&B::m_cols, 1>(70, "column_count"),
                  opt<&B::m_rows, 1>(71, "row_count"),
                  opt<&B::m_colSpacing, 0>(44, "column_spacing"),
                  opt<&B::m_rowSpacing, 0>(45, "row_spacing"),
                  normal<&B::m_normal>(),
              });
      s.alts = {"AcDbMInsertBlock"};
      s.markerFn = [](const DxDbObject& o) {
        const auto& b = Access::self<B>(o);
        return (b.m_cols > 1 || b.m_rows > 1) ? "AcDbMInsertBlock" : "AcDbBlockReference";
      };
      entity<B>("INSERT", {std::move(s)});
    }
  }
};

void defineInsertSchemas() { Access::Schemas<DxDbBlockReference>::define(); }

}  // namespace dx::db

DxDbBlockReference::DxDbBlockReference() = default;
DxDbBlockReference::DxDbBlockReference(const DxGePoint3d& pos, DxDbObjectId btr)
    : m_block(btr), m_pos(pos) {}
DxDbBlockReference::~DxDbBlockReference() = default;
ErrorStatus DxDbBlockReference::setBlockTableRecord(DxDbObjectId id) {
  if (!DxRxObject::cast<DxDbBlockTableRecord>(objectOf(id))) return Dxad::eInvalidInput;
  assertWriteEnabled();
  m_block = id;
  return Dxad::eOk;
}
DX_SETTER(DxDbBlockReference, setPosition, const DxGePoint3d&, m_pos)
ErrorStatus DxDbBlockReference::setScaleFactors(const DxGeVector3d& s) {
  if (s.x == 0 || s.y == 0 || s.z == 0) return Dxad::eInvalidInput;
  assertWriteEnabled();
  m_scale[0] = s.x;
  m_scale[1] = s.y;
  m_scale[2] = s.z;
  return Dxad::eOk;
}
double DxDbBlockReference::rotation() const { return m_rotationDeg * kDeg; }
ErrorStatus DxDbBlockReference::setRotation(double r) {
  assertWriteEnabled();
  m_rotationDeg = r / kDeg;
  return Dxad::eOk;
}
ErrorStatus DxDbBlockReference::setNormal(const DxGeVector3d& n) {
  assertWriteEnabled();
  m_normal = n.normal();
  return Dxad::eOk;
}
DxGeMatrix3d DxDbBlockReference::blockTransform() const {
  DxGePoint3d base;
  if (auto* b = DxRxObject::cast<DxDbBlockTableRecord>(objectOf(m_block))) base = b->origin();
  DxGeMatrix3d toW = DxGeMatrix3d::planeToWorld(m_normal);
  // The insertion point is in object coordinates, as in the file.
  return toW * DxGeMatrix3d::translation(m_pos.asVector()) *
         DxGeMatrix3d::rotation(rotation(), DxGeVector3d::kZAxis) *
         DxGeMatrix3d::scaling(m_scale[0], m_scale[1], m_scale[2]) *
         DxGeMatrix3d::translation(-base.asVector());
}

namespace {
class IdIterator : public DxDbObjectIterator {
 public:
  explicit IdIterator(DxDbObjectIdArray ids) : m_ids(std::move(ids)) {}
  bool done() const override { return m_pos >= m_ids.size(); }
  void step() override { ++m_pos; }
  DxDbObjectId objectId() const override { return m_ids[m_pos]; }
  void start() override { m_pos = 0; }

 private:
  DxDbObjectIdArray m_ids;
  size_t m_pos = 0;
};
}  // namespace

DxDbObjectIterator* DxDbBlockReference::attributeIterator() const {
  DxDbObjectIdArray live;
  for (const auto& id : m_attribs)
    if (!id.isErased() && id.isValid()) live.push_back(id);
  return new IdIterator(std::move(live));
}

ErrorStatus DxDbBlockReference::appendAttribute(DxDbObjectId& id, DxDbAttribute* att) {
  if (!att) return Dxad::eNullObjectPointer;
  Stub* s = Access::stub(*this);
  if (!s || !s->db) {
    // Kept with the reference until the reference itself goes into a database.
    id = {};
    m_pendingAttribs.emplace_back(att);
    return Dxad::eOk;
  }
  assertWriteEnabled();
  id = s->db->attach(att);
  Access::owner(*att) = objectId();
  if (att->layerId().isNull()) att->setPropertiesFrom(this);
  m_attribs.push_back(id);
  if (m_seqend.isNull() || !m_seqend.isValid()) {
    auto* end = new DxDbSequenceEnd();
    m_seqend = s->db->attach(end);
    Access::owner(*end) = objectId();
    end->setPropertiesFrom(this);
  }
  Access::openCount(*att) = 1;
  Access::openWrite(*att) = true;
  s->db->noteOpened(Access::stub(*att));
  return Dxad::eOk;
}

namespace {

void addCorners(Box& box, const DxGeMatrix3d& xf, const DxGePoint3d& lo, const DxGePoint3d& hi) {
  for (int i = 0; i < 8; ++i)
    box.add(xf * DxGePoint3d(i & 1 ? hi.x : lo.x, i & 2 ? hi.y : lo.y, i & 4 ? hi.z : lo.z));
}

void addAttributes(Box& box, const DxDbObjectIdArray& attribs) {
  for (const auto& id : attribs)
    if (auto* e = DxRxObject::cast<DxDbEntity>(objectOf(id))) {
      DxGePoint3d lo, hi;
      if (!id.isErased() && e->getGeomExtents(lo, hi) == Dxad::eOk) {
        box.add(lo);
        box.add(hi);
      }
    }
}

const DxDbBlockTableRecord* blockOf(const DxDbObject* o) {
  auto* ref = DxRxObject::cast<DxDbBlockReference>(o);
  return ref ? DxRxObject::cast<DxDbBlockTableRecord>(objectOf(ref->blockTableRecord())) : nullptr;
}

// The extents of a block's contents in its own coordinates. Nesting is walked with a
// stack of our own (chains of thousands of blocks are legal) and each block is measured
// once; a block met again on its own path (a damaged drawing) adds nothing.
Box blockBox(const DxDbBlockTableRecord* top) {
  std::unordered_map<const DxDbBlockTableRecord*, Box> measured;
  std::unordered_set<const DxDbBlockTableRecord*> onPath{top};
  std::vector<std::pair<const DxDbBlockTableRecord*, size_t>> path{{top, 0}};
  while (!path.empty()) {
    auto* btr = path.back().first;
    const auto& ids = Access::entities(*const_cast<DxDbBlockTableRecord*>(btr));
    if (size_t& next = path.back().second; next < ids.size()) {
      auto* nested = ids[next].isErased() ? nullptr : blockOf(objectOf(ids[next]));
      ++next;
      if (nested && !measured.count(nested) && onPath.insert(nested).second) path.emplace_back(nested, 0);
      continue;
    }
    Box box;
    for (const auto& id : ids) {
      auto* e = DxRxObject::cast<DxDbEntity>(objectOf(id));
      if (!e || id.isErased() || DxRxObject::cast<DxDbAttributeDefinition>(e)) continue;
      if (auto* ref = DxRxObject::cast<DxDbBlockReference>(e)) {
        auto it = measured.find(blockOf(ref));
        Box refBox;
        if (it != measured.end() && !it->second.empty)
          addCorners(refBox, ref->blockTransform(), it->second.lo, it->second.hi);
        addAttributes(refBox, ref->attributeIds());
        if (!refBox.empty) { box.add(refBox.lo); box.add(refBox.hi); }
        continue;
      }
      DxGePoint3d lo, hi;
      if (e->getGeomExtents(lo, hi) == Dxad::eOk) box.add(lo), box.add(hi);
    }
    measured[btr] = box;
    onPath.erase(btr);
    path.pop_back();
  }
  return measured[top];
}

}  // namespace

ErrorStatus DxDbBlockReference::getGeomExtents(DxGePoint3d& a, DxGePoint3d& b) const {
  auto* btr = DxRxObject::cast<DxDbBlockTableRecord>(objectOf(m_block));
  if (!btr) return Dxad::eInvalidInput;
  Box box;
  Box inner = blockBox(btr);
  if (!inner.empty) addCorners(box, blockTransform(), inner.lo, inner.hi);
  addAttributes(box, m_attribs);
  return box.out(a, b);
}

ErrorStatus DxDbBlockReference::transformBy(const DxGeMatrix3d& m) {
  assertWriteEnabled();
  DxGeMatrix3d toW = DxGeMatrix3d::planeToWorld(m_normal);
  DxGePoint3d p = m * (toW * m_pos);
  DxGeVector3d x = m * (toW * DxGeVector3d(std::cos(rotation()), std::sin(rotation()), 0));
  DxGeVector3d n = xformNormal(m, m_normal);
  DxGeMatrix3d toP = DxGeMatrix3d::worldToPlane(n);
  DxGeVector3d xp = toP * x;
  double s = x.length();
  m_pos = toP * p;
  m_rotationDeg = std::atan2(xp.y, xp.x) / kDeg;
  for (double& f : m_scale) f *= s;
  m_normal = n;
  for (const auto& id : m_attribs)
    if (auto* a = DxRxObject::cast<DxDbAttribute>(objectOf(id))) {
      if (Stub* st = id.stub(); st && st->db) st->db->noteWrite(st);
      bool w = Access::openWrite(*a);
      Access::openWrite(*a) = true;
      a->transformBy(m);
      Access::openWrite(*a) = w;
    }
  for (auto& a : m_pendingAttribs) a->transformBy(m);
  return Dxad::eOk;
}

ErrorStatus DxDbBlockReference::explode(std::vector<DxDbEntity*>& pieces) const {
  auto* btr = DxRxObject::cast<DxDbBlockTableRecord>(objectOf(m_block));
  if (!btr) return Dxad::eInvalidInput;
  if (!btr->explodable()) return Dxad::eNotApplicable;
  DxGeMatrix3d xf = blockTransform();
  for (const auto& id : Access::entities(*const_cast<DxDbBlockTableRecord*>(btr))) {
    auto* e = DxRxObject::cast<DxDbEntity>(objectOf(id));
    if (!e || id.isErased()) continue;
    auto* c = static_cast<DxDbEntity*>(e->clone());
    Access::stub(*c) = nullptr;
    Access::owner(*c) = {};
    Access::xdict(*c) = {};
    Access::openCount(*c) = 0;
    Access::openWrite(*c) = false;
    // Sub-entities travel with their piece and join the drawing with it.
    if (auto* ins = DxRxObject::cast<DxDbBlockReference>(c)) {
      for (const auto& aid : Access::attribs(*ins))
        if (auto* a = DxRxObject::cast<DxDbAttribute>(objectOf(aid)); a && !aid.isErased())
          Access::pendingAttribs(*ins).emplace_back(static_cast<DxDbAttribute*>(a->clone()));
      Access::attribs(*ins).clear();
      Access::seqend(*ins) = {};
    }
    if (auto* pl = DxRxObject::cast<DxDbPolylineHeavy>(c)) {
      for (const auto& vid : Access::vertices(*pl))
        if (auto* v = DxRxObject::cast<DxDbVertex>(objectOf(vid)); v && !vid.isErased())
          Access::pendingVertices(*pl).emplace_back(static_cast<DxDbVertex*>(v->clone()));
      Access::vertices(*pl).clear();
      Access::seqend(*pl) = {};
    }
    Access::openWrite(*c) = true;
    c->transformBy(xf);
    Access::openWrite(*c) = false;
    pieces.push_back(c);
  }
  return Dxad::eOk;
}
