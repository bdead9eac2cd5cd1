// Modules: loading with dlopen, and the messages of their entry points.
#include <dlfcn.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <memory>

#include "host/app/app.h"
#include "host/editor/core/session.h"

namespace fs = std::filesystem;

namespace dx::app {

using EntryPoint = int (*)(int, void*);

struct Module {
  std::string path;
  void* handle = nullptr;
  EntryPoint entry = nullptr;
};

// Document and editor notifications turned into module messages.
struct HostReactors : DxApDocManagerReactor, DxEditorReactor {
  void documentCreated(DxApDocument* doc) override { host().sendWithCurrent(doc, DxRx::kLoadDwgMsg); }
  void documentToBeDestroyed(DxApDocument* doc) override {
    host().sendWithCurrent(doc, DxRx::kUnloadDwgMsg);
  }
  void beginSave(DxDbDatabase* db, const char*) override {
    if (DxApDocument* doc = dxDocManagerPtr()->document(db)) host().drawingSaving(doc);
  }
  static ModuleHost& host() { return ModuleHost::get(); }
};

struct ModuleHost::Impl {
  std::vector<Module> modules;
  std::unique_ptr<HostReactors> reactors;
  bool shutDown = false;
};

ModuleHost& ModuleHost::get() {
  static ModuleHost* h = [] {
    auto* m = new ModuleHost();
    m->m_impl = new Impl();
    return m;
  }();
  return *h;
}

std::string programFolder() {
  char exe[4096];
  ssize_t n = readlink("/proc/self/exe", exe, sizeof exe - 1);
  if (n <= 0) return "./";
  exe[n] = '\0';
  return fs::path(exe).parent_path().string() + "/";
}

void ModuleHost::installReactors() {
  if (m_impl->reactors) return;
  m_impl->reactors = std::make_unique<HostReactors>();
  dxDocManagerPtr()->addReactor(m_impl->reactors.get());
  if (DxEditor* ed = dxedEditor()) ed->addReactor(m_impl->reactors.get());
}

bool ModuleHost::load(const std::string& path, std::string& error) {
  std::error_code ec;
  if (!fs::is_regular_file(path, ec)) {
    error = "cannot load module '" + path + "': no such file";
    return false;
  }
  std::string full = fs::absolute(path, ec).lexically_normal().string();
  for (const Module& m : m_impl->modules)
    if (m.path == full) return true;  // loaded already
  // RTLD_GLOBAL: the module's resources and later modules may look its names up.
  void* h = dlopen(full.c_str(), RTLD_NOW | RTLD_GLOBAL);
  if (!h) {
    const char* why = dlerror();
    error = "cannot load module '" + path + "': " + (why ? why : "unknown reason");
    return false;
  }
  auto entry = reinterpret_cast<EntryPoint>(dlsym(h, "dxrxEntryPoint"));
  if (!entry) {
    error = "'" + path + "' has no dxrxEntryPoint";
    dlclose(h);
    return false;
  }
  installReactors();
  m_impl->modules.push_back({full, h, entry});
  entry(DxRx::kInitAppMsg, h);
  // The drawing already open counts as loaded for the new module.
  if (dxDocManagerPtr()->curDocument()) entry(DxRx::kLoadDwgMsg, nullptr);
  return true;
}

void ModuleHost::sendWithCurrent(DxApDocument* doc, int message) {
  if (m_impl->modules.empty() || m_impl->shutDown) return;
  DxApDocManager* dm = dxDocManagerPtr();
  DxApDocument* previous = dm->curDocument();
  // Modules look at the current document and the working database: make them this one.
  bool switched = doc && doc != previous && dm->setCurDocument(doc) == Dxad::eOk;
  for (const Module& m : std::vector(m_impl->modules)) m.entry(message, nullptr);
  if (switched && previous) dm->setCurDocument(previous);
}

void ModuleHost::drawingSaving(DxApDocument* doc) { sendWithCurrent(doc, DxRx::kSaveMsg); }

void ModuleHost::shutdown() {
  if (m_impl->shutDown) return;
  for (DxApDocument* doc : dxDocManagerPtr()->documents()) sendWithCurrent(doc, DxRx::kUnloadDwgMsg);
  m_impl->shutDown = true;
  for (auto it = m_impl->modules.rbegin(); it != m_impl->modules.rend(); ++it)
    it->entry(DxRx::kUnloadAppMsg, nullptr);
  // The modules stay mapped: drawings and the session may still hold their objects.
}

std::vector<std::string> ModuleHost::moduleFolders() const {
  std::vector<std::string> folders;
  for (const Module& m : m_impl->modules) {
    std::string f = fs::path(m.path).parent_path().string() + "/";
    if (std::find(folders.begin(), folders.end(), f) == folders.end()) folders.push_back(f);
  }
  return folders;
}

size_t ModuleHost::moduleCount() const { return m_impl->modules.size(); }

namespace {

void cmdMenuGroups() {
  const auto& all = loadedMenuGroups();
  if (all.empty()) {
    dxutPrintf("\nNo menu group is loaded.\n");
    return;
  }
  for (const MenuGroup& g : all)
    dxutPrintf("\n%s  %s  %zu commands", g.name.c_str(), g.file.c_str(), g.commands.size());
  dxutPrintf("\n");
}

}  // namespace

void registerAppCommands() {
  dxedRegCmds()->addCommand(dx::ed::kHostGroup, "MENUGROUPS", "MENUGROUPS", DxEdCommandFlags::kModal,
                            cmdMenuGroups);
}

}  // namespace dx::app
