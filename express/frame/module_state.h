// Module-wide state: one instance per process, made on first use.
#pragma once

#include <cstdint>
#include <map>
#include <memory>

#include "express/frame/reactors.h"
#include "hostapi/editor.h"

class DxApDocument;
class DxRxClass;

namespace express {

// A modeless tool window of the module (tool palette, layer viewer); destroyed with it.
class CModelessWindow {
 public:
  virtual ~CModelessWindow() = default;
};

struct ModuleState {
  uint16_t systemLanguage = 0;  // the system's language identifier (2052: simplified Chinese)
  std::unique_ptr<ZOTACmdEndReactor> cmdEndReactor;
  // One block-change reactor per document; an entry stays (null) after its document closed.
  std::map<DxApDocument*, std::unique_ptr<ZOTABlockChangeReactor>> blockChangeReactors;
  DxRxClass* cmdEndReactorClass = nullptr;
  DxRxClass* blockChangeReactorClass = nullptr;
  DxRxClass* dragComEntityClass = nullptr;
  std::unique_ptr<CModelessWindow> toolPalette;
  std::unique_ptr<CModelessWindow> layerViewer;
  // Per-document data of commands (a DxApDataManager each), dropped before the module goes.
  std::unique_ptr<DxApDocManagerReactor> circleAccuracy;
};

ModuleState& moduleState();

}  // namespace express
