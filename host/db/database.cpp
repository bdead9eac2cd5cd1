// The database object: construction, the standard structure of a drawing, reading and
// saving, current settings.
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fcntl.h>
#include <malloc.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <sstream>

#include "host/db/database_impl.h"

using namespace dx::db;
using Dxad::ErrorStatus;

DxRxClass* DxDbDatabase::desc() {
  static DxRxClass* cls = new DxRxClass("DxDbDatabase", DxRxObject::desc());
  return cls;
}
DxRxClass* DxDbDatabase::isA() const { return desc(); }
DxRxClass* DxDbDatabaseReactor::desc() {
  static DxRxClass* cls = new DxRxClass("DxDbDatabaseReactor", DxRxObject::desc());
  return cls;
}
DxRxClass* DxDbDatabaseReactor::isA() const { return desc(); }

// ---------------------------------------------------------------------------------------
// Standard structure

void DatabaseImpl::ensureTables() {
  ensureSchemas();
  for (int i = 1; i <= int(Table::Vport); ++i) {
    Table t = Table(i);
    if (!tables[i].isNull() && tables[i].isValid()) continue;
    tables[i] = attach(makeTable(t));
  }
  auto ensure = [&](Table t, const char* name, auto make) {
    DxDbObjectId id = recordId(t, name);
    if (id.isNull()) {
      auto* rec = make();
      Access::name(*rec) = name;
      // A drawing read from a file keeps what it had: records it lacks are there for
      // the host's own use and are not written back.
      Access::implicit(*rec) = readFromFile;
      id = addRecord(t, rec);
    }
    return id;
  };
  ltByBlock = ensure(Table::Linetype, "ByBlock", [] { return new DxDbLinetypeTableRecord(); });
  ltByLayer = ensure(Table::Linetype, "ByLayer", [] { return new DxDbLinetypeTableRecord(); });
  ltContinuous = ensure(Table::Linetype, "Continuous", [] {
    auto* l = new DxDbLinetypeTableRecord();
    l->setComments("Solid line");
    return l;
  });
  layerZero = ensure(Table::Layer, "0", [this] {
    auto* l = new DxDbLayerTableRecord();
    l->setLinetypeObjectId(recordId(Table::Linetype, "Continuous"));
    return l;
  });
  ensure(Table::Style, "Standard", [] { return new DxDbTextStyleTableRecord(); });
  ensure(Table::AppId, "ACAD", [] { return new DxDbRegAppTableRecord(); });
  ensure(Table::DimStyle, "Standard", [] { return new DxDbDimStyleTableRecord(); });
  ensure(Table::Vport, "*Active", [] { return new DxDbViewportTableRecord(); });
  auto space = [&](const char* name) {
    DxDbObjectId id = recordId(Table::Block, name);
    if (id.isNull()) {
      auto* b = new DxDbBlockTableRecord();
      Access::name(*b) = name;
      id = addRecord(Table::Block, b);
    }
    return id;
  };
  modelSpace = space("*Model_Space");
  paperSpace = space("*Paper_Space");
  if (currentSpace.isNull()) currentSpace = modelSpace;
}

