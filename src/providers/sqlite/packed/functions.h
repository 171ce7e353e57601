// Functions of SQL, for whoever looks after a packed database.
#pragma once

#include "api.h"

namespace mersola::packed {

/// Makes them known on a connection. Returns SQLite's result code.
///     mersola_block_fault(MeasValueId, Channel, FuncId, FirstPeriod, LastPeriod, Data, Summary)
///     mersola_period_fault(MeasValueId, PeriodNo, Data)
/// say what is wrong with a row of ValueBlocks, with its data, and with one of PendingValues; NULL:
/// nothing is.
///     mersola_block_first, _last, _summary(MeasValueId, Channel, FuncId, FirstPeriod, Data)
/// give what ValueBlocks must say of data; NULL where the data are damaged.
int RegisterFunctions(sqlite3* db);

}  // namespace mersola::packed
