// The module's smaller exports. Kept out of the frame's library: the host defines a
// function of the same name, and a test that links both would have two.
#include <dlfcn.h>

#include "hostapi/app.h"

namespace {
// An address surely inside this module: internal, so nothing can interpose it.
void anchor() {}

bool inThisModule(void* address) {
  Dl_info a{}, b{};
  return dladdr(address, &a) && dladdr(reinterpret_cast<void*>(&anchor), &b) && a.dli_fbase == b.dli_fbase;
}
}  // namespace

// The host's API version, as the host reports it. The host's function is found by name
// the way the platform's loader would find it in the host program. Taking this
// function's own address would not tell the two apart (the program's definition wins),
// so the module is told by the object the address lies in.
extern "C" int dxrxGetApiVersion() {
  using Fn = int (*)();
  void* host = dlsym(RTLD_DEFAULT, "dxrxGetApiVersion");
  if (!host || inThisModule(host)) return 0;
  return reinterpret_cast<Fn>(host)();
}

// Certificates of a licensed build: this build carries none.
extern "C" const char* getDrxCerts() { return nullptr; }

// The sheet-nesting routine of the plot-sheet arrangement belongs to a later version;
// its entry answers that it did nothing.
extern "C" int NesterFrame(void* sheets, void* rolls, void* options, void* result) { return -1; }
