// The SQLite that the library works with.
#pragma once

#include <mersola/platform/export.h>

namespace mersola {

/// Its version, as "3.51.3": of the system's library, or of the one that was built in. Never null.
MERSOLA_EXPORT const char* SqliteVersion();

/// Whether that version has the fault that SQLite's makers call the WAL-reset bug (3.7.0 to 3.51.2
/// except 3.44.6 and up to 3.44's end, 3.50.7 and up to 3.50's end): committed rows can be lost
/// when two programs that do not use this library work on a database file that is in use here, and
/// one of them writes. Told from the number alone: a distribution may have repaired it under an old
/// one.
MERSOLA_EXPORT bool SqliteHasLogFault();

}  // namespace mersola
