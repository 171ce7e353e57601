// The virtual table mersola_values, as which MeasuredValues of a packed database is read and
// written.
#pragma once

#include "api.h"

namespace mersola::packed {

class Store;

inline constexpr const char* kModule = "mersola_values";

/// Makes the module known on a connection, and two functions with which a database is converted in
/// place. Returns SQLite's result code.
///
/// Between a layout of rows and one of blocks, MeasuredValues is the virtual table and another
/// table of its form holds rows: USING mersola_values(rows=NAME), and (rows=NAME, into=rows) where
/// new values are to become rows. mersola_pack(N) and mersola_unpack(N) move at least N values, if
/// there are so many, within the transaction in which they are called, and give their number.
int RegisterModule(sqlite3* db);

/// The store behind MeasuredValues of a connection's main database. Null while no statement has
/// named that table yet, and where it is a table of rows. The store goes with the connection, and
/// whenever SQLite reads the schema anew, so that it is to be asked for before each use.
Store* StoreOf(sqlite3* db);

}  // namespace mersola::packed
