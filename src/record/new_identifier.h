// The search for a free identifier.
#pragma once

#include <mersola/mersola.h>

#include "session/statement.h"

namespace mersola {

/// Finds a free identifier: it starts at the number of rows plus one, and goes up while the
/// statement of `probe` finds the candidate taken. `candidate` always holds the number that was
/// reached, also when a statement raises.
template <class Probe>
void findFree(Mersola& store, const _ConnectionPtr& connection, const CString& count,
              long& candidate, Probe probe) {
    const auto counted = store.dbExecute(connection, count);
    if (atFirstRow(counted)) candidate = long{counted->Fields(0).Long()} + 1;
    for (auto id = identifier(candidate); id; id = identifier(++candidate)) {
        if (!atFirstRow(store.dbExecute(connection, probe(*id)))) return;
    }
    candidate = kNone;  // no identifier within 32 bits is free
}

}  // namespace mersola
