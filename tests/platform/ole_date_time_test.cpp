// Dates as days: known days, the calendar's edges, the years before 1899.
#include <gtest/gtest.h>
#include <mersola/platform/ole_date_time.h>
#include <mersola/platform/text.h>

#include <cmath>
#include <cstdlib>
#include <ctime>

namespace {

CString Shown(const COleDateTime& time) {
    CString text;
    text.Format("%d-%d-%d %d:%d:%d", time.GetYear(), time.GetMonth(), time.GetDay(), time.GetHour(),
                time.GetMinute(), time.GetSecond());
    return text;
}

}  // namespace

TEST(OleDate, CountsDaysOnBothSidesOfItsEpoch) {
    EXPECT_EQ(COleDateTime(9999, 12, 31, 12, 0, 0).m_dt, 2958465.5);
    EXPECT_EQ(COleDateTime(1899, 12, 29, 6, 0, 0).m_dt, -1.25);
    EXPECT_EQ(Shown(COleDateTime(-1.75)), "1899-12-29 18:0:0");
    EXPECT_EQ(Shown(COleDateTime(1.9999999)), "1900-1-1 0:0:0");
    EXPECT_EQ(Shown(COleDateTime(-1.9999999)), "1899-12-30 0:0:0");

    const COleDateTime before(1899, 12, 29, 18, 0, 0), after(1899, 12, 31, 6, 0, 0);
    EXPECT_LT(COleDateTime(-1.25), before);
    EXPECT_EQ((after - before).m_span, 1.5);
    EXPECT_EQ(after - COleDateTimeSpan(1, 12, 0, 0), before);
    EXPECT_EQ((after + COleDateTimeSpan(4e6)).GetStatus(), COleDateTime::invalid);
}

TEST(OleDate, RefusesPartsAndNumbersThatMakeNoDate) {
    const int refused[][6] = {
        {2100, 2, 29, 0, 0, 0},  {2026, 257, 1, 0, 0, 0}, {2026, 1, 0, 0, 0, 0},
        {2026, 1, 257, 0, 0, 0}, {2026, 1, 1, 24, 0, 0},  {2026, 1, 1, 0, 60, 0},
        {2026, 1, 1, 0, 0, -1},  {99, 12, 31, 0, 0, 0},   {65536 + 2026, 1, 1, 0, 0, 0}};
    for (const auto& [year, month, day, hour, minute, second] : refused)
        EXPECT_EQ(Shown({year, month, day, hour, minute, second}), "-1--1--1 -1:-1:-1") << day;
    for (const double days : {1e300, -1e300, -657435.0, 2958465.9999999, std::nan("")}) {
        COleDateTime time(days);
        EXPECT_EQ(time.GetStatus(), COleDateTime::invalid);
        time.SetStatus(COleDateTime::valid);
        EXPECT_EQ(time.GetHour(), COleDateTime::error);
    }
}

TEST(OleDate, LosesNoSecondInAnyYear) {
    const auto first = COleDateTime(100, 1, 1, 0, 0, 0).ToSeconds();
    const auto last = COleDateTime(9999, 12, 31, 23, 59, 59).ToSeconds();
    for (auto seconds = first; seconds <= last; seconds += 86400 * 31 + 4321) {
        const auto time = COleDateTime::FromSeconds(seconds);
        const COleDateTime again(time.GetYear(), time.GetMonth(), time.GetDay(), time.GetHour(),
                                 time.GetMinute(), time.GetSecond());
        ASSERT_EQ(again.ToSeconds(), seconds);
        ASSERT_LT(time, COleDateTime::FromSeconds(seconds + 1)) << Shown(time);
    }
}

TEST(OleDate, ReadsTheLocalClock) {
    const char* zone = std::getenv("TZ");
    const std::string before = zone ? zone : "";
    setenv("TZ", "XXX-05:30", 1);
    tzset();
    const std::chrono::system_clock::time_point justBefore1970(std::chrono::milliseconds(-1));
    EXPECT_EQ(Shown(COleDateTime::FromClock(justBefore1970)), "1970-1-1 5:29:59");
    zone ? setenv("TZ", before.c_str(), 1) : unsetenv("TZ");
    tzset();
}
