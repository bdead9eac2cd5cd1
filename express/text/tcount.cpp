// tcount: running numbers written into texts, multiline texts and attribute definitions.
#include <cstring>
#include <string>
#include <vector>

#include "express/env/command_env.h"
#include "express/env/holders.h"
#include "express/env/sysvar_guard.h"
#include "express/frame/command_body.h"
#include "express/res/resource.h"
#include "express/text/tcount_core.h"
#include "express/text/text_entities.h"
#include "hostapi/editor.h"

namespace express::text {
namespace {

// Kept while the module stays loaded.
std::string g_start = "1";
std::string g_increment = "1";

struct Numbered {
  DxDbObjectId id;
  bool multiline = false;
  double x = 0, y = 0;
  DxGeVector3d normal{0, 0, 1};
};

// The contents of a text's list; a multiline text's chunks (group 3) come before its
// last part (group 1).
// The field object of a text that holds fields: extension dictionary, "ACAD_FIELD",
// "TEXT". Null when the text holds none.
DxDbObjectId textFieldOf(DxDbObjectId textId) {
  DxDbObjectId dictId;
  {
    CDbObjectPtr<DxDbObject> text(textId, DxDb::kForRead);
    if (!text) return {};
    dictId = text->extensionDictionary();
  }
  if (dictId.isNull()) return {};
  DxDbObjectId fieldsId, fieldId;
  {
    CDbObjectPtr<DxDbDictionary> dict(dictId, DxDb::kForRead);
    if (!dict || dict->getAt("ACAD_FIELD", fieldsId) != Dxad::eOk) return {};
  }
  CDbObjectPtr<DxDbDictionary> fields(fieldsId, DxDb::kForRead);
  if (!fields || fields->getAt("TEXT", fieldId) != Dxad::eOk) return {};
  return fieldId;
}

// A text holding fields keeps them: the number goes into the field code, where each field
// stands as its "%<\_FldIdx n>%" placeholder, the same way it goes into the text.
void renumberFieldCode(DxDbObjectId textId, const std::string& number, NumberPlacement where,
                       bool multiline, const std::string& find) {
  DxDbObjectId fieldId = textFieldOf(textId);
  dx_name fname;
  if (fieldId.isNull() || dxdbGetGdsName(fname, fieldId) != Dxad::eOk) return;
  CResbufPtr list(dxdbEntGet(fname));
  const resbuf* code = nullptr;
  for (const resbuf* rb = list.get(); rb; rb = rb->rbnext)
    if (rb->restype == 2 && rb->resval.rstring) {
      code = rb;
      break;
    }
  if (!code) return;
  std::string changed = placeNumber(code->resval.rstring, number, where, multiline, find);
  if (changed == code->resval.rstring) return;
  CResbufPtr mod(dxutBuildList(-1, fname, 2, changed.c_str(), 0));
  dxdbEntMod(mod.get());
}

std::string contentsOf(const resbuf* list) {
  std::string s;
  for (const resbuf* rb = list; rb; rb = rb->rbnext)
    if (rb->restype == 3 && rb->resval.rstring) s += rb->resval.rstring;
  const resbuf* one = findGroup(list, 1);
  if (one && one->resval.rstring) s += one->resval.rstring;
  return s;
}

class CDimzin {
 public:
  explicit CDimzin(int value) {
    m_saved = dxedGetVar("DIMZIN", &m_old) == RTNORM;
    resbuf rb{};
    rb.restype = RTSHORT;
    rb.resval.rint = short(value);
    dxedSetVar("DIMZIN", &rb);
  }
  ~CDimzin() {
    if (m_saved) dxedSetVar("DIMZIN", &m_old);
  }
  CDimzin(const CDimzin&) = delete;
  CDimzin& operator=(const CDimzin&) = delete;

