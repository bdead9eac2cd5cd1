// The resource library the host presents dialogs from.
#include "hostapi/resource.h"

namespace {
void* g_current = nullptr;
}

void* dxrxCurrentResourceLibrary() { return g_current; }

void* dxrxSetCurrentResourceLibrary(void* library) {
  void* previous = g_current;
  g_current = library;
  return previous;
}
