// Object identity, the open/close discipline, the undo journal and header variables.
#include <algorithm>
#include <cstdio>
#include <cstring>

#include "host/base/case.h"
#include "host/db/database_impl.h"

using namespace dx::db;
using Dxad::ErrorStatus;

// ---------------------------------------------------------------------------------------
// Status names

const char* Dxad::errorName(ErrorStatus es) {
  switch (es) {
    case eOk: return "eOk";
    case eNotImplementedYet: return "eNotImplementedYet";
    case eNotApplicable: return "eNotApplicable";
    case eInvalidInput: return "eInvalidInput";
    case eInvalidOpenState: return "eInvalidOpenState";
    case eNullObjectId: return "eNullObjectId";
    case eNullObjectPointer: return "eNullObjectPointer";
    case eInvalidIndex: return "eInvalidIndex";
    case eDuplicateKey: return "eDuplicateKey";
    case eDuplicateRecordName: return "eDuplicateRecordName";
    case eKeyNotFound: return "eKeyNotFound";
    case eWasErased: return "eWasErased";
    case eNotInDatabase: return "eNotInDatabase";
    case eWasOpenForRead: return "eWasOpenForRead";
    case eWasOpenForWrite: return "eWasOpenForWrite";
    case eWasNotOpenForWrite: return "eWasNotOpenForWrite";
    case eAtMaxReaders: return "eAtMaxReaders";
    case eNotOpenForWrite: return "eNotOpenForWrite";
    case eNotThatKindOfClass: return "eNotThatKindOfClass";
    case eInvalidDxfCode: return "eInvalidDxfCode";
    case eFileNotFound: return "eFileNotFound";
    case eFileAccessErr: return "eFileAccessErr";
    case eBadDxfFile: return "eBadDxfFile";
    case eNotADrawingFile: return "eNotADrawingFile";
    case eIncompatibleVersion: return "eIncompatibleVersion";
    case eAlreadyInDb: return "eAlreadyInDb";
    case eNoDatabase: return "eNoDatabase";
    case eNotOpen: return "eNotOpen";
    default: return "eUnknownError";
  }
}

DxRxClass* DxDbObject::desc() {
  static DxRxClass* cls = new DxRxClass("DxDbObject", DxRxObject::desc(), "", nullptr);
  return cls;
}
DxRxClass* DxDbObject::isA() const { return desc(); }

// ---------------------------------------------------------------------------------------
// Handles and ids

DxDbHandle::DxDbHandle(const char* hex) {
  uint64_t v = 0;
  for (const char* p = hex; p && *p; ++p) {
    char c = *p;
    int d = (c >= '0' && c <= '9') ? c - '0'
            : (c >= 'a' && c <= 'f') ? c - 'a' + 10
            : (c >= 'A' && c <= 'F') ? c - 'A' + 10
                                     : -1;
    if (d < 0) break;
    v = (v << 4) | uint64_t(d);
  }
  m_value = v;
}

std::string DxDbHandle::str() const {
  char buf[17];
  char* p = buf + sizeof buf;
  uint64_t v = m_value;
  do {
    *--p = "0123456789ABCDEF"[v & 15];
    v >>= 4;
  } while (v);
  return std::string(p, buf + sizeof buf);
}

const DxDbObjectId DxDbObjectId::kNull{};

bool DxDbObjectId::isValid() const { return m_stub && m_stub->obj; }
bool DxDbObjectId::isErased() const { return m_stub && m_stub->erased; }
DxDbHandle DxDbObjectId::handle() const { return m_stub ? DxDbHandle(m_stub->handle) : DxDbHandle(); }
DxDbDatabase* DxDbObjectId::database() const {
  return m_stub && m_stub->db ? m_stub->db->owner() : nullptr;
}
DxRxClass* DxDbObjectId::objectClass() const {
  return m_stub && m_stub->obj ? m_stub->obj->isA() : nullptr;
}

// An entity name holds the object's stub and its handle; a name is taken only when a
// live database has that handle at that stub, so a stale or made-up name is refused
// instead of followed.
namespace {
std::vector<DatabaseImpl*>& liveDatabases() {
  static std::vector<DatabaseImpl*> v;
  return v;
}
}  // namespace

