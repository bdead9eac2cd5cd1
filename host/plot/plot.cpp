// Plot driver: finds the layout, frames the window, makes the cairo surface of the
// file's kind, draws the space (and, on paper, each viewport's view of model space) and
// puts the file in place.
#include "host/plot/plot.h"

#include <cairo-pdf.h>
#include <cairo-svg.h>
#include <strings.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <unordered_set>

#include "host/plot/render.h"

namespace fs = std::filesystem;

namespace dx::plot {

bool parseSize(const std::string& s, int& w, int& h) {
  int a = 0, b = 0;
  char x = 0, rest = 0;
  if (std::sscanf(s.c_str(), "%d%c%d%c", &a, &x, &b, &rest) != 3 || (x != 'x' && x != 'X')) return false;
  if (a < 1 || b < 1 || a > 20000 || b > 20000) return false;
  w = a, h = b;
  return true;
}

bool parseWindow(const std::string& s, double w[4]) {
  double v[4];
  char rest = 0;
  if (std::sscanf(s.c_str(), "%lf,%lf,%lf,%lf%c", &v[0], &v[1], &v[2], &v[3], &rest) != 4) return false;
  if (v[0] == v[2] || v[1] == v[3] || !std::isfinite(v[0] + v[1] + v[2] + v[3])) return false;
  w[0] = std::min(v[0], v[2]), w[1] = std::min(v[1], v[3]);
  w[2] = std::max(v[0], v[2]), w[3] = std::max(v[1], v[3]);
  return true;
}

namespace {

struct Box {
  double x1 = 1e300, y1 = 1e300, x2 = -1e300, y2 = -1e300;
  bool empty() const { return x1 > x2; }
  void add(double x, double y) {
    x1 = std::min(x1, x), y1 = std::min(y1, y), x2 = std::max(x2, x), y2 = std::max(y2, y);
  }
};

// A viewport of a paper space layout: its frame on paper and the model view it shows.
struct Viewport {
  double cx = 0, cy = 0, w = 0, h = 0;    // frame on paper
  double vx = 0, vy = 0, viewHeight = 0;  // centre and height of the view, model units
  double tx = 0, ty = 0;                  // view target
  double twist = 0;
  std::unordered_set<dx::db::Stub*> frozen;  // layers frozen in this viewport only
};

std::vector<Viewport> viewportsOf(DxDbObjectId space) {
  std::vector<Viewport> out;
  ReadOpen<DxDbBlockTableRecord> btr(space);
  if (!btr) return out;
  for (DxDbObjectId id : btr->entityIds()) {
    {
      ReadOpen<DxDbUnknownEntity> e(id);
      if (!e || e->dxfName() != "VIEWPORT") continue;
    }
    EntityList list(id);
    // Number 1 is the sheet itself; status 0 is a viewport switched off.
    if (list.integer(69, 2) == 1 || list.integer(68, 1) == 0) continue;
    Viewport v;
    if (const resbuf* c = list.find(10)) v.cx = c->resval.rpoint[0], v.cy = c->resval.rpoint[1];
    if (const resbuf* c = list.find(12)) v.vx = c->resval.rpoint[0], v.vy = c->resval.rpoint[1];
    if (const resbuf* c = list.find(17)) v.tx = c->resval.rpoint[0], v.ty = c->resval.rpoint[1];
    v.w = list.real(40, 0), v.h = list.real(41, 0), v.viewHeight = list.real(45, 0);
    v.twist = list.real(51, 0);
    for (const resbuf* rb = list.find(331); rb; rb = list.find(331, rb)) {
      DxDbObjectId layer;
      if (dxdbGetObjectId(layer, rb->resval.rlname) == Dxad::eOk) v.frozen.insert(layer.stub());
    }
    if (v.w > 0 && v.h > 0 && v.viewHeight > 0) out.push_back(v);
  }
  return out;
}

// A first guess of what the space covers, from the entities' own extents (texts are
// only estimated there).
Box roughExtents(Renderer& r, DxDbObjectId space) {
  Box box;
  ReadOpen<DxDbBlockTableRecord> btr(space);
  if (!btr) return box;
  for (DxDbObjectId id : btr->entityIds()) {
    ReadOpen<DxDbEntity> e(id);
    if (!e) continue;
    const LayerInfo& li = r.layer(e->layerId());
    if (li.frozen || (li.off && !as<DxDbBlockReference>(e.get()))) continue;
    DxGePoint3d lo, hi;
    if (e->getGeomExtents(lo, hi) == Dxad::eOk && std::isfinite(lo.x + lo.y + hi.x + hi.y)) {
      box.add(lo.x, lo.y);
      box.add(hi.x, hi.y);
    }
  }
  return box;
}

// What the space inks: measured by a drawing pass that draws nothing, framed by the
// rough guess so that cairo's fixed-point coordinates keep their precision.
Box extentsOf(DxDbDatabase* db, DxDbObjectId space) {
  cairo_surface_t* rec = cairo_recording_surface_create(CAIRO_CONTENT_COLOR, nullptr);
  cairo_t* cr = cairo_create(rec);
  Box out;
  {
    Renderer r(cr, db, false, 1);
    r.setMeasuring(true);
    Box guess = roughExtents(r, space);
    for (const Viewport& v : viewportsOf(space)) {
      guess.add(v.cx - v.w / 2, v.cy - v.h / 2);
      guess.add(v.cx + v.w / 2, v.cy + v.h / 2);
    }
    if (!guess.empty()) {
      double span = std::max({guess.x2 - guess.x1, guess.y2 - guess.y1, 1e-9});
      double s = 4096 / span;
      DxGeMatrix3d m = DxGeMatrix3d::scaling(s) * DxGeMatrix3d::translation({-guess.x1, -guess.y1, 0});
      r.drawSpace(space, m);
      double b[4];
      if (r.measured(b)) {
        out.add(b[0] / s + guess.x1, b[1] / s + guess.y1);
        out.add(b[2] / s + guess.x1, b[3] / s + guess.y1);
      }
      for (const Viewport& v : viewportsOf(space)) {
        out.add(v.cx - v.w / 2, v.cy - v.h / 2);
        out.add(v.cx + v.w / 2, v.cy + v.h / 2);
      }
    }
  }
  cairo_destroy(cr);
  cairo_surface_destroy(rec);
  return out;
}

DxDbObjectId findLayout(DxDbDatabase* db, const std::string& name) {
  if (name.empty() || strcasecmp(name.c_str(), "Model") == 0) return db->modelSpaceId();
  ReadOpen<DxDbDictionary> nod(db->namedObjectsDictionaryId());
  DxDbObjectId layoutsId;
  if (!nod || nod->getAt("ACAD_LAYOUT", layoutsId) != Dxad::eOk) return {};
  ReadOpen<DxDbDictionary> layouts(layoutsId);
  if (!layouts) return {};
  std::unique_ptr<DxDbDictionaryIterator> it(layouts->newIterator());
  for (; !it->done(); it->next()) {
    ReadOpen<DxDbLayout> l(it->objectId());
    if (l && strcasecmp(l->getLayoutName(), name.c_str()) == 0) return l->getBlockTableRecordId();
  }
  return {};
}

// World window to device: uniform scale, centred, y up.
DxGeMatrix3d windowToDevice(const double win[4], double w, double h) {
  double s = std::min(w / (win[2] - win[0]), h / (win[3] - win[1]));
  DxGeMatrix3d m;
  m.entry[0][0] = s;
  m.entry[0][3] = w / 2 - s * (win[0] + win[2]) / 2;
  m.entry[1][1] = -s;
  m.entry[1][3] = h / 2 + s * (win[1] + win[3]) / 2;
  return m;
}

enum class Kind { Png, Svg, Pdf, Unknown };
Kind kindOf(const std::string& path) {
  std::string ext = fs::path(path).extension().string();
  std::transform(ext.begin(), ext.end(), ext.begin(), ::tolower);
  return ext == ".png" ? Kind::Png : ext == ".svg" ? Kind::Svg : ext == ".pdf" ? Kind::Pdf : Kind::Unknown;
}

}  // namespace

bool plotToFile(DxDbDatabase* db, const std::string& path, const Options& opt, std::string& err) {
  Kind kind = kindOf(path);
  if (kind == Kind::Unknown) {
    err = "cannot plot to '" + path + "': the name must end in .png, .svg or .pdf";
    return false;
  }
  DxDbObjectId space = findLayout(db, opt.layout);
  if (space.isNull()) {
    err = "the drawing has no layout named '" + opt.layout + "'";
    return false;
  }
  std::string tmp = path + ".part" + std::to_string(getpid());
  double w = opt.width, h = opt.height;
  cairo_surface_t* surface = nullptr;
  switch (kind) {
    case Kind::Png: surface = cairo_image_surface_create(CAIRO_FORMAT_RGB24, opt.width, opt.height); break;
    case Kind::Svg: surface = cairo_svg_surface_create(tmp.c_str(), w, h); break;
    default: surface = cairo_pdf_surface_create(tmp.c_str(), w, h); break;
  }
  if (cairo_surface_status(surface) != CAIRO_STATUS_SUCCESS) {
    err = "cannot write '" + path + "': " + cairo_status_to_string(cairo_surface_status(surface));
    cairo_surface_destroy(surface);
    std::error_code ec;
    fs::remove(tmp, ec);
    return false;
  }
  cairo_t* cr = cairo_create(surface);
  {
    // Lineweights: millimetres on a sheet at 96 dots (PNG) or 72 points (SVG, PDF) an inch.
    Renderer r(cr, db, opt.blackBackground, (kind == Kind::Png ? 96.0 : 72.0) / 25.4);
    double win[4];
    if (opt.hasWindow) {
      std::copy(opt.window, opt.window + 4, win);
    } else {
      Box b = extentsOf(db, space);
      if (b.empty()) b = {0, 0, 10, 10};
      // A margin of 2% keeps edge lines whole; a line or a point gets some room too.
      double mx = std::max((b.x2 - b.x1) * 0.02, 1e-6), my = std::max((b.y2 - b.y1) * 0.02, 1e-6);
      mx = std::max(mx, my * 0.01), my = std::max(my, mx * 0.01);
      win[0] = b.x1 - mx, win[1] = b.y1 - my, win[2] = b.x2 + mx, win[3] = b.y2 + my;
    }
    Rgb bg = r.background();
    cairo_set_source_rgb(cr, bg.r, bg.g, bg.b);
    cairo_paint(cr);
    DxGeMatrix3d toDevice = windowToDevice(win, w, h);
    // On pixels, a drawing's whole numbers fall on pixel centres: a one-pixel line along
    // them covers one row fully instead of two by halves.
    if (kind == Kind::Png) toDevice = DxGeMatrix3d::translation({0.5, 0.5, 0}) * toDevice;
    if (space != db->modelSpaceId()) {
      for (const Viewport& v : viewportsOf(space)) {
        double s = v.h / v.viewHeight;
        // Model -> view (about the target, turned by the twist) -> the frame on paper.
        DxGeMatrix3d view = DxGeMatrix3d::translation({v.cx, v.cy, 0}) * DxGeMatrix3d::scaling(s) *
                            DxGeMatrix3d::translation({-v.vx, -v.vy, 0}) *
                            DxGeMatrix3d::rotation(-v.twist, DxGeVector3d::kZAxis) *
                            DxGeMatrix3d::translation({-v.tx, -v.ty, 0});
        Pt a = toDev(toDevice, {v.cx - v.w / 2, v.cy - v.h / 2, 0});
        Pt b = toDev(toDevice, {v.cx + v.w / 2, v.cy + v.h / 2, 0});
        cairo_save(cr);
        cairo_rectangle(cr, std::min(a.x, b.x), std::min(a.y, b.y), std::fabs(b.x - a.x), std::fabs(b.y - a.y));
        cairo_clip(cr);
        r.setViewportFrozen(v.frozen);
        r.drawSpace(db->modelSpaceId(), toDevice * view);
        r.setViewportFrozen({});
        cairo_restore(cr);
      }
    }
    r.drawSpace(space, toDevice);
  }
  cairo_destroy(cr);
  cairo_surface_flush(surface);
  cairo_status_t st = CAIRO_STATUS_SUCCESS;
  if (kind == Kind::Png) st = cairo_surface_write_to_png(surface, tmp.c_str());
  cairo_surface_finish(surface);
  if (st == CAIRO_STATUS_SUCCESS) st = cairo_surface_status(surface);
  cairo_surface_destroy(surface);
  std::error_code ec;
  if (st != CAIRO_STATUS_SUCCESS) {
    err = "cannot write '" + path + "': " + cairo_status_to_string(st);
    fs::remove(tmp, ec);
    return false;
  }
  fs::rename(tmp, path, ec);
  if (ec) {
    err = "cannot write '" + path + "': " + ec.message();
    fs::remove(tmp, ec);
    return false;
  }
  return true;
}

}  // namespace dx::plot
