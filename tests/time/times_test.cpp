// Times and spans: exact milliseconds, both texts, arithmetic over the calendar's edges.
#include <gtest/gtest.h>
#include <mersola/times.h>

#include <cmath>
#include <random>
#include <sstream>

namespace {

constexpr auto kMost = std::numeric_limits<std::int64_t>::max();
constexpr auto kLeast = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t kDay = 86'400'000;

std::int64_t ReadSpan(const char* text) {
    CTimeSpanEx span(4711);
    return CTimeSpanEx::FromText(text, span) ? span.GetTotalMilliseconds() : 4711;
}

CTimeEx Time(const char* text) {
    CTimeEx time;
    EXPECT_TRUE(CTimeEx::FromText(text, time)) << text;
    return time;
}

CTimeEx Reloaded(CTimeEx time) {
    std::stringstream stream;
    CArchive out(stream, CArchive::store);
    time.Serialize(out);
    CArchive in(stream, CArchive::load);
    CTimeEx loaded;
    loaded.Serialize(in);
    return loaded;
}

}  // namespace

TEST(Span, IsWrittenWithAFieldForEachPart) {
    EXPECT_EQ(CTimeSpanEx(0, 0, 15, 0, 0).ToText(), "00,00,15,00,000");
    EXPECT_EQ(CTimeSpanEx(123, 0, 0, 0, 0).ToText(), "123,00,00,00,000");
    EXPECT_EQ(CTimeSpanEx(-(kDay + 7'384'005)).ToText(), "-1,-2,-3,-4,-05");
    EXPECT_EQ(CTimeSpanEx(0, 0, 90, -60, 2500).ToText(), "00,01,29,02,500");
}

TEST(Span, KeepsEveryMillisecondThroughDaysAndText) {
    std::mt19937_64 random(1);
    for (int i = 0; i < 50'000; ++i) {
        // All magnitudes up to twenty thousand years, with the edges of seconds among them.
        const auto bound = std::int64_t{1} << (i % 49 + 1);
        auto total = std::uniform_int_distribution<std::int64_t>(-bound, bound)(random);
        total = i % 3 == 0 ? total - total % 1000 + i % 5 - 2 : total;
        total = i % 7 == 0 ? total - total % kDay + i % 3 - 1 : total;
        const CTimeSpanEx span(total);
        ASSERT_EQ(span.GetTotalMilliseconds(), total);
        ASSERT_EQ(span.GetMilliseconds(), total % 1000);
        ASSERT_EQ(span.GetSeconds(), total / 1000 % 60);
        ASSERT_EQ(span.GetHours(), total / 3'600'000 % 24);
        ASSERT_EQ(span.GetDays(), total / kDay);
        ASSERT_EQ(ReadSpan(span.ToText()), total);
    }
}

