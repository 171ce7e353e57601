// What the virtual table does that a table of rows does not.
#include <gmock/gmock.h>

#include <fstream>
#include <iterator>
#include <string>

#include "packed/module.h"
#include "twins.h"

namespace mersola::test {
namespace {

using testing::HasSubstr;

class PackedTable : public testing::Test {
  protected:
    // The first field of a statement's first row, or why there is none.
    std::string Ask(const std::string& sql) {
        sqlite3* const db = twins_.Packed(0);
        sqlite3_stmt* statement = nullptr;
        sqlite3_prepare_v2(db, sql.c_str(), -1, &statement, nullptr);
        code_ = sqlite3_step(statement);
        std::string answer;
        if (code_ == SQLITE_ROW) {
            answer = reinterpret_cast<const char*>(sqlite3_column_text(statement, 0));
        } else if (code_ != SQLITE_DONE) {
            answer = sqlite3_errmsg(db);
        }
        sqlite3_finalize(statement);
        return answer;
    }
    void Record(const std::string& value) {
        ASSERT_EQ(Ask("WITH RECURSIVE p(n) AS (VALUES(0) UNION ALL SELECT n+1 FROM p WHERE n<599) "
                      "INSERT INTO MeasuredValues SELECT 7,n,1,5,20," +
                      value + ",'' FROM p"),
                  "");
    }