void DatabaseImpl::completeStructure() {
  ensureTables();
  // Every block has its BLOCK and ENDBLK entities.
  for (const DxDbObjectId& id : Access::records(*table(Table::Block))) {
    auto* b = static_cast<DxDbBlockTableRecord*>(liveObjectOf(id));
    if (!b) continue;
    if (!liveObjectOf(Access::blockBegin(*b))) {
      auto* e = new DxDbBlockBegin();
      Access::blockBegin(*b) = attach(e);
      Access::owner(*e) = id;
      Access::layer(*e) = layerZero;
    }
    if (!liveObjectOf(Access::blockEnd(*b))) {
      auto* e = new DxDbBlockEnd();
      Access::blockEnd(*b) = attach(e);
      Access::owner(*e) = id;
      Access::layer(*e) = layerZero;
    }
  }

  auto newDict = [&](DxDbObjectId owner) {
    auto* d = new DxDbDictionary();
    DxDbObjectId id = attach(d);
    Access::owner(*d) = owner;
    objectsOrder.push_back(id);
    return id;
  };
  if (!liveObjectOf(rootDict)) {
    rootDict = newDict({});
  }
  auto* root = static_cast<DxDbDictionary*>(liveObjectOf(rootDict));
  auto child = [&](const char* key, DxDbObjectId taken) {
    auto& items = Access::items(*root);
    for (auto it = items.begin(); it != items.end(); ++it) {
      if (it->first != key || !liveObjectOf(it->second)) continue;
      if (DxRxObject::cast<DxDbDictionary>(liveObjectOf(it->second)) && it->second != rootDict &&
          it->second != taken)
        return it->second;
      // A damaged file: the entry names something else; a dictionary of our own replaces it.
      repairs.push_back(std::string("the ") + key + " entry of the root dictionary named no dictionary; a new one replaces it");
      items.erase(it);
      break;
    }
    DxDbObjectId id = newDict(rootDict);
    items.emplace_back(key, id);
    return id;
  };
  groupDict = child("ACAD_GROUP", {});
  layoutDict = child("ACAD_LAYOUT", groupDict);
  auto* layouts = static_cast<DxDbDictionary*>(liveObjectOf(layoutDict));
  // Layouts must be layouts of blocks that exist; others are dropped.
  auto& layoutItems = Access::items(*layouts);
  for (size_t i = 0; i < layoutItems.size();) {
    DxDbObject* o = liveObjectOf(layoutItems[i].second);
    auto* l = DxRxObject::cast<DxDbLayout>(o);
    if (l && DxRxObject::cast<DxDbBlockTableRecord>(liveObjectOf(Access::layoutBlock(*l)))) {
      ++i;
      continue;
    }
    repairs.push_back("layout '" + layoutItems[i].first + "' " +
                      (l ? "named a missing block and was removed" : "was no layout and was removed"));
    if (l) layoutItems[i].second.stub()->erased = true;
    layoutItems.erase(layoutItems.begin() + ptrdiff_t(i));
  }
  auto ensureLayout = [&](DxDbObjectId btrId, const char* name, int16_t tab) {
    auto* b = static_cast<DxDbBlockTableRecord*>(liveObjectOf(btrId));
    if (!b || liveObjectOf(Access::layout(*b))) return;
    for (auto& [k, id] : Access::items(*layouts))
      if (auto* l = DxRxObject::cast<DxDbLayout>(liveObjectOf(id)))
        if (Access::layoutBlock(*l) == btrId) {
          Access::layout(*b) = id;
          return;
        }
    auto* l = new DxDbLayout();
    DxDbObjectId id = attach(l);
    Access::owner(*l) = layoutDict;
    Access::layoutName(*l) = name;
    Access::layoutBlock(*l) = btrId;
    Access::tabOrder(*l) = tab;
    objectsOrder.push_back(id);
    Access::items(*layouts).emplace_back(name, id);
    Access::layout(*b) = id;
  };
  ensureLayout(modelSpace, "Model", 0);
  ensureLayout(paperSpace, "Layout1", 1);
  // Further paper-space blocks (older files name them *Paper_Space0, ...) are layouts too.
  int16_t tab = 2;
  for (const DxDbObjectId& id : std::vector<DxDbObjectId>(Access::records(*table(Table::Block)))) {
    auto* b = static_cast<DxDbBlockTableRecord*>(liveObjectOf(id));
    if (!b || id == paperSpace || upperKey(b->getName()).rfind("*PAPER_SPACE", 0) != 0) continue;
    std::string name = "Layout" + std::to_string(tab);
    ensureLayout(id, name.c_str(), tab);
    ++tab;
  }
  if (header.empty()) {
    setHeaderString("$ACADVER", 1, "AC1032");
    setHeaderString("$DWGCODEPAGE", 3, "ANSI_1252");
    for (const char* p : {"$INSBASE", "$EXTMIN", "$EXTMAX"}) {
      HeaderVar& v = setHeaderVar(p);
      for (int c : {10, 20, 30}) {
        XTag t;
        t.code = int16_t(c);
        t.kind = dxf::Kind::Double;
        v.tags.push_back(t);
      }
    }
    setHeaderReal("$LTSCALE", 40, 1.0);
    setHeaderReal("$TEXTSIZE", 40, 2.5);
    setHeaderString("$CLAYER", 8, "0");
    setHeaderString("$CELTYPE", 6, "ByLayer");
    setHeaderInt("$CECOLOR", 62, 256);
    setHeaderReal("$CELTSCALE", 40, 1.0);
    setHeaderString("$TEXTSTYLE", 7, "Standard");
    setHeaderString("$DIMSTYLE", 2, "Standard");
    setHeaderReal("$DIMSCALE", 40, 1.0);
    setHeaderInt("$MEASUREMENT", 70, 1);
    setHeaderInt("$INSUNITS", 70, 0);
  }
}

