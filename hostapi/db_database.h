// Draxel host interface, database family: the database, its reactors, purge.
#pragma once

#include "hostapi/db_dictionaries.h"
#include "hostapi/db_tables.h"

// ---------------------------------------------------------------------------------------
// The database

class DxDbDatabaseReactor : public DxRxObject {
 public:
  DX_DECLARE_MEMBERS(DxDbDatabaseReactor);
  virtual void objectAppended(const DxDbDatabase* db, const DxDbObject* obj) {}
  virtual void objectModified(const DxDbDatabase* db, const DxDbObject* obj) {}
  virtual void objectErased(const DxDbDatabase* db, const DxDbObject* obj, bool erased) {}
  virtual void goodbye(const DxDbDatabase* db) {}
};

namespace dx::db {
class DatabaseImpl;
}

class DxDbDatabase : public DxRxObject {
 public:
  DX_DECLARE_MEMBERS(DxDbDatabase);
  // With buildDefaultDrawing, the standard tables, records, layouts and dictionaries of a
  // new drawing; without, an empty database meant to be filled by readDwgFile.
  explicit DxDbDatabase(bool buildDefaultDrawing = true, bool noDocument = false);
  ~DxDbDatabase() override;
  DxDbDatabase(const DxDbDatabase&) = delete;
  DxDbDatabase& operator=(const DxDbDatabase&) = delete;

  // Reads a drawing file (DXF, ASCII or binary). On failure the database is unchanged
  // and lastError() holds a one-line message.
  Dxad::ErrorStatus readDwgFile(const char* fileName);
  Dxad::ErrorStatus readDxfFromBuffer(std::string data);
  Dxad::ErrorStatus saveAs(const char* fileName, DxDbDwgVersion version = DxDb::kDHL_CURRENT);
  // Saves over a drawing file in place. With bakAndRename the file there is kept as a
  // back-up (its extension replaced by ".bak") before the new one, written under a
  // temporary name, is renamed over it: at every moment the path holds either the old
  // drawing or the new one. A file without write permission is not replaced
  // (eFileAccessErr). security is not used by this host and may be null.
  Dxad::ErrorStatus saveAs(const char* fileName, bool bakAndRename, DxDbDwgVersion version,
                           const void* security);
  const std::string& lastError() const;
  const char* originalFileName() const;
  // Version the drawing was read in ("AC1009" ... "AC1032").
  const char* originalFileVersion() const;

  DxDbObjectId blockTableId() const;
  DxDbObjectId layerTableId() const;
  DxDbObjectId linetypeTableId() const;
  DxDbObjectId textStyleTableId() const;
  DxDbObjectId dimStyleTableId() const;
  DxDbObjectId regAppTableId() const;
  DxDbObjectId UCSTableId() const;
  DxDbObjectId viewTableId() const;
  DxDbObjectId viewportTableId() const;
  DxDbObjectId namedObjectsDictionaryId() const;
  DxDbObjectId getGroupDictionaryId() const;
  Dxad::ErrorStatus getGroupDictionary(DxDbDictionary*& dict, DxDb::OpenMode mode) const;
  DxDbObjectId modelSpaceId() const;
  DxDbObjectId paperSpaceId() const;
  DxDbObjectId currentSpaceId() const;
  Dxad::ErrorStatus setCurrentSpace(DxDbObjectId btrId);
  DxDbObjectId byLayerLinetype() const;
  DxDbObjectId byBlockLinetype() const;
  DxDbObjectId continuousLinetype() const;

  template <class T>
  Dxad::ErrorStatus getSymbolTable(T*& table, DxDb::OpenMode mode) const {
    return dxdbOpenObject(table, symbolTableId(T::desc()), mode);
  }
  DxDbObjectId symbolTableId(const DxRxClass* tableClass) const;

