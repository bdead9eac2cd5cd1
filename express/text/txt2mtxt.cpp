// txt2mtxt: single-line texts into multiline text.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "express/env/command_env.h"
#include "express/env/holders.h"
#include "express/env/sysvar_guard.h"
#include "express/frame/command_body.h"
#include "express/res/resource.h"
#include "express/text/dxad_settings.h"
#include "express/text/text_entities.h"
#include "express/text/text_merge.h"
#include "express/text/txt2mtxt_settings.h"
#include "hostapi/editor.h"
#include "hostapi/ui.h"

namespace express::text {
namespace {

void printCount(const StringDef& before, int count) {
  dxutPrintf("%s%d%s", CResString(before).c_str(), count, CResString(res::Txt2mtxtCountSuffix).c_str());
}

std::string heightText(double h) {
  char buf[128];
  if (dxdbRToS(h, 2, -1, buf, sizeof buf) != RTNORM) std::snprintf(buf, sizeof buf, "%g", h);
  return buf;
}

DxGePoint3d toWorld(const double p[3], const DxGeVector3d& normal, bool vector) {
  resbuf from{};
  from.restype = RT3DPOINT;
  from.resval.rpoint[0] = normal.x;
  from.resval.rpoint[1] = normal.y;
  from.resval.rpoint[2] = normal.z;
  resbuf to{};
  to.restype = RTSHORT;
  to.resval.rint = 0;
  dx_point out;
  if (dxedTrans(p, &from, &to, vector ? 1 : 0, out) != RTNORM) return DxGePoint3d(p[0], p[1], p[2]);
  return DxGePoint3d(out[0], out[1], out[2]);
}

// Style and layer of the head by name, or the drawing's current ones.
DxDbObjectId styleId(DxDbDatabase* db, const std::string& name) {
  CDbObjectPtr<DxDbTextStyleTable> table(db->textStyleTableId(), DxDb::kForRead);
  DxDbObjectId id;
  if (table && !name.empty() && table->getIdAt(name.c_str(), id) == Dxad::eOk) return id;
  return db->textstyle();
}

DxDbObjectId layerId(DxDbDatabase* db, const std::string& name) {
  CDbObjectPtr<DxDbLayerTable> table(db->layerTableId(), DxDb::kForRead);
  DxDbObjectId id;
  if (table && !name.empty() && table->getIdAt(name.c_str(), id) == Dxad::eOk) return id;
  return db->clayer();
}

std::string recordName(DxDbObjectId id) {
  CDbObjectPtr<DxDbSymbolTableRecord> rec(id, DxDb::kForRead);
  return rec ? rec->getName() : std::string();
}

struct Placement {
  DxGePoint3d location;
  DxGeVector3d direction;
};

Placement placementOf(const TextRecord& head) {
  const SourceText& t = head.text;
  double loc[3] = {t.x, t.y + t.height, head.z};
  double dir[3] = {std::cos(t.rotation), std::sin(t.rotation), 0};
  DxGePoint3d d = toWorld(dir, head.normal, true);
  return {toWorld(loc, head.normal, false), DxGeVector3d(d.x, d.y, d.z)};
}

void erase(DxDbObjectId id) {
  dx_name name;
  if (dxdbGetGdsName(name, id) == Dxad::eOk) dxdbEntDel(name);
}

// The main converter: the head's look carried by a multiline text object, later colours
// only as codes. Returns false when the object cannot be added.
bool makeByObject(const TextRecord& head, const MergeResult& merged) {
  DxDbDatabase* db = dxdbHostApplicationServices()->workingDatabase();
  if (!db) return false;
  Placement at = placementOf(head);
  auto* mt = new DxDbMText();
  mt->setDatabaseDefaults(db);
  mt->setTextHeight(head.text.height);
  mt->setTextStyle(styleId(db, head.style));
  mt->setLayer(layerId(db, head.layer));
  mt->setNormal(head.normal);
  mt->setDirection(at.direction);
  mt->setFlowDirection(DxDbMText::kByStyle);
  mt->setRotation(head.text.rotation);
  mt->setContents(merged.contents.c_str());
  mt->setAttachment(DxDbMText::kTopLeft);
  mt->setLocation(at.location);
  mt->setWidth(merged.width);
  CDbObjectPtr<DxDbBlockTableRecord> space(db->currentSpaceId(), DxDb::kForWrite);
  DxDbObjectId id;
  if (!space || space->appendDxDbEntity(id, mt) != Dxad::eOk) {
    delete mt;
    return false;
  }
  mt->close();
  space.close();
  if (merged.annotative) makeAnnotative(id);
  return true;
}

// In selection order the object is made from an entity list, which carries the head's
// colour.
bool makeByList(const TextRecord& head, const MergeResult& merged) {
  DxDbDatabase* db = dxdbHostApplicationServices()->workingDatabase();
  if (!db) return false;
  Placement at = placementOf(head);
  std::string layer = recordName(layerId(db, head.layer));
  std::string style = recordName(styleId(db, head.style));
  double loc[3] = {at.location.x, at.location.y, at.location.z};
  double dir[3] = {at.direction.x, at.direction.y, at.direction.z};
  CResbufPtr list(dxutBuildList(RTDXF0, "MTEXT", 8, layer.c_str(), 10, loc, 40, head.text.height, 41, merged.width,
                                71, 1, 72, 5, 1, merged.contents.c_str(), 7, style.c_str(), 11, dir, 62,
                                head.text.color, 0));
  if (dxdbEntMake(list.get()) != RTNORM) return false;
  if (merged.annotative) {
    dx_name last;
    DxDbObjectId id;
    if (dxdbEntLast(last) == RTNORM && dxdbGetObjectId(id, last) == Dxad::eOk) makeAnnotative(id);
  }
  return true;
}

struct Counts {
  int removed = 0, added = 0;
};

Counts convert(const std::vector<DxDbObjectId>& ids, const Txt2mtxtSettings& settings) {
  std::vector<TextRecord> records;
  records.reserve(ids.size());
  const bool measure = settings.mergeAll && settings.wordWrap;
  for (DxDbObjectId id : ids) {
    TextRecord rec;
    if (readTextRecord(id, rec, measure)) records.push_back(std::move(rec));
  }
  Counts counts;
  if (records.empty()) return counts;

  auto mergeGroup = [&](const std::vector<size_t>& order, bool wordWrap, bool byList) {
    std::vector<const SourceText*> texts;
    texts.reserve(order.size());
    for (size_t i : order) texts.push_back(&records[i].text);
    MergeResult merged = mergeTexts(texts, wordWrap, !byList, heightText);
    const TextRecord& head = records[order.front()];
    if (!(byList ? makeByList(head, merged) : makeByObject(head, merged))) return;
    for (size_t i : order) erase(records[i].id);
    counts.removed += int(order.size());
    counts.added += 1;
  };

  if (!settings.mergeAll) {
    for (size_t i = 0; i < records.size(); ++i) mergeGroup({i}, false, false);
  } else if (settings.selectionOrder) {
    std::vector<size_t> order(records.size());
    for (size_t i = 0; i < order.size(); ++i) order[i] = i;
    mergeGroup(order, settings.wordWrap, true);
  } else {
    std::vector<SourceText> texts;
    texts.reserve(records.size());
    for (const TextRecord& r : records) texts.push_back(r.text);
    mergeGroup(topToBottom(texts), settings.wordWrap, false);
  }
  return counts;
}

// ERRNO after a selection that ended without objects: 0, 2 and 74 are an empty answer.
bool emptyAnswer() {
  resbuf rb{};
  if (dxedGetVar("ERRNO", &rb) != RTNORM || rb.restype != RTSHORT) return true;
  return rb.resval.rint == 0 || rb.resval.rint == 2 || rb.resval.rint == 74;
}

void cmdTxt2mtxt() {
  CSysVarSet guard(true);
  const std::string ini = dxadIniPath();
  Txt2mtxtSettings settings = readTxt2mtxtSettings(ini);

  std::vector<DxDbObjectId> chosen;
  bool fromPickFirst = false;
  std::vector<DxDbObjectId> carried;
  std::vector<DxDbObjectId> pickFirst = pickFirstIds();
  if (!pickFirst.empty()) {
    std::vector<DxDbObjectId> texts = unlockedTexts(pickFirst);
    if (texts.size() > 1) {
      chosen = std::move(texts);
      fromPickFirst = true;
    } else {
      printCount(res::Txt2mtxtFound, int(texts.size()));
      carried = std::move(texts);
    }
    // The pick-first set is spent either way; the prompt below must ask.
    dxedSSSetFirst(nullptr, nullptr);
  }

  if (!fromPickFirst) {
    CResbufPtr filter = entityTypeFilter({"TEXT", "MTEXT", "ATTDEF"});
    for (;;) {
      CResString prompt(res::Txt2mtxtSelect);
      const char* prompts[2] = {prompt.c_str(), nullptr};
      CSelectionSet ss;
      int rc = ss.select(":$", prompts, nullptr, filter.get());
      if (rc == RTNORM) {
        chosen = selectionIds(ss);
        for (DxDbObjectId id : carried)
          if (std::find(chosen.begin(), chosen.end(), id) == chosen.end()) chosen.insert(chosen.begin(), id);
        break;
      }
      if (rc == RTCAN || !emptyAnswer()) return;
      if (CTxt2mtxtDialog(ini).DoModal() == IDOK) settings = readTxt2mtxtSettings(ini);
    }
  }

  std::vector<DxDbObjectId> texts = unlockedTexts(chosen);
  if (texts.size() != chosen.size()) printCount(res::Txt2mtxtKept, int(texts.size()));
  if (texts.empty()) {
    dxutPrintf("%s", CResString(res::Txt2mtxtNothingLeft).c_str());
    return;
  }
  Counts counts = convert(texts, settings);
  dxutPrintf(CResString(res::Txt2mtxtDone), counts.removed, counts.added);
}

}  // namespace
}  // namespace express::text

DX_COMMAND_BODY("txt2mtxt", express::text::cmdTxt2mtxt);
