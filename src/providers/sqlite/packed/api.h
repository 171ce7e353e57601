// SQLite's interface: linked by the library, handed over by the program that loads the extension.
#pragma once

#ifdef MERSOLA_VALUES_EXTENSION
#include <sqlite3ext.h>
SQLITE_EXTENSION_INIT3
#else
#include <sqlite3.h>
#endif
