// Markers from a recording with a trigger, and the version history, through the tool.
#include <algorithm>
#include <cmath>
#include <numbers>

#include "recording_fixture.h"

namespace mersola::tool {
namespace {

// Loud in periods 8 to 15, 18 to 23 and 40 to 47 of 125 ms.
class Markers : public RecordingTool {
  protected:
    std::string Events(const std::string& name) {
        return Sound(name, 6, [](double t, int) {
            const bool isLoud = (t >= 1 && t < 2) || (t >= 2.25 && t < 3) || t >= 5;
            return isLoud ? std::sin(2 * std::numbers::pi * 1000 * t) : 0;
        });
    }
    Outcome RecordFrom(const std::string& file, const std::string& time, const Words& more = {}) {
        return RunWords(RecordWords(file) +
                        Words{"--start", "2026-11-15 " + time, "--trigger", "laeq>85"} + more);
    }
    std::string Shown(const Words& more = {}) {
        const std::string outcome = Done(
            Words{"markers", db_, "--instrument", "1", "--measurement", "noise", "--csv"} + more);
        return outcome.substr(outcome.find('\n') + 1);
    }
    std::string Row(const std::string& start, const std::string& stop, const std::string& file,
                    const std::string& function = "LAeq,broadband",
                    const std::string& condition = R"(""LAeq"",level=""85"")") {
        const std::string end = stop == "open" ? stop : "2026-11-15 " + stop;
        return "2026-11-15 " + start + "," + end + ",1," + function +
               R"(,"type=""level"",function=)" + condition + "\"," + file + "\n";
    }
};

TEST_F(Markers, SpanWhatIsLoudAndAreFoundByTimePeriodAndType) {
    const auto file = Events("1.wav");
    const Outcome outcome = RecordFrom(file, "10:00");
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_THAT(outcome.out, HasSubstr("2 markers"));
    const auto first = Row("10:00:01.000", "10:00:03.000", file);
    const auto second = Row("10:00:05.000", "10:00:06.000", file);  // ends with the sound
    EXPECT_EQ(Shown(), first + second);
    EXPECT_EQ(Shown({"--from", "2026-11-15 10:00:05"}), second);
    EXPECT_EQ(Shown({"--to", "2026-11-15 10:00:05"}), first);
    EXPECT_EQ(Shown({"--periods", "0..8"}), first);
    EXPECT_EQ(Shown({"--periods", "9..39"}), "");
    EXPECT_EQ(Shown({"--periods", "40..40", "--type", "Level"}), second);
    EXPECT_EQ(Shown({"--periods", "40..40", "--type", "alarm"}), "");
    EXPECT_EQ(Shown({"--type", "LEVEL"}), first + second);
    EXPECT_EQ(Shown({"--type", "alarm"}), "");
    EXPECT_EQ(Shown({"--open"}), "");
}

TEST_F(Markers, HoldAsLongAsAskedForAndWatchSingleBands) {
    const auto file = Events("1.wav");
    const Words start{"--start",       "2026-11-15 10:00", "--trigger",
                      "Leq[1 KHZ]>85", "--hold",           "250ms"};
    Done(RecordWords(file) + start);
    const auto row = [&](const char* from, const char* to) {
        return Row(from, to, file, "Leq,1 kHz", R"(""Leq"",band=""1 kHz"",level=""85"")");
    };
    EXPECT_EQ(Shown(), row("10:00:01.000", "10:00:02.000") + row("10:00:02.250", "10:00:03.000") +
                           row("10:00:05.000", "10:00:06.000"));
}

TEST_F(Markers, LeftOpenByACrashAreClosedByTheProgramThatGoesOn) {
    const auto file = Events("1.wav"), other = Events("2.wav");
    const auto crash = [&](const std::string& time, int period) {
        Execute("CREATE TRIGGER Full BEFORE INSERT ON MeasuredValues WHEN NEW.PeriodNo=" +
                std::to_string(period) + " BEGIN SELECT RAISE(ABORT, 'no room'); END");
        EXPECT_EQ(RecordFrom(file, time).status, 1);
        Execute("DROP TRIGGER Full");
    };
    crash("10:00", 12);
    const auto open = Row("10:00:01.000", "open", file);
    EXPECT_EQ(Shown(), "");
    EXPECT_EQ(Shown({"--open"}), open);

    // The same sound once more: nothing is marked twice.
    const auto whole =
        Row("10:00:01.000", "10:00:03.000", file) + Row("10:00:05.000", "10:00:06.000", file);
    ASSERT_EQ(RecordFrom(file, "10:00").status, 0);
    EXPECT_EQ(Shown(), whole);
    EXPECT_EQ(RecordFrom(file, "10:00").status, 0);
    EXPECT_EQ(Shown(), whole);

    // Another sound: the event is known to have lasted until the crash.
    crash("10:10", 4800 + 42);
    EXPECT_EQ(Shown({"--open"}), Row("10:10:05.000", "open", file));
    ASSERT_EQ(RecordFrom(other, "10:20").status, 0);
    EXPECT_EQ(Shown({"--open"}), "");
    EXPECT_EQ(Shown({"--periods", "4800..9599"}), Row("10:10:01.000", "10:10:03.000", file) +
                                                      Row("10:10:05.000", "10:10:05.250", file));
    EXPECT_EQ(Count("Markers"), 6);
}

TEST_F(Markers, RefuseWhatIsNotMeasured) {
    const auto record = RecordWords(Events("1.wav"));
    ExpectRefused(record + Words{"--trigger", "Leq>60"}, "there is no band ''");
    ExpectRefused(record + Words{"--trigger", "Leq[19 kHz]>60"}, "from 25 Hz to 20 kHz");
    ExpectRefused(record + Words{"--trigger", "LAeq[1 kHz]>60"}, "without '1 kHz'");
    ExpectRefused(record + Words{"--trigger", "L20>60"}, "'L20' is not measured");
    for (const char* wrong : {"LAeq", ">60", "LAeq>", "LAeq>x", "LAeq>1 ", "Leq]>1", "Leq[]>1"})
        ExpectRefused(record + Words{"--trigger", wrong}, "is not a trigger", 2);
    ExpectRefused(record + Words{"--hold", "1s"}, "requires --trigger", 2);
    const Words markers{"markers", db_, "--instrument", "1", "--measurement", "1"};
    ExpectRefused(markers, "no instrument '1'");
    ExpectRefused(markers + Words{"--open", "--periods", "1..2"}, "excludes", 2);
    for (const char* wrong : {"1", "2..1", "-1..2", "1..", "..1"})
        ExpectRefused(markers + Words{"--periods", wrong}, "is not a range", 2);
}

TEST_F(RecordingTool, SaysInWordsWhatTheVersionHistoryHolds) {
    const auto says = [&](const std::string& words) {
        const std::string outcome = Done({"version", db_});
        EXPECT_THAT(outcome, HasSubstr(words));
    };
    says("Database of format 1, values in rows\nVersion '1' of 20");
    Done({"version", db_, "--add", "1.1"});
    const std::string all = RunWords({"version", db_}).out;
    EXPECT_EQ(std::ranges::count(all, '\n'), 3) << all;
    EXPECT_LT(all.find("'1'"), all.find("\nVersion '1.1' of 20")) << all;
    Execute("DELETE FROM VersionHistory");
    says("history is empty");
    Done({"version", db_, "--add", "2", "--info", "repaired"});
    says(": repaired\n");
    for (const char* wrong : {"", "it's", "2\n3"})
        ExpectRefused({"version", db_, "--add", wrong}, "the version cannot be named");
    ExpectRefused({"version", db_, "--info", "x"}, "requires --add", 2);
    Execute("DROP TABLE VersionHistory");
    says("no version history");
    ExpectRefused({"version", db_, "--add", "3"}, "no version history to add to");

    const std::string empty = folder_ / "empty.db", text = folder_ / "text.db";
    std::ofstream(empty).close();
    const Outcome none = RunWords({"version", empty});
    EXPECT_EQ(none.status, 0) << none.err;
    EXPECT_THAT(none.out, HasSubstr("no tables"));
    std::ofstream(text) << std::string(2000, 'x');
    ExpectRefused({"version", text}, "text.db'");
    ExpectRefused({"version", folder_ / "none.db"}, "there is no database");
}

}  // namespace
}  // namespace mersola::tool
