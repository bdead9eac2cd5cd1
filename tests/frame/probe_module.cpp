// probe.drx: a module for the end-to-end tests. It registers "BURST" in express.drx's
// group before express.drx does, a command in the group "quantitiestool", and at its own
// unload (after express.drx's, modules unload last first) prints the groups still on the
// command stack and the API version express.drx's own export reports.
#include <dlfcn.h>
#include <unistd.h>

#include <cstdio>
#include <string>

#include "hostapi/editor.h"

namespace {
void probeBurst() { dxutPrintf("\nprobe's BURST ran\n"); }
void probeQuantities() {}
}  // namespace

extern "C" int dxrxEntryPoint(int message, void*) {
  DxEdCommandStack* stack = dxedRegCmds();
  if (message == 1) {
    stack->addCommand("KvExpressTools", "BURST", "BURST", 0, probeBurst);
    stack->addCommand("quantitiestool", "QTYPROBE", "QTYPROBE", 0, probeQuantities);
  } else if (message == 2) {
    std::string groups;
    for (const std::string& g : stack->groups()) groups += " " + g;
    std::printf("probe: groups at unload:%s\n", groups.c_str());
    char exe[4096];
    ssize_t n = readlink("/proc/self/exe", exe, sizeof exe - 1);
    std::string folder = n > 0 ? std::string(exe, size_t(n)) : std::string();
    folder = folder.substr(0, folder.rfind('/') + 1);
    if (void* express = dlopen((folder + "express.drx").c_str(), RTLD_NOW | RTLD_NOLOAD)) {
      auto version = reinterpret_cast<int (*)()>(dlsym(express, "dxrxGetApiVersion"));
      std::printf("probe: express.drx reports API version %d\n", version ? version() : -1);
      dlclose(express);
    }
    std::fflush(stdout);
  }
  return 0;
}
