// Writing packed values as they were read, and sorting out what of them is damaged.
#include <algorithm>

#include "basics/failure.h"
#include "basics/times_text.h"
#include "database/query.h"
#include "saved_database.h"

namespace mersola::tool {
namespace {

constexpr std::size_t kPiece = 200'000;          // bytes
constexpr std::int64_t kMostBytes = 16'000'000;  // in a transaction
constexpr int kMostTrials = 20'000'000;          // of data at a place

std::string Hexadecimal(std::string_view bytes) {
    constexpr const char* kDigits = "0123456789abcdef";
    std::string text = "x'";
    for (const char each : bytes) {
        const auto byte = static_cast<unsigned char>(each);
        text += kDigits[byte >> 4];
        text += kDigits[byte & 15];
    }
    return text + "'";
}

}  // namespace

void SavedDatabase::AddPacked(const StoredTree& tree, const Record& record) {
    if (!IsWhole(record)) throw Failure("a part of it cannot be read");
    const bool isNumbered = tree.name == kValueData;
    std::string values, rest;
    for (std::size_t i = 0; i < record.fields.size(); ++i) {
        const Field& field = record.fields[i];
        values += i == 0 ? "" : ",";
        if (const auto* number = std::get_if<std::int64_t>(&field)) {
            values += std::to_string(*number);
        } else if (const auto* blob = std::get_if<BlobField>(&field)) {
            values += Hexadecimal(std::string_view(blob->bytes).substr(0, kPiece));
            rest = blob->bytes.substr(std::min(kPiece, blob->bytes.size()));
            bytes_ += std::ssize(blob->bytes);
        } else if (isNumbered && i == 0) {
            values += std::to_string(record.rowid);
        } else {
            throw Failure("it holds something else");
        }
    }
    const std::int64_t before = Changes();
    store_.dbExecute(CString("INSERT OR IGNORE INTO " + tree.name + " VALUES (" + values + ")"));
    // A statement is a million letters long at most. A summary is made anew.
    const bool isThere = Changes() == before;
    const std::string where =
        isNumbered ? "DataId=" + std::to_string(record.rowid)
                   : "(MeasValueId,PeriodNo)=(" + values.substr(0, values.find(",x'")) + ")";
    for (std::size_t at = 0; !isThere && tree.name != kValueBlocks && at < rest.size();
         at += kPiece)
        store_.dbExecute(CString("UPDATE " + tree.name + " SET Data=CAST(Data||" +
                                 Hexadecimal(std::string_view(rest).substr(at, kPiece)) +
                                 " AS BLOB) WHERE " + where));
    if (bytes_ > kMostBytes) GoOn();
}

// What stands beside the data follows from them; blocks whose data are damaged are lost.
void SavedDatabase::TakeOutDamaged(const std::function<void(const LostBlock&)>& lose) {
    const std::string data = "(SELECT Data FROM ValueData d WHERE d.DataId=ValueBlocks.DataId)";
    const std::string key = "MeasValueId,Channel,FuncId,FirstPeriod";
    const std::string fault =
        "mersola_block_fault(" + key + ",LastPeriod," + data + ",Summary) IS NOT NULL";
    const auto from = [&](const char* what) {
        return std::string("mersola_block_") + what + "(" + key + "," + data + ")";
    };
    store_.dbExecute(CString("UPDATE OR IGNORE ValueBlocks SET FirstPeriod=" + from("first") +
                             ",LastPeriod=" + from("last") + ",Summary=" + from("summary") +
                             " WHERE " + fault + " AND " + from("last") + " IS NOT NULL"));
    const auto takeOut = [&](const std::string& which) {
        for (_Recordset& row : Rows(store_, "SELECT %s,LastPeriod FROM ValueBlocks WHERE %s",
                                    key.c_str(), which.c_str()))
            lose({row.Fields(0).Long(), std::pair(row.Fields(1).Long(), row.Fields(2).Long()),
                  row.Fields(3).Long(), row.Fields(4).Long()});
        Query(store_, "DELETE FROM ValueBlocks WHERE %s", which.c_str());
    };
    takeOut(fault);
    // Of two in one place one is older.
    takeOut(
        "EXISTS (SELECT 1 FROM ValueBlocks b WHERE b.MeasValueId=ValueBlocks.MeasValueId AND "
        "b.Channel=ValueBlocks.Channel AND b.FuncId=ValueBlocks.FuncId AND b.FirstPeriod BETWEEN "
        "(ValueBlocks.FirstPeriod&-128) AND (ValueBlocks.FirstPeriod|127) AND "
        "(b.DataId,b.FirstPeriod)>(ValueBlocks.DataId,ValueBlocks.FirstPeriod))");
    FindPlaces();
    const char* pending = "mersola_period_fault(MeasValueId,PeriodNo,Data) IS NOT NULL";
    for (_Recordset& row :
         Rows(store_, "SELECT MeasValueId,PeriodNo FROM PendingValues WHERE %s", pending))
        lose({row.Fields(0).Long(), std::nullopt, row.Fields(1).Long(), row.Fields(1).Long()});
    Query(store_, "DELETE FROM PendingValues WHERE %s", pending);
}

// Data whose row of ValueBlocks is lost fit at one place only, which their checksum tells: it is
// one of those where a series that is known has no block.
void SavedDatabase::FindPlaces() {
    const char* strays = "DataId NOT IN (SELECT DataId FROM ValueBlocks)";
    Query(store_, "CREATE TEMP TABLE Strays AS SELECT DataId FROM ValueData WHERE %s", strays);
    const std::int32_t found = Query(store_, "SELECT count(*) FROM Strays")->Fields(0).Long();
    if (found > 0) {
        store_.dbExecute(
            "CREATE TEMP TABLE Bounds AS SELECT MeasValueId,min(First)-1 AS First,"
            "max(Last)+1 AS Last FROM (SELECT MeasValueId,FirstPeriod>>7 AS First,"
            "LastPeriod>>7 AS Last FROM ValueBlocks UNION ALL "
            "SELECT MeasValueId,PeriodNo>>7,PeriodNo>>7 FROM PendingValues UNION ALL "
            "SELECT MeasValueId,0,noOfPeriods>>7 FROM MeasValueMap JOIN Reports "
            "USING (GroupId,MeasId,ReportId)) GROUP BY MeasValueId");
        Query(store_,
              "INSERT OR IGNORE INTO ValueBlocks "
              "WITH Numbers AS (SELECT MeasValueId,First AS Number,Last FROM Bounds UNION ALL "
              "SELECT MeasValueId,Number+1,Last FROM Numbers WHERE Number<Last LIMIT %d),"
              "Series AS (SELECT DISTINCT MeasValueId,Channel,FuncId FROM ValueBlocks UNION "
              "SELECT MeasValueId,Channel,FuncId FROM MeasValueMap JOIN MeasuredFunctions "
              "USING (GroupId,MeasId,ReportId)),"
              "Places AS (SELECT s.MeasValueId,s.Channel,s.FuncId,Number<<7 AS Begin "
              "FROM Numbers n JOIN Series s ON s.MeasValueId=n.MeasValueId WHERE NOT EXISTS "
              "(SELECT 1 FROM ValueBlocks b WHERE b.MeasValueId=s.MeasValueId AND "
              "b.Channel=s.Channel AND b.FuncId=s.FuncId AND "
              "b.FirstPeriod BETWEEN Number<<7 AND (Number<<7)+127) LIMIT %d) "
              "SELECT MeasValueId,Channel,FuncId,"
              "mersola_block_first(MeasValueId,Channel,FuncId,Begin,Data),"
              "mersola_block_last(MeasValueId,Channel,FuncId,Begin,Data),DataId,"
              "mersola_block_summary(MeasValueId,Channel,FuncId,Begin,Data) "
              "FROM Places CROSS JOIN Strays CROSS JOIN ValueData USING (DataId) WHERE "
              "mersola_block_last(MeasValueId,Channel,FuncId,Begin,Data) IS NOT NULL",
              kMostTrials, kMostTrials / found);
        store_.dbExecute("DROP TABLE Bounds");
    }
    store_.dbExecute("DROP TABLE Strays");
    hasUnplaced_ = !Query(store_, "SELECT 1 FROM ValueData WHERE %s LIMIT 1", strays)->EndOfFile();
    Query(store_, "DELETE FROM ValueData WHERE %s", strays);
}

// What stands in a block already is not stored again.
void SavedDatabase::PackRows() {
    const auto count = [&](const char* table) {
        return static_cast<std::int64_t>(
            Query(store_, "SELECT count(*) FROM %s", table)->Fields(0).Double());
    };
    const std::int64_t rows = count(kRowsBeside);
    if (rows == 0) return;
    const char* values = NameOf(StoredTable::MeasuredValues);
    const std::int64_t before = count(values);
    Query(store_,
          "INSERT OR IGNORE INTO %s (MeasValueId,PeriodNo,Channel,FuncId,FrqId,Value,Status) "
          "SELECT * FROM %s ORDER BY MeasValueId,PeriodNo",
          values, kRowsBeside);
    for (auto packed = count(values) - before; packed < rows; ++packed)
        PutAside(StoredTable::MeasuredValues, "its place is taken");
}

void SavedDatabase::CountPacked() {
    values_ = 0;
    for (_Recordset& row : Rows(store_,
                                "SELECT MeasValueId,Channel,FuncId,count(*) FROM MeasuredValues "
                                "GROUP BY MeasValueId,Channel,FuncId")) {
        series_.emplace(row.Fields(0).Long(), row.Fields(1).Long(), row.Fields(2).Long());
        values_ += static_cast<std::int64_t>(row.Fields(3).Double());
    }
}

}  // namespace mersola::tool