void dxdbIdToName(dx_name name, DxDbObjectId id) {
  name[0] = reinterpret_cast<int64_t>(id.stub());
  name[1] = id.stub() ? int64_t(id.stub()->handle) : 0;
}

ErrorStatus dxdbGetObjectId(DxDbObjectId& id, const dx_name name) {
  id = {};
  if (!name || (name[0] == 0 && name[1] == 0)) return Dxad::eNullObjectId;
  auto* s = reinterpret_cast<Stub*>(name[0]);
  for (DatabaseImpl* db : liveDatabases())
    if (db->findStub(uint64_t(name[1])) == s) {
      id = DxDbObjectId(s);
      return Dxad::eOk;
    }
  return Dxad::eInvalidInput;
}

ErrorStatus dxdbGetGdsName(dx_name name, DxDbObjectId id) {
  dxdbIdToName(name, id);
  return id.isNull() ? Dxad::eNullObjectId : Dxad::eOk;
}

// ---------------------------------------------------------------------------------------
// Open and close

ErrorStatus dxdbOpenObject(DxDbObject*& obj, DxDbObjectId id, DxDb::OpenMode mode,
                           bool openErased) {
  obj = nullptr;
  Stub* s = id.stub();
  if (!s) return Dxad::eNullObjectId;
  if (!s->obj) return Dxad::eKeyNotFound;
  if (s->erased && !openErased) return Dxad::eWasErased;
  DxDbObject* o = s->obj;
  uint16_t& count = Access::openCount(*o);
  bool& writing = Access::openWrite(*o);
  if (mode == DxDb::kForWrite) {
    if (writing) return Dxad::eWasOpenForWrite;
    if (count > 0) return Dxad::eWasOpenForRead;
    if (s->db) s->db->noteWrite(s);
    writing = true;
  } else {
    if (writing) return Dxad::eWasOpenForWrite;
    if (count >= 255) return Dxad::eAtMaxReaders;
  }
  ++count;
  if (s->db) s->db->noteOpened(s);
  obj = o;
  return Dxad::eOk;
}

ErrorStatus dxdbCloseObject(DxDbObject* obj) { return obj ? obj->close() : Dxad::eNullObjectPointer; }

// ---------------------------------------------------------------------------------------
// DxDbObject

DxDbObject::DxDbObject() = default;

DxDbObject::DxDbObject(const DxDbObject& o)
    : DxRxObject(o), m_stub(o.m_stub), m_owner(o.m_owner), m_xdict(o.m_xdict),
      m_extras(o.m_extras ? std::make_unique<ObjectExtras>(*o.m_extras) : nullptr) {}

DxDbObject::~DxDbObject() = default;

DxDbObjectId DxDbObject::objectId() const { return DxDbObjectId(m_stub); }
DxDbHandle DxDbObject::getDbHandle() const { return m_stub ? DxDbHandle(m_stub->handle) : DxDbHandle(); }
DxDbDatabase* DxDbObject::database() const {
  return m_stub && m_stub->db ? m_stub->db->owner() : nullptr;
}
bool DxDbObject::isErased() const { return m_stub && m_stub->erased; }
bool DxDbObject::isNewObject() const { return m_stub == nullptr; }

ErrorStatus DxDbObject::setOwnerId(DxDbObjectId id) {
  m_owner = id;
  return Dxad::eOk;
}

ErrorStatus DxDbObject::upgradeOpen() {
  if (!m_stub) return Dxad::eOk;
  if (m_openWrite) return Dxad::eWasOpenForWrite;
  if (m_openCount == 0) return Dxad::eNotOpen;
  if (m_openCount > 1) return Dxad::eWasOpenForRead;
  if (m_stub->db) m_stub->db->noteWrite(m_stub);
  m_openWrite = true;
  return Dxad::eOk;
}

ErrorStatus DxDbObject::downgradeOpen() {
  if (!m_openWrite) return Dxad::eWasNotOpenForWrite;
  m_openWrite = false;
  return Dxad::eOk;
}

