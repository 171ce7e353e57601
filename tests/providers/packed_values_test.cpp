// The statements that a packed database answers past SQLite's virtual machine: they do and say what
// the same statements do on rows.
#include <gmock/gmock.h>

#include <algorithm>
#include <random>

#include <sqlite3.h>

#include "engines/sqlite.h"
#include "packed/module.h"
#include "schema/schema.h"
#include "sqlite/value_statement.h"
#include "support/store.h"

namespace mersola::test {
namespace {

using sqlite::Recognise;
using Kind = sqlite::ValueStatement::Kind;

TEST(ValueStatement, IsWhatTheLibrarySendsAndNothingThatSaysMore) {
    const auto kind = [](const char* text) { return Recognise(text).kind; };
    EXPECT_EQ(kind("INSERT INTO MEASUREDVALUES (MeasValueId,PeriodNo,Channel,Value,Status,FrqId,"
                   "FuncId) VALUES (?,-?,?,- ?,?,?,?)"),
              Kind::Insert);
    EXPECT_EQ(
        kind("SELECT * FROM MeasuredValues where MeasValueId=? and Channel=? and FuncId=? and "
             "PeriodNo>=? and PeriodNo<? ORDER BY PeriodNo,FrqId"),
        Kind::Select);
    EXPECT_EQ(kind("select max( PeriodNo ) FROM MeasuredValues WHERE MeasValueId = ?"), Kind::Last);
    EXPECT_EQ(kind("DELETE FROM MeasuredValues WHERE MeasValueId=? AND PeriodNo<=?"), Kind::Delete);
    EXPECT_EQ(kind("SELECT DISTINCT FrqId FROM MeasuredValues WHERE MeasValueId=?"), Kind::Bands);
    for (const char* other :
         {"INSERT INTO MeasuredValues (MeasValueId,PeriodNo,Channel,Value,Status,FrqId) VALUES "
          "(?,?,?,?,?,?)",
          "INSERT INTO MeasuredValues (MeasValueId,PeriodNo,Channel,Value,Status,FrqId,FrqId) "
          "VALUES (?,?,?,?,?,?,?)",
          "INSERT INTO MeasuredValues (MeasValueId,PeriodNo,Channel,Value,Status,FrqId,FuncId) "
          "VALUES (?,?,?,?,?,?,?),(?,?,?,?,?,?,?)",
          "INSERT OR REPLACE INTO MeasuredValues (MeasValueId,PeriodNo,Channel,Value,Status,FrqId,"
          "FuncId) VALUES (?,?,?,?,?,?,?)",
          "SELECT * FROM MeasuredValues", "SELECT * FROM MeasuredValues v WHERE MeasValueId=?",
          "SELECT * FROM MeasuredValues WHERE MeasValueId=? OR Channel=?",
          "SELECT * FROM MeasuredValues WHERE MeasValueId=? AND Value=?",
          "SELECT * FROM MeasuredValues WHERE MeasValueId=?+?",
          "SELECT * FROM MeasuredValues WHERE MeasValueId=? ORDER BY PeriodNo,FrqId DESC",
          "SELECT * FROM MeasuredValues WHERE MeasValueId=? ORDER BY PeriodNo",
          "SELECT DISTINCT FrqId,Channel FROM MeasuredValues WHERE MeasValueId=?",
          "SELECT MIN(PeriodNo) AS p FROM MeasuredValues WHERE MeasValueId=?",
          "SELECT MIN(PeriodNo) FROM MeasuredValues WHERE MeasValueId=? LIMIT ?",
          "DELETE FROM MeasuredValues", "UPDATE MeasuredValues SET Value=? WHERE MeasValueId=?"}) {
        EXPECT_EQ(kind(other), Kind::Other) << other;
    }
}

// One database, reached through the library.
class Side {
  public:
    explicit Side(const char* target) : database_(target) {
        connection_->Open(database_.ConnectString(), "", "");
    }

    // What a statement gives, or what is wrong with it.
    std::string Run(const std::string& sql) {
        return Told([&](std::string& told) {
            _Recordset rows;
            rows.Open(sql, connection_, adOpenKeyset, adLockOptimistic, adCmdText);
            if (rows.GetState() == adStateClosed) return;
            for (int i = 0; i < rows.FieldCount(); ++i)
                told.append(rows.FieldName(i).View()) += '|';
            for (; !rows.EndOfFile(); rows.MoveNext()) {
                told += '\n';
                for (int i = 0; i < rows.FieldCount(); ++i)
                    told.append(rows.Fields(i).IsNull() ? "NULL" : rows.Fields(i).Text().View()) +=
                        '|';
            }
        });
    }
    template <class Add>
    std::string WriteBatch(Add add) {
        return Told([&](std::string&) {
            _Recordset batch;
            batch.Open("measuredvalues", connection_, adOpenForwardOnly, adLockBatchOptimistic,
                       adCmdTable);
            add(batch);
            batch.UpdateBatch();
        });
    }
    // Keeps a result open and reads it on.
    std::string ReadOn() {
        return Told([&](std::string& told) {
            if (!open_ || open_->EndOfFile()) {
                open_ = _Recordset::CreateInstance();
                open_->Open(
                    "SELECT * FROM MeasuredValues WHERE MeasValueId=1 AND Channel=1 AND FuncId=1 "
                    "ORDER BY PeriodNo,FrqId",
                    connection_, adOpenKeyset, adLockOptimistic, adCmdText);
            }
            for (int i = 0; i < 400 && !open_->EndOfFile(); ++i, open_->MoveNext())
                told.append(open_->Fields(1).Text().View()) += ' ';
        });
    }
    const Database& Files() const { return database_; }

