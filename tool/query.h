// Statements put together in printf's manner, and the rows that they give.
#pragma once

#include <mersola/mersola.h>

namespace mersola::tool {

template <class... Arguments>
_RecordsetPtr Query(Mersola& store, const char* format, Arguments... arguments) {
    CString sql;
    sql.Format(format, arguments...);
    return store.dbExecute(sql);
}

}  // namespace mersola::tool
