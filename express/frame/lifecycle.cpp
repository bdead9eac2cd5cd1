// Module lifecycle: initialisation, unload and the drawing messages.
#include "express/frame/lifecycle.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "express/env/holders.h"
#include "express/frame/commands.h"
#include "express/frame/module_state.h"
#include "express/res/resource.h"
#include "hostapi/app.h"
#include "hostapi/editor.h"

// Runtime class members: the records are the module's own, made at initialisation.
DxRxClass* ZOTACmdEndReactor::desc() {
  auto& s = express::moduleState();
  return s.cmdEndReactorClass ? s.cmdEndReactorClass : dxrxFindDxRxClass("ZOTACmdEndReactor");
}
DxRxClass* ZOTACmdEndReactor::isA() const { return desc(); }
DxRxClass* ZOTABlockChangeReactor::desc() {
  auto& s = express::moduleState();
  return s.blockChangeReactorClass ? s.blockChangeReactorClass : dxrxFindDxRxClass("ZOTABlockChangeReactor");
}
DxRxClass* ZOTABlockChangeReactor::isA() const { return desc(); }

ZOTACmdEndReactor::~ZOTACmdEndReactor() {
  if (!m_attached) return;
  DxRxObject* o = dxrxSysRegistry()->at("DxEditor");
  if (o && o->isKindOf(DxEditor::desc())) static_cast<DxEditor*>(o)->removeReactor(this);
}

