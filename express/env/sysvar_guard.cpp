#include "express/env/sysvar_guard.h"

#include "hostapi/editor.h"

namespace express {

CSysVarSet::CSysVarSet(bool undoGrouping) : m_undoGrouping(undoGrouping) {
  for (size_t i = 0; i < kVariables.size(); ++i) {
    m_saved[i] = dxutNewRb(RTNONE);
    if (dxedGetVar(kVariables[i], m_saved[i]) != RTNORM) {
      // Nothing read, nothing to write back.
      dxutRelRb(m_saved[i]);
      m_saved[i] = nullptr;
    }
  }
  resbuf* echo = dxutNewRb(RTNONE);
  if (dxedGetVar("CMDECHO", echo) == RTNORM) {
    echo->resval.rint = 0;
    dxedSetVar("CMDECHO", echo);
  }
  dxutRelRb(echo);
  if (m_undoGrouping) {
    // Two nested groups with automatic undo off between them: the destructor closes two.
    dxedCommandS(RTSTR, ".undo", RTSTR, "g", 0);
    dxedCommandS(RTSTR, ".undo", RTSTR, "a", RTSTR, "off", RTSTR, ".undo", RTSTR, "g", 0);
  }
}

CSysVarSet::~CSysVarSet() {
  if (m_undoGrouping) {
    dxedCommandS(RTSTR, ".undo", RTSTR, "e", 0);
    dxedCommandS(RTSTR, ".undo", RTSTR, "e", RTSTR, ".undo", RTSTR, "a", RTSTR, "on", 0);
  }
  for (size_t i = 0; i < kVariables.size(); ++i) {
    if (!m_saved[i]) continue;
    dxedSetVar(kVariables[i], m_saved[i]);
    dxutRelRb(m_saved[i]);
    m_saved[i] = nullptr;
  }
}

}  // namespace express
