// Draxel host interface, database family: objects and entities.
#pragma once

#include "hostapi/db_base.h"

// ---------------------------------------------------------------------------------------
// Objects

class DxDbObjectReactor;

class DxDbObject : public DxRxObject {
  DX_DECLARE_MEMBERS(DxDbObject);

 public:
  DxDbObject();
  DxDbObject(const DxDbObject&);
  DxDbObject& operator=(const DxDbObject&) = delete;
  ~DxDbObject() override;

  DxDbObjectId objectId() const;
  DxDbObjectId ownerId() const { return m_owner; }
  Dxad::ErrorStatus setOwnerId(DxDbObjectId id);
  DxDbHandle getDbHandle() const;
  DxDbHandle handle() const { return getDbHandle(); }
  DxDbDatabase* database() const;

  Dxad::ErrorStatus upgradeOpen();
  Dxad::ErrorStatus downgradeOpen();
  Dxad::ErrorStatus close();
  Dxad::ErrorStatus erase(bool erasing = true);
  bool isErased() const;
  bool isReadEnabled() const { return m_openCount > 0; }
  bool isWriteEnabled() const { return m_openWrite; }
  bool isNewObject() const;
  // Throws nothing; reports to the host's open-discipline log when violated.
  void assertReadEnabled() const;
  void assertWriteEnabled();

  DxDbObjectId extensionDictionary() const { return m_xdict; }
  Dxad::ErrorStatus createExtensionDictionary();
  Dxad::ErrorStatus releaseExtensionDictionary();

  // Extended data as a chain starting at group 1001; null when there is none. With an
  // application name, only that application's part.
  resbuf* xData(const char* regappName = nullptr) const;
  Dxad::ErrorStatus setXData(const resbuf* xdata);

  void addPersistentReactor(DxDbObjectId id);
  Dxad::ErrorStatus removePersistentReactor(DxDbObjectId id);
  const DxDbObjectIdArray& getPersistentReactorIds() const;

  // A copy that is not in any database (no id, no owner).
  virtual DxDbObject* clone() const = 0;

 protected:
  friend struct dx::db::Access;
  dx::db::Stub* m_stub = nullptr;
  DxDbObjectId m_owner;
  DxDbObjectId m_xdict;
  std::unique_ptr<dx::db::ObjectExtras> m_extras;  // unmodelled tags, xdata, reactors
  uint16_t m_openCount = 0;
  bool m_openWrite = false;
};

class DxDbEntity : public DxDbObject {
  DX_DECLARE_MEMBERS(DxDbEntity);

 public:
  DxDbObjectId blockId() const { return ownerId(); }

  std::string layer() const;
  DxDbObjectId layerId() const { return m_layer; }
  Dxad::ErrorStatus setLayer(const char* name);
  Dxad::ErrorStatus setLayer(DxDbObjectId id);
  std::string linetype() const;
  DxDbObjectId linetypeId() const { return m_linetype; }
  Dxad::ErrorStatus setLinetype(const char* name);
  Dxad::ErrorStatus setLinetype(DxDbObjectId id);
  double linetypeScale() const { return m_ltscale; }
  Dxad::ErrorStatus setLinetypeScale(double s);
  DxCmColor color() const { return m_color; }
  Dxad::ErrorStatus setColor(const DxCmColor& c);
  int16_t colorIndex() const { return m_color.colorIndex(); }
  Dxad::ErrorStatus setColorIndex(int16_t index);
  DxDb::LineWeight lineWeight() const { return DxDb::LineWeight(m_lineweight); }
  Dxad::ErrorStatus setLineWeight(DxDb::LineWeight lw);
  DxDb::Visibility visibility() const { return m_invisible ? DxDb::kInvisible : DxDb::kVisible; }
  Dxad::ErrorStatus setVisibility(DxDb::Visibility v);
  // Layer, linetype, colour, linetype scale, lineweight and visibility of the current
  // drawing settings of db (or the entity's own database).
  void setDatabaseDefaults(DxDbDatabase* db = nullptr);
  // Copies layer, colour, linetype, scale, lineweight and visibility of another entity.
  void setPropertiesFrom(const DxDbEntity* other);

  virtual Dxad::ErrorStatus getGeomExtents(DxGePoint3d& minPt, DxGePoint3d& maxPt) const;
  virtual Dxad::ErrorStatus transformBy(const DxGeMatrix3d& xform);
  // Highlighting is a display state of the editor; the host keeps it per entity.
  Dxad::ErrorStatus highlight();
  Dxad::ErrorStatus unhighlight();
  bool isHighlighted() const { return m_highlighted; }
  // Explodes into new entities (not in a database); eNotApplicable when it cannot.
  virtual Dxad::ErrorStatus explode(std::vector<DxDbEntity*>& pieces) const;

 protected:
  DxDbEntity();
  friend struct dx::db::Access;
  DxDbObjectId m_layer;
  DxDbObjectId m_linetype;
  double m_ltscale = 1.0;
  DxCmColor m_color;
  int16_t m_lineweight = -1;
  bool m_invisible = false;
  bool m_highlighted = false;
};

#define DX_DB_ENTITY_CLASS(CLASS) \
  DX_DECLARE_MEMBERS(CLASS);      \
                                  \
 public:                          \
  DxDbObject* clone() const override