  // Current settings (header variables).
  DxDbObjectId clayer() const;
  Dxad::ErrorStatus setClayer(DxDbObjectId id);
  DxDbObjectId textstyle() const;
  Dxad::ErrorStatus setTextstyle(DxDbObjectId id);
  DxDbObjectId dimstyle() const;
  Dxad::ErrorStatus setDimstyle(DxDbObjectId id);
  DxDbObjectId celtype() const;
  Dxad::ErrorStatus setCeltype(DxDbObjectId id);
  DxCmColor cecolor() const;
  Dxad::ErrorStatus setCecolor(const DxCmColor& c);
  double textsize() const;
  double celtscale() const;
  // A header variable as a result-buffer chain ($-less name); null when unknown.
  resbuf* getHeaderVar(const char* name) const;
  Dxad::ErrorStatus setHeaderVar(const char* name, const resbuf* value);

  // Object lookup by handle (the id of an existing object, or null).
  Dxad::ErrorStatus getObjectId(DxDbObjectId& id, bool createIfNotFound, DxDbHandle h);
  // Adds an object not owned by a container (for example an object of the OBJECTS
  // section); the caller sets its owner.
  Dxad::ErrorStatus addDxDbObject(DxDbObjectId& id, DxDbObject* obj);
  // Number of objects in the database (not erased).
  size_t numObjects() const;

  void addReactor(DxDbDatabaseReactor* r) const;
  void removeReactor(DxDbDatabaseReactor* r) const;

  // The open-discipline report: objects open right now, and violations seen so far.
  std::vector<DxDbObjectId> openObjects() const;
  std::vector<std::string> takeDisciplineReport();

  dx::db::DatabaseImpl* impl() const { return m_impl.get(); }

 private:
  std::unique_ptr<dx::db::DatabaseImpl> m_impl;
};

class DxDbHostApplicationServices {
 public:
  DxDbDatabase* workingDatabase() const { return m_working; }
  void setWorkingDatabase(DxDbDatabase* db) { m_working = db; }

 private:
  DxDbDatabase* m_working = nullptr;
};
DxDbHostApplicationServices* dxdbHostApplicationServices();

// The host's interactive setting, on by default. Batch work switches it off around calls
// into the host, which then print nothing on their own.
bool dxdbIsInteractive();
void dxdbSetInteractive(bool on);

// The formats the host saves drawings in, newest first: the code a module passes around,
// a description and the file extension (".dxf").
struct DxDbSaveFormat {
  int code;
  const char* description;
  const char* extension;
};
const DxDbSaveFormat* dxdbSaveFormats(int* count);

// Held while a batch of off-screen saves runs: the host raises no save veto (it asks no
// module whether a save may go ahead) for as long as one exists. Nests.
class DxDbDisableCheckSaveVeto {
 public:
  DxDbDisableCheckSaveVeto();
  ~DxDbDisableCheckSaveVeto();
  DxDbDisableCheckSaveVeto(const DxDbDisableCheckSaveVeto&) = delete;
  DxDbDisableCheckSaveVeto& operator=(const DxDbDisableCheckSaveVeto&) = delete;
  static bool active();
};

// Removes what a user's PURGE ALL removes: unreferenced layers other than "0" and
// "DEFPOINTS", linetypes, text styles, dimension styles and blocks, repeatedly until
// nothing more goes. True when it ran. Exported under its plain name, so that modules
// can find it in the host with dlsym.
// Named removals are printed only when verbose and the host is interactive.
extern "C" bool purgeAll(DxDbDatabase* db, bool verbose = false);
using PurgeAllFn = bool (*)(DxDbDatabase*, bool);
// The same, reporting each removed name ("Layer", "FOO") to the callback.
using PurgeReport = void (*)(void* ctx, const char* kind, const char* name);
bool purgeAllWithReport(DxDbDatabase* db, PurgeReport report, void* ctx);
// A purge limited by a filter: an unreferenced record goes only when the filter answers
// true for its kind ("Block", "Layer", "Linetype", "Text style", "Dimension style") and
// name. Repeats until nothing more goes; true when it ran.
using PurgeFilter = bool (*)(void* ctx, const char* kind, const char* name);
bool purgeSome(DxDbDatabase* db, PurgeFilter filter, PurgeReport report, void* ctx);
