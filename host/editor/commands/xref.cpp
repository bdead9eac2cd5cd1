// -XREF: attach or overlay a drawing file as an external reference, list, reload,
// detach and bind the drawing's references.
#include <filesystem>

#include "host/editor/commands/common.h"
#include "host/editor/core/xref.h"

namespace fs = std::filesystem;

namespace dx::ed::cmd {
namespace {

std::string hostFile() {
  Document* doc = session().current();
  std::error_code ec;
  return doc && fs::is_regular_file(doc->fileName(), ec) ? doc->fileName() : std::string();
}

// The external reference blocks of the drawing, nested ones included, in table order.
std::vector<DxDbObjectId> xrefBlocks() {
  std::vector<DxDbObjectId> out;
  Opened<DxDbSymbolTable> table(db()->blockTableId(), DxDb::kForRead);
  if (!table) return out;
  for (DxDbObjectId id : table->recordIds())
    if (Opened<DxDbBlockTableRecord> b(id, DxDb::kForRead); b && b->isFromExternalReference())
      out.push_back(id);
  return out;
}

void report(const XrefLoader& loader) {
  for (const auto& n : loader.notes()) say("\n" + n + "\n");
}

void attach(bool overlay, std::string file = {}) {
  Document* doc = session().current();
  if (file.empty() &&
      askString(std::string("\nEnter name of file to ") + (overlay ? "overlay" : "attach") + ": ", file,
                false) != RTNORM)
    return;
  if (file.empty()) return;
  std::string name = fs::path(file).stem().string();
  DxDbObjectId block = findRecord(db()->blockTableId(), name);
  uint64_t start = doc->journalPosition();
  if (!block.isNull()) {
    Opened<DxDbBlockTableRecord> b(block, DxDb::kForRead);
    if (!b || !b->isFromExternalReference()) {
      say("\nThe drawing already has a block named \"" + name + "\"; nothing was attached.\n");
      session().failCommand();
      return;
    }
    say("\nExternal reference \"" + name + "\" is already attached; another reference to it is added.\n");
  } else {
    std::string path = findXrefFile(file, fs::path(hostFile()).parent_path().string());
    if (path.empty()) {
      say("\nExternal reference \"" + file + "\" not found; nothing was attached.\n");
      session().failCommand();
      return;
    }
    auto* btr = new DxDbBlockTableRecord();
    if (btr->setName(name.c_str()) != Dxad::eOk) {
      delete btr;
      say("\n\"" + name + "\" cannot name a block; nothing was attached.\n");
      session().failCommand();
      return;
    }
    dx::db::blockFlags(*btr) = overlay ? kXrefFlag | kOverlayFlag : kXrefFlag;
    btr->setPathName(file.c_str());
    {
      Opened<DxDbSymbolTable> table(db()->blockTableId(), DxDb::kForWrite);
      if (!table || table->add(block, btr) != Dxad::eOk) {
        delete btr;
        say("\nThe external reference could not be added.\n");
        return;
      }
      btr->close();
    }
    XrefLoader loader(db(), hostFile());
    std::string why;
    bool ok = loader.load(block, why);
    if (!ok || !loader.cycle().empty()) {
      doc->rollbackTo(start);
      if (!loader.cycle().empty()) why = "circular reference " + loader.cycle();
      say("\nExternal reference \"" + name + "\": " + why + "; nothing was attached.\n");
      session().failCommand();
      return;
    }
    report(loader);
    say("\n\"" + name + "\" loaded.\n");
  }
  Placement place;
  if (askPlacement(place) != RTNORM) {
    doc->rollbackTo(start);
    return;
  }
  auto* ref = new DxDbBlockReference(ucsToWorld(place.at), block);
  ref->setScaleFactors(place.scale);
  ref->setRotation(place.rotation);
  if (appendToCurrentSpace(ref).isNull()) say("\nThe external reference could not be added.\n");
}

void list() {
  std::vector<DxDbObjectId> xrefs = xrefBlocks();
  for (DxDbObjectId id : xrefs) {
    Opened<DxDbBlockTableRecord> b(id, DxDb::kForRead);
    std::string kind = b->isFromOverlayReference() ? "Overlay" : "Attach";
    if (isNestedXref(*b.get())) kind += ", nested";
    say("\n" + b->getName() + "  " + ((b->blockFlags() & kResolvedFlag) ? "Loaded" : "Unresolved") + "  " +
        b->pathName() + "  (" + kind + ")\n");
  }
  say("\nTotal external references: " + std::to_string(xrefs.size()) + "\n");
}

// The references whose names match the answer; nested ones are said and left out.
std::vector<DxDbObjectId> chosen(const std::string& action) {
  std::vector<DxDbObjectId> out;
  std::string names;
  if (askString("\nEnter xref name(s) to " + action + ": ", names, false) != RTNORM || names.empty())
    return out;
  for (DxDbObjectId id : xrefBlocks()) {
    Opened<DxDbBlockTableRecord> b(id, DxDb::kForRead);
    if (!wcMatch(b->getName(), names, true)) continue;
    if (isNestedXref(*b.get()))
      say("\n\"" + b->getName() + "\" is nested in another reference and cannot be " + action + "ed alone.\n");
    else
      out.push_back(id);
  }
  if (out.empty()) say("\nNo external reference matches \"" + names + "\".\n");
  return out;
}

void reload() {
  for (DxDbObjectId id : chosen("reload")) {
    std::string name = recordName(id);
    XrefLoader loader(db(), hostFile());
    std::string why;
    bool ok = loader.load(id, why);
    report(loader);
    say(ok ? "\n\"" + name + "\" reloaded.\n" : "\nExternal reference \"" + name + "\": " + why + ".\n");
  }
}

// Records of every table that came with reference name ("name|..."), blocks included.
std::vector<DxDbObjectId> dependents(const std::string& name) {
  std::vector<DxDbObjectId> out;
  std::string prefix = name + "|";
  DxDbDatabase* d = db();
  for (DxDbObjectId tableId : {d->layerTableId(), d->linetypeTableId(), d->textStyleTableId(),
                               d->dimStyleTableId(), d->blockTableId()}) {
    Opened<DxDbSymbolTable> table(tableId, DxDb::kForRead);
    if (!table) continue;
    for (DxDbObjectId id : table->recordIds()) {
      Opened<DxDbSymbolTableRecord> r(id, DxDb::kForRead);
      if (r && r->getName().size() > prefix.size() && iequals(r->getName().substr(0, prefix.size()), prefix))
        out.push_back(id);
    }
  }
  return out;
}

void erase(DxDbObjectId id) {
  if (Opened<DxDbObject> o(id, DxDb::kForWrite); o) o->erase();
}

void detach() {
  for (DxDbObjectId id : chosen("detach")) {
    std::string name = recordName(id);
    DxDbObjectIdArray refs;
    if (Opened<DxDbBlockTableRecord> b(id, DxDb::kForRead); b) b->getBlockReferenceIds(refs);
    for (const auto& r : refs) erase(r);
    for (DxDbObjectId dep : dependents(name)) {
      emptyBlock(dep);
      erase(dep);
    }
    emptyBlock(id);
    erase(id);
    say("\n\"" + name + "\" detached.\n");
  }
}

// "name|rest" as an ordinary name: "name$0$rest", the number the first that is free.
std::string boundName(const std::string& name, const std::string& rest, DxDbObjectId tableId) {
  for (int n = 0;; ++n) {
    std::string sep = "$" + std::to_string(n) + "$", r = rest;
    for (size_t at = r.find('|'); at != std::string::npos; at = r.find('|', at + sep.size()))
      r.replace(at, 1, sep);
    std::string cand = name + sep + r;
    if (findRecord(tableId, cand).isNull()) return cand;
  }
}

// Anonymous blocks of the reference (dimension pictures) the bound blocks show.
void keepAnonymousBlocks(DxDbObjectId block) {
  std::vector<DxDbObjectId> ents;
  if (Opened<DxDbBlockTableRecord> b(block, DxDb::kForRead); b) ents = b->entityIds();
  for (DxDbObjectId e : ents) {
    DxDbObjectId shown;
    if (Opened<DxDbDimension> dim(e, DxDb::kForRead); dim)
      shown = findRecord(db()->blockTableId(), dx::db::dimensionBlockName(*dim.get()));
    Opened<DxDbBlockTableRecord> b(shown, DxDb::kForRead);
    if (!b || !b->isAnonymous() || !b->isDependent() || b->upgradeOpen() != Dxad::eOk) continue;
    dx::db::blockFlags(*b.get()) &= int16_t(~(kDependentFlag | kResolvedFlag));
  }
}

void bind() {
  for (DxDbObjectId id : chosen("bind")) {
    std::string name = recordName(id);
    std::vector<DxDbObjectId> blocks{id};
    for (DxDbObjectId dep : dependents(name)) {
      Opened<DxDbSymbolTableRecord> r(dep, DxDb::kForWrite);
      if (!r) continue;
      std::string to = boundName(name, r->getName().substr(name.size() + 1), r->ownerId());
      r->setName(to.c_str());
      dx::db::recordFlags(*r.get()) &= int16_t(~(kDependentFlag | kResolvedFlag));
      if (DxRxObject::cast<DxDbBlockTableRecord>(r.get())) blocks.push_back(dep);
    }
    for (DxDbObjectId b : blocks) {
      {
        Opened<DxDbBlockTableRecord> btr(b, DxDb::kForWrite);
        if (!btr) continue;
        dx::db::blockFlags(*btr.get()) &=
            int16_t(~(kXrefFlag | kOverlayFlag | kDependentFlag | kResolvedFlag));
        btr->setPathName("");
      }
      keepAnonymousBlocks(b);
    }
    say("\n\"" + name + "\" bound: it is an ordinary block now.\n");
  }
}

}  // namespace

void cmdXref() {
  std::string kw;
  int rc = askKeyword("\nEnter an option [?/Bind/Detach/Reload/Overlay/Attach] <Attach>: ",
                      "? Bind Detach Reload Overlay Attach", kw, RSG_OTHER);
  if (rc == RTCAN) return;
  if (rc == RTNONE || kw == "Attach") attach(false);
  else if (kw == "Overlay") attach(true);
  else if (kw == "?") list();
  else if (kw == "Reload") reload();
  else if (kw == "Detach") detach();
  else if (kw == "Bind") bind();
  else attach(false, kw);  // a file name answers for Attach
}

}  // namespace dx::ed::cmd
