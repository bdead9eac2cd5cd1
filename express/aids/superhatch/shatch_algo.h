// CSuperHatchAlgo: lays copies of a pattern entity in a grid over an area with islands,
// sorts them into hole-free pieces of the area and has a clipping strategy cut each
// piece's copies to its outline. Copies stay in memory until their piece is clipped.
#pragma once

#include <memory>
#include <utility>
#include <vector>

#include "express/aids/superhatch/shatch_geometry.h"
#include "hostapi/db.h"

namespace express::shatch {

// The polyline's outline in its own plane, each arc replaced by straight segments through
// arcSampleCount points of it; null when it has no arcs to flatten.
DxDbPolyline* flattenedCopy(const DxDbPolyline& pl, int accuracy);

// Appends to the current space of the working drawing; the entity is closed. Null id (and
// the entity deleted) on failure.
DxDbObjectId appendToCurrentSpace(DxDbEntity* ent);

// Whether the host's active commands (CMDNAMES) match the wildcard pattern.
bool commandActive(const char* pattern);

class CSuperHatchAlgo {
 public:
  using Bucket = std::vector<std::unique_ptr<DxDbEntity>>;

  class CClipRunner {
   public:
    virtual ~CClipRunner() = default;
    // Cuts the bucket's copies to the outline, a closed polyline in the drawing.
    virtual bool clip(Bucket& bucket, DxDbObjectId outline) = 0;
    // A new entity like the pattern, not in the drawing.
    virtual DxDbEntity* clone(const DxDbEntity& pattern);
    // False when the pattern is not laid in a grid (clip then runs once per piece).
    virtual bool isTiled() const { return true; }

    // What the strategy kept or made since the last take.
    std::vector<DxDbObjectId> takeKept() { return std::exchange(m_kept, {}); }

   protected:
    void keep(DxDbObjectId id) { m_kept.push_back(id); }

   private:
    std::vector<DxDbObjectId> m_kept;
  };

  explicit CSuperHatchAlgo(CClipRunner& runner) : m_runner(runner) {}

  // Inputs of one run.
  DxDbObjectId pattern;
  std::vector<DxDbObjectId> boundaries;  // outer first; replaced when their arcs are flattened
  int accuracy = 64;
  DxGePoint3d basePoint;
  double rotation = 0;
  DxGeVector3d normal{0, 0, 1};
  DxDbObjectId group;  // null: no group

  bool run();
  // Entities the run added to the drawing, and the copies it laid.
  const std::vector<DxDbObjectId>& created() const { return m_created; }
  size_t copiesLaid() const { return m_copies; }

 private:
  bool flattenBoundaries();
  bool readLoops(std::vector<std::vector<DxGePoint2d>>& loops);
  bool layCopies(const std::vector<std::unique_ptr<CWyobiShape>>& shapes, std::vector<Bucket>& buckets);
  bool clipPieces(const std::vector<std::vector<DxGePoint2d>>& pieces, std::vector<Bucket>& buckets);

  CClipRunner& m_runner;
  DxGeMatrix3d m_toPlane, m_toWorld;
  double m_elevation = 0;
  std::vector<DxDbObjectId> m_created;
  size_t m_copies = 0;
};

// Block and external references, clipped by the host's reference clipping.
class CClipBlocks : public CSuperHatchAlgo::CClipRunner {
 public:
  bool clip(CSuperHatchAlgo::Bucket& bucket, DxDbObjectId outline) override;
};

// Raster images: each copy becomes a new image of the same definition clipped to the
// outline in its pixel frame.
class CClipImages : public CSuperHatchAlgo::CClipRunner {
 public:
  bool clip(CSuperHatchAlgo::Bucket& bucket, DxDbObjectId outline) override;
};

// Wipeouts: no grid; one wipeout the shape of each piece.
class CClipWipeout : public CSuperHatchAlgo::CClipRunner {
 public:
  bool clip(CSuperHatchAlgo::Bucket& bucket, DxDbObjectId outline) override;
  bool isTiled() const override { return false; }
};

}  // namespace express::shatch
