// Packed databases in the tool's hands.
#include <filesystem>

#include "tool_fixture.h"

namespace mersola::tool {
namespace {

class Packed : public Tool {
  protected:
    Packed() { Done({"init", packed_, "--layout", "packed"}); }

    const std::string packed_ = folder_ / "packed.db";
};

TEST_F(Packed, IsLaidOutWhereAskedForAndSaysSo) {
    EXPECT_THAT(RunWords({"list", packed_}).out,
                StartsWith("database of format 2, values packed\n"));
    const std::string rounded = folder_ / "rounded.db";
    const Words init{"init", rounded, "--layout", "packed", "--resolution"};
    Done(init + Words{"0.010"});
    EXPECT_THAT(RunWords({"version", rounded}).out,
                StartsWith("Database of format 2, values packed in steps of 0.01\n"));

    const std::string other = folder_ / "other.db";
    for (const char* step : {"0", "-1", "0.0000001", "1e-3", "nan", "101", ".", ""})
        EXPECT_EQ(RunWords({"init", other, "--layout", "packed", "--resolution", step}).status, 2)
            << step;
    EXPECT_EQ(RunWords({"init", other, "--resolution", "0.1"}).status, 2);
    EXPECT_FALSE(std::filesystem::exists(other));
    EXPECT_THAT(RunWords({"init", "Driver={SQLite3};Database=" + other, "--layout", "packed"}).err,
                HasSubstr("is no SQLite file, and only such a file can be packed"));
}

TEST_F(Packed, TakesCopiesOfRowsAndGivesThemBackBitForBit) {
    const std::string golden = MERSOLA_GOLDEN "format-1.db";
    EXPECT_THAT(RunWords({"copy", golden, packed_, "--verify"}).out, HasSubstr("verified"));
    EXPECT_THAT(RunWords({"copy", packed_, db_, "--verify"}).out, HasSubstr("verified"));
    EXPECT_EQ(RunWords({"export", db_}).out, Contents(MERSOLA_GOLDEN "content.csv"));
    EXPECT_EQ(RunWords({"export", packed_}).out, Contents(MERSOLA_GOLDEN "content.csv"));
    EXPECT_THAT(RunWords({"check", packed_}).out, EndsWith("; 10 values were checked\n"));
}

TEST_F(Packed, TakesCopiesThatItRoundsAndVerifiesThemToItsStep) {
    const std::string rounded = folder_ / "rounded.db";
    Done({"init", rounded, "--layout", "packed", "--resolution", "0.5"});
    In(db_, {"INSERT INTO Groups (GroupId,GroupName) VALUES (1,'Pier')",
             "INSERT INTO Measurements (GroupId,MeasId,MeasName) VALUES (1,1,'noise')",
             "INSERT INTO Reports (GroupId,MeasId,ReportId) VALUES (1,1,1)",
             "INSERT INTO MeasValueMap VALUES (1,1,1,1)",
             "WITH RECURSIVE p(n) AS (SELECT 0 UNION ALL SELECT n+1 FROM p WHERE n<399) "
             "INSERT INTO MeasuredValues SELECT 1,n,1,1,0,n/7.0,NULL FROM p"});
    EXPECT_THAT(RunWords({"copy", db_, rounded, "--verify"}).out,
                HasSubstr("verified 400 values in 1 report and 400 periods, and 0 markers, with "
                          "values rounded to steps of 0.5\n"));
    Execute("UPDATE MeasuredValues SET Value=Value+0.6 WHERE PeriodNo=9");
    EXPECT_THAT(RunWords({"copy", db_, rounded, "--verify"}).err,
                HasSubstr("the two differ at period 9, "));
}

class DamagedBlocks : public Packed {
  protected:
    DamagedBlocks() {
        In(packed_,
           {"INSERT INTO Groups (GroupId,GroupName) VALUES (1,'Pier')",
            "INSERT INTO Measurements (GroupId,MeasId,MeasName,StartAt) VALUES "
            "(1,1,'noise','2026,11,15,10,00,00,000')",
            "INSERT INTO Reports (GroupId,MeasId,ReportId,PeriodLen,RealPeriodLen,noOfPeriods) "
            "VALUES (1,1,1,'00,00,00,01,000','NOT_SET',400)",
            "INSERT INTO MeasValueMap VALUES (1,1,1,1)",
            "INSERT INTO MeasuredFunctions (GroupId,MeasId,ReportId,FuncId,Channel) VALUES "
            "(1,1,1,1,1),(1,1,1,2,1)",
            "WITH RECURSIVE p(n) AS (SELECT 0 UNION ALL SELECT n+1 FROM p WHERE n<399) INSERT INTO "
            "MeasuredValues SELECT 1,n,1,FuncId,0,n+0.5*FuncId,NULL FROM p,MeasuredFunctions"});
    }
    void Change(const char* statement) const { In(packed_, {statement}); }
};

TEST_F(DamagedBlocks, AreNamedByCheckWhichReadsTheRest) {
    EXPECT_THAT(RunWords({"check", packed_}).out,
                EndsWith("\n0 findings; 800 values were checked\n"));
    Change(
        "UPDATE ValueData SET Data=CAST(x'ff'||substr(Data,2) AS BLOB) WHERE DataId="
        "(SELECT DataId FROM ValueBlocks WHERE FuncId=2 AND FirstPeriod=128)");
    Change("UPDATE PendingValues SET Data=x'01' WHERE PeriodNo=390");
    Change("UPDATE ValueBlocks SET Summary=x'01' WHERE FuncId=1 AND FirstPeriod=0");
    Change("DELETE FROM FrqNameMap WHERE FrqId=0");
    const Outcome checked = RunWords({"check", packed_});
    EXPECT_EQ(checked.status, 1);
    EXPECT_THAT(checked.out,
                HasSubstr("instrument 'Pier' (1), measurement 'noise' (1), report 1, channel 1, "
                          "function 'LAeq' (2), periods 128 to 255, 2026-11-15 10:02:08.000 to "
                          "2026-11-15 10:04:16.000: the values cannot be read: "));
    EXPECT_THAT(checked.out, HasSubstr("report 1, all functions, period 390, "));
    EXPECT_THAT(checked.out, HasSubstr("periods 0 to 127, 2026-11-15 10:00:00.000 to 2026-11-15 "
                                       "10:02:08.000: their summary is damaged"));
    EXPECT_THAT(checked.out, HasSubstr("remark: band 0: no name"));
    EXPECT_THAT(checked.out, HasSubstr("\n  mersola salvage "));
    EXPECT_THAT(checked.out, EndsWith("3 findings, 1 remark; 670 values were checked\n"));
    Change("UPDATE ValueData SET Data=x'01'");
    EXPECT_THAT(RunWords({"check", packed_}).out, HasSubstr("stored: file of "));
    EXPECT_THAT(RunWords({"export", packed_}).err, HasSubstr("mersola check says what is lost"));
}

}  // namespace
}  // namespace mersola::tool