// ---------------------------------------------------------------------------------------
// DxDbDatabase

DxDbDatabase::DxDbDatabase(bool buildDefaultDrawing, bool)
    : m_impl(std::make_unique<DatabaseImpl>(this)) {
  ensureSchemas();
  if (buildDefaultDrawing) m_impl->completeStructure();
}

DxDbDatabase::~DxDbDatabase() {
  for (auto* r : m_impl->reactors) r->goodbye(this);
}

namespace {
// Loading a big drawing takes a few hundred bytes per object from fresh memory, which the
// system hands out a 4 KB page per fault: a quarter of the load time. For the length of
// the load the heap grows in one step by what the load will need, and that stretch asks
// for 2 MB pages; the padding is given back afterwards.
class HeapForLoad {
 public:
  explicit HeapForLoad(size_t need) {
#if !defined(__SANITIZE_ADDRESS__) && defined(M_TOP_PAD)
    const size_t kHuge = size_t(2) << 20;
    if (need < 4 * kHuge) return;
    size_t top = mallinfo2().keepcost;  // free space at the top of the heap
    if (top + 4096 >= 128 * 1024) return;  // a request that big would be mapped on its own
    char* before = static_cast<char*>(::sbrk(0));
    if (before == reinterpret_cast<char*>(-1) || ::mallopt(M_TOP_PAD, int(std::min(need, size_t(1) << 30))) != 1)
      return;
    padded_ = true;
    // More than the top holds: the heap grows by the request and the padding at once.
    void* volatile p = std::malloc(top + 4096);  // volatile: the pair must not be optimised away
    std::free(p);
    char* after = static_cast<char*>(::sbrk(0));
    auto first = (reinterpret_cast<uintptr_t>(before) + kHuge - 1) & ~(kHuge - 1);
    if (after > reinterpret_cast<char*>(first))
      ::madvise(reinterpret_cast<void*>(first), size_t(after - reinterpret_cast<char*>(first)), MADV_HUGEPAGE);
#else
    (void)need;
#endif
  }
  ~HeapForLoad() {
#if defined(M_TOP_PAD)
    if (padded_) ::mallopt(M_TOP_PAD, 128 * 1024);
#endif
  }
  HeapForLoad(const HeapForLoad&) = delete;
  HeapForLoad& operator=(const HeapForLoad&) = delete;

 private:
  bool padded_ = false;
};

// The drawing is read into a fresh state, which takes the place of the old one only once
// the whole file loaded.
ErrorStatus loadInto(DxDbDatabase* owner, std::unique_ptr<DatabaseImpl>& impl, dx::dxf::Bytes data) {
  HeapForLoad heap(data.size() * 3);
  auto fresh = std::make_unique<DatabaseImpl>(owner);
  std::string err;
  if (!readDxf(*fresh, std::move(data), err)) {
    impl->lastError = err;
    return Dxad::eBadDxfFile;
  }
  fresh->reactors = impl->reactors;
  fresh->setJournalEnabled(impl->journalEnabled());
  impl = std::move(fresh);
  return Dxad::eOk;
}
}  // namespace

