// Pictures: what is drawn, what thinning keeps, and names and times on them.
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <numbers>

#include "catalogue/selection.h"
#include "plot/columns.h"
#include "plot/gnuplot.h"
#include "plot/series.h"
#include "plot/time_axis.h"
#include "recording_fixture.h"

namespace mersola::tool {
namespace {

// Sounds of two seconds, with a marker in the middle of each; periods of 125 ms.
class Picture : public RecordingTool {
  protected:
    void RecordAt(const std::string& time, const Words& more = {}) {
        const auto file = Sound("a {bell} & b.wav", 2, [](double t, int) {
            return (t >= 1 && t < 1.5 ? 0.5 : 0.01) * std::sin(2 * std::numbers::pi * 1000 * t);
        });
        Done(Words{"record", db_, file, "--instrument", instrument_, "--measurement", "Prüfung",
                   "--trigger", "LAeq>80", "--start", "2026-11-15 " + time} +
             more);
    }
    Words PlotWords(const std::string& file, const Words& more = {}) const {
        return Words{"plot", db_, "--instrument", "1", "--measurement", "1", "-o", folder_ / file} +
               more;
    }
    std::string Plotted(const std::string& file, const Words& more = {}) {
        const std::string outcome = Done(PlotWords(file, more));
        EXPECT_THAT(outcome, HasSubstr("shows"));
        return Contents(folder_ / file);
    }
    // How many pieces the line of a picture is in.
    static std::ptrdiff_t Pieces(const std::string& svg) {
        std::ptrdiff_t count = 0;
        const std::string path = "<path stroke='rgb( 11,  83, 148)'";
        for (auto at = svg.find(path); at != svg.npos; at = svg.find(path, at + 1))
            count += std::count(svg.begin() + static_cast<std::ptrdiff_t>(at),
                                svg.begin() + static_cast<std::ptrdiff_t>(svg.find("/>", at)), 'M');
        return count;
    }

