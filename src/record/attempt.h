// Runs statements that may fail without harm.
#pragma once

#include <mersola/mersola.h>

namespace mersola {

/// The statement's recordset, or null when it fails. It is only for statements that the operation
/// can do without. Everywhere else the error is needed, to tell a duplicate from a loss.
inline _RecordsetPtr attempt(Mersola& store, const _ConnectionPtr& connection,
                             const CString& sql) try {
    return store.dbExecute(connection, sql);
} catch (const _com_error&) {
    return nullptr;
}

}  // namespace mersola
