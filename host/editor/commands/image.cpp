// -IMAGE (attach, list, detach) and IMAGECLIP: raster images shown in the drawing.
#include <cmath>
#include <filesystem>

#include "host/editor/commands/common.h"
#include "host/editor/raster/raster_file.h"

namespace fs = std::filesystem;

namespace dx::ed::cmd {
namespace {

constexpr const char* kImageDict = "ACAD_IMAGE_DICT";

// The drawing's image dictionary, made when absent (and create is set).
DxDbObjectId imageDictionary(bool create) {
  return dxdbNamedObject(db(), kImageDict,
                         create ? +[] { return (DxDbObject*)new DxDbDictionary(); } : nullptr);
}

std::string sourceOf(DxDbObjectId defId) {
  Opened<DxDbRasterImageDef> def(defId, DxDb::kForRead);
  return def ? def->sourceFileName() : std::string();
}

// The definition of a file: the one already in the drawing for the same file, or a new
// one under a free name derived from the file's stem.
DxDbObjectId definitionFor(const std::string& path, const RasterInfo& info) {
  DxDbObjectId dictId = imageDictionary(true);
  Opened<DxDbDictionary> dict(dictId, DxDb::kForWrite);
  if (!dict) return {};
  std::string stem = fs::path(path).stem().string();
  std::string name = stem;
  for (int n = 1;; ++n) {
    DxDbObjectId existing;
    if (dict->getAt(name.c_str(), existing) != Dxad::eOk) break;
    if (sourceOf(existing) == path) return existing;
    name = stem + "_" + std::to_string(n);
  }
  auto* def = new DxDbRasterImageDef();
  DxDbObjectId id;
  if (dict->setAt(name.c_str(), def, id) != Dxad::eOk) {
    delete def;
    return {};
  }
  def->setSourceFileName(path.c_str());
  def->setSize(DxGePoint2d(info.width, info.height));
  def->setResolution(DxGeVector2d(info.pixelWidth, info.pixelHeight), info.units);
  def->addPersistentReactor(dictId);
  def->close();
  return id;
}

void attach() {
  std::string answer;
  if (askString("\nEnter image file name to attach: ", answer, false) != RTNORM || answer.empty())
    return;
  char found[1024];
  std::string path = answer;
  if (dxedFindFile(answer.c_str(), found, sizeof found) == RTNORM) path = found;
  RasterInfo info;
  std::string why;
  if (!readRasterInfo(path, info, why)) {
    say("\nCannot attach \"" + answer + "\": " + why + ". Nothing was attached.\n");
    return;
  }
  say("\nImage size: " + std::to_string(info.width) + " x " + std::to_string(info.height) +
      " pixels\n");
  DxGePoint3d at(0, 0, 0);
  int rc = askPoint("\nSpecify insertion point <0,0>: ", nullptr, at);
  if (rc == RTCAN) return;
  double scale = 1;
  rc = askReal("\nSpecify scale factor (image width) <1>: ", scale, RSG_NOZERO | RSG_NONEG);
  if (rc == RTCAN) return;
  if (rc == RTNONE) scale = 1;
  double rotation = 0;
  rc = askAngle("\nSpecify rotation angle <0>: ", &at, rotation);
  if (rc == RTCAN) return;
  if (rc == RTNONE) rotation = 0;

  DxDbObjectId defId = definitionFor(path, info);
  if (defId.isNull()) {
    say("\nThe image definition could not be added.\n");
    return;
  }
  double aspect = (info.height * info.pixelHeight) / (info.width * info.pixelWidth);
  DxGeVector3d along(std::cos(rotation), std::sin(rotation), 0);
  DxGeVector3d up(-std::sin(rotation), std::cos(rotation), 0);
  DxGePoint3d origin = ucsToWorld(at);
  DxGeVector3d u = ucsToWorld(at + along * scale) - origin;
  DxGeVector3d v = ucsToWorld(at + up * (scale * aspect)) - origin;

  auto* img = new DxDbRasterImage();
  img->setImageDefId(defId);
  img->setImageSize(DxGePoint2d(info.width, info.height));
  img->setOrientation(origin, u, v);
  DxDbObjectId imageId = appendToCurrentSpace(img);
  if (imageId.isNull()) {
    say("\nThe image could not be added to the drawing.\n");
    return;
  }
  DxDbRasterImageDefReactor::link(imageId);
  DxDbRasterVariables::openOrCreate(db());
}

void list() {
  Opened<DxDbDictionary> dict(imageDictionary(false), DxDb::kForRead);
  if (!dict || dict->numEntries() == 0) {
    say("\nNo images attached.\n");
    return;
  }
  std::unique_ptr<DxDbDictionaryIterator> it(dict->newIterator());
  for (; !it->done(); it->next()) {
    Opened<DxDbRasterImageDef> def(it->objectId(), DxDb::kForRead);
    if (!def) continue;
    DxGePoint2d size = def->size();
    say("\n" + std::string(it->name()) + "  " + def->sourceFileName() + "  " +
        std::to_string(int(size.x)) + " x " + std::to_string(int(size.y)) + "\n");
  }
}

// Erases an image definition and every image that shows it.
void detach() {
  std::string name;
  if (askString("\nEnter list of images to detach: ", name, false) != RTNORM || name.empty()) return;
  Opened<DxDbDictionary> dict(imageDictionary(false), DxDb::kForWrite);
  DxDbObjectId defId;
  if (!dict || dict->getAt(name.c_str(), defId) != Dxad::eOk) {
    say("\nNo image named \"" + name + "\".\n");
    return;
  }
  DxDbObjectIdArray reactors;
  if (Opened<DxDbRasterImageDef> def(defId, DxDb::kForRead); def)
    reactors = def->getPersistentReactorIds();
  for (const auto& r : reactors) {
    Opened<DxDbRasterImageDefReactor> reactor(r, DxDb::kForRead);
    if (!reactor) continue;
    DxDbObjectId imageId = reactor->imageId();
    reactor.close();
    if (Opened<DxDbEntity> img(imageId, DxDb::kForWrite); img) img->erase();
    if (Opened<DxDbObject> gone(r, DxDb::kForWrite); gone) gone->erase();
  }
  dict->remove(name.c_str());
  if (Opened<DxDbObject> def(defId, DxDb::kForWrite); def) def->erase();
}

}  // namespace

void cmdImage() {
  std::string kw;
  int rc = askKeyword("\nEnter image option [?/Attach/Detach] <Attach>: ", "? Attach Detach", kw);
  if (rc == RTCAN) return;
  if (rc == RTNONE || kw == "Attach") attach();
  else if (kw == "?") list();
  else if (kw == "Detach") detach();
}

void cmdImageClip() {
  SelectOptions opt;
  opt.single = true;
  opt.skipLocked = true;
  opt.addPrompt = "\nSelect image to clip: ";
  std::vector<DxDbObjectId> picked;
  if (selectObjects(opt, picked) != RTNORM) return;
  DxDbObjectId imageId;
  for (auto id : picked) {
    Opened<DxDbRasterImage> probe(id, DxDb::kForRead);
    if (probe && !DxRxObject::cast<DxDbWipeout>(probe.get())) {
      imageId = id;
      break;
    }
  }
  if (imageId.isNull()) {
    say("\nNo image selected.\n");
    return;
  }
  std::string kw;
  int rc = askKeyword("\nEnter image clipping option [ON/OFF/Delete/New boundary] <New>: ",
                      "ON OFF Delete New", kw);
  if (rc == RTCAN) return;
  if (rc == RTNONE) kw = "New";
  if (kw != "New") {
    Opened<DxDbRasterImage> img(imageId, DxDb::kForWrite);
    if (!img) return;
    if (kw == "Delete") img->setClipBoundary({});
    img->setClipping(kw == "ON" && !img->clipBoundary().empty());
    return;
  }
  rc = askKeyword("\nEnter clipping type [Polygonal/Rectangular] <Rectangular>: ",
                  "Polygonal Rectangular", kw);
  if (rc == RTCAN) return;
  if (rc == RTNONE) kw = "Rectangular";
  std::vector<DxGePoint3d> world;
  DxGePoint3d p;
  if (kw == "Rectangular") {
    DxGePoint3d q;
    if (askPoint("\nSpecify first corner point: ", nullptr, p) != RTNORM) return;
    if (askPoint("\nSpecify opposite corner point: ", &p, q) != RTNORM) return;
    world = {ucsToWorld(p), ucsToWorld(q)};
  } else {
    if (askPoint("\nSpecify first point: ", nullptr, p) != RTNORM) return;
    world.push_back(ucsToWorld(p));
    for (;;) {
      DxGePoint3d last = worldToUcs(world.back());
      rc = askPoint("\nSpecify next point or [Undo]: ", &last, p, "Undo", &kw);
      if (rc == RTCAN) return;
      if (rc == RTNONE) break;
      if (rc == RTKWORD) {
        if (world.size() > 1) world.pop_back();
        continue;
      }
      world.push_back(ucsToWorld(p));
    }
    if (world.size() < 3) {
      say("\nA clipping polygon needs at least three points.\n");
      return;
    }
  }
  Opened<DxDbRasterImage> img(imageId, DxDb::kForWrite);
  if (!img) return;
  std::vector<DxGePoint2d> px;
  for (const auto& w : world) px.push_back(img->worldToPixel(w));
  if (px.size() == 2) {
    px = {{std::min(px[0].x, px[1].x), std::min(px[0].y, px[1].y)},
          {std::max(px[0].x, px[1].x), std::max(px[0].y, px[1].y)}};
    if (px[1].x - px[0].x < 1e-10 || px[1].y - px[0].y < 1e-10) {
      say("\nThe clipping rectangle has no area.\n");
      return;
    }
  } else {
    px.push_back(px.front());  // polygons are stored closed
  }
  img->setClipBoundary(px);
  img->setDisplayOpt(DxDbRasterImage::kClip, true);
}

}  // namespace dx::ed::cmd