  private:
    template <class Work>
    static std::string Told(Work work) {
        std::string told;
        try {
            work(told);
        } catch (const _com_error& error) {
            told += "\nraised " + std::to_string(error.Error()) + ' ' +
                    std::string(error.Description().View());
        }
        return told;
    }

    Database database_;
    _ConnectionPtr connection_ = _Connection::CreateInstance();
    _RecordsetPtr open_;
};

class PackedValues : public testing::Test {
  protected:
    Side rows{"SQLite"}, packed{"SQLitePacked"};
    std::mt19937 random;

    int Number(int first, int last) {
        return std::uniform_int_distribution<int>(first, last)(random);
    }
    std::string Text(int first, int last) { return std::to_string(Number(first, last)); }

    void Both(const std::string& sql) { ASSERT_EQ(packed.Run(sql), rows.Run(sql)) << sql; }

    // A period of a recorder, and rows that are refused or stored the ordinary way.
    void Batch(int period) {
        const bool isOdd = Number(0, 3) == 0;
        const auto add = [=](_Recordset& batch) {
            for (int channel = 1; channel < 3; ++channel) {
                for (int band = 0; band < 6; ++band) {
                    batch.AddNew();
                    batch.Fields("MeasValueId").Put(1);
                    batch.Fields("PeriodNo").Put(period);
                    batch.Fields("Channel").Put(channel);
                    batch.Fields("FuncId").Put(1);
                    batch.Fields("FrqId").Put(isOdd && band == 4 ? 3 : band);
                    if (!isOdd || band != 2) batch.Fields("Value").Put(40 + band / 8.0);
                    if (isOdd && band == 1) batch.Fields("Value").Put("7.5");
                    if (!isOdd || band != 3) batch.Fields("Status").Put(band == 5 ? "A" : "");
                    if (isOdd && band == 5) batch.Fields("PeriodNo").Put(1LL << 40);
                }
            }
        };
        // The table of rows takes numbers beyond 32 bits, which no recorder writes.
        const std::string ours = packed.WriteBatch(add), theirs = rows.WriteBatch(add);
        if (!isOdd) {
            ASSERT_EQ(ours, theirs);
        }
        Both("DELETE FROM MeasuredValues WHERE PeriodNo>2147483647");
    }

    static std::string Sorted(std::string text) {
        std::ranges::sort(text);
        return text;
    }

    void Step(int step) {
        const std::string period = Text(-3, 400);
        const std::string where = " FROM MeasuredValues WHERE MeasValueId=" + Text(1, 2);
        switch (Number(0, 14)) {
            case 0:
            case 1:
            case 2:
                return Both(
                    "INSERT INTO MEASUREDVALUES  WITH (ROWLOCK) "
                    "(MeasValueId,PeriodNo,Channel,Value,Status,FrqId,FuncId) VALUES (" +
                    Text(1, 2) + "," + period + "," + Text(1, 2) + "," + Text(-2, 2) + ".500000,'" +
                    (Number(0, 5) ? "" : "o''clock") + "'," + Text(0, 5) + "," + Text(1, 2) + ")");
            case 3:
            case 4:
                return Batch(step);
            case 5:
                return Both("SELECT *" + where + " AND Channel=1 AND FuncId=1 AND PeriodNo>=" +
                            period + " AND PeriodNo<=300 AND FrqId>1 ORDER BY PeriodNo,FrqId");
            case 6:
                return Both("SELECT *" + where + " AND Channel=" + Text(1, 2) +
                            " AND PeriodNo>=" + period + " ORDER BY PeriodNo,FrqId");
            case 7:
                return Both((Number(0, 1) ? "SELECT MIN(PeriodNo)" : "SELECT MAX(PeriodNo)") +
                            where);
            case 8:
                return Both("DELETE" + where + " AND PeriodNo>" + period + " AND PeriodNo<" +
                            Text(100, 500));
            case 9:
                return Both(std::vector<std::string>{
                    "BEGIN", "COMMIT", "ROLLBACK"}[static_cast<std::size_t>(Number(0, 2))]);
            case 10:
                return Both(std::vector<std::string>{
                    "SAVEPOINT s", "RELEASE s",
                    "ROLLBACK TO s"}[static_cast<std::size_t>(Number(0, 2))]);
            case 11:
                return Both("SELECT count(*),sum(Value*FrqId)" + where);
            case 12: {  // in any order
                const std::string sql =
                    "SELECT DISTINCT FrqId" + where + " AND Channel=" + Text(1, 2) +
                    " AND FuncId=1 AND PeriodNo>=" + period + " AND PeriodNo<" + Text(0, 400);
                ASSERT_EQ(Sorted(packed.Run(sql)), Sorted(rows.Run(sql))) << sql;
                return;
            }
            case 13:
                return Both("UPDATE MeasuredValues SET Value=Value+1,Status=NULL WHERE PeriodNo=" +
                            period);
            default:
                ASSERT_EQ(packed.ReadOn(), rows.ReadOn());
        }
    }
};

TEST_F(PackedValues, AreWhatRowsAreWhateverStatementsComeInWhateverOrder) {
    for (unsigned seed = 1; seed < 5; ++seed) {
        random.seed(seed);
        for (int step = 0; step < 400; ++step) {
            Step(step);
            if (HasFatalFailure()) FAIL() << "seed " << seed << ", step " << step;
        }
    }
}

// Brings a packed database a step further on the way to rows and back, as another program does it.
class Conversion {
  public:
    explicit Conversion(const std::string& path) {
        EXPECT_EQ(sqlite3_open(path.c_str(), &db_), SQLITE_OK);
        packed::RegisterModule(db_);
    }
    ~Conversion() { sqlite3_close(db_); }

