// superhatch's placement drags on the host's jigs: each drag asks for one value, shows it
// on a preview entity that is not in the drawing, and takes a typed answer (or a script's)
// as one sample accepted.
#pragma once

#include <memory>
#include <vector>

#include "hostapi/db.h"
#include "hostapi/editor.h"

namespace express::shatch {

// Where an image goes: its insertion point, its width in drawing units and its rotation
// about the insertion point.
struct CImagePlacement {
  DxGePoint3d origin;
  double scale = 1, rotation = 0;
  // Moves, sizes and turns the image so, keeping its height-to-width ratio.
  void applyTo(DxDbRasterImage& image) const;
};

// The image jigs share one preview and one placement; each changes its own part of it.
class CImagePlacementJig : public DxEdJig {
 public:
  CImagePlacementJig(DxDbRasterImage& preview, CImagePlacement& placement)
      : m_preview(preview), m_place(placement) {}
  DxDbEntity* entity() const override { return &m_preview; }

 protected:
  bool show() {
    m_place.applyTo(m_preview);
    return true;
  }
  DxDbRasterImage& m_preview;
  CImagePlacement& m_place;
  double m_value = 0;
};

class KvEdImageInsertJig : public CImagePlacementJig {
 public:
  using CImagePlacementJig::CImagePlacementJig;
  DragStatus sampler() override { return acquirePoint(m_at); }
  bool update() override {
    m_place.origin = m_at;
    return show();
  }

 private:
  DxGePoint3d m_at;
};

// A number, or the distance of a point from the insertion point; refuses zero and less.
class KvEdImageScaleJig : public CImagePlacementJig {
 public:
  using CImagePlacementJig::CImagePlacementJig;
  DragStatus sampler() override { return acquireDist(m_value, m_place.origin); }
  bool update() override {
    if (!(m_value > 0)) return false;
    m_place.scale = m_value;
    return show();
  }
};

// An angle, or the direction of a point from the insertion point.
class KvEdImageRotationJig : public CImagePlacementJig {
 public:
  using CImagePlacementJig::CImagePlacementJig;
  DragStatus sampler() override { return acquireAngle(m_value, m_place.origin); }
  bool update() override {
    m_place.rotation = m_value;
    return show();
  }
};

// The corners of a wipeout frame: a first point, then each next one from the last, Enter
// to stop. The preview is the open frame, a polyline in linetype Continuous.
class KvSuperhatchRectJig : public DxEdJig {
 public:
  KvSuperhatchRectJig();
  DragStatus sampler() override;
  bool update() override;
  DxDbEntity* entity() const override { return m_frame.get(); }
  const std::vector<DxGePoint3d>& points() const { return m_points; }

 private:
  std::unique_ptr<DxDbPolyline> m_frame;
  std::vector<DxGePoint3d> m_points;
  DxGePoint3d m_next;
};

}  // namespace express::shatch
