// dimim: dimension styles read from a ".dim" file into the drawing; existing styles of
// the same name are overwritten and the dimensions that use them regenerated.
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <set>
#include <string>
#include <vector>

#include "express/env/holders.h"
#include "express/frame/command_body.h"
#include "express/res/dialogs.h"
#include "express/res/resource.h"
#include "express/styles/dim_file.h"
#include "express/styles/style_commands.h"
#include "hostapi/dimutil.h"
#include "hostapi/editor.h"
#include "hostapi/ui.h"

namespace express::styles {
namespace {

// One group of an entity list from a ".dim" value, typed by its group code.
resbuf* groupFromValue(int code, DimValueKind kind, const std::string& value) {
  resbuf* rb = dxutNewRb(code);
  switch (dxutGroupCodeType(code)) {
    case RTREAL: rb->resval.rreal = dimRealFromValue(value); break;
    case RTSHORT: rb->resval.rint = short(dimIntFromValue(value)); break;
    case RTLONG: rb->resval.rlong = int32_t(dimIntFromValue(value)); break;
    default: {
      std::string text = kind == DimValueKind::Text ? dimTextFromValue(value) : value;
      rb->resval.rstring = static_cast<char*>(std::malloc(text.size() + 1));
      std::memcpy(rb->resval.rstring, text.c_str(), text.size() + 1);
    }
  }
  return rb;
}

// The text style a dimension style names: with full information made or changed from the
// file's values, otherwise taken as the drawing has it (made plain when missing).
DxDbObjectId importTextStyle(const std::string& name, bool fullInfo, const std::vector<DimLineRead>& lines) {
  if (name.empty()) return {};
  auto idOf = [&] {
    dx_name n;
    DxDbObjectId id;
    if (dxdbTblObjName("STYLE", name.c_str(), n) == RTNORM) dxdbGetObjectId(id, n);
    return id;
  };
  CResbufPtr existing(dxdbTblSearch("STYLE", name.c_str()));
  if (existing && !fullInfo) return idOf();
  CResbufPtr list(dxutBuildList(RTDXF0, "STYLE", 2, name.c_str(), 0));
  resbuf* tail = list.get();
  while (tail->rbnext) tail = tail->rbnext;
  if (existing) {
    resbuf* ename = dxutNewRb(-1);
    std::copy(existing->resval.rlname, existing->resval.rlname + 2, ename->resval.rlname);
    ename->rbnext = list.release();
    list.reset(ename);
  }
  if (fullInfo)
    for (const DimLineRead& line : lines)
      if (const DimVarDef* def = textStyleVarByName(line.name)) {
        tail->rbnext = groupFromValue(def->code, def->kind, line.value);
        tail = tail->rbnext;
      }
  if ((existing ? dxdbEntMod(list.get()) : dxdbEntMake(list.get())) != RTNORM) return {};
  return idOf();
}

// One style of the file into the drawing. The id of the style, null when it failed.
DxDbObjectId importDimStyle(const DimStyleEntry& entry) {
  std::string textStyle;
  bool fullInfo = false, hasTextStyle = false;
  for (const DimLineRead& line : entry.lines) {
    if (line.name == "DIMTXSTY") textStyle = dimTextFromValue(line.value), hasTextStyle = true;
    else if (line.name == kFullInfoTag) fullInfo = dimIntFromValue(line.value) == 1;
  }
  const DxDbObjectId textStyleId = hasTextStyle ? importTextStyle(textStyle, fullInfo, entry.lines) : DxDbObjectId();

  DxDbDatabase* db = dxdbHostApplicationServices()->workingDatabase();
  CDbObjectPtr<DxDbDimStyleTable> table(db->dimStyleTableId(), DxDb::kForWrite);
  if (!table) return {};
  DxDbObjectId id;
  CDbObjectPtr<DxDbDimStyleTableRecord> rec;
  if (table->getIdAt(entry.name.c_str(), id) == Dxad::eOk) {
    rec.open(id, DxDb::kForWrite);
  } else {
    auto* made = new DxDbDimStyleTableRecord();
    made->setName(entry.name.c_str());
    if (table->add(id, made) != Dxad::eOk) {
      delete made;
      return {};
    }
    rec = CDbObjectPtr<DxDbDimStyleTableRecord>(made);
  }
  table.close();
  if (!rec) return {};
  for (const DimLineRead& line : entry.lines) {
    const DimVarDef* def = dimVarForImport(line.name);
    if (!def) continue;  // names this version does not know are left alone
    switch (def->kind) {
      case DimValueKind::Text: rec->setValue(def->code, dimTextFromValue(line.value).c_str()); break;
      case DimValueKind::Real: rec->setValue(def->code, dimRealFromValue(line.value)); break;
      case DimValueKind::Int: rec->setValue(def->code, int(dimIntFromValue(line.value))); break;
      case DimValueKind::TextStyle:
        if (!textStyleId.isNull()) rec->setValue(def->code, textStyleId);
        else rec->removeValue(def->code);
        break;
      case DimValueKind::Block: {
        DxDbObjectId block = DxDmUtil::getArrowId(dimTextFromValue(line.value).c_str(), db);
        if (!block.isNull()) rec->setValue(def->code, block);
        else rec->removeValue(def->code);
        break;
      }
    }
  }
  return id;
}

// Every linear dimension, in every block and space, that uses one of the styles.
int regenerateDimensions(const std::set<DxDbObjectId>& styles) {
  DxDbDatabase* db = dxdbHostApplicationServices()->workingDatabase();
  std::vector<DxDbObjectId> blocks;
  {
    CDbObjectPtr<DxDbBlockTable> table(db->blockTableId(), DxDb::kForRead);
    if (!table) return 0;
    blocks = table->recordIds();
  }
  int count = 0;
  for (const DxDbObjectId& blockId : blocks) {
    std::vector<DxDbObjectId> ids;
    {
      CDbObjectPtr<DxDbBlockTableRecord> block(blockId, DxDb::kForRead);
      if (!block) continue;
      ids = block->entityIds();
    }
    for (const DxDbObjectId& id : ids) {
      DxRxClass* cls = id.objectClass();
      if (!cls || !cls->isDerivedFrom(DxDbDimension::desc())) continue;
      CDbObjectPtr<DxDbDimension> dim(id, DxDb::kForRead);
      if (!dim || !styles.count(dim->dimensionStyle())) continue;
      dim.close();
      dim.open(id, DxDb::kForWrite);
      if (dim && dim->recomputeDimBlock() == Dxad::eOk) ++count;
    }
  }
  return count;
}

std::string joinNames(const std::vector<DimStyleEntry>& styles) {
  std::string s;
  for (const auto& e : styles) s += (s.empty() ? "" : ", ") + e.name;
  return s;
}

void cmdDimim() {
  std::string file = fileBesideDrawing(".dim");
  resbuf answer{};
  if (dxedGetFileD(CResString(res::DimimInputFile), file.c_str(), "dim", 1 | 32, &answer) != RTNORM) return;
  file = answer.resval.rstring;
  std::free(answer.resval.rstring);

  std::vector<DimStyleEntry> styles;
  std::vector<std::string> patterns{"*"};
  auto load = [&](const std::string& name) {
    char found[1024];
    std::ifstream in;
    if (dxedFindFile(name.c_str(), found, sizeof found) == RTNORM) in.open(found, std::ios::binary);
    if (!in.is_open()) {
      dxutPrintf(CResString(res::DimCannotOpen), name.c_str());
      return false;
    }
    styles = readDimStyles(in);
    dxutPrintf(CResString(res::DimimFileStyles), name.c_str(), joinNames(styles).c_str());
    return true;
  };
  if (!load(file)) return;
  if (dialogsOnCommandLine()) {
    if (askStylePatterns(CResString(res::DimimStylesPrompt), patterns) != RTNORM) return;
  } else {
    DxUiDialogValues values = {{dlg::kDimFile, file}, {dlg::kDimStyles, "*"}};
    int rc;
    {
      ensureResourceLibrary();
      CResourceScope scope;
      rc = DxUiDoModal(dlg::kDimim, values);
    }
    if (rc != IDOK) return;
    if (values[dlg::kDimFile] != file && !load(values[dlg::kDimFile])) return;
    patterns = splitStylePatterns(values[dlg::kDimStyles]);
  }

  std::set<DxDbObjectId> imported;
  for (const DimStyleEntry& entry : styles)
    if (matchesAny(entry.name, patterns))
      if (DxDbObjectId id = importDimStyle(entry); !id.isNull()) imported.insert(id);
  if (imported.empty()) {
    std::string all;
    for (const auto& p : patterns) all += (all.empty() ? "" : ",") + p;
    dxutPrintf(CResString(res::DimNoMatch), all.c_str());
    return;
  }
  dxutPrintf(CResString(res::DimimDone), int(imported.size()));
  if (int n = regenerateDimensions(imported)) dxutPrintf(CResString(res::DimimRefreshed), n);
}

}  // namespace

DX_COMMAND_BODY("dimim", cmdDimim);

}  // namespace express::styles
