// The host application around the editor: modules and their messages, menus, the LISP
// evaluator's loaded files, and the host commands that show them.
#pragma once

#include <string>
#include <vector>

#include "hostapi/app.h"
#include "hostapi/editor.h"

namespace dx::app {

// Modules loaded with dlopen and driven through dxrxEntryPoint.
class ModuleHost {
 public:
  static ModuleHost& get();
  // Loads a module, sends it message 1 and then 3 for the current drawing. False, with a
  // one-line reason, when it cannot be loaded or has no entry point.
  bool load(const std::string& path, std::string& error);
  // Message 9 to every module, with doc current while they handle it. The host calls it
  // before it writes a drawing; the SAVE commands reach it through beginSave.
  void drawingSaving(DxApDocument* doc);
  // Message 4 for every open drawing, then 2 to every module, last loaded first.
  void shutdown();
  // Folders of the loaded modules, each with a trailing '/'.
  std::vector<std::string> moduleFolders() const;
  size_t moduleCount() const;

 private:
  ModuleHost() = default;
  void installReactors();
  void sendWithCurrent(DxApDocument* doc, int message);
  struct Impl;
  Impl* m_impl = nullptr;
  friend struct HostReactors;
};

// The folder of the host program, with a trailing '/'.
std::string programFolder();

struct MenuGroup {
  std::string name;
  std::string file;
  std::vector<std::string> commands;
};
const std::vector<MenuGroup>& loadedMenuGroups();
// Forgets every menu group (tests).
void unloadMenuGroupsForTests();

// The files the LISP evaluator holds loaded, in load order.
const std::vector<std::string>& loadedLispFiles();

// Host commands of this layer (MENUGROUPS); after the editor's own.
void registerAppCommands();

}  // namespace dx::app