    Twins twins_{"resolution=0.01"};
    int code_ = SQLITE_OK;
};

TEST_F(PackedTable, TellsWhichPeriodsCannotBeReadAndReadsTheOthers) {
    Record("n");
    Ask("UPDATE ValueData SET Data=(SELECT Data FROM ValueData WHERE DataId=1) WHERE DataId=2");
    Ask("DELETE FROM ValueData WHERE DataId=3");
    Ask("UPDATE PendingValues SET Data=zeroblob(9) WHERE PeriodNo=590");
    const std::string sum = "SELECT sum(Value) FROM MeasuredValues WHERE PeriodNo BETWEEN ";
    EXPECT_EQ(Ask(sum + "0 AND 127"), "8128.0");
    EXPECT_EQ(Ask(sum + "384 AND 511"), "57280.0");
    EXPECT_THAT(Ask(sum + "0 AND 130"),
                HasSubstr("MeasValueId 7, channel 1, function 5, periods 128 to 255"));
    EXPECT_EQ(code_, SQLITE_CORRUPT_VTAB);
    EXPECT_THAT(Ask(sum + "300 AND 300"), HasSubstr("periods 256 to 383"));
    EXPECT_THAT(Ask(sum + "590 AND 590"), HasSubstr("MeasValueId 7, period 590"));
    EXPECT_THAT(Ask("INSERT INTO MeasuredValues VALUES (7,200,1,5,20,1,'')"),
                HasSubstr("periods 128 to 255"))
        << "whether it is stored already, nobody knows";
    Ask("INSERT INTO ValueBlocks SELECT MeasValueId,Channel,FuncId,FirstPeriod+9,LastPeriod,"
        "DataId,Summary FROM ValueBlocks WHERE FirstPeriod=384");
    Ask("UPDATE ValueBlocks SET LastPeriod=200 WHERE FirstPeriod=0");
    EXPECT_THAT(Ask(sum + "0 AND 10"), HasSubstr("periods 0 to 127 cannot be read: they are of"));
    for (const char* statement :
         {"SELECT sum(Value) FROM MeasuredValues WHERE PeriodNo BETWEEN 384 AND 511",
          "SELECT Value FROM MeasuredValues WHERE MeasValueId=7 AND PeriodNo=500 ORDER BY PeriodNo",
          "INSERT INTO MeasuredValues VALUES (7,500,1,5,21,1,'')"})
        EXPECT_THAT(Ask(statement), HasSubstr("periods 384 to 511 cannot be read: they lie in two"))
            << statement;
}

TEST_F(PackedTable, ReadsNoWrongValueWhateverByteHasFlipped) {
    Record("n%50/10.0");
    const std::string all =
        "SELECT group_concat(Value) FROM MeasuredValues WHERE MeasValueId=7 AND PeriodNo BETWEEN ";
    const std::string block = all + "128 AND 255", period = all + "590 AND 590";
    const std::string rest = "SELECT sum(PeriodNo) FROM MeasuredValues WHERE PeriodNo ";
    const auto flip = [&](const std::string& table, const std::string& where,
                          const std::string& damaged, const std::string& others) {
        const std::string sound = Ask("SELECT hex(Data) FROM " + table + where);
        const std::string sum = Ask(others), values = Ask(damaged);
        const auto store = [&](const std::string& bytes) {
            Ask("UPDATE " + table + " SET Data=x'" + bytes + "'" + where);
        };
        for (std::size_t at = 0; at < sound.size(); ++at) {
            std::string bytes = sound;
            bytes[at] = bytes[at] == '0' ? '8' : '0';
            store(bytes);
            Ask(damaged);
            EXPECT_EQ(code_, SQLITE_CORRUPT_VTAB) << table << at;
            Ask(damaged + " ORDER BY PeriodNo,FrqId");
            EXPECT_EQ(code_, SQLITE_CORRUPT_VTAB) << table << at;
            EXPECT_EQ(Ask(others), sum) << table << at;
        }
        store(sound);
        EXPECT_EQ(Ask(damaged), values);
        EXPECT_GT(sound.size(), 30U);
    };
    flip("ValueData", " WHERE DataId=2", block, rest + "<128");
    flip("PendingValues", " WHERE PeriodNo=590", period, rest + ">590");
}

TEST_F(PackedTable, RecordsOnBehindWhatIsDamaged) {
    Record("n");
    Ask("UPDATE PendingValues SET Data=zeroblob(9) WHERE PeriodNo=590");
    for (int period = 600; period < 900; ++period)
        ASSERT_EQ(
            Ask("INSERT INTO MeasuredValues VALUES (7," + std::to_string(period) + ",1,5,20,1,'')"),
            "");
    EXPECT_EQ(Ask("SELECT sum(Value) FROM MeasuredValues WHERE PeriodNo>590"), "5655.0");
    EXPECT_EQ(Ask("SELECT count(*) FROM PendingValues"), "260") << "the next block is sealed";
    Ask("BEGIN");
    EXPECT_THAT(Ask("UPDATE OR REPLACE MeasuredValues SET PeriodNo=590 WHERE MeasValueId=7 AND "
                    "PeriodNo=599 AND Channel=1 AND FuncId=5 AND FrqId=20"),
                HasSubstr("period 590"));
    Ask("COMMIT");
    EXPECT_EQ(Ask("SELECT Value FROM MeasuredValues WHERE PeriodNo=599"), "599.0");
}

TEST_F(PackedTable, ReadsNoTablesThatAreNone) {
    const std::string ofSeries =
        "SELECT count(*) FROM MeasuredValues WHERE MeasValueId=7 AND Channel=1 AND FuncId=5";
    Record("n");
    const auto reopened = [&](const std::string& sql) {
        twins_.Reopen(0);
        return Ask(sql);
    };
    // A damaged index, or somebody's table, may give rows twice.
    Ask("ALTER TABLE PendingValues RENAME TO Sound");
    Ask("CREATE TABLE PendingValues AS SELECT s.* FROM Sound s,Sound LIMIT 4000");
    EXPECT_THAT(reopened(ofSeries), HasSubstr("they lie in two rows"));
    EXPECT_EQ(Ask("INSERT INTO MeasuredValues VALUES (7,900,1,5,20,1,'')"), "");
    Ask("DROP TABLE PendingValues");
    EXPECT_EQ(reopened(ofSeries), "no such table: main.PendingValues");
    Ask("CREATE VIEW PendingValues AS SELECT * FROM MeasuredValues,Sound");
    EXPECT_EQ(reopened(ofSeries), "no such table: main.PendingValues");
    Ask("CREATE VIRTUAL TABLE Other USING mersola_values(rows=Other)");
    EXPECT_EQ(reopened("SELECT * FROM Other"), "no such table: main.PendingValues");
}

// A disk may write a page to another one's place: an index that leads back must not be followed
// for ever.
TEST_F(PackedTable, ComesToAnEndWhateverPageLiesInAnothersPlace) {
    Ask("WITH RECURSIVE p(n) AS (VALUES(0) UNION ALL SELECT n+1 FROM p WHERE n<256), c(n) AS "
        "(VALUES(0) UNION ALL SELECT n+1 FROM c WHERE n<199) INSERT INTO MeasuredValues SELECT "
        "7,p.n,c.n,5,20,p.n,'' FROM p,c");
    const std::string path = twins_.Path(true) + ".copy";
    Ask("VACUUM INTO '" + path + "'");
    std::ifstream file(path, std::ios::binary);
    const std::string sound{std::istreambuf_iterator<char>(file), {}};
    constexpr std::size_t kPage = 4096;
    const std::size_t pages = sound.size() / kPage;
    ASSERT_GT(pages, 10U);
    const auto isLeaf = [&](std::size_t page) { return sound[page * kPage] == 10; };
    for (std::size_t trial = 0; trial < pages * pages; ++trial) {
        const std::size_t to = trial % pages, from = trial / pages;
        if (!isLeaf(to) || !isLeaf(from)) continue;
        std::string bytes = sound;
        bytes.replace(to * kPage, kPage, sound, from * kPage, kPage);
        std::ofstream(path, std::ios::binary) << bytes;
        sqlite3* db = nullptr;
        sqlite3_open(path.c_str(), &db);
        packed::RegisterModule(db);
        int steps = 2000;
        sqlite3_progress_handler(
            db, 1000, [](void* left) { return static_cast<int>(--*static_cast<int*>(left) < 0); },
            &steps);
        for (const char* statement :
             {"SELECT count(*) FROM MeasuredValues",
              "SELECT * FROM MeasuredValues WHERE MeasValueId=7 ORDER BY PeriodNo,FrqId"})
            EXPECT_NE(sqlite3_exec(db, statement, nullptr, nullptr, nullptr), SQLITE_INTERRUPT)
                << "page " << from << " in the place of " << to << ": " << statement;
        sqlite3_close(db);
    }
}

TEST_F(PackedTable, RoundsWhatItSealsToItsResolution) {
    Record("CASE n WHEN 3 THEN -100 WHEN 4 THEN 9e999 ELSE n/7.0 END");
    const std::string rounded =
        "SELECT count(*) FROM MeasuredValues WHERE Value=round(Value,2) AND PeriodNo";
    EXPECT_EQ(Ask(rounded + "<512"), "512");
    EXPECT_EQ(Ask(rounded + " BETWEEN 581 AND 587"), "1") << "pending values are as they came";
    EXPECT_EQ(Ask("SELECT Value FROM MeasuredValues WHERE PeriodNo=3"), "-100.0");
    EXPECT_EQ(Ask("SELECT Value FROM MeasuredValues WHERE PeriodNo=4"), "Inf");
    EXPECT_THAT(Ask("CREATE VIRTUAL TABLE other USING mersola_values(resolution=0.0000001)"),
                HasSubstr("knows no argument 'resolution=0.0000001'"));
}

}  // namespace
}  // namespace mersola::test
