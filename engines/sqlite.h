// SQLite, as it is in a file of its own.
#pragma once

#include "engine.h"

namespace mersola {

namespace sqlite {

/// SQLite's own provider gives extended result codes. Its ODBC driver gives primary ones, so that
/// the words have to tell the rest.
constexpr Fault FaultOf(const Message& message) {
    constexpr long kError = 1, kBusy = 5, kLocked = 6, kTooBig = 18, kConstraint = 19,
                   kMismatch = 20, kRange = 25, kPrimaryKey = 1555, kUnique = 2067, kRowid = 2579;
    if (message.native == kPrimaryKey || message.native == kUnique || message.native == kRowid)
        return Fault::Duplicate;
    switch (message.native & 0xFF) {
        case kConstraint:
            return message.native == kConstraint && message.words.starts_with("UNIQUE constraint")
                       ? Fault::Duplicate
                       : Fault::Constraint;
        case kMismatch:
        case kTooBig:
            return Fault::Constraint;
        case kBusy:
        case kLocked:
            return Fault::Busy;
        case kError:
        case kRange:
            return message.words.starts_with("no such table") ? Fault::NoTable : Fault::Statement;
        default:
            return Fault::Other;
    }
}

inline constexpr Savepoint kSavepoint{"SAVEPOINT batch", "ROLLBACK TO batch", "RELEASE batch"};

inline constexpr Room kRoom{"PRAGMA auto_vacuum", "PRAGMA freelist_count", "PRAGMA page_size",
                            "PRAGMA incremental_vacuum="};

inline constexpr const char* kPeriodsOfBlock =
    "SELECT 128 FROM sqlite_schema WHERE type='table' AND name='MeasuredValues' AND sql LIKE "
    "'CREATE VIRTUAL TABLE%'";

}  // namespace sqlite

inline constexpr Engine kSqlite{
    .name = "SQLite",
    .mark = "SQLite",
    .layout = "sqlite",
    .language = Language::Sqlite,
    // Taking the lock now waits for it; after a read it would fail at once when somebody else
    // wrote in between. The ODBC driver by itself takes it with the first change only.
    .begin = "BEGIN IMMEDIATE",
    .savepoint = &sqlite::kSavepoint,
    .isFile = true,
    .room = &sqlite::kRoom,
    .periodsOfBlock = sqlite::kPeriodsOfBlock,
    .hasOneWriter = true,
    // The driver's wide form does not know all characters.
    .textForm = TextForm::Utf8,
    // It stops at the first row that is refused, and does not tell at which.
    .arrays = {.tellsRows = false},
    .columns = {.integerBits = 64, .onlyFinite = false, .mostStatus = 0, .onlyWestern = false},
    .faultOf = sqlite::FaultOf,
};

}  // namespace mersola
