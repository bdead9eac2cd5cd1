// libFuzzer entry: any bytes must either read or fail with one of the reader's texts.
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "express/jww/jww_file_reader.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  JwwDocument doc;
  JwwFileReader reader;
  bool ok = reader.ReadBuffer(data, size, "fuzz.jww", doc);
  int id = reader.Error().resourceId;
  if (ok != (id == 0)) std::abort();
  if (!ok && id != kJwwMsgCorrupt && id != kJwwMsgVersionTooNew && id != kJwwMsgOutOfMemory)
    std::abort();
  if (ok) {
    // Touch what a caller would: every block insertion's definition.
    for (const JwwBlock& b : doc.entities.blocks) (void)doc.FindBlockDef(b.blockNumber);
  }
  return 0;
}
