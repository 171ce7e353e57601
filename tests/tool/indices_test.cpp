// mersola indices: what it writes in each form, events, and what it refuses.
#include "support/store.h"
#include "tool_fixture.h"

namespace mersola::tool {
namespace {

// From 2026-11-15 07:00 on a day of hours: 60 dB, in the night 50 dB; the functions LAeq, Lmax, L10
// and Vibration have the same values.
class IndicesTool : public Tool {
  protected:
    IndicesTool() {
        Mersola store = Connected();
        EXPECT_TRUE(test::Open(store, test::Measurement("noise", CTimeEx(2026, 11, 15, 7, 0, 0)),
                               test::Report(1, 3600000), "A \"b\""));
        Execute("INSERT INTO FuncNameMap VALUES (20,'Vibration')");
        for (const int function : {2, 3, 5, 20}) {
            store.PutFunction(nullptr, function, 1);
            EXPECT_TRUE(test::WriteBatch(
                store, 24, [](int period) { return period < 16 ? 60 : 50; }, function, 0));
        }
        EXPECT_TRUE(store.PutPeriodsRelative(nullptr, 24));
        Execute(
            "INSERT INTO Markers (GroupId,MeasId,Start,Stop,MarkerId,Path,inProgess,"
            "TriggerCondition) VALUES (1,1,'2026,11,15,22,30,00,000','2026,11,16,01,00,00,000',7,"
            "'7.wav',0,'type,level')");
    }

    Words Asked(const Words& more) const {
        return Words{"indices", db_, "--instrument", "1", "--measurement", "noise"} + more;
    }
    std::string Answer(const Words& more) const {
        const Outcome outcome = RunWords(Asked(more));
        return outcome.out + outcome.err;
    }
};

TEST_F(IndicesTool, WritesTheSameAsTableCsvAndJson) {
    // Lden is 10 lg of (12 x 10^6 + 4 x 10^6.5 + 8 x 10^6) / 24.
    EXPECT_EQ(Answer({"--csv", "--percent", "50"}),
              "Start,End,LAeq,LAeq %,Lday,Lday %,Levening,Levening %,Lnight,Lnight %,Lden,Lden %,"
              "LAeq max,LAeq max at,LAeq min,LAeq min at,L50\n"
              "2026-11-15 00:00:00.000,2026-11-16 00:00:00.000,59.76377,70.83,60,100,60,100,50,100,"
              "61.3366,100,60,2026-11-15 07:00:00.000,50,2026-11-15 23:00:00.000,60\n"
              "2026-11-16 00:00:00.000,2026-11-17 00:00:00.000,50,29.17,,0,,0,,0,,0,50,"
              "2026-11-16 00:00:00.000,50,2026-11-16 00:00:00.000,50\n");
    const std::string table = Answer({"--coverage", "50"});
    EXPECT_THAT(table, HasSubstr("   59.8   70.83   60.0     100      60.0"));
    EXPECT_THAT(table, HasSubstr("  --   29.17"));
    const std::string json = Answer({"--json", "--per", "span", "--threshold", "55 dB"});
    for (const char* part :
         {"\"instrument\": \"A \\\"b\\\"\"", "\"hours\": \"7/19/23\"", "\"unit\": \"dB\"",
          "\"LAeq\": 58.45098", "\"> 55 dB\": 1, \"s > 55 dB\": 57600", "\n]}\n"})
        EXPECT_THAT(json, HasSubstr(part));
}

TEST_F(IndicesTool, CountsNothingThatIsNotFinite) {
    Execute("UPDATE MeasuredValues SET Value=9e999 WHERE PeriodNo=16");
    EXPECT_THAT(
        Answer({"--csv", "--per", "span", "--threshold", "55 dB", "--percent", "0"}),
        HasSubstr(",95.83,60,2026-11-15 07:00:00.000,50,2026-11-16 00:00:00.000,60,1,57600"));
}

TEST_F(IndicesTool, GivesEventsTheirExposureLevels) {
    // It touches the hours from 22:00 to 01:00: 10 lg of (60 dB + 2 x 50 dB) in 3600 s.
    EXPECT_EQ(Answer({"--events", "--csv"}),
              "Start,Stop,Number,Seconds,LAeq,LAeq %,LAE,LAeq max,LAeq max at,Path\n"
              "2026-11-15 22:30:00.000,2026-11-16 01:00:00.000,7,9000,56.0206,100,96.35484,60,"
              "2026-11-15 22:00:00.000,7.wav\n");
    EXPECT_THAT(Answer({"--events", "--csv", "--from", "2026-11-16"}), Not(HasSubstr("7.wav")));
    Execute("UPDATE Markers SET MarkerId=12345678,Stop='2027,03,11,01,17,45,678'");
    EXPECT_THAT(Answer({"--events"}), HasSubstr(" 12345678  9946066 "));
    EXPECT_THAT(Answer({"--events", "--csv"}), HasSubstr(",12345678,9946065.678,"));
}

TEST_F(IndicesTool, TakesFunctionsForWhatTheirNamesOrTheUserSay) {
    EXPECT_THAT(Answer({"--function", "Lmax", "--csv"}), HasSubstr("Start,End,Lmax %,Lmax max,"));
    EXPECT_THAT(
        Answer({"--function", "Vibration", "--kind", "rms", "--csv", "--threshold", "55 mm/s"}),
        HasSubstr(",Vibration rms,Vibration rms %,Vibration max,"));
    EXPECT_THAT(Answer({"--function", "Vibration", "--kind", "rms", "--threshold", "5.5e1mm/s"}),
                HasSubstr("> 55 mm/s"));
    EXPECT_THAT(Answer({"--function", "L10", "--kind", "arithmetic", "--per", "span", "--csv"}),
                HasSubstr(",56.66667,100,"));
}

TEST_F(IndicesTool, RefusesInOneLineWhatMakesNoSense) {
    ExpectRefused(Asked({"--function", "Vibration"}), "--kind level, arithmetic or rms");
    ExpectRefused(Asked({"--function", "L10"}), "no index can be made of that");
    ExpectRefused(Asked({"--function", "L10", "--kind", "level", "--percent", "10"}),
                  "no percentile of a longer time can be made of that");
    ExpectRefused(Asked({"--function", "Lmax", "--events"}), "exposure levels cannot be made of");
    ExpectRefused(Asked({"--threshold", "60 Pa"}), "the threshold is in Pa, and 'LAeq' in dB");
    ExpectRefused(Asked({"--threshold", "60"}), "a number with its unit", 2);
    ExpectRefused(Asked({"--threshold", "nandB"}), "a number with its unit", 2);
    for (const char* hours : {"7/6/23", "07/19", "7/19/24", "7/19/23/24", "7/x/23", ""})
        ExpectRefused(Asked({"--hours", hours}), "--hours", 2);
    ExpectRefused(Asked({"--percent", "10,,50"}), "from 0 to 100", 2);
    ExpectRefused(Asked({"--from", "2027-01-01", "--to", "2027-02-01"}),
                  "there are no values of 'LAeq' from 2027-01-01");
    ExpectRefused(Asked({"--from", "2027-01-01"}), "there are no values of 'LAeq' from 2027-01-01");
    ExpectRefused(Asked({"--band", "3"}), "there are no values of 'LAeq'");
    ExpectRefused(Asked({"--per", "hour", "--from", "1000-01-01"}), "too many rows");
}

}  // namespace
}  // namespace mersola::tool