ErrorStatus DxDbObject::close() {
  if (!m_stub) {
    // Never added to a database: closing deletes it, as a CAD host does.
    delete this;
    return Dxad::eOk;
  }
  if (m_openCount == 0) {
    if (m_stub->db) m_stub->db->reportViolation("close() of an object that is not open: handle " +
                                                DxDbHandle(m_stub->handle).str());
    return Dxad::eNotOpen;
  }
  bool wrote = m_openWrite;
  if (--m_openCount == 0) {
    m_openWrite = false;
    if (m_stub->db) m_stub->db->noteClosed(m_stub);
  }
  if (wrote && m_stub->db)
    for (auto* r : m_stub->db->reactors) r->objectModified(database(), this);
  return Dxad::eOk;
}

ErrorStatus DxDbObject::erase(bool erasing) {
  if (!m_stub) return Dxad::eNotInDatabase;
  if (!m_openWrite) return Dxad::eNotOpenForWrite;
  if (m_stub->erased == erasing) return erasing ? Dxad::eWasErased : Dxad::eOk;
  m_stub->erased = erasing;
  if (m_stub->db)
    for (auto* r : m_stub->db->reactors) r->objectErased(database(), this, erasing);
  return Dxad::eOk;
}

void DxDbObject::assertReadEnabled() const {
  if (m_stub && m_openCount == 0 && m_stub->db)
    m_stub->db->reportViolation("object read while not open: handle " +
                                DxDbHandle(m_stub->handle).str());
}

void DxDbObject::assertWriteEnabled() {
  if (m_stub && !m_openWrite && m_stub->db)
    m_stub->db->reportViolation("object changed while not open for write: handle " +
                                DxDbHandle(m_stub->handle).str());
}

namespace dx::db {

// Short lists are searched; from this length on an index pays for itself.
constexpr size_t kIndexedReactors = 32;

bool ObjectExtras::hasReactor(DxDbObjectId id) {
  if (reactors.size() < kIndexedReactors) return std::find(reactors.begin(), reactors.end(), id) != reactors.end();
  if (m_indexedSize != reactors.size() || m_indexedBack != reactors.back().stub()) {
    m_reactorIndex.clear();
    for (const auto& r : reactors) m_reactorIndex.insert(r.stub());
    m_indexedSize = reactors.size();
    m_indexedBack = reactors.back().stub();
  }
  return m_reactorIndex.count(id.stub()) != 0;
}

void ObjectExtras::addReactor(DxDbObjectId id) {
  bool indexed = reactors.size() >= kIndexedReactors && m_indexedSize == reactors.size();
  reactors.push_back(id);
  if (!indexed) return;
  m_reactorIndex.insert(id.stub());
  m_indexedSize = reactors.size();
  m_indexedBack = id.stub();
}

}  // namespace dx::db

void DxDbObject::addPersistentReactor(DxDbObjectId id) {
  ObjectExtras& x = Access::extrasMut(*this);
  if (!x.hasReactor(id)) x.addReactor(id);
}

ErrorStatus DxDbObject::removePersistentReactor(DxDbObjectId id) {
  if (!m_extras) return Dxad::eKeyNotFound;
  auto& r = m_extras->reactors;
  auto it = std::find(r.begin(), r.end(), id);
  if (it == r.end()) return Dxad::eKeyNotFound;
  r.erase(it);
  return Dxad::eOk;
}

const DxDbObjectIdArray& DxDbObject::getPersistentReactorIds() const {
  static const DxDbObjectIdArray none;
  return m_extras ? m_extras->reactors : none;
}

resbuf* DxDbObject::xData(const char* regappName) const {
  if (!m_extras || m_extras->xdata.empty()) return nullptr;
  resbuf *head = nullptr, *tail = nullptr;
  bool take = false;
  for (const XTag& t : m_extras->xdata) {
    if (t.code == 1001) take = !regappName || upperKey(t.s) == upperKey(regappName);
    if (!take) continue;
    resbuf* rb = resbufFromXTag(t);
    (tail ? tail->rbnext : head) = rb;
    tail = rb;
  }
  return head;
}

