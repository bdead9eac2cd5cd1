// Wildcard matching as CAD users know it from layer names and selection filters.
#include <cctype>
#include <string_view>

#include "host/editor/text_utils.h"
#include "hostapi/editor.h"

namespace dx::ed {
namespace {

char fold(char c, bool nocase) {
  return nocase ? char(std::toupper(static_cast<unsigned char>(c))) : c;
}

// Matches one alternative (no unescaped top-level commas) against the whole string.
bool matchOne(std::string_view s, std::string_view p, bool nocase) {
  size_t si = 0, pi = 0;
  // Backtracking point of the last '*': where in p after it, where in s it started.
  size_t starP = std::string_view::npos, starS = 0;
  while (si < s.size()) {
    bool advanced = false;
    if (pi < p.size()) {
      char pc = p[pi];
      char sc = s[si];
      if (pc == '*') {
        starP = ++pi;
        starS = si;
        continue;
      }
      size_t next = pi + 1;
      bool ok = false;
      switch (pc) {
        case '?': ok = true; break;
        case '#': ok = std::isdigit(static_cast<unsigned char>(sc)); break;
        case '@': ok = std::isalpha(static_cast<unsigned char>(sc)); break;
        case '.': ok = !std::isalnum(static_cast<unsigned char>(sc)); break;
        case '`':
          if (pi + 1 < p.size()) {
            ok = fold(p[pi + 1], nocase) == fold(sc, nocase);
            next = pi + 2;
          } else {
            ok = sc == '`';
          }
          break;
        case '[': {
          size_t q = pi + 1;
          bool negate = q < p.size() && p[q] == '~' && q + 1 < p.size() && p[q + 1] != ']';
          if (negate) ++q;
          bool in = false;
          bool first = true;
          while (q < p.size() && (p[q] != ']' || first)) {
            first = false;
            char lo = p[q];
            if (lo == '`' && q + 1 < p.size()) lo = p[++q];
            if (q + 2 < p.size() && p[q + 1] == '-' && p[q + 2] != ']') {
              char hi = p[q + 2];
              if (fold(sc, nocase) >= fold(lo, nocase) && fold(sc, nocase) <= fold(hi, nocase))
                in = true;
              q += 3;
            } else {
              if (fold(sc, nocase) == fold(lo, nocase)) in = true;
              ++q;
            }
          }
          if (q >= p.size()) {  // no closing bracket: a literal '['
            ok = sc == '[';
          } else {
            ok = in != negate;
            next = q + 1;
          }
          break;
        }
        default: ok = fold(pc, nocase) == fold(sc, nocase); break;
      }
      if (ok) {
        pi = next;
        ++si;
        advanced = true;
      }
    }
    if (!advanced) {
      if (starP == std::string_view::npos) return false;
      pi = starP;
      si = ++starS;
    }
  }
  while (pi < p.size() && p[pi] == '*') ++pi;
  return pi == p.size();
}

}  // namespace

bool wcMatch(std::string_view s, std::string_view pattern, bool nocase) {
  // Split on commas that are neither escaped nor inside brackets.
  size_t start = 0;
  int depth = 0;
  for (size_t i = 0; i <= pattern.size(); ++i) {
    if (i < pattern.size()) {
      char c = pattern[i];
      if (c == '`') {
        ++i;
        continue;
      }
      if (c == '[') ++depth;
      if (c == ']' && depth > 0) --depth;
      if (c != ',' || depth > 0) continue;
    }
    std::string_view alt = pattern.substr(start, i - start);
    bool negate = !alt.empty() && alt[0] == '~';
    if (negate) alt.remove_prefix(1);
    if (matchOne(s, alt, nocase) != negate) return true;
    start = i + 1;
  }
  return false;
}

}  // namespace dx::ed

int dxutWcMatch(const char* string, const char* pattern) {
  if (!string || !pattern) return RTERROR;
  return dx::ed::wcMatch(string, pattern, false) ? RTNORM : RTERROR;
}