ErrorStatus DxDbDatabase::readDxfFromBuffer(std::string data) {
  return loadInto(this, m_impl, dx::dxf::Bytes(std::move(data)));
}

ErrorStatus DxDbDatabase::readDwgFile(const char* fileName) {
  int fd = ::open(fileName ? fileName : "", O_RDONLY | O_CLOEXEC);
  if (fd < 0) {
    m_impl->lastError = std::string("cannot open the file: ") + std::strerror(errno);
    return errno == ENOENT ? Dxad::eFileNotFound : Dxad::eFileAccessErr;
  }
  struct stat st {};
  if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
    // Devices and pipes may never end (/dev/zero): only files are drawings.
    ::close(fd);
    m_impl->lastError = S_ISDIR(st.st_mode) ? "is a folder, not a drawing file" : "is not a regular file";
    return Dxad::eFileAccessErr;
  }
  dx::dxf::Bytes data;
  std::string err;
  bool read = dx::dxf::Bytes::fromFd(fd, uint64_t(st.st_size), data, err);
  ::close(fd);
  if (!read) {
    m_impl->lastError = "cannot read the file";
    return Dxad::eFileAccessErr;
  }
  ErrorStatus es = loadInto(this, m_impl, std::move(data));
  if (es == Dxad::eOk) m_impl->fileName = fileName;
  return es;
}

ErrorStatus DxDbDatabase::saveAs(const char* fileName, DxDbDwgVersion version) {
  switch (version) {
    case DxDb::kDHL_1014: case DxDb::kDHL_1015: case DxDb::kDHL_1018: case DxDb::kDHL_1021:
    case DxDb::kDHL_1024: case DxDb::kDHL_1027: case DxDb::kDHL_1032: break;
    default:
      m_impl->lastError = "unsupported file version " + std::to_string(int(version));
      return Dxad::eIncompatibleVersion;
  }
  dx::dxf::TagWriter w;
  std::string err;
  if (!w.open(fileName ? fileName : "", err)) {
    m_impl->lastError = err;
    return Dxad::eFileAccessErr;
  }
  writeDxf(*m_impl, verFromDwgVersion(version), w);
  if (!w.commit(err)) {
    m_impl->lastError = err;
    return Dxad::eFileAccessErr;
  }
  return Dxad::eOk;
}

ErrorStatus DxDbDatabase::saveAs(const char* fileName, bool bakAndRename, DxDbDwgVersion version, const void*) {
  std::string path = fileName ? fileName : "";
  struct stat st {};
  bool exists = ::stat(path.c_str(), &st) == 0;
  // The read-only attribute is the absence of every write bit, so that it holds for root
  // too (who could otherwise rename over it).
  if (exists && (st.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) == 0) {
    m_impl->lastError = "the file is read-only: " + path;
    return Dxad::eFileAccessErr;
  }
  if (bakAndRename && exists && S_ISREG(st.st_mode)) {
    // A hard link keeps the old bytes under the back-up name at no cost; the rename of
    // the new file then only takes the drawing's name away from them.
    std::string bak = std::filesystem::path(path).replace_extension(".bak").string();
    if (bak != path) {
      std::error_code ec;
      std::filesystem::remove(bak, ec);
      if (::link(path.c_str(), bak.c_str()) != 0) {
        std::filesystem::copy_file(path, bak, std::filesystem::copy_options::overwrite_existing, ec);
        if (ec) {
          m_impl->lastError = "cannot keep a back-up as " + bak + ": " + ec.message();
          return Dxad::eFileAccessErr;
        }
      }
    }
  }
  return saveAs(path.c_str(), version);
}

