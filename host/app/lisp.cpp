// The host's LISP evaluator. Only what modules ask of it: loading and unloading files.
#include <algorithm>
#include <cctype>
#include <filesystem>
#include <string>
#include <vector>

#include "host/app/app.h"
#include "host/base/case.h"

namespace fs = std::filesystem;

namespace dx::app {

namespace {
std::vector<std::string>& lispFiles() {
  static std::vector<std::string> files;
  return files;
}

// (NAME "text") with any blanks between the parts; false for anything else.
bool parseCall(const std::string& expr, std::string& name, std::string& arg) {
  size_t i = 0, n = expr.size();
  auto blanks = [&] {
    while (i < n && std::isspace(static_cast<unsigned char>(expr[i]))) ++i;
  };
  blanks();
  if (i >= n || expr[i] != '(') return false;
  ++i;
  blanks();
  size_t start = i;
  while (i < n && std::isalpha(static_cast<unsigned char>(expr[i]))) ++i;
  name = expr.substr(start, i - start);
  name = dx::base::upper(name);
  blanks();
  if (i >= n || expr[i] != '"') return false;
  ++i;
  arg.clear();
  while (i < n && expr[i] != '"') {
    if (expr[i] == '\\' && i + 1 < n) ++i;
    arg += expr[i++];
  }
  if (i >= n) return false;
  ++i;
  blanks();
  if (i >= n || expr[i] != ')') return false;
  ++i;
  blanks();
  return i == n;
}
}  // namespace

const std::vector<std::string>& loadedLispFiles() { return lispFiles(); }

}  // namespace dx::app

int dxedEvaluateLisp(const char* expression, resbuf** result) {
  using namespace dx::app;
  if (result) *result = nullptr;
  std::string name, file;
  if (!expression || !parseCall(expression, name, file) || (name != "LOAD" && name != "UNLOAD")) {
    dxutPrintf("\n; error: this host evaluates only (LOAD \"file\") and (UNLOAD \"file\"): %s\n",
               expression ? expression : "");
    return RTERROR;
  }
  auto& files = lispFiles();
  std::error_code ec;
  std::string key = fs::absolute(file, ec).lexically_normal().string();
  auto it = std::find(files.begin(), files.end(), key);
  if (name == "LOAD") {
    if (!fs::is_regular_file(key, ec)) {
      dxutPrintf("\n; error: LOAD failed: \"%s\"\n", file.c_str());
      return RTERROR;
    }
    if (it == files.end()) files.push_back(key);
  } else {
    if (it == files.end()) {
      dxutPrintf("\n; error: UNLOAD: \"%s\" is not loaded\n", file.c_str());
      return RTERROR;
    }
    files.erase(it);
  }
  if (result) *result = dxutBuildList(RTSTR, file.c_str(), 0);
  return RTNORM;
}
