// What an object id stands for: the object's handle, the object itself once it exists
// (references may come before the object they name) and the undo state.
#pragma once

#include <cstdint>

#include "hostapi/db.h"

namespace dx::db {

class DatabaseImpl;

struct Stub {
  uint64_t handle = 0;
  DxDbObject* obj = nullptr;
  DatabaseImpl* db = nullptr;
  uint32_t journalGen = 0;  // undo step in which the object was last saved
  bool erased = false;
};

// The object behind an id: null for a null id or a stub that has no object yet.
inline DxDbObject* objectOf(DxDbObjectId id) {
  Stub* s = id.stub();
  return s ? s->obj : nullptr;
}
// The same, and null for an erased object.
inline DxDbObject* liveObjectOf(DxDbObjectId id) {
  Stub* s = id.stub();
  return s && !s->erased ? s->obj : nullptr;
}

}  // namespace dx::db
