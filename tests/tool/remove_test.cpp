// What prune and delete show, what goes, and that what was to stay reads as before.
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <thread>

#include "terminal.h"
#include "tool_fixture.h"

namespace mersola::tool {
namespace {

using namespace std::chrono_literals;

// Two instruments, each with 'spring', 400 quarters of an hour from 2020-03-01 on, and 'autumn', as
// many from 2020-09-01 on.
class Removed : public Tool, public testing::WithParamInterface<const char*> {
  protected:
    Removed() {
        std::filesystem::remove(db_);
        Done({"init", db_, "--layout", GetParam()});
        for (const char* instrument : {"Pier 4", "Gate"})
            for (const auto& [name, month] : {std::pair("spring", "03"), {"autumn", "09"}})
                Import(instrument, name, std::string("2020-") + month + "-01", 400);
    }

    void Import(const std::string& instrument, const std::string& measurement,
                const std::string& start, int periods, const std::string& length = "15min",
                int first = 0) {
        {
            std::ofstream file(csv_);
            file << "Period,LAeq,Lmax\n";
            for (int i = first; i < first + periods; ++i)
                file << i << ',' << 40 + i % 97 * 0.37 << ',' << 60 + i % 89 * 0.1 << '\n';
        }
        Done({"import", db_, csv_, "--instrument", instrument, "--measurement", measurement,
              "--start", start + " 00:00", "--period", length, "--functions", "LAeq,Lmax"});
    }
    void Mark(const std::string& path, const std::string& day, const char* measurement = "1") {
        Execute("INSERT INTO Markers VALUES (1," + std::string(measurement) + ",'" + path +
                "','2020," + day + ",10,00,00,000','2020," + day +
                ",10,00,05,000',1,0,'',2,0,0,'',0)");
    }
    std::string Exported(const Words& more = {}) const {
        return RunWords(Words{"export", db_, "--plain"} + more).out;
    }
    void ExpectNoFindings() const {
        const std::string outcome = Done({"check", db_});
        EXPECT_THAT(outcome, Not(HasSubstr("remark")));
    }

    const Words prune_{"prune", db_, "--before", "2020-09-02 12:00"};
    const Words pier_{"delete", db_, "--instrument", "Pier 4"};
    const Words yes_{"--yes"}, spring_{"--measurement", "spring"},
        autumn_{"--measurement", "autumn"};