// The same for symbol table records and other objects.
#define DX_DB_RECORD_CLASS(CLASS) \
  DX_DECLARE_MEMBERS(CLASS);      \
                                  \
 public:                          \
  DxDbObject* clone() const override

class DxDbCurve : public DxDbEntity {
  DX_DECLARE_MEMBERS(DxDbCurve);

 protected:
  DxDbCurve() = default;
};

class DxDbLine : public DxDbCurve {
  DX_DB_ENTITY_CLASS(DxDbLine);
  DxDbLine() = default;
  DxDbLine(const DxGePoint3d& s, const DxGePoint3d& e) : m_start(s), m_end(e) {}
  DxGePoint3d startPoint() const { return m_start; }
  DxGePoint3d endPoint() const { return m_end; }
  Dxad::ErrorStatus setStartPoint(const DxGePoint3d& p);
  Dxad::ErrorStatus setEndPoint(const DxGePoint3d& p);
  double thickness() const { return m_thickness; }
  DxGeVector3d normal() const { return m_normal; }
  Dxad::ErrorStatus getGeomExtents(DxGePoint3d&, DxGePoint3d&) const override;
  Dxad::ErrorStatus transformBy(const DxGeMatrix3d& xform) override;

 private:
  friend struct dx::db::Access;
  DxGePoint3d m_start, m_end;
  double m_thickness = 0;
  DxGeVector3d m_normal{0, 0, 1};
};

class DxDbCircle : public DxDbCurve {
  DX_DB_ENTITY_CLASS(DxDbCircle);
  DxDbCircle() = default;
  DxDbCircle(const DxGePoint3d& center, const DxGeVector3d& normal, double radius);
  DxGePoint3d center() const;  // world coordinates
  Dxad::ErrorStatus setCenter(const DxGePoint3d& p);
  double radius() const { return m_radius; }
  Dxad::ErrorStatus setRadius(double r);
  DxGeVector3d normal() const { return m_normal; }
  Dxad::ErrorStatus setNormal(const DxGeVector3d& n);
  double thickness() const { return m_thickness; }
  Dxad::ErrorStatus getGeomExtents(DxGePoint3d&, DxGePoint3d&) const override;
  Dxad::ErrorStatus transformBy(const DxGeMatrix3d& xform) override;

 protected:
  friend struct dx::db::Access;
  DxGePoint3d m_center;  // object coordinates, as in the file
  double m_radius = 0;
  double m_thickness = 0;
  DxGeVector3d m_normal{0, 0, 1};
};

class DxDbArc : public DxDbCurve {
  DX_DB_ENTITY_CLASS(DxDbArc);
  DxDbArc() = default;
  DxDbArc(const DxGePoint3d& center, double radius, double startAngle, double endAngle);
  DxDbArc(const DxGePoint3d& center, const DxGeVector3d& normal, double radius,
          double startAngle, double endAngle);
  DxGePoint3d center() const;
  Dxad::ErrorStatus setCenter(const DxGePoint3d& p);
  double radius() const { return m_radius; }
  Dxad::ErrorStatus setRadius(double r);
  double startAngle() const;  // radians, in the arc's plane
  double endAngle() const;
  Dxad::ErrorStatus setStartAngle(double a);
  Dxad::ErrorStatus setEndAngle(double a);
  DxGeVector3d normal() const { return m_normal; }
  Dxad::ErrorStatus setNormal(const DxGeVector3d& n);
  double thickness() const { return m_thickness; }
  DxGePoint3d startPoint() const;
  DxGePoint3d endPoint() const;
  Dxad::ErrorStatus getGeomExtents(DxGePoint3d&, DxGePoint3d&) const override;
  Dxad::ErrorStatus transformBy(const DxGeMatrix3d& xform) override;

 private:
  friend struct dx::db::Access;
  DxGePoint3d m_center;
  double m_radius = 0;
  double m_startDeg = 0, m_endDeg = 360;  // degrees, as in the file
  double m_thickness = 0;
  DxGeVector3d m_normal{0, 0, 1};
};

class DxDbEllipse : public DxDbCurve {
  DX_DB_ENTITY_CLASS(DxDbEllipse);
  DxDbEllipse() = default;
  DxDbEllipse(const DxGePoint3d& center, const DxGeVector3d& normal,
              const DxGeVector3d& majorAxis, double radiusRatio, double startAngle = 0,
              double endAngle = 6.283185307179586);
  DxGePoint3d center() const { return m_center; }
  DxGeVector3d normal() const { return m_normal; }
  DxGeVector3d majorAxis() const { return m_major; }
  DxGeVector3d minorAxis() const;
  double radiusRatio() const { return m_ratio; }
  double startParam() const { return m_startParam; }
  double endParam() const { return m_endParam; }
  Dxad::ErrorStatus set(const DxGePoint3d& center, const DxGeVector3d& normal,
                        const DxGeVector3d& majorAxis, double radiusRatio,
                        double startParam = 0, double endParam = 6.283185307179586);
  Dxad::ErrorStatus getGeomExtents(DxGePoint3d&, DxGePoint3d&) const override;
  Dxad::ErrorStatus transformBy(const DxGeMatrix3d& xform) override;

 private:
  friend struct dx::db::Access;
  DxGePoint3d m_center;
  DxGeVector3d m_major{1, 0, 0};
  DxGeVector3d m_normal{0, 0, 1};
  double m_ratio = 1, m_startParam = 0, m_endParam = 6.283185307179586;
};

