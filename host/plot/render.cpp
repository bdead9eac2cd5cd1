// The renderer: walks a space in draw order, resolves each entity's colour, linetype and
// lineweight through layers and block references, and draws it with cairo in device
// coordinates. Curves are flattened here, so that any block transform (non-uniform
// scales, mirrors) draws them right.
#include "host/plot/render.h"
#include "host/plot/shapes.h"
#include "hostapi/editor.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <strings.h>
#include <filesystem>

namespace dx::plot {

namespace {
constexpr int kMaxDepth = 64;  // nesting beyond this is a block that contains itself
constexpr double kPi = 3.14159265358979323846;
}  // namespace

// ---------------------------------------------------------------------------------------
// Small helpers

EntityList::EntityList(DxDbObjectId id) {
  dx_name n;
  dxdbIdToName(n, id);
  m_head = dxdbEntGet(n);
}

const resbuf* EntityList::find(int code, const resbuf* from) const {
  for (const resbuf* rb = from ? from->rbnext : m_head; rb; rb = rb->rbnext)
    if (rb->restype == code) return rb;
  return nullptr;
}

int rbInt(const resbuf* rb) {
  switch (dxutGroupCodeType(rb->restype)) {
    case RTSHORT: return rb->resval.rint;
    case RTLONG: return rb->resval.rlong;
    case RTINT64: return int(rb->resval.rlong64);
    case RTREAL: return int(rb->resval.rreal);
    default: return 0;
  }
}

double EntityList::real(int code, double dflt) const {
  const resbuf* rb = find(code);
  return rb ? rb->resval.rreal : dflt;
}

int EntityList::integer(int code, int dflt) const {
  const resbuf* rb = find(code);
  return rb ? rbInt(rb) : dflt;
}

double planeScale(const DxGeMatrix3d& m) {
  return std::sqrt(std::fabs(m.entry[0][0] * m.entry[1][1] - m.entry[0][1] * m.entry[1][0]));
}

void arcPoints(double cx, double cy, double r, double a0, double a1, double devRadius,
               std::vector<DxGePoint2d>& out) {
  double span = a1 - a0;
  // Segments short enough that the chord strays at most a quarter of a device unit.
  int n = 4;
  if (devRadius > 0.25) {
    double step = 2 * std::acos(std::max(-1.0, 1 - 0.25 / devRadius));
    n = int(std::ceil(std::fabs(span) / std::max(step, 1e-3)));
  }
  n = std::clamp(n, 2, 2048);
  for (int i = 0; i <= n; ++i) {
    double a = a0 + span * i / n;
    out.emplace_back(cx + r * std::cos(a), cy + r * std::sin(a));
  }
}

void bulgePoints(const DxGePoint2d& a, const DxGePoint2d& b, double bulge, double devScale,
                 std::vector<DxGePoint2d>& out) {
  double chord = a.distanceTo(b);
  if (std::fabs(bulge) < 1e-9 || chord < 1e-12) {
    out.push_back(b);
    return;
  }
  double theta = 4 * std::atan(bulge);  // included angle, signed
  double r = chord / (2 * std::sin(std::fabs(theta) / 2));
  // Centre: from the chord's midpoint along its left normal for a positive bulge of less
  // than a half circle (the cosine turns the side over for larger arcs).
  double mx = (a.x + b.x) / 2, my = (a.y + b.y) / 2;
  double d = r * std::cos(theta / 2) * (bulge > 0 ? 1 : -1);
  double nx = -(b.y - a.y) / chord, ny = (b.x - a.x) / chord;
  double cx = mx + nx * d, cy = my + ny * d;
  double a0 = std::atan2(a.y - cy, a.x - cx);
  std::vector<DxGePoint2d> pts;
  arcPoints(cx, cy, r, a0, a0 + theta, r * devScale, pts);
  pts.back() = b;
  out.insert(out.end(), pts.begin() + 1, pts.end());
}

// ---------------------------------------------------------------------------------------
// Renderer

Renderer::Renderer(cairo_t* cr, DxDbDatabase* db, bool blackBackground, double deviceUnitsPerMm)
    : m_cr(cr), m_db(db), m_black(blackBackground), m_unitsPerMm(deviceUnitsPerMm) {
  auto number = [&](const char* name, double dflt) {
    double v = dflt;
    if (resbuf* rb = db->getHeaderVar(name)) {
      int type = dxutGroupCodeType(rb->restype);
      if (rb->restype == RTREAL || type == RTREAL) v = rb->resval.rreal;
      else if (rb->restype == RTSHORT || type == RTSHORT) v = rb->resval.rint;
      else if (rb->restype == RTLONG || type == RTLONG) v = double(rb->resval.rlong);
      dxutRelRb(rb);
    }
    return std::isfinite(v) ? v : dflt;
  };
  m_ltscale = number("LTSCALE", 1);
  if (!(m_ltscale > 0)) m_ltscale = 1;
  m_pdmode = int(number("PDMODE", 0));
  m_pdsize = number("PDSIZE", 0);
  ReadOpen<DxDbLayerTable> layers(db->layerTableId());
  DxDbObjectId id;
  if (layers && layers->getIdAt("0", id) == Dxad::eOk) m_layer0 = id;
  m_text = std::make_unique<TextPainter>(*this);
}

Renderer::~Renderer() = default;

const LayerInfo& Renderer::layer(DxDbObjectId id) {
  auto [it, fresh] = m_layers.try_emplace(id.stub());
  if (fresh) {
    if (ReadOpen<DxDbLayerTableRecord> l(id); l) {
      LayerInfo& li = it->second;
      li.off = l->isOff();
      li.frozen = l->isFrozen();
      // Definition points of dimensions never plot.
      li.plottable = l->isPlottable() && strcasecmp(l->name(), "DEFPOINTS") != 0;
      li.color = l->color();
      li.linetype = l->linetypeObjectId();
      li.lineweight = l->lineWeight();
    }
  }
  return it->second;
}

Rgb Renderer::indexColor(int aci) const {
  if (aci <= 0 || aci == 7 || aci > 255) return m_black ? Rgb{1, 1, 1} : Rgb{0, 0, 0};
  uint32_t v = DxCmColor::paletteRGB(int16_t(aci));
  return {((v >> 16) & 255) / 255.0, ((v >> 8) & 255) / 255.0, (v & 255) / 255.0};
}

Rgb Renderer::colorOf(const DxCmColor& c) const {
  if (c.isByColor()) return {c.red() / 255.0, c.green() / 255.0, c.blue() / 255.0};
  return indexColor(c.colorIndex());
}

DxDbObjectId Renderer::effectiveLayer(const DxDbEntity* e, const Context& ctx) const {
  DxDbObjectId l = e->layerId();
  if ((l == m_layer0 || l.isNull()) && !ctx.in.layer.isNull()) return ctx.in.layer;
  return l;
}

const Linetype& Renderer::linetype(DxDbObjectId lt) {
  auto [it, fresh] = m_linetypes.try_emplace(lt.stub());
  if (fresh) {
    if (ReadOpen<DxDbLinetypeTableRecord> r(lt); r) {
      double at = 0;
      for (const auto& d : r->dashes()) {
        it->second.lengths.push_back(d.length);
        at += std::fabs(d.length);
        // A text stands at the end of its element, moved by the element's offsets.
        if ((d.shapeFlags & 2) && !d.text.empty())
          it->second.texts.push_back({at, d.text, d.style, d.scale, d.rotationRad, d.xOffset, d.yOffset,
                                      (d.shapeFlags & 1) != 0, {}});
        else if (d.shapeFlags & 4)
          if (auto strokes = shapeStrokes(d.style, d.shapeNumber); !strokes.empty())
            it->second.texts.push_back({at, {}, d.style, d.scale, d.rotationRad, d.xOffset, d.yOffset,
                                        (d.shapeFlags & 1) != 0, std::move(strokes)});
      }
    }
  }
  return it->second;
}

std::vector<std::vector<DxGePoint2d>> Renderer::shapeStrokes(DxDbObjectId style, int number) {
  ReadOpen<DxDbTextStyleTableRecord> st(style);
  if (!st || !st->fileName()[0]) return {};
  std::string name = st->fileName();
  auto [it, fresh] = m_shapeFiles.try_emplace(name);
  if (fresh) {
    // Found the way the host finds support files: beside the drawing, in the current
    // folder, on the support path.
    char found[4096];
    for (std::string tryName : {name, name + ".shx"})
      if (dxedFindFile(tryName.c_str(), found, sizeof found) == RTNORM) {
        auto file = std::make_unique<ShapeFile>();
        if (file->load(found)) it->second = std::move(file);
        break;
      }
  }
  return it->second ? it->second->strokes(number) : std::vector<std::vector<DxGePoint2d>>{};
}

Pen Renderer::penFor(const DxDbEntity* e, const Context& ctx) {
  Pen pen;
  const LayerInfo& li = layer(effectiveLayer(e, ctx));
  DxCmColor c = e->color();
  if (c.isByLayer()) c = li.color;
  else if (c.isByBlock()) c = ctx.in.color;
  pen.color = colorOf(c);

  DxDbObjectId lt = e->linetypeId();
  if (lt.isNull() || lt == m_db->byLayerLinetype()) lt = li.linetype;
  else if (lt == m_db->byBlockLinetype()) lt = ctx.in.linetype;
  if (!lt.isNull() && lt != m_db->continuousLinetype()) {
    const Linetype& type = linetype(lt);
    pen.pattern = type.lengths;
    if (!type.texts.empty()) pen.texts = &type.texts;
  }
  pen.patternScale = planeScale(ctx.m) * e->linetypeScale() * m_ltscale;

  int lw = e->lineWeight();
  if (lw == DxDb::kLnWtByLayer) lw = li.lineweight;
  else if (lw == DxDb::kLnWtByBlock) lw = ctx.in.lineweight;
  if (lw < 0) lw = 25;  // the usual default lineweight, 0.25 mm
  pen.width = std::max(lw / 100.0 * m_unitsPerMm, 1.0);
  return pen;
}

void Renderer::addPath(const std::vector<DxGePoint3d>& pts, const DxGeMatrix3d& m, bool closed) {
  if (pts.empty()) return;
  Pt p = toDev(m, pts[0]);
  cairo_move_to(m_cr, p.x, p.y);
  for (size_t i = 1; i < pts.size(); ++i) {
    p = toDev(m, pts[i]);
    cairo_line_to(m_cr, p.x, p.y);
  }
  if (closed) cairo_close_path(m_cr);
}

bool Renderer::measured(double box[4]) const {
  if (m_box[0] > m_box[2]) return false;
  std::copy(m_box, m_box + 4, box);
  return true;
}

void Renderer::measurePath() {
  bool any = cairo_has_current_point(m_cr);
  double x1, y1, x2, y2;
  cairo_path_extents(m_cr, &x1, &y1, &x2, &y2);
  if (m_clips > 0) {
    // What a clip cuts away does not count.
    double c[4];
    cairo_clip_extents(m_cr, &c[0], &c[1], &c[2], &c[3]);
    x1 = std::max(x1, c[0]), y1 = std::max(y1, c[1]), x2 = std::min(x2, c[2]), y2 = std::min(y2, c[3]);
  }
  cairo_new_path(m_cr);
  if (!any || x1 > x2 || y1 > y2) return;
  m_box[0] = std::min(m_box[0], x1), m_box[1] = std::min(m_box[1], y1);
  m_box[2] = std::max(m_box[2], x2), m_box[3] = std::max(m_box[3], y2);
}

void Renderer::fill() {
  if (m_measuring) return measurePath();
  cairo_fill(m_cr);
}

void Renderer::stroke(const Pen& pen) {
  if (m_measuring) return measurePath();
  setColor(pen.color);
  cairo_set_line_width(m_cr, pen.width);
  cairo_set_line_cap(m_cr, CAIRO_LINE_CAP_BUTT);
  cairo_set_line_join(m_cr, CAIRO_LINE_JOIN_ROUND);
  std::vector<double> dash;
  double lead = 0, total = 0;
  if (!pen.pattern.empty()) {
    // cairo starts with a dash: a leading gap moves to the end and the offset skips it.
    std::vector<double> on;  // alternating on, off lengths in device units
    for (double len : pen.pattern) {
      bool isGap = len < 0;
      double d = std::fabs(len) * pen.patternScale;
      if (!isGap && d < 1) d = 1;  // dots show as one device unit
      size_t want = on.size() % 2;  // 0: expecting a dash, 1: a gap
      if (on.empty() && isGap) {
        lead += d;
        continue;
      }
      if ((want == 1) == isGap) on.push_back(d);
      else on.back() += d;
    }
    if (on.size() % 2 == 1) on.push_back(lead), lead = 0;
    else if (!on.empty()) on.back() += lead;
    for (double d : on) total += d;
    // A pattern finer than a few device units reads as a continuous line.
    if (on.size() >= 2 && total >= 3) dash = std::move(on);
  }
  if (dash.empty()) cairo_set_dash(m_cr, nullptr, 0, 0);
  else cairo_set_dash(m_cr, dash.data(), int(dash.size()), lead > 0 ? total - lead : 0);
  cairo_path_t* path = pen.texts && !dash.empty() ? cairo_copy_path_flat(m_cr) : nullptr;
  cairo_stroke(m_cr);
  if (path) {
    writeLineTexts(path, pen, total);
    cairo_path_destroy(path);
  }
}

void Renderer::drawLineShape(const std::vector<std::vector<DxGePoint2d>>& strokes, double x, double y, double a,
                             double size, const Pen& pen) {
  // Shape units y up, turned by a, to device units y down.
  const double c = std::cos(a) * size, s = std::sin(a) * size;
  for (const auto& line : strokes)
    for (size_t i = 0; i < line.size(); ++i) {
      double px = x + c * line[i].x - s * line[i].y, py = y - (s * line[i].x + c * line[i].y);
      if (i == 0) cairo_move_to(m_cr, px, py);
      else cairo_line_to(m_cr, px, py);
    }
  cairo_set_dash(m_cr, nullptr, 0, 0);
  cairo_stroke(m_cr);
}

void Renderer::writeLineTexts(cairo_path_t* path, const Pen& pen, double patternLength) {
  // Walks each piece of the path, counting the distance from the piece's start.
  double px = 0, py = 0, along = 0;
  for (int i = 0; i < path->num_data; i += path->data[i].header.length) {
    const cairo_path_data_t& d = path->data[i];
    if (d.header.type == CAIRO_PATH_MOVE_TO) {
      px = path->data[i + 1].point.x, py = path->data[i + 1].point.y, along = 0;
      continue;
    }
    if (d.header.type != CAIRO_PATH_LINE_TO) continue;
    double qx = path->data[i + 1].point.x, qy = path->data[i + 1].point.y;
    double len = std::hypot(qx - px, qy - py);
    if (len > 0) {
      double ux = (qx - px) / len, uy = (qy - py) / len;
      for (const LineText& t : *pen.texts) {
        double first = t.offset * pen.patternScale;
        // Every repeat whose text position falls on this segment.
        double k0 = std::ceil((along - first) / patternLength);
        for (double k = std::max(k0, 0.0); first + k * patternLength < along + len; ++k) {
          double s = first + k * patternLength - along;
          double dx = t.dx * pen.patternScale, dy = t.dy * pen.patternScale;
          // Device y runs down: the line's left side is (uy, -ux).
          double x = px + ux * s + ux * dx + uy * dy, y = py + uy * s + uy * dx - ux * dy;
          double a = t.absolute ? t.rotation : std::atan2(-uy, ux) + t.rotation;
          if (t.shape.empty())
            m_text->drawLabel(t.text, t.style, x, y, std::cos(a), -std::sin(a), t.height * pen.patternScale,
                              pen.color);
          else
            drawLineShape(t.shape, x, y, a, t.height * pen.patternScale, pen);
        }
      }
    }
    along += len;
    px = qx, py = qy;
  }
}

void Renderer::drawSpace(DxDbObjectId btr, const DxGeMatrix3d& toDevice) {
  Context ctx;
  ctx.m = toDevice;
  double x1, y1, x2, y2;
  cairo_clip_extents(m_cr, &x1, &y1, &x2, &y2);
  m_areaHeight = std::fabs(y2 - y1);
  drawBlock(btr, ctx);
}

// A point as the drawing's PDMODE shows it: a dot, nothing, a plus, a cross or a tick,
// with a circle (32) and a square (64) around; PDSIZE in drawing units, or when 0 or
// negative a share of the height of the area drawn.
void Renderer::drawPoint(const DxGePoint3d& p, const DxGeMatrix3d& m, const Pen& pen) {
  Pt d = toDev(m, p);
  setColor(pen.color);
  int shape = m_pdmode & 7;
  if (shape == 0 && !(m_pdmode & 96)) {
    cairo_arc(m_cr, d.x, d.y, std::max(pen.width, 1.0), 0, 2 * kPi);
    fill();
    return;
  }
  double size = m_pdsize > 0 ? m_pdsize * planeScale(m)
                             : m_areaHeight * (m_pdsize < 0 ? -m_pdsize / 100 : 0.05);
  double h = std::max(size, 2.0) / 2;
  if (shape == 0) cairo_arc(m_cr, d.x, d.y, std::max(pen.width, 1.0), 0, 2 * kPi), fill();
  if (shape == 2) {
    cairo_move_to(m_cr, d.x - h, d.y), cairo_line_to(m_cr, d.x + h, d.y);
    cairo_move_to(m_cr, d.x, d.y - h), cairo_line_to(m_cr, d.x, d.y + h);
  } else if (shape == 3) {
    cairo_move_to(m_cr, d.x - h, d.y - h), cairo_line_to(m_cr, d.x + h, d.y + h);
    cairo_move_to(m_cr, d.x - h, d.y + h), cairo_line_to(m_cr, d.x + h, d.y - h);
  } else if (shape == 4) {
    cairo_move_to(m_cr, d.x, d.y), cairo_line_to(m_cr, d.x, d.y - h);  // device y runs down
  }
  if (m_pdmode & 32) cairo_new_sub_path(m_cr), cairo_arc(m_cr, d.x, d.y, h, 0, 2 * kPi);
  if (m_pdmode & 64) cairo_rectangle(m_cr, d.x - h, d.y - h, 2 * h, 2 * h);
  stroke(Pen{pen.color, pen.width});
}

std::vector<DxDbObjectId> Renderer::drawOrder(const DxDbBlockTableRecord* btr) {
  std::vector<DxDbObjectId> ids = btr->entityIds();
  DxDbObjectId xdict = btr->extensionDictionary();
  if (xdict.isNull()) return ids;
  ReadOpen<DxDbDictionary> dict(xdict);
  DxDbObjectId sortId;
  if (!dict || dict->getAt("ACAD_SORTENTS", sortId) != Dxad::eOk) return ids;
  // The table gives some entities a sort handle that stands for their own handle when
  // the order is decided.
  std::unordered_map<uint64_t, uint64_t> sortKey;
  EntityList list(sortId);
  uint64_t pending = 0;
  for (const resbuf* rb = list.head(); rb; rb = rb->rbnext) {
    if (rb->restype == 331) {
      DxDbObjectId e;
      if (dxdbGetObjectId(e, rb->resval.rlname) == Dxad::eOk) pending = e.handle().value();
    } else if (rb->restype == 5 && pending) {
      sortKey[pending] = DxDbHandle(rb->resval.rstring).value();
      pending = 0;
    }
  }
  if (sortKey.empty()) return ids;
  std::vector<std::pair<uint64_t, DxDbObjectId>> keyed;
  keyed.reserve(ids.size());
  for (DxDbObjectId id : ids) {
    uint64_t h = id.handle().value();
    auto it = sortKey.find(h);
    keyed.emplace_back(it == sortKey.end() ? h : it->second, id);
  }
  std::stable_sort(keyed.begin(), keyed.end(),
                   [](const auto& a, const auto& b) { return a.first < b.first; });
  for (size_t i = 0; i < ids.size(); ++i) ids[i] = keyed[i].second;
  return ids;
}

void Renderer::drawBlock(DxDbObjectId btrId, const Context& ctx) {
  if (ctx.depth > kMaxDepth) return;
  std::vector<DxDbObjectId> ids;
  {
    ReadOpen<DxDbBlockTableRecord> btr(btrId);
    if (!btr) return;
    ids = drawOrder(btr.get());
  }
  for (DxDbObjectId id : ids) drawEntity(id, ctx);
}

void Renderer::drawEntity(DxDbObjectId id, const Context& ctx) {
  ReadOpen<DxDbEntity> e(id);
  if (!e || e->visibility() == DxDb::kInvisible) return;
  DxDbObjectId layerId = effectiveLayer(e.get(), ctx);
  const LayerInfo& li = layer(layerId);
  if (li.frozen || !li.plottable || (!m_vpFrozen.empty() && m_vpFrozen.count(layerId.stub()))) return;
  DxDbEntity* ent = e.get();
  // A reference on a layer that is off still shows what lies on other layers inside it.
  if (auto* ref = as<DxDbBlockReference>(ent)) return drawReference(ref, ctx);
  if (li.off) return;
  Pen pen = penFor(ent, ctx);
  const DxGeMatrix3d& m = ctx.m;
  double devScale = planeScale(m);
  std::vector<DxGePoint3d> pts;

  // A curve in its own plane: the plane's axes, then a flattened arc or ellipse.
  auto planeArc = [&](const DxGePoint3d& c, const DxGeVector3d& normal, const DxGeVector3d& major,
                      double ratio, double a0, double a1) {
    DxGeVector3d n = normal.normal();
    DxGeVector3d minor = n.crossProduct(major).normal() * (major.length() * ratio);
    std::vector<DxGePoint2d> uv;
    arcPoints(0, 0, 1, a0, a1, major.length() * devScale, uv);
    for (auto& p : uv) pts.push_back(c + major * p.x + minor * p.y);
  };

  if (auto* l = as<DxDbLine>(ent)) {
    pts = {l->startPoint(), l->endPoint()};
    addPath(pts, m, false);
    stroke(pen);
  } else if (auto* a = as<DxDbArc>(ent)) {
    double a0 = a->startAngle(), a1 = a->endAngle();
    while (a1 <= a0) a1 += 2 * kPi;
    planeArc(a->center(), a->normal(), dxgeArbitraryXAxis(a->normal().normal()) * a->radius(), 1, a0, a1);
    addPath(pts, m, false);
    stroke(pen);
  } else if (auto* c = as<DxDbCircle>(ent)) {
    planeArc(c->center(), c->normal(), dxgeArbitraryXAxis(c->normal().normal()) * c->radius(), 1, 0, 2 * kPi);
    addPath(pts, m, true);
    stroke(pen);
  } else if (auto* el = as<DxDbEllipse>(ent)) {
    double a0 = el->startParam(), a1 = el->endParam();
    while (a1 <= a0) a1 += 2 * kPi;
    planeArc(el->center(), el->normal(), el->majorAxis(), el->radiusRatio(), a0, a1);
    addPath(pts, m, std::fabs(a1 - a0 - 2 * kPi) < 1e-9);
    stroke(pen);
  } else if (auto* sp = as<DxDbSpline>(ent)) {
    int n = int(std::clamp<size_t>(sp->controlPoints().size() * 12, 24, 4000));
    sp->getSamplePoints(n, pts);
    addPath(pts, m, sp->isClosed());
    stroke(pen);
  } else if (auto* rg = as<DxDbRegion>(ent)) {
    // The edges of every loop, each stroked on its own.
    for (const auto& f : rg->faces())
      for (const auto& l : f.loops)
        for (const auto& ed : l.edges) {
          pts.clear();
          if (ed.isArc)
            planeArc(ed.center, ed.normal, ed.majorAxis, ed.ratio, ed.startParam, ed.endParam);
          else
            pts = {ed.start, ed.end};
          addPath(pts, m, false);
        }
    stroke(pen);
  } else if (auto* pl = as<DxDbPolyline>(ent)) {
    drawPolyline(pl, ctx, pen);
  } else if (auto* hp = as<DxDbPolylineHeavy>(ent)) {
    drawHeavyPolyline(hp, ctx, pen);
  } else if (auto* p = as<DxDbPoint>(ent)) {
    drawPoint(p->position(), m, pen);
  } else if (auto* so = as<DxDbSolid>(ent)) {
    DxGePoint3d q[4];
    for (int i = 0; i < 4; ++i) so->getPointAt(i, q[i]);
    pts = {q[0], q[1], q[3], q[2]};  // the third and fourth corners are given crosswise
    addPath(pts, m, true);
    setColor(pen.color);
    fill();
  } else if (auto* at = as<DxDbAttribute>(ent)) {
    if (!at->isInvisible()) m_text->drawText(at, m, pen.color);
  } else if (auto* ad = as<DxDbAttributeDefinition>(ent)) {
    // Definitions show in their own block's editing only, never through a reference.
    if (ctx.depth == 0 && !ad->isInvisible()) m_text->drawText(ad, m, pen.color);
  } else if (auto* t = as<DxDbText>(ent)) {
    m_text->drawText(t, m, pen.color);
  } else if (auto* mt = as<DxDbMText>(ent)) {
    m_text->drawMText(mt, m, pen.color);
  } else if (auto* h = as<DxDbHatch>(ent)) {
    drawHatch(*this, h, m, pen);
  } else if (auto* d = as<DxDbDimension>(ent)) {
    // A dimension draws as its block, already placed in world coordinates.
    Context inner = ctx;
    inner.depth = ctx.depth + 1;
    inner.in.color = ent->color().isByBlock() ? ctx.in.color
                     : ent->color().isByLayer() ? li.color : ent->color();
    inner.in.layer = effectiveLayer(ent, ctx);
    DxDbObjectId block = d->dimensionBlockId();
    if (block.isNull()) block = blockNamedInList(id);  // a block read after its dimension
    drawBlock(block, inner);
  } else if (auto* w = as<DxDbWipeout>(ent)) {
    drawImage(w, ctx, pen, true);
  } else if (auto* img = as<DxDbRasterImage>(ent)) {
    drawImage(img, ctx, pen, false);
  } else if (auto* u = as<DxDbUnknownEntity>(ent)) {
    drawUnknown(u, ctx, pen);
  }
}

void Renderer::drawPolyline(DxDbPolyline* pl, const Context& ctx, const Pen& pen) {
  std::vector<PlineVertex> v(pl->numVerts());
  for (unsigned i = 0; i < v.size(); ++i) {
    pl->getPointAt(i, v[i].pt);
    pl->getBulgeAt(i, v[i].bulge);
    if (pl->constantWidth() > 0) v[i].w0 = v[i].w1 = pl->constantWidth();
    else pl->getWidthsAt(i, v[i].w0, v[i].w1);
  }
  drawVertices(v, pl->isClosed(), pl->elevation(), ctx.m * DxGeMatrix3d::planeToWorld(pl->normal()), pen);
}

void Renderer::drawVertices(const std::vector<PlineVertex>& v, bool closed, double z, const DxGeMatrix3d& m,
                            const Pen& pen) {
  size_t n = v.size();
  if (n == 0) return;
  double devScale = planeScale(m);
  size_t segs = closed ? n : n - 1;
  bool wide = false;
  for (size_t i = 0; i < segs && !wide; ++i) wide = v[i].w0 > 0 || v[i].w1 > 0;
  if (!wide) {
    std::vector<DxGePoint2d> flat{v[0].pt};
    for (size_t i = 0; i < segs; ++i) bulgePoints(v[i].pt, v[(i + 1) % n].pt, v[i].bulge, devScale, flat);
    std::vector<DxGePoint3d> pts;
    pts.reserve(flat.size());
    for (auto& p : flat) pts.emplace_back(p.x, p.y, z);
    if (closed && pts.size() > 1) pts.pop_back();
    addPath(pts, m, closed);
    stroke(pen);
    return;
  }
  // Wide segments are filled bands, their width changing linearly along each segment.
  setColor(pen.color);
  for (size_t i = 0; i < segs; ++i) {
    double w0 = v[i].w0, w1 = v[i].w1;
    std::vector<DxGePoint2d> flat{v[i].pt};
    bulgePoints(v[i].pt, v[(i + 1) % n].pt, v[i].bulge, devScale, flat);
    size_t k = flat.size();
    std::vector<DxGePoint3d> left, right;
    for (size_t j = 0; j < k; ++j) {
      // Direction at this point: along the neighbouring chords.
      const DxGePoint2d& p0 = flat[j == 0 ? 0 : j - 1];
      const DxGePoint2d& p1 = flat[j + 1 < k ? j + 1 : k - 1];
      double dx = p1.x - p0.x, dy = p1.y - p0.y, len = std::hypot(dx, dy);
      if (len < 1e-12) continue;
      double w = (w0 + (w1 - w0) * (k > 1 ? double(j) / double(k - 1) : 0)) / 2;
      double nx = -dy / len * w, ny = dx / len * w;
      left.emplace_back(flat[j].x + nx, flat[j].y + ny, z);
      right.emplace_back(flat[j].x - nx, flat[j].y - ny, z);
    }
    if (left.size() < 2) continue;
    std::vector<DxGePoint3d> band(left);
    band.insert(band.end(), right.rbegin(), right.rend());
    addPath(band, m, true);
    if (m_measuring) {
      measurePath();
      continue;
    }
    // A hairline edge keeps bands narrower than a device unit visible.
    cairo_fill_preserve(m_cr);
    cairo_set_line_width(m_cr, 1);
    cairo_set_dash(m_cr, nullptr, 0, 0);
    cairo_stroke(m_cr);
  }
}

void Renderer::drawHeavyPolyline(DxDbPolylineHeavy* pl, const Context& ctx, const Pen& pen) {
  bool flat3d = pl->is3d();
  // Polyface meshes (flag 64) keep their faces in vertex records; their outline is drawn
  // from the face records.
  bool polyface = (pl->polyFlags() & 64) != 0;
  DxGeMatrix3d m = flat3d ? ctx.m : ctx.m * DxGeMatrix3d::planeToWorld(pl->normal());
  std::vector<DxGePoint3d> verts;
  std::vector<double> bulges;
  std::vector<DxDbObjectId> widthIds;
  std::vector<std::array<int, 4>> faces;
  for (DxDbObjectId vid : pl->vertexIds()) {
    ReadOpen<DxDbVertex> v(vid);
    if (!v) continue;
    int f = v->vertexFlags();
    if (f & 16) continue;  // a spline frame's control point
    if (polyface && (f & 128) && !(f & 64)) {
      EntityList list(vid);
      faces.push_back({list.integer(71, 0), list.integer(72, 0), list.integer(73, 0), list.integer(74, 0)});
      continue;
    }
    DxGePoint3d p = v->position();
    if (!flat3d) p.z = pl->elevation();
    verts.push_back(p);
    bulges.push_back(v->bulge());
    widthIds.push_back(vid);
  }
  if (polyface) {
    for (auto& f : faces) {
      std::vector<DxGePoint3d> face;
      for (int idx : f)
        if (idx != 0 && std::abs(idx) <= int(verts.size())) face.push_back(verts[std::abs(idx) - 1]);
      addPath(face, m, true);
    }
    stroke(pen);
    return;
  }
  if (verts.empty()) return;
  if (flat3d) {
    addPath(verts, m, pl->isClosed());
    stroke(pen);
    return;
  }
  // Widths are kept in the entity lists: the polyline's default, then each vertex's own.
  EntityList own(pl->objectId());
  double dw0 = own.real(40, 0), dw1 = own.real(41, 0);
  std::vector<PlineVertex> v;
  for (size_t i = 0; i < verts.size(); ++i) {
    EntityList vl(widthIds[i]);
    v.push_back({verts[i].to2d(), bulges[i], vl.real(40, dw0), vl.real(41, dw1)});
  }
  drawVertices(v, pl->isClosed(), pl->elevation(), m, pen);
}

// Pixel coordinates of an image's boundary (origin at the top-left, y down) to entity
// coordinates through its origin and the vectors of one pixel.
static std::vector<DxGePoint3d> imageBoundary(const DxDbRasterImage* img) {
  DxGePoint3d origin;
  DxGeVector3d u, v;
  img->getOrientation(origin, u, v);
  double w = img->imageSize().x, h = img->imageSize().y;
  std::vector<DxGePoint2d> px = img->clipBoundary();
  if (!img->isClipped() || px.size() < 2) px = {{-0.5, -0.5}, {w - 0.5, h - 0.5}};
  if (px.size() == 2) {
    auto [a, b] = std::pair(px[0], px[1]);
    px = {a, {b.x, a.y}, b, {a.x, b.y}};
  }
  std::vector<DxGePoint3d> out;
  for (auto& p : px) out.push_back(origin + u * (p.x + 0.5) + v * (h - (p.y + 0.5)));
  return out;
}

void Renderer::drawImage(DxDbRasterImage* img, const Context& ctx, const Pen& pen, bool wipeout) {
  std::vector<DxGePoint3d> boundary = imageBoundary(img);
  if (boundary.size() < 3) return;
  if (wipeout) {
    // A wipeout paints the background over whatever was drawn before it.
    addPath(boundary, ctx.m, true);
    setColor(background());
    fill();
    return;
  }
  cairo_surface_t* pic = nullptr;
  if (ReadOpen<DxDbRasterImageDef> def(img->imageDefId()); def && !m_measuring) {
    std::string file = def->sourceFileName();
    std::replace(file.begin(), file.end(), '\\', '/');
    std::filesystem::path p(file);
    if (p.is_relative() && m_db->originalFileName() && *m_db->originalFileName())
      p = std::filesystem::path(m_db->originalFileName()).parent_path() / p;
    std::error_code ec;
    if (std::filesystem::is_regular_file(p, ec)) pic = loadPicture(p.string());
  }
  if (pic) {
    DxGePoint3d origin;
    DxGeVector3d u, v;
    img->getOrientation(origin, u, v);
    double w = cairo_image_surface_get_width(pic), h = cairo_image_surface_get_height(pic);
    // The picture's own pixels may differ from the size the drawing recorded.
    u = u * (img->imageSize().x / w);
    v = v * (img->imageSize().y / h);
    DxGePoint3d topLeft = origin + v * h;
    Pt p0 = toDev(ctx.m, topLeft), px = toDev(ctx.m, topLeft + u), py = toDev(ctx.m, topLeft - v);
    cairo_save(m_cr);
    addPath(boundary, ctx.m, true);
    cairo_clip(m_cr);
    cairo_matrix_t mx{px.x - p0.x, px.y - p0.y, py.x - p0.x, py.y - p0.y, p0.x, p0.y};
    cairo_transform(m_cr, &mx);
    cairo_set_source_surface(m_cr, pic, 0, 0);
    cairo_paint(m_cr);
    cairo_restore(m_cr);
    cairo_surface_destroy(pic);
  }
  // The frame shows where the picture stands, also when its file is not at hand.
  addPath(boundary, ctx.m, true);
  Pen frame = pen;
  frame.pattern.clear();
  stroke(frame);
}

DxDbObjectId Renderer::blockNamedInList(DxDbObjectId id) {
  EntityList list(id);
  const resbuf* name = list.find(2);
  ReadOpen<DxDbBlockTable> blocks(m_db->blockTableId());
  DxDbObjectId btr;
  if (!name || !blocks || blocks->getIdAt(name->resval.rstring, btr) != Dxad::eOk) return {};
  return btr;
}

void Renderer::drawUnknown(DxDbUnknownEntity* e, const Context& ctx, const Pen& pen) {
  const std::string& kind = e->dxfName();
  if (kind == "TRACE" || kind == "3DFACE") {
    EntityList list(e->objectId());
    std::vector<DxGePoint3d> q;
    for (int code : {10, 11, 13, 12})
      if (const resbuf* rb = list.find(code))
        q.emplace_back(rb->resval.rpoint[0], rb->resval.rpoint[1], rb->resval.rpoint[2]);
    if (q.size() != 4) return;
    if (kind == "3DFACE") std::swap(q[2], q[3]);  // a face lists its corners in order
    addPath(q, ctx.m, true);
    if (kind == "TRACE") {
      setColor(pen.color);
      fill();
    } else {
      stroke(pen);
    }
  } else if (kind == "ACAD_TABLE") {
    // A table draws as its anonymous block, placed in world coordinates.
    Context inner = ctx;
    inner.depth++;
    drawBlock(blockNamedInList(e->objectId()), inner);
  }
}

// ---------------------------------------------------------------------------------------
// Block references

void Renderer::drawReference(DxDbBlockReference* ref, const Context& ctx) {
  if (ctx.depth >= kMaxDepth) return;
  int cols = std::max<int>(1, ref->columnCount()), rows = std::max<int>(1, ref->rowCount());
  DxGeMatrix3d base = ref->blockTransform();
  if (cols == 1 && rows == 1) return drawReferenceOnce(ref, base, ctx);
  EntityList list(ref->objectId());
  double dx = list.real(44, 0), dy = list.real(45, 0);
  DxGeMatrix3d frame = DxGeMatrix3d::planeToWorld(ref->normal()) *
                       DxGeMatrix3d::rotation(ref->rotation(), DxGeVector3d::kZAxis);
  for (int r = 0; r < rows; ++r)
    for (int c = 0; c < cols; ++c) {
      DxGeVector3d step = frame * DxGeVector3d(c * dx, r * dy, 0);
      drawReferenceOnce(ref, DxGeMatrix3d::translation(step) * base, ctx);
    }
}

void Renderer::drawReferenceOnce(DxDbBlockReference* ref, const DxGeMatrix3d& blockXf,
                                 const Context& ctx) {
  const LayerInfo& li = layer(effectiveLayer(ref, ctx));
  Context inner;
  inner.m = ctx.m * blockXf;
  inner.depth = ctx.depth + 1;
  DxCmColor c = ref->color();
  inner.in.color = c.isByBlock() ? ctx.in.color : c.isByLayer() ? li.color : c;
  inner.in.layer = effectiveLayer(ref, ctx);
  DxDbObjectId lt = ref->linetypeId();
  inner.in.linetype = lt == m_db->byBlockLinetype() ? ctx.in.linetype
                      : (lt.isNull() || lt == m_db->byLayerLinetype()) ? li.linetype : lt;
  int lw = ref->lineWeight();
  inner.in.lineweight = lw == DxDb::kLnWtByBlock ? ctx.in.lineweight
                        : lw == DxDb::kLnWtByLayer ? li.lineweight : lw;
  bool clipped = pushSpatialClip(ref, inner.m);
  drawBlock(ref->blockTableRecord(), inner);
  // Attributes stand in the reference's own coordinates, not the block's.
  Context atts = inner;
  atts.m = ctx.m;
  for (DxDbObjectId a : ref->attributeIds()) drawEntity(a, atts);
  if (clipped) {
    cairo_restore(m_cr);
    --m_clips;
  }
}

bool Renderer::pushSpatialClip(DxDbBlockReference* ref, const DxGeMatrix3d& refToDevice) {
  DxDbReferenceClip clip;
  if (!dxdbReferenceClip(ref, clip) || !clip.enabled) return false;
  bool inverted = clip.inverted;
  cairo_save(m_cr);
  cairo_new_path(m_cr);
  addPath(clip.blockPolygon, refToDevice, true);
  if (inverted) {
    double x1, y1, x2, y2;
    cairo_clip_extents(m_cr, &x1, &y1, &x2, &y2);
    cairo_rectangle(m_cr, x1 - 1, y1 - 1, x2 - x1 + 2, y2 - y1 + 2);
    cairo_set_fill_rule(m_cr, CAIRO_FILL_RULE_EVEN_ODD);
  }
  cairo_clip(m_cr);
  cairo_set_fill_rule(m_cr, CAIRO_FILL_RULE_WINDING);
  ++m_clips;
  return true;
}

}  // namespace dx::plot
