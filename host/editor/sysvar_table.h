// The system variables the host knows: name, type, default and where the value lives.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "hostapi/geometry.h"

namespace dx::ed {

struct VarValue {
  int type = 0;  // RTSHORT, RTLONG, RTREAL, RTSTR, RTPOINT (2-D), RT3DPOINT
  double real = 0;
  int64_t integer = 0;
  std::string text;
  DxGePoint3d pt;
  bool operator==(const VarValue&) const = default;
};

enum VarFlags : unsigned {
  kVarSession = 0,     // one value for the whole session
  kVarDrawing = 1,     // kept per drawing and saved in its header
  kVarReadOnly = 2,    // the host computes it; SETVAR refuses it
  kVarComputed = 4,    // not stored: worked out when read
  kVarPositive = 8,    // a real that must be greater than 0 (scales)
};

struct VarDef {
  std::string name;
  VarValue def;
  unsigned flags = 0;
  int64_t lo = 1, hi = 0;  // allowed range of integer variables (lo > hi: any)
};

const std::vector<VarDef>& sysvarTable();
const VarDef* findVar(std::string_view name);

// Command-line forms of a value: what "Enter new value for X <...>" shows and reads.
std::string formatVarValue(const VarValue& v);
bool parseVarValue(const VarDef& def, std::string_view text, VarValue& out, std::string& why);

}  // namespace dx::ed