TEST(Span, ReadsTextsOfEitherKindAndNoOthers) {
    EXPECT_EQ(ReadSpan("125"), 125);
    EXPECT_EQ(ReadSpan(" -3000000000 "), -3'000'000'000);
    EXPECT_EQ(ReadSpan("00, 00,08 ,09,010"), 489'010);
    for (const char* bad : {"", " ", ",", "NOT_SET", "1,2,3,4", "1,2,3,4,5,6", "1,2,,4,5",
                            "1,2,3,4,", "1,2,3,4,5x", "0x10", "1.5", "+1", "1 2",
                            "0,0,0,0,2147483648", "-2147483649,0,0,0,0", "9223372036854775808"}) {
        EXPECT_EQ(ReadSpan(bad), 4711) << bad;
    }
}

TEST(Span, TakesEveryNumberWithoutWrapping) {
    EXPECT_EQ(CTimeSpanEx(125U).GetTotalMilliseconds(), 125);
    EXPECT_EQ(CTimeSpanEx(kMost).GetTotalMilliseconds(), kMost);
    EXPECT_EQ(CTimeSpanEx(kLeast).GetTotalMilliseconds(), -kMost);
    for (const auto& beyond :
         {CTimeSpanEx(~std::uint64_t{0}), CTimeSpanEx(std::nan("")), CTimeSpanEx(-HUGE_VAL),
          CTimeSpanEx(1.1e11), CTimeSpanEx(kMost, 0, 0, 0, 0),
          CTimeSpanEx(kMost / kDay, 2'000'000'000, 0, 0, 0)}) {
        EXPECT_EQ(beyond.GetStatus(), COleDateTimeSpan::invalid);
        EXPECT_EQ(beyond.ToText(), "");
    }
}

TEST(Time, IsWrittenAndReadInSevenFields) {
    EXPECT_EQ(CTimeEx(2026, 11, 15, 7, 30, 12, 45).ToText(), "2026,11,15,07,30,12,045");
    auto kept = Time(" 2026, 08,09 ,08,09,08,008");
    for (const char* bad :
         {"", "2026,11,15,07,30,12", "2026,11,15,07,30,12,045,1", "NOT_SET",
          "2026,02,30,07,30,12,045", "2026,13,01,00,00,00,000", "2026,11,15,24,00,00,000",
          "2026,11,15,07,30,12,1000", "2026,11,15,07,30,12,-1", "99999999999,11,15,07,30,12,0"}) {
        EXPECT_FALSE(CTimeEx::FromText(bad, kept)) << bad;
    }
    EXPECT_EQ(kept.ToText(), "2026,08,09,08,09,08,008");
}

TEST(Time, AddsAndSubtractsToTheMillisecond) {
    const auto edge = Time("2023,12,31,23,59,59,999");
    EXPECT_EQ((edge + CTimeSpanEx(1)).ToText(), "2024,01,01,00,00,00,000");
    EXPECT_EQ((edge + CTimeSpanEx(60, 0, 0, 0, 1)).ToText(), "2024,03,01,00,00,00,000");
    EXPECT_EQ(edge, Time("2023,12,31,23,59,59,000"));
    EXPECT_LT(edge, edge + CTimeSpanEx(1));
    const auto epoch = Time("1899,12,30,00,00,00,000");
    EXPECT_EQ((epoch - CTimeSpanEx(kDay + 1)).ToText(), "1899,12,28,23,59,59,999");

    std::mt19937_64 random(2);
    const auto first = Time("0100,01,01,00,00,00,000");
    const auto reach = (Time("9999,12,31,23,59,59,999") - first).GetTotalMilliseconds();
    std::uniform_int_distribution<std::int64_t> any(0, reach);
    for (int i = 0; i < 10'000; ++i) {
        const auto from = any(random), to = any(random);
        const auto a = first + CTimeSpanEx(from), b = first + CTimeSpanEx(to);
        ASSERT_EQ((b - a).GetTotalMilliseconds(), to - from);
        ASSERT_EQ((a + (b - a)).ToText(), b.ToText());
        ASSERT_EQ((a - (a - b)).ToText(), b.ToText());
        ASSERT_EQ(Time(b.ToText()).ToText(), b.ToText());
        ASSERT_EQ(Reloaded(b).ToText(), b.ToText());
    }
}

TEST(Time, BecomesInvalidBeyondItsYearsAndWithInvalidOperands) {
    const auto last = Time("9999,12,31,23,59,59,999");
    const CTimeEx invalid(2026, 2, 30, 0, 0, 0);
    const CTimeSpanEx nothing(std::nan(""));
    for (const auto& time :
         {last + CTimeSpanEx(1), last + CTimeSpanEx(kMost), last - CTimeSpanEx(kMost),
          Time("0100,01,01,00,00,00,000") - CTimeSpanEx(kMost), invalid + CTimeSpanEx(0),
          last + nothing, last - nothing}) {
        EXPECT_FALSE(time.IsValid());
    }
    EXPECT_EQ((last - invalid).GetStatus(), COleDateTimeSpan::invalid);
}

TEST(Time, IsRefusedByAnArchiveWithNonsense) {
    const auto load = [](double days, int status, double milliseconds, auto value) {
        std::stringstream stream;
        CArchive(stream, CArchive::store) << days << status << milliseconds;
        CArchive in(stream, CArchive::load);
        value.Serialize(in);
    };
    for (const double bad : {1000.0, -1.0, 0.5, std::nan(""), 1e300}) {
        EXPECT_THROW(load(1, 0, bad, CTimeEx()), CArchiveException);
        EXPECT_THROW(load(1, 0, bad, CTimeSpanEx()), CArchiveException);
    }
    EXPECT_THROW(load(std::nan(""), 0, 0, CTimeEx()), CArchiveException);
    EXPECT_THROW(load(1e300, 0, 0, CTimeSpanEx()), CArchiveException);
}
