// Values that are packed, and unpacked again, where they lie.
#include <chrono>
#include <filesystem>
#include <thread>

#include "tool_fixture.h"

namespace mersola::tool {
namespace {

class Conversion : public Tool {
  protected:
    Conversion() {
        for (const std::string& database : {db_, twin_})
            std::filesystem::copy_file(MERSOLA_GOLDEN "format-1.db", database,
                                       std::filesystem::copy_options::overwrite_existing);
        Both("INSERT INTO MeasValueMap VALUES (2,2,2,7)");
        Both(
            "WITH RECURSIVE n(i) AS (SELECT 0 UNION ALL SELECT i+1 FROM n WHERE i<29999) INSERT "
            "INTO MeasuredValues SELECT 7,i/40,1+i%2,1,i/2%20,CASE i%97 WHEN 0 THEN NULL ELSE "
            "i*0.37 END,CASE i%89 WHEN 0 THEN 'A' WHEN 1 THEN '' END FROM n");
    }

    void Both(const std::string& statement) const {
        for (const std::string& database : {db_, twin_})
            In(database, {statement});
    }
    static std::string ValuesOf(const std::string& path) {
        const auto rows = In(
            path,
            {"SELECT group_concat(MeasValueId||' '||Channel||' '||FuncId||' '||PeriodNo||' '||FrqId"
             "||' '||ifnull(hex(CAST(printf('%!.17g',Value) AS "
             "BLOB)),'-')||ifnull(Status,'-'),'|') "
             "FROM (SELECT * FROM MeasuredValues ORDER BY MeasValueId,Channel,FuncId,PeriodNo,"
             "FrqId)"});
        return std::string(rows->Fields(0).Text().View());
    }

