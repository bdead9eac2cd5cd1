#pragma once
// Puts a JW_CAD drawing into a host drawing in two steps: MakeLayers adds the layers the
// drawing's records use; Place adds line types, text styles, block definitions and the
// entities of the drawing at an offset in model space. A command asks for the insertion
// point between the two, so a cancel leaves only the layers behind.

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "express/jww/jww_document.h"
#include "express/jww/jww_translate.h"
#include "hostapi/db.h"

namespace jww {

struct LayerReport {
  unsigned group = 0, layer = 0;
  std::string name;
  bool created = false;  // false: the layer could not be made, its entities are on "0"
};

struct ImportResult {
  ImportCounts counts;  // entities added to model space
  std::vector<LayerReport> layers;  // new layers only, in group and layer order
  int layersCreated = 0;
  std::string failure;  // why the import as a whole failed; empty on success
};

// Called with the named line types the drawing needs and lacks; it loads what it can.
using LineTypeLoader = std::function<void(const std::vector<std::string>& names)>;

class Importer {
 public:
  Importer(DxDbDatabase* db, const JwwDocument& doc);
  ~Importer();

  // Finds or adds a layer for every JWW layer that a record of the drawing itself lies
  // on; records inside block definitions make no layer. New layers go to result.layers.
  bool MakeLayers(ImportResult& result);

  // Adds everything else (after MakeLayers); model-space entities are moved by `offset`.
  // False when the import could not be done (result.failure says why).
  bool Place(const DxGeVector3d& offset, const LineTypeLoader& loadLineTypes, ImportResult& result);

  // Both steps at once.
  bool Import(const DxGeVector3d& offset, const LineTypeLoader& loadLineTypes, ImportResult& result) {
    return MakeLayers(result) && Place(offset, loadLineTypes, result);
  }

  // Line type an entity keeps when its pen style names none.
  static constexpr const char* kDefaultLineType = "ByLayer";

 private:
  struct Context;
  DxDbDatabase* db_;
  const JwwDocument& doc_;
  std::unique_ptr<Context> cx_;
};

}  // namespace jww
