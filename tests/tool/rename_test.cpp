// Other names, and values that go from a wrong band to the right one.
#include <filesystem>
#include <fstream>

#include "tool_fixture.h"

namespace mersola::tool {
namespace {

// Two instruments with a measurement 'day' in the band 1 kHz, and of the first one 'night' in that
// and in 2 kHz.
class Renamed : public Tool, public testing::WithParamInterface<const char*> {
  protected:
    Renamed() {
        std::filesystem::remove(db_);
        Done({"init", db_, "--layout", GetParam()});
        {
            std::ofstream file(csv_);
            file << "Instrument,Measurement,Band,Period,Value\n";
            for (const char* place :
                 {"Pier 4,day,1 kHz", "Gate,day,1 kHz", "Pier 4,night,1 kHz", "Pier 4,night,2 kHz"})
                for (int i = 0; i < 300; ++i)
                    file << place << ',' << i << ',' << i * 0.25 << '\n';
        }
        Done({"import", db_, csv_, "--function", "LAeq", "--start", "2020-03-01 00:00", "--period",
              "1s"});
        Execute(
            "INSERT INTO Markers VALUES (1,1,'','2020,03,01,00,00,01,000',"
            "'2020,03,01,00,00,02,000',1,0,'',2,30,0,'',0)");
    }
    std::string Exported() const { return RunWords({"export", db_, "--plain"}).out; }
    std::string Rename(const Words& words) const {
        const std::string outcome = Done(Words{"rename", db_} + words);
        return outcome;
    }
    void ExpectNoFindings() const { Done({"check", db_}); }
    static std::string Replaced(std::string text, const std::string& old,
                                const std::string& replacement) {
        for (auto at = text.find(old); at != text.npos; at = text.find(old, at + 1))
            text.replace(at, old.size(), replacement);
        return text;
    }
    const std::string csv_ = folder_ / "import.csv";
};

INSTANTIATE_TEST_SUITE_P(Layouts, Renamed, testing::Values("rows", "packed"),
                         [](const auto& each) { return each.param; });

TEST_P(Renamed, ReadsAsBeforeUnderTheOtherName) {
    std::string expected = Exported();
    for (const auto& [words, old, name] :
         {std::tuple(Words{"--instrument", "pier 4"}, "Pier 4", "PIER 4"),
          std::tuple(Words{"--instrument", "1"}, "PIER 4", "Süd %d {a}"),
          std::tuple(Words{"--instrument", "Gate", "--measurement", "day"}, "Gate,day", "Gate,Tag"),
          std::tuple(Words{"--function", "laeq"}, "LAeq", "L(A)eq"),
          std::tuple(Words{"--band", "2 kHz"}, "2 kHz", "2.01 kHz")}) {
        const std::string to = name;
        Rename(words + Words{"--to", to.substr(to.find(',') + 1)});
        expected = Replaced(expected, old, to);
        EXPECT_EQ(Exported(), expected);
    }
    ExpectNoFindings();
    const auto refused = [&](const Words& words, const std::string& reason, int status = 1) {
        ExpectRefused(Words{"rename", db_} + words, reason, status);
        EXPECT_EQ(Exported(), expected);
    };
    refused({"--instrument", "2", "--to", "süd %d {A}"}, "already another instrument");
    refused({"--instrument", "1", "--measurement", "day", "--to", "Night"},
            "already another measurement 'Night'");
    refused({"--function", "L(A)eq", "--to", "lmax"}, "already another function");
    refused({"--instrument", "2", "--to", "it's"}, "it holds an apostrophe");
    refused({"--instrument", "2", "--to", ""}, "must not be empty", 2);
    refused({"--instrument", "2"}, "--to is required", 2);
    refused({"--to", "x"}, "one of --instrument, --function and --band says", 2);
    refused({"--measurement", "day", "--to", "x"}, "requires --instrument", 2);
    refused({"--instrument", "Pier", "--to", "x"}, "choose one of: Süd %d {a} (1), Gate (2)");
    refused({"--band", "3 Hz", "--to", "1 kHz"}, "there is no band '3 Hz'");
}

TEST_P(Renamed, BandGivesItsValuesToTheRightOneUnlessBothHaveSome) {
    const std::string before = Exported();
    const Words wrong{"--band", "1 kHz", "--to"};
    ExpectRefused(Words{"rename", db_} + wrong + Words{"2 kHz"},
                  "both bands have values, as in instrument 1, measurement 2, report 1, period 0, "
                  "channel 1, function 2");
    for (const char* const name : {"9 kHz", "1 KHZ"})
        ExpectRefused(Words{"rename", db_, "--instrument", "Gate"} + wrong + Words{name},
                      std::string("there is no other band '") + name + "' to which the values");
    EXPECT_EQ(Exported(), before);
    const std::string pier =
        Rename(wrong + Words{"2 kHz", "--instrument", "1", "--measurement", "day"});
    EXPECT_THAT(pier, HasSubstr("in 300 periods to '2 kHz' (33)"));
    std::string expected = before.substr(0, before.find("\nGate"));
    const auto night = expected.find("\nPier 4,night");
    expected = Replaced(expected.substr(0, night), "1 kHz", "2 kHz") + expected.substr(night) +
               before.substr(before.find("\nGate"));
    EXPECT_EQ(Exported(), expected);
    EXPECT_EQ(Connected().dbExecute("SELECT frqId FROM Markers")->Fields(0).Long(), 33);
    EXPECT_THAT(Rename(wrong + Words{"500 Hz"}), HasSubstr("in 600 periods to '500 Hz' (27)"));
    EXPECT_EQ(Exported(), Replaced(expected, "1 kHz", "500 Hz"));
    EXPECT_THAT(Rename(wrong + Words{"500 Hz"}), HasSubstr("in 0 periods"));
    ExpectNoFindings();
    // A band without a name.
    Execute("UPDATE MeasuredValues SET FrqId=777 WHERE FrqId=27");
    EXPECT_THAT(Rename({"--band", "777", "--to", "500 Hz"}), HasSubstr("in 600 periods"));
    EXPECT_EQ(Exported(), Replaced(expected, "1 kHz", "500 Hz"));
}

}  // namespace
}  // namespace mersola::tool