    const std::string twin_ = folder_ / "twin.db";
};

TEST_F(Conversion, GoesOnAfterKillsBesideARecorderAndLosesNothing) {
    using namespace std::chrono_literals;
    Mersola recorder = Connected(), other = tool::Connected(twin_);
    int period = 0, kills = 0;
    for (const char* command : {"pack", "unpack", "pack"}) {
        const std::string done = command == std::string("pack")
                                     ? "database of format 2, values packed\n"
                                     : "database of format 1, values in rows\n";
        for (int status = -1, attempt = 0; status != 0; ++attempt) {
            const auto child = Started({command, db_});
            for (const auto end = std::chrono::steady_clock::now() + 15ms * (attempt + 1);
                 std::chrono::steady_clock::now() < end && !child->HasEnded();) {
                const std::string next = std::to_string(period++),
                                  back = std::to_string(750 - period);
                for (Mersola* store : {&recorder, &other}) {
                    store->dbExecute(
                        ("INSERT INTO MeasuredValues VALUES (1," + next + ",9,1,0,0.1,'')")
                            .c_str());
                    store->dbExecute(("UPDATE MeasuredValues SET Value=-1 WHERE MeasValueId=7 AND "
                                      "Channel=1 AND FuncId=1 AND PeriodNo=" +
                                      back)
                                         .c_str());
                    store->dbExecute(("DELETE FROM MeasuredValues WHERE MeasValueId=7 AND FrqId=3 "
                                      "AND PeriodNo=" +
                                      back)
                                         .c_str());
                }
                std::this_thread::sleep_for(3ms);
            }
            if (attempt < 8) child->Kill();
            status = child->Wait();
            kills += status == 128 + SIGKILL;
            // The one before was killed when it had done all but say so.
            if (status == 1 && attempt > 0 && RunWords({"list", db_}).out.starts_with(done))
                status = 0;
            ASSERT_TRUE(status == 0 || status == 128 + SIGKILL) << status;
            ASSERT_EQ(ValuesOf(db_), ValuesOf(twin_)) << command << ", attempt " << attempt;
        }
        EXPECT_THAT(RunWords({"list", db_}).out, StartsWith(done));
        EXPECT_EQ(RunWords({command, db_}).status, 1);
    }
    EXPECT_GT(kills, 3);
    EXPECT_EQ(Connected().dbExecute("PRAGMA integrity_check")->Fields(0).Text(), "ok");
    EXPECT_THAT(RunWords({"version", db_}).out, HasSubstr(": unpacked the values\n"));
}

TEST_F(Conversion, ChangesItsDirectionAndKeepsItsResolution) {
    Execute("UPDATE MeasuredValues SET Value=Value+0.001 WHERE MeasValueId=7");
    Done({"pack", db_, "--resolution", "0.5"});
    EXPECT_THAT(RunWords({"list", db_}).out, HasSubstr("values packed in steps of 0.5\n"));
    EXPECT_EQ(Count("MeasuredValues WHERE MeasValueId=7 AND Value*2<>round(Value*2)"), 0);
    // As one that was stopped half way.
    In(db_, {"CREATE TABLE MeasuredRows (MeasValueId INTEGER NOT NULL,PeriodNo INTEGER NOT NULL,"
             "Channel INTEGER NOT NULL,FuncId INTEGER NOT NULL,FrqId INTEGER NOT NULL,Value REAL,"
             "Status TEXT COLLATE NOCASE,PRIMARY KEY (MeasValueId,Channel,FuncId,PeriodNo,FrqId)) "
             "STRICT, WITHOUT ROWID",
             "DROP TABLE MeasuredValues",
             "CREATE VIRTUAL TABLE MeasuredValues USING "
             "mersola_values(resolution=0.5,rows=MeasuredRows,into=rows)",
             "INSERT INTO MeasuredValues VALUES (8,1,1,1,0,0.3,NULL)"});
    EXPECT_THAT(RunWords({"list", db_}).out, HasSubstr("values partly packed in steps of 0.5\n"));
    EXPECT_THAT(RunWords({"pack", db_, "--resolution", "0.1"}).err, HasSubstr("without another"));
    Done({"pack", db_});
    EXPECT_EQ(Count("MeasuredValues WHERE MeasValueId=8 AND Value=0.5"), 1);
    EXPECT_THAT(RunWords({"list", db_}).out, HasSubstr("values packed in steps of 0.5\n"));
}

TEST_F(Conversion, IsRefusedWhereSomethingWouldBeLost) {
    const auto expectRefused = [&](const char* statement, const char* reason,
                                   const char* before = "PRAGMA user_version") {
        const std::string copy = folder_ / "copy.db";
        std::filesystem::copy_file(MERSOLA_GOLDEN "format-1.db", copy,
                                   std::filesystem::copy_options::overwrite_existing);
        In(copy, {before, statement});
        const std::string values = ValuesOf(copy);
        const Outcome outcome = RunWords({"pack", copy});
        EXPECT_EQ(outcome.status, 1);
        EXPECT_THAT(outcome.err, HasSubstr(reason));
        EXPECT_EQ(std::ranges::count(outcome.err, '\n'), 1) << outcome.err;
        EXPECT_EQ(ValuesOf(copy), values);
        EXPECT_THAT(RunWords({"list", copy}).out, HasSubstr("values in rows"));
    };
    expectRefused(
        "CREATE TABLE MeasuredValues (MeasValueId INTEGER,PeriodNo INTEGER,Channel INTEGER,"
        "FuncId INTEGER,FrqId INTEGER,Value REAL,Status TEXT,PRIMARY KEY (MeasValueId,Channel,"
        "FuncId,PeriodNo,Value))",
        "another key", "ALTER TABLE MeasuredValues RENAME TO Old");
    expectRefused("CREATE TRIGGER t AFTER INSERT ON MeasuredValues BEGIN SELECT 1; END",
                  "triggers on MeasuredValues");
    expectRefused("ALTER TABLE MeasuredValues ADD COLUMN Extra TEXT", "has other columns");
    expectRefused("CREATE TABLE ValueData (x)", "has other tables");
    expectRefused("INSERT INTO MeasuredValues VALUES (1,3000000000,1,1,0,1,'')", "beyond 32 bits");
    expectRefused("PRAGMA application_id=7", "that mersola did not set");
    EXPECT_THAT(RunWords({"pack", "Driver={SQLite3};Database=" + db_}).err,
                HasSubstr("is no SQLite file"));
    EXPECT_THAT(RunWords({"unpack", db_}).err, HasSubstr("are in rows already"));

    Mersola holder = Connected();
    holder.BeginTrans();
    holder.dbExecute("DELETE FROM Markers");
    const Outcome locked = RunWords({"pack", db_, "--timeout", "1"});
    EXPECT_THAT(locked.err, HasSubstr("database is locked"));
    EXPECT_THAT(locked.err, HasSubstr("; nothing was moved"));
}

}  // namespace
}  // namespace mersola::tool
