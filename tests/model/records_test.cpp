// Records: what they start as, what counts as identical, copies that stand alone.
#include <gtest/gtest.h>
#include <mersola/records.h>

#include <stdexcept>

namespace {

ReportInfo Report(int id, CTimeSpanEx length, int type) {
    ReportInfo report;
    report.ReportId = id;
    report.PeriodLen = length;
    report.ReportType = type;
    report.functions.Add(FuncInfo(id, 2, 3));
    return report;
}

MeasurementInfo WithReports(int count) {
    CArray<ReportInfo, ReportInfo&> reports;
    for (int i = 0; i < count; ++i) {
        reports.Add(Report(i, CTimeSpanEx(1000), 1));
    }
    MeasurementInfo measurement;
    measurement.setReports(reports);
    return measurement;
}

}  // namespace

TEST(Record, OfAFunctionIsEqualByFunctionAndChannel) {
    EXPECT_TRUE(FuncInfo(1, 2, 3) == FuncInfo(1, 2, 9));
    EXPECT_FALSE(FuncInfo(1, 2, 3) == FuncInfo(1, 3, 3) || FuncInfo(1, 2, 3) == FuncInfo(2, 2, 3));
    EXPECT_THROW(FuncInfo(1, 2, 1L << 32), std::out_of_range);
}

TEST(Record, OfAReportIsIdenticalByPeriodLengthAndType) {
    const auto report = Report(1, CTimeSpanEx(125), 2);
    auto other = Report(9, CTimeSpanEx(125), 2);
    other.RealPeriodLen = CTimeSpanEx(126);
    EXPECT_TRUE(report.identicalTo(other));
    EXPECT_FALSE(report.identicalTo(Report(1, CTimeSpanEx(126), 2)));
    EXPECT_FALSE(report.identicalTo(Report(1, CTimeSpanEx(125), 3)));
}

TEST(Record, OfAMeasurementIsCopiedWithItsReports) {
    auto three = WithReports(3);
    three.textItems = "10,50";
    auto target = WithReports(5);
    target = three;
    ASSERT_EQ(target.reports.GetSize(), 3);
    target.reports[2].functions[0].third = 7;
    EXPECT_EQ(three.reports[2].functions[0].third, 3);
    EXPECT_EQ(target.textItems.ToText(), "10,50");
    target.setReports(target.reports);
    EXPECT_TRUE(target.hasReports && target.reports.GetSize() == 3);
    target = WithReports(0);
    EXPECT_TRUE(!target.hasReports && target.reports.IsEmpty());
}

TEST(Record, OfAMarkerIsShownAndCopiedAmongOthers) {
    MarkerInfo marker;
    marker.Path = "a%s.wav";
    marker.GroupId = 1;
    marker.MeasId = -2;
    marker.Stop = "t";
    marker.TriggerCondition = "x>=5";
    marker.frqId = 5;
    marker.funcId = 6;
    marker.inProgess = 7;
    const char* shown =
        "{Path=a%s.wav, GroupId=1, MeasId=-2, Start=, Stop=t, MarkerId=0, MarkerType=0, "
        "TriggerCondition=x>=5, funcId=6, frqId=5, inProgess=7}";
    CArray<MarkerInfo, MarkerInfo&> markers;
    for (int i = 0; i < 20; ++i) {
        markers.Add(marker);
    }
    const auto copies = markers;
    EXPECT_EQ(copies[0].toString(), shown);
}
