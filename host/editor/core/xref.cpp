// Loading external references into their blocks: each file is read into a database of
// its own, which the drawing then takes over (host/db/merge.h).
#include "host/editor/core/xref.h"

#include <algorithm>
#include <filesystem>

#include "host/db/merge.h"
#include "host/editor/core/session.h"
#include "host/editor/output.h"

namespace fs = std::filesystem;

namespace dx::ed {
namespace {

std::string canonical(const std::string& file) {
  std::error_code ec;
  fs::path p = fs::weakly_canonical(fs::absolute(file), ec);
  return ec ? file : p.string();
}

void setResolved(DxDbObjectId block, bool resolved) {
  Opened<DxDbBlockTableRecord> b(block, DxDb::kForRead);
  if (!b || ((b->blockFlags() & kResolvedFlag) != 0) == resolved) return;
  if (b->upgradeOpen() != Dxad::eOk) return;
  int16_t& flags = dx::db::blockFlags(*b.get());
  flags = resolved ? int16_t(flags | kResolvedFlag) : int16_t(flags & ~kResolvedFlag);
}

}  // namespace

std::string findXrefFile(const std::string& path, const std::string& baseDir) {
  if (path.empty()) return {};
  std::error_code ec;
  fs::path p(path);
  std::vector<fs::path> tries;
  if (!baseDir.empty() && p.is_relative()) tries.push_back(fs::path(baseDir) / p);
  tries.push_back(p);
  for (const auto& t : tries)
    if (fs::is_regular_file(t, ec)) return t.lexically_normal().string();
  char found[4096];
  if (dxedFindFile(p.filename().c_str(), found, sizeof found) == RTNORM) return found;
  return {};
}

XrefLoader::XrefLoader(DxDbDatabase* host, const std::string& hostPath) : m_host(host) {
  if (!hostPath.empty()) {
    m_chain.push_back(canonical(hostPath));
    m_hostDir = fs::path(m_chain.back()).parent_path().string();
  }
}

bool XrefLoader::load(DxDbObjectId block, std::string& why) { return loadFrom(block, m_hostDir, why); }

bool XrefLoader::loadFrom(DxDbObjectId block, const std::string& baseDir, std::string& why) {
  std::string name, path;
  {
    Opened<DxDbBlockTableRecord> b(block, DxDb::kForRead);
    if (!b) return false;
    name = b->getName();
    path = b->pathName();
  }
  std::string file = findXrefFile(path, baseDir);
  if (file.empty()) {
    setResolved(block, false);
    why = "\"" + path + "\" not found";
    return false;
  }
  std::string canon = canonical(file);
  if (std::find(m_chain.begin(), m_chain.end(), canon) != m_chain.end()) {
    setResolved(block, false);
    for (const auto& f : m_chain) m_cycle += fs::path(f).filename().string() + " -> ";
    m_cycle += fs::path(canon).filename().string();
    why = "circular reference " + m_cycle;
    return false;
  }
  DxDbDatabase source(false);
  if (source.readDwgFile(file.c_str()) != Dxad::eOk) {
    setResolved(block, false);
    why = "cannot read \"" + file + "\": " + source.lastError();
    return false;
  }
  emptyBlock(block);
  std::vector<DxDbObjectId> nested = dx::db::adoptReferencedDrawing(*m_host, source, block, name);
  setResolved(block, true);
  // Nested references are read beside the drawing that names them.
  m_chain.push_back(canon);
  std::string dir = fs::path(canon).parent_path().string();
  for (DxDbObjectId id : nested) {
    std::string inner;
    if (!loadFrom(id, dir, inner)) {
      Opened<DxDbBlockTableRecord> b(id, DxDb::kForRead);
      m_notes.push_back("External reference \"" + (b ? b->getName() : std::string()) + "\": " + inner + ".");
    }
  }
  m_chain.pop_back();
  return true;
}

void resolveXrefs(DxDbDatabase* db, const std::string& path) {
  std::vector<DxDbObjectId> xrefs;
  {
    Opened<DxDbSymbolTable> table(db->blockTableId(), DxDb::kForRead);
    if (!table) return;
    for (DxDbObjectId id : table->recordIds()) {
      Opened<DxDbBlockTableRecord> b(id, DxDb::kForRead);
      if (b && b->isFromExternalReference() && !isNestedXref(*b.get())) xrefs.push_back(id);
    }
  }
  for (DxDbObjectId id : xrefs) {
    XrefLoader loader(db, path);
    std::string why;
    bool ok = loader.load(id, why);
    for (const auto& n : loader.notes()) output().message("\n" + n + "\n");
    if (ok) continue;
    Opened<DxDbBlockTableRecord> b(id, DxDb::kForRead);
    output().message("\nExternal reference \"" + (b ? b->getName() : std::string()) + "\": " + why + ".\n");
  }
}

}  // namespace dx::ed
