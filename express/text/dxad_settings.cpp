#include "express/text/dxad_settings.h"

#include <cctype>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <vector>

#include "hostapi/editor.h"

namespace express {
namespace {

std::string trim(const std::string& s) {
  size_t b = 0, e = s.size();
  while (b < e && std::isspace(static_cast<unsigned char>(s[b]))) ++b;
  while (e > b && std::isspace(static_cast<unsigned char>(s[e - 1]))) --e;
  return s.substr(b, e - b);
}

bool iequal(const std::string& a, const char* b) {
  size_t n = std::char_traits<char>::length(b);
  if (a.size() != n) return false;
  for (size_t i = 0; i < n; ++i)
    if (std::tolower(static_cast<unsigned char>(a[i])) != std::tolower(static_cast<unsigned char>(b[i])))
      return false;
  return true;
}

std::vector<std::string> readLines(const std::string& path) {
  std::vector<std::string> lines;
  std::ifstream in(path, std::ios::binary);
  std::string line;
  while (std::getline(in, line)) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    lines.push_back(line);
  }
  return lines;
}

// "[name]" gives name; anything else an empty optional.
bool sectionName(const std::string& line, std::string& name) {
  std::string t = trim(line);
  if (t.size() < 2 || t.front() != '[' || t.back() != ']') return false;
  name = trim(t.substr(1, t.size() - 2));
  return true;
}

bool keyValue(const std::string& line, std::string& key, std::string& value) {
  std::string t = trim(line);
  if (t.empty() || t[0] == ';' || t[0] == '#') return false;
  size_t eq = t.find('=');
  if (eq == std::string::npos) return false;
  key = trim(t.substr(0, eq));
  value = trim(t.substr(eq + 1));
  return true;
}

}  // namespace

std::string dxadIniPath() { return dxutCombinePath(dxutGetDxadAppDir(), "dxad.ini"); }

std::string readIniString(const std::string& path, const char* section, const char* key,
                          const char* fallback) {
  bool inSection = false;
  for (const std::string& line : readLines(path)) {
    std::string name, k, v;
    if (sectionName(line, name)) {
      inSection = iequal(name, section);
    } else if (inSection && keyValue(line, k, v) && iequal(k, key)) {
      return v;
    }
  }
  return fallback ? fallback : "";
}

bool writeIniString(const std::string& path, const char* section, const char* key, const char* value) {
  std::vector<std::string> lines = readLines(path);
  const std::string entry = std::string(key) + "=" + (value ? value : "");
  bool inSection = false, done = false;
  size_t sectionEnd = std::string::npos;  // line after the section's last key
  for (size_t i = 0; i < lines.size() && !done; ++i) {
    std::string name, k, v;
    if (sectionName(lines[i], name)) {
      if (inSection) break;
      inSection = iequal(name, section);
      if (inSection) sectionEnd = i + 1;
    } else if (inSection) {
      if (keyValue(lines[i], k, v)) {
        sectionEnd = i + 1;
        if (iequal(k, key)) {
          lines[i] = entry;
          done = true;
        }
      }
    }
  }
  if (!done) {
    if (sectionEnd == std::string::npos) {
      if (!lines.empty() && !trim(lines.back()).empty()) lines.push_back("");
      lines.push_back("[" + std::string(section) + "]");
      lines.push_back(entry);
    } else {
      lines.insert(lines.begin() + std::ptrdiff_t(sectionEnd), entry);
    }
  }
  // Written beside and renamed into place, so that a failed write leaves the old file.
  std::string tmp = path + ".tmp";
  {
    std::ofstream out(tmp, std::ios::binary | std::ios::trunc);
    if (!out) return false;
    for (const std::string& l : lines) out << l << "\r\n";
    if (!out.flush()) {
      std::remove(tmp.c_str());
      return false;
    }
  }
  if (std::rename(tmp.c_str(), path.c_str()) != 0) {
    std::remove(tmp.c_str());
    return false;
  }
  return true;
}

bool readIniFlag(const std::string& path, const char* section, const char* key, bool fallback) {
  return readIniString(path, section, key, fallback ? "TRUE" : "FALSE") == "TRUE";
}

bool writeIniFlag(const std::string& path, const char* section, const char* key, bool value) {
  return writeIniString(path, section, key, value ? "TRUE" : "FALSE");
}

}  // namespace express
