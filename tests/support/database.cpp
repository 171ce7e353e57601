#include "database.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <stdexcept>

#include "odbc/connection.h"
#include "schema/schema.h"
#include "watched_provider.h"

namespace mersola::test {
namespace {

constexpr const char* kServerVariable = "MERSOLA_TEST_SQLSERVER";
constexpr const char* kSqliteDriver = "SQLite3";

}  // namespace

Database::Database(const std::string& engine) : engine_(engine) {
    const auto drivers = odbc::InstalledDrivers();
    if (engine == "ODBC" && std::ranges::find(drivers, kSqliteDriver) == drivers.end()) {
        missing_ = "the ODBC driver SQLite3 (Debian: libsqliteodbc) is not installed";
    } else if (engine == "SQLServer" && !std::getenv(kServerVariable)) {
        missing_ = std::string(kServerVariable) + " holds no connection string";
    }
    if (!missing_.empty()) engine_ = "SQLite";  // for what is set up before the test is skipped
    if (IsServer()) {
        DropTables();
    } else {
        std::ofstream(Path()).close();
    }
    LayOut();
}

Database::~Database() {
    if (IsServer()) DropTables();
}

double Database::AsRead(double value) const {
    if (engine_ != "ODBC") return value;
    char digits[32];
    std::snprintf(digits, sizeof digits, "%.15g", value);
    return std::strtod(digits, nullptr);
}

void Database::LayOut() const {
    const auto& layout =
        SchemaStatements(IsServer() ? SchemaEngine::SqlServer : SchemaEngine::SQLite);
    Run({layout.begin(), layout.end()}, IsServer() ? ConnectString() : FileString());
    if (IsServer()) {
        for (const std::string_view option : SchemaOptions(SchemaEngine::SqlServer))
            TryToRun(std::string(option));
    }
}

void Database::NumberRows() const {
    const std::string key =
        IsServer() ? " int IDENTITY NOT NULL PRIMARY KEY," : " INTEGER PRIMARY KEY,";
    for (const auto& [table, column] :
         {std::pair("Markers", " MarkerKey"), std::pair("VersionHistory", " VersionKey")}) {
        const std::string head = std::string("CREATE TABLE ") + table + " (";
        for (const auto statement :
             SchemaStatements(IsServer() ? SchemaEngine::SqlServer : SchemaEngine::SQLite)) {
            std::string numbered(statement);
            const auto at = numbered.find(head);
            if (at == numbered.npos) continue;
            numbered.insert(at + head.size(), column + key);
            Run({std::string("DROP TABLE ") + table, numbered});
        }
    }
}

void Database::DropTables() const {
    for (const char* table :
         {"Groups", "Measurements", "Reports", "MeasValueMap", "MeasuredFunctions",
          "MeasuredValues", "Markers", "FuncNameMap", "FrqNameMap", "VersionHistory"}) {
        TryToRun(std::string("DROP TABLE ") + table);
    }
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
    if (IsServer()) return std::string(std::getenv(kServerVariable)) + ";" + extra;
    if (engine_ == "SQLite") return FileString() + extra;
    return std::string("Driver={") + kSqliteDriver + "};SyncPragma=NORMAL;Database=" + Path() +
           ";" + extra;
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

std::vector<std::string> Engines() {
    return {"SQLite", "ODBC", "SQLServer"};
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