class DxDbPoint : public DxDbEntity {
  DX_DB_ENTITY_CLASS(DxDbPoint);
  DxDbPoint() = default;
  explicit DxDbPoint(const DxGePoint3d& p) : m_pos(p) {}
  DxGePoint3d position() const { return m_pos; }
  Dxad::ErrorStatus setPosition(const DxGePoint3d& p);
  DxGeVector3d normal() const { return m_normal; }
  Dxad::ErrorStatus getGeomExtents(DxGePoint3d&, DxGePoint3d&) const override;
  Dxad::ErrorStatus transformBy(const DxGeMatrix3d& xform) override;

 private:
  friend struct dx::db::Access;
  DxGePoint3d m_pos;
  double m_thickness = 0;
  DxGeVector3d m_normal{0, 0, 1};
  double m_xAngleDeg = 0;
};

// Lightweight polyline: 2-D vertices in its object coordinate system.
class DxDbPolyline : public DxDbCurve {
  DX_DB_ENTITY_CLASS(DxDbPolyline);
  DxDbPolyline() = default;
  explicit DxDbPolyline(unsigned reserve) { m_verts.reserve(reserve); }
  struct Vertex {
    DxGePoint2d pt;
    double startWidth = 0, endWidth = 0, bulge = 0;
    int32_t id = 0;
  };
  unsigned numVerts() const { return unsigned(m_verts.size()); }
  Dxad::ErrorStatus addVertexAt(unsigned index, const DxGePoint2d& pt, double bulge = 0,
                                double startWidth = -1, double endWidth = -1);
  Dxad::ErrorStatus removeVertexAt(unsigned index);
  Dxad::ErrorStatus getPointAt(unsigned index, DxGePoint2d& pt) const;
  Dxad::ErrorStatus getPointAt(unsigned index, DxGePoint3d& pt) const;  // world
  Dxad::ErrorStatus setPointAt(unsigned index, const DxGePoint2d& pt);
  Dxad::ErrorStatus getBulgeAt(unsigned index, double& bulge) const;
  Dxad::ErrorStatus setBulgeAt(unsigned index, double bulge);
  Dxad::ErrorStatus getWidthsAt(unsigned index, double& startW, double& endW) const;
  bool hasBulges() const;
  bool isOnlyLines() const { return !hasBulges(); }
  bool isClosed() const { return (m_flags & 1) != 0; }
  void setClosed(bool c);
  double elevation() const { return m_elevation; }
  void setElevation(double e);
  DxGeVector3d normal() const { return m_normal; }
  void setNormal(const DxGeVector3d& n);
  double constantWidth() const { return m_constWidth; }
  double thickness() const { return m_thickness; }
  // Segment i as an arc: false when the segment is straight.
  bool getArcSegAt(unsigned index, DxGePoint3d& center, double& radius, double& startAng,
                   double& endAng) const;
  // Segment i as an arc running from vertex i to the next: starts at angle 0 (refVec
  // points at vertex i), ends at the included angle. eNotApplicable when straight.
  Dxad::ErrorStatus getArcSegAt(unsigned index, DxGeCircArc3d& arc) const;
  Dxad::ErrorStatus getGeomExtents(DxGePoint3d&, DxGePoint3d&) const override;
  Dxad::ErrorStatus transformBy(const DxGeMatrix3d& xform) override;
  Dxad::ErrorStatus explode(std::vector<DxDbEntity*>& pieces) const override;

 private:
  friend struct dx::db::Access;
  friend class DxDbPolylineHeavy;
  std::vector<Vertex> m_verts;
  int16_t m_flags = 0;
  double m_constWidth = 0, m_elevation = 0, m_thickness = 0;
  DxGeVector3d m_normal{0, 0, 1};
};

class DxDbSequenceEnd : public DxDbEntity {
  DX_DB_ENTITY_CLASS(DxDbSequenceEnd);
  DxDbSequenceEnd() = default;
};

class DxDbVertex : public DxDbEntity {
  DX_DB_ENTITY_CLASS(DxDbVertex);
  DxDbVertex() = default;
  DxGePoint3d position() const { return m_pos; }
  Dxad::ErrorStatus setPosition(const DxGePoint3d& p);
  double bulge() const { return m_bulge; }
  int16_t vertexFlags() const { return m_flags; }

 private:
  friend struct dx::db::Access;
  friend class DxDbPolylineHeavy;
  DxGePoint3d m_pos;
  double m_startWidth = 0, m_endWidth = 0, m_bulge = 0, m_tangentDeg = 0;
  int16_t m_flags = 0;
};

// Old-style polyline (2-D, 3-D, mesh) with its vertices as owned sub-entities.
class DxDbPolylineHeavy : public DxDbCurve {
  DX_DB_ENTITY_CLASS(DxDbPolylineHeavy);
  DxDbPolylineHeavy();
  ~DxDbPolylineHeavy() override;
  int16_t polyFlags() const { return m_flags; }
  bool isClosed() const { return (m_flags & 1) != 0; }
  bool is3d() const { return (m_flags & (8 | 16 | 64)) != 0; }
  const DxDbObjectIdArray& vertexIds() const { return m_vertices; }
  // Appends a vertex (owned by the polyline from then on).
  Dxad::ErrorStatus appendVertex(DxDbObjectId& id, DxDbVertex* v);
  DxGeVector3d normal() const { return m_normal; }
  double elevation() const { return m_elevation.z; }
  Dxad::ErrorStatus getGeomExtents(DxGePoint3d&, DxGePoint3d&) const override;
  Dxad::ErrorStatus transformBy(const DxGeMatrix3d& xform) override;
  Dxad::ErrorStatus explode(std::vector<DxDbEntity*>& pieces) const override;