  private:
    const std::string csv_ = folder_ / "import.csv";
};

INSTANTIATE_TEST_SUITE_P(Layouts, Removed, testing::Values("rows", "packed"),
                         [](const auto& each) { return each.param; });

TEST_P(Removed, ByAgeIsShownFirstAndWhatIsYoungerReadsAsBefore) {
    const std::string all = Exported(), younger = Exported({"--from", "2020-09-02 12:00"});
    const std::string shown = Done(prune_ + Words{"--dry-run"});
    EXPECT_THAT(shown, HasSubstr("instrument 'Gate' (2), measurement 'spring' (1): all of it, "
                                 "400 periods with about 800 values, about "));
    EXPECT_THAT(shown, HasSubstr("measurement 'autumn' (2): 144 periods with about 288 val"));
    EXPECT_THAT(shown, HasSubstr("In all 2 measurements, 1088 periods with about 2176 values"));
    EXPECT_EQ(Exported(), all);

    const Outcome one = RunWords(prune_ + yes_ + Words{"--instrument", "gate"});
    EXPECT_THAT(one.out, HasSubstr("Deleted 1 measurement, 544 periods"));
    EXPECT_EQ(Exported({"--instrument", "Pier 4"}),
              all.substr(0, all.find('\n') + 1) +
                  all.substr(all.find("\nPier 4") + 1, all.find("\nGate") - all.find("\nPier 4")));
    const std::string rest = Done(prune_ + yes_);
    EXPECT_THAT(rest, HasSubstr("Deleted 1 measurement, 544 periods"));
    EXPECT_EQ(Exported(), younger);
    ExpectNoFindings();
    EXPECT_THAT(RunWords({"list", db_}).out,
                HasSubstr("400 periods of 15 min, stored from period 144 at 2020-09-02 12:00"));
    const std::string nothing = Done(prune_);
    EXPECT_THAT(nothing, HasSubstr("Nothing in "));
    Done({"prune", db_, "--keep", "1d", "--yes"});
    EXPECT_EQ(Count("Measurements"), 0);
    EXPECT_EQ(Count("Groups"), 2);
}

TEST_P(Removed, GoesOnAfterAKillAndASignalBesideOneWhoWrites) {
    const std::string younger = Exported({"--from", "2020-09-02 12:00"});
    Import("Buoy", "day", "2020-06-01", 3000, "1min");
    const Words slowly = prune_ + yes_ + Words{"--pause", "150ms"};
    Mersola writer = Connected();
    long written = 0;
    for (const int signal : {SIGKILL, SIGINT}) {
        const auto left = [&] {
            return writer.dbExecute("SELECT COUNT(*) FROM MeasuredValues WHERE FuncId<1000")
                ->Fields(0)
                .Long();
        };
        const auto child = Started(slowly);
        for (const long before = left(); left() >= before && !child->HasEnded(); ++written) {
            writer.dbExecute(("INSERT INTO MeasuredValues VALUES (1," +
                              std::to_string(400 + written) + ",1,1000,0,1,'')")
                                 .c_str());
            std::this_thread::sleep_for(5ms);
        }
        child->Kill(signal);
        EXPECT_EQ(child->Wait(), 128 + signal);
        EXPECT_GT(left(), 1024);  // values of what is younger, and of what is not done yet
        if (signal == SIGINT) {
            EXPECT_THAT(child->Acknowledged().at(0),
                        testing::MatchesRegex("mersola: stopped by a signal; gone is .* and the "
                                              "same command goes on.*"));
        }
        EXPECT_EQ(Count("Measurements"), 5);
    }
    EXPECT_GT(written, 0);
    writer.dbExecute("DELETE FROM MeasuredValues WHERE FuncId=1000");
    ExpectNoFindings();
    Done(prune_ + yes_);
    EXPECT_EQ(Exported(), younger);
    ExpectNoFindings();
}

TEST_P(Removed, TakesAWrongImportBackOrPartsOfIt) {
    const std::string right = Exported();
    Import("Pier 4", "spring", "2020-03-01", 70, "15min", 600);  // the wrong place
    const Words times{"--from", "2020-03-07 06:00", "--to", "2020-03-08"};
    const Words wrong = pier_ + spring_ + times;
    const Outcome shown = RunWords(wrong + Words{"--dry-run"});
    EXPECT_THAT(shown.out, HasSubstr("(1): 70 periods with about 140 values"));
    EXPECT_NE(Exported(), right);
    Done(wrong + yes_);
    EXPECT_EQ(Exported(), right);
    EXPECT_THAT(RunWords(wrong + yes_).out, HasSubstr("There is nothing to delete in "));
    ExpectNoFindings();

    const std::string laeq = Exported({"--function", "LAeq"});
    Done(pier_ + yes_ + Words{"--function", "lmax"});
    Done({"delete", db_, "--instrument", "2", "--channel", "1", "--function", "3", "--yes"});
    EXPECT_EQ(Exported(), laeq);
    EXPECT_THAT(RunWords({"list", db_}).out, Not(HasSubstr("Lmax")));
    ExpectNoFindings();
    const Words gate{"--instrument", "Gate"};
    const std::string other = Exported(gate);
    Done(pier_ + spring_ + yes_);
    EXPECT_THAT(RunWords({"list", db_}).out, Not(HasSubstr("Pier 4 (1)\n  spring")));
    EXPECT_EQ(Exported(gate), other);
    // With its last function a measurement goes whole, but not its instrument.
    Done(pier_ + yes_ + Words{"--function", "LAeq"});
    EXPECT_EQ(Count("Measurements"), 2);
    EXPECT_EQ(Count("Groups"), 2);
    EXPECT_THAT(RunWords(pier_ + yes_).out, HasSubstr("and the instrument itself"));
    EXPECT_EQ(Count("Groups"), 1);
    EXPECT_EQ(Exported(), other);
    ExpectNoFindings();
}

TEST_P(Removed, LeavesRecordingFilesUnlessTheirFolderIsNamed) {
    std::filesystem::create_directory(folder_ / "sounds");
    const auto file = [&](const std::string& name) {
        std::ofstream(folder_ / name) << "sound";
        return std::string(folder_ / name);
    };
    const std::string old = file("sounds/old.wav"), young = file("sounds/young.wav"),
                      elsewhere = file("elsewhere.wav"), kept = file("sounds/kept.wav");
    Mark(kept, "03,01");
    EXPECT_THAT(RunWords({"prune", db_, "--before", "2020-03-02", "--yes"}).out,
                HasSubstr("Deleted 192 periods, 1 marker"));
    Mark(old, "03,02"), Mark(elsewhere, "03,03"), Mark("gone.wav", "03,03"), Mark(young, "03,03"),
        Mark(young, "09,03", "2");
    const Words files{"--recording-files", folder_ / "sounds"};
    EXPECT_THAT(RunWords(prune_ + files + Words{"--dry-run"}).out,
                HasSubstr("4 markers, 1 recording file of 5 bytes"));
    const Outcome outcome = RunWords(prune_ + files + yes_);
    EXPECT_THAT(outcome.out, HasSubstr("4 markers, 1 recording file"));
    EXPECT_THAT(outcome.out, HasSubstr("1 recording file stays; the library's log file says why"));
    EXPECT_FALSE(std::filesystem::exists(old));
    for (const std::string& each : {young, elsewhere, kept})
        EXPECT_TRUE(std::filesystem::exists(each)) << each;
    EXPECT_EQ(Count("Markers"), 1);
    ExpectRefused(prune_ + Words{"--recording-files", folder_ / "nowhere"}, "is no folder");
}

TEST_P(Removed, IsRefusedInOneLineWhereTheCallIsWrong) {
    const auto tomorrow = std::to_string(CTimeEx::GetCurrentTime().GetYear() + 1) + "-01-01";
    ExpectRefused({"prune", db_, "--before", tomorrow, "--yes"}, "lies in the future, so that", 2);
    ExpectRefused({"prune", db_, "--yes"}, "one of --keep and --before says what is old", 2);
    ExpectRefused(prune_ + Words{"--keep", "90d"}, "excludes", 2);
    for (const char* age : {"90", "-1d", "0d", "nan d", "1e300d", "40000d", "500ms", "d", ""})
        ExpectRefused({"prune", db_, "--keep", age, "--yes"}, "is not an age, as 90d or 12h", 2);
    ExpectRefused({"prune", db_, "--before", "2020-02-30", "--yes"}, "is not a time", 2);
    ExpectRefused(prune_ + yes_ + Words{"--pause", "-1s"}, "is not a period from", 2);
    ExpectRefused(prune_ + yes_ + Words{"--instrument", "it's"},
                  "no instrument 'it's'; choose one of: Pier 4 (1), Gate (2)");
    ExpectRefused(pier_ + yes_ + Words{"--measurement", "3"},
                  "no measurement '3'; choose one of: spring (1), autumn (2)");
    ExpectRefused(pier_ + yes_ + Words{"--channel", "2"}, "no channel '2'; choose one of: 1");
    ExpectRefused(pier_ + yes_ + Words{"--function", "Leq"}, "choose one of: LAeq (2), Lmax (3)");
    ExpectRefused(pier_ + yes_ + Words{"--from", "2020-03-02", "--to", "2020-03-01"},
                  "does not lie behind --from", 2);
    {
        Mersola holder = Connected();
        holder.BeginTrans();
        holder.dbExecute("DELETE FROM Markers");
        ExpectRefused(prune_ + yes_ + Words{"--timeout", "1"},
                      "the deletion failed (database is locked; another program holds it");
    }
    // What lies ahead does not say that all is old.
    Done({"prune", db_, "--before", tomorrow, "--force", "--dry-run"});
}

TEST_P(Removed, IsAskedForOnATerminalAndOtherwiseRefused) {
    const auto values = Count("MeasuredValues");
    test::Child unasked([&](const auto&) { return setsid(), RunWords(prune_).status; });
    EXPECT_EQ(unasked.Wait(), 1);
    EXPECT_EQ(Count("MeasuredValues"), values);
    if (!HasTerminals()) GTEST_SKIP() << "this system gives no terminal (/dev/pts)";
    const auto asked = [&](const char* typed) {
        return TypedOn("[yes/no] ", typed, [&] { return RunWords(prune_).status; }).status;
    };
    for (const auto& [typed, status] : {std::pair("no\n", 1), {"\n", 1}, {"\x03", 130}})
        EXPECT_EQ(asked(typed), status);
    EXPECT_EQ(Count("MeasuredValues"), values);
    EXPECT_EQ(asked("yes\n"), 0);
    EXPECT_EQ(Count("MeasuredValues"), 1024);
}

// What is left after each of several commands.
std::vector<std::string> Left(const std::string& database, const std::string& csv) {
    const Words gate{"--instrument", "Gate"}, yes{"--yes"};
    std::vector<std::string> left;
    for (const Words& words :
         {Words{"import", database, csv, "--start", "2020-03-01 00:00", "--period", "15min"},
          {"prune", database, "--before", "2020-03-01 12:00", "--yes"},
          Words{"delete", database, "--from", "2020-03-02", "--to", "2020-03-02 06:00",
                "--function", "lmax"} +
              gate + yes,
          Words{"rename", database, "--band", "1 kHz", "--to", "2 kHz"} + gate,
          {"rename", database, "--instrument", "Pier 4", "--to", "Südmole"},
          Words{"delete", database, "--function", "LAeq"} + gate + yes,
          {"delete", database, "--instrument", "1", "--yes"}}) {
        Done(words);
        left.push_back(RunWords({"export", database, "--plain"}).out);
        Done({"check", database});
    }
    return left;
}

TEST(RemovedAndRenamed, IsTheSameOnServers) {
    const test::TemporaryFolder folder;
    const std::string csv = folder / "import.csv";
    {
        std::ofstream file(csv);
        file << "Instrument,Measurement,Function,Band,Period,Value\n";
        for (const char* place :
             {"Pier 4,day,LAeq,2 kHz", "Gate,day,LAeq,1 kHz", "Gate,day,Lmax,1 kHz"})
            for (int i = 0; i < 150; ++i)
                file << place << ',' << i << ',' << i * 0.25 << '\n';
    }
    test::Database own("SQLite");
    const auto expected = Left(own.ConnectString(), csv);
    for (const char* name : {"ODBC", "FreeTDS", "PostgreSQL"}) {
        SCOPED_TRACE(name);
        test::Database database(name);
        if (!database.Missing().empty()) {
            EXPECT_FALSE(test::IsRequired(database.NeedsServer())) << database.Missing();
            continue;
        }
        EXPECT_EQ(Left(database.ConnectString(), csv), expected);
    }
}

}  // namespace
}  // namespace mersola::tool
