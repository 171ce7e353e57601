// Copying history: what arrives, what an interruption leaves, and what is refused.
#include <algorithm>
#include <string>

#include "tool_fixture.h"

namespace mersola::tool {
namespace {

// The target, db_, has an instrument and names of its own under the numbers of the source's.
class Copying : public Tool {
  protected:
    Copying() {
        Done({"init", from_});
        In(from_, {"INSERT INTO Groups VALUES (1,N'Pier ''4''',N'it''s',N'0',NULL)",
                   "INSERT INTO Measurements VALUES (1,1,N'long \"one\"',NULL,3,0.1,1e-7,25,20000,"
                   "N'2026,01,01,00,00,00,500',N'10,50')",
                   "INSERT INTO Reports VALUES (1,1,1,N'1000',N'NOT_SET',400,3,1)",
                   "INSERT INTO Reports VALUES (1,1,2,N'2000',NULL,5,0,2)",
                   "INSERT INTO MeasValueMap VALUES (1,1,1,1)",
                   "INSERT INTO MeasValueMap VALUES (1,1,2,2)",
                   "INSERT INTO MeasuredFunctions VALUES (1,1,1,8,1)",
                   "INSERT INTO MeasuredFunctions VALUES (1,1,2,8,1)",
                   "INSERT INTO FuncNameMap VALUES (8,N'L5')",
                   "INSERT INTO MeasuredValues VALUES (1,3,1,8,30,0.1,N'')",
                   "INSERT INTO MeasuredValues VALUES (1,4,1,8,30,NULL,N'A')",
                   "INSERT INTO MeasuredValues VALUES (1,300,1,8,30,9e999,NULL)",
                   "INSERT INTO MeasuredValues VALUES (1,300,1,8,31,-9e999,N'it''s')",
                   "INSERT INTO MeasuredValues VALUES (2,5,1,8,30,-1e-300,N'')"});
        for (int copies = 0; copies < 2; ++copies)  // equal markers, and one that is open
            AddMarker("N'a''b.wav',N'2026,01,01,00,00,03,500',N'2026,01,01,00,00,04,500',0");
        AddMarker("NULL,N'2026,01,01,00,00,09,500',N'2026,01,01,00,00,09,500',1");
        In(db_, {"INSERT INTO Groups VALUES (1,N'other',N'',N'0',N'')",
                 "INSERT INTO Measurements VALUES (1,1,N'x',N'',3,1,1,25,20000,N'',N'')",
                 "INSERT INTO Reports VALUES (1,1,1,N'1000',N'NOT_SET',1,0,1)",
                 "INSERT INTO MeasValueMap VALUES (1,1,1,1)",
                 "INSERT INTO MeasuredValues VALUES (1,3,1,8,30,77,N'')",
                 "INSERT INTO MeasuredValues VALUES (9,3,1,8,30,77,N'')",
                 "INSERT INTO FuncNameMap VALUES (8,N'L1')"});
    }

    void AddMarker(const std::string& values) const {
        In(from_, {"INSERT INTO Markers (GroupId,MeasId,Path,Start,Stop,inProgess,MarkerId,funcId) "
                   "VALUES (1,1," +
                   values + ",6,8)"});
    }

    // All that the measurement has, by names and not by numbers.
    static Words Holdings(const std::string& path) {
        const std::string measurement =
            "FROM Groups g JOIN Measurements m ON m.GroupId=g.GroupId AND m.MeasName LIKE 'long%' ";
        const std::string report =
            measurement + "JOIN Reports r ON r.GroupId=m.GroupId AND r.MeasId=m.MeasId ";
        Words all;
        for (const auto& query :
             Words{"SELECT g.GroupName,g.Info,g.Type,g.State,MeasName,m.Info,BandWidth,Fullscale,"
                   "Sensitivity,FrqLower,StartAt,Percentiles,r.ReportId,PeriodLen,RealPeriodLen,"
                   "noOfPeriods,MinPeriod,ReportType,n.FuncName,f.Channel " +
                       report +
                       "JOIN MeasuredFunctions f ON f.GroupId=r.GroupId AND f.MeasId=r.MeasId AND "
                       "f.ReportId=r.ReportId JOIN FuncNameMap n ON n.FuncId=f.FuncId "
                       "ORDER BY r.ReportId,n.FuncName",
                   "SELECT r.ReportId,PeriodNo,Channel,n.FuncName,FrqId,Value,Status " + report +
                       "JOIN MeasValueMap k ON k.GroupId=r.GroupId AND k.MeasId=r.MeasId AND "
                       "k.ReportId=r.ReportId JOIN MeasuredValues v ON v.MeasValueId=k.MeasValueId "
                       "JOIN FuncNameMap n ON n.FuncId=v.FuncId ORDER BY r.ReportId,PeriodNo,FrqId",
                   "SELECT Path,Start,Stop,inProgess,MarkerId,Color,n.FuncName " + measurement +
                       "JOIN Markers k ON k.GroupId=m.GroupId AND k.MeasId=m.MeasId "
                       "JOIN FuncNameMap n ON n.FuncId=k.funcId ORDER BY Start,inProgess"}) {
            all = all + RowsOf(In(path, {query}));
        }
        return all;
    }