 private:
  friend struct dx::db::Access;
  DxGePoint3d m_elevation;
  int16_t m_flags = 0;
  double m_startWidth = 0, m_endWidth = 0, m_thickness = 0;
  int16_t m_meshM = 0, m_meshN = 0, m_smoothM = 0, m_smoothN = 0, m_curveType = 0;
  DxGeVector3d m_normal{0, 0, 1};
  DxDbObjectIdArray m_vertices;
  DxDbObjectId m_seqend;
  // Vertices of a polyline not yet in a database; they join it when it is appended.
  std::vector<std::shared_ptr<DxDbVertex>> m_pendingVertices;
};
using DxDb2dPolyline = DxDbPolylineHeavy;

class DxDbSolid : public DxDbEntity {
  DX_DB_ENTITY_CLASS(DxDbSolid);
  DxDbSolid() = default;
  DxDbSolid(const DxGePoint3d& p0, const DxGePoint3d& p1, const DxGePoint3d& p2,
            const DxGePoint3d& p3);
  Dxad::ErrorStatus getPointAt(int idx, DxGePoint3d& p) const;
  Dxad::ErrorStatus setPointAt(int idx, const DxGePoint3d& p);
  Dxad::ErrorStatus getGeomExtents(DxGePoint3d&, DxGePoint3d&) const override;
  Dxad::ErrorStatus transformBy(const DxGeMatrix3d& xform) override;

 private:
  friend struct dx::db::Access;
  DxGePoint3d m_pts[4];
  double m_thickness = 0;
  DxGeVector3d m_normal{0, 0, 1};
};

class DxDbText : public DxDbEntity {
  DX_DB_ENTITY_CLASS(DxDbText);
  DxDbText() = default;
  DxDbText(const DxGePoint3d& pos, const char* text, DxDbObjectId style = DxDbObjectId(),
           double height = 0, double rotation = 0);
  DxGePoint3d position() const { return m_pos; }
  Dxad::ErrorStatus setPosition(const DxGePoint3d& p);
  DxGePoint3d alignmentPoint() const { return m_align; }
  Dxad::ErrorStatus setAlignmentPoint(const DxGePoint3d& p);
  bool isDefaultAlignment() const { return m_hmode == 0 && m_vmode == 0; }
  const char* textString() const { return m_text.c_str(); }
  Dxad::ErrorStatus setTextString(const char* s);
  DxDbObjectId textStyle() const { return m_style; }
  Dxad::ErrorStatus setTextStyle(DxDbObjectId id);
  double height() const { return m_height; }
  Dxad::ErrorStatus setHeight(double h);
  double rotation() const;  // radians
  Dxad::ErrorStatus setRotation(double r);
  double widthFactor() const { return m_widthFactor; }
  Dxad::ErrorStatus setWidthFactor(double w);
  double oblique() const;  // radians
  Dxad::ErrorStatus setOblique(double r);
  DxDb::TextHorzMode horizontalMode() const { return DxDb::TextHorzMode(m_hmode); }
  DxDb::TextVertMode verticalMode() const { return DxDb::TextVertMode(m_vmode); }
  Dxad::ErrorStatus setHorizontalMode(DxDb::TextHorzMode m);
  Dxad::ErrorStatus setVerticalMode(DxDb::TextVertMode m);
  bool isMirroredInX() const { return (m_genFlags & 2) != 0; }
  bool isMirroredInY() const { return (m_genFlags & 4) != 0; }
  DxGeVector3d normal() const { return m_normal; }
  Dxad::ErrorStatus setNormal(const DxGeVector3d& n);
  double thickness() const { return m_thickness; }
  Dxad::ErrorStatus getGeomExtents(DxGePoint3d&, DxGePoint3d&) const override;
  Dxad::ErrorStatus transformBy(const DxGeMatrix3d& xform) override;

 protected:
  friend struct dx::db::Access;
  friend class DxDbAttribute;
  DxGePoint3d m_pos, m_align;
  double m_height = 0, m_rotationDeg = 0, m_widthFactor = 1, m_obliqueDeg = 0, m_thickness = 0;
  std::string m_text;
  DxDbObjectId m_style;
  int16_t m_genFlags = 0, m_hmode = 0, m_vmode = 0;
  bool m_hasAlign = false;  // the alignment point was given (files keep it even at left/base)
  DxGeVector3d m_normal{0, 0, 1};
};

