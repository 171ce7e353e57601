// Batches and blocks over ODBC: the library beside plain ODBC calls on the same driver. That is
// SQLite's, or that of the server which the connection string in MERSOLA_TEST_SQLSERVER names. The
// database there LOSES the tables of the schema.
#include <algorithm>
#include <array>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <vector>

#include <sql.h>
#include <sqlext.h>

#include <benchmark/benchmark.h>

#include "contest.h"
#include "database.h"
#include "engines/sqlserver.h"
#include "odbc/connect_text.h"
#include "odbc/connection.h"
#include "recorder.h"
#include "schema/schema.h"

namespace {

constexpr int kChannel = 2;
constexpr int kFunction = 3;
constexpr int kPeriods = 1500;
constexpr std::size_t kBlock = 1000;
constexpr float kMissing = -100.0F;

// The database of a benchmark, laid out and empty.
class Target {
  public:
    Target() {
        const char* server = std::getenv("MERSOLA_TEST_SQLSERVER");
        isServer_ = server != nullptr;
        if (!isServer_) LayOut(OpenDatabase(path_).get());
        connectString_ = isServer_ ? server : "Driver={SQLite3};Database=" + path_;
        if (isServer_) LayOutServer();
    }
    ~Target() {
        if (isServer_) Drop();
    }
    Target(const Target&) = delete;
    Target& operator=(const Target&) = delete;

    const std::string& ConnectString() const { return connectString_; }
    /// What the driver itself takes.
    std::string DriverText() const {
        const mersola::ado::ConnectionString properties(connectString_);
        return mersola::odbc::MakeConnectText(
                   {.properties = properties, .user = "", .password = ""},
                   mersola::odbc::InstalledDrivers())
            .text;
    }
    /// The number and the sum of the values under a key.
    std::string Digest(int measValueId) const {
        _Recordset rows;
        Run("SELECT count(*),sum(Value*(PeriodNo+FrqId*3+FuncId*7+Channel*11)) FROM MeasuredValues "
            "WHERE Status='' AND MeasValueId=" +
                std::to_string(measValueId),
            rows);
        return std::string(rows.Fields(0).Text().View()) + ' ' +
               std::string(rows.Fields(1).Text().View());
    }

  private:
    void Run(const std::string& statement, _Recordset& rows) const {
        const _ConnectionPtr connection = _Connection::CreateInstance();
        connection->Open(connectString_, "", "");
        rows.Open(statement, connection, adOpenKeyset, adLockOptimistic, adCmdText);
    }
    void TryToRun(const std::string& statement) const try {
        _Recordset rows;
        Run(statement, rows);
    } catch (const _com_error&) {
        // There is no such table, or the server does not know the option.
    }
    void Drop() const {
        for (const char* table :
             {"Groups", "Measurements", "Reports", "MeasValueMap", "MeasuredFunctions",
              "MeasuredValues", "Markers", "FuncNameMap", "FrqNameMap", "VersionHistory"}) {
            TryToRun(std::string("DROP TABLE ") + table);
        }
    }
    void LayOutServer() const {
        Drop();
        for (const auto statement : mersola::SchemaStatements(mersola::kSqlServer)) {
            _Recordset rows;
            Run(std::string(statement), rows);
        }
        for (const auto option : mersola::SchemaOptions(mersola::kSqlServer))
            TryToRun(std::string(option));
    }