namespace {
bool g_interactive = true;
int g_saveVetoDisabled = 0;

const DxDbSaveFormat kSaveFormats[] = {
    {64, "R2018 DXF", ".dxf"}, {60, "R2013 DXF", ".dxf"}, {48, "R2010 DXF", ".dxf"}, {36, "R2007 DXF", ".dxf"},
    {24, "R2004 DXF", ".dxf"}, {12, "R2000 DXF", ".dxf"}, {8, "R14 DXF", ".dxf"},
};
}  // namespace

bool dxdbIsInteractive() { return g_interactive; }
void dxdbSetInteractive(bool on) { g_interactive = on; }

const DxDbSaveFormat* dxdbSaveFormats(int* count) {
  if (count) *count = int(std::size(kSaveFormats));
  return kSaveFormats;
}

DxDbDisableCheckSaveVeto::DxDbDisableCheckSaveVeto() { ++g_saveVetoDisabled; }
DxDbDisableCheckSaveVeto::~DxDbDisableCheckSaveVeto() { --g_saveVetoDisabled; }
bool DxDbDisableCheckSaveVeto::active() { return g_saveVetoDisabled > 0; }

const std::string& DxDbDatabase::lastError() const { return m_impl->lastError; }
const char* DxDbDatabase::originalFileName() const { return m_impl->fileName.c_str(); }
const char* DxDbDatabase::originalFileVersion() const { return m_impl->fileVersion.c_str(); }

DxDbObjectId DxDbDatabase::blockTableId() const { return m_impl->tables[size_t(Table::Block)]; }
DxDbObjectId DxDbDatabase::layerTableId() const { return m_impl->tables[size_t(Table::Layer)]; }
DxDbObjectId DxDbDatabase::linetypeTableId() const { return m_impl->tables[size_t(Table::Linetype)]; }
DxDbObjectId DxDbDatabase::textStyleTableId() const { return m_impl->tables[size_t(Table::Style)]; }
DxDbObjectId DxDbDatabase::dimStyleTableId() const { return m_impl->tables[size_t(Table::DimStyle)]; }
DxDbObjectId DxDbDatabase::regAppTableId() const { return m_impl->tables[size_t(Table::AppId)]; }
DxDbObjectId DxDbDatabase::UCSTableId() const { return m_impl->tables[size_t(Table::Ucs)]; }
DxDbObjectId DxDbDatabase::viewTableId() const { return m_impl->tables[size_t(Table::View)]; }
DxDbObjectId DxDbDatabase::viewportTableId() const { return m_impl->tables[size_t(Table::Vport)]; }
DxDbObjectId DxDbDatabase::namedObjectsDictionaryId() const { return m_impl->rootDict; }
DxDbObjectId DxDbDatabase::getGroupDictionaryId() const { return m_impl->groupDict; }
ErrorStatus DxDbDatabase::getGroupDictionary(DxDbDictionary*& dict, DxDb::OpenMode mode) const {
  return dxdbOpenObject(dict, m_impl->groupDict, mode);
}
DxDbObjectId DxDbDatabase::modelSpaceId() const { return m_impl->modelSpace; }
DxDbObjectId DxDbDatabase::paperSpaceId() const { return m_impl->paperSpace; }
DxDbObjectId DxDbDatabase::currentSpaceId() const { return m_impl->currentSpace; }
ErrorStatus DxDbDatabase::setCurrentSpace(DxDbObjectId id) {
  if (!DxRxObject::cast<DxDbBlockTableRecord>(liveObjectOf(id))) return Dxad::eInvalidInput;
  m_impl->currentSpace = id;
  return Dxad::eOk;
}
DxDbObjectId DxDbDatabase::byLayerLinetype() const { return m_impl->ltByLayer; }
DxDbObjectId DxDbDatabase::byBlockLinetype() const { return m_impl->ltByBlock; }
DxDbObjectId DxDbDatabase::continuousLinetype() const { return m_impl->ltContinuous; }

DxDbObjectId DxDbDatabase::symbolTableId(const DxRxClass* cls) const {
  for (int i = 1; i <= int(Table::Vport); ++i) {
    DxDbObject* t = liveObjectOf(m_impl->tables[i]);
    if (t && t->isA() == cls) return m_impl->tables[i];
  }
  return {};
}

