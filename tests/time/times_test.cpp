// Times and spans: exact milliseconds, both texts, arithmetic over the calendar's edges.
#include <gtest/gtest.h>
#include <mersola/times.h>

#include <cmath>
#include <random>
#include <sstream>

namespace {

constexpr auto kMost = std::numeric_limits<std::int64_t>::max();
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

// What `value` is once it has loaded what store(archive) stored, as text.
CString Loaded(auto value, auto store) {
    std::stringstream stream;
    CArchive out(stream, CArchive::store), in(stream, CArchive::load);
    store(out);
    value.Serialize(in);
    return value.ToText();
}

}  // namespace

TEST(Span, KeepsEveryMillisecondThroughDaysAndText) {
    std::mt19937_64 random(1);
    for (int i = 0; i < 50'000; ++i) {
        // All magnitudes up to twenty thousand years, with the edges of seconds among them.
        const auto bound = std::int64_t{1} << (i % 49 + 1);
        auto total = std::uniform_int_distribution<std::int64_t>(-bound, bound)(random);
        total = i % 3 == 0 ? total - total % 1000 + i % 5 - 2 : total;
        total = i % 7 == 0 ? total - total % kDay + i % 3 - 1 : total;
        CTimeSpanEx span(total);
        ASSERT_EQ(span.GetTotalMilliseconds(), total);
        ASSERT_EQ(span.GetDays(), total / kDay);
        ASSERT_EQ(ReadSpan(span.ToText()), total);
        ASSERT_EQ(Loaded(CTimeSpanEx(), [&](auto& out) { span.Serialize(out); }), span.ToText());
    }
    EXPECT_EQ(CTimeSpanEx(-(kDay + 7'384'005)).ToText(), "-1,-2,-3,-4,-05");
    EXPECT_EQ(CTimeSpanEx(0, 0, 90, -60, 2500).ToText(), "00,01,29,02,500");
}

TEST(Span, ReadsTextsOfEitherKindAndNoOthers) {
    EXPECT_EQ(ReadSpan(" -3000000000 "), -3'000'000'000);
    for (const char* bad : {" ", "1,2,3,4", "1,2,3,4,5,6", "1,2,,4,5", "1,2,3,4,5x", "+1", "1 2",
                            "0,0,0,0,2147483648", "-2147483649,0,0,0,0", "9223372036854775808"})
        EXPECT_EQ(ReadSpan(bad), 4711) << bad;
}

TEST(Span, TakesEveryNumberWithoutWrapping) {
    EXPECT_EQ(CTimeSpanEx(kMost).GetTotalMilliseconds(), kMost);
    EXPECT_EQ(CTimeSpanEx(-kMost - 1).GetTotalMilliseconds(), -kMost);
    for (const auto& beyond :
         {CTimeSpanEx(~std::uint64_t{0}), CTimeSpanEx(std::nan("")), CTimeSpanEx(-HUGE_VAL),
          CTimeSpanEx(1.1e11), CTimeSpanEx(kMost, 0, 0, 0, 0),
          CTimeSpanEx(kMost / kDay, 2'000'000'000, 0, 0, 0)})
        EXPECT_EQ(beyond.GetStatus(), COleDateTimeSpan::invalid);
}

TEST(Time, IsWrittenAndReadInSevenFields) {
    auto kept = Time(" 2026, 08,09 ,08,09,08,008");
    for (const char* bad : {"2026,11,15,07,30,12", "2026,02,30,07,30,12,045",
                            "2026,11,15,07,30,12,1000", "2026,11,15,07,30,12,-1"})
        EXPECT_FALSE(CTimeEx::FromText(bad, kept)) << bad;
    EXPECT_EQ(kept.ToText(), "2026,08,09,08,09,08,008");
}

TEST(Time, AddsAndSubtractsToTheMillisecond) {
    const auto edge = Time("2023,12,31,23,59,59,999");
    EXPECT_EQ(edge, Time("2023,12,31,23,59,59,000"));
    EXPECT_LT(edge, edge + CTimeSpanEx(1));
    EXPECT_EQ((CTimeEx() - CTimeSpanEx(kDay + 1)).ToText(), "1899,12,28,23,59,59,999");

    std::mt19937_64 random(2);
    const auto first = Time("0100,01,01,00,00,00,000");
    const auto reach = (Time("9999,12,31,23,59,59,999") - first).GetTotalMilliseconds();
    std::uniform_int_distribution<std::int64_t> any(0, reach);
    for (int i = 0; i < 10'000; ++i) {
        const auto from = any(random), to = any(random);
        auto a = first + CTimeSpanEx(from), b = first + CTimeSpanEx(to);
        ASSERT_EQ((b - a).GetTotalMilliseconds(), to - from);
        ASSERT_EQ((a + (b - a)).ToText(), b.ToText());
        ASSERT_EQ((a - (a - b)).ToText(), b.ToText());
        ASSERT_EQ(Time(b.ToText()).ToText(), b.ToText());
        ASSERT_EQ(Loaded(CTimeEx(), [&](auto& out) { b.Serialize(out); }), b.ToText());
    }
}

TEST(Time, BecomesInvalidBeyondItsYearsAndWithInvalidOperands) {
    const auto last = Time("9999,12,31,23,59,59,999");
    const CTimeEx invalid(2026, 2, 30, 0, 0, 0);
    for (const auto& time : {last + CTimeSpanEx(1), last + CTimeSpanEx(kMost),
                             Time("0100,01,01,00,00,00,000") - CTimeSpanEx(1),
                             invalid + CTimeSpanEx(0), last - CTimeSpanEx(std::nan(""))})
        EXPECT_EQ(time.ToText(), "");
    EXPECT_EQ((last - invalid).ToText(), "");
}

TEST(Time, IsRefusedByAnArchiveWithNonsense) {
    const auto nan = std::nan("");
    for (const auto& [days, milliseconds] :
         {std::pair(1.0, 1000.0), {1, -1}, {1, 0.5}, {1, nan}, {1, 1e300}, {nan, 0}, {1e300, 0}}) {
        const auto store = [&days = days, &milliseconds = milliseconds](CArchive& out) {
            out << days << 0 << milliseconds;
        };
        EXPECT_THROW(Loaded(CTimeEx(), store), CArchiveException);
        EXPECT_THROW(Loaded(CTimeSpanEx(), store), CArchiveException);
    }
}
