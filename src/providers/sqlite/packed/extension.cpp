// The virtual table for programs that bring their own SQLite, such as sqlite3 and Python.
#include "api.h"
#include "module.h"

SQLITE_EXTENSION_INIT1

// SQLite finds this name in a file that is called mersola_values.
extern "C" __attribute__((visibility("default"))) int sqlite3_mersolavalues_init(
    sqlite3* db, char** /*words*/, const sqlite3_api_routines* api) {
    SQLITE_EXTENSION_INIT2(api);
    return mersola::packed::RegisterModule(db);
}