namespace {
DxDbObjectId byHeaderName(const DatabaseImpl& db, const char* var, Table t, const char* fallback) {
  DxDbObjectId id = db.recordId(t, db.headerString(var, fallback));
  return id.isNull() ? db.recordId(t, fallback) : id;
}
ErrorStatus setHeaderName(DatabaseImpl& db, const char* var, int code, Table t, DxDbObjectId id) {
  auto* r = DxRxObject::cast<DxDbSymbolTableRecord>(liveObjectOf(id));
  if (!r || r->ownerId() != db.tables[size_t(t)]) return Dxad::eInvalidInput;
  // Names match records whatever their case: naming the same record again keeps the
  // file's spelling, so that restoring a saved value changes nothing.
  if (db.recordId(t, db.headerString(var, "")) == id) return Dxad::eOk;
  db.setHeaderString(var, code, r->getName());
  return Dxad::eOk;
}
}  // namespace

DxDbObjectId DxDbDatabase::clayer() const { return byHeaderName(*m_impl, "$CLAYER", Table::Layer, "0"); }
ErrorStatus DxDbDatabase::setClayer(DxDbObjectId id) {
  return setHeaderName(*m_impl, "$CLAYER", 8, Table::Layer, id);
}
DxDbObjectId DxDbDatabase::textstyle() const {
  return byHeaderName(*m_impl, "$TEXTSTYLE", Table::Style, "Standard");
}
ErrorStatus DxDbDatabase::setTextstyle(DxDbObjectId id) {
  return setHeaderName(*m_impl, "$TEXTSTYLE", 7, Table::Style, id);
}
DxDbObjectId DxDbDatabase::dimstyle() const {
  return byHeaderName(*m_impl, "$DIMSTYLE", Table::DimStyle, "Standard");
}
ErrorStatus DxDbDatabase::setDimstyle(DxDbObjectId id) {
  return setHeaderName(*m_impl, "$DIMSTYLE", 2, Table::DimStyle, id);
}
DxDbObjectId DxDbDatabase::celtype() const {
  return byHeaderName(*m_impl, "$CELTYPE", Table::Linetype, "ByLayer");
}
ErrorStatus DxDbDatabase::setCeltype(DxDbObjectId id) {
  return setHeaderName(*m_impl, "$CELTYPE", 6, Table::Linetype, id);
}
DxCmColor DxDbDatabase::cecolor() const {
  DxCmColor c;
  c.setColorIndex(int16_t(m_impl->headerInt("$CECOLOR", 256)));
  return c;
}
ErrorStatus DxDbDatabase::setCecolor(const DxCmColor& c) {
  m_impl->setHeaderInt("$CECOLOR", 62, c.colorIndex());
  return Dxad::eOk;
}
double DxDbDatabase::textsize() const { return m_impl->headerReal("$TEXTSIZE", 2.5); }
double DxDbDatabase::celtscale() const { return m_impl->headerReal("$CELTSCALE", 1.0); }

resbuf* DxDbDatabase::getHeaderVar(const char* name) const {
  std::string key = std::string("$") + upperKey(name ? name : "");
  const HeaderVar* v = m_impl->headerVar(key);
  if (!v || v->tags.empty()) return nullptr;
  resbuf *head = nullptr, *tail = nullptr;
  for (size_t i = 0; i < v->tags.size(); ++i) {
    const XTag& t = v->tags[i];
    resbuf* rb = nullptr;
    if (dx::dxf::isPointCode(t.code)) {
      rb = dxutNewRb(RT3DPOINT);
      for (int k = 0; k < 3 && i < v->tags.size() && v->tags[i].code == t.code + 10 * k; ++k, ++i)
        rb->resval.rpoint[k] = v->tags[i].v[0];
      --i;
    } else {
      switch (dxutGroupCodeType(t.code)) {
        case RTREAL: rb = dxutNewRb(RTREAL); rb->resval.rreal = t.v[0]; break;
        case RTSHORT: rb = dxutNewRb(RTSHORT); rb->resval.rint = short(t.i); break;
        case RTLONG: rb = dxutNewRb(RTLONG); rb->resval.rlong = int32_t(t.i); break;
        default:
          rb = dxutNewRb(RTSTR);
          rb->resval.rstring = strdup(t.s.c_str());
          break;
      }
    }
    (tail ? tail->rbnext : head) = rb;
    tail = rb;
  }
  return head;
}

