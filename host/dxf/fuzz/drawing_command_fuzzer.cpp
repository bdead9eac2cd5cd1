// libFuzzer entry: a drawing is loaded, one host command runs on it and it is saved.
// The first byte picks the command, the rest is the file. Nothing may crash, and the
// saved file must load again.
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "host/editor/core/driver.h"
#include "host/editor/core/session.h"

namespace {

// Commands that walk everything a drawing holds: selection by extents, explode,
// purge, a copy of the drawing into itself, new geometry under a turned UCS.
const char* const kCommands[] = {
    "ERASE W -10,-10 10,10 \"\"",
    "ERASE ALL \"\"",
    "EXPLODE ALL \"\"",
    "-PURGE A * N",
    "-INSERT {file} 0,0 1 1 0",
    "UCS 0,0,0 1,1,0 0,1,1 LINE 0,0 1,1 \"\"",
    "U",
};

std::string tempPath(const char* what) {
  return "/tmp/dxfuzz-" + std::to_string(getpid()) + "-" + what + ".dxf";
}

bool writeFile(const std::string& path, const std::uint8_t* data, std::size_t size) {
  std::FILE* f = std::fopen(path.c_str(), "wb");
  if (!f) return false;
  bool ok = std::fwrite(data, 1, size, f) == size;
  return std::fclose(f) == 0 && ok;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  dx::ed::output().setSink([](std::string_view) {});
  dx::ed::Session::get().init();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace dx::ed;
  if (size < 1) return 0;
  std::string command = kCommands[data[0] % (sizeof kCommands / sizeof *kCommands)];
  const std::string in = tempPath("in"), out = tempPath("out");
  if (!writeFile(in, data + 1, size - 1)) return 0;
  if (auto at = command.find("{file}"); at != std::string::npos) command.replace(at, 6, in);
  Session& s = Session::get();
  std::string err;
  Document* doc = s.openDocument(in, err);
  if (!doc) {
    if (err.empty() || err.find('\n') != std::string::npos) std::abort();
    return 0;
  }
  Document* before = s.current();
  s.setCurrent(doc);
  {
    Driver driver;
    driver.push(std::make_unique<TextSource>(command, "fuzz"));
    driver.run();
  }
  if (doc->database()->saveAs(out.c_str(), DxDb::kDHL_1032) != Dxad::eOk) {
    std::fprintf(stderr, "the drawing does not save: %s\n", doc->database()->lastError().c_str());
    std::abort();
  }
  DxDbDatabase again(false);
  if (again.readDwgFile(out.c_str()) != Dxad::eOk) {
    std::fprintf(stderr, "the saved file does not load: %s\n", again.lastError().c_str());
    std::abort();
  }
  s.setCurrent(before);
  s.closeDocument(doc);
  std::remove(in.c_str());
  std::remove(out.c_str());
  return 0;
}