ErrorStatus DxDbObject::setXData(const resbuf* xdata) {
  if (m_stub && !m_openWrite) return Dxad::eNotOpenForWrite;
  // Every application named must be registered in the drawing.
  DatabaseImpl* db = m_stub ? m_stub->db : nullptr;
  for (const resbuf* rb = xdata; rb; rb = rb->rbnext)
    if (rb->restype == 1001 && db && db->recordId(Table::AppId, rb->resval.rstring ? rb->resval.rstring : "").isNull())
      return Dxad::eInvalidInput;
  // The applications in the chain replace theirs; others stay.
  std::vector<std::string> apps;
  for (const resbuf* rb = xdata; rb; rb = rb->rbnext)
    if (rb->restype == 1001) apps.push_back(upperKey(rb->resval.rstring ? rb->resval.rstring : ""));
  auto& xd = Access::extrasMut(*this).xdata;
  std::vector<XTag> kept;
  bool keep = true;
  for (const XTag& t : xd) {
    if (t.code == 1001) keep = std::find(apps.begin(), apps.end(), upperKey(t.s)) == apps.end();
    if (keep) kept.push_back(t);
  }
  for (const resbuf* rb = xdata; rb; rb = rb->rbnext) {
    if (rb->restype < 1000) continue;
    XTag t = xtagFromResbuf(rb);
    kept.push_back(std::move(t));
  }
  xd = std::move(kept);
  return Dxad::eOk;
}

ObjectExtras& Access::extrasMut(DxDbObject& o) {
  if (!o.m_extras) o.m_extras = std::make_unique<ObjectExtras>();
  return *o.m_extras;
}

ErrorStatus DxDbObject::createExtensionDictionary() {
  if (!m_xdict.isNull()) return Dxad::eAlreadyInDb;
  if (!m_stub || !m_stub->db) return Dxad::eNoDatabase;
  auto* dict = new DxDbDictionary();
  Access::hardOwner(*dict) = 1;
  DxDbObjectId id = m_stub->db->attach(dict);
  Access::owner(*dict) = objectId();
  m_stub->db->objectsOrder.push_back(id);
  m_xdict = id;
  dict->addPersistentReactor(objectId());
  return Dxad::eOk;
}

ErrorStatus DxDbObject::releaseExtensionDictionary() {
  if (m_xdict.isNull()) return Dxad::eKeyNotFound;
  DxDbDictionary* d = nullptr;
  if (auto es = dxdbOpenObject(d, m_xdict, DxDb::kForWrite); es != Dxad::eOk) return es;
  if (d->numEntries() > 0) {
    d->close();
    return Dxad::eNotApplicable;
  }
  d->erase();
  d->close();
  m_xdict = DxDbObjectId();
  return Dxad::eOk;
}

// ---------------------------------------------------------------------------------------
// DatabaseImpl

DatabaseImpl::DatabaseImpl(DxDbDatabase* owner) : m_owner(owner) { liveDatabases().push_back(this); }

DatabaseImpl::~DatabaseImpl() {
  auto& live = liveDatabases();
  live.erase(std::remove(live.begin(), live.end(), this), live.end());
  for (auto& e : m_journal) {
    delete e.before;
    delete e.header;
  }
  for (Stub& s : m_stubs) {
    delete s.obj;
    s.obj = nullptr;
  }
  for (auto& stubs : m_adopted)
    for (Stub& s : stubs) {
      delete s.obj;
      s.obj = nullptr;
    }
}

void DatabaseImpl::adopt(DatabaseImpl& source) {
  // Moving a deque keeps its elements where they are, so every id stays valid.
  std::deque<Stub>& stubs = m_adopted.emplace_back(std::move(source.m_stubs));
  source.m_stubs.clear();
  source.m_open.clear();
  m_byHandle.reserve(m_byHandle.size() + stubs.size());
  if (m_journalOn) m_journal.reserve(m_journal.size() + stubs.size());
  for (Stub& s : stubs) {
    // The source's index entry moves over under the new handle (no node is made anew).
    auto node = source.m_byHandle.extract(s.handle);
    s.db = this;
    s.journalGen = 0;
    s.handle = 0;
    if (!s.obj) continue;  // a name a file used for nothing
    s.handle = freeHandle();
    noteHandle(s.handle);
    if (node) {
      node.key() = s.handle;
      m_byHandle.insert(std::move(node));
    } else {
      m_byHandle[s.handle] = &s;
    }
    noteCreated(&s);
  }
  source.m_byHandle.clear();
}

