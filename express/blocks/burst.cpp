// BURST: the command. The explosion itself and the property changes are the host's own
// EXPLODE and CHPROP, so that they behave, and undo, exactly as when a user runs them.
#include "express/blocks/burst.h"

#include <cctype>
#include <cstdint>
#include <memory>
#include <vector>

#include "express/env/command_env.h"
#include "express/env/holders.h"
#include "express/env/sysvar_guard.h"
#include "express/frame/command_body.h"
#include "express/res/resource.h"
#include "hostapi/app.h"
#include "hostapi/editor.h"

namespace express {
namespace {

bool iequals(const char* a, const char* b) {
  if (!a || !b) return false;
  for (; *a && *b; ++a, ++b)
    if (std::toupper(static_cast<unsigned char>(*a)) != std::toupper(static_cast<unsigned char>(*b))) return false;
  return *a == *b;
}

const char* groupText(const resbuf* list, int code) {
  for (const resbuf* rb = list; rb; rb = rb->rbnext)
    if (rb->restype == code) return rb->resval.rstring;
  return nullptr;
}

bool hasByBlockColor(const resbuf* list) {
  for (const resbuf* rb = list; rb; rb = rb->rbnext)
    if (rb->restype == 62) return rb->resval.rint == 0;
  return false;
}

// Block references of the pick-first set that the command may change.
std::vector<DxDbObjectId> pickFirstReferences() {
  std::vector<DxDbObjectId> kept;
  CVmSystem* sys = CVmSystem::instance();
  for (DxDbObjectId id : pickFirstIds()) {
    {
      CDbObjectPtr<DxDbBlockReference> ref(id, DxDb::kForRead);
      if (!ref || isOnLockedLayer(ref.get())) continue;
    }
    if (sys && !sys->canModifyObject(id)) continue;
    kept.push_back(id);
  }
  return kept;
}

// The entity after which everything new in the current space was made by this burst:
// the last one, its attributes and end marker included.
bool lastEntity(dx_name last) {
  if (dxdbEntLast(last) != RTNORM) return false;
  dx_name next;
  while (dxdbEntNext(last, next) == RTNORM) {
    last[0] = next[0];
    last[1] = next[1];
  }
  return true;
}

struct EntityName {
  int64_t name[2];
};

void collect(std::vector<EntityName>& into, const dx_name ent) { into.push_back({{ent[0], ent[1]}}); }

// An attribute's value, kept as a text or, for a multiline attribute, a multiline text
// in the current space.
void keepAttributeValue(DxDbObjectId attributeId, const BurstInherited& inherited) {
  CDbObjectPtr<DxDbAttribute> att(attributeId, DxDb::kForRead);
  if (!att) return;
  if (att->isMTextAttribute()) {
    std::unique_ptr<DxDbMText> mtext(att->getMTextAttribute());
    att.close();
    if (!mtext) return;
    if (mtext->colorIndex() == 0) mtext->setColorIndex(inherited.colorIndex);
    DxDbDatabase* db = dxdbHostApplicationServices()->workingDatabase();
    CDbObjectPtr<DxDbBlockTableRecord> space(db ? db->currentSpaceId() : DxDbObjectId(), DxDb::kForWrite);
    if (!space || space->appendDxDbEntity(mtext.get()) != Dxad::eOk) return;
    mtext.release()->close();
    return;
  }
  att.close();
  dx_name name;
  if (dxdbGetGdsName(name, attributeId) != Dxad::eOk) return;
  CResbufPtr attList(dxdbEntGet(name));
  if (!attList) return;
  CResbufPtr textList(burstTextList(attList.get(), inherited.colorIndex));
  dxdbEntMake(textList.get());
}

// CHPROP on the pieces with one property changed to the reference's.
void changeProperty(const std::vector<EntityName>& pieces, const char* keyword, const std::string& value) {
  if (pieces.empty()) return;
  dx_name ss;
  if (dxedSSAdd(nullptr, nullptr, ss) != RTNORM) return;
  CSelectionSet set;
  set.adopt(ss);
  for (const EntityName& piece : pieces) dxedSSAdd(piece.name, ss, ss);
  dxedCommandS(RTSTR, "_.chprop", RTPICKS, ss, RTSTR, "", RTSTR, keyword, RTSTR, value.c_str(), RTSTR, "", 0);
}

void burstOne(DxDbDatabase* db, DxDbObjectId refId) {
  DxDbObjectId blockId;
  std::vector<DxDbObjectId> attributes;
  {
    CDbObjectPtr<DxDbBlockReference> ref(refId, DxDb::kForRead);
    if (!ref) return;
    blockId = ref->blockTableRecord();
    std::unique_ptr<DxDbObjectIterator> it(ref->attributeIterator());
    if (it)
      for (it->start(); !it->done(); it->step()) attributes.push_back(it->objectId());
  }
  {
    CDbObjectPtr<DxDbBlockTableRecord> block(blockId, DxDb::kForRead);
    if (block && (block->isFromExternalReference() || block->isFromOverlayReference())) {
      dxutPrintf("%s", CResString(res::BurstExternalReference).c_str());
      return;
    }
  }
  dx_name refName;
  if (dxdbGetGdsName(refName, refId) != Dxad::eOk) return;
  CResbufPtr refList(dxdbEntGet(refName));
  if (!refList) return;
  const BurstInherited inherited = burstInherited(refList.get());

  bool explodable = false;
  {
    CDbObjectPtr<DxDbBlockTable> table(db->blockTableId(), DxDb::kForRead);
    DxDbObjectId found;
    if (table && table->getIdAt(inherited.blockName.c_str(), found) == Dxad::eOk) {
      table.close();
      CDbObjectPtr<DxDbBlockTableRecord> block(found, DxDb::kForRead);
      explodable = block && block->explodable();
    }
  }
  if (!explodable) {
    dxutPrintf("%s", CResString(res::BurstNotExplodable).c_str());
    return;
  }

  dx_name last;
  if (!lastEntity(last)) return;
  for (DxDbObjectId att : attributes) keepAttributeValue(att, inherited);

  dxedCommandS(RTSTR, "_.explode", RTENAME, refName, RTSTR, "", 0);

  std::vector<EntityName> onLayer0, byBlockColor, byBlockLinetype;
  dx_name ent = {last[0], last[1]}, next;
  while (dxdbEntNext(ent, next) == RTNORM) {
    ent[0] = next[0];
    ent[1] = next[1];
    CResbufPtr list(dxdbEntGet(ent));
    if (!list) continue;
    if (iequals(groupText(list.get(), 0), "ATTDEF")) {
      dxdbEntDel(ent);
      continue;
    }
    if (iequals(groupText(list.get(), 8), "0")) collect(onLayer0, ent);
    if (hasByBlockColor(list.get())) collect(byBlockColor, ent);
    if (iequals(groupText(list.get(), 6), "BYBLOCK")) collect(byBlockLinetype, ent);
  }
  changeProperty(onLayer0, "_LA", inherited.layer);
  changeProperty(byBlockColor, "_C", inherited.color);
  changeProperty(byBlockLinetype, "_LI", inherited.linetype);
}

}  // namespace

void cmdBurst() {
  std::vector<DxDbObjectId> refs = pickFirstReferences();
  // The set is this command's now; left in place, the host's EXPLODE would take all of it.
  dxedSSSetFirst(nullptr, nullptr);
  if (!refs.empty()) dxutPrintf(CResString(res::BurstFound), long(refs.size()));

  CSysVarSet guard(false);
  resbuf highlight{};
  highlight.restype = RTSHORT;
  highlight.resval.rint = 1;
  dxedSetVar("highlight", &highlight);

  if (refs.empty()) {
    CSelectionSet selected;
    CResbufPtr filter(entityTypeFilter({"INSERT"}));
    if (selected.select(":L", nullptr, nullptr, filter.get()) != RTNORM) return;
    refs = selectionIds(selected);
  }

  DxDbDatabase* db = dxdbHostApplicationServices()->workingDatabase();
  if (!db) return;
  const DxDbObjectId space = db->currentSpaceId();
  std::vector<DxDbObjectId> inSpace;
  for (DxDbObjectId id : refs) {
    CDbObjectPtr<DxDbEntity> ent(id, DxDb::kForRead);
    if (ent && ent->ownerId() == space) inSpace.push_back(id);
  }
  if (inSpace.size() != refs.size())
    dxutPrintf(CResString(res::BurstNotInCurrentSpace), long(refs.size()), long(refs.size() - inSpace.size()));

  for (size_t i = inSpace.size(); i-- > 0;) burstOne(db, inSpace[i]);
}

DX_COMMAND_BODY("BURST", cmdBurst);

}  // namespace express
