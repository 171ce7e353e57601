// The command-line tool from its arguments to the database and back.
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <numbers>
#include <sstream>

#include "recording_fixture.h"

namespace mersola::tool {
namespace {

TEST_F(RecordingTool, RecordsTheLevelsOfATone) {
    // 1 kHz at full scale, and 250 Hz a tenth of it.
    const auto tones = [](double t, int channel) {
        return std::pow(0.1, channel) *
               std::sin(2 * std::numbers::pi * (channel == 0 ? 1000 : 251.19) * t);
    };
    const auto file = Sound("tone.flac", 2.06, tones, 44100, 2, SF_FORMAT_FLAC | SF_FORMAT_PCM_24);
    const std::string outcome =
        Done(RecordWords(file) +
             Words{"--fullscale", "2.5", "--sensitivity", "0.05", "--period", "0.125s"});
    EXPECT_THAT(outcome, HasSubstr("up to 16 kHz"));
    EXPECT_THAT(outcome, HasSubstr("last 0.06 s"));

    Mersola store = Connected();
    ASSERT_TRUE(store.SetInstrument(1) && store.SetMeasurement(1) && store.SetReport(1));
    constexpr int kPeriods = 16, kBands = 43;
    long periods = 0;
    store.Get_nPrds(periods);
    ASSERT_EQ(periods, kPeriods);
    const auto read = [&](int channel, int function) {
        std::vector<float> values(kPeriods * kBands);
        store.SetChannel(channel);
        store.SetFunction(function);
        EXPECT_EQ(store.GetData(values.data(), 0, kPeriods, 0, kBands), kPeriods);
        return values;
    };
    const struct {
        int channel;
        std::size_t band;
        double level, weight;
    } expected[] = {{1, 30, 20 * std::log10(2.5 / std::numbers::sqrt2 / 20e-6), 0},
                    {2, 24, 20 * std::log10(0.25 / std::numbers::sqrt2 / 20e-6), -8.63}};
    for (const auto& tone : expected) {
        for (const int function : {1, 3, 4}) {
            const auto values = read(tone.channel, function);
            for (std::size_t at = 0; at < values.size(); at += kBands) {
                EXPECT_NEAR(values[at + tone.band], tone.level, 0.1) << at;
                EXPECT_LT(values[at + tone.band - 2], tone.level - 40) << at;
                EXPECT_LT(values[at + tone.band + 2], tone.level - 40) << at;
                EXPECT_EQ(values[at], -100) << "a band function has no broadband value";
            }
        }
        for (const int function : {2, 5, 6, 7}) {
            const auto values = read(tone.channel, function);
            for (std::size_t at = 0; at < values.size(); at += kBands)
                EXPECT_NEAR(values[at], tone.level + tone.weight, 0.1) << at;
        }
    }
    float fullscale = 0, sensitivity = 0, lower = 0, upper = 0;
    CArray<float, float> percentiles;
    store.GetFullscale(fullscale), store.GetSensitivity(sensitivity);
    store.GetLowerFrq(lower), store.GetUpperFrq(upper), store.GetPercentiles(percentiles);
    EXPECT_EQ(std::vector({fullscale, sensitivity, lower, upper}),
              std::vector({2.5F, 0.05F, 25.0F, 16000.0F}));
    EXPECT_EQ(std::vector(percentiles.begin(), percentiles.end()),
              std::vector({10.0F, 50.0F, 90.0F}));
}

TEST_F(RecordingTool, GoesOnWithAMeasurementBehindThePeriodsThatPassed) {
    const Words start{"--start", "2026-11-15 10:00:00.500"};
    Done(RecordWords(Silence("1.wav", 1)) + start);
    const std::string later =
        Done(RecordWords(Silence("2.wav", 1)) + Words{"--start", "2026-11-15T10:01"});
    EXPECT_THAT(later, HasSubstr("from period 476, at 2026-11-15 10:01:00.000; 468 "
                                 "periods in between went unrecorded."));
    const Outcome shown = RunWords(ValuesWords({"--from", "475", "--csv", "--function", "LAeq"}));
    EXPECT_THAT(shown.out, StartsWith("Period,Start,broadband\n475,2026-11-15 10:00:59.875,\n"
                                      "476,2026-11-15 10:01:00.000,-90\n"));
    EXPECT_EQ(std::ranges::count(shown.out, '\n'), 1 + 484 - 475);
}

TEST_F(RecordingTool, MeasuresThePercentilesThatAreAskedForAndKeepsThem) {
    const auto ramp = Sound("1.wav", 1, [](double t, int) { return t * std::sin(6000 * t); });
    Execute("INSERT INTO FuncNameMap VALUES (12,'Lpeak')");
    const Words asked{"--percentiles", "99.9,50,5",       "--period", "1s",
                      "--start",       "2026-11-15 10:00"};
    Done(RecordWords(ramp) + asked + Words{"--state", "0,calibrated"});
    const std::string list = RunWords({"list", db_}).out;
    EXPECT_THAT(list, HasSubstr("percentiles 99.9, 50, 5\n"));
    EXPECT_THAT(list, HasSubstr("Lmin, L50, L99.9, L5\n"));
    EXPECT_THAT(list, HasSubstr("(1), state 0,calibrated\n"));
    const auto level = [&](const char* function) {
        const auto row = RunWords(ValuesWords({"--csv", "--function", function})).out;
        return std::stod(row.substr(row.rfind(',') + 1));
    };
    EXPECT_GT(level("L5"), level("L50") + 3);
    EXPECT_GT(level("L50"), level("L99.9") + 3);

    const Words later{"--period", "1s", "--start", "2026-11-15 11:00"};
    const auto other = RecordWords(ramp) + later + Words{"--percentiles", "10,50,90"};
    ExpectRefused(other, "--percentiles 99.9,50,5; give these");
    Done(RecordWords(ramp) + later);
    EXPECT_EQ(Count("MeasuredValues WHERE FuncId=14"), 2) << "L5 did not go on";
    EXPECT_EQ(Count("MeasuredFunctions"), 7);
    EXPECT_EQ(Count("Groups WHERE State='0,calibrated'"), 1) << "a state that nobody changed";
    for (const char* wrong : {"", "10,", "10,10", "101", "-1", "nan", "x"})
        ExpectRefused(RecordWords(ramp) + Words{"--percentiles", wrong}, "list of per cents", 2);
    ExpectRefused(RecordWords(ramp, "new") + Words{"--state", "it's"},
                  "('), the quote of statements; take the typographic one: it\u2019s\n");
}

TEST_F(RecordingTool, CompletesARecordingThatWasCutShort) {
    const Words start{"--start", "2026-11-15 10:00"};
    Done(RecordWords(Silence("begin.wav", 1)) + start);
    const auto loud = Sound("loud.wav", 2, [](double t, int) { return std::sin(6000 * t); });
    const std::string whole = Done(RecordWords(loud) + start);
    EXPECT_THAT(whole, HasSubstr("left as they were: periods 0 to 7."));
    Done(RecordWords(Silence("begin.wav", 1)) + start);
    std::istringstream rows(RunWords(ValuesWords({"--csv", "--function", "2"})).out);
    int count = -1;  // of rows without the header
    for (std::string row; std::getline(rows, row); ++count)
        EXPECT_TRUE(count < 0 || row.ends_with(",-90") == (count < 8)) << row;
    EXPECT_EQ(count, 16) << "a shorter recording hid the periods behind its end";
}

TEST_F(RecordingTool, RefusesWhatItCannotRecordAndWritesNothing) {
    std::ofstream(folder_ / "text.wav") << "This is not sound.\n";
    const auto good = Silence("good.wav", 1);
    Done(RecordWords(good) + Words{"--start", "2026-11-15 10:00"});

    ExpectRefused(RecordWords(folder_ / "text.wav", "new"), "cannot be read as sound");
    ExpectRefused(RecordWords(folder_ / "none.wav", "new"), "No such file");
    ExpectRefused(RecordWords(folder_ / "", "new"), "is a folder");
    ExpectRefused(RecordWords(Silence("short.wav", 0.124), "new"),
                  "holds 0.124 s of sound, less than one period");
    ExpectRefused(RecordWords(Silence("slow.wav", 10, 50), "new"), "carry no band from 25 Hz");
    ExpectRefused(RecordWords(Silence("slow.wav", 10, 60), "new") + Words{"--period", "1ms"},
                  "longer --period");
    for (const auto& [name, reason] : {std::pair("L'Aquila", "typographic one: L\u2019Aquila\n"),
                                       {"B\xFCro", "'B?ro'; it is no text in UTF-8"},
                                       {"a\xED\xA0\x80", "in UTF-8"},
                                       {"a\nb", "a line break"}})
        ExpectRefused(RecordWords(good, name), reason);
    ExpectRefused(RecordWords(good, ""), "must not be empty", 2);
    ExpectRefused(RecordWords(good, "new") + Words{"--state", "{"}, "come in pairs");
    ExpectRefused(RecordWords(good, "new") + Words{"--start", "2001-01-01 00:00"}, "ten years");
    ExpectRefused(RecordWords(good) + Words{"--start", "2026-11-15 09:59:59.999"},
                  "starts at 2026-11-15 10:00:00.000");
    ExpectRefused(RecordWords(good) + Words{"--period", "1s"}, "with periods of 125 ms");
    ExpectRefused(RecordWords(good) + Words{"--fullscale", "2"}, "--fullscale 1");
    Execute("UPDATE Reports SET noOfPeriods=1000000000");
    ExpectRefused(RecordWords(good), "give a --start from then on");
    Execute("UPDATE Measurements SET BandWidth=1");
    ExpectRefused(RecordWords(good), "third octaves");
}

TEST_F(RecordingTool, SaysHowMuchIsSafelyStoredWhenAWriteFails) {
    Execute(
        "CREATE TRIGGER Full BEFORE INSERT ON MeasuredValues WHEN NEW.PeriodNo=5 AND NEW.FuncId=7 "
        "BEGIN SELECT RAISE(ABORT, 'no room'); END");
    const auto file = Silence("1.wav", 1);
    const Words start{"--start", "2026-11-15 10:00"};
    const Outcome cut = RunWords(RecordWords(file) + start);
    EXPECT_EQ(cut.status, 1);
    EXPECT_THAT(cut.err, HasSubstr("period 5 could not be stored"));
    EXPECT_THAT(cut.err, HasSubstr("5 periods safely stored"));
    EXPECT_EQ(Count("MeasuredValues WHERE PeriodNo>=5"), 0);
    EXPECT_EQ(Count("Reports WHERE noOfPeriods=5"), 1);
    Execute("DROP TRIGGER Full");
    Done(RecordWords(file) + start);
    EXPECT_EQ(Count("Reports WHERE noOfPeriods=8"), 1);

    Execute(
        "CREATE TRIGGER Never BEFORE INSERT ON MeasuredValues BEGIN SELECT RAISE(ABORT, 'never'); "
        "END");
    Words other = RecordWords(file);
    other[4] = "Pier 5";
    ExpectRefused(other, "nothing was stored");
}

TEST_F(RecordingTool, ShowsInvalidAndMissingValuesAsSuch) {
    const auto broken = [](double t, int) {
        return t > 0.9 && t < 1 ? std::nan("") : std::sin(6000 * t);
    };
    Done(RecordWords(Sound("broken.wav", 3, broken)) + Words{"--period", "1s"});
    const Words laeq{"--function", "laeq", "--from", "0", "--count", "2"};
    const std::string table = RunWords(ValuesWords(laeq)).out;
    EXPECT_THAT(table, HasSubstr("         --\n"));
    EXPECT_EQ(std::ranges::count(table, '\n'), 3);
    const std::string csv = RunWords(ValuesWords(laeq + Words{"--csv"})).out;
    EXPECT_THAT(csv, HasSubstr(",\n"));
    EXPECT_THAT(csv, Not(HasSubstr("-100")));
}

TEST_F(RecordingTool, ShowsEveryFunctionOfAPeriodAsOneByOne) {
    const auto sound = Sound("1.wav", 1, [](double t, int) { return t * std::sin(6000 * t); });
    Done(RecordWords(sound));
    Execute("DELETE FROM MeasuredValues WHERE PeriodNo=3");
    const Outcome all = RunWords(ValuesWords({"--all-functions", "--csv", "--from", "2"}));
    ASSERT_EQ(all.status, 0) << all.err;
    EXPECT_EQ(std::ranges::count(all.out, '\n'), 1 + 6 * 7);
    // The first band column is the broadband one, which only some functions have.
    for (const char* function : {"LAeq", "L90", "Leq"}) {
        std::istringstream rows(all.out),
            single(RunWords(ValuesWords({"--function", function, "--csv", "--from", "2"})).out);
        const std::string mark = std::string(",") + function + ",";
        std::string row, expected;
        std::getline(single, expected);
        while (std::getline(rows, row)) {
            const auto at = row.find(mark);
            if (at == row.npos) continue;
            row.erase(at, mark.size() - 1);
            ASSERT_TRUE(std::getline(single, expected));
            if (function[1] == 'e')
                EXPECT_EQ(row.erase(row.find(',', at), 1), expected);
            else
                EXPECT_EQ(row.substr(0, row.find(',', at + 1)), expected);
        }
        EXPECT_FALSE(std::getline(single, expected)) << function;
    }
    ExpectRefused(ValuesWords({"--all-functions", "--function", "Leq"}), "excludes", 2);
}

TEST_F(RecordingTool, ListsWhatThereIsAndSelectsByNameOrNumber) {
    const Words start{"--start", "2026-11-15 10:00"};
    Done(RecordWords(Silence("1.wav", 1)) + start);
    Execute("UPDATE Groups SET State='0,running'");
    Execute("INSERT INTO Groups VALUES (7,'Gate','','Station,\"a, b\"','')");
    Execute("INSERT INTO Reports VALUES (1,1,2,'00,00,01,00,000','NOT_SET',3,0,0)");
    Execute("DELETE FROM MeasuredValues WHERE PeriodNo<2");
    const Outcome list = RunWords({"list", db_});
    EXPECT_EQ(list.out,
              "database of format 1, values in rows\n"
              "file of 106 kB, 4.1 kB of it free\n"
              "instrument Pier 4 (1), state 0,running\n"
              "  measurement noise (1), started 2026-11-15 10:00:00.000, about 23 kB\n"
              "    third octaves from 25 Hz to 20000 Hz, full scale 1, sensitivity 1, percentiles "
              "10, 50, 90\n"
              "    report 2: 3 periods of 1 min, no values, no functions\n"
              "    report 1: 8 periods of 125 ms, stored from period 2 at 2026-11-15 10:00:00.250\n"
              "      channel 1: Leq, LAeq, Lmax, Lmin, L10, L50, L90\n"
              "instrument Gate (7), type station,\"a, b\"\n");
    ExpectRefused(ValuesWords({"--report", "2"}), "no channel '1', nor any other");
    const Words byName{"values",        db_,     "--instrument", "PIER 4",
                       "--measurement", "Noise", "--function",   "lmax"};
    const Words byNumber{"values",     db_, "--instrument", "1", "--measurement", "1",
                         "--function", "3", "--report",     "1"};
    EXPECT_EQ(RunWords(byName).out, RunWords(byNumber).out);
    EXPECT_THAT(RunWords(byName).out, HasSubstr("  31.5 Hz  40 Hz  "));

    ExpectRefused({"values", db_, "--instrument", "x", "--measurement", "1"},
                  "choose one of: Pier 4 (1)");
    ExpectRefused({"values", db_, "--instrument", "1", "--measurement", "x"},
                  "choose one of: noise (1)");
    ExpectRefused(ValuesWords({"--report", "3"}), "no report '3'; choose one of: 2, 1");
    ExpectRefused(ValuesWords({"--channel", "2"}), "no channel '2'; choose one of: 1");
    ExpectRefused(ValuesWords({"--function", "x"}), "choose one of: Leq (1), LAeq (2)");
    ExpectRefused(ValuesWords({"--from", "8"}), "the periods 0 to 7");
}

TEST_F(RecordingTool, ReadsMeasurementsAsOneAndTellsSeamsGapsAndOverlaps) {
    const auto record = [&](const char* name, double seconds, const char* start) {
        const Words words{"--period", "250ms", "--start",
                          std::string("2026-11-15 10:00:0") + start};
        Done(RecordWords(Silence("1.wav", seconds), name) + words);
    };
    record("a", 1, "0");
    record("b", 1, "1");
    record("c", 2, "3");
    record("d", 0.75, "4.3");  // inside c, and not on its periods
    const Words one{"--instrument", "1", "--csv"};
    const Outcome gaps = RunWords(Words{"gaps", db_} + one);
    const auto stretch = [](const char* kind, const char* periods, const char* start,
                            const char* end, const char* name) {
        const std::string minute = ",2026-11-15 10:00:0";
        return std::string(kind) + periods + minute + start + "0" + minute + end + "0," + name +
               "\n";
    };
    EXPECT_EQ(gaps.out, "Stretch,First,Last,Start,End,Measurement,Stored %\n" +
                            stretch("measurement", ",0,3", "0.00", "1.00", "a,100") +
                            stretch("measurement", ",4,7", "1.00", "2.00", "b,100") +
                            stretch("gap", ",8,11", "2.00", "3.00", ",") +
                            stretch("measurement", ",12,19", "3.00", "5.00", "c,100") +
                            stretch("measurement", ",17,19", "4.25", "5.00", "d,100") +
                            stretch("overlap", ",17,19", "4.25", "5.00", "d,") +
                            stretch("whole", ",0,19", "0.00", "5.00", ",80"))
        << gaps.err;
    const Words whole = Words{"values", db_, "--continuous", "--function", "LAeq"} + one;
    std::istringstream rows(RunWords(whole).out);
    int period = -1;
    for (std::string row; std::getline(rows, row); ++period)
        EXPECT_TRUE(period < 0 || row.ends_with(",-90") == (period < 8 || period > 11)) << row;
    EXPECT_EQ(period, 20);
    const std::string list = RunWords({"list", db_, "--continuous"}).out;
    EXPECT_THAT(
        list, HasSubstr("    report type 1: 20 periods of 250 ms\n      periods 0 to 3: a (1)\n"));
    EXPECT_THAT(list, HasSubstr(" 17 to 19: d (4)\n      channel 1: Leq,"));
    ExpectRefused(whole + Words{"--report", "2"}, "no report type '2'; choose one of: 1");
    ExpectRefused(whole + Words{"--measurement", "a"}, "excludes", 2);
    ExpectRefused({"values", db_, "--instrument", "1"}, "--continuous is required", 2);

    Execute("UPDATE Measurements SET BandWidth=2 WHERE MeasName='b'");
    ExpectRefused(whole, "cannot be read as one");
    EXPECT_THAT(RunWords({"list", db_, "--continuous"}).out, HasSubstr("  not continuous: "));
}

TEST_F(RecordingTool, InitLeavesAloneWhatIsThere) {
    EXPECT_THAT(RunWords({"init", db_}).err, HasSubstr("holds data"));
    const std::string empty = folder_ / "empty.db", text = folder_ / "text.db",
                      foreign = folder_ / "foreign.db";
    std::ofstream(empty).close();
    Done({"init", empty});
    Done({"list", empty});

    std::ofstream(text) << std::string(2000, 'x');
    ASSERT_EQ(std::system(("cp \"" + db_ + "\" \"" + foreign + "\"").c_str()), 0);
    In(foreign, {"DROP TABLE Groups", "PRAGMA journal_mode=DELETE"});
    for (const std::string& path : {text, foreign}) {
        const std::string before = Contents(path);
        EXPECT_EQ(RunWords({"init", path}).status, 1) << path;
        EXPECT_EQ(RunWords({"list", path}).status, 1) << path;
        EXPECT_EQ(Contents(path), before) << path;
    }
    std::filesystem::create_symlink("nowhere", folder_ / "link");
    ASSERT_EQ(mkfifo((folder_ / "pipe").c_str(), 0600), 0);
    ExpectRefused({"init", folder_ / "link"}, "is a link to a file that is not there");
    ExpectRefused({"init", folder_ / "pipe"}, "is a pipe or a device");
    ExpectRefused({"init", folder_ / ""}, "is a folder");
    for (const char* const command : {"list", "check"})
        ExpectRefused({command, folder_ / "pipe"}, "is not a file");
    EXPECT_THAT(RunWords({"init", folder_ / "no/folder.db"}).err, HasSubstr("No such file"));
    EXPECT_THAT(RunWords({"list", folder_ / "none.db"}).err, HasSubstr("there is no database"));
}

TEST_F(RecordingTool, ReadsAProtectedDatabaseAndRefusesToRecordIntoIt) {
    const auto file = Silence("1.wav", 1);
    chmod((folder_ / "").c_str(), 0555);
    chmod(db_.c_str(), 0444);
    // The superuser may write to anything, so that somebody else has to try.
    const bool isSuperuser = geteuid() == 0;
    ASSERT_TRUE(!isSuperuser || seteuid(65534) == 0);
    const Outcome inProtectedFolder = RunWords({"list", db_});
    ASSERT_TRUE(!isSuperuser || seteuid(0) == 0);
    chmod((folder_ / "").c_str(), 0777);
    ASSERT_TRUE(!isSuperuser || seteuid(65534) == 0);
    Done({"list", db_});
    const Outcome record = RunWords(RecordWords(file));
    ASSERT_TRUE(!isSuperuser || seteuid(0) == 0);
    EXPECT_EQ(inProtectedFolder.status, 1);
    EXPECT_THAT(inProtectedFolder.err, HasSubstr("allowed to write to its folder"));
    EXPECT_EQ(record.status, 1);
    EXPECT_THAT(record.err, HasSubstr("may not be written to"));
    EXPECT_EQ(Count("Groups"), 0);
}

TEST_F(RecordingTool, LeavesADatabaseAsItIsThatIsNotInWriteAheadModeWhenItReads) {
    Done(RecordWords(Silence("1.wav", 1)) + Words{"--trigger", "LAeq>200"});
    const std::string backup = folder_ / "backup.db", target = folder_ / "target.db";
    std::filesystem::copy_file(db_, backup);
    In(backup, {"PRAGMA journal_mode=DELETE"});
    Done({"init", target});
    const std::string before = Contents(backup);
    ASSERT_EQ(before.substr(18, 2), "\1\1") << "the mode, in the file's header";
    const Words pier{"--instrument", "Pier 4"}, noise = pier + Words{"--measurement", "noise"};
    for (const Words& words : {Words{"list", backup},
                               {"list", backup, "--continuous"},
                               {"version", backup},
                               {"check", backup},
                               {"export", backup},
                               {"copy", backup, target},
                               Words{"values", backup} + noise,
                               Words{"gaps", backup} + pier,
                               Words{"markers", backup} + noise}) {
        Done(words);
        EXPECT_TRUE(Contents(backup) == before) << words.front();
        for (const char* suffix : {"-wal", "-shm", "-journal"})
            EXPECT_FALSE(std::filesystem::exists(backup + suffix)) << words.front();
    }
    // The other mode's files go with the last who reads.
    for (const Words& words : {Words{"list", db_}, {"version", db_}, {"init", db_}}) {
        EXPECT_EQ(RunWords(words).status, words.front() == "init" ? 1 : 0);
        EXPECT_FALSE(std::filesystem::exists(db_ + "-wal")) << words.front();
    }
}

TEST_F(RecordingTool, LaysADatabaseOutOnceHoweverManyTryAtOnce) {
    const auto before = std::filesystem::current_path();
    std::filesystem::current_path(folder_ / "");
    for (int round = 0; round < 10; ++round) {
        const std::string path = "file:" + std::to_string(round);  // a name, and no URI
        std::vector<std::unique_ptr<test::Child>> children;
        for (int i = 0; i < 4; ++i)
            children.push_back(Started({"init", path}));
        int succeeded = 0;
        for (const auto& child : children)
            succeeded += child->Wait() == 0;
        EXPECT_EQ(succeeded, 1);
        Done({"list", path});
        EXPECT_TRUE(std::filesystem::exists(path));
    }
    std::filesystem::current_path(before);
    for (const auto& entry : std::filesystem::directory_iterator(folder_ / ""))
        EXPECT_THAT(entry.path().string(), Not(HasSubstr(".part"))) << entry.path();
}

TEST_F(RecordingTool, TellsWrongUsageFromFailure) {
    ExpectRefused({}, "no command", 2);
    ExpectRefused({"frobnicate"}, "no command 'frobnicate'", 2);
    ExpectRefused({"record", db_, "x.wav", "--instrument", "a"}, "see mersola record --help", 2);
    ExpectRefused(RecordWords("x.wav") + Words{"--period", "7"}, "'7' is not a period", 2);
    ExpectRefused(RecordWords("x.wav") + Words{"--start", "now"}, "'now' is not a time", 2);
    for (const char* number : {"0", "-1", "nan", "inf", "1,5", "1e-9", "2x"})
        ExpectRefused(RecordWords("x.wav") + Words{"--fullscale", number}, "is not a number", 2);
    for (const char* number : {"-1", "1.5", "4294967296"})
        ExpectRefused(ValuesWords({"--from", number}), "is not a number", 2);
    for (const Words& words : {Words{"--help"}, Words{"record", "--help"}, Words{"--version"}}) {
        const Outcome outcome = RunWords(words);
        EXPECT_EQ(outcome.status, 0);
        EXPECT_THAT(outcome.out, HasSubstr("mersola"));
        EXPECT_EQ(outcome.err, "");
    }
}

TEST_F(Tool, TellsOfTheEnginesFault) {
    const bool hasFault = SqliteHasLogFault();
    const std::string engine = std::string("\nSQLite ") + SqliteVersion();
    EXPECT_THAT(RunWords({"--version"}).out,
                HasSubstr(engine + (hasFault ? ", which can" : ", without")));
    const std::string advice = "docs/administration.md";
    EXPECT_EQ(RunWords({"check", db_}).err, "");
    const Mersola other = Connected();
    const Outcome outcome = RunWords({"check", db_});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err.find(advice) != std::string::npos, hasFault) << outcome.err;
}

TEST_F(RecordingTool, TellsWhenItsOutputIsLost) {
    for (const Words& words : {Words{"list", db_}, Words{"--help"}}) {
        std::ofstream full("/dev/full");
        const Outcome outcome = RunWords(words, &full);
        EXPECT_EQ(outcome.status, 1);
        EXPECT_THAT(outcome.err, HasSubstr("could not be written"));
    }
    // Work that was done stays done.
    std::ofstream(folder_ / "1.csv") << "Period,Value\n0,1\n";
    const std::string other = folder_ / "other.db";
    const std::pair<Words, const char*> works[] = {
        {RecordWords(Silence("1.wav", 1)), "Recorded 8 periods"},
        {{"import", db_, folder_ / "1.csv", "--instrument", "meter", "--measurement", "day",
          "--function", "Leq", "--period", "1s", "--start", "2026-01-01 00:00"},
         "Stored 1 value in 1 report."},
        {{"init", other}, "is laid out"},
        {{"copy", db_, other, "--verify"}, "values copied safely, and all verified"},
        {{"version", db_, "--add", "2"}, "Added version '2'"}};
    for (const auto& [words, done] : works) {
        std::ofstream full("/dev/full");
        const Outcome outcome = RunWords(words, &full);
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        EXPECT_THAT(outcome.err, HasSubstr(done));
        EXPECT_EQ(std::ranges::count(outcome.err, '\n'), 1) << outcome.err;
    }
    // The program itself, without an output and with a reader that goes away.
    EXPECT_EQ(
        std::system("( \"" MERSOLA_TOOL "\" --help 2>&3; echo $? >&3 ) 3>&1 >&- | grep -q '^1$'"),
        0);
    EXPECT_EQ(std::system("test \"$( ( ( sleep 0.3; \"" MERSOLA_TOOL
                          "\" --help 2>&3; echo $? >&3 ) | true ) 3>&1 )\" = 141"),
              0);
}

}  // namespace
}  // namespace mersola::tool