Stub* DatabaseImpl::stubFor(uint64_t handle) {
  if (handle == 0) return nullptr;
  auto [it, inserted] = m_byHandle.try_emplace(handle, nullptr);
  if (inserted) {
    Stub& s = m_stubs.emplace_back();
    s.handle = handle;
    s.db = this;
    it->second = &s;
    noteHandle(handle);
  }
  return it->second;
}

Stub* DatabaseImpl::findStub(uint64_t handle) const {
  auto it = m_byHandle.find(handle);
  return it == m_byHandle.end() ? nullptr : it->second;
}

uint64_t DatabaseImpl::freeHandle() {
  while (m_nextHandle != UINT64_MAX && m_byHandle.count(m_nextHandle)) ++m_nextHandle;
  if (!m_byHandle.count(m_nextHandle)) return m_nextHandle;
  // The top handle is taken: fill the gaps from below (the cursor only moves up, so a
  // drawing pays for the scan once).
  while (m_byHandle.count(m_lowFree)) ++m_lowFree;
  return m_lowFree;
}

Stub* DatabaseImpl::newStub() { return stubFor(freeHandle()); }

Stub* DatabaseImpl::anonymousStub() {
  Stub& s = m_stubs.emplace_back();
  s.db = this;
  return &s;
}

void DatabaseImpl::assignHandle(Stub* s) {
  s->handle = freeHandle();
  m_byHandle[s->handle] = s;
  noteHandle(s->handle);
}

DxDbObjectId DatabaseImpl::attach(DxDbObject* obj, Stub* stub) {
  if (!stub) stub = newStub();
  stub->obj = obj;
  stub->erased = false;
  Access::stub(*obj) = stub;
  noteCreated(stub);
  for (auto* r : reactors) r->objectAppended(m_owner, obj);
  return DxDbObjectId(stub);
}

size_t DatabaseImpl::objectCount() const {
  size_t n = 0;
  forEachStub([&](const Stub& s) { n += s.obj && !s.erased; });
  return n;
}

std::vector<DxDbObjectId> DatabaseImpl::openObjects() const {
  std::vector<DxDbObjectId> ids;
  for (Stub* s : m_open) ids.emplace_back(s);
  std::sort(ids.begin(), ids.end(),
            [](const DxDbObjectId& a, const DxDbObjectId& b) { return a.handle() < b.handle(); });
  return ids;
}

// Undo: an object is copied the first time it is opened for write in a step; a new
// position starts a new step. Rolling back puts the copies back, newest first.
uint64_t DatabaseImpl::journalPosition() {
  ++m_journalGen;
  return m_journal.size();
}

void DatabaseImpl::noteWrite(Stub* s) {
  if (!m_journalOn || s->journalGen == m_journalGen) return;
  s->journalGen = m_journalGen;
  m_journal.push_back({s, s->obj ? copyObject(*s->obj) : nullptr, s->erased});
}

void DatabaseImpl::noteCreated(Stub* s) {
  if (!m_journalOn) return;
  s->journalGen = m_journalGen;
  m_journal.push_back({s, nullptr, true});
}

void DatabaseImpl::noteHeaderWrite() {
  if (!m_journalOn || m_headerGen == m_journalGen) return;
  m_headerGen = m_journalGen;
  m_journal.push_back({nullptr, nullptr, false, new std::vector<HeaderVar>(header)});
}

void DatabaseImpl::rollbackTo(uint64_t pos) {
  while (m_journal.size() > pos) {
    JournalEntry e = m_journal.back();
    m_journal.pop_back();
    if (e.header) {
      header = std::move(*e.header);
      delete e.header;
      m_headerGen = 0;
      continue;
    }
    Stub* s = e.stub;
    if (s->obj) m_open.erase(s);
    if (e.before) {
      delete s->obj;
      s->obj = e.before;
      Access::stub(*e.before) = s;
      Access::openCount(*e.before) = 0;
      Access::openWrite(*e.before) = false;
      s->erased = e.wasErased;
    } else {
      // Created in the undone step: gone again.
      delete s->obj;
      s->obj = nullptr;
      s->erased = true;
    }
    s->journalGen = 0;
  }
  ++m_journalGen;
}

