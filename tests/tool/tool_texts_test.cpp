// Times, lengths and tables as the command-line tool reads and writes them.
#include <gtest/gtest.h>

#include <sstream>

#include "basics/table.h"
#include "basics/times_text.h"

namespace mersola::tool {
namespace {

TEST(PeriodTexts, AreWholeMillisecondsUpToADay) {
    const std::pair<const char*, std::int64_t> periods[] = {
        {"125ms", 125},     {"1s", 1000},      {"0.5 s", 500},      {"1.125s", 1125},
        {"15min", 900'000}, {"1h", 3'600'000}, {"24h", 86'400'000}, {"1ms", 1}};
    for (const auto& [text, milliseconds] : periods) {
        const auto period = ParsePeriod(text);
        ASSERT_TRUE(period) << text;
        EXPECT_EQ(period->GetTotalMilliseconds(), milliseconds) << text;
        EXPECT_EQ(ParsePeriod(PeriodText(*period)), period) << text;
    }
    for (const char* text : {"", "125", "ms", "0ms", "-1s", "0.5ms", "1.0001s", "25h", "1,5s",
                             "1 day", "1ss", " 1s", "nans", "infh", "1e300h", "1\xC2\xA0s"})
        EXPECT_FALSE(ParsePeriod(text)) << text;
    EXPECT_EQ(PeriodText(CTimeSpanEx(90'000)), "90 s");
    EXPECT_EQ(PeriodText(CTimeSpanEx()), "0 s");
}

TEST(TimeTexts, AreDatesThatThereAre) {
    const std::pair<const char*, const char*> times[] = {
        {"2026-11-15 07:30:12.045", "2026-11-15 07:30:12.045"},
        {"2026-11-15T07:30:12.5", "2026-11-15 07:30:12.500"},
        {"2024-02-29 23:59", "2024-02-29 23:59:00.000"}};
    for (const auto& [text, shown] : times) {
        const auto time = ParseTime(text);
        ASSERT_TRUE(time) << text;
        EXPECT_EQ(TimeText(*time), shown);
    }
    for (const char* text :
         {"", "2026-11-15", "2026-02-30 10:00", "2026-11-15 24:00", "2026-11-15 7:30",
          "2026-11-15 07:30:", "2026-11-15 07:30:12.", "2026-11-15 07:30:12.0451",
          "2026-11-15 07:30:12Z", "2026-11-15 07:3x", "26-11-15 07:30", "2026-11-15  07:30"})
        EXPECT_FALSE(ParseTime(text)) << text;
    EXPECT_EQ(TimeText(*ParseTimeOrDate("2026-11-15")), "2026-11-15 00:00:00.000");
    EXPECT_EQ(TimeText(*ParseTimeOrDate("2026-11-15 07:30")), "2026-11-15 07:30:00.000");
    for (const char* text : {"", "2026-11-31", "15.11.2026", "2026-11-15 ", "2026-11-1"})
        EXPECT_FALSE(ParseTimeOrDate(text)) << text;
}

TEST(Tables, LineUpByCharactersAndShowNoControlCodes) {
    std::ostringstream out;
    Table table(out, Table::Form::Aligned, {"a", "µPa", "c"}, {3});
    table.Row({"1", "2", "\x1b[31m"});
    EXPECT_EQ(out.str(), "  a  µPa  c\n  1    2  ?[31m\n");
}

TEST(Tables, QuoteInCsvWhatWouldBreakARow) {
    std::ostringstream out;
    Table table(out, Table::Form::Csv, {"a,b", "say \"x\""}, {30});
    table.Row({"", "two\nlines"});
    EXPECT_EQ(out.str(), "\"a,b\",\"say \"\"x\"\"\"\n,\"two\nlines\"\n");
}

}  // namespace
}  // namespace mersola::tool
