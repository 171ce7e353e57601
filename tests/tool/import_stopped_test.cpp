// Imports beside recorders, and imports that end early.
#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <fstream>
#include <thread>
#include <utility>

#include "support/store.h"
#include "tool_fixture.h"

namespace mersola::tool {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

class Imports : public Tool {
  protected:
    // 30 values in each period, and then another one, in a band that has no number yet.
    std::string File(const std::string& name, int periods, const std::string& end = "") {
        std::ofstream file(folder_ / name);
        file << "Function,Period,Band,Value\n";
        for (int period = 0; period < periods; ++period) {
            for (const char* band : {"31.5 Hz", "63 Hz", "125 Hz", "250 Hz", "500 Hz", "1 kHz",
                                     "2 kHz", "4 kHz", "8 kHz", "16 kHz"}) {
                for (const char* function : {"Leq", "Lmax", "Lmin"})
                    file << function << ',' << period << ',' << band << ',' << period % 90
                         << ".5\n";
            }
        }
        for (int period = 0; period < periods; ++period)
            file << "Lden," << period << ",whole,60\n";
        file << end;
        return folder_ / name;
    }
    static Words Into(const std::string& db, const std::string& file) {
        return {"import", db,         file, "--instrument", "meter",           "--measurement",
                "day",    "--period", "1s", "--start",      "2026-01-01 00:00"};
    }
};

TEST_F(Imports, LetARecorderInWithinHalfASecond) {
    constexpr int periods = 6'000;
    const auto file = File("file.csv", periods);
    test::Store recorder(ConnectString(db_));
    ASSERT_TRUE(test::Open(recorder));
    const auto begun = Clock::now();
    const auto import = Started(Into(db_, file));
    Clock::duration longest{};
    long values = 0;
    int period = 0;
    while (values < periods * 31) {
        const auto asked = Clock::now();
        recorder.BeginTrans();
        const auto batch = recorder.PutDataStart(nullptr);
        long next = 0;
        for (int band = 0; band < 100; ++band)
            ASSERT_TRUE(
                recorder.PutDataRelative(60, "", period, 1, 1, band, false, next, true, batch));
        ASSERT_TRUE(recorder.PutDataEnd(batch) && recorder.PutPeriodsRelative(nullptr, ++period));
        recorder.CommitTrans();
        longest = std::max(longest, Clock::now() - asked);
        std::this_thread::sleep_for(20ms);
        values = Count("MeasuredValues") - 100L * period;
    }
    EXPECT_EQ(import->Wait(), 0);
    // On a machine that has other things to do all of it takes longer.
    EXPECT_LT(longest, std::max<Clock::duration>(250ms, (Clock::now() - begun) / 8));
    EXPECT_GT(period, 20);
}

TEST_F(Imports, GoOnWhereTheyStoppedAsIfTheyHadNot) {
    const auto laidOut = [&](const std::string& name, const std::string& provider) {
        const std::string db = provider + (folder_ / name).string();
        Done({"init", db});
        Mersola store("", "", db.c_str(), 5);
        store.dbExecute("UPDATE FuncNameMap SET FuncName='mine' WHERE FuncId=4");
        return db;
    };
    const auto holdings = [](const std::string& db) { return RunWords({"export", db}).out; };
    const auto plain = File("plain.csv", 800), exported = (folder_ / "exported.csv").string();
    Done(Into(db_, plain));
    Execute("DELETE FROM FuncNameMap WHERE FuncName='Lmin'");  // a number that is not free
    Done({"export", db_, "-o", exported});
    const std::string sqlite = "Provider=SQLite;Data Source=", odbc = "Driver={SQLite3};Database=";
    int number = 0;
    for (const auto& [provider, file] :
         {std::pair(sqlite, plain), {sqlite, exported}, {odbc, exported}}) {
        SCOPED_TRACE(provider + file);
        if (provider == odbc && !test::Database("ODBC").Missing().empty()) break;
        const auto expected = laidOut("whole" + std::to_string(++number), provider);
        Done(Into(expected, file));
        const auto db = laidOut("stopped" + std::to_string(number), provider);
        Mersola reader("", "", db.c_str(), 5);
        const auto values = [&] {
            return reader.dbExecute("SELECT COUNT(*) FROM MeasuredValues")->Fields(0).Long();
        };
        for (const int signal : {SIGKILL, SIGTERM}) {
            const auto child = Started(Into(db, file));
            for (const auto before = values(); values() < before + 2'000;)
                std::this_thread::sleep_for(5ms);
            child->Kill(signal);
            EXPECT_EQ(child->Wait(), 128 + signal);
            if (signal == SIGTERM) {
                EXPECT_THAT(child->Acknowledged().at(0),
                            testing::MatchesRegex("mersola: stopped by a signal; the lines up to "
                                                  ".* are stored, the same command goes on.*"));
            }
            EXPECT_LT(values(), 24'800);
            Done({"check", db});
        }
        std::ofstream(folder_ / "faulty.csv") << Contents(file) << "x\n";
        const Outcome fault = RunWords(Into(db, folder_ / "faulty.csv"));
        EXPECT_THAT(fault.err, HasSubstr(" 1 field where the line"));
        EXPECT_THAT(fault.err, HasSubstr("; the lines up to "));
        const Outcome rest = RunWords(Into(db, file));
        EXPECT_THAT(rest.out, HasSubstr("were stored already"));
        EXPECT_TRUE(holdings(db) == holdings(expected));
    }
}

TEST_F(Imports, LeaveNoValuesInAMeasurementThatIsDeletedMeanwhile) {
    const std::string text = Contents(File("file.csv", 300)), pipe = folder_ / "pipe";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    std::signal(SIGPIPE, SIG_IGN);  // as in the program
    const auto import = Started(Into(db_, pipe));
    std::ofstream file(pipe);
    file << text.substr(0, text.size() / 2) << std::flush;
    while (Count("MeasuredValues") == 0)
        std::this_thread::sleep_for(5ms);
    EXPECT_EQ(RunWords({"delete", db_, "--instrument", "meter", "--yes"}).status, 0);
    file << text.substr(text.size() / 2);
    file.close();
    EXPECT_EQ(import->Wait(), 1);
    EXPECT_THAT(import->Acknowledged().at(0),
                StartsWith("mersola: the measurement was deleted meanwhile"));
    EXPECT_EQ(Count("MeasuredValues"), 0);
}

}  // namespace
}  // namespace mersola::tool
