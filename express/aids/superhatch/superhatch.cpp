// superhatch / -superhatch: fills a closed area with clipped copies of an image, a block,
// an external reference or a wipeout, gathered into one anonymous group.
#include "express/aids/superhatch/superhatch.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <vector>

#include "express/aids/superhatch/shatch_algo.h"
#include "express/aids/superhatch/shatch_jigs.h"
#include "express/env/holders.h"
#include "express/frame/command_body.h"
#include "express/frame/module_state.h"
#include "express/res/dialogs.h"
#include "express/res/resource.h"
#include "hostapi/editor.h"
#include "hostapi/ui.h"

namespace express::shatch {

namespace fs = std::filesystem;

CircleAccuracyData& circleAccuracy() {
  auto& slot = moduleState().circleAccuracy;
  if (!slot) slot = std::make_unique<DxApDataManager<CircleAccuracyData>>();
  return static_cast<DxApDataManager<CircleAccuracyData>&>(*slot).docData();
}

bool isLargeJob(double boundaryArea, double width, double height) {
  double tile = std::fabs(width * height);
  return tile <= kTol || boundaryArea / tile - kLargeJobRatio > kTol;
}

std::string superhatchGroupName(const DxDbDictionary* groups) {
  if (groups)
    for (int n = 0; n < 2000; ++n) {
      std::string name = "Superhatch_group" + std::to_string(n);
      if (!groups->has(name.c_str())) return name;
    }
  return "*SuperhatchDefaultGroup";
}

bool isImageFileName(const std::string& name) {
  size_t dot = name.rfind('.');
  if (name.size() < 4 || dot == std::string::npos) return false;
  std::string ext = name.substr(dot);
  std::transform(ext.begin(), ext.end(), ext.begin(), [](unsigned char c) { return char(std::tolower(c)); });
  for (const char* ok : {".bmp", ".cal", ".jpg", ".jpeg", ".png", ".gif", ".pcx", ".tga", ".tiff", ".tif", ".ecw"})
    if (ext == ok) return true;
  return false;
}

namespace {

void say(const StringDef& s) { dxutPrintf("%s", CResString(s).c_str()); }

DxDbDatabase* db() { return dxdbHostApplicationServices()->workingDatabase(); }

// The last entity of the current space (null name when it is empty).
void lastEntity(dx_name e) {
  e[0] = e[1] = 0;
  dxdbEntLast(e);
}

DxDbObjectId idOf(const dx_name e) {
  DxDbObjectId id;
  if (e[0] || e[1]) dxdbGetObjectId(id, e);
  return id;
}

// Entities appended to the current space after `before` (null: from the start).
std::vector<DxDbObjectId> appendedAfter(const dx_name before) {
  std::vector<DxDbObjectId> ids;
  dx_name cur = {before[0], before[1]}, next;
  bool fromStart = !before[0] && !before[1];
  while (dxdbEntNext(fromStart ? nullptr : cur, next) == RTNORM) {
    fromStart = false;
    ids.push_back(idOf(next));
    cur[0] = next[0];
    cur[1] = next[1];
  }
  return ids;
}

void eraseAll(const std::vector<DxDbObjectId>& ids) {
  for (DxDbObjectId id : ids)
    if (CDbObjectPtr<DxDbEntity> e(id, DxDb::kForWrite); e) e->erase();
}

// Erases an entity the run made; an image leaves its definition first, so that the
// definition lists only the tiles.
void erasePattern(DxDbObjectId id) {
  if (id.objectClass() == DxDbRasterImage::desc()) DxDbRasterImageDefReactor::unlink(id);
  eraseAll({id});
}

// FILEDIA 0 while a host command that would ask for a file runs.
class CFileDiaOff {
 public:
  CFileDiaOff() : m_saver("FILEDIA") { CShortVarSaver::set("FILEDIA", 0); }

