// SQLite's C interface with the least ceremony: an error ends the program.
#include "database.h"

#include <stdexcept>

#include "engines/sqlite.h"
#include "packed/module.h"
#include "sqlite/errors.h"

using namespace mersola::sqlite;

Database OpenDatabase(const std::string& path) {
    sqlite3* opened = nullptr;
    const int code =
        sqlite3_open_v2(path.c_str(), &opened,
                        SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX, nullptr);
    Database db(opened);
    Check(db.get(), code);
    Check(db.get(), mersola::packed::RegisterModule(db.get()));
    Run(db.get(), "PRAGMA journal_mode=WAL");
    Run(db.get(), "PRAGMA synchronous=FULL");
    return db;
}

void Run(sqlite3* db, const std::string& sql) {
    Check(db, sqlite3_exec(db, sql.c_str(), nullptr, nullptr, nullptr));
}

void LayOut(sqlite3* db, mersola::Layout layout) {
    for (const std::string_view statement : mersola::SchemaStatements(mersola::kSqlite, layout))
        Run(db, std::string(statement));
}

void StepToEnd(sqlite3_stmt* statement) {
    Check(sqlite3_db_handle(statement), sqlite3_step(statement));
    sqlite3_reset(statement);
}

void InsertValue(sqlite3_stmt* insert, int measValueId, int period, int channel, int function,
                 int band) {
    sqlite3_bind_int(insert, 1, measValueId);
    sqlite3_bind_int(insert, 2, period);
    sqlite3_bind_int(insert, 3, channel);
    sqlite3_bind_double(insert, 4, Level(period, band));
    sqlite3_bind_text(insert, 5, "", 0, SQLITE_STATIC);
    sqlite3_bind_int(insert, 6, band);
    sqlite3_bind_int(insert, 7, function);
    StepToEnd(insert);
}
