#pragma once
// Puts a JW_CAD drawing into a host drawing: layers, line types, text styles, block
// definitions and the entities of the drawing, placed at an offset in model space.
// Nothing is added to the database before Import is called, so a command can ask for
// the insertion point first and leave the drawing alone when the user cancels.

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "express/jww/jww_document.h"
#include "hostapi/db.h"

namespace jww {

// Entities added to model space per record kind, in the order of the summary.
struct ImportCounts {
  int lines = 0, circles = 0, dots = 0, texts = 0, solids = 0, dimensions = 0, blocks = 0;
  bool operator==(const ImportCounts&) const = default;
};

struct LayerReport {
  unsigned group = 0, layer = 0;
  std::string name;
  bool created = false;  // false: the layer could not be made, its entities are on "0"
};

struct ImportResult {
  ImportCounts counts;
  std::vector<LayerReport> layers;  // new layers only, in group and layer order
  int layersCreated = 0;
  std::string failure;  // why the import as a whole failed; empty on success
};

// Called with the named line types the drawing needs and lacks; it loads what it can.
using LineTypeLoader = std::function<void(const std::vector<std::string>& names)>;

class Importer {
 public:
  Importer(DxDbDatabase* db, const JwwDocument& doc);

  // Adds everything; model-space entities are moved by `offset`. False when the
  // import could not be done (result.failure says why).
  bool Import(const DxGeVector3d& offset, const LineTypeLoader& loadLineTypes, ImportResult& result);

  // Line type an entity keeps when its pen style names none.
  static constexpr const char* kDefaultLineType = "ByLayer";

 private:
  struct Context;
  DxDbDatabase* db_;
  const JwwDocument& doc_;
};

}  // namespace jww
