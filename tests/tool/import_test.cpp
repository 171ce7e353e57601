// What import makes of the files that instruments and their programs write.
#include <cstdlib>
#include <fstream>
#include <string>

#include "basics/failure.h"
#include "basics/times_text.h"
#include "csv/import_times.h"
#include "tool_fixture.h"

namespace mersola::tool {
namespace {

std::string Read(const std::string& text, TimeForm form, const TimeZone* zone = nullptr) {
    try {
        return TimeText(TimeReader(form, zone).Read(text));
    } catch (const Failure& failure) {
        return failure.what();
    }
}

TEST(ImportedTimes, AreReadInTheOrderOfTheFile) {
    using enum TimeForm;
    const struct {
        const char* text;
        TimeForm form;
        const char* time;
    } times[] = {{"2026-06-01", YearFirst, "2026-06-01 00:00:00.000"},
                 {"2026/6/1T7:05", YearFirst, "2026-06-01 07:05:00.000"},
                 {"2026-06-01 23:59:59.999999", YearFirst, "2026-06-01 23:59:59.999"},
                 {"1.6.2026  07:05:09,5", DayFirst, "2026-06-01 07:05:09.500"},
                 {"01/06/2026 12:00:00 AM", DayFirst, "2026-06-01 00:00:00.000"},
                 {"06/01/2026 12:34 pm", MonthFirst, "2026-06-01 12:34:00.000"},
                 {"6-1-2026 1:05PM", MonthFirst, "2026-06-01 13:05:00.000"}};
    for (const auto& each : times)
        EXPECT_EQ(Read(each.text, each.form), each.time) << each.text;
    for (const char* text :
         {"", "noon", "26-06-01", "2026-06/01", "2026-02-30", "2026-06-01 24:00", "2026-06-01 7",
          "2026-06-01 07:05:", "2026-06-01 07:05:09.", "2026-06-01 13:00 PM", "2026-06-01 0:10 AM",
          "2026-06-01 07:05 +2", "2026-06-01 07:05x", "2026-06-01 07:05+02:00x", "2026-06-01Z",
          "99999999999-01-01", "20260601", "1780272000"})
        EXPECT_THAT(Read(text, YearFirst), HasSubstr("' is no time, as '2026-11-15")) << text;
    for (const char* text : {"-1", "1e9", "1780272000 s", "178027200000000", "0x1"})
        EXPECT_THAT(Read(text, Epoch), HasSubstr("' is no time")) << text;
}

TEST(ImportedTimes, OfUtcBecomeThoseOfTheZoneThatIsStored) {
    using enum TimeForm;
    const char* const before = std::getenv("TZ");
    {
        const TimeZone berlin("Europe/Berlin");
        const std::pair<const char*, const char*> times[] = {
            {"2026-03-29T00:59:59.999Z", "2026-03-29 01:59:59.999"},
            {"2026-03-29T01:00Z", "2026-03-29 03:00:00.000"},
            {"2026-06-01 00:00-0330", "2026-06-01 05:30:00.000"},
            {"2026-10-25T03:00+01", "2026-10-25 03:00:00.000"},
            {"2026-10-25 01:59", "2026-10-25 01:59:00.000"},
            {"2051-07-01T00:00Z", "2051-07-01 02:00:00.000"}};
        for (const auto& [text, time] : times)
            EXPECT_EQ(Read(text, YearFirst, &berlin), time) << text;
        EXPECT_EQ(Read("1780272000.25", Epoch, &berlin), "2026-06-01 02:00:00.250");
        EXPECT_EQ(Read("1780272000250", Epoch, &berlin), "2026-06-01 02:00:00.250");
        for (const char* twice :
             {"2026-10-25T02:00+02:00", "2026-10-25T02:59:59+01:00", "2026-10-25 02:30"})
            EXPECT_THAT(Read(twice, YearFirst, &berlin),
                        HasSubstr("the clocks of Europe/Berlin show twice"))
                << twice;
        EXPECT_THAT(Read("2026-03-29 02:30", YearFirst, &berlin), HasSubstr("leave out"));
    }
    EXPECT_STREQ(std::getenv("TZ"), before);
    for (const char* none : {"Europe/Bonn", "CEST5", "", "../../../etc/passwd", "."})
        EXPECT_THROW(TimeZone zone(none), Failure) << none;
    EXPECT_THAT(Read("2026-06-01T00:00Z", YearFirst), HasSubstr("say with --zone"));
    EXPECT_THAT(Read("1780272000", Epoch), HasSubstr("say with --zone"));
}

class Import : public Tool {
  protected:
    static std::string Logger(const std::string& file) { return MERSOLA_LOGGERS + file; }
    Words From(const std::string& file, const Words& more = {}) {
        return Words{"import", db_, Logger(file), "--instrument", "meter", "--measurement", "day"} +
               more;
    }
    Words Into(const std::string& text, const Words& more = {}) {
        std::ofstream(folder_ / "file.csv", std::ios::binary) << text;
        return Words{"import",       db_,        folder_ / "file.csv",
                     "--instrument", "meter",    "--measurement",
                     "day",          "--period", "1s"} +
               more;
    }
    // Of the only measurement, "value" of a band or "" where it has none.
    std::string Stored(int period, int band) {
        Mersola store = Connected();
        const auto row = store.dbExecute(
            ("SELECT Value FROM MeasuredValues WHERE PeriodNo=" + std::to_string(period) +
             " AND FrqId=" + std::to_string(band))
                .c_str());
        return row->EndOfFile() ? "" : std::string(row->Fields(0).Text());
    }
};

TEST_F(Import, PutsEachHeadingIntoTheBandOfItsFrequency) {
    const std::string row = "2026-06-01 00:00:00,1,2,3,4,5,6,7,8\n";
    const Words leq{"--function", "Leq"};
    Done(Into("Time,20Hz,\"31,5\",40,1000,1.25k,16 kHz,broadband,#50\n" + row, leq));
    const std::pair<int, const char*> bands[] = {{13, "1"}, {15, "2"}, {16, "3"}, {30, "4"},
                                                 {31, "5"}, {42, "6"}, {0, "7"},  {50, "8"}};
    for (const auto& [band, value] : bands)
        EXPECT_EQ(Stored(0, band), value) << band;
    // However it is spelt, a band has one name and keeps its place among the others.
    EXPECT_EQ(Count("FrqNameMap"), 32);
    EXPECT_EQ(Count("FrqNameMap WHERE FrqId=13 AND FrqName='20 Hz'"), 1);
    EXPECT_EQ(Count("Measurements WHERE FrqLower=20 AND FrqUpper=16000"), 1);
    Done(Into("Period,Band,Value\n1,40Hz,1\n1,1k,2\n1,13,3\n1,new,4\n",
              leq + Words{"--band-numbers"}));
    EXPECT_EQ(Stored(1, 16) + Stored(1, 30) + Stored(1, 13), "123");
    EXPECT_EQ(Count("FrqNameMap WHERE FrqName='new'"), 1);
    Done(Into("Period,16,30\n2,1,2\n", leq + Words{"--wide", "--band-numbers"}));
    EXPECT_EQ(Stored(2, 16) + Stored(2, 30), "12");
}

TEST_F(Import, RefusesWhatIsNoBandAndSaysWhatIs) {
    const Words wide{"--function", "Leq", "--start", "2026-06-01 00:00", "--wide"};
    const std::string list = "(1.25, 1.6, 2, 2.5, 3.15, 4, 5, 6.3, 8, 10 Hz and ten";
    ExpectRefused(Into("Period,40,Remark\n0,1,\n", wide),
                  "the heading 'Remark' is no band " + list);
    ExpectRefused(Into("Period,40,41\n0,1,2\n", wide), "'41' is no frequency of a band " + list);
    ExpectRefused(Into("Period,40,41\n0,1,2\n", wide),
                  "if it is the number of one, say --band-numbers");
    ExpectRefused(Into("Period,40,1.250\n0,1,2\n", wide), "'1.250' is no frequency");
    ExpectRefused(Into("Period,40,40 Hz\n0,1,2\n", wide),
                  "the headings '40' and '40 Hz' are one band");
    ExpectRefused(Into("Period,31.5\n0,1\n", wide + Words{"--band-numbers"}),
                  "'31.5' is no number of a band");
    ExpectRefused(
        Into("Period,Band,Value\n0,17,1\n", {"--function", "Leq", "--start", "2026-06-01 00:00"}),
        "line 2: '17' is no frequency of a band");
}

TEST_F(Import, RefusesWhatNoNumberIsLeftFor) {
    const Words words = Into("Period,Function,40\n0,new,1\n", {"--start", "2026-06-01 00:00"});
    Execute("INSERT INTO FuncNameMap VALUES (2147483647,'last')");
    ExpectRefused(words, "there is no free FuncId behind 2147483647");
    Execute("INSERT INTO Groups (GroupId,GroupName) VALUES (2147483647,'last')");
    ExpectRefused(words, "there is no free GroupId behind 2147483647");
}

TEST_F(Import, PutsEachRowIntoTheNearestPeriodAndNoTwoIntoOne) {
    const Words leq{"--function", "Leq"};
    const std::string rows =
        "Time,Value\n2026-06-01 00:00:00.003,1\n2026-06-01 00:00:01.001,2\n2026-06-01 "
        "00:00:02.502,3\n2026-06-01 00:00:03.503,5\n";
    Done(Into(rows, leq));
    EXPECT_EQ(Stored(0, 0) + Stored(1, 0) + Stored(2, 0) + Stored(3, 0) + Stored(4, 0), "1235");
    ExpectRefused(Into(rows, leq + Words{"--align", "floor", "--report", "2"}),
                  "line 3: its time belongs to period 0, as that of line 2 does");
    const std::string early = "Time,Value\n2026-05-31 23:59:59.";
    EXPECT_THAT(RunWords(Into(early + "600,1\n", leq)).out,
                EndsWith("\nStored 0 values in 1 report; 1 value was stored already.\n"));
    ExpectRefused(Into(early + "500,1\n", leq), "lies before the measurement's start");
    // Also when one of them is in the database by then.
    std::string many = "Period,Value\n";
    for (int i = 10; i < 25'000; ++i)
        many += std::to_string(i) + ",1\n";
    const Outcome twice = RunWords(Into(many + "12,1\n", leq));
    EXPECT_THAT(twice.err,
                HasSubstr("line 24992: period 12 stands in line 4 already; the lines up to"));
    ExpectRefused(Into(rows, leq + Words{"--align", "up"}), "'up' is not nearest or floor", 2);
    ExpectRefused(Into(rows, leq + Words{"--times", "dym"}), "'dym' is not ymd, dmy, mdy or epoch",
                  2);
}

TEST_F(Import, OfJitteringTimesLeavesAHoleAHoleAndRefusesTheDoubledRow) {
    const Words words = From("jitter.csv", {"--column", "value=temperature", "--function",
                                            "temperature", "--period", "1s"});
    ExpectRefused(words, "line 82: its time belongs to period 80, as that of line 81 does");
    std::string text = Contents(words[2]);
    const auto doubled = text.find("2026-06-01 12:01:19.997806");
    text.erase(doubled, text.find('\n', doubled) + 1 - doubled);
    Done(Into(text, {"--column", "value=temperature", "--function", "temperature"}));
    EXPECT_EQ(Count("Reports WHERE noOfPeriods=120"), 1);
    EXPECT_EQ(Count("MeasuredValues"), 119);
    EXPECT_EQ(Count("MeasuredValues WHERE PeriodNo=40"), 0);
}

TEST_F(Import, OfADayWithTwentyFiveHoursNeedsAZoneThatHasThem) {
    const Words words = From("iso_offset_bands.csv", {"--function", "Leq", "--period", "10min"});
    ExpectRefused(
        words, "line 2: Time '2026-10-25T02:00:00.000+02:00' is in UTC or has an offset from it");
    ExpectRefused(words + Words{"--zone", "Europe/Berlin"},
                  "line 2: Time '2026-10-25T02:00:00.000+02:00' lies in an hour that the clocks of "
                  "Europe/Berlin show twice");
    Done(words + Words{"--zone", "Etc/GMT-1"});
    EXPECT_EQ(Count("Reports WHERE noOfPeriods=24"), 1);
    EXPECT_EQ(Count("MeasuredValues"), 24 * 14);
    EXPECT_EQ(Count("Measurements WHERE StartAt='2026,10,25,01,00,00,000'"), 1);
    EXPECT_EQ(Stored(0, 13) + "|" + Stored(23, 42), "50.3|52");
}

TEST_F(Import, ReadsWhatALoggerWroteAndSaysHow) {
    const Words semicolons =
        From("semicolon_latin1.csv", {"--column", "date=Datum", "--column", "time=Zeit",
                                      "--functions", "LAeq,LAFmax,LA90=LAF90", "--period", "1min"});
    ExpectRefused(semicolons,
                  "line 1: this is no UTF-8 text; give its encoding, as --encoding latin1");
    const std::string outcome = Done(semicolons + Words{"--encoding", "latin1"});
    EXPECT_EQ(outcome,
              "Read with semicolons, decimal commas, the day first in dates; the column names "
              "are in line 4.\nStored 179 values in 1 report; 1 field held none.\n");
    EXPECT_EQ(Count("Reports WHERE noOfPeriods=60"), 1);
    EXPECT_EQ(Count("Measurements WHERE StartAt='2026,06,01,00,00,00,000'"), 1);
    EXPECT_EQ(Count("MeasuredValues WHERE PeriodNo=17"), 2);
    EXPECT_EQ(Count("MeasuredValues,FuncNameMap WHERE MeasuredValues.FuncId=FuncNameMap.FuncId AND "
                    "FuncName='LA90' AND PeriodNo=59 AND FrqId=0 AND Value=49.7"),
              1);
}

TEST_F(Import, ReadsTabsTwelveHoursAndSecondsSince1970) {
    const Words tabs = From("tab_month_first.tsv", {"--column", "time=Timestamp", "--functions",
                                                    "LAeq,LCpeak", "--period", "13min"});
    ExpectRefused(tabs,
                  "as '06/01/2026 12:00:00 AM', either the day or the month may stand first; say "
                  "--times dmy or --times mdy");
    Done(tabs + Words{"--times", "mdy"});
    EXPECT_EQ(Count("Reports WHERE noOfPeriods=60"), 1);
    EXPECT_EQ(Count("Measurements WHERE StartAt='2026,06,01,00,00,00,000'"), 1);
    EXPECT_EQ(Count("MeasuredValues"), 120);
    const std::string epoch = Done({"import", db_, Logger("epoch_bom.csv"), "--instrument", "meter",
                                    "--measurement", "night", "--functions", "Leq", "--column",
                                    "time=epoch", "--period", "1s", "--zone", "UTC"});
    EXPECT_THAT(epoch, HasSubstr("seconds since 1970"));
    EXPECT_EQ(Count("Reports WHERE noOfPeriods=50"), 1);
    EXPECT_EQ(Count("Measurements WHERE StartAt='2026,06,01,00,00,00,000'"), 2);
    ExpectRefused(From("ambiguous.csv", {"--functions", "LAeq", "--period", "24h"}),
                  "say --times dmy or --times mdy");
}

TEST_F(Import, GuessesFromTheFirstLinesAndRefusesWhatMayBeTwoThings) {
    const auto said = [&](const std::string& text, const Words& more) {
        const Outcome outcome = RunWords(Into(text, more));
        return outcome.err + outcome.out.substr(0, outcome.out.find('\n'));
    };
    // What stands in front may look like anything, and lines may end in separators or not.
    EXPECT_EQ(said("sep=;\n\"Time; place\";x,y,z\nTime;Leq;Remark\n13/06/2026;1,5;a.b;\n"
                   "14/06/2026;1e1;,\n12/07/2026;--;\n;;\n",
                   {"--functions", "LAeq=Leq"}),
              "Read with semicolons, decimal commas, the day first in dates; the column names are "
              "in line 3.");
    EXPECT_EQ(Stored(0, 0) + "|" + Stored(86'400, 0), "1.5|10");
    // A column of dates is passed over where that of the times has them as well.
    EXPECT_EQ(said("Date\tTime\t40 Hz\ttext\nMonday\t2026-06-13 00:00:01\t0.25\t1,5\n",
                   {"--function", "Leq", "--bands", "40 hz", "--missing", "over"}),
              "Read with tabs, decimal points, the year first in dates; the column names are in "
              "line 1.");
    EXPECT_EQ(Stored(1, 16), "0.25");
    const Words leq{"--function", "Leq", "--report", "2"};
    const std::string thousands = "Time;Value\n2026-06-13;51,234\n2026-06-14;7\n";
    ExpectRefused(
        Into(thousands, leq),
        "as '51,234', the comma may stand before decimals or between thousands; say --decimal");
    ExpectRefused(Into(thousands, leq + Words{"--decimal", "point"}),
                  "line 2: Value '51,234' is no number");
    const std::string named = "Time;Value\nTime;Value\n2026-06-13;0,234\n2026-06-14;1.000,5\n";
    ExpectRefused(Into(named, leq), "line 2: Time 'Time' is no time");
    ExpectRefused(Into(named, leq + Words{"--heading", "2", "--decimal", "comma"}),
                  "line 4: Value '1.000,5' is no number");
    ExpectRefused(Into(named, leq + Words{"--heading", "9"}),
                  "the file ends before line 9, where --heading has the column names");
    ExpectRefused(Into("Zeit;Value\n2026-06-13;0,234\n", leq),
                  "line 1: there is neither a column Period nor one Time; name one with --column "
                  "time=NAME; the file has: Zeit, Value");
    ExpectRefused(Into("Time,Lx,Value\n13/06/2026,nan,1\n", {"--functions", "Lx,50=Value"}),
                  "the function '50' has a number for a name");
    ExpectRefused(Into("Time,Function,Lx\n", {"--functions", "Lx"}), "the column Function says");
    ExpectRefused(Into("Time,Lx\n13/06/2026,nan\n", {"--functions", "Lx"}),
                  "line 2: Value 'nan' cannot be stored");
    for (const Words& wrong :
         {Words{"--encoding", "noise"}, Words{"--separator", "a"}, Words{"--decimal", ","},
          Words{"--heading", "0"}, Words{"--functions", "a", "--wide"}, Words{"--column", "time="}})
        ExpectRefused(Into("", wrong), wrong[0], 2);
}

}  // namespace
}  // namespace mersola::tool