class DxDbMText : public DxDbEntity {
  DX_DB_ENTITY_CLASS(DxDbMText);
  enum AttachmentPoint { kTopLeft = 1, kTopCenter, kTopRight, kMiddleLeft, kMiddleCenter,
                         kMiddleRight, kBottomLeft, kBottomCenter, kBottomRight };
  enum FlowDirection { kLtoR = 1, kRtoL = 2, kTtoB = 3, kBtoT = 4, kByStyle = 5 };
  DxDbMText() = default;
  DxGePoint3d location() const { return m_location; }
  Dxad::ErrorStatus setLocation(const DxGePoint3d& p);
  DxGeVector3d normal() const { return m_normal; }
  Dxad::ErrorStatus setNormal(const DxGeVector3d& n);
  DxGeVector3d direction() const;
  Dxad::ErrorStatus setDirection(const DxGeVector3d& d);
  double rotation() const;
  Dxad::ErrorStatus setRotation(double r);
  double width() const { return m_width; }
  Dxad::ErrorStatus setWidth(double w);
  double textHeight() const { return m_height; }
  Dxad::ErrorStatus setTextHeight(double h);
  DxDbObjectId textStyle() const { return m_style; }
  Dxad::ErrorStatus setTextStyle(DxDbObjectId id);
  AttachmentPoint attachment() const { return AttachmentPoint(m_attach); }
  Dxad::ErrorStatus setAttachment(AttachmentPoint a);
  FlowDirection flowDirection() const { return FlowDirection(m_flow); }
  Dxad::ErrorStatus setFlowDirection(FlowDirection f);
  std::string contents() const { return m_contents; }
  Dxad::ErrorStatus setContents(const char* s);
  double lineSpacingFactor() const { return m_lsFactor; }
  Dxad::ErrorStatus getGeomExtents(DxGePoint3d&, DxGePoint3d&) const override;
  Dxad::ErrorStatus transformBy(const DxGeMatrix3d& xform) override;

 private:
  friend struct dx::db::Access;
  friend class DxDbAttribute;
  DxGePoint3d m_location;
  double m_height = 0, m_width = 0, m_refHeight = 0;
  int16_t m_attach = 1, m_flow = 1, m_lsStyle = 1;
  double m_lsFactor = 1, m_rotationRad = 0;
  bool m_hasRotation = false;
  bool m_hasWidth = false;  // files may leave the reference width out
  std::string m_contents;
  DxDbObjectId m_style;
  DxGeVector3d m_normal{0, 0, 1}, m_xdir{1, 0, 0};
};

class DxDbAttributeDefinition : public DxDbText {
  DX_DB_ENTITY_CLASS(DxDbAttributeDefinition);
  DxDbAttributeDefinition() = default;
  const char* tag() const { return m_tag.c_str(); }
  Dxad::ErrorStatus setTag(const char* t);
  const char* prompt() const { return m_prompt.c_str(); }
  Dxad::ErrorStatus setPrompt(const char* p);
  bool isInvisible() const { return (m_attFlags & 1) != 0; }
  bool isConstant() const { return (m_attFlags & 2) != 0; }
  bool isVerifiable() const { return (m_attFlags & 4) != 0; }
  bool isPreset() const { return (m_attFlags & 8) != 0; }
  bool isMTextAttributeDefinition() const;
  int16_t attributeFlags() const { return m_attFlags; }

 private:
  friend struct dx::db::Access;
  std::string m_tag, m_prompt;
  int16_t m_attFlags = 0, m_fieldLength = 0;
};

class DxDbAttribute : public DxDbText {
  DX_DB_ENTITY_CLASS(DxDbAttribute);
  DxDbAttribute() = default;
  const char* tag() const { return m_tag.c_str(); }
  Dxad::ErrorStatus setTag(const char* t);
  bool isInvisible() const { return (m_attFlags & 1) != 0; }
  bool isConstant() const { return (m_attFlags & 2) != 0; }
  int16_t attributeFlags() const { return m_attFlags; }
  // A multiline attribute carries an embedded multiline text.
  bool isMTextAttribute() const;
  // A new multiline text (not in a database) with the attribute's multiline contents.
  DxDbMText* getMTextAttribute() const;
  // Copies position, style and text of a definition, transformed by a reference's matrix.
  Dxad::ErrorStatus setAttributeFromBlock(const DxDbAttributeDefinition* def,
                                          const DxGeMatrix3d& blockXform);

 private:
  friend struct dx::db::Access;
  std::string m_tag;
  int16_t m_attFlags = 0, m_fieldLength = 0;
};

class DxDbObjectIterator {
 public:
  virtual ~DxDbObjectIterator() = default;
  virtual bool done() const = 0;
  virtual void step() = 0;
  virtual DxDbObjectId objectId() const = 0;
  virtual void start() = 0;
};

class DxDbBlockReference : public DxDbEntity {
  DX_DB_ENTITY_CLASS(DxDbBlockReference);
  DxDbBlockReference();
  DxDbBlockReference(const DxGePoint3d& pos, DxDbObjectId blockTableRecord);
  ~DxDbBlockReference() override;
  DxDbObjectId blockTableRecord() const { return m_block; }
  Dxad::ErrorStatus setBlockTableRecord(DxDbObjectId id);
  DxGePoint3d position() const { return m_pos; }
  Dxad::ErrorStatus setPosition(const DxGePoint3d& p);
  DxGeVector3d scaleFactors() const { return {m_scale[0], m_scale[1], m_scale[2]}; }
  Dxad::ErrorStatus setScaleFactors(const DxGeVector3d& s);
  double rotation() const;  // radians
  Dxad::ErrorStatus setRotation(double r);
  DxGeVector3d normal() const { return m_normal; }
  Dxad::ErrorStatus setNormal(const DxGeVector3d& n);
  // Block coordinates to world coordinates (includes the block's base point).
  DxGeMatrix3d blockTransform() const;
  // Attributes, in order.
  DxDbObjectIterator* attributeIterator() const;
  const DxDbObjectIdArray& attributeIds() const { return m_attribs; }
  Dxad::ErrorStatus appendAttribute(DxDbObjectId& id, DxDbAttribute* att);
  int16_t columnCount() const { return m_cols; }
  int16_t rowCount() const { return m_rows; }
  Dxad::ErrorStatus getGeomExtents(DxGePoint3d&, DxGePoint3d&) const override;
  Dxad::ErrorStatus transformBy(const DxGeMatrix3d& xform) override;
  Dxad::ErrorStatus explode(std::vector<DxDbEntity*>& pieces) const override;