 private:
  resbuf m_old{};
  bool m_saved = false;
};

std::string storedText(double v) {
  char buf[128];
  if (dxdbRToS(v, 2, 4, buf, sizeof buf) != RTNORM) std::snprintf(buf, sizeof buf, "%.4f", v);
  return buf;
}

// Asks for the start and increment until they parse, or the user keeps the last ones.
// RTNORM with the values, or RTCAN.
int askStartIncrement(double& start, double& increment) {
  for (;;) {
    std::string prompt = std::string(CResString(res::TcountStartIncrement).c_str());
    char tail[600];
    std::snprintf(tail, sizeof tail, "<%s,%s>:", g_start.c_str(), g_increment.c_str());
    prompt += tail;
    char answer[512];
    int rc = dxedGetString(0, prompt.c_str(), answer, sizeof answer);
    if (rc == RTCAN) return RTCAN;
    if (rc != RTNORM) return rc;
    std::string a = answer;
    // Trailing zeros off while the values are stored as text.
    CDimzin dimzin(8);
    if (a.empty()) {
      if (dxdbDisToF(g_start.c_str(), 2, &start) == RTNORM && dxdbDisToF(g_increment.c_str(), 2, &increment) == RTNORM)
        return RTNORM;
      g_start = g_increment = "1";
      start = increment = 1;
      return RTNORM;
    }
    std::string s, i;
    double sv = 0, iv = 0;
    if (splitStartIncrement(a, s, i) && dxdbDisToF(s.c_str(), 2, &sv) == RTNORM &&
        dxdbDisToF(i.c_str(), 2, &iv) == RTNORM) {
      g_start = storedText(sv);
      g_increment = storedText(iv);
      if (iv > -1 && iv < 1) dxdbDisToF(g_increment.c_str(), 2, &iv);
      start = sv;
      increment = iv;
      return RTNORM;
    }
    dxutPrintf("%s", CResString(res::TcountInvalidInput).c_str());
  }
}

void cmdTcount() {
  CSysVarSet guard(true);
  CResbufPtr filter = entityTypeFilter({"TEXT", "MTEXT", "ATTDEF"});
  CSelectionSet ss;
  if (ss.select(nullptr, nullptr, nullptr, filter.get()) != RTNORM) return;

  std::vector<Numbered> items;
  int locked = 0;
  for (DxDbObjectId id : selectionIds(ss)) {
    if (isOnLockedLayer(id)) {
      ++locked;
      continue;
    }
    dx_name name;
    if (dxdbGetGdsName(name, id) != Dxad::eOk) continue;
    CResbufPtr list(dxdbEntGet(name));
    if (!list) continue;
    Numbered n;
    n.id = id;
    const resbuf* kind = findGroup(list.get(), 0);
    n.multiline = kind && kind->resval.rstring && std::strcmp(kind->resval.rstring, "MTEXT") == 0;
    if (const resbuf* p = findGroup(list.get(), 10)) {
      n.x = p->resval.rpoint[0];
      n.y = p->resval.rpoint[1];
    }
    if (const resbuf* v = findGroup(list.get(), 210))
      n.normal = DxGeVector3d(v->resval.rpoint[0], v->resval.rpoint[1], v->resval.rpoint[2]);
    items.push_back(n);
  }
  if (locked) dxutPrintf(CResString(res::TcountOnLockedLayer), locked);
  // Numbers run in one plane: objects whose normal is not the first object's are left out.
  if (!items.empty()) {
    DxGeVector3d reference = items.front().normal;
    std::vector<Numbered> same;
    for (const Numbered& n : items)
      if (n.normal.isEqualTo(reference)) same.push_back(n);
    if (same.size() != items.size())
      dxutPrintf(CResString(res::TcountOtherPlane), int(items.size() - same.size()));
    items.swap(same);
  }
  if (items.empty()) return;

  dxedInitGet(0, "X Y Select-order _X Y Select-order");
  char kw[64];
  int rc = dxedGetKword(CResString(res::TcountOrder), kw, sizeof kw);
  if (rc == RTCAN || (rc != RTNORM && rc != RTNONE)) return;
  CountOrder order = CountOrder::Selection;
  if (rc == RTNORM && std::strcmp(kw, "X") == 0) order = CountOrder::X;
  if (rc == RTNORM && std::strcmp(kw, "Y") == 0) order = CountOrder::Y;

  double start = 1, increment = 1;
  if (askStartIncrement(start, increment) != RTNORM) return;

  dxedInitGet(0, "Overwrite Prefix Suffix Find&replace _Overwrite Prefix Suffix Find&replace");
  rc = dxedGetKword(CResString(res::TcountPlacement), kw, sizeof kw);
  if (rc == RTCAN || (rc != RTNORM && rc != RTNONE)) return;
  NumberPlacement where = NumberPlacement::Prefix;
  if (rc == RTNORM) {
    if (std::strcmp(kw, "Overwrite") == 0) where = NumberPlacement::Overwrite;
    else if (std::strcmp(kw, "Suffix") == 0) where = NumberPlacement::Suffix;
    else if (std::strcmp(kw, "Find&replace") == 0) where = NumberPlacement::FindReplace;
  }
  std::string find;
  if (where == NumberPlacement::FindReplace) {
    for (;;) {
      char buf[2049];
      rc = dxedGetString(1, CResString(res::TcountFind), buf, sizeof buf);
      if (rc != RTNORM) return;
      if (*buf) {
        find = buf;
        break;
      }
      dxutPrintf("%s", CResString(res::TcountInvalidInput).c_str());
    }
  }

  std::vector<double> xs, ys;
  xs.reserve(items.size());
  ys.reserve(items.size());
  for (const Numbered& n : items) {
    xs.push_back(n.x);
    ys.push_back(n.y);
  }
  std::vector<size_t> sequence = countOrder(xs, ys, order);
  for (size_t k = 0; k < sequence.size(); ++k) {
    const Numbered& n = items[sequence[k]];
    dx_name name;
    if (dxdbGetGdsName(name, n.id) != Dxad::eOk) continue;
    CResbufPtr list(dxdbEntGet(name));
    if (!list) continue;
    std::string text = contentsOf(list.get());
    std::string number = countNumber(start, increment, k);
    std::string changed = placeNumber(text, number, where, n.multiline, find);
    if (changed == text) continue;
    // Only the name and the new contents: the host keeps every other group as it is.
    CResbufPtr mod(dxutBuildList(-1, name, 1, changed.c_str(), 0));
    dxdbEntMod(mod.get());
    renumberFieldCode(n.id, number, where, n.multiline, find);
  }
}

}  // namespace
}  // namespace express::text

DX_COMMAND_BODY("tcount", express::text::cmdTcount);
