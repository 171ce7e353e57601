// Databases of every version, and what an upgrade makes of them.
#include <sys/stat.h>

#include <filesystem>

#include "engines/format.h"
#include "tool_fixture.h"

namespace mersola::tool {
namespace {

class Golden : public Tool {
  protected:
    // What the library and the tool read of it is what was written into it.
    static void ExpectContent(const std::string& file) {
        const Outcome values = RunWords({"export", file});
        EXPECT_EQ(values.out, Contents(MERSOLA_GOLDEN "content.csv")) << values.err;
        EXPECT_THAT(RunWords({"list", file}).out,
                    HasSubstr("\n    report 2: 1 period of 15 min, "));
        EXPECT_THAT(RunWords({"check", file}).out, EndsWith("; 10 values were checked\n"));

        Mersola store = tool::Connected(file);
        store.SetInstrument(store.locateInstrumentId("Überwachung"));
        store.SetMeasurement(1);
        store.SetReport(1);
        store.SetChannel(2);
        store.SetFunction(1);
        float levels[4];
        char status[5] = "";
        EXPECT_EQ(store.GetData(levels, 4, 4, 30, 1, status), 4);
        EXPECT_THAT(levels, testing::ElementsAre(0, 0, 7.5, -100));
        EXPECT_EQ(status[0], 'c');
        EXPECT_EQ(status[3], 'A') << "which is missing";
    }
};

TEST_F(Golden, DatabasesOfEveryVersionAreReadAndUpgraded) {
    int count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(MERSOLA_GOLDEN)) {
        if (entry.path().extension() != ".db") continue;
        ++count;
        const std::string name = entry.path().filename().string(), file = folder_ / name;
        SCOPED_TRACE(name);
        std::filesystem::copy_file(entry.path(), file);
        const bool isMarked = name.starts_with("format-");
        const std::string layout = name.starts_with("format-2") ? "packed" : "in rows";
        EXPECT_THAT(RunWords({"list", file}).out,
                    HasSubstr("values " + layout + (isMarked ? "\n" : ", not marked\n")));
        ExpectContent(file);

        const std::string before = Contents(file);
        const Outcome planned = RunWords({"upgrade", file, "--dry-run"});
        EXPECT_THAT(planned.out, HasSubstr("  rewrite the file"));
        EXPECT_EQ(planned.out.find("  mark the database") == std::string::npos, isMarked);
        EXPECT_EQ(Contents(file), before);
        Done({"upgrade", file});
        EXPECT_THAT(RunWords({"version", file}).out, HasSubstr(": Upgraded by mersola "));
        EXPECT_THAT(RunWords({"list", file}).out,
                    StartsWith("database of format " + std::string(layout == "packed" ? "2" : "1") +
                               ", values " + layout + "\n"));
        ExpectContent(file);
        ExpectContent(file + ".before-upgrade-1");
        EXPECT_THAT(RunWords({"upgrade", file}).out, HasSubstr("nothing to upgrade"));
        EXPECT_FALSE(std::filesystem::exists(file + ".before-upgrade-2"));
    }
    EXPECT_GE(count, 4);
}

class Upgrading : public Tool {
  protected:
    Upgrading() { Mark(0, 0); }
    void Mark(std::int32_t applicationId, int userVersion) const {
        In(db_, {"PRAGMA application_id=" + std::to_string(applicationId),
                 "PRAGMA user_version=" + std::to_string(userVersion)});
    }
};

TEST_F(Upgrading, CopiesFirstAndNeverOverAnything) {
    std::ofstream(db_ + ".before-upgrade-1") << "somebody's";
    chmod(db_.c_str(), 0600);
    Mersola recorder = Connected();
    recorder.BeginTrans();
    recorder.CommitTrans();  // it goes on meanwhile
    EXPECT_THAT(RunWords({"upgrade", db_}).out, HasSubstr(".before-upgrade-2'.\n"));
    EXPECT_EQ(Contents(db_ + ".before-upgrade-1"), "somebody's");
    EXPECT_THAT(RunWords({"list", db_ + ".before-upgrade-2"}).out, HasSubstr("not marked"));
    struct stat status {};
    ASSERT_EQ(stat((db_ + ".before-upgrade-2").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600U);
    EXPECT_THAT(RunWords({"check", db_}).out, Not(HasSubstr("remark")));
    for (const auto& entry : std::filesystem::directory_iterator(folder_ / ""))
        EXPECT_THAT(entry.path().string(), Not(EndsWith(".part")));
}

TEST_F(Upgrading, LetsAFileGiveFreedRoomBackAndWaitsForNobody) {
    {
        Mersola store = Connected();  // as earlier versions laid it out
        for (const char* sql :
             {"PRAGMA auto_vacuum=NONE", "VACUUM", "INSERT INTO Groups VALUES (1,'a','','','')",
              "INSERT INTO MeasValueMap VALUES (1,1,1,1)",
              "INSERT INTO MeasuredValues WITH RECURSIVE n(i) AS (SELECT 0 UNION ALL SELECT i+1 "
              "FROM n WHERE i<20000) SELECT 1,i,1,1,30,i,'' FROM n"})
            store.dbExecute(sql);
        const Outcome outcome = RunWords({"upgrade", db_});
        EXPECT_EQ(outcome.status, 1);
        EXPECT_THAT(outcome.out, HasSubstr("Done: mark the database"));
        EXPECT_THAT(outcome.err, HasSubstr("stop recorders and readers"));
        RunWords({"upgrade", db_});
        EXPECT_FALSE(std::filesystem::exists(db_ + ".before-upgrade-2")) << "of nothing";
    }
    const std::string outcome = Done({"upgrade", db_});
    EXPECT_THAT(outcome, HasSubstr(" MB of free room beside the file"));
    EXPECT_EQ(Count("MeasuredValues"), 20001);
    const auto before = std::filesystem::file_size(db_);
    EXPECT_EQ(Connected().deleteInstrument(nullptr, 1), 1);
    EXPECT_LT(std::filesystem::file_size(db_), before / 4);
    EXPECT_THAT(RunWords({"upgrade", db_}).out, HasSubstr("nothing to upgrade"));
}

TEST_F(Upgrading, LeavesMarksOfOthersAlone) {
    EXPECT_THAT(RunWords({"check", db_}).out, HasSubstr("remark: file: is not marked"));
    for (const auto& [id, version] : {std::pair(0x47504B47, 0), std::pair(0, 4)}) {
        Mark(id, version);
        ExpectRefused({"upgrade", db_}, "does not overwrite");
    }
    EXPECT_FALSE(std::filesystem::exists(db_ + ".before-upgrade-1"));
}

TEST_F(Upgrading, CopiesOnlyWhatItCanReachAsAFile) {
    test::Database odbc("ODBC");
    if (!odbc.Missing().empty()) GTEST_SKIP() << odbc.Missing();
    const Words upgrade{"upgrade", odbc.ConnectString()};
    EXPECT_THAT(RunWords(upgrade).err, HasSubstr("cannot be copied from here"));
    Done(upgrade + Words{"--no-backup"});
    EXPECT_THAT(RunWords(upgrade).out, HasSubstr("nothing to upgrade"));
    EXPECT_EQ(odbc.Ask("PRAGMA user_version"), std::to_string(kRowsFormat));
}

TEST_F(Upgrading, IsRefusedForADatabaseOfALaterVersion) {
    Mark(kApplicationId, kNewestFormat + 1);
    for (const char* command : {"upgrade", "list", "check", "export", "version", "init"}) {
        const Outcome outcome = RunWords({command, db_});
        EXPECT_EQ(outcome.status, 1);
        EXPECT_EQ(std::ranges::count(outcome.err, '\n'), 1) << outcome.err;
        const bool isInit = command == std::string("init");
        EXPECT_THAT(outcome.err, HasSubstr(isInit ? "no empty database" : "use that version of"));
    }
}

}  // namespace
}  // namespace mersola::tool
