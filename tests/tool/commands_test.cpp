// The command-line tool from its arguments to the database and back.
#include <gtest/gtest.h>
#include <sndfile.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <clocale>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <numbers>
#include <sstream>

#include <mersola/mersola.h>

#include "cli.h"
#include "database.h"

namespace mersola::tool {
namespace {

using Words = std::vector<std::string>;

struct Outcome {
    int status;
    std::string out;
    std::string err;
};

Outcome RunWords(Words words, std::ostream* given = nullptr) {
    words.insert(words.begin(), "mersola");
    std::vector<const char*> arguments;
    for (const auto& word : words)
        arguments.push_back(word.c_str());
    std::ostringstream out, err;
    const int status =
        RunTool(static_cast<int>(words.size()), arguments.data(), given ? *given : out, err);
    return {status, out.str(), err.str()};
}

Words operator+(Words words, const Words& more) {
    words.insert(words.end(), more.begin(), more.end());
    return words;
}

std::string Contents(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

class Tool : public testing::Test {
  protected:
    Tool() { EXPECT_EQ(RunWords({"init", db_}).status, 0); }

    // signal(time, channel) in parts of full scale; returns the path.
    template <class Signal>
    std::string Sound(const std::string& name, double seconds, Signal signal, int rate = 48000,
                      int channels = 1, int format = SF_FORMAT_WAV | SF_FORMAT_FLOAT) {
        const std::string path = folder_ / name;
        SF_INFO info{};
        info.samplerate = rate;
        info.channels = channels;
        info.format = format;
        SNDFILE* file = sf_open(path.c_str(), SFM_WRITE, &info);
        std::vector<double> frames;
        for (int i = 0; i < std::lround(seconds * rate); ++i) {
            for (int channel = 0; channel < channels; ++channel)
                frames.push_back(signal(static_cast<double>(i) / rate, channel));
        }
        sf_write_double(file, frames.data(), static_cast<sf_count_t>(frames.size()));
        sf_close(file);
        return path;
    }
    std::string Silence(const std::string& name, double seconds, int rate = 48000) {
        return Sound(
            name, seconds, [](double, int) { return 0; }, rate);
    }

    Words RecordWords(const std::string& file, const std::string& measurement = "noise") const {
        return {"record", db_, file, "--instrument", "Pier 4", "--measurement", measurement};
    }
    Words ValuesWords(const Words& more = {}) const {
        return Words{"values", db_, "--instrument", "pier 4", "--measurement", "1"} + more;
    }

    Mersola Connected() const {
        return {nullptr, nullptr, ("Provider=SQLite;Data Source=\"" + db_ + "\"").c_str(), 5};
    }
    long Count(const std::string& table) const {
        Mersola store = Connected();
        return store.dbExecute(("SELECT count(*) FROM " + table).c_str())->Fields(0).Long();
    }
    void Execute(const char* sql) const { Connected().dbExecute(sql); }

    // One line that says what is wrong, and a database that is as it was.
    void ExpectRefused(const Words& words, const std::string& reason, int status = 1) {
        const auto rows = [&] {
            return std::vector{Count("Groups"), Count("Measurements"), Count("Reports"),
                               Count("MeasuredFunctions"), Count("MeasuredValues")};
        };
        const auto before = rows();
        const Outcome outcome = RunWords(words);
        EXPECT_EQ(outcome.status, status) << outcome.err;
        EXPECT_NE(outcome.err.find(reason), std::string::npos) << outcome.err;
        EXPECT_TRUE(outcome.err.starts_with("mersola: ")) << outcome.err;
        EXPECT_EQ(outcome.err.find('\n'), outcome.err.size() - 1) << outcome.err;
        EXPECT_EQ(rows(), before) << reason;
    }

    test::TemporaryFolder folder_;
    std::string db_ = folder_ / "it's {a} database.db";
};

TEST_F(Tool, RecordsTheLevelsOfATone) {
    // 1 kHz at full scale, and 250 Hz a tenth of it.
    const auto tones = [](double t, int channel) {
        return std::pow(0.1, channel) *
               std::sin(2 * std::numbers::pi * (channel == 0 ? 1000 : 251.19) * t);
    };
    const auto file = Sound("tone.flac", 2.06, tones, 44100, 2, SF_FORMAT_FLAC | SF_FORMAT_PCM_24);
    const Outcome outcome =
        RunWords(RecordWords(file) +
                 Words{"--fullscale", "2.5", "--sensitivity", "0.05", "--period", "0.125s"});
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_NE(outcome.out.find("up to 16 kHz"), std::string::npos) << outcome.out;
    EXPECT_NE(outcome.out.find("last 0.06 s"), std::string::npos) << outcome.out;

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
        int channel, band;
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

TEST_F(Tool, GoesOnWithAMeasurementBehindThePeriodsThatPassed) {
    const Words start{"--start", "2026-11-15 10:00:00.500"};
    ASSERT_EQ(RunWords(RecordWords(Silence("1.wav", 1)) + start).status, 0);
    const Outcome later =
        RunWords(RecordWords(Silence("2.wav", 1)) + Words{"--start", "2026-11-15T10:01"});
    ASSERT_EQ(later.status, 0) << later.err;
    EXPECT_NE(later.out.find("from period 476, at 2026-11-15 10:01:00.000"), std::string::npos)
        << later.out;
    const Outcome shown = RunWords(ValuesWords({"--from", "475", "--csv", "--function", "LAeq"}));
    EXPECT_TRUE(
        shown.out.starts_with("Period,Start,broadband\n475,2026-11-15 10:00:59.875,\n"
                              "476,2026-11-15 10:01:00.000,-90\n"))
        << shown.out << shown.err;
    EXPECT_EQ(std::ranges::count(shown.out, '\n'), 1 + 484 - 475);
}

TEST_F(Tool, CompletesARecordingThatWasCutShort) {
    const Words start{"--start", "2026-11-15 10:00"};
    ASSERT_EQ(RunWords(RecordWords(Silence("begin.wav", 1)) + start).status, 0);
    const auto loud = Sound("loud.wav", 2, [](double t, int) { return std::sin(6000 * t); });
    const Outcome whole = RunWords(RecordWords(loud) + start);
    ASSERT_EQ(whole.status, 0) << whole.err;
    EXPECT_NE(whole.out.find("left as they were: periods 0 to 7."), std::string::npos) << whole.out;
    ASSERT_EQ(RunWords(RecordWords(Silence("begin.wav", 1)) + start).status, 0);
    std::istringstream rows(RunWords(ValuesWords({"--csv", "--function", "2"})).out);
    int count = -1;  // of rows without the header
    for (std::string row; std::getline(rows, row); ++count)
        EXPECT_TRUE(count < 0 || row.ends_with(",-90") == (count < 8)) << row;
    EXPECT_EQ(count, 16) << "a shorter recording hid the periods behind its end";
}

TEST_F(Tool, RefusesWhatItCannotRecordAndWritesNothing) {
    std::ofstream(folder_ / "text.wav") << "This is not sound.\n";
    const auto good = Silence("good.wav", 1);
    ASSERT_EQ(RunWords(RecordWords(good) + Words{"--start", "2026-11-15 10:00"}).status, 0);

    ExpectRefused(RecordWords(folder_ / "text.wav", "new"), "cannot be read as sound");
    ExpectRefused(RecordWords(folder_ / "none.wav", "new"), "No such file");
    ExpectRefused(RecordWords(folder_ / "", "new"), "is a folder");
    ExpectRefused(RecordWords(Silence("short.wav", 0.124), "new"),
                  "holds 0.124 s of sound, less than one period");
    ExpectRefused(RecordWords(Silence("slow.wav", 10, 50), "new"), "carry no band from 25 Hz");
    ExpectRefused(RecordWords(Silence("slow.wav", 10, 60), "new") + Words{"--period", "1ms"},
                  "longer --period");
    ExpectRefused(RecordWords(good, "it's"), "no single quote");
    ExpectRefused(RecordWords(good, ""), "at least one character");
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

TEST_F(Tool, SaysHowMuchIsSafelyStoredWhenAWriteFails) {
    Execute(
        "CREATE TRIGGER Full BEFORE INSERT ON MeasuredValues WHEN NEW.PeriodNo=5 AND NEW.FuncId=7 "
        "BEGIN SELECT RAISE(ABORT, 'no room'); END");
    const auto file = Silence("1.wav", 1);
    const Words start{"--start", "2026-11-15 10:00"};
    const Outcome cut = RunWords(RecordWords(file) + start);
    EXPECT_EQ(cut.status, 1);
    EXPECT_NE(cut.err.find("period 5 could not be stored"), std::string::npos) << cut.err;
    EXPECT_NE(cut.err.find("5 periods safely stored"), std::string::npos) << cut.err;
    EXPECT_EQ(Count("MeasuredValues WHERE PeriodNo>=5"), 0);
    EXPECT_EQ(Count("Reports WHERE noOfPeriods=5"), 1);
    Execute("DROP TRIGGER Full");
    EXPECT_EQ(RunWords(RecordWords(file) + start).status, 0);
    EXPECT_EQ(Count("Reports WHERE noOfPeriods=8"), 1);

    Execute(
        "CREATE TRIGGER Never BEFORE INSERT ON MeasuredValues BEGIN SELECT RAISE(ABORT, 'never'); "
        "END");
    Words other = RecordWords(file);
    other[4] = "Pier 5";
    ExpectRefused(other, "nothing was stored");
}

TEST_F(Tool, ShowsInvalidAndMissingValuesAsSuch) {
    const auto broken = [](double t, int) {
        return t > 0.9 && t < 1 ? std::nan("") : std::sin(6000 * t);
    };
    ASSERT_EQ(
        RunWords(RecordWords(Sound("broken.wav", 3, broken)) + Words{"--period", "1s"}).status, 0);
    const Words laeq{"--function", "laeq", "--from", "0", "--count", "2"};
    const std::string table = RunWords(ValuesWords(laeq)).out;
    EXPECT_NE(table.find("         --\n"), std::string::npos) << table;
    EXPECT_EQ(std::ranges::count(table, '\n'), 3);
    const std::string csv = RunWords(ValuesWords(laeq + Words{"--csv"})).out;
    EXPECT_NE(csv.find(",\n"), std::string::npos) << csv;
    EXPECT_EQ(csv.find("-100"), std::string::npos) << csv;
}

TEST_F(Tool, ListsWhatThereIsAndSelectsByNameOrNumber) {
    ASSERT_EQ(
        RunWords(RecordWords(Silence("1.wav", 1)) + Words{"--start", "2026-11-15 10:00"}).status,
        0);
    const Outcome list = RunWords({"list", db_});
    EXPECT_EQ(list.out,
              "instrument Pier 4 (1)\n"
              "  measurement noise (1), started 2026-11-15 10:00:00.000\n"
              "    third octaves from 25 Hz to 20000 Hz, full scale 1, sensitivity 1\n"
              "    report 1: 8 periods of 125 ms\n"
              "      channel 1: Leq, LAeq, Lmax, Lmin, L10, L50, L90\n");
    const Words byName{"values",        db_,     "--instrument", "PIER 4",
                       "--measurement", "Noise", "--function",   "lmax"};
    const Words byNumber{"values",     db_, "--instrument", "1", "--measurement", "1",
                         "--function", "3", "--report",     "1"};
    EXPECT_EQ(RunWords(byName).out, RunWords(byNumber).out);
    EXPECT_NE(RunWords(byName).out.find("  31.5 Hz  40 Hz  "), std::string::npos);

    ExpectRefused({"values", db_, "--instrument", "x", "--measurement", "1"},
                  "choose one of: Pier 4 (1)");
    ExpectRefused({"values", db_, "--instrument", "1", "--measurement", "x"},
                  "choose one of: noise (1)");
    ExpectRefused(ValuesWords({"--report", "2"}), "no report '2'; choose one of: 1");
    ExpectRefused(ValuesWords({"--channel", "2"}), "no channel '2'; choose one of: 1");
    ExpectRefused(ValuesWords({"--function", "x"}), "choose one of: Leq (1), LAeq (2)");
    ExpectRefused(ValuesWords({"--from", "8"}), "the periods 0 to 7");
}

TEST_F(Tool, UsesPointsUnderALocaleWithCommas) {
    const std::string command = "localedef -i de_DE -f UTF-8 " + (folder_ / "de_DE.UTF-8").string();
    ASSERT_EQ(std::system(command.c_str()), 0);
    ASSERT_EQ(setenv("LOCPATH", (folder_ / "").c_str(), 1), 0);
    ASSERT_NE(std::setlocale(LC_ALL, "de_DE.UTF-8"), nullptr);
    const auto file = Silence("1.wav", 1);
    const Outcome record =
        RunWords(RecordWords(file) + Words{"--period", "0.5s", "--fullscale", "0.5"});
    const Outcome list = RunWords({"list", db_});
    const Outcome comma = RunWords(RecordWords(file) + Words{"--fullscale", "0,5"});
    std::setlocale(LC_ALL, "C");
    unsetenv("LOCPATH");
    EXPECT_EQ(record.status, 0) << record.err;
    EXPECT_NE(list.out.find("full scale 0.5,"), std::string::npos) << list.out;
    EXPECT_NE(RunWords(ValuesWords()).out.find("  -90.0  "), std::string::npos);
    EXPECT_EQ(comma.status, 2);
}

TEST_F(Tool, InitLeavesAloneWhatIsThere) {
    EXPECT_NE(RunWords({"init", db_}).err.find("holds data"), std::string::npos);
    const std::string empty = folder_ / "empty.db", text = folder_ / "text.db",
                      foreign = folder_ / "foreign.db";
    std::ofstream(empty).close();
    EXPECT_EQ(RunWords({"init", empty}).status, 0);
    EXPECT_EQ(RunWords({"list", empty}).status, 0);

    std::ofstream(text) << std::string(2000, 'x');
    ASSERT_EQ(std::system(("cp \"" + db_ + "\" \"" + foreign + "\"").c_str()), 0);
    {
        Mersola other(nullptr, nullptr, ("Provider=SQLite;Data Source={" + foreign + "}").c_str(),
                      5);
        other.dbExecute("DROP TABLE Groups");
        other.dbExecute("PRAGMA journal_mode=DELETE");
    }
    for (const std::string& path : {text, foreign}) {
        const std::string before = Contents(path);
        EXPECT_EQ(RunWords({"init", path}).status, 1) << path;
        EXPECT_EQ(RunWords({"list", path}).status, 1) << path;
        EXPECT_EQ(Contents(path), before) << path;
    }
    EXPECT_NE(RunWords({"init", folder_ / "no/folder.db"}).err.find("No such file"),
              std::string::npos);
    EXPECT_NE(RunWords({"list", folder_ / "none.db"}).err.find("there is no database"),
              std::string::npos);
}

TEST_F(Tool, ReadsAProtectedDatabaseAndRefusesToRecordIntoIt) {
    const auto file = Silence("1.wav", 1);
    chmod((folder_ / "").c_str(), 0777);
    chmod(db_.c_str(), 0444);
    // The superuser may write to anything, so that somebody else has to try.
    const bool isSuperuser = geteuid() == 0;
    ASSERT_TRUE(!isSuperuser || seteuid(65534) == 0);
    const Outcome list = RunWords({"list", db_});
    const Outcome record = RunWords(RecordWords(file));
    ASSERT_TRUE(!isSuperuser || seteuid(0) == 0);
    EXPECT_EQ(list.status, 0) << list.err;
    EXPECT_EQ(record.status, 1);
    EXPECT_NE(record.err.find("may not be written to"), std::string::npos) << record.err;
    EXPECT_EQ(Count("Groups"), 0);
}

TEST_F(Tool, TellsWrongUsageFromFailure) {
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
        EXPECT_NE(outcome.out.find("mersola"), std::string::npos);
        EXPECT_EQ(outcome.err, "");
    }
}

TEST_F(Tool, TellsWhenItsOutputIsLost) {
    for (const Words& words : {Words{"list", db_}, Words{"--help"}}) {
        std::ofstream full("/dev/full");
        const Outcome outcome = RunWords(words, &full);
        EXPECT_EQ(outcome.status, 1);
        EXPECT_NE(outcome.err.find("could not be written"), std::string::npos);
    }
    // The program itself, with a reader that goes away.
    EXPECT_EQ(
        std::system("( \"" MERSOLA_TOOL "\" --help 2>&3; echo $? >&3 ) 3>&1 >&- | grep -q '^1$'"),
        0);
}

}  // namespace
}  // namespace mersola::tool
