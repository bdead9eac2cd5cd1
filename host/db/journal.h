// The undo journal of a drawing as the editor drives it: every change made while it
// records is kept, a position marks a moment, and rolling back to a position undoes
// everything after it.
#pragma once

#include <cstdint>

#include "hostapi/db.h"

namespace dx::db {

void setJournalEnabled(DxDbDatabase& db, bool on);
uint64_t journalPosition(DxDbDatabase& db);
void rollbackJournal(DxDbDatabase& db, uint64_t position);

}  // namespace dx::db