    void Run(const std::string& sql) {
        EXPECT_EQ(sqlite3_exec(db_, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK)
            << sqlite3_errmsg(db_) << " in " << sql;
    }
    void Step() {
        const std::string table(Statement("CREATE TABLE MeasuredValues", Layout::Rows));
        const auto drop = [this](std::initializer_list<const char*> tables) {
            for (const char* each : tables)
                Run(std::string("DROP TABLE ") + each);
        };
        const auto useRows = [this](const char* more) {
            Run("CREATE VIRTUAL TABLE MeasuredValues USING mersola_values(rows=MeasuredRows" +
                std::string(more) + ")");
        };
        Run("BEGIN IMMEDIATE");
        switch (step_++ % 4) {
            case 0:
                drop({"MeasuredValues"});
                Run(table);
                Run("ALTER TABLE MeasuredValues RENAME TO MeasuredRows");
                useRows(",into=rows");
                break;
            case 1:
                Run("SELECT mersola_unpack(1000000)");
                drop({"MeasuredValues", "PendingValues", "ValueBlocks", "ValueData"});
                Run("ALTER TABLE MeasuredRows RENAME TO MeasuredValues");
                break;
            case 2:
                Run("ALTER TABLE MeasuredValues RENAME TO MeasuredRows");
                for (const char* each : {"PendingValues", "ValueBlocks", "ValueData"})
                    Run(Statement(std::string("CREATE TABLE ") + each, Layout::Packed));
                useRows("");
                break;
            default:
                Run("SELECT mersola_pack(1000000)");
                drop({"MeasuredValues", "MeasuredRows"});
                Run(Statement("CREATE VIRTUAL TABLE MeasuredValues", Layout::Packed));
        }
        Run("COMMIT");
    }

  private:
    static std::string Statement(const std::string& head, Layout layout) {
        for (const std::string_view sql : SchemaStatements(kSqlite, layout)) {
            if (sql.find(head) != sql.npos) return std::string(sql);
        }
        return {};
    }

    sqlite3* db_ = nullptr;
    int step_ = 0;
};

TEST_F(PackedValues, AreFoundWhereAnotherProgramHasPutThem) {
    constexpr int kWays = 5;  // by which this connection is the first to meet the other layout
    Conversion conversion(packed.Files().Path());
    for (int round = 0; round < 4 * kWays; ++round) {
        const int first = 200 * round, way = round % kWays;
        for (int i = 0; i < 100; ++i)
            Batch(first + i);
        conversion.Step();
        const std::string row =
            "INSERT INTO MeasuredValues VALUES (1," + std::to_string(first + 7) + ",1,1,9,1.5,'')";
        conversion.Run(row);
        rows.Run(row);
        if (way == 0) Both("SELECT MIN(PeriodNo) FROM MeasuredValues WHERE MeasValueId=1");
        if (way == 1) Batch(first + 150);
        if (way == 2)
            Both(
                "SELECT * FROM MeasuredValues WHERE MeasValueId=1 AND Channel=1 AND FuncId=1 "
                "ORDER BY PeriodNo,FrqId");
        if (way == 3) {
            Both("BEGIN");
            Both(
                "INSERT INTO MeasuredValues "
                "(MeasValueId,PeriodNo,Channel,Value,Status,FrqId,FuncId) VALUES (1," +
                std::to_string(first + 160) + ",1,1.5,'',1,1)");
            Both("COMMIT");
        }
        if (way == 4)
            Both("DELETE FROM MeasuredValues WHERE MeasValueId=1 AND PeriodNo<" +
                 std::to_string(first - 50));
        Both("SELECT * FROM MeasuredValues WHERE MeasValueId=1 AND Channel=1 AND PeriodNo>=" +
             std::to_string(first) + " ORDER BY PeriodNo,FrqId");
        ASSERT_FALSE(HasFailure()) << round;
    }
    Both("SELECT * FROM MeasuredValues ORDER BY 1,2,3,4,5");
}

}  // namespace
}  // namespace mersola::test