    Outcome Copy(const Words& more = {}) const {
        return RunWords(Words{"copy", from_, db_} + more);
    }

    std::string from_ = folder_ / "from.db";
};

TEST_F(Copying, BringsEverythingOverUnchangedAndOnce) {
    const Outcome first = Copy({"--verify"});
    ASSERT_EQ(first.status, 0) << first.err;
    EXPECT_THAT(first.out, HasSubstr("copied 5 values and 3 markers"));
    EXPECT_THAT(first.out, HasSubstr("verified 5 values in 2 reports"));
    EXPECT_THAT(first.out, HasSubstr("function 8 'L5' goes by the number 9"));
    EXPECT_EQ(Holdings(from_).size(), 2U + 5U + 3U);
    EXPECT_EQ(Holdings(db_), Holdings(from_));
    EXPECT_EQ(Count("MeasuredValues WHERE Value=77"), 2);

    const Outcome second = Copy({"--verify", "--instrument", "pier '4'"});
    ASSERT_EQ(second.status, 0) << second.err;
    EXPECT_THAT(second.out, HasSubstr("nothing new"));
    EXPECT_EQ(Holdings(db_), Holdings(from_));
    EXPECT_EQ(Count("FuncNameMap WHERE FuncName='L5'"), 1);
}

TEST_F(Copying, GoesOnWhereItStopped) {
    for (int first = 0; first < 350; first += 10) {
        std::string rows;
        for (int i = 0; i < 1000; ++i)
            rows += (rows.empty() ? "(1," : ",(1,") + std::to_string(first + i / 100) + ",1,8," +
                    std::to_string(100 + i % 100) + ",1,N'')";
        In(from_, {"INSERT INTO MeasuredValues VALUES " + rows});
    }
    test::TheWatch().fails = [batches = 0](std::string_view sql) mutable {
        return sql.starts_with("UPDATE Reports SET noOfPeriods") && ++batches == 10;
    };
    const Outcome stopped = RunWords({"copy", from_, Watched(db_)});
    test::TheWatch().Reset();
    EXPECT_EQ(stopped.status, 1);
    EXPECT_THAT(stopped.err, HasSubstr("copied safely, the same command goes on"));
    const long arrived = Count("MeasuredValues WHERE MeasValueId<>1 AND MeasValueId<>9");
    EXPECT_GT(arrived, 5000);
    EXPECT_LT(arrived, 30000);
    EXPECT_EQ(Count("MeasuredValues v JOIN MeasValueMap k ON k.MeasValueId=v.MeasValueId JOIN "
                    "Reports r ON r.GroupId=k.GroupId AND r.MeasId=k.MeasId AND "
                    "r.ReportId=k.ReportId WHERE PeriodNo>=noOfPeriods AND Value<>77"),
              0)
        << "values beyond the periods that are counted";
    EXPECT_EQ(Count("Reports WHERE noOfPeriods>=400"), 0) << "periods without their values";

    const Outcome rest = Copy({"--verify"});
    ASSERT_EQ(rest.status, 0) << rest.err;
    EXPECT_THAT(rest.out, HasSubstr("copied " + std::to_string(35005 - arrived) + " values"));
    EXPECT_EQ(Holdings(db_), Holdings(from_));
}

TEST_F(Copying, BringsWhatIsNewAnotherTime) {
    ASSERT_EQ(Copy().status, 0);
    In(from_,
       {"INSERT INTO MeasuredValues VALUES (1,4,1,8,31,5,N'')",    // in between,
        "INSERT INTO MeasuredValues VALUES (1,300,1,8,32,5,N'')",  // in the last period,
        "INSERT INTO MeasuredValues VALUES (1,401,1,8,30,5,N'')",  // and behind
        "INSERT INTO MeasuredFunctions VALUES (1,1,1,1,1)",
        "UPDATE Reports SET noOfPeriods=402,RealPeriodLen=N'1001' WHERE ReportId=1",
        "UPDATE Measurements SET FrqLower=12.5,Percentiles=NULL",
        "UPDATE Markers SET inProgess=0,Stop=N'2026,01,01,00,01,00,000' WHERE inProgess<>0"});
    const Outcome again = Copy({"--verify"});
    ASSERT_EQ(again.status, 0) << again.err;
    EXPECT_THAT(again.out, HasSubstr("copied 3 values and 1 marker"));
    EXPECT_EQ(Holdings(db_), Holdings(from_));

    In(from_, {"INSERT INTO MeasuredValues VALUES (1,401,1,8,31,5,N'')"});
    EXPECT_EQ(Copy({"--verify"}).status, 0);
    EXPECT_EQ(Holdings(db_), Holdings(from_)) << "the last period was not whole before";
}

TEST_F(Copying, KeepsAFunctionWithoutANameFromThatOfAnother) {
    In(from_, {"DELETE FROM FuncNameMap WHERE FuncId=8"});
    for (const char* expected : {"copied 5 values and 3 markers", "nothing new"}) {
        const Outcome outcome = Copy({"--verify"});
        ASSERT_EQ(outcome.status, 0) << outcome.err;
        EXPECT_THAT(outcome.out, HasSubstr(expected));
        EXPECT_THAT(outcome.out, HasSubstr("function 8 without a name goes by the number 9"));
    }
    EXPECT_EQ(Count("MeasuredValues WHERE FuncId=9"), 5);
    EXPECT_EQ(Count("Markers WHERE funcId=9"), 3);
}

TEST_F(Copying, TellsWhereTheTwoDiffer) {
    ASSERT_EQ(Copy().status, 0);
    Execute("UPDATE MeasuredValues SET Value=0.10000000000000002 WHERE PeriodNo=3 AND Value<>77");
    const Outcome outcome = Copy({"--verify"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.err, HasSubstr("period 3, channel 1, function 9, band 30: 0.1 with"));
    Execute("UPDATE MeasuredValues SET Value=0.1 WHERE PeriodNo=3 AND Value<>77");
    Execute("UPDATE MeasuredValues SET Status=NULL WHERE PeriodNo=5");
    EXPECT_EQ(Copy({"--verify"}).status, 1);
}

TEST_F(Copying, RefusesWhatIsStoredOtherwiseBeforeAnythingIsWritten) {
    ASSERT_EQ(Copy().status, 0);
    In(from_, {"INSERT INTO Groups VALUES (0,N'first',N'',N'0',N'')"});
    const std::pair<const char*, const char*> conflicts[] = {
        {"UPDATE Measurements SET StartAt=N'2026,01,01,00,00,00,501'",
         "started at 2026-01-01 00:00:00.500 and not at 2026-01-01 00:00:00.501"},
        {"UPDATE Measurements SET StartAt=N'2026,01,01,00,00,00,500',BandWidth=1", "bandwidth"},
        {"UPDATE Measurements SET BandWidth=3", nullptr},
        {"UPDATE Reports SET PeriodLen=N'999' WHERE ReportId=2", "another report 2"},
        {"UPDATE Reports SET PeriodLen=N'2000' WHERE ReportId=2", nullptr},
        {"UPDATE MeasuredFunctions SET Channel=2 WHERE ReportId=1", "other functions in report 1"}};
    for (const auto& [change, reason] : conflicts) {
        In(from_, {change});
        if (reason) ExpectRefused({"copy", from_, db_}, reason);
    }
    ExpectRefused({"copy", from_, db_, "--instrument", "nobody"}, "choose one of: first (0)");
    ExpectRefused({"copy", from_, folder_ / "no.db"}, "mersola init");
}

// A server compares more letters as equal than SQLite does, and no blanks at the end.
TEST_F(Copying, MixesNoTwoInstrumentsThatAreOneNameInTheTarget) {
    Execute("DROP TABLE Groups");
    Execute(
        "CREATE TABLE Groups (GroupId INTEGER PRIMARY KEY,GroupName TEXT COLLATE RTRIM UNIQUE,"
        "Info TEXT,Type TEXT,State TEXT)");
    In(from_, {"INSERT INTO Groups VALUES (2,N'Pier ''4'' ',N'',N'0',NULL)"});
    for (const char* safe : {"; 0 values copied safely\n", "another name\n"}) {
        const Outcome refused = Copy();
        EXPECT_EQ(refused.status, 1);
        EXPECT_THAT(refused.err, HasSubstr("'Pier '4' ' cannot be in "));
        EXPECT_THAT(refused.err, EndsWith(safe));
        EXPECT_EQ(Count("Groups"), 1);
    }
    EXPECT_EQ(Copy({"--instrument", "1"}).status, 0);
    EXPECT_EQ(Copy({"--instrument", "2"}).status, 1);
}

TEST_F(Copying, NamesTheStatusThatAServerCannotHold) {
    In(from_, {"DELETE FROM MeasuredValues WHERE PeriodNo=300"});
    test::TheWatch().dbmsName = "Microsoft SQL Server";
    std::string letters;
    for (int letter = 0; letter < 64; ++letter)
        letters += "\xC3\xA4";
    const std::pair<std::string, const char*> statuses[] = {
        {letters + "x", "takes no status of more than 64 letters, as at period 4, channel 1"},
        {"\xC5\x81", "takes only Western European letters in a status, as at period 4"},
        {letters, nullptr}};
    for (const auto& [status, reason] : statuses) {
        In(from_, {"UPDATE MeasuredValues SET Status=N'" + status + "' WHERE PeriodNo=4"});
        const Outcome outcome = RunWords({"copy", from_, Watched(db_)});
        EXPECT_EQ(outcome.status, reason ? 1 : 0) << outcome.err;
        EXPECT_THAT(outcome.err, HasSubstr(reason ? reason : ""));
        EXPECT_THAT(outcome.err, Not(HasSubstr("goes on")));
    }
    test::TheWatch().Reset();
}

TEST_F(Copying, RefusesAnEngineThatIsNotKnown) {
    const auto before = Holdings(db_);
    test::TheWatch().dbmsName = "Another Server";
    const std::string empty = folder_ / "empty.db";
    std::ofstream(empty).close();
    for (const std::string& path : {empty, db_}) {
        for (const auto& words : {Words{"init", Watched(path)}, {"copy", from_, Watched(path)}}) {
            const Outcome outcome = RunWords(words);
            EXPECT_EQ(outcome.status, 1);
            EXPECT_THAT(outcome.err,
                        HasSubstr("Another Server is not known here; what is known is SQLite, "));
        }
    }
    test::TheWatch().Reset();
    EXPECT_EQ(Holdings(db_), before);
    EXPECT_EQ(RunWords({"init", empty}).status, 0) << "nothing was laid out";
}

TEST_F(Copying, RefusesToCopyAFileToItself) {
    ExpectRefused({"copy", from_, folder_ / "./from.db"}, "are the same file");
}

TEST_F(Copying, GoesThroughOdbcAndBack) {
    const std::string odbc = "Driver={SQLite3};Database=" + (folder_ / "odbc.db").string();
    const Outcome init = RunWords({"init", odbc});
    if (init.err.find("an't open lib") != init.err.npos && !test::IsRequired(false))
        GTEST_SKIP() << "no driver: " << init.err;
    ASSERT_EQ(init.status, 0) << init.err;
    EXPECT_THAT(RunWords({"init", odbc}).err, HasSubstr("a table Groups already"));
    In(from_, {"UPDATE MeasuredValues SET Value=60.5 WHERE PeriodNo=300"});
    Done({"copy", from_, odbc, "--verify"});
    ASSERT_EQ(RunWords({"list", odbc}).out, RunWords({"list", from_}).out);
    Done({"copy", odbc, db_, "--verify"});
    EXPECT_EQ(Holdings(db_), Holdings(from_));
}

#ifdef MERSOLA_WITH_POSTGRESQL
TEST_F(Copying, GoesThroughPostgreSQLAndBackThoughItStops) {
    const test::Database server("PostgreSQL");
    if (!server.Missing().empty() && !test::IsRequired(false)) GTEST_SKIP() << server.Missing();
    ASSERT_EQ(server.Missing(), "");
    const std::string back = folder_ / "back.db";
    Done({"init", back, "--layout", "packed"});
    for (const auto& [from, to] : {std::pair(from_, server.WatchedString() + ";Password=unused"),
                                   {server.ConnectString(), Watched(back)}}) {
        test::TheWatch().fails = [](std::string_view sql) {
            return sql.starts_with("UPDATE Reports SET noOfPeriods");
        };
        EXPECT_EQ(RunWords({"copy", from, to}).status, 1);
        test::TheWatch().Reset();
        const std::string rest = Done({"copy", from, to, "--verify"});
        EXPECT_THAT(rest, HasSubstr("verified 5 values in 2 reports"));
    }
    EXPECT_EQ(Holdings(back), Holdings(from_));
}
#endif

}  // namespace
}  // namespace mersola::tool
