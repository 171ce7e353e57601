// Opening and closing connections, their transactions, and running statements.
#include "connection.h"

#include <array>
#include <utility>

#include "engines/engines.h"
#include "wide_text.h"

namespace mersola::odbc {
namespace {

SQLPOINTER AsPointer(SQLULEN value) {
    return reinterpret_cast<SQLPOINTER>(value);
}

}  // namespace

Handle::Handle(SQLSMALLINT type, SQLHANDLE parent) : type_(type) {
    if (!SQL_SUCCEEDED(SQLAllocHandle(type, parent, &handle_)))
        throw _com_error(E_FAIL, "ODBC gives no handle", kSource);
    if (type == SQL_HANDLE_ENV)
        SQLSetEnvAttr(handle_, SQL_ATTR_ODBC_VERSION, AsPointer(SQL_OV_ODBC3), 0);
}

std::vector<std::string> InstalledDrivers() {
    const Handle environment(SQL_HANDLE_ENV, SQL_NULL_HANDLE);
    std::vector<std::string> names;
    std::array<SQLCHAR, 256> name{};
    SQLSMALLINT length = 0;
    while (SQL_SUCCEEDED(SQLDrivers(environment.Get(), SQL_FETCH_NEXT, name.data(),
                                    static_cast<SQLSMALLINT>(name.size()), &length, nullptr, 0,
                                    nullptr))) {
        names.emplace_back(reinterpret_cast<const char*>(name.data()));
    }
    return names;
}

Connection::Connection(const ConnectText& connect, long loginSeconds, long commandSeconds)
    : environment_(SQL_HANDLE_ENV, SQL_NULL_HANDLE),
      connection_(SQL_HANDLE_DBC, environment_.Get()),
      secrets_(connect.secrets),
      commandSeconds_(commandSeconds) {
    Set(SQL_ATTR_LOGIN_TIMEOUT, static_cast<SQLULEN>(loginSeconds));
    WideText text = Wide(connect.text);
    if (!SQL_SUCCEEDED(SQLDriverConnectW(Get(), nullptr, text.data(), SQL_NTS, nullptr, 0, nullptr,
                                         SQL_DRIVER_NOPROMPT)))
        throw ConnectFailure(DiagnosesOf(SQL_HANDLE_DBC, Get()));
    open_ = true;
    const std::string name = Info(SQL_DBMS_NAME);
    engine_ = FindEngine(name);
    if (!engine_) {
        Disconnect();
        throw _com_error(E_FAIL, UnknownEngine(name).c_str(), kSource);
    }
    Set(SQL_ATTR_TXN_ISOLATION, SQL_TXN_READ_COMMITTED);
}

Connection::~Connection() {
    Disconnect();
}

void Connection::Disconnect() {
    if (!std::exchange(open_, false)) return;
    if (std::exchange(inTransaction_, false)) {
        try {
            Run(engine_->rollback);  // a server would do it some time later
        } catch (const _com_error&) {
            // The end of the connection undoes it.
        }
    }
    SQLDisconnect(Get());
}

void Connection::Begin() {
    Run(engine_->begin);
    inTransaction_ = true;
}

void Connection::Commit() {
    Run("COMMIT");
    inTransaction_ = false;
}

void Connection::Rollback() {
    inTransaction_ = false;
    try {
        Run(engine_->rollback);
    } catch (const _com_error& error) {
        // After a grave error the engine has rolled back by itself.
        if (error.Error() == DB_E_ERRORSINCOMMAND) return;
        Disconnect();  // this ends the transaction for certain
        throw;
    }
}

void Connection::Run(const char* sql) const {
    const Handle statement(SQL_HANDLE_STMT, Get());
    SQLSetStmtAttr(statement.Get(), SQL_ATTR_QUERY_TIMEOUT,
                   AsPointer(static_cast<SQLULEN>(commandSeconds_)), 0);
    std::string text(sql);
    Check(SQLExecDirect(statement.Get(), reinterpret_cast<SQLCHAR*>(text.data()), SQL_NTS),
          SQL_HANDLE_STMT, statement.Get());
}

void Connection::Set(SQLINTEGER attribute, SQLULEN value) {
    SQLSetConnectAttr(Get(), attribute, AsPointer(value), 0);  // not all drivers know each
}

std::string Connection::Info(SQLUSMALLINT which) const {
    std::array<char, 256> text{};
    SQLSMALLINT length = 0;
    Check(SQLGetInfo(Get(), which, text.data(), static_cast<SQLSMALLINT>(text.size()), &length),
          SQL_HANDLE_DBC, Get());
    return text.data();
}

void Connection::Check(SQLRETURN code, SQLSMALLINT type, SQLHANDLE handle) const {
    if (SQL_SUCCEEDED(code) || code == SQL_NO_DATA) return;
    throw DiagnosesOf(type, handle).front().Translated();
}

std::vector<Diagnosis> Connection::DiagnosesOf(SQLSMALLINT type, SQLHANDLE handle) const {
    auto diagnoses = Diagnoses(type, handle, secrets_, engine_);
    SQLUINTEGER dead = SQL_CD_FALSE;
    if (Diagnosis& first = diagnoses.front();
        open_ && first.state == "HY000" &&
        SQL_SUCCEEDED(SQLGetConnectAttr(Get(), SQL_ATTR_CONNECTION_DEAD, &dead, 0, nullptr)) &&
        dead == SQL_CD_TRUE)
        first.words = "The connection was lost: " + first.words;  // drivers may know no words
    return diagnoses;
}

Statement::Statement(std::shared_ptr<const Connection> connection)
    : connection_(std::move(connection)) {
    if (!connection_->IsOpen()) throw _com_error(E_FAIL, "The connection was lost", kSource);
    connection_->Check(SQLAllocHandle(SQL_HANDLE_STMT, connection_->Get(), &statement_),
                       SQL_HANDLE_DBC, connection_->Get());
    Set(SQL_ATTR_QUERY_TIMEOUT, static_cast<SQLULEN>(connection_->CommandSeconds()));
    Set(SQL_ATTR_NOSCAN, SQL_NOSCAN_ON);
}

Statement::~Statement() {
    // The statements of a connection have ended with it.
    if (statement_ && connection_->IsOpen()) SQLFreeHandle(SQL_HANDLE_STMT, statement_);
}

Statement::Statement(Statement&& other) noexcept
    : connection_(other.connection_), statement_(std::exchange(other.statement_, nullptr)) {}

bool Statement::Set(SQLINTEGER attribute, SQLULEN value) const {
    return SQLSetStmtAttr(statement_, attribute, AsPointer(value), 0) == SQL_SUCCESS;
}

void Statement::Point(SQLINTEGER attribute, void* where) const {
    SQLSetStmtAttr(statement_, attribute, where, 0);
}

void Statement::Execute(std::string_view sql) const {
    if (EngineOf().textForm == TextForm::Utf8) {
        std::string text(sql);
        return Check(SQLExecDirect(statement_, reinterpret_cast<SQLCHAR*>(text.data()), SQL_NTS));
    }
    Check(SQLExecDirectW(statement_, Wide(sql).data(), SQL_NTS));
}

void Statement::Prepare(std::string_view sql) const {
    if (EngineOf().textForm == TextForm::Utf8) {
        std::string text(sql);
        return Check(SQLPrepare(statement_, reinterpret_cast<SQLCHAR*>(text.data()), SQL_NTS));
    }
    Check(SQLPrepareW(statement_, Wide(sql).data(), SQL_NTS));
}

void Statement::Close() const {
    if (!connection_->IsOpen()) return;
    SQLFreeStmt(statement_, SQL_CLOSE);
    SQLFreeStmt(statement_, SQL_UNBIND);
    Set(SQL_ATTR_ROW_ARRAY_SIZE, 1);
    Point(SQL_ATTR_ROW_STATUS_PTR, nullptr);
    Point(SQL_ATTR_ROWS_FETCHED_PTR, nullptr);
}

SQLSMALLINT Statement::ColumnCount() const {
    SQLSMALLINT count = 0;
    Check(SQLNumResultCols(statement_, &count));
    return count;
}

std::string Statement::ColumnName(SQLUSMALLINT column) const {
    std::array<SQLWCHAR, 256> name{};
    SQLSMALLINT bytes = 0;
    Check(SQLColAttributeW(statement_, column, SQL_DESC_NAME, name.data(),
                           static_cast<SQLSMALLINT>(sizeof name), &bytes, nullptr));
    return Utf8(std::span(name).first(static_cast<std::size_t>(bytes) / sizeof(SQLWCHAR)));
}

SQLLEN Statement::ColumnNumber(SQLUSMALLINT column, SQLUSMALLINT field) const {
    SQLLEN number = 0;
    Check(SQLColAttributeW(statement_, column, field, nullptr, 0, nullptr, &number));
    return number;
}

void Statement::Check(SQLRETURN code) const {
    connection_->Check(code, SQL_HANDLE_STMT, statement_);
}

}  // namespace mersola::odbc
