#include "database.h"

#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <stdexcept>

#include "schema.h"
#include "watched_provider.h"

namespace mersola::test {

TemporaryFolder::TemporaryFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "mersola-test-XXXXXX").string();
    if (!mkdtemp(name.data())) throw std::runtime_error("no temporary folder");
    path_ = name;
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

Database::Database(const std::string& engine) {
    if (engine != "SQLite") throw std::runtime_error("unknown engine " + engine);
    std::ofstream(Path()).close();
    const auto& layout = SchemaStatements(SchemaEngine::SQLite);
    Run({layout.begin(), layout.end()});
}

std::string Database::ConnectString(const std::string& extra) const {
    // Durability is for the tests that kill processes; the others need not wait for the disk.
    return "Provider=SQLite;Synchronous=NORMAL;Data Source={" + Path() + "};" + extra;
}

std::string Database::WatchedString() const {
    RegisterWatchedProvider();
    return "Provider=Watched;Data Source={" + Path() + "}";
}

void Database::Run(const std::vector<std::string>& statements) const {
    const _ConnectionPtr connection = _Connection::CreateInstance();
    connection->Open(ConnectString(), "", "");
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
    return {"SQLite"};
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
