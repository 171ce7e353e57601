// What a check of a database finds, and that it finds nothing where nothing is wrong.
#include <algorithm>
#include <chrono>
#include <cmath>
#include <filesystem>
#include <thread>

#include "recording_fixture.h"

namespace mersola::tool {
namespace {

class Checked : public RecordingTool {
  protected:
    // Two stretches of a measurement with a gap between them, and a marker.
    Checked() {
        const auto file = Sound("1.wav", 1, [](double t, int) { return std::sin(6000 * t); });
        for (const char* start : {"2026-11-15 10:00", "2026-11-15 10:01"})
            Done(RecordWords(file) + Words{"--start", start, "--trigger", "LAeq>60"});
    }
    // Without what is told of the room.
    static std::string Findings(const Outcome& outcome) {
        std::istringstream lines(outcome.out);
        std::string findings;
        for (std::string line; std::getline(lines, line);)
            if (!line.starts_with("stored: ")) findings += line + '\n';
        return findings;
    }
    Outcome CheckAfter(const Words& statements) {
        const std::string copy = folder_ / "copy.db";
        std::filesystem::copy_file(db_, copy, std::filesystem::copy_options::overwrite_existing);
        In(copy, statements);
        return RunWords({"check", copy});
    }
};

TEST_F(Checked, FindsNothingInWhatWasRecordedAndChangesNothing) {
    const std::string before = Contents(db_);
    const std::string outcome = Done({"check", db_});
    EXPECT_EQ(outcome,
              "stored: instrument 'Pier 4' (1), measurement 'noise' (1): 1504 values since "
              "2026-11-15 10:00:00.000, about 60 kB\n"
              "stored: file of 139 kB, 0 bytes of it free\n"
              "0 findings; 1504 values were checked\n");
    EXPECT_EQ(Contents(db_), before);
    EXPECT_FALSE(std::filesystem::exists(db_ + "-wal"));
    // Alarms have markers of their own, without a measurement.
    EXPECT_EQ(CheckAfter({"INSERT INTO Groups VALUES (2,'alarm','','Alarm,1','station')",
                          "UPDATE Markers SET GroupId=2, MeasId=-2"})
                  .out,
              outcome);
}

TEST_F(Checked, TakesALostConnectionForNoFinding) {
    test::TheWatch().error = _com_error(E_FAIL, "link failure", "Watched");
    test::TheWatch().FailOn("FROM Markers WHERE 1=0");
    const Outcome outcome = RunWords({"check", Watched(db_)});
    test::TheWatch().Reset();
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.out, "");
    EXPECT_THAT(outcome.err, HasSubstr("link failure"));
}

TEST_F(Checked, FindsEachFaultInALineThatSaysWhere) {
    const std::string measurement = "instrument 'Pier 4' (1), measurement 'noise' (1)";
    const std::string report = measurement + ", report 1";
    const std::string series = report + ", channel 1, function 2";
    const std::string marker = measurement + ", marker 1 of 2026-11-15 10:01:00.000: ";
    const std::string last = " WHERE Start='2026,11,15,10,01,00,000'";
    const struct {
        Words statements;
        std::string finding;
        int count = 1;
    } faults[] = {
        {{"UPDATE MeasuredValues SET MeasValueId=7 WHERE PeriodNo>480"},
         "value key 7: belongs to no report, and has 658 values"},
        {{"DELETE FROM MeasValueMap"}, report + ": has no key", 2},
        {{"DELETE FROM Reports"}, report + ": has functions, and is not there", 2},
        {{"DELETE FROM Measurements", "DELETE FROM Markers"}, "(1), measurement (1): has reports"},
        {{"DELETE FROM Groups"}, "instrument (1): has measurements"},
        {{"UPDATE Groups SET Info=CAST(X'61FC' AS TEXT)"},
         "table Groups, Info 'a?': is no text in UTF-8"},
        {{"DELETE FROM MeasuredFunctions WHERE FuncId=2"}, series + ": has 16 values, but"},
        {{"UPDATE Reports SET noOfPeriods=487"},
         report + ": counts 487 periods, but has values in period 487"},
        {{"UPDATE Reports SET MinPeriod=1 "}, "has values from period 0 on, but 1", 7},
        {{"UPDATE MeasuredValues SET PeriodNo=-3 WHERE PeriodNo=3 AND FuncId=2"},
         series + ": has values in periods -3 to -1"},
        {{"UPDATE MeasuredValues SET Value=NULL WHERE PeriodNo=3 AND FuncId=2"},
         series + ": has 1 value without a number"},
        {{"UPDATE MeasuredValues SET Value=1e999 WHERE PeriodNo=3 AND FuncId=2"},
         series + ": has values that are not finite"},
        {{"UPDATE Markers SET inProgess=1" + last}, marker + "is open"},
        {{"UPDATE Markers SET MeasId=9" + last}, "belongs to a measurement that is not there"},
        {{"UPDATE Markers SET Stop='2026,11,15,10,00,59,999'" + last}, marker + "stops at"},
        {{"UPDATE Markers SET Stop='soon'" + last}, marker + "Stop 'soon' is no time"},
        {{"UPDATE Markers SET TriggerCondition='a=\"'" + last}, marker + "TriggerCondition"},
        {{"UPDATE Measurements SET StartAt='2026,11,31,10,00,00,000'"}, measurement + ": StartAt"},
        {{"UPDATE Measurements SET Percentiles='10,500'"}, measurement + ": Percentiles"},
        {{"UPDATE Groups SET State='{'"}, "(1): State '{' is no list"},
        {{"UPDATE Reports SET PeriodLen='00,00,00,00,000'"}, report + ": PeriodLen"},
        {{"UPDATE Reports SET RealPeriodLen='x'"}, report + ": RealPeriodLen"},
        {{"INSERT INTO Reports VALUES (1,1,2,'125','NOT_SET',0,0,1)",
          "INSERT INTO MeasValueMap VALUES (1,1,2,2)"},
         measurement + ", report 2: repeats the periods of report 1"},
        {{"CREATE TABLE V (MeasValueId INTEGER,PeriodNo INTEGER,Channel INTEGER,FuncId "
          "INTEGER,FrqId INTEGER,Value REAL,Status TEXT)",
          "INSERT INTO V SELECT * FROM MeasuredValues", "INSERT INTO V VALUES (1,3,1,2,0,50,'')",
          "DROP TABLE MeasuredValues", "ALTER TABLE V RENAME TO MeasuredValues"},
         "table MeasuredValues, MeasValueId 1 and Channel 1 and FuncId 2 and PeriodNo 3 and FrqId "
         "0: stands in 2 rows"},
        {{"UPDATE Markers SET Start='dawn'" + last}, "of 'dawn': Start 'dawn' is no time"},
        {{"UPDATE Reports SET noOfPeriods=NULL"}, report + ": has no count of its periods", 2},
        {{"CREATE TABLE G (GroupId INTEGER,GroupName TEXT COLLATE NOCASE,Info TEXT,Type TEXT,State "
          "TEXT)",
          "INSERT INTO G SELECT * FROM Groups", "INSERT INTO G VALUES (2,'pier 4','','0','')",
          "DROP TABLE Groups", "ALTER TABLE G RENAME TO Groups"},
         "table Groups, GroupName"},
        {{"DROP TABLE Markers"}, "table Markers: cannot be read"},
        {{"ALTER TABLE Reports DROP COLUMN MinPeriod"}, "table Reports: has no column MinPeriod"},
        {{"ALTER TABLE Groups DROP COLUMN State"}, "table Groups: has no column State"}};
    for (const auto& fault : faults) {
        const Outcome outcome = CheckAfter(fault.statements);
        EXPECT_EQ(outcome.status, 1) << fault.finding << outcome.err;
        EXPECT_THAT(outcome.out, HasSubstr(fault.finding)) << fault.finding << '\n' << outcome.out;
        EXPECT_EQ(std::ranges::count(Findings(outcome), '\n'), fault.count + 1) << outcome.out;
        EXPECT_THAT(outcome.out, HasSubstr("\n" + std::to_string(fault.count) + " finding"));
    }
    Words tables;
    for (const StoredTable each : kStoredTables)
        tables.push_back(std::string("DROP TABLE ") + NameOf(each));
    EXPECT_THAT(CheckAfter(tables).err, HasSubstr("no tables for measurements"));
}

TEST_F(Checked, RemarksOnMissingNamesAndFindsNoFaultInThem) {
    const Outcome outcome =
        CheckAfter({"DELETE FROM FuncNameMap WHERE FuncId=2",
                    "DELETE FROM FrqNameMap WHERE FrqId IN (20,21,22,43)",
                    "UPDATE Groups SET GroupName=''", "UPDATE Measurements SET MeasName=NULL"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(Findings(outcome),
              "remark: instrument '' (1): has no name\n"
              "remark: instrument '' (1), measurement '' (1): has no name\n"
              "remark: function 2: has no name in FuncNameMap, and is measured 1 time\n"
              "remark: bands 20 to 22: no name in FrqNameMap\n"
              "remark: band 43: no name in FrqNameMap\n"
              "0 findings, 5 remarks; 1504 values were checked\n");
}

TEST_F(Checked, SaysWhichValuesADamagedPageHeldAndHowToSaveTheRest) {
    const std::string damaged = folder_ / "it's damaged.db", saved = folder_ / "saved.db",
                      script = folder_ / "script";
    std::string contents = Contents(db_);
    constexpr std::size_t kPage = 4096;
    const auto number = [&](std::size_t at, std::size_t size) {
        std::size_t sum = 0;
        for (std::size_t i = 0; i < size; ++i)
            sum = sum << 8 | static_cast<unsigned char>(contents[at + i]);
        return sum;
    };
    const auto table = In(db_, {"SELECT rootpage FROM sqlite_master WHERE name='MeasuredValues'"});
    // The last page of the table, as its root says: no other is as sure to hold the last period.
    const std::size_t root = static_cast<std::size_t>(table->Fields(0).Long() - 1) * kPage;
    const std::size_t page = number(root + 8, 4), values = number((page - 1) * kPage + 3, 2);
    std::ofstream(damaged) << contents.replace((page - 1) * kPage, kPage, kPage, '\xA5');
    const Outcome outcome = RunWords({"check", damaged});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.out.find("file: "), 0U) << outcome.out << outcome.err;
    // Versions of SQLite begin this line differently.
    EXPECT_THAT(outcome.out, HasSubstr("age " + std::to_string(page) + ": "));
    EXPECT_THAT(outcome.out,
                HasSubstr("table MeasuredValues: page " + std::to_string(page) + " cannot"));
    EXPECT_THAT(outcome.out,
                HasSubstr("lost: instrument 'Pier 4' (1), measurement 'noise' (1), report 1, "
                          "channel 1, function"));
    EXPECT_THAT(outcome.out, HasSubstr(" to 2026-11-15 10:01:01.000\n"));

    // The command that it gives, run as it stands.
    const auto command = outcome.out.find("\n  ") + 1;
    std::string line = outcome.out.substr(command, outcome.out.find('\n', command) - command);
    line.replace(line.find("saved.db"), 8, "'" + saved + "'");
    line.replace(line.find("mersola"), 7, MERSOLA_TOOL);
    std::ofstream(script) << line;
    ASSERT_NE(std::system(("sh '" + script + "' >/dev/null").c_str()), 0) << line;
    EXPECT_THAT(RunWords({"check", saved}).out, HasSubstr("0 findings"));
    EXPECT_EQ(RowsOf(saved, "MeasuredValues").size(), 1504 - values);
}

TEST_F(Checked, LetsARecorderCountAPeriodThatItHasJustStored) {
    Mersola store = Connected();
    store.dbExecute("UPDATE Reports SET noOfPeriods=487");
    std::thread recorder([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(500));
        store.dbExecute("UPDATE Reports SET noOfPeriods=488");
    });
    Done({"check", db_});
    recorder.join();
}

}  // namespace
}  // namespace mersola::tool