ErrorStatus DxDbDatabase::setHeaderVar(const char* name, const resbuf* value) {
  if (!value) return Dxad::eInvalidInput;
  std::string key = std::string("$") + upperKey(name ? name : "");
  HeaderVar* existing = m_impl->headerVar(key);
  int code = existing && !existing->tags.empty() ? existing->tags[0].code : 0;
  switch (value->restype) {
    case RTREAL: m_impl->setHeaderReal(key, code ? code : 40, value->resval.rreal); break;
    case RTSHORT: m_impl->setHeaderInt(key, code ? code : 70, value->resval.rint); break;
    case RTLONG: m_impl->setHeaderInt(key, code ? code : 90, value->resval.rlong); break;
    case RTSTR: m_impl->setHeaderString(key, code ? code : 1, value->resval.rstring ? value->resval.rstring : ""); break;
    case RTPOINT:
    case RT3DPOINT: {
      HeaderVar& v = m_impl->setHeaderVar(key);
      int base = code ? code : 10;
      for (int k = 0; k < (value->restype == RTPOINT ? 2 : 3); ++k) {
        XTag t;
        t.code = int16_t(base + 10 * k);
        t.kind = dx::dxf::Kind::Double;
        t.v[0] = value->resval.rpoint[k];
        v.tags.push_back(t);
      }
      break;
    }
    default: return Dxad::eInvalidInput;
  }
  return Dxad::eOk;
}

ErrorStatus DxDbDatabase::getObjectId(DxDbObjectId& id, bool createIfNotFound, DxDbHandle h) {
  Stub* s = createIfNotFound ? m_impl->stubFor(h.value()) : m_impl->findStub(h.value());
  id = DxDbObjectId(s);
  if (!s || (!s->obj && !createIfNotFound)) {
    id = {};
    return Dxad::eKeyNotFound;
  }
  return Dxad::eOk;
}

ErrorStatus DxDbDatabase::addDxDbObject(DxDbObjectId& id, DxDbObject* obj) {
  if (!obj) return Dxad::eNullObjectPointer;
  if (Access::stub(*obj)) return Dxad::eAlreadyInDb;
  id = m_impl->attach(obj);
  m_impl->objectsOrder.push_back(id);
  Access::openCount(*obj) = 1;
  Access::openWrite(*obj) = true;
  m_impl->noteOpened(Access::stub(*obj));
  return Dxad::eOk;
}

size_t DxDbDatabase::numObjects() const { return m_impl->objectCount(); }

void DxDbDatabase::addReactor(DxDbDatabaseReactor* r) const {
  auto& v = m_impl->reactors;
  if (std::find(v.begin(), v.end(), r) == v.end()) v.push_back(r);
}
void DxDbDatabase::removeReactor(DxDbDatabaseReactor* r) const {
  auto& v = m_impl->reactors;
  v.erase(std::remove(v.begin(), v.end(), r), v.end());
}

std::vector<DxDbObjectId> DxDbDatabase::openObjects() const { return m_impl->openObjects(); }
std::vector<std::string> DxDbDatabase::takeDisciplineReport() {
  auto v = m_impl->takeViolations();
  for (const DxDbObjectId& id : m_impl->openObjects()) {
    DxRxClass* c = id.objectClass();
    v.push_back(std::string("object left open: ") + (c ? c->name() : "?") + " handle " +
                id.handle().str());
  }
  return v;
}

DxDbHostApplicationServices* dxdbHostApplicationServices() {
  static DxDbHostApplicationServices services;
  return &services;
}
