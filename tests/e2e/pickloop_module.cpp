// A small module for the end-to-end tests: MARKRED asks for objects one pick at a time,
// the way the module's commands do, and colours each picked object red through the
// host's CHPROP. A missed pick (ERRNO non-zero) asks again; Enter ends the loop.
#include <cstdio>

#include "hostapi/db.h"
#include "hostapi/editor.h"
#include "hostapi/rx.h"

namespace {

constexpr const char* kGroup = "E2EPICKLOOP";

// Whether a failed pick was a miss (ask again) or Enter/cancel (stop).
bool pickMissed() {
  resbuf rb{};
  if (dxedGetVar("ERRNO", &rb) != RTNORM) return false;
  return rb.restype == RTSHORT && rb.resval.rint != 0;
}

void markRed() {
  int marked = 0, missed = 0;
  for (;;) {
    dx_name ent;
    dx_point pt;
    int rc = dxedEntSel("\nSelect object to mark red: ", ent, pt);
    if (rc == RTNORM) {
      if (dxedCommandS(RTSTR, "._CHPROP", RTENAME, ent, RTSTR, "", RTSTR, "_Color", RTSTR, "1",
                       RTSTR, "", 0) != RTNORM) {
        dxutPrintf("\nCould not change the object.");
        return;
      }
      ++marked;
      continue;
    }
    if (rc == RTERROR && pickMissed()) {
      ++missed;
      dxutPrintf("\nNothing there; pick again.");
      continue;
    }
    break;
  }
  dxutPrintf("\n%d marked, %d missed.\n", marked, missed);
}

}  // namespace

extern "C" __attribute__((visibility("default"))) int dxrxEntryPoint(int msg, void*) {
  switch (msg) {
    case DxRx::kInitAppMsg:
      dxedRegCmds()->addCommand(kGroup, "MARKRED", "MARKRED", DxEdCommandFlags::kModal, markRed);
      break;
    case DxRx::kUnloadAppMsg:
      dxedRegCmds()->removeGroup(kGroup);
      break;
    default: break;
  }
  return DxRx::kRetOK;
}
