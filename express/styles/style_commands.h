// What the style commands share: settings read from the host, the answers that pick
// styles, the default file name beside the drawing, and files written safely.
#pragma once

#include <string>
#include <vector>

#include "express/env/holders.h"

namespace express::styles {

// A short system variable (def when it cannot be read).
int shortVar(const char* name, int def);
// A text system variable ("" when it cannot be read).
std::string textVar(const char* name);
// Whether dialogs ask on the command line instead (CMDDIA 0).
bool dialogsOnCommandLine();
// The drawing's folder and name with another extension ("plan.dxf" -> ".../plan.dim").
std::string fileBesideDrawing(const char* extension);
// Whether a name matches any of the patterns (upper case, wildcards).
bool matchesAny(const std::string& name, const std::vector<std::string>& patterns);
// Asks for style names with wildcards; Enter takes all. RTNORM or RTCAN.
int askStylePatterns(const char* prompt, std::vector<std::string>& patterns);
// The text of a group in a chain ("" when absent).
std::string groupText(const resbuf* chain, int code);
// The name (group 2) of the record an entity name stands for ("" when none).
std::string recordNameOf(const int64_t* ename);
// Writes text to path through a temporary file renamed into place.
bool writeFileReplacing(const std::string& path, const std::string& text);

}  // namespace express::styles
