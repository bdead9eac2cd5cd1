// Menu groups. There is no menu bar: a menu file is read, its group name and commands
// are kept, and modules see the group as loaded.
#include <unistd.h>

#include <cctype>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "host/app/app.h"
#include "host/base/case.h"
#include "host/app/profile.h"

namespace fs = std::filesystem;

namespace dx::app {
namespace {

std::vector<MenuGroup>& groups() {
  static std::vector<MenuGroup> g;
  return g;
}

using dx::base::iequals;

// Where a menu file named without a folder is looked for: beside the loaded modules, the
// program, in the program's settings folder, on the support path of the profile, and in
// the current folder.
std::vector<fs::path> menuFolders() {
  std::vector<fs::path> folders;
  for (const std::string& f : ModuleHost::get().moduleFolders()) folders.emplace_back(f);
  folders.emplace_back(programFolder());
  folders.emplace_back(dxutGetDxadAppDir());
  std::string support;
  if (ProfileFile(profilePath()).readString("General", "DXAD", support)) {
    std::stringstream ss(support);
    std::string part;
    while (std::getline(ss, part, ';'))
      if (!part.empty()) folders.emplace_back(part);
  }
  folders.emplace_back(fs::current_path());
  return folders;
}

// The value of attr="..." in an element's text.
std::string attribute(const std::string& element, const char* attr) {
  std::string key = std::string(attr) + "=\"";
  size_t p = element.find(key);
  if (p == std::string::npos) return "";
  p += key.size();
  size_t e = element.find('"', p);
  return e == std::string::npos ? "" : element.substr(p, e - p);
}

// <MenuGroup Name="..."> and its <MenuItem ... Command="..."/> elements.
bool parseMenu(const std::string& text, MenuGroup& out) {
  size_t g = text.find("<MenuGroup");
  if (g == std::string::npos) return false;
  out.name = attribute(text.substr(g, text.find('>', g) - g), "Name");
  if (out.name.empty()) return false;
  for (size_t p = text.find("<MenuItem", g); p != std::string::npos; p = text.find("<MenuItem", p + 1)) {
    size_t e = text.find('>', p);
    if (e == std::string::npos) return false;
    std::string cmd = attribute(text.substr(p, e - p), "Command");
    if (!cmd.empty()) out.commands.push_back(cmd);
  }
  return true;
}

}  // namespace

const std::vector<MenuGroup>& loadedMenuGroups() { return groups(); }
void unloadMenuGroupsForTests() { groups().clear(); }

}  // namespace dx::app

int dxedLoadMenuGroup(const char* fileName, bool) {
  using namespace dx::app;
  if (!fileName || !*fileName) return RTERROR;
  std::error_code ec;
  fs::path found;
  fs::path name(fileName);
  if (name.has_parent_path()) {
    if (fs::is_regular_file(name, ec)) found = name;
  } else {
    for (const fs::path& folder : menuFolders())
      if (fs::is_regular_file(folder / name, ec)) {
        found = folder / name;
        break;
      }
  }
  if (found.empty()) {
    dxutPrintf("\nCannot find menu file \"%s\".\n", fileName);
    return RTERROR;
  }
  std::ifstream in(found, std::ios::binary);
  std::stringstream text;
  text << in.rdbuf();
  MenuGroup group;
  if (!in || !parseMenu(text.str(), group)) {
    dxutPrintf("\nMenu file \"%s\" holds no menu group.\n", found.c_str());
    return RTERROR;
  }
  group.file = found.lexically_normal().string();
  auto& all = groups();
  for (MenuGroup& g : all)
    if (iequals(g.name, group.name)) {
      g = std::move(group);  // loading a group again replaces it
      return RTNORM;
    }
  all.push_back(std::move(group));
  return RTNORM;
}

bool dxedIsMenuGroupLoaded(const char* groupName) {
  if (!groupName) return false;
  for (const auto& g : dx::app::loadedMenuGroups())
    if (dx::app::iequals(g.name, groupName)) return true;
  return false;
}
