// Where values begin and where they are missing, periods asked for by time, and what listing costs.
#include <algorithm>
#include <filesystem>

#include "recording_fixture.h"

namespace mersola::tool {
namespace {

// Of 'Pier 4': 'a' from 23:59:58 to midnight, 'b' from 00:00:01 on, in periods of 125 ms; both last
// two seconds.
class Shown : public RecordingTool {
  protected:
    Shown() {
        const auto file = Silence("1.wav", 2);
        for (const auto& [name, start] :
             {std::pair("a", "2026-11-15 23:59:58"), {"b", "2026-11-16 00:00:01"}})
            Done(RecordWords(file, name) + Words{"--start", start});
    }
    // The numbers of the periods that are shown.
    static std::string Periods(const Outcome& outcome, std::size_t column = 0) {
        std::istringstream lines(outcome.out);
        std::string numbers;
        bool isHeader = true;
        for (std::string line; std::getline(lines, line); isHeader = false) {
            std::istringstream fields(line);
            std::string number;
            for (std::size_t i = 0; i <= column; ++i)
                std::getline(fields, number, ',');
            if (!isHeader) numbers += (numbers.empty() ? "" : " ") + number;
        }
        return numbers + outcome.err;
    }
    Words Laeq(const Words& more) const {
        return Words{"values", db_, "--instrument", "1", "--function", "LAeq", "--csv"} + more;
    }
    Words Exported(const Words& more) const {
        return Words{"export", db_, "--instrument", "1", "--function", "LAeq", "--plain"} + more;
    }
    const Words a_{"--measurement", "a"}, b_{"--measurement", "b"}, chain_{"--continuous"};
};

TEST_F(Shown, BeginsAtTheFirstStoredPeriodAlsoWhereOnlyTheValuesKnowIt) {
    Execute("DELETE FROM MeasuredValues WHERE MeasValueId=1 AND PeriodNo<14");
    EXPECT_EQ(Periods(RunWords(Laeq(a_))), "14 15");
    EXPECT_EQ(Periods(RunWords(Laeq(a_ + Words{"--count", "1"}))), "14");
    EXPECT_EQ(Periods(RunWords(Exported(a_ + Words{"--count", "1"})), 4), "14");
    EXPECT_THAT(Periods(RunWords(Laeq(chain_))), StartsWith("14 15 16"));
    const Words plot{"plot", db_, "--instrument", "1", "-o", folder_ / "1.svg"};
    for (const Words& whose : {a_, chain_})
        EXPECT_THAT(RunWords(plot + whose).out, HasSubstr("from 2026-11-15 23:59:59.750"));
    Execute("DELETE FROM MeasuredValues WHERE MeasValueId=1");
    EXPECT_THAT(Periods(RunWords(Laeq(a_))), StartsWith("0 1 2 "));
    EXPECT_THAT(Periods(RunWords(Laeq(chain_))), StartsWith("24 25 "));
}

TEST_F(Shown, TakesThePeriodsThatBeginWithinATime) {
    const Words midnight{"--from", "2026-11-16"}, second{"--to", "2026-11-15T23:59:58.25"};
    EXPECT_EQ(Periods(RunWords(Laeq(a_ + second))), "0 1");
    EXPECT_EQ(Periods(RunWords(Laeq(chain_ + midnight + Words{"--to", "2026-11-16 00:00:01.126"}))),
              "16 17 18 19 20 21 22 23 24 25");
    EXPECT_EQ(Periods(RunWords(Laeq(b_ + Words{"--from", "2026-11-16 00:00:02.8"}))), "15");
    EXPECT_EQ(Periods(RunWords(Laeq(a_ + Words{"--from", "2026-11-15 23:59:59", "--count", "2"}))),
              "8 9");
    // Each measurement counts for itself.
    EXPECT_EQ(Periods(RunWords(Exported(
                          {"--from", "2026-11-15 23:59:59.750", "--to", "2026-11-16 00:00:01.25"})),
                      4),
              "14 15 0 1");
    EXPECT_EQ(Periods(RunWords(Exported(midnight + Words{"--wide", "--count", "2"})), 4), "0 1");
    EXPECT_EQ(Periods(RunWords(Exported({"--from", "2030-01-01"})), 4), "");

    ExpectRefused(Laeq(a_ + midnight), "0 to 15, from 2026-11-15 23:59:58.000 to 2026-11-16 00:00");
    ExpectRefused(Laeq(a_ + midnight + second), "does not lie behind --from", 2);
    ExpectRefused(Exported(second + Words{"--count", "1"}), "excludes", 2);
    for (const char* wrong : {"2026-11-31", "2026-11", "midnight", "16.11.2026", "1e3", "-1", ""})
        ExpectRefused(Exported({"--from", wrong}), "is not a number from 0, nor a time", 2);
    ExpectRefused(Laeq(a_ + Words{"--to", "10"}), "'10' is not a time", 2);
    Execute("UPDATE Measurements SET StartAt='soon' WHERE MeasName='b'");
    ExpectRefused(Exported(midnight), "no valid times");
    Done(Exported({"--from", "3"}));
}

TEST_F(Shown, TellsHolesInMeasurementsAndTheShareOfTimeThatIsStored) {
    Execute("DELETE FROM MeasuredValues WHERE MeasValueId=1 AND PeriodNo IN (0,1,5)");
    Execute("DELETE FROM MeasuredValues WHERE MeasValueId=2 AND PeriodNo>=9");
    // A value alone is enough; one that no reader counts is not.
    Execute("DELETE FROM MeasuredValues WHERE MeasValueId=1 AND PeriodNo=7 AND FuncId<>2");
    Execute("INSERT INTO MeasuredValues VALUES (1,16,1,2,0,50,''),(1,-1,1,2,0,50,'')");
    const Words gaps{"gaps", db_, "--instrument", "1", "--csv"};
    const auto rows = [&] {  // without header and times
        std::string rest;
        std::istringstream lines(RunWords(gaps).out);
        for (std::string line; std::getline(lines, line);) {
            const auto start = line.find(",2026");
            if (start == line.npos) continue;
            rest += line.erase(start, std::string(",2026-11-15 00:00:00.000").size() * 2) + "\n";
        }
        return rest;
    };
    EXPECT_EQ(rows(),
              "measurement,0,15,a,81.25\nhole,0,1,a,\nhole,5,5,a,\ngap,16,23,,\n"
              "measurement,24,39,b,56.25\nhole,33,39,b,\nwhole,0,39,,55\n");
    // Where two overlap, a period counts once.
    Execute("UPDATE Measurements SET StartAt='2026,11,15,23,59,59,000' WHERE MeasName='b'");
    EXPECT_EQ(rows(),
              "measurement,0,15,a,81.25\nhole,0,1,a,\nhole,5,5,a,\n"
              "measurement,8,23,b,56.25\noverlap,8,15,b,\nhole,17,23,b,\nwhole,0,23,,58.33\n");
    Execute("DELETE FROM MeasuredValues");
    EXPECT_THAT(rows(), HasSubstr("hole,0,15,a,\n"));
    EXPECT_THAT(rows(), HasSubstr("whole,0,23,,0\n"));
}

TEST_F(Shown, IsListedInAHandfulOfStatements) {
    const auto listed = [&] {
        test::TheWatch().Reset();
        EXPECT_EQ(Done({"list", Watched(db_)}), Done({"list", db_}));
        return test::TheWatch().statements.size();
    };
    const auto few = listed();
    EXPECT_LE(few, 12U);
    for (const char* name : {"c", "d", "e"})
        Done(RecordWords(folder_ / "1.wav", name));
    EXPECT_EQ(listed(), few);
}

}  // namespace
}  // namespace mersola::tool
