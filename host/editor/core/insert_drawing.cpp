// A drawing file brought into another drawing as a block: the model space entities are
// copied into a new block record; the layers, linetypes, text styles and nested blocks
// they use are looked up by name in the target and copied when it has none.
#include <algorithm>
#include <unordered_map>

#include "host/editor/core/session.h"

namespace dx::ed {
namespace {

// clone() gives a copy free of the source database: no id, owner or open state.
template <class T>
T* copyOf(const T* o) {
  return static_cast<T*>(o->clone());
}

class Copier {
 public:
  Copier(DxDbDatabase* target, DxDbDatabase* source) : m_target(target), m_source(source) {}

  // The target's record of a source record (copied on first need).
  DxDbObjectId record(DxDbObjectId sourceId, DxDbObjectId targetTable) {
    if (sourceId.isNull()) return {};
    auto it = m_map.find(sourceId.stub());
    if (it != m_map.end()) return it->second;
    Opened<DxDbSymbolTableRecord> src(sourceId, DxDb::kForRead);
    if (!src) return {};
    std::string name = src->getName();
    DxDbObjectId found;
    {
      Opened<DxDbSymbolTable> table(targetTable, DxDb::kForRead);
      if (table) table->getIdAt(name.c_str(), found);
    }
    if (found.isNull() && !DxRxObject::cast<DxDbBlockTableRecord>(src.get())) {
      auto* copy = copyOf(src.get());
      src.close();
      // A layer's linetype is a reference of its own.
      if (auto* layer = DxRxObject::cast<DxDbLayerTableRecord>(copy)) {
        Opened<DxDbLayerTableRecord> orig(sourceId, DxDb::kForRead);
        DxDbObjectId lt = orig ? orig->linetypeObjectId() : DxDbObjectId();
        orig.close();
        layer->setLinetypeObjectId(lt.isNull() ? m_target->continuousLinetype()
                                               : record(lt, m_target->linetypeTableId()));
      }
      Opened<DxDbSymbolTable> table(targetTable, DxDb::kForWrite);
      if (!table || table->add(found, copy) != Dxad::eOk) {
        delete copy;
        return {};
      }
      copy->close();
    }
    m_map[sourceId.stub()] = found;
    return found;
  }

  // Copies the entities of a source block record into a target block record.
  bool copyEntities(DxDbObjectId sourceBlock, DxDbObjectId targetBlock) {
    std::vector<DxDbObjectId> ids;
    {
      Opened<DxDbBlockTableRecord> src(sourceBlock, DxDb::kForRead);
      if (!src) return false;
      ids = src->entityIds();
    }
    for (DxDbObjectId id : ids) {
      Opened<DxDbEntity> e(id, DxDb::kForRead);
      if (!e) continue;
      auto* copy = copyOf(e.get());
      DxDbObjectId layer = e->layerId(), lt = e->linetypeId();
      std::vector<std::pair<DxDbAttribute*, DxDbObjectId>> attributes;
      DxDbObjectId nested;
      if (auto* ref = DxRxObject::cast<DxDbBlockReference>(e.get())) {
        nested = ref->blockTableRecord();
        for (DxDbObjectId a : ref->attributeIds()) {
          Opened<DxDbAttribute> att(a, DxDb::kForRead);
          if (att) attributes.emplace_back(copyOf(att.get()), att->textStyle());
        }
      }
      DxDbObjectId style;
      if (auto* t = DxRxObject::cast<DxDbText>(e.get())) style = t->textStyle();
      if (auto* m = DxRxObject::cast<DxDbMText>(e.get())) style = m->textStyle();
      e.close();
      copy->setLayer(record(layer, m_target->layerTableId()));
      if (!lt.isNull()) copy->setLinetype(record(lt, m_target->linetypeTableId()));
      if (!style.isNull()) {
        DxDbObjectId ts = record(style, m_target->textStyleTableId());
        if (auto* t = DxRxObject::cast<DxDbText>(copy)) t->setTextStyle(ts);
        if (auto* m = DxRxObject::cast<DxDbMText>(copy)) m->setTextStyle(ts);
      }
      auto* ref = DxRxObject::cast<DxDbBlockReference>(copy);
      if (ref) {
        // The clone still lists the source's attributes; they are added again below.
        DxDbObjectId block = blockCopy(nested);
        auto* clean = new DxDbBlockReference(ref->position(), block);
        clean->setPropertiesFrom(ref);
        clean->setScaleFactors(ref->scaleFactors());
        clean->setRotation(ref->rotation());
        clean->setNormal(ref->normal());
        clean->setLayer(record(layer, m_target->layerTableId()));
        delete copy;
        copy = clean;
        ref = clean;
      }
      Opened<DxDbBlockTableRecord> dst(targetBlock, DxDb::kForWrite);
      DxDbObjectId newId;
      if (!dst || dst->appendDxDbEntity(newId, copy) != Dxad::eOk) {
        delete copy;
        for (auto& a : attributes) delete a.first;
        continue;
      }
      for (auto& [att, attStyle] : attributes) {
        att->setLayer(record(att->layerId(), m_target->layerTableId()));
        if (!attStyle.isNull()) att->setTextStyle(record(attStyle, m_target->textStyleTableId()));
        DxDbObjectId attId;
        if (ref && ref->appendAttribute(attId, att) == Dxad::eOk) att->close();
        else delete att;
      }
      copy->close();
    }
    return true;
  }

