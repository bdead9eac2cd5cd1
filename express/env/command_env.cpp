#include "express/env/command_env.h"

#include <cstdlib>

#include "hostapi/editor.h"

namespace express {

bool isMissedPick(int status) {
  if (status != RTERROR) return false;
  resbuf rb{};
  if (dxedGetVar("ERRNO", &rb) != RTNORM) return false;
  if (rb.restype == RTSTR) std::free(rb.resval.rstring);
  return rb.restype == RTSHORT && rb.resval.rint != 0;
}

int entSelRetrying(const char* prompt, dx_name entity, dx_point pickPoint) {
  for (;;) {
    int rc = dxedEntSel(prompt, entity, pickPoint);
    if (!isMissedPick(rc)) return rc;
  }
}

bool isOnLockedLayer(const DxDbObject* obj) {
  auto* ent = DxRxObject::cast<DxDbEntity>(obj);
  if (!ent) return true;
  CDbObjectPtr<DxDbLayerTableRecord> layer(ent->layerId(), DxDb::kForRead);
  if (!layer) return true;
  return layer->isLocked();
}

bool isOnLockedLayer(DxDbObjectId id) {
  CDbObjectPtr<DxDbEntity> ent(id, DxDb::kForRead);
  return isOnLockedLayer(ent.get());
}

namespace {

resbuf* lastOf(resbuf* rb) {
  while (rb && rb->rbnext) rb = rb->rbnext;
  return rb;
}

CResbufPtr wrap(const char* open, CResbufPtr inner, const char* close) {
  resbuf* head = dxutBuildList(-4, open, 0);
  resbuf* tail = dxutBuildList(-4, close, 0);
  resbuf* body = inner.release();
  if (body) {
    head->rbnext = body;
    lastOf(body)->rbnext = tail;
  } else {
    head->rbnext = tail;
  }
  return CResbufPtr(head);
}

}  // namespace

CResbufPtr entityTypeFilter(std::initializer_list<const char*> types) {
  if (types.size() == 1) return CResbufPtr(dxutBuildList(RTDXF0, *types.begin(), 0));
  CResbufPtr inner;
  for (const char* t : types) inner = filterJoin(std::move(inner), CResbufPtr(dxutBuildList(RTDXF0, t, 0)));
  return wrap("<OR", std::move(inner), "OR>");
}

CResbufPtr filterAnd(CResbufPtr inner) { return wrap("<AND", std::move(inner), "AND>"); }
CResbufPtr filterNot(CResbufPtr inner) { return wrap("<NOT", std::move(inner), "NOT>"); }

CResbufPtr filterJoin(CResbufPtr a, CResbufPtr b) {
  if (!a) return b;
  lastOf(a.get())->rbnext = b.release();
  return a;
}

std::vector<DxDbObjectId> selectionIds(const CSelectionSet& ss) {
  std::vector<DxDbObjectId> ids;
  int32_t n = ss.length();
  for (int32_t i = 0; i < n; ++i) {
    dx_name ent;
    DxDbObjectId id;
    if (dxedSSName(ss.name(), i, ent) == RTNORM && dxdbGetObjectId(id, ent) == Dxad::eOk) ids.push_back(id);
  }
  return ids;
}

std::vector<DxDbObjectId> pickFirstIds() {
  resbuf* pset = nullptr;
  if (dxedSSGetFirst(nullptr, &pset) != RTNORM || !pset) return {};
  CResbufPtr holder(pset);
  if (pset->restype != RTPICKS) return {};
  CSelectionSet ss;
  ss.adopt(pset->resval.rlname);
  return selectionIds(ss);
}

std::vector<DxDbObjectId> withoutLockedLayers(const std::vector<DxDbObjectId>& ids) {
  std::vector<DxDbObjectId> kept;
  for (DxDbObjectId id : ids)
    if (!isOnLockedLayer(id)) kept.push_back(id);
  return kept;
}

}  // namespace express
