// The SQLite that the library works with.
#pragma once

#include <mersola/platform/export.h>

namespace mersola {

/// The version of SQLite that the library works with, as "3.51.3". It is that of the system's
/// library, or of the SQLite that was built in. Never null.
MERSOLA_EXPORT const char* SqliteVersion();

/// Whether that version has the fault that SQLite's makers call the WAL-reset bug. The versions
/// 3.7.0 to 3.51.2 have it, except 3.44.6 and later ones of 3.44, and 3.50.7 and later ones of
/// 3.50. With the fault, a checkpoint can lose rows that others have committed. This library keeps
/// clear of it, but two other programs that work on one file may not. The answer comes from the
/// version's number alone: a distribution may have repaired the fault under an old number.
MERSOLA_EXPORT bool SqliteHasLogFault();

}  // namespace mersola
