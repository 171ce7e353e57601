#include "database.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <stdexcept>

#include "engines/engines.h"
#include "odbc/connection.h"
#include "schema/schema.h"
#include "schema/tables.h"
#include "watched_provider.h"

namespace mersola::test {

/// A way to an engine.
struct Target {
    const char* name;
    const Engine& engine;
    const char* variable;     // of the environment: a connection string; null for a file
    const char* driver;       // of ODBC, for a file; null for the library's own provider
    const char* numberedKey;  // a column's type
    bool speaksTds = false;   // reaches its file through a server
    Layout layout = Layout::Rows;
};

namespace {

constexpr Target kTargets[]{
    {"SQLite", kSqlite, nullptr, nullptr, "INTEGER PRIMARY KEY"},
    {.name = "SQLitePacked",
     .engine = kSqlite,
     .variable = nullptr,
     .driver = nullptr,
     .numberedKey = "INTEGER PRIMARY KEY",
     .layout = Layout::Packed},
    {"ODBC", kSqlite, nullptr, "SQLite3", "INTEGER PRIMARY KEY"},
    {"FreeTDS", kSqlServer, nullptr, "FreeTDS", "int IDENTITY NOT NULL PRIMARY KEY", true},
    {"SQLServer", kSqlServer, "MERSOLA_TEST_SQLSERVER", nullptr,
     "int IDENTITY NOT NULL PRIMARY KEY"},
};

std::string WhyMissing(const Target& target) {
    if (target.variable && !std::getenv(target.variable))
        return std::string(target.variable) + " holds no connection string";
    const auto drivers = odbc::InstalledDrivers();
    if (target.driver && std::ranges::find(drivers, target.driver) == drivers.end())
        return std::string("the ODBC driver ") + target.driver +
               " is not installed (scripts/setup does it)";
    return {};
}

}  // namespace

Database::Database(const std::string& name)
    : target_(std::ranges::find(kTargets, name, &Target::name)),
      needsServer_(target_->variable != nullptr),
      missing_(WhyMissing(*target_)) {
    if (!missing_.empty()) target_ = kTargets;  // for what is set up before the test is skipped
    if (IsServer()) {
        DropTables();
    } else {
        std::ofstream(Path()).close();
    }
    if (target_->speaksTds) server_ = std::make_unique<TdsServer>(std::vector{Path()});
    LayOut();
}

Database::~Database() {
    if (IsServer()) DropTables();
}

const Engine& Database::EngineOf() const {
    return target_->engine;
}

bool Database::IsServer() const {
    return target_->variable;
}

double Database::AsRead(double value) const {
    if (!target_->driver || server_) return value;
    char digits[32];
    std::snprintf(digits, sizeof digits, "%.15g", value);
    return std::strtod(digits, nullptr);
}

void Database::LayOut() const {
    const auto& layout = SchemaStatements(EngineOf(), target_->layout);
    std::vector<std::string> statements(layout.begin(), layout.end());
    const bool served = IsServer() || server_;
    if (!served)
        statements.insert(statements.begin(),
                          {"PRAGMA auto_vacuum=INCREMENTAL", "PRAGMA journal_mode=WAL"});
    Run(statements, served ? ConnectString() : FileString());
    for (const std::string_view option : SchemaOptions(EngineOf()))
        TryToRun(std::string(option));
}

void Database::NumberRows() const {
    const std::string key = std::string(" ") + target_->numberedKey + ",";
    for (const auto& [table, column] :
         {std::pair("Markers", " MarkerKey"), std::pair("VersionHistory", " VersionKey")}) {
        const std::string head = std::string("CREATE TABLE ") + table + " (";
        for (const auto statement : SchemaStatements(EngineOf(), target_->layout)) {
            std::string numbered(statement);
            const auto at = numbered.find(head);
            if (at == numbered.npos) continue;
            numbered.insert(at + head.size(), column + key);
            Run({std::string("DROP TABLE ") + table, numbered});
        }
    }
}

void Database::DropTables() const {
    for (const StoredTable table : kStoredTables)
        TryToRun(std::string("DROP TABLE ") + NameOf(table));
}

void Database::TryToRun(const std::string& statement) const {
    try {
        Run({statement});
    } catch (const _com_error&) {
        // There is no such table, or the server does not know the option.
    }
}

// Durability is for power cuts: also the tests that kill processes need not wait for the disk.
std::string Database::FileString() const {
    return "Provider=SQLite;Synchronous=NORMAL;Data Source={" + Path() + "};";
}

std::string Database::ConnectString(const std::string& extra) const {
    if (IsServer()) return std::string(std::getenv(target_->variable)) + ";" + extra;
    if (!target_->driver) return FileString() + extra;
    if (server_) return ConnectStringBy(server_->Port()) + extra;
    return std::string("Driver={") + target_->driver + "};SyncPragma=NORMAL;Database=" + Path() +
           ";" + extra;
}

std::string Database::ConnectStringBy(const std::string& port) const {
    return "Provider=MSOLEDBSQL;Driver={FreeTDS};Data Source=127.0.0.1," + port + ";UID=me;PWD=x;";
}

std::string Database::WatchedString() const {
    RegisterWatchedProvider();
    return ConnectString() + kWatched;
}

void Database::Run(const std::vector<std::string>& statements) const {
    Run(statements, ConnectString());
}

void Database::Run(const std::vector<std::string>& statements,
                   const std::string& connectString) const {
    const _ConnectionPtr connection = _Connection::CreateInstance();
    connection->Open(connectString, "", "");
    for (const std::string& statement : statements) {
        _Recordset().Open(statement, connection, adOpenKeyset, adLockOptimistic, adCmdText);
    }
}

std::string Database::Ask(const std::string& statement) const {
    const _ConnectionPtr connection = _Connection::CreateInstance();
    connection->Open(ConnectString(), "", "");
    _Recordset rows;
    rows.Open(statement, connection, adOpenKeyset, adLockOptimistic, adCmdText);
    return rows.EndOfFile() ? std::string() : std::string(rows.Fields(0).Text().View());
}

bool IsRequired(bool needsServer) {
    const char* given = std::getenv("MERSOLA_REQUIRE_ALL_PROVIDERS");
    const std::string_view required = given ? given : "";
    return required == "1" || (required == "drivers" && !needsServer);
}

std::vector<std::string> Engines() {
    std::vector<std::string> names;
    for (const Target& target : kTargets)
        names.emplace_back(target.name);
    return names;
}

ShownMessages::ShownMessages()
    : before_(SetMessageBoxHandler([this](const char* text, unsigned) {
          texts.emplace_back(text);
          return IDOK;
      })) {}

ShownMessages::~ShownMessages() {
    SetMessageBoxHandler(before_);
}

}  // namespace mersola::test
