#include "express/text/text_entities.h"

#include <cstring>
#include <unordered_map>

#include "express/env/command_env.h"
#include "hostapi/editor.h"

namespace express::text {

const resbuf* findGroup(const resbuf* list, int code) {
  for (const resbuf* rb = list; rb; rb = rb->rbnext)
    if (rb->restype == code) return rb;
  return nullptr;
}

std::string entityKind(DxDbObjectId id) {
  CDbObjectPtr<DxDbObject> obj(id, DxDb::kForRead);
  if (!obj) return "";
  return obj->isA()->dxfName();
}

std::vector<DxDbObjectId> unlockedTexts(const std::vector<DxDbObjectId>& ids) {
  std::vector<DxDbObjectId> kept;
  kept.reserve(ids.size());
  // Thousands of texts share a handful of layers: each layer is asked once.
  std::unordered_map<uint64_t, bool> lockedByLayer;
  for (DxDbObjectId id : ids) {
    CDbObjectPtr<DxDbText> obj(id, DxDb::kForRead);
    if (!obj || obj->isA() != DxDbText::desc()) continue;
    uint64_t layer = obj->layerId().handle().value();
    auto it = lockedByLayer.find(layer);
    if (it == lockedByLayer.end()) it = lockedByLayer.emplace(layer, isOnLockedLayer(obj.get())).first;
    if (!it->second) kept.push_back(id);
  }
  return kept;
}

bool isAnnotative(const resbuf* list) {
  // (1001 "AcadAnnotative") (1000 "AnnotativeData") (1002 "{") (1070 version) (1070 flag) ...
  const resbuf* rb = list;
  for (; rb; rb = rb->rbnext)
    if (rb->restype == 1001 && rb->resval.rstring && std::strcmp(rb->resval.rstring, kAnnotativeApp) == 0) break;
  if (!rb) return false;
  int shorts = 0;
  for (rb = rb->rbnext; rb && rb->restype != 1001; rb = rb->rbnext)
    if (rb->restype == 1070 && ++shorts == 2) return rb->resval.rint == 1;
  return false;
}

bool readTextRecord(DxDbObjectId id, TextRecord& rec, bool measure) {
  dx_name name;
  if (dxdbGetGdsName(name, id) != Dxad::eOk) return false;
  CResbufPtr apps(dxutBuildList(RTSTR, kAnnotativeApp, 0));
  CResbufPtr list(dxdbEntGet(name, apps.get()));
  if (!list) return false;
  rec.id = id;
  SourceText& t = rec.text;
  for (const resbuf* rb = list.get(); rb; rb = rb->rbnext) {
    switch (rb->restype) {
      case 1: t.string = rb->resval.rstring ? rb->resval.rstring : ""; break;
      case 7: rec.style = rb->resval.rstring ? rb->resval.rstring : ""; break;
      case 8: rec.layer = rb->resval.rstring ? rb->resval.rstring : ""; break;
      case 10:
        t.x = rb->resval.rpoint[0];
        t.y = rb->resval.rpoint[1];
        rec.z = rb->resval.rpoint[2];
        break;
      case 40: t.height = rb->resval.rreal; break;
      case 41: t.widthFactor = rb->resval.rreal; break;
      case 62: t.color = rb->resval.rint; break;
      case 210: rec.normal = DxGeVector3d(rb->resval.rpoint[0], rb->resval.rpoint[1], rb->resval.rpoint[2]); break;
      default: break;
    }
  }
  // The angle from the object: it is in radians there whatever unit lists carry.
  {
    CDbObjectPtr<DxDbText> obj(id, DxDb::kForRead);
    if (!obj) return false;
    t.rotation = obj->rotation();
  }
  t.annotative = isAnnotative(list.get());
  dx_point lowerLeft, upperRight;
  if (measure) t.boxRight = dxedTextBox(list.get(), lowerLeft, upperRight) == RTNORM ? upperRight[0] : 0;
  return true;
}

bool makeAnnotative(DxDbObjectId id) {
  DxDbDatabase* db = dxdbHostApplicationServices()->workingDatabase();
  if (!db) return false;
  {
    CDbObjectPtr<DxDbRegAppTable> apps(db->regAppTableId(), DxDb::kForRead);
    if (!apps) return false;
    if (!apps->has(kAnnotativeApp)) {
      if (apps->upgradeOpen() != Dxad::eOk) return false;
      auto* rec = new DxDbRegAppTableRecord();
      rec->setName(kAnnotativeApp);
      DxDbObjectId recId;
      if (apps->add(recId, rec) != Dxad::eOk) {
        delete rec;
        return false;
      }
      rec->close();
    }
  }
  dx_name name;
  if (dxdbGetGdsName(name, id) != Dxad::eOk) return false;
  CResbufPtr list(dxutBuildList(-1, name, -3, 1001, kAnnotativeApp, 1000, "AnnotativeData", 1002, "{",
                                1070, 1, 1070, 1, 1002, "}", 0));
  return dxdbEntMod(list.get()) == RTNORM;
}

}  // namespace express::text
