// dimex: dimension styles of the drawing written to a ".dim" file.
#include <string>
#include <vector>

#include "express/env/holders.h"
#include "express/frame/command_body.h"
#include "express/res/dialogs.h"
#include "express/res/resource.h"
#include "express/styles/dim_file.h"
#include "express/styles/style_commands.h"
#include "hostapi/editor.h"
#include "hostapi/ui.h"

namespace express::styles {
namespace {

std::string numberOf(const resbuf* rb, DimValueKind kind) {
  double real = 0;
  long integer = 0;
  switch (dxutGroupCodeType(rb->restype)) {
    case RTREAL: real = rb->resval.rreal, integer = long(real); break;
    case RTSHORT: integer = rb->resval.rint, real = integer; break;
    case RTLONG: integer = rb->resval.rlong, real = double(integer); break;
    case RTINT64: integer = long(rb->resval.rlong64), real = double(integer); break;
    default: break;
  }
  return kind == DimValueKind::Real ? dimRealValue(real) : dimIntValue(integer);
}

// The text style group after the "DIMTXSTY" line, from the style's own record.
std::string textStyleGroup(const resbuf* styleList, bool fullInfo) {
  if (!fullInfo || !styleList) return dimLine(kFullInfoTag, "0");
  std::string out = dimLine(kFullInfoTag, "1");
  for (const resbuf* rb = styleList; rb; rb = rb->rbnext) {
    const DimVarDef* def = textStyleVarByCode(rb->restype);
    if (!def) continue;
    if (def->kind == DimValueKind::Text)
      out += dimLine(def->name, dimTextValue(rb->resval.rstring ? rb->resval.rstring : ""));
    else
      out += dimLine(def->name, numberOf(rb, def->kind));
  }
  return out + dimLine(kTextStyleEndTag, "");
}

}  // namespace

// One style's block of lines, from its record's entity list in the list's own order.
std::string exportDimStyle(const resbuf* record, bool fullInfo) {
  const std::string name = groupText(record, 2);
  std::string out = styleHeader(name);
  for (const resbuf* rb = record; rb; rb = rb->rbnext) {
    const DimVarDef* def = dimVarByCode(rb->restype);
    if (!def) continue;
    switch (def->kind) {
      case DimValueKind::Text:
        out += dimLine(def->name, dimTextValue(rb->resval.rstring ? rb->resval.rstring : ""));
        break;
      case DimValueKind::Real:
      case DimValueKind::Int: out += dimLine(def->name, numberOf(rb, def->kind)); break;
      case DimValueKind::Block: out += dimLine(def->name, dimTextValue(recordNameOf(rb->resval.rlname))); break;
      case DimValueKind::TextStyle: {
        out += dimLine(def->name, dimTextValue(recordNameOf(rb->resval.rlname)));
        CResbufPtr style(rb->resval.rlname[0] || rb->resval.rlname[1] ? dxdbEntGet(rb->resval.rlname) : nullptr);
        out += textStyleGroup(style.get(), fullInfo);
        break;
      }
    }
  }
  return out + styleFooter(name);
}

namespace {

struct DimexChoice {
  std::vector<std::string> patterns{"*"};
  bool fullInfo = true;
  std::string file;
};

// The styles, the text style option and the file: on the command line with CMDDIA 0,
// otherwise in the export form. RTNORM or RTCAN.
int askDimexChoice(DimexChoice& c) {
  c.file = fileBesideDrawing(".dim");
  if (dialogsOnCommandLine()) {
    if (askStylePatterns(CResString(res::DimexStylesPrompt), c.patterns) != RTNORM) return RTCAN;
    dxedInitGet(0, "Yes No _Yes No");
    char kw[64];
    int rc = dxedGetKword(CResString(res::DimexFullInfoPrompt), kw, sizeof kw);
    if (rc == RTCAN) return RTCAN;
    c.fullInfo = rc != RTNORM || std::string(kw) != "No";
    resbuf file{};
    if (dxedGetFileD(CResString(res::DimexOutputFile), c.file.c_str(), "dim", 1 | 32, &file) != RTNORM)
      return RTCAN;
    c.file = file.resval.rstring;
    std::free(file.resval.rstring);
    return RTNORM;
  }
  DxUiDialogValues values = {{dlg::kDimStyles, "*"}, {dlg::kDimFile, c.file}, {dlg::kDimFullTextInfo, "1"}};
  int rc;
  {
    ensureResourceLibrary();
    CResourceScope scope;
    rc = DxUiDoModal(dlg::kDimex, values);
  }
  if (rc != IDOK) return RTCAN;
  c.patterns = splitStylePatterns(values[dlg::kDimStyles]);
  c.fullInfo = values[dlg::kDimFullTextInfo] == "1";
  c.file = values[dlg::kDimFile];
  if (c.file.empty()) return RTCAN;
  return RTNORM;
}

void cmdDimex() {
  DimexChoice choice;
  if (askDimexChoice(choice) != RTNORM) return;
  std::string text;
  int count = 0;
  for (CResbufPtr rec(dxdbTblNext("DIMSTYLE", 1)); rec; rec.reset(dxdbTblNext("DIMSTYLE"))) {
    if (!matchesAny(groupText(rec.get(), 2), choice.patterns)) continue;
    text += exportDimStyle(rec.get(), choice.fullInfo);
    ++count;
  }
  if (!count) {
    std::string all;
    for (const auto& p : choice.patterns) all += (all.empty() ? "" : ",") + p;
    dxutPrintf(CResString(res::DimNoMatch), all.c_str());
    return;
  }
  if (!writeFileReplacing(choice.file, text)) {
    dxutPrintf(CResString(res::DimCannotWrite), choice.file.c_str());
    return;
  }
  dxutPrintf(CResString(res::DimexDone), count, choice.file.c_str());
}

}  // namespace

DX_COMMAND_BODY("dimex", cmdDimex);

}  // namespace express::styles
