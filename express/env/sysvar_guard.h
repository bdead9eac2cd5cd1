// CSysVarSet: the guard a command keeps on its stack for its whole run. It saves fourteen
// system variables, silences the command echo and, when asked, wraps the command in undo
// groups; its destructor undoes all of it, so every way out of the command restores them.
#pragma once

#include <array>

#include "hostapi/db.h"

namespace express {

class CSysVarSet {
 public:
  // The variables, in the order they are saved and restored.
  static constexpr std::array<const char*, 14> kVariables = {
      "CMDECHO", "HIGHLIGHT", "PLINETYPE", "OSMODE", "MIRRTEXT", "DIMZIN", "ATTMODE",
      "ATTDIA", "REGENMODE", "OFFSETDIST", "ATTREQ", "GRIDMODE", "PLINEWID", "CELTYPE"};

  explicit CSysVarSet(bool undoGrouping);
  virtual ~CSysVarSet();
  CSysVarSet(const CSysVarSet&) = delete;
  CSysVarSet& operator=(const CSysVarSet&) = delete;

 private:
  std::array<resbuf*, 14> m_saved{};
  bool m_undoGrouping;
};

}  // namespace express
