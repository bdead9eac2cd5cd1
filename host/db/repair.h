// Damaged drawings: reading them the way RECOVER does, what loading set right, and the
// consistency checks of AUDIT.
#pragma once

#include <string>
#include <vector>

#include "hostapi/db.h"

namespace dx::db {

// While one is alive, drawings are read the way RECOVER reads them: past damage in a
// section the reader goes on at the next one, and says what it skipped or set right.
class RecoverMode {
 public:
  RecoverMode() { ++depth(); }
  ~RecoverMode() { --depth(); }
  RecoverMode(const RecoverMode&) = delete;
  RecoverMode& operator=(const RecoverMode&) = delete;
  static bool on() { return depth() > 0; }

 private:
  static int& depth() {
    static thread_local int d = 0;
    return d;
  }
};

// What loading set right in a damaged file, one line each, for the user to read.
const std::vector<std::string>& loadRepairs(const DxDbDatabase& db);

// Every check of a drawing's consistency (cycles, numbers, references of entities):
// problems are listed in notes and, with fix, repaired. Returns how many there were.
size_t auditDrawing(DxDbDatabase& db, std::vector<std::string>& notes, bool fix);

}  // namespace dx::db
