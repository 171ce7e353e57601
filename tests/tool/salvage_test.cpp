// What is saved of a file with each of its pages damaged in turn, and of a damaged log.
#include <algorithm>
#include <cmath>
#include <filesystem>
#include <map>
#include <random>
#include <set>

#include "tool_fixture.h"

namespace mersola::tool {
namespace {

constexpr std::size_t kPage = 4096;

class Salvaged : public Tool {
  protected:
    // Two measurements with markers, long texts, and pages that hold what was deleted.
    explicit Salvaged(const char* layout = "rows", int periods = 30) {
        std::filesystem::remove(db_);
        Done({"init", db_, "--layout", layout});
        Mersola store = Connected();
        const auto run = [&](const std::string& sql) { store.dbExecute(sql.c_str()); };
        run("PRAGMA secure_delete=OFF");
        const std::string time = ",'2026,11,15,10,00,01,000'";
        store.BeginTrans();
        run("INSERT INTO Groups VALUES (1,'Pier 4','" + std::string(9000, 'x') + "','Sound','on')");
        for (const char* meas : {"1", "2", "3"}) {
            const std::string id = std::string("1,") + meas;
            run("INSERT INTO Measurements VALUES (" + id + ",'noise" + meas +
                "','',3,1,1,20,20000,'2026,11,15,10,00,00,000','10')");
            run("INSERT INTO Reports VALUES (" + id + ",1,'00,00,00,00,125','NOT_SET',30,0,1)");
            run("INSERT INTO MeasValueMap VALUES (" + id + ",1," + meas + ")");
            run("INSERT INTO MeasuredFunctions VALUES (" + id + ",1,1,1)");
            for (int marker = 0; marker < 40; ++marker)
                run("INSERT INTO Markers (GroupId,MeasId,Path,MarkerId,Start,Stop) VALUES (" + id +
                    ",'" + std::string(150, 'p') + "'," + std::to_string(marker) + time + time +
                    ")");
            AddValues(store, meas, 0, periods);
        }
        store.CommitTrans();
        run("DELETE FROM MeasuredValues WHERE MeasValueId=3 AND PeriodNo<25");
        run("DELETE FROM Markers WHERE MeasId=3");
    }

    static void AddValues(Mersola& store, const std::string& key, int first, int end) {
        for (int period = first; period < end; ++period) {
            for (int band = 14; band < 34; ++band)
                store.dbExecute(("INSERT INTO MeasuredValues VALUES (" + key + "," +
                                 std::to_string(period) + ",1,1," + std::to_string(band) + "," +
                                 std::to_string(std::sin(period * 100 + band)) + ",'')")
                                    .c_str());
        }
    }

    static Words ValuesOf(const std::string& path) { return RowsOf(path, "MeasuredValues"); }

    // Into new_; the damaged file stays as it is, with nothing beside it.
    Outcome Salvage(const std::string& damaged) {
        std::filesystem::remove(new_);
        const std::string before = Contents(damaged), log = Contents(damaged + "-wal");
        const Outcome outcome = RunWords({"salvage", damaged, new_});
        EXPECT_EQ(Contents(damaged), before);
        EXPECT_EQ(Contents(damaged + "-wal"), log);
        EXPECT_FALSE(std::filesystem::exists(damaged + "-shm"));
        return outcome;
    }
    Outcome SalvageOf(const std::string& contents) {
        std::ofstream(damaged_, std::ios::binary) << contents;
        return Salvage(damaged_);
    }

    // Nothing false, and what the last line says of the values is so. Returns how many are lost.
    std::size_t LostOf(const Outcome& outcome, const Words& before) {
        const Words after = ValuesOf(new_);
        EXPECT_TRUE(std::ranges::includes(before, after)) << outcome.out;
        const std::size_t lost = before.size() - after.size();
        EXPECT_THAT(outcome.out, HasSubstr(std::to_string(after.size()) + " values read, "));
        if (outcome.out.find("some lost") != std::string::npos) {
            EXPECT_THAT(outcome.out, HasSubstr("lost: "));
        } else if (outcome.out.find("at least") == std::string::npos) {
            EXPECT_THAT(outcome.out,
                        HasSubstr(" " + std::to_string(lost) + " lost, 0 rows put aside"));
        }
        if (lost > 0) {
            EXPECT_EQ(outcome.status, 1);
        }
        return lost;
    }