 private:
  friend struct dx::db::Access;
  DxDbObjectId m_block;
  DxGePoint3d m_pos;
  double m_scale[3] = {1, 1, 1};
  double m_rotationDeg = 0;
  int16_t m_cols = 1, m_rows = 1;
  double m_colSpacing = 0, m_rowSpacing = 0;
  DxGeVector3d m_normal{0, 0, 1};
  DxDbObjectIdArray m_attribs;
  DxDbObjectId m_seqend;
  // Attributes of a reference not yet in a database; they join it when it is appended.
  std::vector<std::shared_ptr<DxDbAttribute>> m_pendingAttribs;
};

class DxDbHatch : public DxDbEntity {
  DX_DB_ENTITY_CLASS(DxDbHatch);
  enum HatchPatternType { kUserDefined = 0, kPreDefined = 1, kCustomDefined = 2 };
  enum HatchLoopType { kDefault = 0, kExternal = 1, kPolyline = 2, kDerived = 4,
                       kTextbox = 8, kOutermost = 16 };
  DxDbHatch();
  DxDbHatch(const DxDbHatch&);
  ~DxDbHatch() override;
  const char* patternName() const { return m_pattern.c_str(); }
  bool isSolidFill() const { return m_solid != 0; }
  bool associative() const { return m_assoc != 0; }
  double elevation() const { return m_elevation.z; }
  DxGeVector3d normal() const { return m_normal; }
  // Sets a predefined pattern ("SOLID" makes a solid fill).
  Dxad::ErrorStatus setPattern(HatchPatternType type, const char* name);
  Dxad::ErrorStatus setNormal(const DxGeVector3d& n);
  Dxad::ErrorStatus setElevation(double e);
  // A polyline loop in object coordinates; bulges may be empty.
  Dxad::ErrorStatus appendLoop(int32_t loopType, const std::vector<DxGePoint2d>& vertices,
                               const std::vector<double>& bulges);
  int numLoops() const;
  // The loops (an edge loop as the start points of its edges, without bulges).
  Dxad::ErrorStatus getLoopAt(int index, int32_t& loopType, std::vector<DxGePoint2d>& vertices,
                              std::vector<double>& bulges) const;
  Dxad::ErrorStatus evaluateHatch();
  Dxad::ErrorStatus getGeomExtents(DxGePoint3d&, DxGePoint3d&) const override;
  Dxad::ErrorStatus transformBy(const DxGeMatrix3d& xform) override;
  // Loops with their edges, pattern lines and seed points, kept by the host.
  struct Boundary;

 private:
  friend struct dx::db::Access;
  std::unique_ptr<Boundary> m_boundary;
  DxGePoint3d m_elevation;
  DxGeVector3d m_normal{0, 0, 1};
  std::string m_pattern = "SOLID";
  int16_t m_solid = 1, m_assoc = 0;
};

class DxDbDimension : public DxDbEntity {
  DX_DB_ENTITY_CLASS(DxDbDimension);
  DxDbDimension() = default;
  DxDbObjectId dimensionBlockId() const { return m_block; }
  DxDbObjectId dimensionStyle() const { return m_dimstyle; }
  Dxad::ErrorStatus setDimensionStyle(DxDbObjectId id);
  std::string dimensionText() const { return m_text; }
  Dxad::ErrorStatus setDimensionText(const char* t);
  DxGePoint3d textPosition() const { return m_textPos; }
  Dxad::ErrorStatus setTextPosition(const DxGePoint3d& p);
  DxGePoint3d dimLinePoint() const { return m_defPoint; }
  int16_t dimensionType() const { return m_type; }
  DxGeVector3d normal() const { return m_normal; }
  double textRotation() const;
  Dxad::ErrorStatus transformBy(const DxGeMatrix3d& xform) override;
  Dxad::ErrorStatus getGeomExtents(DxGePoint3d&, DxGePoint3d&) const override;
  Dxad::ErrorStatus explode(std::vector<DxDbEntity*>& pieces) const override;
  // Rebuilds the block of a rotated or aligned dimension from its points and its style
  // (open for write); eNotApplicable for other kinds, whose block stays as it is.
  Dxad::ErrorStatus recomputeDimBlock(bool forceUpdate = true);

 protected:
  friend struct dx::db::Access;
  std::string m_blockName;  // kept by name: the block may be written after the dimension
  DxDbObjectId m_block;
  DxGePoint3d m_defPoint, m_textPos;
  int16_t m_type = 0, m_attach = 5, m_lsStyle = 1;
  double m_lsFactor = 1, m_measurement = 0, m_textRotDeg = 0, m_hdirDeg = 0;
  std::string m_text;
  DxDbObjectId m_dimstyle;
  DxGeVector3d m_normal{0, 0, 1};
  // Aligned and rotated dimensions
  DxGePoint3d m_xline1, m_xline2;
  double m_rotationDeg = 0, m_obliqueDeg = 0;
};

