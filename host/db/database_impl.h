// The core of a drawing database: object stubs and handles, the standard containers,
// header variables, the undo journal and the open-object discipline.
#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "host/db/journal.h"
#include "host/db/merge.h"
#include "host/db/repair.h"
#include "host/db/schema.h"
#include "host/db/stub.h"
#include "hostapi/db.h"

namespace dx::db {

// The database an object lives in; null for an object not in one.
inline DatabaseImpl* databaseOf(const DxDbObject& o) {
  Stub* s = Access::stub(o);
  return s ? s->db : nullptr;
}

struct HeaderVar {
  std::string name;  // with '$'
  std::vector<XTag> tags;
};

class DatabaseImpl {
 public:
  explicit DatabaseImpl(DxDbDatabase* owner);
  ~DatabaseImpl();

  DxDbDatabase* owner() const { return m_owner; }

  // Handles and stubs --------------------------------------------------------------
  // The stub of a handle, created empty when unknown (references may come before the
  // object they name).
  Stub* stubFor(uint64_t handle);
  Stub* findStub(uint64_t handle) const;
  Stub* newStub();  // with the next free handle
  void reserveHandles(size_t n) { m_byHandle.reserve(n); }
  // A stub without a handle yet (objects of files that give none); assignHandle later.
  Stub* anonymousStub();
  void assignHandle(Stub* s);
  uint64_t handseed() const { return m_nextHandle; }
  // Handles never wrap: once the top of the range is used, new objects take the lowest
  // free handles instead.
  void noteHandle(uint64_t h) {
    if (h >= m_nextHandle) m_nextHandle = h == UINT64_MAX ? h : h + 1;
  }
  // Puts obj into the database under stub (creating a stub when null); takes ownership.
  DxDbObjectId attach(DxDbObject* obj, Stub* stub = nullptr);
  size_t objectCount() const;
  template <class F>
  void forEachStub(F&& f) const {
    for (const Stub& s : m_stubs) f(const_cast<Stub&>(s));
    for (const auto& stubs : m_adopted)
      for (const Stub& s : stubs) f(const_cast<Stub&>(s));
  }
  // Takes every object of another database over as it stands, each under a new handle
  // of this one (references among them stay as they were). source is left empty: the
  // caller puts the objects where they belong.
  void adopt(DatabaseImpl& source);

  // Standard containers -------------------------------------------------------------
  DxDbObjectId tables[10];  // indexed by Table
  DxDbObjectId rootDict, groupDict, layoutDict;
  DxDbObjectId modelSpace, paperSpace, currentSpace;
  DxDbObjectId ltByLayer, ltByBlock, ltContinuous, layerZero;
  std::vector<DxDbObjectId> objectsOrder;  // OBJECTS section order
  std::vector<std::vector<XTag>> classes;  // CLASSES section, each record verbatim
  std::vector<std::vector<XTag>> trailingSections;  // THUMBNAILIMAGE etc., verbatim
  std::vector<HeaderVar> header;

  HeaderVar* headerVar(std::string_view name);
  const HeaderVar* headerVar(std::string_view name) const;
  HeaderVar& setHeaderVar(std::string_view name);
  std::string headerString(std::string_view name, std::string_view def = "") const;
  double headerReal(std::string_view name, double def = 0) const;
  int64_t headerInt(std::string_view name, int64_t def = 0) const;
  void setHeaderString(std::string_view name, int code, std::string_view v);
  void setHeaderReal(std::string_view name, int code, double v);
  void setHeaderInt(std::string_view name, int code, int64_t v);

  // Table helpers.
  DxDbSymbolTable* table(Table t) const;
  DxDbObjectId recordId(Table t, std::string_view name) const;
  // Adds a record to a table directly (loading and default drawing; no open checks).
  DxDbObjectId addRecord(Table t, DxDbSymbolTableRecord* rec, Stub* stub = nullptr);
  // Completes a drawing: the tables, records, blocks, layouts and dictionaries every
  // drawing has. Used for a new drawing and after reading an older or partial file.
  void completeStructure();
  // The tables and the model and paper space blocks only (before entities are read).
  void ensureTables();

  uint64_t fileHandseed = 1;  // $HANDSEED of the file read
  // Set while a file is read: standard records it lacks are made implicit.
  bool readFromFile = false;
  // What loading set right in a damaged file, one line each, for the user to read.
  std::vector<std::string> repairs;
  // Load/save state.
  std::string fileName, fileVersion = "AC1032", lastError, codePage = "ANSI_1252";

  // Undo journal ---------------------------------------------------------------------
  uint64_t journalPosition();
  void rollbackTo(uint64_t pos);
  void setJournalEnabled(bool on) { m_journalOn = on; }
  bool journalEnabled() const { return m_journalOn; }
  // Called before an object changes (open for write, erase) and when one is created.
  void noteWrite(Stub* s);
  void noteCreated(Stub* s);

  // Open discipline -------------------------------------------------------------------
  void noteOpened(Stub* s) { m_open.insert(s); }
  void noteClosed(Stub* s) { m_open.erase(s); }
  std::vector<DxDbObjectId> openObjects() const;
  void reportViolation(std::string msg) { m_violations.push_back(std::move(msg)); }
  std::vector<std::string> takeViolations() { return std::exchange(m_violations, {}); }

  // Reactors.
  std::vector<DxDbDatabaseReactor*> reactors;

 private:
  struct JournalEntry {
    Stub* stub;          // null: the entry saves the header variables
    DxDbObject* before;  // owned; null when the object was created in the step
    bool wasErased;
    std::vector<HeaderVar>* header = nullptr;  // owned
  };
  uint32_t m_headerGen = 0;
  void noteHeaderWrite();
  DxDbDatabase* m_owner;
  std::deque<Stub> m_stubs;
  std::vector<std::deque<Stub>> m_adopted;  // stubs taken over from other databases
  std::unordered_map<uint64_t, Stub*> m_byHandle;
  uint64_t m_nextHandle = 1;
  uint64_t m_lowFree = 1;  // where the search for a free handle below the top resumes
  uint64_t freeHandle();
  std::vector<JournalEntry> m_journal;
  uint32_t m_journalGen = 1;
  bool m_journalOn = false;
  std::unordered_set<Stub*> m_open;
  std::vector<std::string> m_violations;
};

inline DatabaseImpl* implOf(const DxDbDatabase* db) { return db ? db->impl() : nullptr; }

// Reads DXF into an empty database; false with a one-line error.
bool readDxf(DatabaseImpl& db, dxf::Bytes data, std::string& error);
// Writes the database as DXF text of a version.
void writeDxf(const DatabaseImpl& db, Ver version, dxf::TagWriter& w);

// A copy of an object for undo or for cloning: same class and state, not attached.
DxDbObject* copyObject(const DxDbObject& o);

// False when any number the object holds is infinite or NaN.
bool allFinite(const DxDbObject& o);

// Blocks that hold themselves (directly or through others): each reference closing a
// cycle is listed in notes and, with fix, erased. Returns how many there were.
size_t breakBlockCycles(DatabaseImpl& db, std::vector<std::string>& notes, bool fix);
// Every check of a drawing's consistency (cycles, numbers, references of entities):
// problems are listed in notes and, with fix, repaired. Returns how many there were.
size_t auditDatabase(DatabaseImpl& db, std::vector<std::string>& notes, bool fix);

}  // namespace dx::db