void dx::db::setJournalEnabled(DxDbDatabase& db, bool on) { implOf(&db)->setJournalEnabled(on); }
uint64_t dx::db::journalPosition(DxDbDatabase& db) { return implOf(&db)->journalPosition(); }
void dx::db::rollbackJournal(DxDbDatabase& db, uint64_t position) { implOf(&db)->rollbackTo(position); }

// ---------------------------------------------------------------------------------------
// Header variables

HeaderVar* DatabaseImpl::headerVar(std::string_view name) {
  for (auto& v : header)
    if (v.name == name) return &v;
  return nullptr;
}
const HeaderVar* DatabaseImpl::headerVar(std::string_view name) const {
  return const_cast<DatabaseImpl*>(this)->headerVar(name);
}
HeaderVar& DatabaseImpl::setHeaderVar(std::string_view name) {
  noteHeaderWrite();
  if (HeaderVar* v = headerVar(name)) {
    v->tags.clear();
    return *v;
  }
  header.push_back({std::string(name), {}});
  return header.back();
}

std::string DatabaseImpl::headerString(std::string_view name, std::string_view def) const {
  const HeaderVar* v = headerVar(name);
  if (!v || v->tags.empty()) return std::string(def);
  return v->tags[0].s;
}
double DatabaseImpl::headerReal(std::string_view name, double def) const {
  const HeaderVar* v = headerVar(name);
  if (!v || v->tags.empty()) return def;
  return v->tags[0].kind == dx::dxf::Kind::Double ? v->tags[0].v[0] : double(v->tags[0].i);
}
int64_t DatabaseImpl::headerInt(std::string_view name, int64_t def) const {
  const HeaderVar* v = headerVar(name);
  if (!v || v->tags.empty()) return def;
  return v->tags[0].kind == dx::dxf::Kind::Double ? int64_t(v->tags[0].v[0]) : v->tags[0].i;
}

static XTag makeTag(int code) {
  XTag t;
  t.code = int16_t(code);
  t.kind = dx::dxf::kindOf(code);
  return t;
}

void DatabaseImpl::setHeaderString(std::string_view name, int code, std::string_view v) {
  XTag t = makeTag(code);
  t.s = v;
  setHeaderVar(name).tags.push_back(std::move(t));
}
void DatabaseImpl::setHeaderReal(std::string_view name, int code, double v) {
  XTag t = makeTag(code);
  t.v[0] = v;
  setHeaderVar(name).tags.push_back(std::move(t));
}
void DatabaseImpl::setHeaderInt(std::string_view name, int code, int64_t v) {
  XTag t = makeTag(code);
  t.i = v;
  setHeaderVar(name).tags.push_back(std::move(t));
}

// ---------------------------------------------------------------------------------------
// Tables

DxDbSymbolTable* DatabaseImpl::table(Table t) const {
  Stub* s = tables[size_t(t)].stub();
  return s ? static_cast<DxDbSymbolTable*>(s->obj) : nullptr;
}

std::string dx::db::upperKey(std::string_view s) { return dx::base::upper(s); }

DxDbObjectId DatabaseImpl::recordId(Table t, std::string_view name) const {
  DxDbSymbolTable* tab = table(t);
  if (!tab) return {};
  auto& idx = Access::index(*tab);
  auto it = idx.find(upperKey(name));
  if (it == idx.end() || it->second.isErased()) return {};
  return it->second;
}

DxDbObjectId DatabaseImpl::addRecord(Table t, DxDbSymbolTableRecord* rec, Stub* stub) {
  DxDbSymbolTable* tab = table(t);
  DxDbObjectId id = attach(rec, stub);
  Access::owner(*rec) = tables[size_t(t)];
  Access::records(*tab).push_back(id);
  Access::index(*tab)[upperKey(rec->getName())] = id;
  return id;
}
