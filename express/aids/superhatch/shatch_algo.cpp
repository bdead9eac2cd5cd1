#include "express/aids/superhatch/shatch_algo.h"

#include <cmath>

#include "express/env/holders.h"
#include "hostapi/editor.h"

namespace express::shatch {

DxDbPolyline* flattenedCopy(const DxDbPolyline& pl, int accuracy) {
  if (!pl.hasBulges() || pl.isOnlyLines() || arcSampleCount(2 * M_PI, accuracy) == 0) return nullptr;
  auto* flat = new DxDbPolyline(pl.numVerts());
  flat->setPropertiesFrom(&pl);
  flat->setNormal(pl.normal());
  flat->setElevation(pl.elevation());
  flat->setClosed(pl.isClosed());
  DxGeMatrix3d toPlane = DxGeMatrix3d::worldToPlane(pl.normal());
  for (unsigned i = 0; i < pl.numVerts(); ++i) {
    DxGePoint2d p;
    pl.getPointAt(i, p);
    flat->addVertexAt(flat->numVerts(), p);
    DxGeCircArc3d arc;
    if (pl.getArcSegAt(i, arc) != Dxad::eOk) continue;
    int n = arcSampleCount(arc.endAng(), accuracy);
    if (n < 3) continue;  // the two ends only: the chord
    std::vector<DxGePoint3d> samples;
    arc.getSamplePoints(n, samples);
    for (size_t k = 1; k + 1 < samples.size(); ++k)
      flat->addVertexAt(flat->numVerts(), (toPlane * samples[k]).to2d());
  }
  return flat;
}

DxDbObjectId appendToCurrentSpace(DxDbEntity* ent) {
  DxDbDatabase* db = dxdbHostApplicationServices()->workingDatabase();
  CDbObjectPtr<DxDbBlockTableRecord> space(db->currentSpaceId(), DxDb::kForWrite);
  DxDbObjectId id;
  if (!space || space->appendDxDbEntity(id, ent) != Dxad::eOk) {
    delete ent;
    return {};
  }
  ent->close();
  return id;
}

bool commandActive(const char* pattern) {
  resbuf rb{};
  if (dxedGetVar("CMDNAMES", &rb) != RTNORM || rb.restype != RTSTR) return false;
  bool match = rb.resval.rstring && dxutWcMatch(rb.resval.rstring, pattern) == RTNORM;
  free(rb.resval.rstring);
  return match;
}

DxDbEntity* CSuperHatchAlgo::CClipRunner::clone(const DxDbEntity& pattern) {
  return static_cast<DxDbEntity*>(pattern.clone());
}

namespace {

void eraseEntity(DxDbObjectId id) {
  if (CDbObjectPtr<DxDbEntity> e(id, DxDb::kForWrite); e) e->erase();
}

// The entity's extents as a box in plane coordinates.
bool planeExtents(const DxDbEntity& e, const DxGeMatrix3d& toPlane, DxGePoint2d& lo, DxGePoint2d& hi) {
  DxGePoint3d a, b;
  if (e.getGeomExtents(a, b) != Dxad::eOk) return false;
  lo = {HUGE_VAL, HUGE_VAL};
  hi = {-HUGE_VAL, -HUGE_VAL};
  for (double x : {a.x, b.x})
    for (double y : {a.y, b.y})
      for (double z : {a.z, b.z}) {
        DxGePoint3d p = toPlane * DxGePoint3d(x, y, z);
        lo = {std::min(lo.x, p.x), std::min(lo.y, p.y)};
        hi = {std::max(hi.x, p.x), std::max(hi.y, p.y)};
      }
  return true;
}

DxGePoint2d rotated(const DxGePoint2d& p, const DxGePoint2d& about, double angle) {
  double c = std::cos(angle), s = std::sin(angle), x = p.x - about.x, y = p.y - about.y;
  return {about.x + x * c - y * s, about.y + x * s + y * c};
}

}  // namespace

bool CSuperHatchAlgo::flattenBoundaries() {
  for (DxDbObjectId& id : boundaries) {
    CDbObjectPtr<DxDbPolyline> pl(id, DxDb::kForRead);
    if (!pl) continue;  // not a polyline: readLoops turns it down
    DxDbPolyline* flat = flattenedCopy(*pl.get(), accuracy);
    if (!flat) continue;
    pl.close();
    DxDbObjectId flatId = appendToCurrentSpace(flat);
    if (flatId.isNull()) return false;
    eraseEntity(id);
    id = flatId;
  }
  return true;
}

bool CSuperHatchAlgo::readLoops(std::vector<std::vector<DxGePoint2d>>& loops) {
  for (size_t b = 0; b < boundaries.size(); ++b) {
    CDbObjectPtr<DxDbPolyline> pl(boundaries[b], DxDb::kForRead);
    if (!pl || pl->numVerts() < 3) return false;
    if (b == 0) {
      normal = pl->normal();
      m_elevation = pl->elevation();
    }
    std::vector<DxGePoint2d> loop(pl->numVerts());
    for (unsigned i = 0; i < pl->numVerts(); ++i) pl->getPointAt(i, loop[i]);
    loops.push_back(std::move(loop));
  }
  return !loops.empty();
}

bool CSuperHatchAlgo::run() {
  m_created.clear();
  m_copies = 0;
  if (boundaries.empty() || !flattenBoundaries()) return false;
  std::vector<std::vector<DxGePoint2d>> loops;
  if (!readLoops(loops)) return false;
  m_toPlane = DxGeMatrix3d::worldToPlane(normal);
  m_toWorld = DxGeMatrix3d::planeToWorld(normal);

  std::vector<std::vector<DxGePoint2d>> pieces;
  if (loops.size() == 1) pieces.push_back(loops[0]);
  else pieces = splitArea(loops[0], {loops.begin() + 1, loops.end()});
  std::vector<Bucket> buckets(pieces.size());
  if (m_runner.isTiled()) {
    std::vector<std::unique_ptr<CWyobiShape>> shapes;
    for (const auto& p : pieces) shapes.push_back(std::make_unique<CWyobiPolyline>(p));
    if (!layCopies(shapes, buckets)) return false;
  }
  bool ok = clipPieces(pieces, buckets);
  if (!group.isNull()) {
    CDbObjectPtr<DxDbGroup> g(group, DxDb::kForWrite);
    if (g) g->setVisibility(DxDb::kVisible);
  }
  if (!m_created.empty()) dxedDrawOrderInherit(boundaries.front(), m_created);
  return ok;
}

bool CSuperHatchAlgo::layCopies(const std::vector<std::unique_ptr<CWyobiShape>>& shapes,
                                std::vector<Bucket>& buckets) {
  CDbObjectPtr<DxDbEntity> pat(pattern, DxDb::kForWrite);
  if (!pat) return false;
  DxGePoint2d base = (m_toPlane * basePoint).to2d();
  // The tile in the pattern's own frame: the pattern turned back by its rotation.
  std::unique_ptr<DxDbEntity> upright(m_runner.clone(*pat.get()));
  if (!upright) return false;
  DxGeMatrix3d unturn = DxGeMatrix3d::rotation(-rotation, normal, basePoint);
  DxGePoint2d tLo, tHi;
  if (upright->transformBy(unturn) != Dxad::eOk || !planeExtents(*upright, m_toPlane, tLo, tHi)) return false;
  upright.reset();
  // The boundary extents in the same frame (the outer boundary is the last piece's source).
  DxGePoint2d bLo{HUGE_VAL, HUGE_VAL}, bHi{-HUGE_VAL, -HUGE_VAL};
  {
    CDbObjectPtr<DxDbPolyline> outer(boundaries.front(), DxDb::kForRead);
    if (!outer) return false;
    for (unsigned i = 0; i < outer->numVerts(); ++i) {
      DxGePoint2d p;
      outer->getPointAt(i, p);
      p = rotated(p, base, -rotation);
      bLo = {std::min(bLo.x, p.x), std::min(bLo.y, p.y)};
      bHi = {std::max(bHi.x, p.x), std::max(bHi.y, p.y)};
    }
  }
  CGridLayout grid;
  if (!layGrid(tLo, tHi, bLo, bHi, grid)) return false;

  auto planeVector = [&](double x, double y) {
    DxGePoint2d v = rotated({x, y}, {0, 0}, rotation);
    return m_toWorld * DxGeVector3d(v.x, v.y, 0);
  };
  pat->transformBy(DxGeMatrix3d::translation(planeVector(grid.shift.x, grid.shift.y)));
  DxGePoint2d pLo, pHi;
  if (!planeExtents(*pat.get(), m_toPlane, pLo, pHi)) return false;
  pat->setVisibility(DxDb::kInvisible);
  bool ok = true;
  std::vector<size_t> taken;
  for (int j = 0; j < grid.rows && ok; ++j)
    for (int i = 0; i < grid.columns && ok; ++i) {
      DxGeVector3d offset = planeVector(i * grid.width, j * grid.height);
      DxGeVector3d o = m_toPlane * offset;
      assignPieces(shapes, {pLo.x + o.x, pLo.y + o.y}, {pHi.x + o.x, pHi.y + o.y}, taken);
      if (taken.empty()) continue;  // no piece wants it: not even made
      std::unique_ptr<DxDbEntity> copy(m_runner.clone(*pat.get()));
      if (!copy || copy->transformBy(DxGeMatrix3d::translation(offset)) != Dxad::eOk) {
        ok = false;
        break;
      }
      copy->setVisibility(DxDb::kVisible);
      ++m_copies;
      for (size_t k = 1; k < taken.size(); ++k)
        buckets[taken[k]].emplace_back(static_cast<DxDbEntity*>(copy->clone()));
      buckets[taken[0]].push_back(std::move(copy));
    }
  pat->setVisibility(DxDb::kVisible);
  return ok;
}

bool CSuperHatchAlgo::clipPieces(const std::vector<std::vector<DxGePoint2d>>& pieces,
                                 std::vector<Bucket>& buckets) {
  for (size_t k = 0; k < pieces.size(); ++k) {
    if (m_runner.isTiled() && buckets[k].empty()) continue;
    auto* outline = new DxDbPolyline(unsigned(pieces[k].size()));
    outline->setDatabaseDefaults();
    outline->setNormal(normal);
    outline->setElevation(m_elevation);
    for (const auto& p : pieces[k]) outline->addVertexAt(outline->numVerts(), p);
    outline->setClosed(true);
    DxDbObjectId outlineId = appendToCurrentSpace(outline);
    if (outlineId.isNull()) return false;
    bool ok = m_runner.clip(buckets[k], outlineId);
    eraseEntity(outlineId);
    buckets[k].clear();
    std::vector<DxDbObjectId> kept = m_runner.takeKept();
    if (!group.isNull() && !kept.empty()) {
      CDbObjectPtr<DxDbGroup> g(group, DxDb::kForWrite);
      if (g) g->append(kept);
    }
    m_created.insert(m_created.end(), kept.begin(), kept.end());
    if (!ok) return false;
  }
  return true;
}

// ---------------------------------------------------------------------------------------
// Clipping strategies

bool CClipBlocks::clip(CSuperHatchAlgo::Bucket& bucket, DxDbObjectId outline) {
  CSelectionSet ss;
  dx_name set = {0, 0};
  std::vector<DxDbObjectId> ids;
  for (auto& copy : bucket) {
    DxDbObjectId id = appendToCurrentSpace(copy.release());
    if (id.isNull()) continue;
    ids.push_back(id);
    dx_name e;
    dxdbIdToName(e, id);
    dxedSSAdd(e, ids.size() > 1 ? set : nullptr, set);
  }
  if (ids.empty()) return true;
  ss.adopt(set);
  dx_name pl;
  dxdbIdToName(pl, outline);
  int rc = dxedCommandS(RTSTR, "._XCLIP", RTPICKS, ss.name(), RTSTR, "", RTSTR, "_N", RTSTR, "_S",
                        RTENAME, pl, 0);
  // Unclipped copies would spill over the area: they go again when the clip fails.
  bool clipped = rc == RTNORM && !commandActive("*XCLIP");
  for (DxDbObjectId id : ids)
    if (clipped) keep(id);
    else eraseEntity(id);
  return clipped;
}

bool CClipImages::clip(CSuperHatchAlgo::Bucket& bucket, DxDbObjectId outline) {
  std::vector<DxGePoint3d> world;
  {
    CDbObjectPtr<DxDbPolyline> pl(outline, DxDb::kForRead);
    if (!pl) return false;
    world.resize(pl->numVerts());
    for (unsigned i = 0; i < pl->numVerts(); ++i) pl->getPointAt(i, world[i]);
  }
  for (auto& entity : bucket) {
    auto* copy = DxRxObject::cast<DxDbRasterImage>(entity.get());
    if (!copy) return false;
    DxGePoint3d origin;
    DxGeVector3d u, v;
    copy->getOrientation(origin, u, v);
    DxGePoint2d size = copy->imageSize();
    auto* img = new DxDbRasterImage();
    img->setPropertiesFrom(copy);
    img->setImageDefId(copy->imageDefId());
    img->setImageSize(size);
    img->setOrientation(origin, u * size.x, v * size.y);
    img->setDisplayOpt(DxDbRasterImage::kShow, true);
    img->setDisplayOpt(DxDbRasterImage::kShowUnAligned, true);
    img->setDisplayOpt(DxDbRasterImage::kClip, true);
    std::vector<DxGePoint2d> pixels;
    for (const auto& p : world) pixels.push_back(img->worldToPixel(p));
    // Only the outline's part over this image: a tile does not carry the whole piece.
    pixels = clipToRect(pixels, {-0.5, -0.5}, {size.x - 0.5, size.y - 0.5});
    if (pixels.size() < 3) {
      delete img;
      continue;
    }
    img->setClipBoundary(pixels);
    img->setClipping(true);
    DxDbObjectId imageId = appendToCurrentSpace(img);
    if (imageId.isNull()) return false;
    keep(imageId);
    DxDbRasterImageDefReactor::link(imageId);
  }
  return true;
}

bool CClipWipeout::clip(CSuperHatchAlgo::Bucket&, DxDbObjectId outline) {
  dx_name before = {0, 0}, after = {0, 0}, pl;
  dxdbEntLast(before);
  dxdbIdToName(pl, outline);
  if (dxedCommandS(RTSTR, "._WIPEOUT", RTSTR, "_P", RTENAME, pl, RTSTR, "_N", 0) != RTNORM) return false;
  if (dxdbEntLast(after) != RTNORM || (after[0] == before[0] && after[1] == before[1])) return false;
  DxDbObjectId id;
  if (dxdbGetObjectId(id, after) != Dxad::eOk) return false;
  keep(id);
  return true;
}

}  // namespace express::shatch
