// A drawing file brought into another drawing as a block: the model space entities are
// copied into a new block record together with everything they refer to. Records
// (layers, linetypes, styles, dimension styles, blocks) are matched by name and copied
// when the target has none; objects of the named-object dictionaries (image
// definitions, ...) are matched by their dictionary path. Every copy is made through
// its groups, so nothing in the target points into the source once it is closed.
#include <algorithm>
#include <unordered_map>

#include "host/base/case.h"
#include "host/db/merge.h"
#include "host/db/stub.h"
#include "host/editor/core/session.h"

namespace dx::ed {
namespace {

using dx::db::liveObjectOf;

class Copier {
 public:
  Copier(DxDbDatabase* target, DxDbDatabase* source) : m_target(target), m_source(source) {}

  // The target's object for a reference of the source; null clears the reference.
  DxDbObjectId map(DxDbObjectId sourceId) {
    DxDbObject* o = liveObjectOf(sourceId);
    if (!o || sourceId.database() != m_source) return {};
    if (auto it = m_map.find(sourceId); it != m_map.end()) return it->second;
    if (DxRxObject::cast<DxDbBlockTableRecord>(o)) return blockCopy(sourceId);
    if (DxRxObject::cast<DxDbSymbolTableRecord>(o)) return record(sourceId);
    if (DxRxObject::cast<DxDbEntity>(o)) return {};  // entities come only with their block
    return namedObject(sourceId);
  }

  // Copies the entities of a source block record into a target block record.
  void copyEntities(DxDbObjectId sourceBlock, DxDbObjectId targetBlock) {
    auto* src = DxRxObject::cast<DxDbBlockTableRecord>(liveObjectOf(sourceBlock));
    if (!src) return;
    for (DxDbObjectId id : src->entityIds()) {
      DxDbObject* e = liveObjectOf(id);
      if (!e) continue;
      DxDbObject* copy = copyOf(e);
      auto* entity = DxRxObject::cast<DxDbEntity>(copy);
      if (!entity) {
        delete copy;
        continue;
      }
      Opened<DxDbBlockTableRecord> dst(targetBlock, DxDb::kForWrite);
      DxDbObjectId newId;
      if (!dst || dst->appendDxDbEntity(newId, entity) != Dxad::eOk) {
        delete copy;
        continue;
      }
      dst.close();
      m_map[id] = newId;
      // Attributes and vertices are entities of their own.
      if (auto* ref = DxRxObject::cast<DxDbBlockReference>(e)) {
        for (DxDbObjectId a : ref->attributeIds())
          if (auto* att = DxRxObject::cast<DxDbAttribute>(copyOf(liveObjectOf(a)))) {
            DxDbObjectId attId;
            if (static_cast<DxDbBlockReference*>(entity)->appendAttribute(attId, att) == Dxad::eOk) att->close();
            else delete att;
          }
      } else if (auto* pl = DxRxObject::cast<DxDbPolylineHeavy>(e)) {
        for (DxDbObjectId v : pl->vertexIds())
          if (auto* vertex = DxRxObject::cast<DxDbVertex>(copyOf(liveObjectOf(v)))) {
            DxDbObjectId vId;
            if (static_cast<DxDbPolylineHeavy*>(entity)->appendVertex(vId, vertex) == Dxad::eOk) vertex->close();
            else delete vertex;
          }
      }
      entity->close();
    }
  }

  // The target's block of a source block: by name, a new one when the target has none;
  // anonymous blocks always get a new one under a free name.
  DxDbObjectId blockCopy(DxDbObjectId sourceBlock) {
    auto* src = DxRxObject::cast<DxDbBlockTableRecord>(liveObjectOf(sourceBlock));
    if (!src) return {};
    std::string name = src->getName();
    if (name.size() > 1 && name[0] == '*' && dx::base::upper(name).rfind("*MODEL_SPACE", 0) != 0 &&
        dx::base::upper(name).rfind("*PAPER_SPACE", 0) != 0)
      name = freeName(name.substr(0, 2));
    DxDbObjectId id = makeBlock(name, src->origin());
    m_map[sourceBlock] = id;
    if (!id.isNull()) m_pending.emplace_back(sourceBlock, id);
    return id;
  }

  DxDbObjectId makeBlock(const std::string& name, const DxGePoint3d& origin) {
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
    Opened<DxDbSymbolTable> table(m_target->blockTableId(), DxDb::kForWrite);
    if (!table || table->add(id, btr) != Dxad::eOk) {
      delete btr;
      return {};
    }
    btr->close();
    m_created.push_back(id);
    return id;
  }

  // Fills the blocks made on the way (each copy may meet further nested blocks).
  void fillPending() {
    while (!m_pending.empty()) {
      auto [src, dst] = m_pending.back();
      m_pending.pop_back();
      if (std::find(m_created.begin(), m_created.end(), dst) != m_created.end()) copyEntities(src, dst);
    }
  }

