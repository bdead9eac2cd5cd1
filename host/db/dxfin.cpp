// Reading a DXF file into a database.
#include <cstdio>
#include <cstring>
#include <deque>
#include <unordered_map>

#include "host/db/database_impl.h"

namespace dx::db {
namespace {

using dxf::Kind;

uint64_t parseHex(std::string_view s) {
  uint64_t v = 0;
  for (char c : s) {
    int d = (c >= '0' && c <= '9') ? c - '0'
            : (c >= 'a' && c <= 'f') ? c - 'a' + 10
            : (c >= 'A' && c <= 'F') ? c - 'A' + 10
                                     : -1;
    if (d < 0) {
      if (c == ' ') continue;
      break;
    }
    v = (v << 4) | uint64_t(d);
  }
  return v;
}

// One object's groups as read: strings copied into a local arena, points folded, and
// references turned into ids.
struct Record {
  std::string type;
  std::vector<InTag> tags;
  uint64_t handle = 0;
  bool hasHandle = false;
  DxDbObjectId owner;
  bool hasOwner = false;
  DxDbObjectIdArray reactors;
  DxDbObjectId xdict;
  std::deque<std::string> spill;  // texts the reader could not hand out from the file
  uint64_t line = 0;

  const InTag* find(int code) const {
    for (const InTag& t : tags)
      if (t.code == code) return &t;
    return nullptr;
  }
  std::string_view text(int code) const {
    const InTag* t = find(code);
    return t ? t->text : std::string_view();
  }
};


class Reader {
 public:
  Reader(DatabaseImpl& db, dxf::TagReader& rd) : m_db(db), m_rd(rd) {
    m_ctx.db = &db;
  }

  bool run(std::string& error);

 private:
  bool fail(const std::string& msg) {
    if (m_error.empty()) m_error = "line " + std::to_string(m_rd.position()) + ": " + msg;
    return false;
  }
  // An error of the tag reader, which says where itself.
  bool failRead() {
    if (m_error.empty()) m_error = m_rd.error();
    return false;
  }
  // A new section or the end marker met inside a section: its ENDSEC is missing. The
  // marker is left for the section loop.
  bool sectionBreak(const dxf::Tag& t) {
    if (t.code != 0 || (t.text != "SECTION" && t.text != "EOF")) return false;
    m_rd.pushBack();
    return true;
  }
  bool resync(const std::string& section);
  bool m_recover = RecoverMode::on();
  size_t m_duplicateHandles = 0;
  bool nextTag(dxf::Tag& t) {
    if (!m_rd.next(t)) {
      if (!m_rd.error().empty()) return failRead();
      m_eof = true;
      return false;
    }
    return true;
  }
  bool readRecord(Record& rec);

  bool readHeader();
  bool readClasses();
  bool readTables();
  bool readBlocks();
  bool readEntities();
  bool readObjects();
  bool skipSection(std::string_view name, bool keep = true);
  DxDbObject* makeObject(Record& rec, bool entity);
  // BLOCK or ENDBLK of a block table record.
  DxDbObjectId makeBlockMarker(Record& rec, DxDbObjectId btrId);
  DxDbObject* makeEntity(Record& rec, DxDbObjectId defaultOwner);
  void finishSequence();
  DxDbObjectId btrOf(DxDbObjectId id) const {
    DxDbObject* o = id.stub() ? id.stub()->obj : nullptr;
    return DxRxObject::cast<DxDbBlockTableRecord>(o) ? id : DxDbObjectId();
  }

