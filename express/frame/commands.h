// The module's command table and its registration with the host's command stack.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "hostapi/editor.h"

namespace express {

inline constexpr const char* kKvExpressTools = "KvExpressTools";
inline constexpr const char* kKvExpressToolsCmd = "KVEXPRESSTOOLSCMD";
inline constexpr const char* kDraxelTools = "DraxelTools";
// Receives no command of this module, but is removed at unload with the others.
inline constexpr const char* kQuantitiesTool = "quantitiestool";

struct CommandRow {
  const char* group;
  const char* globalName;
  int32_t flags;
  uint32_t nameId;    // local name in the host's keyword library
  const char* body;   // name the body registers under (the first name of an alias pair)
};

std::span<const CommandRow> commandTable();

// The function the host calls for a row: the body registered for it, or a handler that
// says the command is not available in this version.
DxRxFunctionPtr commandHandler(size_t row);

// Support path: puts the ExtendCmd folder of the host's program folder on the search
// path kept in the user profile ("General", "DXAD").
void addSupportPath();
// Registers every row, in order. A name the host refuses is skipped.
void registerCommands();
// Removes the module's command groups (also those never added).
void removeCommandGroups();

}  // namespace express
