// A fault of SQLite's write-ahead log, and how connections keep clear of it.
#pragma once

namespace mersola::sqlite {

/// Whether SQLite of this version (sqlite3_libversion_number) has the fault that its makers call
/// the WAL-reset bug. A writer may start the log anew during a checkpoint. The checkpoint then
/// takes the rows that are committed next for rows that it has moved into the database file, and
/// they are lost. The fault is repaired in 3.51.3, and also in 3.50.7 and 3.44.6 for those who stay
/// with these versions.
constexpr bool HasLogFault(int version) {
    constexpr int kFirst = 3007000;
    constexpr int kRepaired = 3051003;
    const bool isPatched =
        (version >= 3050007 && version < 3051000) || (version >= 3044006 && version < 3045000);
    return version >= kFirst && version < kRepaired && !isPatched;
}

/// The name of a VFS to open databases with: the default one, but a connection starts the log anew
/// only while nobody checkpoints, and a checkpoint that asks for the write lock does not go on
/// without it. Checkpoints of others then do no harm unless others also write. It serves with every
/// SQLite: the fault is in whoever checkpoints, and others may have an older one.
const char* GuardedVfs();

}  // namespace mersola::sqlite