    std::string damaged_ = folder_ / "damaged.db", new_ = folder_ / "new.db";
};

TEST_F(Salvaged, HoldsAllThatACopyHoldsWhereNothingIsDamaged) {
    const Outcome outcome = Salvage(db_);
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.out, "1300 values read, 0 lost, 0 rows put aside\n");
    const std::string copy = folder_ / "copy.db";
    Done({"init", copy});
    Done({"copy", db_, copy});
    EXPECT_EQ(RowsOf(new_), RowsOf(copy));
    EXPECT_THAT(RunWords({"version", new_}).out, HasSubstr("Salvaged by mersola"));
    Done({"check", new_});
}

TEST_F(Salvaged, LosesNoMoreThanThePageThatIsDamaged) {
    const std::string whole = Contents(db_);
    const Words before = ValuesOf(db_);
    std::mt19937 random(1);
    std::map<std::string, int> told;
    std::size_t lost = 0;
    for (std::size_t page = 0; page < whole.size() / kPage; ++page) {
        SCOPED_TRACE("page " + std::to_string(page + 1));
        std::string contents = whole;
        const bool isZeroed = page % 3 == 0;
        for (std::size_t i = page % 3 == 1 ? kPage / 2 : 0; i < kPage; ++i)
            contents[page * kPage + i] = static_cast<char>(isZeroed ? 0 : random());
        const Outcome outcome = SalvageOf(contents);
        lost += LostOf(outcome, before);
        for (const char* words :
             {"header of the file", "schema is damaged",
              "table MeasuredValues: ", "index PeriodsOfReport: ", "lost PeriodLen", "lost Info",
              "markers lost", "lost: instrument 'Pier 4' (1), measurement"})
            told[words] += outcome.out.find(words) != std::string::npos;
        // Whatever was lost, what was saved can be read.
        const std::string found = RunWords({"check", new_}).out;
        for (const char* fault : {"belongs to no report", "does not list it", "is not there"})
            EXPECT_THAT(found, Not(HasSubstr(fault)));
    }
    // Every value lies on one page.
    EXPECT_EQ(lost, before.size());
    for (const auto& [words, times] : told)
        EXPECT_GT(times, 0) << words;
}

class PackedSalvaged : public Salvaged {
  protected:
    PackedSalvaged() : Salvaged("packed", 300) {}
};

TEST_F(PackedSalvaged, HoldsEveryBlockAndPendingRowThatCanBeRead) {
    const Words before = ValuesOf(db_);
    std::map<long, std::string> pages;
    {
        Mersola store = Connected();
        const auto found = store.dbExecute(
            "SELECT pageno,name FROM dbstat WHERE name IN "
            "('PendingValues','ValueBlocks','ValueData','sqlite_schema')");
        for (; !found->EndOfFile(); found->MoveNext())
            pages[found->Fields(0).Long()] = found->Fields(1).Text().GetString();
    }
    const std::string whole = Contents(db_);
    std::map<std::string, std::size_t> lost;
    std::set<std::string> told;
    for (const auto& [page, table] : pages) {
        SCOPED_TRACE(table + ", page " + std::to_string(page));
        std::string contents = whole;
        contents.replace(static_cast<std::size_t>(page - 1) * kPage, kPage, kPage, '\0');
        const Outcome outcome = SalvageOf(contents);
        lost[table] += LostOf(outcome, before);
        for (const char* words : {"all values in periods 0 to 127, 2026-11-15 10:00:00.000 to ",
                                  "lost: values of PendingValues that nothing tells of, from "})
            if (outcome.out.find(words) != std::string::npos) told.insert(words);
        EXPECT_THAT(RunWords({"check", new_}).out, Not(HasSubstr("cannot be read")));
    }
    // Whose blocks are, is told by their data as well.
    EXPECT_EQ(lost["ValueBlocks"], 0U);
    EXPECT_EQ(lost["sqlite_schema"], 0U);
    EXPECT_GT(lost["ValueData"], 0U);
    EXPECT_GT(lost["PendingValues"], 0U);
    EXPECT_EQ(told.size(), 2U);
}

TEST_F(Salvaged, GivesValuesAnOwnerWhereNobodyKnowsTheirs) {
    std::string contents = Contents(db_);
    {
        Mersola store = Connected();
        const auto roots = store.dbExecute(
            "SELECT rootpage FROM sqlite_master WHERE tbl_name IN ('MeasValueMap','Groups')");
        for (; !roots->EndOfFile(); roots->MoveNext())
            contents.replace(static_cast<std::size_t>(roots->Fields(0).Long() - 1) * kPage, kPage,
                             kPage, '\xff');
    }
    const Words before = ValuesOf(db_);
    const Outcome outcome = SalvageOf(contents);
    EXPECT_EQ(LostOf(outcome, before), 0U);
    EXPECT_EQ(outcome.status, 1);
    const std::string list = RunWords({"list", new_}).out;
    for (const char* name : {"instrument salvaged 1 (1)", "measurement noise1 (1)",
                             "instrument salvaged 2 (2)", "measurement values under key 2 (2)"})
        EXPECT_THAT(list, HasSubstr(name));
}

TEST_F(Salvaged, HoldsWhatIsBeforeTheEndOfAFileThatWasCutOff) {
    const std::string whole = Contents(db_);
    const Outcome outcome = SalvageOf(whole.substr(0, whole.size() / kPage / 2 * kPage + 100));
    const std::size_t lost = LostOf(outcome, ValuesOf(db_));
    EXPECT_GT(lost, 0U);
    EXPECT_LT(lost, ValuesOf(db_).size());
    EXPECT_THAT(outcome.out, HasSubstr("file: the file ends after "));
}

TEST_F(Salvaged, HoldsTheCommitsOfTheLogUpToWhereItIsDamaged) {
    Mersola recorder = Connected();
    for (int period = 30; period < 60; ++period) {
        recorder.BeginTrans();
        AddValues(recorder, "1", period, period + 1);
        recorder.CommitTrans();
    }
    for (const char* suffix : {"", "-wal"})
        std::filesystem::copy_file(db_ + suffix, damaged_ + suffix);
    const std::string log = Contents(damaged_ + "-wal");
    const Words before = ValuesOf(db_);

    EXPECT_EQ(Salvage(damaged_).status, 0);
    EXPECT_EQ(ValuesOf(new_), before);

    // In the middle commits are behind it; at the end it may be one that never was.
    for (const std::size_t at : {log.size() / 2, log.size() - 10}) {
        std::string torn = log;
        for (std::size_t i = 0; i < 8; ++i)
            torn[at + i] = static_cast<char>(~torn[at + i]);
        std::ofstream(damaged_ + "-wal", std::ios::binary) << torn;
        const Outcome outcome = Salvage(damaged_);
        const bool hasMore = at < log.size() - 10;
        EXPECT_EQ(outcome.status, hasMore ? 1 : 0);
        EXPECT_EQ(outcome.out.find("file: the log is damaged at its page ") != std::string::npos,
                  hasMore)
            << outcome.out;
        const Words after = ValuesOf(new_);
        EXPECT_TRUE(std::ranges::includes(before, after));
        EXPECT_GE(after.size(), hasMore ? 1400U : 1880U);
        EXPECT_LT(after.size(), before.size());
    }
}

TEST_F(Salvaged, RefusesWhatItCannotReadSafely) {
    const auto refuses = [&](const std::string& damaged, const std::string& saved,
                             const std::string& reason) {
        const Outcome outcome = RunWords({"salvage", damaged, saved});
        EXPECT_EQ(outcome.status, 1);
        EXPECT_THAT(outcome.err, HasSubstr(reason));
        EXPECT_EQ(std::ranges::count(outcome.err, '\n'), 1) << outcome.err;
    };
    refuses(db_, db_, "exists already");
    refuses(folder_ / "none.db", new_, "not there");
    refuses(folder_ / "", new_, "is no file");
    std::ofstream(damaged_) << std::string(3 * kPage, 'a');
    refuses(damaged_, new_, "nothing of measurements");
    std::ofstream(damaged_ + "-journal") << "\xd9\xd5\x05\xf9\x20\xa1\x63\xd7";
    refuses(damaged_, new_, "its journal");
    // Another program would be the tool, or this one.
    const Mersola user = Connected();
    const std::string command = std::string(MERSOLA_TOOL) + " salvage \"" + db_ + "\" " + new_ +
                                " 2>&1 | grep -q 'other programs have'";
    EXPECT_EQ(std::system(command.c_str()), 0);
    EXPECT_FALSE(std::filesystem::exists(new_));
}

}  // namespace
}  // namespace mersola::tool
