// Upper case and case-insensitive comparison of names (commands, symbols, keywords, menu
// groups): ASCII letters only, as drawing files and command lines treat them.
#pragma once

#include <string>
#include <string_view>

namespace dx::base {

inline char upperAscii(char c) { return (c >= 'a' && c <= 'z') ? char(c - 'a' + 'A') : c; }

inline std::string upper(std::string_view s) {
  std::string r(s);
  for (char& c : r) c = upperAscii(c);
  return r;
}

inline bool iequals(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i)
    if (upperAscii(a[i]) != upperAscii(b[i])) return false;
  return true;
}

}  // namespace dx::base
