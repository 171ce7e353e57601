// Databases for tests. They are laid out and empty, and go away with the test.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include <mersola/mersola.h>

#include "engines/engine.h"
#include "tds_server.h"
#include "temporary_folder.h"

namespace mersola::test {

struct Target;

/// A laid-out database of one engine, reached in one way.
///   SQLite     a file of its own, through the library's own provider
///   SQLitePacked  the same in the layout of blocks
///   ODBC       such a file through SQLite's ODBC driver
///   FreeTDS    such a file through FreeTDS's driver and a server of our own that speaks TDS: what
///              the driver does is as on SQL Server, and what the server does is nearly so
///   PostgreSQL  a schema of its own on a server that the tests start, or on the one that the
///              connection string in MERSOLA_TEST_POSTGRESQL names
///   SQLServer  the database that the connection string in MERSOLA_TEST_SQLSERVER names. It LOSES
///              the ten tables of the schema: they are dropped, laid out anew for each test, and
///              dropped in the end.
class Database {
  public:
    explicit Database(const std::string& name);
    ~Database();
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    /// Why the engine cannot be tested here; empty when it can.
    const std::string& Missing() const { return missing_; }
    /// Whether the engine that was asked for is a server, also where it is missing.
    bool NeedsServer() const { return needsServer_; }
    const Engine& EngineOf() const;
    /// A stored number as it is read: SQLite's ODBC driver keeps 15 digits of it.
    double AsRead(double value) const;
    /// So many, or a tenth of them where each statement takes long.
    int Fewer(int count) const { return server_ ? count / 10 : count; }
    /// The connection string, `extra` appended.
    std::string ConnectString(const std::string& extra = "") const;
    /// Where its server listens, for a Proxy; and the connection string by way of that. Only for a
    /// server of our own.
    std::string Address() const;
    std::string ConnectStringBy(const std::string& port) const;
    /// The same database, watched: see watched_provider.h.
    std::string WatchedString() const;
    std::string Path() const { return (folder_ / "test.db").string(); }
    /// Lays out anew the tables without a key, with the one that earlier versions gave them.
    void NumberRows() const;
    /// Runs statements on a connection of its own.
    void Run(const std::vector<std::string>& statements) const;
    /// The first field of a statement's first row, as text; empty without one.
    std::string Ask(const std::string& statement) const;

  private:
    bool IsServer() const;
    bool IsPostgresql() const;
    std::string PostgresqlString(const std::string& dataSource) const;
    std::string FileString() const;
    void LayOut() const;
    void DropTables() const;
    void TryToRun(const std::string& statement) const;
    void Run(const std::vector<std::string>& statements, const std::string& connectString) const;

    const Target* target_;
    bool needsServer_;
    std::string missing_;
    std::string schema_;  // on PostgreSQL
    TemporaryFolder folder_;
    std::unique_ptr<TdsServer> server_;
};

/// The names of the databases that the contract is tested on.
std::vector<std::string> Engines();

/// Whether it is a failure that something cannot be tested here. MERSOLA_REQUIRE_ALL_PROVIDERS says
/// so: `1` for everything, `drivers` for what needs no server; scripts/test says `drivers`.
bool IsRequired(bool needsServer);

/// Catches what AfxMessageBox shows while it lives.
class ShownMessages {
  public:
    ShownMessages();
    ~ShownMessages();
    ShownMessages(const ShownMessages&) = delete;
    ShownMessages& operator=(const ShownMessages&) = delete;

    std::vector<std::string> texts;

  private:
    MessageBoxHandler before_;
};

}  // namespace mersola::test
