// Views by which programs that know nothing of mersola read names and times.
#include <gtest/gtest.h>

#include "tool_fixture.h"

namespace mersola::tool {
namespace {

class Viewed : public testing::TestWithParam<const char*> {};

INSTANTIATE_TEST_SUITE_P(Engines, Viewed, testing::Values("SQLite", "SQLitePacked", "PostgreSQL"),
                         [](const auto& tested) { return std::string(tested.param); });

TEST_P(Viewed, ByNameWithTimesOfTheirOwnAndNothingWhereATextIsNone) {
    const test::Database database(GetParam());
    if (!database.Missing().empty()) {
        ASSERT_FALSE(test::IsRequired(database.NeedsServer())) << database.Missing();
        GTEST_SKIP() << database.Missing();
    }
    const Words upgrade{"upgrade", "--views", "--no-backup", database.ConnectString()};
    Done(upgrade);
    database.Run({
        "INSERT INTO Groups (GroupId,GroupName) VALUES (1,'it''s a pier')",
        "INSERT INTO Measurements (GroupId,MeasId,MeasName,StartAt) VALUES "
        "(1,1,'one','2024,02,29,23,59,59,875')",
        "INSERT INTO Measurements (GroupId,MeasId,MeasName,StartAt) VALUES "
        "(1,2,'none','2026,02,29,00,00,00,000')",
        "INSERT INTO Reports (GroupId,MeasId,ReportId,PeriodLen) VALUES (1,1,1,'00,00,00,00,125')",
        "INSERT INTO Reports (GroupId,MeasId,ReportId,PeriodLen) VALUES (1,1,2,'3600000')",
        "INSERT INTO Reports (GroupId,MeasId,ReportId,PeriodLen) VALUES (1,2,1,'soon')",
        "INSERT INTO MeasValueMap VALUES (1,1,1,7)",
        "INSERT INTO MeasValueMap VALUES (1,1,2,8)",
        "INSERT INTO MeasValueMap VALUES (1,2,1,9)",
        "INSERT INTO FuncNameMap VALUES (2,'LAeq')",
        "INSERT INTO FrqNameMap VALUES (31,'1.25 kHz')",
        "INSERT INTO FrqNameMap VALUES (32,'1,6 kHz')",
        "INSERT INTO MeasuredValues VALUES (7,1,1,2,31,60.5,'')",
        "INSERT INTO MeasuredValues VALUES (7,2,1,2,31,61.5,'Ax')",
        "INSERT INTO MeasuredValues VALUES (7,3,1,9,32,62.5,'a')",
        "INSERT INTO MeasuredValues VALUES (9,1,1,2,31,63.5,'')",
        "INSERT INTO Markers (GroupId,MeasId,Path,Start,Stop,inProgess,funcId) VALUES "
        "(1,1,'a.wav','2024,03,01,00,00,01,500','2024,03,01,00,00,01,500',1,2)",
        "INSERT INTO Markers (GroupId,MeasId,Path,Start,Stop,inProgess) VALUES "
        "(5,1,'b.wav','','1969,12,31,23,59,59,250',0)",
    });
    Done(upgrade);  // anew
    const auto count = [&](const std::string& from) {
        return database.Ask("SELECT count(*) FROM " + from);
    };
    EXPECT_EQ(count("ReportView WHERE Instrument='It''s a pier' AND StartMs=1709251199875 AND "
                    "StartTime='2024-02-29T23:59:59.875' AND (PeriodMs=125 OR PeriodMs=3600000)"),
              "2");
    EXPECT_EQ(count("ReportView WHERE Measurement='none' AND StartMs IS NULL AND StartTime IS NULL "
                    "AND StartEpoch IS NULL AND PeriodMs IS NULL"),
              "1");
    EXPECT_EQ(count("ValueView WHERE FuncName='LAeq' AND Band='1.25 kHz' AND BandHz=1250 AND "
                    "PeriodNo=1 AND Epoch=1709251200.0 AND Time='2024-03-01T00:00:00.000' AND "
                    "Value=60.5 AND (0-StartMs)/PeriodMs<PeriodNo"),
              "1");
    EXPECT_EQ(count("ValueView WHERE Value IS NULL AND PeriodNo=2"), "1");
    EXPECT_EQ(count("ValueView WHERE Value=62.5 AND FuncName IS NULL AND BandHz IS NULL"), "1");
    EXPECT_EQ(count("ValueView WHERE Value=63.5 AND Epoch IS NULL"), "1");
    EXPECT_EQ(count("ValueView"), "4");
    EXPECT_EQ(count("EventView WHERE Path='a.wav' AND StartTime='2024-03-01T00:00:01.500' AND "
                    "StartEpoch=1709251201.5 AND StopEpoch IS NULL AND FuncName='LAeq'"),
              "1");
    EXPECT_EQ(count("EventView WHERE Path='b.wav' AND Instrument IS NULL AND StartTime IS NULL AND "
                    "StopEpoch=-0.75 AND StopTime='1969-12-31T23:59:59.250'"),
              "1");
}

TEST_F(Tool, KeepsItsViewsWhileValuesArePackedAndUnpacked) {
    const std::string viewed = folder_ / "viewed.db";
    Done({"init", "--views", viewed});
    for (const char* way : {"pack", "unpack"}) {
        Done({way, viewed});
        Done({"check", viewed});
        EXPECT_EQ(In(viewed, {"SELECT count(*) FROM ValueView"})->Fields(0).Long(), 0) << way;
    }
}

}  // namespace
}  // namespace mersola::tool