    TemporaryFolder folder_;
    std::string path_ = (folder_ / "benchmark.db").string();
    std::string connectString_;
    bool isServer_ = false;
};

void Require(SQLRETURN code) {
    if (!SQL_SUCCEEDED(code) && code != SQL_NO_DATA)
        throw std::runtime_error("An ODBC call failed");
}

SQLPOINTER AsPointer(SQLULEN value) {
    return reinterpret_cast<SQLPOINTER>(value);
}

SQLCHAR* AsText(const char* text) {
    return reinterpret_cast<SQLCHAR*>(const_cast<char*>(text));
}

// A program that uses ODBC by itself: what never changes is prepared and bound once.
class PlainOdbc {
  public:
    PlainOdbc(const std::string& connectText, int measValueId) : measValueId_(measValueId) {
        Require(SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &environment_));
        Require(SQLSetEnvAttr(environment_, SQL_ATTR_ODBC_VERSION, AsPointer(SQL_OV_ODBC3), 0));
        Require(SQLAllocHandle(SQL_HANDLE_DBC, environment_, &connection_));
        Require(SQLDriverConnect(connection_, nullptr, AsText(connectText.c_str()), SQL_NTS,
                                 nullptr, 0, nullptr, SQL_DRIVER_NOPROMPT));
        Require(SQLAllocHandle(SQL_HANDLE_STMT, connection_, &insert_));
        Require(SQLAllocHandle(SQL_HANDLE_STMT, connection_, &select_));
        PrepareInsert();
        PrepareSelect();
    }
    ~PlainOdbc() {
        SQLFreeHandle(SQL_HANDLE_STMT, insert_);
        SQLFreeHandle(SQL_HANDLE_STMT, select_);
        SQLDisconnect(connection_);
        SQLFreeHandle(SQL_HANDLE_DBC, connection_);
        SQLFreeHandle(SQL_HANDLE_ENV, environment_);
    }
    PlainOdbc(const PlainOdbc&) = delete;
    PlainOdbc& operator=(const PlainOdbc&) = delete;

    // One period in one transaction.
    void Write() {
        std::size_t row = 0;
        ForEachValue([&](int channel, int function, int band) {
            const std::array numbers{measValueId_, period_, channel, function, band};
            for (std::size_t i = 0; i < numbers.size(); ++i)
                integers_[i][row] = numbers[i];
            reals_[row] = Level(period_, band);
            ++row;
        });
        ++period_;
        Require(
            SQLSetConnectAttr(connection_, SQL_ATTR_AUTOCOMMIT, AsPointer(SQL_AUTOCOMMIT_OFF), 0));
        Require(SQLExecute(insert_));
        Require(SQLEndTran(SQL_HANDLE_DBC, connection_, SQL_COMMIT));
        Require(
            SQLSetConnectAttr(connection_, SQL_ATTR_AUTOCOMMIT, AsPointer(SQL_AUTOCOMMIT_ON), 0));
    }

    // What GetData does.
    void Read(std::vector<float>& block) {
        std::ranges::fill(block, kMissing);
        arguments_ = {measValueId_, kChannel, kFunction, 0, kPeriods, 0, kBands};
        Require(SQLExecute(select_));
        while (SQL_SUCCEEDED(SQLFetch(select_))) {
            for (SQLULEN row = 0; row < fetched_; ++row) {
                const auto at = static_cast<std::size_t>(integers_[1][row]) * kBands +
                                static_cast<std::size_t>(integers_[4][row]);
                const bool invalid = statuses_[row][0] == 'A' || lengths_[5][row] == SQL_NULL_DATA;
                block[at] = invalid ? kMissing : static_cast<float>(reals_[row]);
            }
        }
        Require(SQLFreeStmt(select_, SQL_CLOSE));
    }

  private:
    void PrepareInsert() {
        Require(SQLPrepare(insert_,
                           AsText("INSERT INTO MeasuredValues (MeasValueId,PeriodNo,Channel,FuncId,"
                                  "FrqId,Value,Status) VALUES (?,?,?,?,?,?,?)"),
                           SQL_NTS));
        Require(SQLSetStmtAttr(insert_, SQL_ATTR_PARAMSET_SIZE, AsPointer(kValuesOfPeriod), 0));
        for (std::size_t i = 0; i < integers_.size(); ++i) {
            Require(SQLBindParameter(insert_, static_cast<SQLUSMALLINT>(i + 1), SQL_PARAM_INPUT,
                                     SQL_C_SBIGINT, SQL_INTEGER, 0, 0, integers_[i].data(), 0,
                                     lengths_[i].data()));
        }
        Require(SQLBindParameter(insert_, 6, SQL_PARAM_INPUT, SQL_C_DOUBLE, SQL_DOUBLE, 0, 0,
                                 reals_.data(), 0, lengths_[5].data()));
        Require(SQLBindParameter(insert_, 7, SQL_PARAM_INPUT, SQL_C_CHAR, SQL_VARCHAR, 8, 0,
                                 statuses_.data(), sizeof statuses_[0], lengths_[6].data()));
    }

