#include "express/aids/superhatch/shatch_jigs.h"

#include <cmath>

#include "express/res/resource.h"

namespace express::shatch {

void CImagePlacement::applyTo(DxDbRasterImage& image) const {
  DxGePoint3d o;
  DxGeVector3d u, v;
  image.getOrientation(o, u, v);
  DxGePoint2d size = image.imageSize();
  double width = u.length() * size.x, height = v.length() * size.y;
  double aspect = width > 0 ? height / width : 1;
  DxGeVector3d along(std::cos(rotation), std::sin(rotation), 0), up(-std::sin(rotation), std::cos(rotation), 0);
  image.setOrientation(origin, along * scale, up * (scale * aspect));
}

KvSuperhatchRectJig::KvSuperhatchRectJig() : m_frame(std::make_unique<DxDbPolyline>()) {
  m_frame->setDatabaseDefaults();
  m_frame->setLinetype("Continuous");
  setUserInputControls(kNullResponseAccepted);
}

DxEdJig::DragStatus KvSuperhatchRectJig::sampler() {
  if (m_points.empty()) {
    setDispPrompt(CResString(res::ShFirstPoint));
    return acquirePoint(m_next);
  }
  setDispPrompt(CResString(res::ShNextPoint));
  return acquirePoint(m_next, m_points.back());
}

bool KvSuperhatchRectJig::update() {
  m_points.push_back(m_next);
  m_frame->addVertexAt(m_frame->numVerts(), DxGePoint2d(m_next.x, m_next.y));
  return true;
}

}  // namespace express::shatch
