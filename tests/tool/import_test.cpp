// What import makes of the files that instruments and their programs write.
#include <fstream>
#include <string>

#include "tool_fixture.h"

namespace mersola::tool {
namespace {

class Import : public Tool {
  protected:
    Words Into(const std::string& text, const Words& more = {}) {
        std::ofstream(folder_ / "file.csv", std::ios::binary) << text;
        return Words{"import",       db_,        folder_ / "file.csv",
                     "--instrument", "meter",    "--measurement",
                     "day",          "--period", "1s"} +
               more;
    }
    // Of the only measurement, "value" of a band or "" where it has none.
    std::string Stored(int period, int band) {
        Mersola store = Connected();
        const auto row = store.dbExecute(
            ("SELECT Value FROM MeasuredValues WHERE PeriodNo=" + std::to_string(period) +
             " AND FrqId=" + std::to_string(band))
                .c_str());
        return row->EndOfFile() ? "" : std::string(row->Fields(0).Text());
    }
};

TEST_F(Import, PutsEachHeadingIntoTheBandOfItsFrequency) {
    const std::string row = "2026-06-01 00:00:00,1,2,3,4,5,6,7,8\n";
    const Words leq{"--function", "Leq"};
    const Outcome outcome =
        RunWords(Into("Time,20Hz,\"31,5\",40,1000,1.25k,16 kHz,broadband,#50\n" + row, leq));
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    const std::pair<int, const char*> bands[] = {{13, "1"}, {15, "2"}, {16, "3"}, {30, "4"},
                                                 {31, "5"}, {42, "6"}, {0, "7"},  {50, "8"}};
    for (const auto& [band, value] : bands)
        EXPECT_EQ(Stored(0, band), value) << band;
    // However it is spelt, a band has one name and keeps its place among the others.
    EXPECT_EQ(Count("FrqNameMap"), 32);
    EXPECT_EQ(Count("FrqNameMap WHERE FrqId=13 AND FrqName='20 Hz'"), 1);
    EXPECT_EQ(Count("Measurements WHERE FrqLower=20 AND FrqUpper=16000"), 1);
    ASSERT_EQ(RunWords(Into("Period,Band,Value\n1,40Hz,1\n1,1k,2\n1,13,3\n1,new,4\n",
                            leq + Words{"--band-numbers"}))
                  .status,
              0);
    EXPECT_EQ(Stored(1, 16) + Stored(1, 30) + Stored(1, 13), "123");
    EXPECT_EQ(Count("FrqNameMap WHERE FrqName='new'"), 1);
    ASSERT_EQ(
        RunWords(Into("Period,16,30\n2,1,2\n", leq + Words{"--wide", "--band-numbers"})).status, 0);
    EXPECT_EQ(Stored(2, 16) + Stored(2, 30), "12");
}

TEST_F(Import, RefusesWhatIsNoBandAndSaysWhatIs) {
    const Words wide{"--function", "Leq", "--start", "2026-06-01 00:00", "--wide"};
    const std::string list = "(1.25, 1.6, 2, 2.5, 3.15, 4, 5, 6.3, 8, 10 Hz and ten";
    ExpectRefused(Into("Period,40,Remark\n0,1,\n", wide),
                  "the heading 'Remark' is no band " + list);
    ExpectRefused(Into("Period,40,41\n0,1,2\n", wide), "'41' is no frequency of a band " + list);
    ExpectRefused(Into("Period,40,41\n0,1,2\n", wide),
                  "if it is the number of one, say --band-numbers");
    ExpectRefused(Into("Period,40,1.250\n0,1,2\n", wide), "'1.250' is no frequency");
    ExpectRefused(Into("Period,40,40 Hz\n0,1,2\n", wide),
                  "the headings '40' and '40 Hz' are one band");
    ExpectRefused(Into("Period,31.5\n0,1\n", wide + Words{"--band-numbers"}),
                  "'31.5' is no number of a band");
    ExpectRefused(
        Into("Period,Band,Value\n0,17,1\n", {"--function", "Leq", "--start", "2026-06-01 00:00"}),
        "line 2: '17' is no frequency of a band");
}

}  // namespace
}  // namespace mersola::tool
