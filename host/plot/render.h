// Inside the plotter: the renderer that walks a space and draws each entity with cairo.
#pragma once

#include <cairo.h>

#include <memory>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "hostapi/db.h"

namespace dx::plot {

struct Rgb {
  double r = 0, g = 0, b = 0;
};

// The entity as one of its classes, or null.
template <class T>
T* as(DxDbObject* o) {
  return DxRxObject::cast<T>(o);
}

// Opens an object for read and closes it on every path.
template <class T>
class ReadOpen {
 public:
  explicit ReadOpen(DxDbObjectId id) {
    if (id.isNull() || dxdbOpenObject(m_obj, id, DxDb::kForRead) != Dxad::eOk) m_obj = nullptr;
  }
  ~ReadOpen() {
    if (m_obj) m_obj->close();
  }
  ReadOpen(const ReadOpen&) = delete;
  ReadOpen& operator=(const ReadOpen&) = delete;
  T* operator->() const { return m_obj; }
  T* get() const { return m_obj; }
  explicit operator bool() const { return m_obj != nullptr; }

 private:
  T* m_obj = nullptr;
};

// The entity list of an object, released on every path; walked group by group.
class EntityList {
 public:
  explicit EntityList(DxDbObjectId id);
  ~EntityList() { dxutRelRb(m_head); }
  EntityList(const EntityList&) = delete;
  EntityList& operator=(const EntityList&) = delete;
  const resbuf* head() const { return m_head; }
  // The first group with this code (after `from` when given), or null.
  const resbuf* find(int code, const resbuf* from = nullptr) const;
  double real(int code, double dflt) const;
  int integer(int code, int dflt) const;

 private:
  resbuf* m_head = nullptr;
};
// Value of a group that may be stored as a 16- or 32-bit integer.
int rbInt(const resbuf* rb);

// Device coordinates of a point under a world-to-device matrix.
struct Pt {
  double x = 0, y = 0;
};
inline Pt toDev(const DxGeMatrix3d& m, const DxGePoint3d& p) {
  return {m.entry[0][0] * p.x + m.entry[0][1] * p.y + m.entry[0][2] * p.z + m.entry[0][3],
          m.entry[1][0] * p.x + m.entry[1][1] * p.y + m.entry[1][2] * p.z + m.entry[1][3]};
}
// Length scale of a matrix in the drawing plane (1 for a pure rotation).
double planeScale(const DxGeMatrix3d& m);
// Points of an arc of a circle in the XY plane (angles in radians, counter-clockwise),
// enough of them for the given device radius.
void arcPoints(double cx, double cy, double r, double a0, double a1, double devRadius,
               std::vector<DxGePoint2d>& out);
// Arc between two points with a bulge, appended without its first point.
void bulgePoints(const DxGePoint2d& a, const DxGePoint2d& b, double bulge, double devScale,
                 std::vector<DxGePoint2d>& out);

class TextPainter;
class ShapeFile;

// What BYBLOCK properties and layer-0 entities take from the reference that draws them.
struct Inherited {
  DxCmColor color = DxCmColor::byACI(7);
  DxDbObjectId layer;     // null at the top level
  DxDbObjectId linetype;  // null: continuous
  int lineweight = -3;
};

struct LayerInfo {
  bool off = false, frozen = false, plottable = true;
  DxCmColor color = DxCmColor::byACI(7);
  DxDbObjectId linetype;
  int lineweight = -3;
};

// A text or a shape a linetype puts along the line once a pattern.
struct LineText {
  double offset = 0;  // pattern units from the pattern's start
  std::string text;
  DxDbObjectId style;
  double height = 1, rotation = 0, dx = 0, dy = 0;  // height: the shape's scale for a shape
  bool absolute = false;  // rotation from the x axis rather than from the line
  std::vector<std::vector<DxGePoint2d>> shape;  // a shape's strokes, shape units
};
struct Linetype {
  std::vector<double> lengths;
  std::vector<LineText> texts;
};

// Resolved drawing properties of one entity.
struct Pen {
  Rgb color;
  double width = 1;             // device units
  std::vector<double> pattern;  // world units: dash > 0, gap < 0, dot 0; empty: continuous
  double patternScale = 1;      // world to device for the pattern
  const std::vector<LineText>* texts = nullptr;
};

class Renderer {
 public:
  Renderer(cairo_t* cr, DxDbDatabase* db, bool blackBackground, double deviceUnitsPerMm);
  ~Renderer();

  // Draws every entity of a block table record (a space) under a world-to-device matrix.
  void drawSpace(DxDbObjectId btr, const DxGeMatrix3d& toDevice);
  // A layer's settings (cached).
  const LayerInfo& layer(DxDbObjectId id);
  Rgb background() const { return m_black ? Rgb{0, 0, 0} : Rgb{1, 1, 1}; }
  // Colour of an index, with 7 (and 0 at the top level) in the contrasting colour.
  Rgb indexColor(int aci) const;
  Rgb colorOf(const DxCmColor& c) const;

  cairo_t* cr() const { return m_cr; }
  DxDbDatabase* db() const { return m_db; }

  // Layers frozen in the viewport being drawn: they draw as if frozen.
  void setViewportFrozen(std::unordered_set<dx::db::Stub*> layers) { m_vpFrozen = std::move(layers); }

