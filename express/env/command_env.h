// Shared routines of the command environment: the missed-pick test, the locked-layer
// test and filtered selections.
#pragma once

#include <initializer_list>
#include <vector>

#include "express/env/holders.h"
#include "hostapi/db.h"

namespace express {

// After an entity pick returned status: true when the user missed (the pick failed and
// ERRNO holds a non-zero short), so the prompt is to be asked again; false when the
// pick ended by an empty answer or a cancel (or did not fail).
bool isMissedPick(int status);
// dxedEntSel asked again while the user misses. RTNORM with an entity, else the final
// status (RTERROR for Enter, RTCAN for cancel).
int entSelRetrying(const char* prompt, dx_name entity, dx_point pickPoint);

// True when the object must not be changed: null, not an entity, its layer cannot be
// opened, or its layer is locked.
bool isOnLockedLayer(const DxDbObject* obj);
// The same by id (an object that cannot be opened counts as locked).
bool isOnLockedLayer(DxDbObjectId id);

// Filters, built as the host's group-code chains.
// (-4 . "<OR") (0 . T1) ... (-4 . "OR>"); for one type just (0 . T). Group 0 is built as
// RTDXF0, since a 0 ends a dxutBuildList argument list.
CResbufPtr entityTypeFilter(std::initializer_list<const char*> types);
// inner wrapped in (-4 . "<AND") ... (-4 . "AND>") or (-4 . "<NOT") ... (-4 . "NOT>").
CResbufPtr filterAnd(CResbufPtr inner);
CResbufPtr filterNot(CResbufPtr inner);
// a followed by b.
CResbufPtr filterJoin(CResbufPtr a, CResbufPtr b);

// Members of a selection set, in set order.
std::vector<DxDbObjectId> selectionIds(const CSelectionSet& ss);
// The pick-first set, when there is one.
std::vector<DxDbObjectId> pickFirstIds();
// Ids without those on locked layers.
std::vector<DxDbObjectId> withoutLockedLayers(const std::vector<DxDbObjectId>& ids);

}  // namespace express