class DxDbAlignedDimension : public DxDbDimension {
  DX_DB_ENTITY_CLASS(DxDbAlignedDimension);
  DxDbAlignedDimension();
  DxGePoint3d xLine1Point() const { return m_xline1; }
  DxGePoint3d xLine2Point() const { return m_xline2; }
  Dxad::ErrorStatus setXLine1Point(const DxGePoint3d& p);
  Dxad::ErrorStatus setXLine2Point(const DxGePoint3d& p);
  Dxad::ErrorStatus setDimLinePoint(const DxGePoint3d& p);
};

class DxDbRotatedDimension : public DxDbDimension {
  DX_DB_ENTITY_CLASS(DxDbRotatedDimension);
  DxDbRotatedDimension();
  DxDbRotatedDimension(double rotation, const DxGePoint3d& xLine1, const DxGePoint3d& xLine2,
                       const DxGePoint3d& dimLine, const char* text = "",
                       DxDbObjectId dimStyle = DxDbObjectId());
  DxGePoint3d xLine1Point() const { return m_xline1; }
  DxGePoint3d xLine2Point() const { return m_xline2; }
  Dxad::ErrorStatus setXLine1Point(const DxGePoint3d& p);
  Dxad::ErrorStatus setXLine2Point(const DxGePoint3d& p);
  Dxad::ErrorStatus setDimLinePoint(const DxGePoint3d& p);
  double rotation() const;
  Dxad::ErrorStatus setRotation(double r);
};

class DxDbRasterImage : public DxDbEntity {
  DX_DB_ENTITY_CLASS(DxDbRasterImage);
  enum ImageDisplayOpt { kShow = 1, kShowUnAligned = 2, kClip = 4, kTransparent = 8 };
  DxDbRasterImage() = default;
  DxDbObjectId imageDefId() const { return m_imageDef; }
  Dxad::ErrorStatus setImageDefId(DxDbObjectId id);
  // Insertion point and the vectors of one pixel's width and height.
  void getOrientation(DxGePoint3d& origin, DxGeVector3d& u, DxGeVector3d& v) const;
  // Sets origin and the vectors of the whole image's width and height.
  bool setOrientation(const DxGePoint3d& origin, const DxGeVector3d& uWhole,
                      const DxGeVector3d& vWhole);
  DxGePoint2d imageSize() const { return m_size; }
  void setImageSize(const DxGePoint2d& pixels) { m_size = pixels; }
  // The IMAGEDEF_REACTOR that ties this image to its definition.
  DxDbObjectId reactorId() const { return m_imageDefReactor; }
  Dxad::ErrorStatus setReactorId(DxDbObjectId id);
  // The clip boundary in world coordinates (the frame's corners when unclipped).
  std::vector<DxGePoint3d> clipBoundaryWorld() const;
  // Pixel coordinates (origin at the top-left pixel's centre, y downwards) of a world point.
  DxGePoint2d worldToPixel(const DxGePoint3d& p) const;
  DxGePoint3d pixelToWorld(const DxGePoint2d& p) const;
  Dxad::ErrorStatus setClipping(bool on);
  Dxad::ErrorStatus setDisplayOpt(ImageDisplayOpt opt, bool on);
  bool isSetDisplayOpt(ImageDisplayOpt opt) const { return (m_display & opt) != 0; }
  bool isClipped() const { return m_clipping != 0; }
  // Clip boundary in pixel coordinates.
  const std::vector<DxGePoint2d>& clipBoundary() const { return m_clip; }
  Dxad::ErrorStatus setClipBoundary(const std::vector<DxGePoint2d>& pixels);
  Dxad::ErrorStatus getGeomExtents(DxGePoint3d&, DxGePoint3d&) const override;
  Dxad::ErrorStatus transformBy(const DxGeMatrix3d& xform) override;

 protected:
  friend struct dx::db::Access;
  int32_t m_classVersion = 0;
  DxGePoint3d m_origin;
  DxGeVector3d m_u{1, 0, 0}, m_v{0, 1, 0};
  DxGePoint2d m_size{1, 1};
  DxDbObjectId m_imageDef, m_imageDefReactor;
  int16_t m_display = 7, m_clipping = 0, m_clipType = 1;
  int16_t m_brightness = 50, m_contrast = 50, m_fade = 0;
  std::vector<DxGePoint2d> m_clip;
};

class DxDbWipeout : public DxDbRasterImage {
  DX_DB_ENTITY_CLASS(DxDbWipeout);
  DxDbWipeout() = default;
  // Frames the polygon (world points in the plane of normal) and clips to it; false when
  // the points span no area.
  bool setBoundary(const std::vector<DxGePoint3d>& polygon,
                   const DxGeVector3d& normal = DxGeVector3d(0, 0, 1));
};


class DxDbSpline : public DxDbCurve {
  DX_DB_ENTITY_CLASS(DxDbSpline);
  DxDbSpline() = default;
  int degree() const { return m_degree; }
  bool isClosed() const { return (m_flags & 1) != 0; }
  bool isRational() const { return (m_flags & 4) != 0; }
  const std::vector<DxGePoint3d>& controlPoints() const { return m_ctrl; }
  const std::vector<double>& knots() const { return m_knots; }
  const std::vector<double>& weights() const { return m_weights; }
  const std::vector<DxGePoint3d>& fitPoints() const { return m_fit; }
  DxGeVector3d normal() const { return m_normal; }
  // Points along the curve (de Boor evaluation), at least count of them.
  void getSamplePoints(int count, std::vector<DxGePoint3d>& pts) const;
  Dxad::ErrorStatus getGeomExtents(DxGePoint3d&, DxGePoint3d&) const override;
  Dxad::ErrorStatus transformBy(const DxGeMatrix3d& xform) override;