  // Measuring draws nothing: what would be inked adds to the extents instead.
  void setMeasuring(bool on) { m_measuring = on; }
  bool measuring() const { return m_measuring; }
  // Device box x1, y1, x2, y2 of what was measured; false when nothing was.
  bool measured(double box[4]) const;
  // Takes the current path into the extents and clears it.
  void measurePath();
  // Fills the current path (or measures it).
  void fill();

 private:
  struct Context {
    DxGeMatrix3d m;  // entity coordinates to device
    Inherited in;
    int depth = 0;
  };
  void drawBlock(DxDbObjectId btr, const Context& ctx);
  void drawEntity(DxDbObjectId id, const Context& ctx);
  void drawReference(DxDbBlockReference* ref, const Context& ctx);
  void drawReferenceOnce(DxDbBlockReference* ref, const DxGeMatrix3d& blockXf, const Context& ctx);
  void drawPolyline(DxDbPolyline* pl, const Context& ctx, const Pen& pen);
  void drawHeavyPolyline(DxDbPolylineHeavy* pl, const Context& ctx, const Pen& pen);
  struct PlineVertex {
    DxGePoint2d pt;
    double bulge = 0, w0 = 0, w1 = 0;
  };
  // A 2-D polyline in its plane: a stroked path, or filled bands where it has width.
  void drawVertices(const std::vector<PlineVertex>& v, bool closed, double z, const DxGeMatrix3d& m,
                    const Pen& pen);
  void drawPoint(const DxGePoint3d& p, const DxGeMatrix3d& m, const Pen& pen);
  void drawImage(DxDbRasterImage* img, const Context& ctx, const Pen& pen, bool wipeout);
  void drawUnknown(DxDbUnknownEntity* e, const Context& ctx, const Pen& pen);
  // The block an entity names in its group 2 (null when there is none).
  DxDbObjectId blockNamedInList(DxDbObjectId id);
  // Whether a spatial filter clips this reference; pushes the clip when it does.
  bool pushSpatialClip(DxDbBlockReference* ref, const DxGeMatrix3d& refToDevice);

  Pen penFor(const DxDbEntity* e, const Context& ctx);
  DxDbObjectId effectiveLayer(const DxDbEntity* e, const Context& ctx) const;
  const Linetype& linetype(DxDbObjectId lt);
  // The strokes of a shape of the shape file a style names (empty when either is missing).
  std::vector<std::vector<DxGePoint2d>> shapeStrokes(DxDbObjectId style, int number);
  // Writes a linetype's texts along the flattened path, once a pattern.
  void writeLineTexts(cairo_path_t* path, const Pen& pen, double patternLength);
  // A linetype's shape at a device point, turned by a (radians, counter-clockwise).
  void drawLineShape(const std::vector<std::vector<DxGePoint2d>>& strokes, double x, double y, double a,
                     double size, const Pen& pen);
  // Strokes the current path with the pen (dashes placed in device units).
  void stroke(const Pen& pen);
  void setColor(const Rgb& c) { cairo_set_source_rgb(m_cr, c.r, c.g, c.b); }
  // Adds a polyline in entity coordinates to the current path.
  void addPath(const std::vector<DxGePoint3d>& pts, const DxGeMatrix3d& m, bool closed);
  // Entities of a block in draw order (its sort table, when it has one).
  std::vector<DxDbObjectId> drawOrder(const DxDbBlockTableRecord* btr);

  cairo_t* m_cr;
  DxDbDatabase* m_db;
  bool m_measuring = false;
  int m_clips = 0;  // spatial clips in force
  double m_box[4] = {1e300, 1e300, -1e300, -1e300};
  bool m_black;
  double m_unitsPerMm;
  double m_ltscale = 1;
  int m_pdmode = 0;
  double m_pdsize = 0;
  double m_areaHeight = 0;  // device height of the area being drawn
  DxDbObjectId m_layer0;
  std::unordered_map<dx::db::Stub*, LayerInfo> m_layers;
  std::unordered_set<dx::db::Stub*> m_vpFrozen;
  std::unordered_map<dx::db::Stub*, Linetype> m_linetypes;
  std::unordered_map<std::string, std::unique_ptr<ShapeFile>> m_shapeFiles;  // by name as given
  std::unique_ptr<TextPainter> m_text;

  friend void drawHatch(Renderer&, DxDbHatch*, const DxGeMatrix3d&, const Pen&);
};

// A raster file as a cairo surface (null when it cannot be decoded).
cairo_surface_t* loadPicture(const std::string& path);

// Hatches: solid fills and pattern lines inside the boundary, islands left open.
void drawHatch(Renderer& r, DxDbHatch* h, const DxGeMatrix3d& m, const Pen& pen);

// Texts through FreeType faces found by fontconfig, with a Japanese fallback face.
class TextPainter {
 public:
  explicit TextPainter(Renderer& r);
  ~TextPainter();
  void drawText(const DxDbText* t, const DxGeMatrix3d& m, const Rgb& color);
  // A line of text in a style at a device point: baseline direction (ux, uy), height in
  // device units.
  void drawLabel(const std::string& text, DxDbObjectId style, double x, double y, double ux, double uy,
                 double height, const Rgb& color);
  void drawMText(const DxDbMText* t, const DxGeMatrix3d& m, const Rgb& color);

 private:
  struct Impl;
  std::unique_ptr<Impl> d;
};

}  // namespace dx::plot
