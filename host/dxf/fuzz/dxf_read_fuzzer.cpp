// libFuzzer entry: any bytes (ASCII or binary DXF) must either load or fail with a
// one-line message; what loads must save, and what it saved must load again.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "host/db/database_impl.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  DxDbDatabase db(false);
  if (db.readDxfFromBuffer(std::string(reinterpret_cast<const char*>(data), size)) != Dxad::eOk) {
    const std::string& why = db.lastError();
    if (why.empty() || why.find('\n') != std::string::npos) std::abort();
    return 0;
  }
  dx::dxf::TagWriter w;
  dx::db::writeDxf(*dx::db::implOf(&db), dx::db::Ver::R2018, w);
  DxDbDatabase again(false);
  if (again.readDxfFromBuffer(w.buffer()) != Dxad::eOk) {
    std::fprintf(stderr, "the written file does not load: %s\n", again.lastError().c_str());
    std::abort();
  }
  return 0;
}
