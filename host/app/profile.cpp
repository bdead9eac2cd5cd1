#include "host/app/profile.h"

#include <unistd.h>

#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <vector>

namespace fs = std::filesystem;

namespace dx::app {
namespace {

std::string trim(const std::string& s) {
  size_t b = s.find_first_not_of(" \t\r");
  if (b == std::string::npos) return "";
  size_t e = s.find_last_not_of(" \t\r");
  return s.substr(b, e - b + 1);
}

bool iequal(const std::string& a, const char* b) {
  size_t n = std::char_traits<char>::length(b);
  if (a.size() != n) return false;
  for (size_t i = 0; i < n; ++i)
    if (std::tolower(static_cast<unsigned char>(a[i])) != std::tolower(static_cast<unsigned char>(b[i])))
      return false;
  return true;
}

bool readLines(const std::string& path, std::vector<std::string>& lines) {
  std::ifstream in(path, std::ios::binary);
  if (!in) return false;
  std::string line;
  while (std::getline(in, line)) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    lines.push_back(line);
  }
  return true;
}

// "[name]" gives true and the name.
bool sectionHeader(const std::string& line, std::string& name) {
  std::string t = trim(line);
  if (t.size() < 2 || t.front() != '[' || t.back() != ']') return false;
  name = trim(t.substr(1, t.size() - 2));
  return true;
}

// "key=value" gives true, the key and the value (the value as written).
bool keyLine(const std::string& line, std::string& key, std::string& value) {
  std::string t = trim(line);
  if (t.empty() || t[0] == ';' || t[0] == '#' || t[0] == '[') return false;
  size_t eq = line.find('=');
  if (eq == std::string::npos) return false;
  key = trim(line.substr(0, eq));
  value = line.substr(eq + 1);
  return !key.empty();
}

}  // namespace

std::string profilePath() {
  if (const char* p = std::getenv("DRAXEL_PROFILE"); p && *p) return p;
  fs::path base;
  if (const char* xdg = std::getenv("XDG_CONFIG_HOME"); xdg && *xdg)
    base = xdg;
  else
    base = fs::path(std::getenv("HOME") ? std::getenv("HOME") : "/tmp") / ".config";
  return (base / "draxel" / "R24" / "profile.ini").string();
}

bool ProfileFile::readString(const char* section, const char* key, std::string& value) const {
  if (!section || !key) return false;
  std::vector<std::string> lines;
  if (!readLines(m_path, lines)) return false;
  bool inSection = false;
  for (const std::string& line : lines) {
    std::string name, k, v;
    if (sectionHeader(line, name)) {
      inSection = iequal(name, section);
    } else if (inSection && keyLine(line, k, v) && iequal(k, key)) {
      value = m_form.trimValues ? trim(v) : v;
      return true;
    }
  }
  return false;
}

bool ProfileFile::writeString(const char* section, const char* key, const char* value) {
  if (!section || !*section || !key || !*key || !value) return false;
  std::string v = value;
  if (v.find('\n') != std::string::npos || v.find('\r') != std::string::npos) return false;
  std::vector<std::string> lines;
  readLines(m_path, lines);  // a missing file is an empty profile

  const std::string newLine = std::string(key) + "=" + v;
  bool inSection = false, done = false;
  long sectionEnd = -1;  // index after the last line of the section
  for (size_t i = 0; i < lines.size() && !done; ++i) {
    std::string name, k, old;
    if (sectionHeader(lines[i], name)) {
      if (inSection) break;
      inSection = iequal(name, section);
      if (inSection) sectionEnd = long(i) + 1;
    } else if (inSection) {
      if (keyLine(lines[i], k, old) && iequal(k, key)) {
        lines[i] = k + "=" + v;  // the key keeps the case it was written in
        done = true;
      } else if (!trim(lines[i]).empty()) {
        sectionEnd = long(i) + 1;
      }
    }
  }
  if (!done) {
    if (sectionEnd >= 0) {
      lines.insert(lines.begin() + sectionEnd, newLine);
    } else {
      if (!lines.empty() && !trim(lines.back()).empty()) lines.push_back("");
      lines.push_back("[" + std::string(section) + "]");
      lines.push_back(newLine);
    }
  }

  std::error_code ec;
  fs::path target(m_path);
  if (target.has_parent_path() && m_form.makeFolder) fs::create_directories(target.parent_path(), ec);
  std::string tmp = m_path + ".tmp" + std::to_string(getpid());
  {
    std::ofstream out(tmp, std::ios::binary | std::ios::trunc);
    if (!out) return false;
    for (const std::string& l : lines) out << l << (m_form.crlf ? "\r\n" : "\n");
    out.flush();
    if (!out) {
      out.close();
      fs::remove(tmp, ec);
      return false;
    }
  }
  fs::rename(tmp, target, ec);
  if (ec) {
    fs::remove(tmp, ec);
    return false;
  }
  return true;
}

}  // namespace dx::app

CVmUserProfile* dxutOpenSettingsFile(const char* path) {
  return new dx::app::ProfileFile(path ? path : "", dx::app::kSettingsFileForm);
}
