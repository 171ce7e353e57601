// The SQLite that the library works with.
#pragma once

#include <mersola/platform/export.h>

namespace mersola {

/// The version of SQLite that the library works with, as "3.51.3". It is that of the system's
/// library, or of the SQLite that was built in. Never null.
MERSOLA_EXPORT const char* SqliteVersion();

/// Whether that version has the fault that SQLite's makers call the WAL-reset bug. The versions
/// 3.7.0 to 3.51.2 have it, except 3.44.6 and later ones of 3.44, and 3.50.7 and later ones of
/// 3.50. With the fault, committed rows can be lost when two programs that do not use this library
/// work on a database file that is in use here, and one of them writes. The answer comes from the
/// version's number alone: a distribution may have repaired the fault under an old number.
MERSOLA_EXPORT bool SqliteHasLogFault();

}  // namespace mersola