  // The target's copy of a source block (by name: an existing block is used as it is).
  DxDbObjectId blockCopy(DxDbObjectId sourceBlock) {
    auto it = m_map.find(sourceBlock.stub());
    if (it != m_map.end()) return it->second;
    std::string name;
    DxGePoint3d origin;
    {
      Opened<DxDbBlockTableRecord> src(sourceBlock, DxDb::kForRead);
      if (!src) return {};
      name = src->getName();
      origin = src->origin();
    }
    DxDbObjectId id = makeBlock(name, origin);
    m_map[sourceBlock.stub()] = id;
    return id;
  }

  DxDbObjectId makeBlock(const std::string& name, const DxGePoint3d& origin, DxDbObjectId sourceBlock = {}) {
    DxDbObjectId existing;
    {
      Opened<DxDbSymbolTable> table(m_target->blockTableId(), DxDb::kForRead);
      if (table) table->getIdAt(name.c_str(), existing);
    }
    if (!existing.isNull()) return existing;
    auto* btr = new DxDbBlockTableRecord();
    btr->setName(name.c_str());
    btr->setOrigin(origin);
    DxDbObjectId id;
    {
      Opened<DxDbSymbolTable> table(m_target->blockTableId(), DxDb::kForWrite);
      if (!table || table->add(id, btr) != Dxad::eOk) {
        delete btr;
        return {};
      }
      btr->close();
    }
    return id;
  }

  std::unordered_map<dx::db::Stub*, DxDbObjectId> m_map;

 private:
  DxDbDatabase* m_target;
  DxDbDatabase* m_source;
};

}  // namespace

DxDbObjectId insertDrawingAsBlock(DxDbDatabase* target, const std::string& name, DxDbDatabase* source) {
  Copier c(target, source);
  // Nested blocks first get their definitions when they are first met.
  DxDbObjectId block = c.makeBlock(name, DxGePoint3d::kOrigin);
  if (block.isNull()) return {};
  if (!c.copyEntities(source->modelSpaceId(), block)) return {};
  // Definitions of nested blocks made on the way are filled until none is left empty.
  std::vector<std::pair<DxDbObjectId, DxDbObjectId>> done;
  for (bool more = true; more;) {
    more = false;
    auto snapshot = c.m_map;
    for (auto& [srcStub, dst] : snapshot) {
      DxDbObjectId src(srcStub);
      if (!src.objectClass() || !src.objectClass()->isDerivedFrom(DxDbBlockTableRecord::desc())) continue;
      if (std::any_of(done.begin(), done.end(), [&](auto& p) { return p.first == src; })) continue;
      done.emplace_back(src, dst);
      Opened<DxDbBlockTableRecord> d(dst, DxDb::kForRead);
      bool empty = d && d->entityCount() == 0;
      d.close();
      if (empty) c.copyEntities(src, dst);
      more = true;
    }
  }
  return block;
}

}  // namespace dx::ed