    const std::string instrument_ = "Pier {4}_^ @x `id` \\\"<&>]]> %d";
};

TEST_F(Picture, IsMadeInEachFormWithNamesAsTheyAre) {
    RecordAt("10:00");
    const auto svg = Plotted("a.svg");
    EXPECT_THAT(svg, HasSubstr("width=\"1200\" height=\"720\""));
    for (const char* text :
         {"Pier {4}_^ @x `id` \\\"&lt;&amp;>]]&gt; %d – Prüfung", ">a {bell} &amp; b<", ">1 kHz<",
          ">Leq in dB<", ">1 event<", ">Local time on 2026-11-15<", ">10:00:01.0<", "<image "})
        EXPECT_THAT(svg, HasSubstr(text)) << text;
    const std::string parse =
        "python3 -c 'import sys, xml.dom.minidom; xml.dom.minidom.parse(sys.argv[1])' ";
    EXPECT_EQ(std::system((parse + (folder_ / "a.svg").string()).c_str()), 0);

    const auto html = Plotted("a.HTML", {"--function", "l10", "--width", "640"});
    EXPECT_THAT(html, StartsWith("<!DOCTYPE html>"));
    EXPECT_THAT(html, HasSubstr("width=\"640\""));
    EXPECT_THAT(html, Not(HasSubstr("<image "))) << "L10 has no bands";
    EXPECT_THAT(html, HasSubstr(">L10 in dB<"));
    EXPECT_THAT(html, HasSubstr("width=\"360\"")) << "for telephones";
    EXPECT_EQ(html.find("id='gpDot'"), html.rfind("id='gpDot'")) << "names are there once";

    const auto png = Plotted("a.png", {"--height", "400"});
    EXPECT_EQ(png.substr(1, 3), "PNG");
    EXPECT_EQ(png.substr(16, 8), std::string("\0\0\x04\xb0\0\0\x01\x90", 8));
}

TEST_F(Picture, BreaksTheLineWhereNothingValidIsStored) {
    RecordAt("10:00");
    EXPECT_EQ(Pieces(Plotted("a.svg")), 1);
    RecordAt("10:00:04");
    EXPECT_EQ(Pieces(Plotted("a.svg")), 2);
    Execute("UPDATE MeasuredValues SET Status='A' WHERE FuncId=2 AND PeriodNo IN (5,40)");
    const auto svg = Plotted("a.svg");
    EXPECT_EQ(Pieces(svg), 4);
    EXPECT_THAT(svg, HasSubstr(">no values<"));
    EXPECT_EQ(Pieces(Plotted("a.svg", {"--to", "2026-11-15 10:00:01"})), 2);
}

TEST_F(Picture, OfManyPeriodsHasNoMorePointsThanPixels) {
    RecordAt("10:00", {"--period", "2ms"});
    const auto svg = Plotted("a.svg", {"--width", "600"});
    EXPECT_THAT(svg, HasSubstr("A column holds 3 periods"));
    EXPECT_LT(svg.size(), 120'000U);
}

TEST_F(Picture, ShowsAHoleOfOneColumn) {
    RecordAt("10:00", {"--period", "2ms"});
    const auto whole = Plotted("a.svg");
    EXPECT_THAT(whole, Not(HasSubstr(">some values missing<")));
    Execute("UPDATE MeasuredValues SET Status='A' WHERE FuncId=2 AND PeriodNo=500");
    EXPECT_THAT(Plotted("a.svg", {"--width", "600"}), HasSubstr(">some values missing<"));
    const auto svg = Plotted("a.svg", {"--width", "1300"});
    EXPECT_EQ(Pieces(svg), 2);
    EXPECT_THAT(svg, HasSubstr(">no values<"));
}

TEST_F(Picture, OfALongTimeHasBandsThatOccurOnceInIt) {
    RecordAt("10:00");
    Execute("DELETE FROM MeasuredValues WHERE FuncId=1 AND (FrqId<>30 OR PeriodNo<>8)");
    Execute("UPDATE MeasuredValues SET PeriodNo=550 WHERE FuncId=1");
    Execute(
        "INSERT INTO MeasuredValues SELECT MeasValueId, 40000, Channel, FuncId, 20, Value, "
        "Status FROM MeasuredValues WHERE FuncId=1");
    Execute("UPDATE Reports SET noOfPeriods=40001");
    const auto svg = Plotted("a.svg", {"--from", "2026-11-15"});
    EXPECT_THAT(svg, HasSubstr(">1 kHz<"));
    EXPECT_THAT(svg, HasSubstr(">100 Hz<"));
    EXPECT_THAT(svg, Not(HasSubstr(">500 Hz<")));
}

TEST_F(Picture, HasWhatIsAskedForWrittenOnIt) {
    RecordAt("10:00");
    const auto svg =
        Plotted("a.svg", {"--title", "Night of the long words " + std::string(150, 'x'),
                          "--reference", "20 µPa", "--range", "0:200", "--colours", "30:31", "--to",
                          "2026-11-15 10:01:00"});
    for (const char* text : {">Night of the long words<", ">LAeq in dB re 20 µPa<", "> 200<",
                             ">≥ 31<", ">≤ 30<", ">10:00:50<", ">no values<"})
        EXPECT_THAT(svg, HasSubstr(text)) << text;
    const auto days = Plotted("a.svg", {"--by", "day", "--function", "LAeq"});
    for (const char* text : {">Hour of the day<", ">24<", ">LAeq in dB<", ">no values<"})
        EXPECT_THAT(days, HasSubstr(text)) << text;
}

TEST_F(Picture, HasALineForEachFunctionChannelAndMeasurement) {
    const auto file = Sound(
        "two.wav", 2, [](double t, int) { return 0.1 * std::sin(6000 * t); }, 48000, 2);
    for (const char* time : {"10:00", "10:01"})
        Done({"record", db_, file, "--instrument", "Pier", "--measurement", time, "--start",
              std::string("2026-11-15 ") + time});
    const auto svg = Plotted("a.svg", {"--measurement", "2", "--channel", "1", "--channel", "2",
                                       "--function", "LAeq", "--function", "L10"});
    for (const char* text :
         {"LAeq, channel 1, 10:00", "L10, channel 2, 10:01", "Channels 1, 2 · LAeq, L10"})
        EXPECT_THAT(svg, HasSubstr(text)) << text;
    EXPECT_THAT(svg, Not(HasSubstr("<image ")));
    ExpectRefused(PlotWords("b.svg", {"--channel", "1", "--channel", "2", "--function", "Leq"}),
                  "no room for spectra");
    ExpectRefused(PlotWords("b.svg", {"--channel", "1", "--channel", "2", "--by", "day"}),
                  "one channel of one measurement");
}

TEST(Lines, AreOfLevelsWhereTheirNamesSaySo) {
    const auto isLevel = [](const char* name) {
        MeasuredFunction function{};
        function.name = name;
        return IsLevel(function);
    };
    for (const char* name : {"LAeq", "laeq", "L99.9", "LAE", "Lp", "Lden", "Levening", "L"})
        EXPECT_TRUE(isLevel(name)) << name;
    for (const char* name : {"Luminance", "Luftdruck", "L1 rms", "Temperature", "v", ""})
        EXPECT_FALSE(isLevel(name)) << name;
}

TEST(Columns, OfMonthsAreWholeDays) {
    constexpr std::int64_t second = 1000, hour = 3600 * second, day = 24 * hour;
    const auto text = [&](std::int64_t pixel) { return ColumnLength(pixel, second).Text(second); };
    EXPECT_EQ(text(1), "1 period");
    EXPECT_EQ(text(hour - 1), "3600 periods");
    EXPECT_EQ(text(hour + 1), "2 h");
    EXPECT_EQ(text(3 * hour + 1), "1 day");
    EXPECT_EQ(text(day + 1), "7 days");
    const Clock clock{{2026, 3, 4, 5, 30, 0}, 7000};
    const auto edges = ColumnEdges(clock, {100, 400 * 12343}, {4 * hour, 7000});
    EXPECT_EQ(edges.front(), 100);
    EXPECT_EQ(edges.back(), 100 + 400 * 12343);
    for (std::size_t i = 1; i + 1 < edges.size(); ++i) {
        const CTimeEx midnight = MidnightBefore(clock.At(edges[i]));
        EXPECT_LT((clock.At(edges[i]) - midnight).GetTotalMilliseconds(), 7000);
        EXPECT_LT(edges[i], edges[i + 1]);
    }
}

TEST_F(Picture, IsNotThereWhenItCannotBeMade) {
    RecordAt("10:00");
    ExpectRefused(PlotWords("a.pdf"), "does not end in .svg", 2);
    ExpectRefused(PlotWords("a.svg", {"--width", "12"}), "from 600", 2);
    ExpectRefused(PlotWords("a.svg", {"--from", "2026-11-15 10:00:02"}), "no periods then");
    ExpectRefused(PlotWords("a.svg", {"--function", "Leq", "--function", "Lmax"}), "both have");
    ExpectRefused(PlotWords("a.svg", {"--range", "90:30"}), "lower one first", 2);
    ExpectRefused(PlotWords("a.svg", {"--by", "week"}), "is not day", 2);
    ExpectRefused(PlotWords("a.svg", {"--function", "nothing"}), "nothing");
    ExpectRefused(PlotWords("none/a.svg"), "cannot be written");
    const std::string path = std::getenv("PATH");
    setenv("PATH", (folder_ / "none").c_str(), 1);
    ExpectRefused(PlotWords("a.svg"), "install gnuplot");
    setenv("PATH", path.c_str(), 1);
    Execute("UPDATE MeasuredValues SET Value=1e300 WHERE PeriodNo=3");
    ExpectRefused(PlotWords("a.svg", {"--function", "Lmax"}), "too large for a picture");
    Execute("UPDATE MeasuredValues SET Status='A'");
    ExpectRefused(PlotWords("a.svg"), "there are no values");
    for (const auto& entry : std::filesystem::directory_iterator(folder_ / "."))
        EXPECT_THAT(entry.path().string(), Not(HasSubstr(".svg"))) << entry.path();
}

TEST(TimeAxis, HasRoundTicksForAnyLengthAndEachDateOnce) {
    const CTimeEx start(2026, 12, 31, 23, 58, 59, 987);
    for (double length = 1; length < 1e14; length *= 1.37) {
        for (const int most : {3, 9}) {
            const auto end = start + CTimeSpanEx(static_cast<std::int64_t>(length));
            const auto count = MakeTimeAxis(start, end, most).ticks.size();
            EXPECT_TRUE(count >= 1 && count <= static_cast<std::size_t>(most) + 2)
                << length << " ms: " << count;
        }
    }
    const auto text = [&](const CTimeSpanEx& length) {
        const TimeAxis axis = MakeTimeAxis(start, start + length, 4);
        std::string all = axis.name;
        for (const auto& tick : axis.ticks)
            all += "|" + tick.clock + " " + tick.around;
        return all;
    };
    EXPECT_EQ(text(CTimeSpanEx(50)), "Local time on 2026-12-31|23:59:00.00 |23:59:00.02 ");
    EXPECT_EQ(text(CTimeSpanEx(0, 0, 3, 0, 0)),
              "Local time|23:59 2026-12-31|00:00 2027-01-01|00:01 ");
    EXPECT_EQ(text(CTimeSpanEx(90, 0, 0, 0, 0)), "Local date|Jan 2027|Feb |Mar ");
}

TEST(GnuplotText, LeavesNothingToInterpret) {
    EXPECT_EQ(GnuplotText("it's\n\x01 \\ 100%", 99), "'it''s?? \\ 100%'");
    EXPECT_EQ(GnuplotTick("100%", 99), "'100%%'");
    for (const char* wrong : {"\xff", "\xc3", "\xc0\xaf", "\xed\xa0\x80"})
        EXPECT_EQ(Shortened(wrong, 99), std::string(std::strlen(wrong), '?'));
    EXPECT_EQ(Shortened("\xef\xbf\xbf", 99), "?");
    EXPECT_EQ(Shortened("äöüß", 4), "äöüß");
    EXPECT_EQ(Shortened("äöüßx", 4), "äöü…");
    const std::vector<std::string> lines{"ä bb", "cc", "ddddd", "d ee…"};
    EXPECT_EQ(Wrapped("ä bb cc dddddd ee ff", 5, 4), lines);
}

}  // namespace
}  // namespace mersola::tool
