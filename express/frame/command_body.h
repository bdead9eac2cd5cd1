// How a command body joins the command table: in the body's own source file,
//
//   void cmdTcount() { ... }
//   DX_COMMAND_BODY("tcount", cmdTcount);
//
// The name is the row's global name (for an alias pair, the first name). Rows without a
// body answer that the command is not available in this version.
#pragma once

#include "hostapi/editor.h"

namespace express {
// False when the name already has a body (the first one stays).
bool addCommandBody(const char* name, DxRxFunctionPtr body);
DxRxFunctionPtr commandBody(const char* name);
}  // namespace express

#define DX_COMMAND_BODY_CAT2(a, b) a##b
#define DX_COMMAND_BODY_CAT(a, b) DX_COMMAND_BODY_CAT2(a, b)
#define DX_COMMAND_BODY(name, body)                                                  \
  [[maybe_unused]] static const bool DX_COMMAND_BODY_CAT(dxCommandBody_, __LINE__) = \
      ::express::addCommandBody(name, body)