 private:
  DxDbObject* copyOf(const DxDbObject* o) {
    if (!o) return nullptr;
    return dx::db::copyAcross(*o, *m_target, [this](DxDbObjectId id) { return map(id); });
  }

  std::string freeName(const std::string& prefix) {
    Opened<DxDbSymbolTable> table(m_target->blockTableId(), DxDb::kForRead);
    for (int n = 1;; ++n) {
      std::string cand = prefix + std::to_string(n);
      if (!table || !table->has(cand.c_str())) return cand;
    }
  }

  // A layer, linetype, text or dimension style: the target's of the same name, or a copy.
  DxDbObjectId record(DxDbObjectId sourceId) {
    auto* src = static_cast<DxDbSymbolTableRecord*>(liveObjectOf(sourceId));
    auto* srcTable = DxRxObject::cast<DxDbSymbolTable>(liveObjectOf(src->ownerId()));
    DxDbObjectId tableId = srcTable ? m_target->symbolTableId(srcTable->isA()) : DxDbObjectId();
    if (tableId.isNull()) return {};
    DxDbObjectId found;
    {
      Opened<DxDbSymbolTable> table(tableId, DxDb::kForRead);
      if (table) table->getIdAt(src->getName().c_str(), found);
    }
    if (found.isNull()) {
      auto* copy = DxRxObject::cast<DxDbSymbolTableRecord>(copyOf(src));
      Opened<DxDbSymbolTable> table(tableId, DxDb::kForWrite);
      if (!copy || !table || table->add(found, copy) != Dxad::eOk) {
        delete copy;
        return {};
      }
      copy->close();
    }
    m_map[sourceId] = found;
    return found;
  }

  // An object of the named-object dictionaries: found in the target by the same keys,
  // else copied there. Objects outside those dictionaries are not carried over.
  DxDbObjectId namedObject(DxDbObjectId sourceId) {
    std::vector<std::string> keys;
    DxDbObjectId cur = sourceId, root = m_source->namedObjectsDictionaryId();
    while (cur != root) {
      DxDbObjectId owner = liveObjectOf(cur)->ownerId();
      auto* dict = DxRxObject::cast<DxDbDictionary>(liveObjectOf(owner));
      std::string key;
      if (!dict || dict->nameAt(cur, key) != Dxad::eOk || keys.size() > 64) return {};
      keys.push_back(key);
      cur = owner;
    }
    if (keys.empty()) return m_target->namedObjectsDictionaryId();
    DxDbObjectId dictId = m_target->namedObjectsDictionaryId();
    for (size_t i = keys.size(); i-- > 1;) {
      dictId = childDictionary(dictId, keys[i]);
      if (dictId.isNull()) return {};
    }
    DxDbObjectId found;
    {
      Opened<DxDbDictionary> dict(dictId, DxDb::kForRead);
      if (!dict) return {};
      dict->getAt(keys[0].c_str(), found);
    }
    if (found.isNull()) {
      // The copy's owner is the target dictionary it goes into.
      m_map[liveObjectOf(sourceId)->ownerId()] = dictId;
      DxDbObject* copy = copyOf(liveObjectOf(sourceId));
      Opened<DxDbDictionary> dict(dictId, DxDb::kForWrite);
      if (!copy || !dict || dict->setAt(keys[0].c_str(), copy, found) != Dxad::eOk) {
        delete copy;
        return {};
      }
      copy->close();
    }
    m_map[sourceId] = found;
    return found;
  }

  DxDbObjectId childDictionary(DxDbObjectId parentId, const std::string& key) {
    DxDbObjectId id;
    {
      Opened<DxDbDictionary> parent(parentId, DxDb::kForRead);
      if (!parent) return {};
      parent->getAt(key.c_str(), id);
    }
    if (!id.isNull()) return DxRxObject::cast<DxDbDictionary>(liveObjectOf(id)) ? id : DxDbObjectId();
    Opened<DxDbDictionary> parent(parentId, DxDb::kForWrite);
    auto* dict = new DxDbDictionary();
    if (!parent || parent->setAt(key.c_str(), dict, id) != Dxad::eOk) {
      delete dict;
      return {};
    }
    dict->close();
    return id;
  }

  DxDbDatabase* m_target;
  DxDbDatabase* m_source;
  std::unordered_map<DxDbObjectId, DxDbObjectId> m_map;
  std::vector<std::pair<DxDbObjectId, DxDbObjectId>> m_pending;  // source block, its new copy
  std::vector<DxDbObjectId> m_created;                           // blocks this copy made
};

}  // namespace

DxDbObjectId insertDrawingAsBlock(DxDbDatabase* target, const std::string& name, DxDbDatabase* source) {
  Copier c(target, source);
  DxDbObjectId block = c.makeBlock(name, DxGePoint3d::kOrigin);
  if (block.isNull()) return {};
  c.copyEntities(source->modelSpaceId(), block);
  c.fillPending();
  return block;
}

}  // namespace dx::ed