  DatabaseImpl& m_db;
  dxf::TagReader& m_rd;
  LoadContext m_ctx;
  std::string m_error;
  bool m_eof = false;
  bool m_sawHeader = false;
  // Open sequence (attributes of an insert, vertices of a polyline).
  DxDbObject* m_seqParent = nullptr;
  std::vector<Stub*> m_unhandled;  // objects the file gave no handle
};

bool Reader::readRecord(Record& rec) {
  // The 0 group has just been read; rec.type holds its value. One pass: points are
  // folded, references resolved, and handle, owner and the reactor and
  // extension-dictionary groups ahead of the first subclass taken off.
  rec.tags.clear();
  rec.spill.clear();
  rec.hasHandle = rec.hasOwner = false;
  rec.handle = 0;
  rec.owner = {};
  rec.reactors.clear();
  rec.xdict = {};
  rec.line = m_rd.position();
  enum { kBody, kReactors, kXDict } group = kBody;
  bool beforeSubclass = true;
  dxf::Tag t;
  while (true) {
    if (!m_rd.next(t)) {
      if (!m_rd.error().empty()) return failRead();
      return fail("unexpected end of file inside " + dxf::quoted(rec.type));
    }
    const int code = t.code;
    if (code == 0) {
      m_rd.pushBack();
      break;
    }
    if (code == 999) continue;
    std::string_view text;
    if (t.kind == Kind::String || t.kind == Kind::Binary || t.kind == Kind::Comment)
      text = m_rd.stable(t.text) ? t.text : std::string_view(rec.spill.emplace_back(t.text));
    if (group != kBody) {
      if (code == 102) group = kBody;
      else if (code == 330 && group == kReactors) {
        if (Stub* s = m_db.stubFor(parseHex(text))) rec.reactors.emplace_back(s);
      } else if (code == 360 && group == kXDict) {
        rec.xdict = DxDbObjectId(m_db.stubFor(parseHex(text)));
      }
      continue;
    }
    if (code == 100) beforeSubclass = false;
    if ((code == 5 || code == 105) && !rec.hasHandle) {
      rec.handle = parseHex(text);
      rec.hasHandle = rec.handle != 0;
      continue;
    }
    if (code == 102 && text == "{ACAD_REACTORS") {
      group = kReactors;
      continue;
    }
    if (code == 102 && text == "{ACAD_XDICTIONARY") {
      group = kXDict;
      continue;
    }
    if (code == 330 && beforeSubclass && !rec.hasOwner) {
      rec.owner = DxDbObjectId(m_db.stubFor(parseHex(text)));
      rec.hasOwner = true;
      continue;
    }
    if (!rec.tags.empty() && t.kind == Kind::Double) {
      // The y and z of the point just begun.
      InTag& last = rec.tags.back();
      if (last.dims == 1 && code == last.code + 10) {
        last.pt[1] = t.real;
        last.dims = 2;
        continue;
      }
      if (last.dims == 2 && code == last.code + 20) {
        last.pt[2] = t.real;
        last.dims = 3;
        continue;
      }
    }
    if (!rec.tags.empty() && rec.tags.back().dims == 1) rec.tags.back().dims = 0;  // a lone x
    InTag& in = rec.tags.emplace_back();
    in.code = code;
    in.kind = t.kind;
    in.real = t.real;
    in.integer = t.integer;
    in.text = text;
    if (t.kind == Kind::Double && dxf::isPointCode(code)) {
      in.pt[0] = t.real;
      in.dims = 1;
    } else if (dxf::isReferenceCode(code)) {
      in.isRef = true;
      in.id = DxDbObjectId(m_db.stubFor(parseHex(text)));
    }
  }
  if (!rec.tags.empty() && rec.tags.back().dims == 1) rec.tags.back().dims = 0;
  return true;
}

// After damage in a section: says so, and goes on at the next section. Fails when the
// tags themselves cannot be read further (what was read so far is kept).
bool Reader::resync(const std::string& section) {
  m_db.repairs.push_back(m_error + "; reading went on after section " + dxf::quoted(section));
  m_error.clear();
  finishSequence();
  if (!m_rd.error().empty()) return false;
  dxf::Tag t;
  while (m_rd.next(t)) {
    if (t.code == 0 && (t.text == "SECTION" || t.text == "EOF")) {
      m_rd.pushBack();
      return true;
    }
  }
  return false;
}

bool Reader::run(std::string& error) {
  dxf::Tag t;
  bool sawSection = false;
  size_t strays = 0;
  while (nextTag(t)) {
    if (t.code == 999) continue;
    if (t.code != 0 || (t.text != "SECTION" && t.text != "EOF")) {
      if (m_recover) {  // stray groups between sections
        ++strays;
        continue;
      }
      if (t.code != 0) fail("expected a section, found group " + std::to_string(t.code));
      else fail("expected SECTION, found '" + dxf::quoted(t.text) + "'");
      break;
    }
    if (t.text == "EOF") break;
    if (!nextTag(t) || t.code != 2) {
      fail("section without a name");
      if (m_recover && resync("unnamed")) continue;
      break;
    }
    sawSection = true;
    std::string name(t.text);
    bool ok = true;
    if (name == "HEADER") ok = readHeader(), m_sawHeader = true;
    else if ((name == "CLASSES" || name == "OBJECTS") && m_db.fileVersion < "AC1012" && m_sawHeader)
      ok = skipSection(name, false);  // R12 has neither: readers ignore them, so do we
    else if (name == "CLASSES") ok = readClasses();
    else if (name == "TABLES") ok = readTables();
    else if (name == "BLOCKS") ok = readBlocks();
    else if (name == "ENTITIES") ok = readEntities();
    else if (name == "OBJECTS") ok = readObjects();
    else ok = skipSection(name);
    if (!ok && !(m_recover && resync(name))) break;
  }
  finishSequence();
  if (m_error.empty() && !sawSection) fail("no DXF sections found");
  if (!m_error.empty()) {
    error = m_error;
    // Damage past the first section is what RECOVER is for.
    if (sawSection && error.find("unsupported drawing version") == std::string::npos)
      error += "; the file is damaged: RECOVER (draxel --recover) reads what it can of it";
    return false;
  }
  if (strays) m_db.repairs.push_back(std::to_string(strays) + " stray groups between sections were skipped");
  if (m_duplicateHandles)
    m_db.repairs.push_back(std::to_string(m_duplicateHandles) + " objects whose handle was taken got new handles");
  // Objects the file gave no handle get fresh ones above every handle it used.
  for (Stub* s : m_unhandled) m_db.assignHandle(s);
  // Drawings older than R13 are upgraded: the standard records must be written.
  m_db.readFromFile = m_db.fileVersion >= "AC1012";
  if (!m_db.readFromFile)
    m_db.forEachStub([](Stub& s) {
      if (auto* r = DxRxObject::cast<DxDbSymbolTableRecord>(s.obj)) Access::implicit(*r) = false;
    });
  m_db.completeStructure();
  breakBlockCycles(m_db, m_db.repairs, true);
  m_db.readFromFile = false;
  return true;
}

bool Reader::skipSection(std::string_view name, bool keepIt) {
  std::vector<XTag> keep;
  XTag head;
  head.code = 2;
  head.s = std::string(name);
  keep.push_back(head);
  dxf::Tag t;
  while (nextTag(t)) {
    if (t.code == 0 && t.text == "ENDSEC") {
      if (keepIt) m_db.trailingSections.push_back(std::move(keep));
      return true;
    }
    if (sectionBreak(t)) return fail("section " + dxf::quoted(name) + " without ENDSEC");
    InTag in;
    in.code = t.code;
    in.kind = t.kind;
    in.real = t.real;
    in.integer = t.integer;
    in.text = t.text;
    keep.push_back(XTag::from(in));
  }
  return fail("unexpected end of file in section " + dxf::quoted(name));
}

bool Reader::readHeader() {
  dxf::Tag t;
  HeaderVar* cur = nullptr;
  while (nextTag(t)) {
    if (sectionBreak(t)) return fail("section HEADER without ENDSEC");
    if (t.code == 0) {
      if (t.text == "ENDSEC") {
        m_db.fileVersion = m_db.headerString("$ACADVER", "AC1009");
        std::string v = m_db.fileVersion;
        if (v.size() != 6 || v.rfind("AC", 0) != 0 || v > "AC1032" || v < "AC1001")
          return fail("unsupported drawing version '" + dxf::quoted(v) + "'");
        m_ctx.version = verFromAcad(v);
        m_db.codePage = m_db.headerString("$DWGCODEPAGE", "ANSI_1252");
        if (uint64_t seed = parseHex(m_db.headerString("$HANDSEED")); seed > 0) {
          m_db.noteHandle(seed - 1);
          m_db.fileHandseed = seed;
        }
        return true;
      }
      return fail("unexpected '" + dxf::quoted(t.text) + "' in HEADER");
    }
    if (t.code == 9) {
      m_db.header.push_back({std::string(t.text), {}});
      cur = &m_db.header.back();
      continue;
    }
    if (!cur) continue;
    InTag in;
    in.code = t.code;
    in.kind = t.kind;
    in.real = t.real;
    in.integer = t.integer;
    in.text = t.text;
    XTag x = XTag::from(in);
    // Points of header variables stay as separate groups; $HANDSEED is a plain string.
    x.isRef = false;
    cur->tags.push_back(std::move(x));
  }
  return fail("unexpected end of file in HEADER");
}

bool Reader::readClasses() {
  dxf::Tag t;
  while (nextTag(t)) {
    if (t.code == 0 && t.text == "ENDSEC") return true;
    if (sectionBreak(t)) return fail("section CLASSES without ENDSEC");
    if (t.code == 0) {
      m_db.classes.emplace_back();
      continue;
    }
    if (m_db.classes.empty()) m_db.classes.emplace_back();
    InTag in;
    in.code = t.code;
    in.kind = t.kind;
    in.real = t.real;
    in.integer = t.integer;
    in.text = t.text;
    m_db.classes.back().push_back(XTag::from(in));
  }
  return fail("unexpected end of file in CLASSES");
}

DxDbObject* Reader::makeObject(Record& rec, bool entity) {
  DxRxClass* cls = nullptr;
  if (rec.type == "DIMENSION") {
    bool rotated = false, aligned = false, markers = false;
    for (const InTag& t : rec.tags)
      if (t.code == 100) {
        markers = true;
        rotated |= t.text == "AcDbRotatedDimension";
        aligned |= t.text == "AcDbAlignedDimension";
      }
    if (!markers) {
      const InTag* ty = rec.find(70);
      int kind = ty ? int(ty->integer & 7) : 0;
      rotated = kind == 0;
      aligned = kind == 1;
    }
    cls = rotated ? DxDbRotatedDimension::desc() : aligned ? DxDbAlignedDimension::desc()
                                                           : DxDbDimension::desc();
  } else {
    cls = classForDxfName(rec.type);
  }
  if (cls && entity != schemaOf(cls)->isEntity) cls = nullptr;
  DxDbObject* o = nullptr;
  if (!cls) {
    if (entity) {
      auto* u = new DxDbUnknownEntity();
      Access::unknownName(*u) = rec.type;
      o = u;
    } else {
      auto* u = new DxDbUnknownObject();
      Access::unknownName(*u) = rec.type;
      o = u;
    }
  } else {
    o = static_cast<DxDbObject*>(cls->create());
  }
  Stub* s = nullptr;
  if (rec.hasHandle) {
    s = m_db.stubFor(rec.handle);
    if (s->obj) {
      // A handle used twice: the second object gets a fresh one.
      s = nullptr;
      ++m_duplicateHandles;
    }
  }
  bool anon = s == nullptr;
  if (anon) s = m_db.anonymousStub();
  m_db.attach(o, s);
  if (anon) m_unhandled.push_back(s);
  if (rec.hasOwner) Access::owner(*o) = rec.owner;
  Access::xdict(*o) = rec.xdict;
  if (!rec.reactors.empty()) Access::extrasMut(*o).reactors = rec.reactors;
  return o;
}

void Reader::finishSequence() {
  if (!m_seqParent) return;
  // A sequence the file did not close: add its end marker.
  auto* end = new DxDbSequenceEnd();
  DxDbObjectId id = m_db.attach(end, m_db.newStub());
  Access::owner(*end) = m_seqParent->objectId();
  if (auto* ins = DxRxObject::cast<DxDbBlockReference>(m_seqParent)) Access::seqend(*ins) = id;
  if (auto* pl = DxRxObject::cast<DxDbPolylineHeavy>(m_seqParent)) Access::seqend(*pl) = id;
  m_seqParent = nullptr;
}

DxDbObject* Reader::makeEntity(Record& rec, DxDbObjectId defaultOwner) {
  if (rec.type == "BLOCK" || rec.type == "ENDBLK") {
    // Block markers belong to their block record, never to a list of entities.
    m_db.repairs.push_back("line " + std::to_string(rec.line) + ": " + rec.type + " outside the BLOCKS section was dropped");
    return nullptr;
  }
  bool sub = rec.type == "ATTRIB" || rec.type == "VERTEX" || rec.type == "SEQEND";
  if (sub && !m_seqParent) {
    if (rec.type == "SEQEND") return nullptr;  // stray end marker
  }
  if (!sub && m_seqParent) finishSequence();
  DxDbObject* o = makeObject(rec, true);
  if (sub && m_seqParent) {
    Access::owner(*o) = m_seqParent->objectId();
    const ClassSchema* sc = schemaOf(*o);
    applyTags(*o, *sc, rec.tags, m_ctx);
    if (auto* ins = DxRxObject::cast<DxDbBlockReference>(m_seqParent)) {
      if (rec.type == "SEQEND") Access::seqend(*ins) = o->objectId(), m_seqParent = nullptr;
      else Access::attribs(*ins).push_back(o->objectId());
    } else if (auto* pl = DxRxObject::cast<DxDbPolylineHeavy>(m_seqParent)) {
      if (rec.type == "SEQEND") Access::seqend(*pl) = o->objectId(), m_seqParent = nullptr;
      else Access::vertices(*pl).push_back(o->objectId());
    }
    return nullptr;
  }
  // Owner: the block it is read in, else its owner group, else by its paper-space flag.
  DxDbObjectId owner = defaultOwner;
  if (owner.isNull()) owner = btrOf(rec.owner);
  if (owner.isNull()) {
    const InTag* ps = rec.find(67);
    owner = (ps && ps->integer == 1) ? m_db.paperSpace : m_db.modelSpace;
  }
  Access::owner(*o) = owner;
  const ClassSchema* sc = schemaOf(*o);
  applyTags(*o, *sc, rec.tags, m_ctx);
  if (auto* e = DxRxObject::cast<DxDbEntity>(o)) {
    if (e->layerId().isNull()) {
      // Every entity is on a layer; files that leave it out mean layer 0.
      Access::layer(*e) = m_db.layerZero;
    }
  }
  if (rec.type == "POLYLINE" || (rec.type == "INSERT" && rec.find(66) && rec.find(66)->integer == 1))
    m_seqParent = o;
  if (auto* btr = DxRxObject::cast<DxDbBlockTableRecord>(owner.stub() ? owner.stub()->obj : nullptr))
    Access::entities(*btr).push_back(o->objectId());
  return o;
}

bool Reader::readTables() {
  dxf::Tag t;
  Record rec;
  Table current = Table::None;
  while (nextTag(t)) {
    if (t.code != 0) return fail("expected a table or record, found group " + std::to_string(t.code));
    if (t.text == "ENDSEC") return true;
    if (sectionBreak(t)) return fail("section TABLES without ENDSEC");
    if (t.text == "ENDTAB") {
      current = Table::None;
      continue;
    }
    rec.type = t.text;
    if (!readRecord(rec)) return false;
    if (rec.type == "TABLE") {
      std::string_view name = rec.text(2);
      current = tableFromName(name);
      if (current == Table::None) {
        // A table the host does not know: keep its records as unknown objects.
        continue;
      }
      std::vector<InTag> rest;
      for (const InTag& x : rec.tags)
        if (x.code != 2) rest.push_back(x);
      rec.tags = std::move(rest);
      if (!m_db.tables[size_t(current)].isNull()) continue;  // a repeated table: records join
      DxDbSymbolTable* tab = makeTable(current);  // under its standard name, whatever the file's spelling
      rec.hasOwner = false;
      Stub* s = rec.hasHandle && !m_db.stubFor(rec.handle)->obj ? m_db.stubFor(rec.handle) : m_db.newStub();
      m_db.tables[size_t(current)] = m_db.attach(tab, s);
      Access::xdict(*tab) = rec.xdict;
      applyTags(*tab, *schemaOf(*tab), rec.tags, m_ctx);
      continue;
    }
    if (current == Table::None) continue;
    DxDbSymbolTable* tab = m_db.table(current);
    DxRxClass* cls = classForDxfName(rec.type);
    if (!cls || !cls->isDerivedFrom(Access::recordClass(*tab))) {
      // Another table's record (or no record at all) cannot join this table.
      m_db.repairs.push_back("line " + std::to_string(rec.line) + ": a " +
                             (rec.type.empty() ? "nameless" : dxf::quoted(rec.type)) + " record in the " +
                             Access::tableName(*tab) + " table was dropped");
      continue;
    }
    DxDbObject* o = makeObject(rec, false);
    auto* r = static_cast<DxDbSymbolTableRecord*>(o);
    applyTags(*o, *schemaOf(*o), rec.tags, m_ctx);
    if (r->getName().empty()) {
      // Every record is found by its name, and readers refuse a table entry without one.
      char name[32];
      std::snprintf(name, sizeof name, "NONAME_%llX", static_cast<unsigned long long>(o->objectId().stub()->handle));
      Access::name(*r) = name;
      m_db.repairs.push_back("line " + std::to_string(rec.line) + ": a " + Access::tableName(*tab) +
                             " record without a name was named " + name);
    }
    Access::owner(*o) = tab->objectId();
    Access::records(*tab).push_back(o->objectId());
    Access::index(*tab).emplace(upperKey(r->getName()), o->objectId());
    if (current == Table::Block) {
      std::string key = upperKey(r->getName());
      if (key == "*MODEL_SPACE") m_db.modelSpace = o->objectId();
      else if (key == "*PAPER_SPACE") m_db.paperSpace = o->objectId();
    }
    if (current == Table::Layer && r->getName() == "0") m_db.layerZero = o->objectId();
  }
  return fail("unexpected end of file in TABLES");
}

bool Reader::readBlocks() {
  m_db.ensureTables();
  dxf::Tag t;
  Record rec;
  while (nextTag(t)) {
    if (t.code != 0) return fail("expected BLOCK, found group " + std::to_string(t.code));
    if (t.text == "ENDSEC") return true;
    if (sectionBreak(t)) return fail("section BLOCKS without ENDSEC");
    rec.type = t.text;
    if (!readRecord(rec)) return false;
    if (rec.type != "BLOCK") return fail("expected BLOCK, found '" + dxf::quoted(rec.type) + "'");
    std::string name(rec.text(2));
    if (name.empty()) name = std::string(rec.text(3));
    std::string key = upperKey(name);
    if (key == "$MODEL_SPACE") name = "*Model_Space";
    if (key == "$PAPER_SPACE") name = "*Paper_Space";
    DxDbObjectId btrId = btrOf(rec.owner);
    if (btrId.isNull()) btrId = m_db.recordId(Table::Block, name);
    if (btrId.isNull()) {
      auto* btr = new DxDbBlockTableRecord();
      Access::name(*btr) = name;
      btrId = m_db.addRecord(Table::Block, btr);
    }
    auto* btr = static_cast<DxDbBlockTableRecord*>(btrId.stub()->obj);
    if (!Access::blockBegin(*btr).isNull()) {
      // A second definition of the same block: its entities join the first.
    }
    Access::blockBegin(*btr) = makeBlockMarker(rec, btrId);
    // Entities up to ENDBLK.
    while (true) {
      if (!nextTag(t)) return fail("unexpected end of file in block '" + dxf::quoted(name) + "'");
      if (t.code != 0) return fail("expected an entity, found group " + std::to_string(t.code));
      if (sectionBreak(t)) return fail("block '" + dxf::quoted(name) + "' without ENDBLK");
      if (t.code == 0 && t.text == "BLOCK") {
        if (!m_recover) return fail("block '" + dxf::quoted(name) + "' without ENDBLK");
        // The next block begins: this one ends here (its end marker is made later).
        m_db.repairs.push_back("line " + std::to_string(m_rd.position()) + ": block '" + dxf::quoted(name) +
                               "' without ENDBLK was closed");
        finishSequence();
        m_rd.pushBack();
        break;
      }
      rec.type = t.text;
      if (!readRecord(rec)) return false;
      if (rec.type == "ENDBLK") {
        finishSequence();
        Access::blockEnd(*btr) = makeBlockMarker(rec, btrId);
        break;
      }
      if (rec.type == "ENDSEC") return fail("block '" + dxf::quoted(name) + "' without ENDBLK");
      makeEntity(rec, btrId);
    }
  }
  return fail("unexpected end of file in BLOCKS");
}

DxDbObjectId Reader::makeBlockMarker(Record& rec, DxDbObjectId btrId) {
  rec.hasOwner = false;
  DxDbObject* o = makeObject(rec, true);
  Access::owner(*o) = btrId;
  applyTags(*o, *schemaOf(*o), rec.tags, m_ctx);
  // Markers that name no layer are on layer 0.
  auto* e = static_cast<DxDbEntity*>(o);
  if (e->layerId().isNull()) Access::layer(*e) = m_db.layerZero;
  return o->objectId();
}

bool Reader::readEntities() {
  m_db.ensureTables();
  dxf::Tag t;
  Record rec;
  while (nextTag(t)) {
    if (t.code != 0) return fail("expected an entity, found group " + std::to_string(t.code));
    if (t.text == "ENDSEC") {
      finishSequence();
      return true;
    }
    if (sectionBreak(t)) return fail("section ENTITIES without ENDSEC");
    rec.type = t.text;
    if (!readRecord(rec)) return false;
    makeEntity(rec, {});
  }
  return fail("unexpected end of file in ENTITIES");
}

bool Reader::readObjects() {
  dxf::Tag t;
  Record rec;
  while (nextTag(t)) {
    if (t.code != 0) return fail("expected an object, found group " + std::to_string(t.code));
    if (t.text == "ENDSEC") return true;
    if (sectionBreak(t)) return fail("section OBJECTS without ENDSEC");
    rec.type = t.text;
    if (!readRecord(rec)) return false;
    DxDbObject* o = makeObject(rec, false);
    applyTags(*o, *schemaOf(*o), rec.tags, m_ctx);
    if (m_db.rootDict.isNull() && DxRxObject::cast<DxDbDictionary>(o)) m_db.rootDict = o->objectId();
    m_db.objectsOrder.push_back(o->objectId());
  }
  return fail("unexpected end of file in OBJECTS");
}

}  // namespace

bool readDxf(DatabaseImpl& db, dxf::Bytes data, std::string& error) {
  ensureSchemas();
  db.readFromFile = true;
  const std::string_view bytes = data.view();
  if (bytes.size() >= 6 && bytes.substr(0, 4) == "AC10" && bytes.substr(0, 64).find('\0') != std::string_view::npos) {
    error = "this is a DWG file; the host reads DXF drawings";
    return false;
  }
  // A handle for every 160 bytes or so of a drawing: the table of handles is made as
  // big as it will grow, once.
  db.reserveHandles(bytes.size() / 160);
  auto rd = dxf::TagReader::fromBytes(std::move(data), error);
  if (!rd) return false;
  Reader r(db, *rd);
  bool ok = r.run(error);
  if (rd->cutShort()) {
    error = "the file was cut short by another program while it was read";
    return false;
  }
  return ok;
}

}  // namespace dx::db
