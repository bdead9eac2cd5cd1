// The module's entry point: the host calls it with a message whenever the module's life
// changes. Every message is answered with 0.
#include "express/frame/lifecycle.h"
#include "hostapi/rx.h"

extern "C" int dxrxEntryPoint(int message, void* appId) {
  switch (message) {
    case DxRx::kInitAppMsg: express::onInitialise(); break;
    case DxRx::kUnloadAppMsg: express::onUnload(); break;
    case DxRx::kLoadDwgMsg: express::onDrawingLoaded(); break;
    case DxRx::kUnloadDwgMsg: express::onDrawingUnloaded(); break;
    case DxRx::kSaveMsg: express::onDrawingSaved(); break;
    default: break;
  }
  return DxRx::kRetOK;
}
