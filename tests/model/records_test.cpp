// Records: what counts as identical, copies that stand alone.
#include <gtest/gtest.h>
#include <mersola/records.h>

#include <stdexcept>

TEST(Record, IsIdenticalByItsKeyAlone) {
    EXPECT_TRUE(FuncInfo(1, 2, 3) == FuncInfo(1, 2, 9));
    EXPECT_FALSE(FuncInfo(1, 2, 3) == FuncInfo(1, 3, 3) || FuncInfo(1, 2, 3) == FuncInfo(2, 2, 3));
    EXPECT_THROW(FuncInfo(1, 2, 1L << 32), std::out_of_range);

    ReportInfo report, other, longer, ofAnotherType;
    other.ReportId = 9;
    other.RealPeriodLen = longer.PeriodLen = CTimeSpanEx(126);
    ofAnotherType.ReportType = 3;
    EXPECT_TRUE(report.identicalTo(other));
    EXPECT_FALSE(report.identicalTo(longer) || report.identicalTo(ofAnotherType));
}

TEST(Record, OfAMeasurementIsCopiedWithItsReports) {
    MeasurementInfo three;
    three.reports.SetSize(3);
    three.setReports(three.reports);
    auto copy = three;
    copy.reports[2].functions.Add(FuncInfo(1, 2, 3));
    EXPECT_TRUE(three.hasReports && three.reports[2].functions.IsEmpty());
    copy.reports.RemoveAll();
    three.setReports(copy.reports);
    EXPECT_TRUE(!three.hasReports && three.reports.IsEmpty());
}

TEST(Record, OfAMarkerIsShownWithWhatItHolds) {
    MarkerInfo marker;
    marker.Path = "a%s.wav";
    marker.Stop = "t";
    marker.frqId = 5;
    marker.funcId = 6;
    EXPECT_EQ(marker.toString(),
              "{Path=a%s.wav, GroupId=0, MeasId=0, Start=, Stop=t, MarkerId=0, MarkerType=0, "
              "TriggerCondition=, funcId=6, frqId=5, inProgess=0}");
}