    void PrepareSelect() {
        Require(SQLPrepare(
            select_,
            AsText("SELECT * FROM MeasuredValues where MeasValueId=? and Channel=? and FuncId=? "
                   "and PeriodNo>=? and PeriodNo<? and FrqId>=? and FrqId<? ORDER BY "
                   "PeriodNo,FrqId"),
            SQL_NTS));
        for (std::size_t i = 0; i < arguments_.size(); ++i) {
            Require(SQLBindParameter(select_, static_cast<SQLUSMALLINT>(i + 1), SQL_PARAM_INPUT,
                                     SQL_C_SLONG, SQL_INTEGER, 0, 0, &arguments_[i], 0, nullptr));
        }
        Require(SQLSetStmtAttr(select_, SQL_ATTR_ROW_ARRAY_SIZE, AsPointer(kBlock), 0));
        Require(SQLSetStmtAttr(select_, SQL_ATTR_ROWS_FETCHED_PTR, &fetched_, 0));
        for (std::size_t i = 0; i < integers_.size(); ++i) {
            Require(SQLBindCol(select_, static_cast<SQLUSMALLINT>(i + 1), SQL_C_SBIGINT,
                               integers_[i].data(), 0, lengths_[i].data()));
        }
        Require(SQLBindCol(select_, 6, SQL_C_DOUBLE, reals_.data(), 0, lengths_[5].data()));
        Require(SQLBindCol(select_, 7, SQL_C_CHAR, statuses_.data(), sizeof statuses_[0],
                           lengths_[6].data()));
    }

    SQLHENV environment_ = nullptr;
    SQLHDBC connection_ = nullptr;
    SQLHSTMT insert_ = nullptr;
    SQLHSTMT select_ = nullptr;
    int measValueId_;
    int period_ = 0;
    SQLULEN fetched_ = 0;
    std::array<SQLINTEGER, 7> arguments_{};
    std::array<std::array<SQLBIGINT, kBlock>, 5> integers_{};
    std::array<double, kBlock> reals_{};
    std::array<std::array<char, 64>, kBlock> statuses_{};
    std::array<std::array<SQLLEN, kBlock>, 7> lengths_{};
};

void PutPeriod(Mersola& session, int period) {
    static const CString status;
    const _RecordsetPtr batch = session.PutDataStart(nullptr);
    bool written = true;
    ForEachValue([&](int channel, int function, int band) {
        long next = 0;
        written &= session.PutDataRelative(Level(period, band), status, period, function, channel,
                                           band, false, next, true, batch);
    });
    if (!written || !session.PutDataEnd(batch)) throw std::runtime_error("A value was not written");
}

void Batches(benchmark::State& state) {
    const Target target;
    Recorder recorder("", target.ConnectString());
    const int own = recorder.MeasValueId(), rivals = own + 1;  // in the same table
    PlainOdbc plain(target.DriverText(), rivals);
    int period = 0;
    Contest contest;
    contest.Enter("ODBC, an array of parameters", [&] { plain.Write(); });
    contest.Enter("PutDataStart, PutDataRelative, PutDataEnd",
                  [&] { PutPeriod(recorder.Session(), period++); });
    contest.Run(state, kValuesOfPeriod);
    if (target.Digest(own) != target.Digest(rivals)) state.SkipWithError("the rows differ");
}

void Blocks(benchmark::State& state) {
    const Target target;
    Recorder recorder("", target.ConnectString());
    Mersola& session = recorder.Session();
    PlainOdbc plain(target.DriverText(), recorder.MeasValueId());
    session.BeginTrans();
    for (int period = 0; period < kPeriods; ++period)
        PutPeriod(session, period);
    session.CommitTrans();
    session.SetChannel(kChannel);
    session.SetFunction(kFunction);
    std::vector<float> expected(kPeriods * kBands);
    std::vector<float> block(kPeriods * kBands);
    Contest contest;
    contest.Enter("ODBC, bound columns", [&] { plain.Read(expected); });
    contest.Enter("GetData", [&] { session.GetData(block.data(), 0, kPeriods, 0, kBands); });
    contest.Run(state, kPeriods * kBands);
    if (block != expected || std::ranges::count(block, kMissing) > 0)
        state.SkipWithError("the blocks differ");
}

BENCHMARK(Batches)->Iterations(300)->Unit(benchmark::kMillisecond);
BENCHMARK(Blocks)->Iterations(60)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