 private:
  CShortVarSaver m_saver;
};

// The pattern the run made or picked, and how the engine clips it.
struct CPattern {
  DxDbObjectId id;
  bool madeByRun = false;
  int type = kBlock;
};

// ---------------------------------------------------------------------------------------
// Placement

// Drags until the jig takes a value or Enter keeps what it has; a refused value says why
// and asks again.
int dragValue(DxEdJig& jig, const StringDef* refused = nullptr) {
  for (;;) {
    switch (jig.drag()) {
      case DxEdJig::kNormal:
      case DxEdJig::kNull: return RTNORM;
      case DxEdJig::kCancel: return RTCAN;
      default:
        if (refused) say(*refused);
    }
  }
}

// Insertion point, scale and rotation of an attached image, dragged on a copy of it and
// then given to the image.
int placeImage(DxDbObjectId id) {
  std::unique_ptr<DxDbRasterImage> preview;
  {
    CDbObjectPtr<DxDbRasterImage> img(id, DxDb::kForRead);
    if (!img) return RTERROR;
    preview.reset(static_cast<DxDbRasterImage*>(img->clone()));
  }
  CImagePlacement place;
  KvEdImageInsertJig insert(*preview, place);
  insert.setDispPrompt(CResString(res::ShInsertPoint));
  insert.setUserInputControls(DxEdJig::kNullResponseAccepted);
  int rc = dragValue(insert);
  if (rc != RTNORM) return rc;
  KvEdImageScaleJig scale(*preview, place);
  char prompt[256];
  std::snprintf(prompt, sizeof prompt, CResString(res::ShScale).c_str(), place.scale);
  scale.setDispPrompt(prompt);
  scale.setUserInputControls(DxEdJig::kNullResponseAccepted);
  if ((rc = dragValue(scale, &res::ShScalePositive)) != RTNORM) return rc;
  KvEdImageRotationJig rotation(*preview, place);
  rotation.setDispPrompt(CResString(res::ShRotation));
  rotation.setUserInputControls(DxEdJig::kNullResponseAccepted);
  if ((rc = dragValue(rotation)) != RTNORM) return rc;
  CDbObjectPtr<DxDbRasterImage> img(id, DxDb::kForWrite);
  if (!img) return RTERROR;
  place.applyTo(*img.get());
  return RTNORM;
}

// ---------------------------------------------------------------------------------------
// The pattern

// A file name answer: typed on the command line, or through the file dialog.
int askFile(bool dialog, const StringDef& filter, std::string& path) {
  std::string answer;
  if (dialog) {
    resbuf rb{};
    int rc = dxedGetFileD(CResString(res::ShFileName), "", CResString(filter), 16 | 4, &rb);
    if (rc == RTCAN) return rc;
    if (rc == RTNORM && rb.restype == RTSTR && rb.resval.rstring) answer = rb.resval.rstring;
    if (rb.restype == RTSTR) free(rb.resval.rstring);
  } else {
    char buf[2049] = "";
    int rc = dxedGetString(1, CResString(res::ShFileName), buf, sizeof buf);
    if (rc != RTNORM) return rc;
    answer = buf;
  }
  if (answer.empty()) {
    say(res::ShEmptyFileName);
    return RTREJ;
  }
  char found[1024];
  path = dxedFindFile(answer.c_str(), found, sizeof found) == RTNORM ? found : answer;
  std::error_code ec;
  if (!fs::is_regular_file(path, ec)) {
    dxutPrintf(CResString(res::ShFileNotFound).c_str(), answer.c_str());
    return RTREJ;
  }
  return RTNORM;
}

int imagePattern(bool dialog, CPattern& pat) {
  std::string path;
  int rc = askFile(dialog, res::ShImageFilter, path);
  if (rc != RTNORM) return rc;
  if (!isImageFileName(path)) {
    say(res::ShInputError);
    return RTREJ;
  }
  // Attached where the placement starts from (0,0, one unit wide, unturned), then dragged.
  dx_name before;
  lastEntity(before);
  dx_point origin = {0, 0, 0};
  {
    CFileDiaOff fileDia;
    rc = dxedCommandS(RTSTR, "._-image", RTSTR, "_A", RTSTR, path.c_str(), RT3DPOINT, origin, RTREAL, 1.0,
                      RTANG, 0.0, 0);
  }
  DxDbObjectId image;
  for (DxDbObjectId id : appendedAfter(before))
    if (id.objectClass() == DxDbRasterImage::desc()) image = id;
  if (image.isNull()) return RTERROR;
  if ((rc = placeImage(image)) != RTNORM) {
    erasePattern(image);
    return rc;
  }
  pat = {image, true, kImage};
  return RTNORM;
}

// A block reference made by a host command (insert, or xref with its attach option),
// unscaled and unrotated, at the point the user gives at the command's own prompt.
int referenceByCommand(const char* command, const char* option, const std::string& name, const char* active,
                       CPattern& pat) {
  dx_name before;
  lastEntity(before);
  CResbufPtr args(dxutBuildList(RTSTR, command, 0));
  resbuf* tail = args.get();
  auto add = [&](resbuf* rb) { tail = tail->rbnext = rb; };
  if (option) add(dxutBuildList(RTSTR, option, 0));
  add(dxutBuildList(RTSTR, name.c_str(), RTSTR, "_S", RTREAL, 1.0, RTSTR, "_R", RTREAL, 0.0, RTSTR, PAUSE, 0));
  int rc = dxedCmdS(args.get());
  // A keyword at the point prompt (Scale, Rotate ...) leaves the command asking on.
  while (rc == RTNORM && commandActive(active)) rc = dxedCommandS(RTSTR, PAUSE, 0);
  if (rc != RTNORM) return rc == RTCAN ? RTCAN : RTERROR;
  for (DxDbObjectId id : appendedAfter(before))
    if (id.objectClass() == DxDbBlockReference::desc()) pat = {id, true, kBlock};
  // Nothing made: the prompt was left with Enter.
  return pat.id.isNull() ? RTCAN : RTNORM;
}

int blockPattern(std::string& lastName, CPattern& pat) {
  char prompt[600];
  std::snprintf(prompt, sizeof prompt, CResString(res::ShBlockName).c_str(), lastName.c_str());
  char buf[512] = "";
  int rc = dxedGetString(1, prompt, buf, sizeof buf);
  if (rc != RTNORM) return rc;
  std::string name = *buf ? buf : lastName;
  std::string ext = fs::path(name).extension().string();
  std::error_code ec;
  bool known = false;
  if (ext == ".dxf" || ext == ".DXF") {
    known = fs::is_regular_file(name, ec);
  } else if (!name.empty()) {
    CResbufPtr rec(dxdbTblSearch("BLOCK", name.c_str()));
    known = bool(rec);
  }
  if (!known) {
    say(res::ShNoBlock);
    say(res::ShInputError);
    return RTREJ;
  }
  lastName = name;
  return referenceByCommand("._-insert", nullptr, name, "*INSERT", pat);
}

int xrefPattern(bool dialog, CPattern& pat) {
  std::string path;
  int rc = askFile(dialog, res::ShXrefFilter, path);
  if (rc != RTNORM) return rc;
  CFileDiaOff fileDia;
  return referenceByCommand("._-xref", "_A", path, "*XREF", pat);
}

int wipeoutPattern(CPattern& pat) {
  KvSuperhatchRectJig corners;
  for (;;) {
    DxEdJig::DragStatus s = corners.drag();
    if (s == DxEdJig::kCancel) return RTCAN;
    if (s == DxEdJig::kNull && corners.points().size() >= 3) break;  // Enter closes the frame
  }
  const std::vector<DxGePoint3d>& pts = corners.points();
  dx_name before;
  lastEntity(before);
  auto* frame = new DxDbWipeout();
  frame->setDatabaseDefaults(db());
  if (!frame->setBoundary(pts)) {
    delete frame;
    say(res::ShInputError);
    return RTREJ;
  }
  pat = {appendToCurrentSpace(frame), true, kWipeout};
  return pat.id.isNull() ? RTERROR : RTNORM;
}

int selectPattern(CPattern& pat) {
  CResbufPtr filter(dxutBuildList(RTDXF0, "IMAGE,INSERT,WIPEOUT", 0));
  for (;;) {
    CSelectionSet ss;
    int rc = ss.select(":S", nullptr, nullptr, filter.get());
    if (rc == RTCAN) return RTCAN;
    if (rc != RTNORM || ss.length() == 0) {
      resbuf err{};
      if (dxedGetVar("ERRNO", &err) == RTNORM && err.restype == RTSHORT && err.resval.rint == 0 && rc != RTNORM)
        return RTCAN;  // Enter: nothing more will come
      continue;
    }
    dx_name e;
    dxedSSName(ss.name(), 0, e);
    DxDbObjectId id = idOf(e);
    DxRxClass* cls = id.objectClass();
    int type = cls == DxDbWipeout::desc() ? kWipeout : cls == DxDbRasterImage::desc() ? kImage : kBlock;
    pat = {id, false, type};
    return RTNORM;
  }
}

// ---------------------------------------------------------------------------------------
// Boundaries

// The polylines of each picked point, outer first; empty when the user ended at once.
int pickBoundaries(std::vector<std::vector<DxDbObjectId>>& sets) {
  CShortVarSaver osmode("OSMODE");
  CShortVarSaver::set("OSMODE", 0);
  for (;;) {
    dx_point p;
    int rc = dxedGetPoint(nullptr, CResString(res::ShInsertPoint), p);
    if (rc == RTNONE) return RTNORM;
    if (rc != RTNORM) return rc;
    dx_name before;
    lastEntity(before);
    rc = dxedCommandS(RTSTR, ".-BOUNDARY", RTSTR, "_A", RTSTR, "_IS", RTSTR, "_Y", RTSTR, "_OB", RTSTR, "_OPO",
                      RTSTR, "", RT3DPOINT, p, RTSTR, "", 0);
    std::vector<DxDbObjectId> made;
    for (DxDbObjectId id : appendedAfter(before))
      if (id.objectClass() == DxDbPolyline::desc()) made.push_back(id);
    if (rc != RTNORM || made.empty()) {
      eraseAll(made);
      say(res::ShNoBoundary);
      continue;
    }
    for (DxDbObjectId id : made)
      if (CDbObjectPtr<DxDbEntity> e(id, DxDb::kForRead); e) e->highlight();
    sets.push_back(std::move(made));
  }
}

double outerArea(DxDbObjectId id) {
  CDbObjectPtr<DxDbPolyline> pl(id, DxDb::kForRead);
  if (!pl) return 0;
  std::vector<DxGePoint2d> pts(pl->numVerts());
  std::vector<double> bulges(pl->numVerts());
  for (unsigned i = 0; i < pl->numVerts(); ++i) {
    pl->getPointAt(i, pts[i]);
    pl->getBulgeAt(i, bulges[i]);
  }
  return std::fabs(KvGePolyline2d(pts, bulges, true).Area());
}

// False when the user stops at the large-job question.
bool goOnWithLargeJob(const CPattern& pat, const std::vector<std::vector<DxDbObjectId>>& sets) {
  if (pat.type == kWipeout) return true;
  double area = 0;
  for (const auto& set : sets) area += outerArea(set.front());
  DxGePoint3d lo, hi;
  {
    CDbObjectPtr<DxDbEntity> e(pat.id, DxDb::kForRead);
    if (!e || e->getGeomExtents(lo, hi) != Dxad::eOk) lo = hi = DxGePoint3d::kOrigin;
  }
  if (!isLargeJob(area, hi.x - lo.x, hi.y - lo.y)) return true;
  say(res::ShLargeJob1);
  say(res::ShLargeJob2);
  dxedInitGet(0, "Yes No _Yes _No");
  char kw[64] = "";
  int rc = dxedGetKword(CResString(res::ShLargeJob3), kw, sizeof kw);
  // Only "No" and Enter go on: the question reads the other way round on purpose.
  if (rc == RTNONE) return true;
  if (rc == RTCAN) say(res::ShCancelled);
  return rc == RTNORM && (std::strcmp(kw, "No") == 0 || std::strcmp(kw, "_No") == 0);
}

// The base point and rotation of the pattern entity.
void placementOf(DxDbObjectId id, DxGePoint3d& base, double& rotation) {
  CDbObjectPtr<DxDbEntity> e(id, DxDb::kForRead);
  base = DxGePoint3d::kOrigin;
  rotation = 0;
  if (auto* ref = DxRxObject::cast<DxDbBlockReference>(e.get())) {
    base = ref->position();
    rotation = ref->rotation();
  } else if (auto* img = DxRxObject::cast<DxDbRasterImage>(e.get())) {
    DxGeVector3d u, v;
    img->getOrientation(base, u, v);
    rotation = std::atan2(u.y, u.x);
  }
}

DxDbObjectId newGroup() {
  DxDbDictionary* dict = nullptr;
  if (db()->getGroupDictionary(dict, DxDb::kForWrite) != Dxad::eOk) dict = nullptr;
  CDbObjectPtr<DxDbDictionary> groups(dict);
  std::string name = superhatchGroupName(groups.get());
  if (!groups) return {};
  auto* group = new DxDbGroup("SuperHatch");
  DxDbObjectId id;
  if (groups->setAt(name.c_str(), group, id) != Dxad::eOk) {
    delete group;
    return {};
  }
  group->setAnonymous();
  group->setVisibility(DxDb::kInvisible);
  group->close();
  return id;
}

std::unique_ptr<CSuperHatchAlgo::CClipRunner> runnerFor(int type) {
  switch (type) {
    case kImage: return std::make_unique<CClipImages>();
    case kWipeout: return std::make_unique<CClipWipeout>();
    default: return std::make_unique<CClipBlocks>();
  }
}

// Tiles every boundary set; the pattern ends where it started.
bool tile(const CPattern& pat, std::vector<std::vector<DxDbObjectId>>& sets, DxDbObjectId group) {
  auto runner = runnerFor(pat.type);
  bool ok = true;
  for (auto& set : sets) {
    CSuperHatchAlgo algo(*runner);
    algo.pattern = pat.id;
    algo.boundaries = set;
    algo.accuracy = circleAccuracy().accuracy;
    algo.group = group;
    placementOf(pat.id, algo.basePoint, algo.rotation);
    DxGePoint3d before = algo.basePoint;
    ok = algo.run() && ok;
    set = algo.boundaries;  // flattened ones replaced those picked
    DxGePoint3d after;
    double r;
    placementOf(pat.id, after, r);
    if (CDbObjectPtr<DxDbEntity> e(pat.id, DxDb::kForWrite); e && !after.isEqualTo(before))
      e->transformBy(DxGeMatrix3d::translation(before - after));
  }
  return ok;
}

// Reads an accuracy answer; false when the input failed.
bool askAccuracy() {
  int32_t& value = circleAccuracy().accuracy;
  char prompt[128];
  std::snprintf(prompt, sizeof prompt, CResString(res::ShAccuracy).c_str(), int(value));
  int v = value;
  int rc = dxedGetInt(prompt, &v);
  if (rc == RTNONE) return true;
  if (rc != RTNORM) {
    if (rc != RTCAN) say(res::ShInputError);
    return false;
  }
  if (v >= kMinAccuracy && v <= kMaxAccuracy) value = v;
  else say(res::ShAccuracyRange);
  return true;
}

// The pattern type from the command line; 0 when the command is to end.
int askPatternType() {
  for (;;) {
    dxedInitGet(0, "Image Block Xref Wipeout Select Accuracy _IMAGE BLOCK XREF WIPEOUT SELECT ACCURACY");
    char kw[64] = "";
    int rc = dxedGetKword(CResString(res::ShPatternType), kw, sizeof kw);
    if (rc == RTNONE) return kImage;
    if (rc == RTCAN) return 0;
    if (rc != RTNORM) {
      say(res::ShInvalidKeyword);
      return 0;
    }
    std::string k = kw;
    if (k == "ACCURACY") {
      if (!askAccuracy()) return 0;
      continue;
    }
    if (k == "IMAGE") return kImage;
    if (k == "BLOCK") return kBlock;
    if (k == "XREF") return kXref;
    if (k == "WIPEOUT") return kWipeout;
    if (k == "SELECT") return kSelect;
    say(res::ShInvalidKeyword);
    return 0;
  }
}

// The dialog's check of its accuracy field: "" when the value will do.
std::string accuracyFieldCheck(uint32_t control, const std::string& value) {
  if (control != dlg::kShAccuracy) return {};
  int v = std::atoi(value.c_str());
  if (v >= kMinAccuracy && v <= kMaxAccuracy) return {};
  char text[256];
  std::snprintf(text, sizeof text, CResString(res::ShIntegerRange).c_str(), kMinAccuracy, kMaxAccuracy);
  return text;
}

// The pattern type from CSuperhatchDlg; 0 on Cancel.
int askPatternTypeDialog(int& lastType) {
  DxUiDialogValues values;
  values[dlg::kShAccuracy] = std::to_string(circleAccuracy().accuracy);
  int rc = DxUiDoModal(dlg::kSuperhatch, values, resourceLibrary(), accuracyFieldCheck);
  if (rc < kImage || rc > kSelect) return 0;
  if (accuracyFieldCheck(dlg::kShAccuracy, values[dlg::kShAccuracy]).empty())
    circleAccuracy().accuracy = std::atoi(values[dlg::kShAccuracy].c_str());
  return lastType = rc;
}

bool inReferenceEdit() {
  resbuf rb{};
  if (dxedGetVar("REFEDITNAME", &rb) != RTNORM || rb.restype != RTSTR) return false;
  bool editing = rb.resval.rstring && *rb.resval.rstring;
  free(rb.resval.rstring);
  return editing;
}

}  // namespace

void runSuperhatch(bool dialog) {
  if (inReferenceEdit()) {
    say(res::ShWorkingSet);
    return;
  }
  CShortVarSaver cmdecho("CMDECHO"), attreq("ATTREQ"), plinetype("PLINETYPE");
  CShortVarSaver::set("CMDECHO", 0);
  CShortVarSaver::set("ATTREQ", 0);
  CShortVarSaver::set("PLINETYPE", 2);
  ensureResourceLibrary();

  int lastType = kBlock;
  std::string lastBlock;
  CPattern pat;
  for (;;) {
    int type = dialog ? askPatternTypeDialog(lastType) : askPatternType();
    if (type == 0) return;
    int rc = RTERROR;
    switch (type) {
      case kImage: rc = imagePattern(dialog, pat); break;
      case kBlock: rc = blockPattern(lastBlock, pat); break;
      case kWipeout: rc = wipeoutPattern(pat); break;
      case kSelect: rc = selectPattern(pat); break;
      case kXref: rc = xrefPattern(dialog, pat); break;
    }
    if (rc == RTNORM) break;
    if (!dialog) {
      if (rc == RTCAN) say(res::ShCancelled);
      return;
    }
  }

  auto dropPattern = [&] {
    if (pat.madeByRun) erasePattern(pat.id);
  };
  std::vector<std::vector<DxDbObjectId>> sets;
  // The pattern is no boundary: hidden while the areas are found, else a pattern placed
  // inside the area would cut its own footprint out of it.
  DxDb::Visibility shown = DxDb::kVisible;
  if (CDbObjectPtr<DxDbEntity> e(pat.id, DxDb::kForWrite); e) {
    shown = e->visibility();
    e->setVisibility(DxDb::kInvisible);
  }
  int rc = pickBoundaries(sets);
  if (CDbObjectPtr<DxDbEntity> e(pat.id, DxDb::kForWrite); e) e->setVisibility(shown);
  std::vector<DxDbObjectId> boundaries;
  for (const auto& s : sets) boundaries.insert(boundaries.end(), s.begin(), s.end());
  if (rc != RTNORM || sets.empty()) {
    if (rc == RTCAN) say(res::ShCancelled);
    eraseAll(boundaries);
    dropPattern();
    return;
  }
  if (!goOnWithLargeJob(pat, sets)) {
    eraseAll(boundaries);
    dropPattern();
    return;
  }
  DxDbObjectId group = newGroup();
  tile(pat, sets, group);
  // A run that made nothing leaves no empty group behind.
  if (CDbObjectPtr<DxDbGroup> g(group, DxDb::kForWrite); g && g->numEntities() == 0) {
    DxDbObjectId dictId = g->ownerId();
    std::string key;
    g->getName(key);
    g->erase();
    if (CDbObjectPtr<DxDbDictionary> d(dictId, DxDb::kForWrite); d) d->remove(key.c_str());
  }
  boundaries.clear();
  for (const auto& s : sets) boundaries.insert(boundaries.end(), s.begin(), s.end());
  eraseAll(boundaries);
  dropPattern();
}

namespace {
void cmdSuperhatch() { runSuperhatch(true); }
void cmdSuperhatchLine() { runSuperhatch(false); }
}  // namespace

DX_COMMAND_BODY("superhatch", cmdSuperhatch);
DX_COMMAND_BODY("-superhatch", cmdSuperhatchLine);

}  // namespace express::shatch
