#include "twins.h"

#include <cstdint>
#include <cstring>
#include <stdexcept>

#include "engines/sqlite.h"
#include "packed/module.h"
#include "schema/schema.h"

namespace mersola::test {
namespace {

struct Outcome {
    int code = SQLITE_OK;
    std::string words;
    std::int64_t changes = 0;
    std::string rows;
    int count = 0;
};

// Type and bits, which is all that there is of a value.
void Append(std::string& text, sqlite3_stmt* statement, int column) {
    switch (sqlite3_column_type(statement, column)) {
        case SQLITE_INTEGER:
            text += 'i' + std::to_string(sqlite3_column_int64(statement, column));
            break;
        case SQLITE_FLOAT: {
            const double value = sqlite3_column_double(statement, column);
            std::uint64_t bits = 0;
            std::memcpy(&bits, &value, sizeof bits);
            text += 'r' + std::to_string(value) + '#' + std::to_string(bits);
            break;
        }
        case SQLITE_NULL:
            text += 'n';
            break;
        default:
            text += 't';
            text.append(static_cast<const char*>(sqlite3_column_blob(statement, column)),
                        static_cast<std::size_t>(sqlite3_column_bytes(statement, column)));
    }
    text += '|';
}

Outcome Step(sqlite3* db, sqlite3_stmt* statement, int most) {
    Outcome outcome;
    while (outcome.count < most && (outcome.code = sqlite3_step(statement)) == SQLITE_ROW) {
        ++outcome.count;
        for (int column = 0; column < sqlite3_column_count(statement); ++column)
            Append(outcome.rows, statement, column);
        outcome.rows += '\n';
    }
    if (outcome.code != SQLITE_ROW && outcome.code != SQLITE_DONE)
        outcome.words = sqlite3_errmsg(db);
    return outcome;
}

Outcome RunOn(sqlite3* db, const std::string& sql) {
    sqlite3_stmt* statement = nullptr;
    Outcome outcome;
    outcome.code = sqlite3_prepare_v2(db, sql.c_str(), -1, &statement, nullptr);
    if (outcome.code != SQLITE_OK) {
        outcome.words = sqlite3_errmsg(db);
        return outcome;
    }
    const bool changes = std::string_view("IUDW").find(sql[0]) != std::string_view::npos;
    outcome = Step(db, statement, 1 << 30);
    if (outcome.code == SQLITE_DONE && changes) outcome.changes = sqlite3_changes(db);
    sqlite3_finalize(statement);
    if (sqlite3_get_autocommit(db)) outcome.words += " autocommit";
    return outcome;
}

std::string Difference(const Outcome& rows, const Outcome& packed) {
    const auto show = [](const Outcome& outcome) {
        return "code " + std::to_string(outcome.code) + ", " + std::to_string(outcome.count) +
               " rows, " + std::to_string(outcome.changes) + " changes, '" + outcome.words + "'";
    };
    // A wrong type that is not to be ignored has another code: see row_rules.h.
    const bool isMismatch = packed.code == SQLITE_MISMATCH &&
                            rows.code == (SQLITE_CONSTRAINT | (12 << 8)) &&
                            rows.words == packed.words;
    if (isMismatch || (rows.code == packed.code && rows.words == packed.words &&
                       rows.changes == packed.changes && rows.rows == packed.rows))
        return {};
    std::string text = "rows: " + show(rows) + "\npacked: " + show(packed);
    std::size_t at = 0;
    while (at < rows.rows.size() && at < packed.rows.size() && rows.rows[at] == packed.rows[at])
        ++at;
    const auto line = [&](const std::string& all) {
        const auto from = at == 0 ? 0 : all.rfind('\n', at - 1) + 1;
        return from < all.size() ? all.substr(from, all.find('\n', from) - from) : "(end)";
    };
    if (rows.rows != packed.rows)
        text += "\nrows: " + line(rows.rows) + "\npacked: " + line(packed.rows);
    return text;
}

sqlite3* OpenAt(const std::string& path) {
    sqlite3* db = nullptr;
    if (sqlite3_open(path.c_str(), &db) != SQLITE_OK || packed::RegisterModule(db) != SQLITE_OK)
        throw std::runtime_error(sqlite3_errmsg(db));
    sqlite3_extended_result_codes(db, 1);
    sqlite3_db_config(db, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
    sqlite3_db_config(db, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
    sqlite3_exec(db, "PRAGMA synchronous=OFF", nullptr, nullptr, nullptr);
    return db;
}

}  // namespace

Twins::Twins(const std::string& arguments) {
    for (const Layout layout : {Layout::Rows, Layout::Packed}) {
        Side& side = sides_[layout == Layout::Packed];
        side.path = (folder_ / (layout == Layout::Packed ? "packed.db" : "rows.db")).string();
        for (sqlite3*& db : side.handles)
            db = OpenAt(side.path);
        sqlite3_exec(side.handles[0], "PRAGMA journal_mode=WAL", nullptr, nullptr, nullptr);
        for (const std::string_view statement : SchemaStatements(kSqlite, layout)) {
            std::string sql(statement);
            if (const auto at = sql.find("mersola_values;"); at != sql.npos && !arguments.empty())
                sql.replace(at, std::string::npos, "mersola_values(" + arguments + ")");
            if (sqlite3_exec(side.handles[0], sql.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK)
                throw std::runtime_error(sqlite3_errmsg(side.handles[0]));
        }
    }
}

Twins::~Twins() {
    for (Side& side : sides_) {
        for (int i = 0; i < kConnections; ++i) {
            sqlite3_finalize(side.readers[i]);
            sqlite3_close_v2(side.handles[i]);
        }
    }
}

std::string Twins::Run(int connection, const std::string& sql) {
    const Outcome rows = RunOn(sides_[0].handles[connection], sql);
    const Outcome packed = RunOn(sides_[1].handles[connection], sql);
    // Whoever has read may not write any more when others have written since, and to write what is
    // there already counts for one layout and not for the other.
    if ((rows.code == SQLITE_BUSY_SNAPSHOT) != (packed.code == SQLITE_BUSY_SNAPSHOT)) {
        for (const Side& side : sides_)
            sqlite3_exec(side.handles[connection], "ROLLBACK", nullptr, nullptr, nullptr);
        return {};
    }
    return Difference(rows, packed);
}

std::string Twins::ReadOn(int connection, int rows) {
    Outcome outcomes[2];
    for (int i = 0; i < 2; ++i) {
        sqlite3* db = sides_[i].handles[connection];
        sqlite3_stmt*& reader = sides_[i].readers[connection];
        if (!reader) {
            sqlite3_prepare_v2(db,
                               "SELECT * FROM MeasuredValues ORDER BY MeasValueId,Channel,FuncId,"
                               "PeriodNo,FrqId",
                               -1, &reader, nullptr);
        }
        outcomes[i] = Step(db, reader, rows);
        if (outcomes[i].code == SQLITE_ROW) continue;
        sqlite3_finalize(reader);
        reader = nullptr;
    }
    return Difference(outcomes[0], outcomes[1]);
}

void Twins::StopReading(int connection) {
    for (Side& side : sides_) {
        sqlite3_finalize(side.readers[connection]);
        side.readers[connection] = nullptr;
    }
}

std::string Twins::Convert(int connection) {
    sqlite3* const db = sides_[1].handles[connection];
    const auto run = [db](const std::string& sql) {
        return sqlite3_exec(db, sql.c_str(), nullptr, nullptr, nullptr) == SQLITE_OK;
    };
    const auto table = [](const std::string& arguments) {
        return "DROP TABLE MeasuredValues; CREATE VIRTUAL TABLE MeasuredValues USING "
               "mersola_values(" +
               arguments + ")";
    };
    if (!sqlite3_get_autocommit(db) || !run("BEGIN IMMEDIATE")) return {};
    std::string rows;
    for (const std::string_view statement : SchemaStatements(kSqlite)) {
        if (statement.find("CREATE TABLE MeasuredValues (") != statement.npos) rows = statement;
    }
    rows.replace(rows.find("MeasuredValues ("), 14, "MeasuredRows");
    const auto some =
        "SELECT mersola_" + std::string(stage_ == Stage::Packing ? "pack" : "unpack") + "(2000)";
    std::int64_t moved = -1;
    Stage next = stage_;
    bool isDone = true;
    if (stage_ == Stage::Packed) {
        isDone = run(rows) && run(table("rows=MeasuredRows, into=rows"));
        next = Stage::Unpacking;
    } else {
        sqlite3_stmt* statement = nullptr;
        isDone = sqlite3_prepare_v2(db, some.c_str(), -1, &statement, nullptr) == SQLITE_OK &&
                 sqlite3_step(statement) == SQLITE_ROW;
        if (isDone) moved = sqlite3_column_int64(statement, 0);
        sqlite3_finalize(statement);
    }
    if (moved == 0 && stage_ == Stage::Unpacking) {
        isDone = run(table("rows=MeasuredRows"));
        next = Stage::Packing;
    } else if (moved == 0) {
        isDone = run("DROP TABLE MeasuredRows") && run(table(""));
        next = Stage::Packed;
    }
    const std::string words = isDone ? "" : sqlite3_errmsg(db);
    if (isDone && run("COMMIT")) {
        stage_ = next;
    } else {
        run("ROLLBACK");
    }
    return words;
}

void Twins::Reopen(int connection) {
    StopReading(connection);
    for (Side& side : sides_) {
        if (sqlite3_close(side.handles[connection]) != SQLITE_OK)
            throw std::runtime_error("a closed connection is in use");
        side.handles[connection] = OpenAt(side.path);
    }
}

}  // namespace mersola::test
