#include "express/styles/style_commands.h"

#include <cctype>
#include <cstdio>
#include <filesystem>
#include <fstream>

#include "express/styles/dim_file.h"
#include "hostapi/editor.h"

namespace express::styles {

int shortVar(const char* name, int def) {
  resbuf rb{};
  if (dxedGetVar(name, &rb) != RTNORM || rb.restype != RTSHORT) return def;
  return rb.resval.rint;
}

std::string textVar(const char* name) {
  resbuf rb{};
  if (dxedGetVar(name, &rb) != RTNORM || rb.restype != RTSTR || !rb.resval.rstring) return "";
  std::string s = rb.resval.rstring;
  std::free(rb.resval.rstring);
  return s;
}

bool dialogsOnCommandLine() { return shortVar("CMDDIA", 1) == 0; }

std::string fileBesideDrawing(const char* extension) {
  std::filesystem::path name(textVar("DWGNAME"));
  return textVar("DWGPREFIX") + name.stem().string() + extension;
}

bool matchesAny(const std::string& name, const std::vector<std::string>& patterns) {
  std::string u = name;
  for (char& c : u) c = char(std::toupper(static_cast<unsigned char>(c)));
  for (const std::string& p : patterns)
    if (dxutWcMatch(u.c_str(), p.c_str()) == RTNORM) return true;
  return false;
}

int askStylePatterns(const char* prompt, std::vector<std::string>& patterns) {
  char buf[2049];
  int rc = dxedGetString(0, prompt, buf, sizeof buf);
  if (rc != RTNORM) return RTCAN;
  patterns = splitStylePatterns(buf);
  return RTNORM;
}

std::string groupText(const resbuf* chain, int code) {
  for (const resbuf* rb = chain; rb; rb = rb->rbnext)
    if (rb->restype == code && rb->resval.rstring) return rb->resval.rstring;
  return "";
}

std::string recordNameOf(const int64_t* ename) {
  if (!ename || (!ename[0] && !ename[1])) return "";
  CResbufPtr list(dxdbEntGet(ename));
  return groupText(list.get(), 2);
}

bool writeFileReplacing(const std::string& path, const std::string& text) {
  const std::string tmp = path + ".tmp";
  {
    std::ofstream out(tmp, std::ios::binary | std::ios::trunc);
    if (!out) return false;
    out << text;
    if (!out.flush()) {
      out.close();
      std::remove(tmp.c_str());
      return false;
    }
  }
  std::error_code ec;
  std::filesystem::rename(tmp, path, ec);
  if (ec) std::remove(tmp.c_str());
  return !ec;
}

}  // namespace express::styles
