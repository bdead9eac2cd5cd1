// The module's smaller exports. Kept out of the frame's library: the host defines a
// function of the same name, and a test that links both would have two.
#include <dlfcn.h>

#include "hostapi/app.h"

// The host's API version, as the host reports it. The host's function is found by name
// the way the platform's loader would find it in the host program; this module's own
// export of the same name is skipped.
extern "C" int dxrxGetApiVersion() {
  using Fn = int (*)();
  auto self = reinterpret_cast<void*>(&dxrxGetApiVersion);
  void* host = dlsym(RTLD_DEFAULT, "dxrxGetApiVersion");
  if (!host || host == self) return 0;
  return reinterpret_cast<Fn>(host)();
}

// Certificates of a licensed build: this build carries none.
extern "C" const char* getDrxCerts() { return nullptr; }

// The sheet-nesting routine of the plot-sheet arrangement belongs to a later version;
// its entry answers that it did nothing.
extern "C" int NesterFrame(void* sheets, void* rolls, void* options, void* result) { return -1; }