namespace express {

ModuleState& moduleState() {
  static ModuleState* s = new ModuleState();  // outlives every static of the process
  return *s;
}

namespace {

bool addOnGateSet() {
  CVmSystem* sys = CVmSystem::instance();
  return sys && sys->isAddOnCommandsDisabled();
}

}  // namespace

void registerClass(DxRxClass*& cache, const char* name, DxRxClass* parent) {
  if (cache) {
    DxRxClass* found = dxrxFindDxRxClass(name);
    if (found && found != cache) dxrx_abort("Class mismatch");
    if (found) return;
  }
  cache = new DxRxClass(name, parent);
  dxrxAddClass(cache);
}

void deleteClass(DxRxClass*& cache, const char* name) {
  DxRxClass* cls = cache ? cache : dxrxFindDxRxClass(name);
  if (cls) deleteDxRxClass(cls);
  cache = nullptr;
}

uint16_t systemLanguageId() {
  const char* lang = nullptr;
  for (const char* var : {"LC_ALL", "LC_MESSAGES", "LANG"})
    if (const char* v = std::getenv(var); v && *v) {
      lang = v;
      break;
    }
  static const struct {
    const char* prefix;
    uint16_t id;
  } kLanguages[] = {{"zh_CN", 2052}, {"zh_SG", 4100}, {"zh_TW", 1028}, {"zh_HK", 3076},
                    {"ja", 1041},    {"ko", 1042},    {"de", 1031},    {"fr", 1036},
                    {"es", 3082},    {"it", 1040},    {"ru", 1049},    {"en_GB", 2057}};
  if (lang)
    for (const auto& l : kLanguages)
      if (std::strncmp(lang, l.prefix, std::strlen(l.prefix)) == 0) return l.id;
  return 1033;
}

void onInitialise() {
  ModuleState& s = moduleState();
  ensureResourceLibrary();

  s.systemLanguage = systemLanguageId();
  registerClass(s.cmdEndReactorClass, "ZOTACmdEndReactor", DxEditorReactor::desc());
  registerClass(s.blockChangeReactorClass, "ZOTABlockChangeReactor", DxDbDatabaseReactor::desc());

  if (!s.cmdEndReactor) {
    s.cmdEndReactor = std::make_unique<ZOTACmdEndReactor>(true);
    DxRxObject* o = dxrxSysRegistry()->at("DxEditor");
    if (o && o->isKindOf(DxEditor::desc()))
      static_cast<DxEditor*>(o)->addReactor(s.cmdEndReactor.get());
    else
      s.cmdEndReactor->setAttached(false);
  }

  if (DxDbDatabase* db = dxdbHostApplicationServices()->workingDatabase()) {
    DxApDocManager* dm = dxDocManagerPtr();
    DxApDocument* doc = dm ? dm->curDocument() : nullptr;
    auto& slot = s.blockChangeReactors[doc];
    // A second initialisation replaces the document's reactor; the old one must not
    // stay attached behind the map's back.
    if (slot) db->removeReactor(slot.get());
    slot = std::make_unique<ZOTABlockChangeReactor>();
    db->addReactor(slot.get());
  }

  if (!addOnGateSet()) {
    addSupportPath();
    registerCommands();
  }
}

void onUnload() {
  ModuleState& s = moduleState();
  s.cmdEndReactor.reset();
  deleteClass(s.cmdEndReactorClass, "ZOTACmdEndReactor");
  deleteClass(s.blockChangeReactorClass, "ZOTABlockChangeReactor");
  removeCommandGroups();
  s.toolPalette.reset();
  s.layerViewer.reset();
  s.circleAccuracy.reset();
  deleteClass(s.dragComEntityClass, "VmacDbDragComEntity");
}

void onDrawingLoaded() {
  if (!dxedIsMenuGroupLoaded("express") && !addOnGateSet()) dxedLoadMenuGroup("express.cuix", true);
}

void onDrawingUnloaded() {
  DxApDocManager* dm = dxDocManagerPtr();
  DxApDocument* doc = dm ? dm->curDocument() : nullptr;
  if (!doc) return;
  auto& reactors = moduleState().blockChangeReactors;
  auto it = reactors.find(doc);
  if (it == reactors.end() || !it->second) return;
  if (DxDbDatabase* db = dxdbHostApplicationServices()->workingDatabase()) {
    db->removeReactor(it->second.get());
    it->second.reset();
  } else {
    // Without a database to detach it from it must stay alive: it may still be attached.
    it->second.release();
  }
}

void onDrawingSaved() { purgeSpreadsheetTableBlocks(dxdbHostApplicationServices()->workingDatabase()); }

void purgeSpreadsheetTableBlocks(DxDbDatabase* db) {
  if (!db) return;
  CDbObjectPtr<DxDbBlockTable> table(db->blockTableId(), DxDb::kForRead);
  if (!table) return;
  for (DxDbObjectId recordId : table->recordIds()) {
    CDbObjectPtr<DxDbBlockTableRecord> record(recordId, DxDb::kForWrite);
    if (!record) continue;
    DxDbObjectId dictId = record->extensionDictionary();
    if (dictId.isNull()) continue;
    bool marked = false;
    {
      CDbObjectPtr<DxDbDictionary> dict(dictId, DxDb::kForRead);
      marked = dict && dict->has(kSpreadsheetTableKey);
    }
    if (!marked) continue;
    DxDbObjectIdArray refs;
    record->getBlockReferenceIds(refs, true);
    if (refs.size() < 1) record->erase();
  }
}

std::string lispSupportExpression(const char* form, const std::string& moduleFolder, const char* file) {
  std::string path = moduleFolder;
  for (char& c : path)
    if (c == '\\') c = '/';
  if (!path.empty() && path.back() != '/') path += '/';
  path += "ExtendCmd/";
  path += file;
  int n = std::snprintf(nullptr, 0, form, path.c_str());
  std::string expr(size_t(n), '\0');
  std::snprintf(expr.data(), size_t(n) + 1, form, path.c_str());
  return expr;
}

namespace {
void evaluateForEachSupportFile(const char* form) {
  std::string folder = moduleFolder();
  for (const char* file : kLispSupportFiles) {
    resbuf* result = nullptr;
    dxedEvaluateLisp(lispSupportExpression(form, folder, file).c_str(), &result);
    if (result) dxutRelRb(result);
  }
}
}  // namespace

void loadLispSupportFiles() { evaluateForEachSupportFile("(LOAD \"%s\")"); }
void unloadLispSupportFiles() { evaluateForEachSupportFile("(UNLOAD \"%s\")"); }

}  // namespace express
