// What programs may ask of the SQLite that the library works with.
#include <mersola/engine.h>

#include <sqlite3.h>

#include "log_guard.h"

namespace mersola {

const char* SqliteVersion() {
    return sqlite3_libversion();
}

bool SqliteHasLogFault() {
    return sqlite::HasLogFault(sqlite3_libversion_number());
}

}  // namespace mersola
