// An ODBC connection and its statements. Their handles are freed by their owners, and codes of
// failure raise.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "connect_text.h"
#include "errors.h"

namespace mersola::odbc {

/// The names of the installed drivers.
std::vector<std::string> InstalledDrivers();

/// A handle of any type. It is freed at the end of its object's life.
class Handle {
  public:
    Handle(SQLSMALLINT type, SQLHANDLE parent);
    ~Handle() { SQLFreeHandle(type_, handle_); }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;

    SQLHANDLE Get() const { return handle_; }

  private:
    SQLSMALLINT type_;
    SQLHANDLE handle_ = nullptr;
};

/// An open connection. It commits each statement by itself, except between Begin and Commit or
/// Rollback.
class Connection {
  public:
    /// Opens a connection. Time-outs are in seconds; 0 waits without end. Raises for an engine that
    /// is not known, too.
    Connection(const ConnectText& connect, long loginSeconds, long commandSeconds);
    ~Connection();

    /// Ends all statements and the connection. What was not committed is undone.
    void Disconnect();
    bool IsOpen() const { return open_; }
    SQLHDBC Get() const { return connection_.Get(); }
    const Engine& EngineOf() const { return *engine_; }
    long CommandSeconds() const { return commandSeconds_; }

    bool InTransaction() const { return inTransaction_; }
    void Begin();
    void Commit();
    void Rollback();
    /// Runs a statement that gives no rows.
    void Run(const char* sql) const;

    /// Raises what the handle's first diagnostic record says, unless the code is a success.
    void Check(SQLRETURN code, SQLSMALLINT type, SQLHANDLE handle) const;
    std::vector<Diagnosis> DiagnosesOf(SQLSMALLINT type, SQLHANDLE handle) const;

  private:
    void Set(SQLINTEGER attribute, SQLULEN value);
    std::string Info(SQLUSMALLINT which) const;

    Handle environment_;
    Handle connection_;
    Secrets secrets_;
    const Engine* engine_ = nullptr;  // until it is told
    long commandSeconds_;
    bool open_ = false;
    bool inTransaction_ = false;
};

/// A statement of a connection. It may outlive the connection, but is of no use then.
class Statement {
  public:
    explicit Statement(std::shared_ptr<const Connection> connection);
    ~Statement();
    Statement(Statement&& other) noexcept;
    Statement& operator=(Statement&&) = delete;

    SQLHSTMT Get() const { return statement_; }
    const Engine& EngineOf() const { return connection_->EngineOf(); }
    /// Sets an attribute. False when the driver refuses it, or takes another value instead.
    bool Set(SQLINTEGER attribute, SQLULEN value) const;
    void Point(SQLINTEGER attribute, void* where) const;
    void Execute(std::string_view sql) const;
    void Prepare(std::string_view sql) const;
    void ExecutePrepared() const { Check(SQLExecute(statement_)); }
    /// Ends the result and unbinds its columns. The statement can then be executed again.
    void Close() const;
    SQLSMALLINT ColumnCount() const;
    std::string ColumnName(SQLUSMALLINT column) const;
    SQLLEN ColumnNumber(SQLUSMALLINT column, SQLUSMALLINT field) const;
    void Check(SQLRETURN code) const;
    std::vector<Diagnosis> DiagnosesNow() const {
        return connection_->DiagnosesOf(SQL_HANDLE_STMT, statement_);
    }

  private:
    std::shared_ptr<const Connection> connection_;
    SQLHSTMT statement_ = nullptr;
};

}  // namespace mersola::odbc
