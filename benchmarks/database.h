// What the benchmarks share: temporary databases, and SQLite's C interface as the rival uses it.
#pragma once

#include <string>
#include <string_view>

#include "schema/schema.h"
#include "sqlite/session.h"
#include "sqlite/statement_cache.h"
#include "support/temporary_folder.h"

/// One recorder's periods: every value of a period goes into one transaction.
inline constexpr int kChannels = 4;
inline constexpr int kFunctions = 6;
inline constexpr int kBands = 36;
inline constexpr int kValuesOfPeriod = kChannels * kFunctions * kBands;

using mersola::test::TemporaryFolder;

/// Opens the file, which is created where it is missing, with the settings of the library's
/// provider.
mersola::sqlite::Database OpenDatabase(const std::string& path);
void Run(sqlite3* db, const std::string& sql);
/// Lays out the tables of the schema.
void LayOut(sqlite3* db, mersola::Layout layout = mersola::Layout::Rows);

/// A value that looks like a level in dB.
inline double Level(int period, int band) {
    return 40.0 + (period * 7 + band * 13) % 431 * 0.1;
}

/// Steps a statement that gives no rows, and makes it ready to be bound anew.
void StepToEnd(sqlite3_stmt* statement);

/// The prepared INSERT of one value, and one value through it.
inline constexpr std::string_view kInsert =
    "INSERT INTO MeasuredValues (MeasValueId,PeriodNo,Channel,Value,Status,FrqId,FuncId) VALUES "
    "(?,?,?,?,?,?,?)";
void InsertValue(sqlite3_stmt* insert, int measValueId, int period, int channel, int function,
                 int band);

/// Calls `put(channel, function, band)` for each value of a period, channels from 1.
template <class Put>
void ForEachValue(Put put) {
    for (int channel = 1; channel <= kChannels; ++channel) {
        for (int function = 1; function <= kFunctions; ++function) {
            for (int band = 0; band < kBands; ++band)
                put(channel, function, band);
        }
    }
}
