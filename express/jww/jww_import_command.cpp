// FILEIMP and wjsr: import a JW_CAD drawing into the current drawing.
#include <cstdio>
#include <memory>
#include <new>
#include <string>

#include "express/env/holders.h"
#include "express/env/sysvar_guard.h"
#include "express/frame/command_body.h"
#include "express/jww/jww_file_reader.h"
#include "express/jww/jww_importer.h"
#include "express/res/resource.h"
#include "hostapi/editor.h"
#include "hostapi/ui.h"

namespace express {
namespace {

// The line-type file the host ships beside its program.
constexpr const char* kLineTypeFile = "draxel.lin";

std::string Format(const char* pattern, auto... args) {
  int n = std::snprintf(nullptr, 0, pattern, args...);
  if (n <= 0) return {};
  std::string out(std::size_t(n) + 1, '\0');
  std::snprintf(out.data(), out.size(), pattern, args...);
  out.resize(std::size_t(n));
  return out;
}

// The reader's message, in the resource library's words when it has them.
void ShowReadFailure(const JwwReadError& error, const std::string& path) {
  StringDef def{0, nullptr};
  switch (error.resourceId) {
    case kJwwMsgFileMissing: def = res::JwwFileMissing; break;
    case kJwwMsgOpenFailed: def = res::JwwCannotOpen; break;
    case kJwwMsgVersionTooNew: def = res::JwwVersionTooNew; break;
    case kJwwMsgOutOfMemory: dxdbFail(CResString(res::JwwOutOfMemory)); return;
    default: def = res::JwwCorrupted; break;
  }
  CResString pattern(def);
  DxUiMessageBox(JwwFormatMessage(pattern.c_str(), path).c_str(), nullptr, MB_OK | MB_ICONERROR);
}

// Loads the named line types from the host's line-type file with the host's own
// -LINETYPE command. A name the file lacks stays missing; its entities keep ByLayer.
void LoadLineTypes(const std::vector<std::string>& names) {
  char found[1024];
  std::string file;
  if (dxedFindFile(kLineTypeFile, found, sizeof found) == RTNORM) file = found;
  else file = moduleFolder() + "support/" + kLineTypeFile;
  std::string pattern;
  for (const std::string& n : names) pattern += (pattern.empty() ? "" : ",") + n;
  dxedCommandS(RTSTR, "_.-LINETYPE", RTSTR, "_Load", RTSTR, pattern.c_str(), RTSTR, file.c_str(), RTSTR, "", 0);
}

std::string Summary(const jww::ImportResult& r) {
  std::string s;
  for (const jww::LayerReport& layer : r.layers) {
    if (layer.created)
      s += Format(CResString(res::JwwLayerCreated), layer.name.c_str(), int(layer.layer), int(layer.group));
    else
      s += Format(CResString(res::JwwLayerFailed), int(layer.layer), int(layer.group));
  }
  if (r.layersCreated > 0) s += Format(CResString(res::JwwLayers), r.layersCreated);
  const std::pair<int, const StringDef*> counts[] = {
      {r.counts.lines, &res::JwwLines},   {r.counts.circles, &res::JwwCircles},
      {r.counts.dots, &res::JwwDots},     {r.counts.texts, &res::JwwTexts},
      {r.counts.solids, &res::JwwSolids}, {r.counts.dimensions, &res::JwwDimensions},
      {r.counts.blocks, &res::JwwBlocks}};
  for (auto [n, def] : counts)
    if (n != 0) s += Format(CResString(*def), n);
  return s;
}

void cmdJwwImport() {
  CSysVarSet guard(true);
  CResbufPtr file(dxutNewRb(RTSTR));
  if (!file) {
    dxdbFail(CResString(res::JwwOutOfMemory));
    return;
  }
  if (dxedGetFileD(CResString(res::JwwReadTitle), nullptr, "jww", 0, file.get()) != RTNORM) return;
  std::string path = file->resval.rstring ? file->resval.rstring : "";

  std::string summary;
  try {
    auto doc = std::make_unique<JwwDocument>();
    JwwFileReader reader;
    if (!reader.Read(path, *doc)) {
      ShowReadFailure(reader.Error(), path);
      return;
    }
    dxutPrintf(CResString(res::JwwReadSucceeded), path.c_str());

    // Layers first, then the point: the layers stay when the user gives none (the undo
    // group of the guard takes them back with one U), and the summary says what the
    // drawing holds either way.
    DxApDocument* current = dxDocManagerPtr() ? dxDocManagerPtr()->curDocument() : nullptr;
    jww::Importer importer(current ? current->database() : nullptr, *doc);
    jww::ImportResult result;
    bool ok = importer.MakeLayers(result);
    result.counts = jww::TranslatableCounts(*doc);

    dx_point picked;
    if (ok && dxedGetPoint(nullptr, CResString(res::JwwInsertPoint), picked) == RTNORM) {
      // The point comes in the current UCS; the drawing is placed in world coordinates,
      // where JW_CAD's own coordinates are taken to lie.
      CResbufPtr ucs(dxutBuildList(RTSHORT, 1, 0)), world(dxutBuildList(RTSHORT, 0, 0));
      dx_point at;
      if (dxedTrans(picked, ucs.get(), world.get(), 0, at) != RTNORM) std::copy(picked, picked + 3, at);
      ok = importer.Place({at[0], at[1], at[2]}, LoadLineTypes, result);
    }
    summary = ok ? Summary(result) : CResString(res::JwwTranslateFailed).c_str();
  } catch (const std::bad_alloc&) {
    summary = CResString(res::JwwTranslateFailed).c_str();
  }
  dxutPrintf("%s\n", summary.c_str());
}

}  // namespace

DX_COMMAND_BODY("wjsr", cmdJwwImport);

}  // namespace express