 private:
  friend struct dx::db::Access;
  DxGeVector3d m_normal{0, 0, 1};
  int16_t m_flags = 8, m_degree = 3;
  double m_knotTol = 1e-10, m_ctrlTol = 1e-10, m_fitTol = 1e-10;
  DxGeVector3d m_startTan, m_endTan;
  std::vector<double> m_knots, m_weights;
  std::vector<DxGePoint3d> m_ctrl, m_fit;
};

// A planar area: faces bounded by loops of lines and circular or elliptical arcs. The
// first loop of a face is its outline, counter-clockwise about the normal; the others
// are its holes, clockwise. Written as the ACIS body other CAD programs read; a body
// read from a file whose curves the host cannot follow is kept as it was.
class DxDbRegion : public DxDbEntity {
  DX_DB_ENTITY_CLASS(DxDbRegion);
  DxDbRegion() = default;
  // World coordinates. An arc is a piece of the ellipse centre + major cos t + minor sin t
  // (minor = normal x major, scaled by ratio: 1 for a circle), run from startParam up
  // to endParam.
  struct Edge {
    bool isArc = false;
    DxGePoint3d start, end;
    DxGePoint3d center;
    DxGeVector3d normal{0, 0, 1}, majorAxis{1, 0, 0};
    double ratio = 1, startParam = 0, endParam = 0;
    DxGeVector3d minorAxis() const { return normal.crossProduct(majorAxis) * ratio; }
    DxGePoint3d pointAt(double t) const {
      return center + majorAxis * std::cos(t) + minorAxis() * std::sin(t);
    }
  };
  struct Loop {
    std::vector<Edge> edges;  // end to end, the last ending where the first starts
  };
  struct Face {
    std::vector<Loop> loops;  // outline first, then holes
  };

  // One region for every closed loop that the curves (lines, arcs, circles, ellipses,
  // polylines, splines; as DxDbCurve pointers) form alone or end to end. The new regions
  // (not in a database) are the caller's. eInvalidInput, and no region, when a curve is
  // of another kind, the curves do not lie in one plane, or a chain does not close.
  static Dxad::ErrorStatus createFromCurves(const DxDbVoidPtrArray& curveSegments,
                                            DxDbVoidPtrArray& regions);
  // Turns a face made of an outline and its holes into a region (loops as created from
  // curves, any sense; holes must lie inside the outline).
  Dxad::ErrorStatus setFace(const std::vector<Loop>& loops);

  bool isNull() const { return m_faces.empty(); }
  // Whether the host follows the body's geometry; a body it does not is kept but has no
  // faces here.
  bool isUnderstood() const { return m_understood; }
  const std::vector<Face>& faces() const { return m_faces; }
  DxGeVector3d normal() const { return m_normal; }
  int numFaces() const { return int(m_faces.size()); }
  Dxad::ErrorStatus getArea(double& area) const;
  Dxad::ErrorStatus getPerimeter(double& perimeter) const;
  // The loops of each face in the region's plane (planeToWorld(normal()) at z =
  // elevation() gives world points back): circular arcs as bulges, elliptical ones as
  // chords.
  Dxad::ErrorStatus getLoops2d(std::vector<std::vector<KvGePolyline2d>>& faces) const;
  double elevation() const;
  // Union, subtraction or intersection with another region in the same plane; the
  // other region is emptied, as the classic call does. Arcs come out as chords unless
  // the other region lies wholly inside or outside this one.
  enum BoolOperType { kBoolUnite = 0, kBoolIntersect = 1, kBoolSubtract = 2 };
  Dxad::ErrorStatus booleanOper(BoolOperType op, DxDbRegion* other);
  Dxad::ErrorStatus getGeomExtents(DxGePoint3d&, DxGePoint3d&) const override;
  Dxad::ErrorStatus transformBy(const DxGeMatrix3d& xform) override;
  // Lines, arcs, circles and ellipses of every loop.
  Dxad::ErrorStatus explode(std::vector<DxDbEntity*>& pieces) const override;

 private:
  friend struct dx::db::Access;
  void geometryChanged();
  void parseBody();
  int16_t m_modelerVersion = 0;  // 0: none in the file
  // The body's text as the file carries it (groups 1 and 3, encoded), empty once the
  // geometry changed: then it is written anew from the faces.
  std::vector<std::pair<int16_t, std::string>> m_body;
  std::vector<Face> m_faces;
  DxGeVector3d m_normal{0, 0, 1};
  bool m_understood = true;
};

// Any entity class the host does not model: kept whole and written back unchanged.
class DxDbUnknownEntity : public DxDbEntity {
  DX_DB_ENTITY_CLASS(DxDbUnknownEntity);
  DxDbUnknownEntity() = default;
  const std::string& dxfName() const { return m_dxfName; }
  // The box of the points among its kept groups.
  Dxad::ErrorStatus getGeomExtents(DxGePoint3d&, DxGePoint3d&) const override;

 private:
  friend struct dx::db::Access;
  std::string m_dxfName;
};
