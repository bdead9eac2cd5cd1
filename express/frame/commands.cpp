// The command table: registration, bodies and the support-path step.
#include "express/frame/commands.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <map>
#include <string>
#include <utility>

#include "express/frame/command_body.h"
#include "express/res/resource.h"
#include "hostapi/app.h"

namespace express {
namespace {

#define DX_CMD(group, name, flags, nameId, body) {group, name, int32_t(flags), nameId, body},
constexpr CommandRow kCommands[] = {
#include "express/frame/command_table.inc"
};
#undef DX_CMD
constexpr size_t kCommandCount = std::size(kCommands);

std::map<std::string, DxRxFunctionPtr>& bodies() {
  static std::map<std::string, DxRxFunctionPtr> b;  // filled during static initialisation
  return b;
}

// One handler per row, so that it can name its own command.
template <size_t Row>
void notAvailable() {
  dxutPrintf(CResString(res::NotAvailable), kCommands[Row].globalName);
}

template <size_t... Rows>
constexpr std::array<DxRxFunctionPtr, sizeof...(Rows)> makeNotAvailable(std::index_sequence<Rows...>) {
  return {&notAvailable<Rows>...};
}
constexpr auto kNotAvailable = makeNotAvailable(std::make_index_sequence<kCommandCount>());

std::string upperCase(std::string s) {
  for (char& c : s) c = char(std::toupper(static_cast<unsigned char>(c)));
  return s;
}

}  // namespace

bool addCommandBody(const char* name, DxRxFunctionPtr body) {
  if (!name || !body) return false;
  return bodies().emplace(name, body).second;
}

DxRxFunctionPtr commandBody(const char* name) {
  auto it = bodies().find(name ? name : "");
  return it == bodies().end() ? nullptr : it->second;
}

std::span<const CommandRow> commandTable() { return kCommands; }

DxRxFunctionPtr commandHandler(size_t row) {
  if (row >= kCommandCount) return nullptr;
  if (DxRxFunctionPtr body = commandBody(kCommands[row].body)) return body;
  return kNotAvailable[row];
}

void addSupportPath() {
  CVmSystem* sys = CVmSystem::instance();
  CVmUserProfile* profile = sys ? sys->userProfile() : nullptr;
  std::string path;
  if (!profile || !profile->readString("General", "DXAD", path)) return;
  std::string folder = dxutCombinePath(dxutGetDxadAppDir(), "ExtendCmd");
  // The stored path is kept upper-cased once the folder has been added to it; the
  // folder itself keeps its own case.
  path = upperCase(path);
  if (path.find(upperCase(folder)) != std::string::npos) return;
  path += ";";
  path += folder;
  profile->writeString("General", "DXAD", path.c_str());
}

void registerCommands() {
  for (size_t row = 0; row < kCommandCount; ++row) {
    const CommandRow& c = kCommands[row];
    DxRxResourceInstance resources(resourceLibrary());
    auto* stack = DxRxObject::cast<DxEdCommandStack>(dxrxSysRegistry()->at("DXRX_REGISTERED_COMMANDS"));
    if (!stack) continue;
    CKeywordString localName(c.nameId, c.globalName);
    // A name the host refuses (another module has it) is left out; the rest go on.
    stack->addCommand(c.group, c.globalName, localName, c.flags, commandHandler(row), nullptr, -1,
                      resources);
  }
}

void removeCommandGroups() {
  auto* stack = DxRxObject::cast<DxEdCommandStack>(dxrxSysRegistry()->at("DXRX_REGISTERED_COMMANDS"));
  if (!stack) return;
  for (const char* group : {kKvExpressToolsCmd, kDraxelTools, kQuantitiesTool, kKvExpressTools})
    stack->removeGroup(group);
}

}  // namespace express
