// Sounds that are recorded where others are stored, that end early, and that have to wait.
#include <chrono>
#include <cmath>
#include <filesystem>
#include <fstream>

#include "recording_fixture.h"

namespace mersola::tool {
namespace {

const Words kStart{"--start", "2026-11-15 10:00"};

double Loud(double t, int) {
    return std::sin(6000 * t);
}

TEST_F(RecordingTool, PutsNoOtherSoundBesideWhatAPeriodHoldsOfAFunction) {
    // Of 24 bands, then of 31 and with a second channel, over the first eight periods and a gap.
    Done(RecordWords(Silence("slow.wav", 1, 8000)) + kStart);
    const Words later{"--start", "2026-11-15 10:00:01.500"};
    Done(RecordWords(Silence("slow.wav", 0.5, 8000)) + later);
    const long before = Count("MeasuredValues");
    const auto loud = Sound("loud.wav", 2, Loud, 48000, 2);
    const Words trigger{"--trigger", "LAeq>80"};
    const std::string stereo = Done(RecordWords(loud) + kStart);
    EXPECT_THAT(stereo, HasSubstr("Recorded 16 periods"));
    EXPECT_THAT(stereo,
                HasSubstr("Of periods 0 to 7 and 12 to 15 some functions were stored before"));
    EXPECT_THAT(stereo, Not(HasSubstr("left as they were: ")));
    EXPECT_EQ(Count("MeasuredValues WHERE Channel=1 AND PeriodNo NOT BETWEEN 8 AND 11"), before);
    EXPECT_EQ(Count("MeasuredValues WHERE Channel=1 AND PeriodNo=8"), 3 * 30 + 4);
    EXPECT_EQ(Count("MeasuredValues WHERE Channel=2"), 16 * (3 * 30 + 4));

    const auto mono = Sound("mono.wav", 2, Loud);
    const Outcome kept = RunWords(RecordWords(mono) + kStart + trigger);
    EXPECT_THAT(kept.out, HasSubstr("Recorded 0 periods"));
    EXPECT_THAT(kept.out, HasSubstr("left as they were: periods 0 to 15."));
    // The gap alone has this sound's levels.
    EXPECT_EQ(Count("Markers WHERE Start='2026,11,15,10,00,01,000' AND "
                    "Stop='2026,11,15,10,00,01,500'"),
              1);
    EXPECT_EQ(Count("Markers"), 1);
}

TEST_F(RecordingTool, TellsThatASoundIsShorterThanItsHeaderSays) {
    for (const int format : {SF_FORMAT_WAV, SF_FORMAT_WAVEX, SF_FORMAT_RF64, SF_FORMAT_W64,
                             SF_FORMAT_AIFF, SF_FORMAT_AU, SF_FORMAT_FLAC}) {
        const std::string name = "sound" + std::to_string(format);
        const auto path = Sound(name, 4, Loud, 48000, 1, format | SF_FORMAT_PCM_16);
        std::filesystem::resize_file(path, std::filesystem::file_size(path) / 2);
        const Outcome outcome = RunWords(RecordWords(path, name) + kStart);
        EXPECT_EQ(outcome.status, 1) << name;
        EXPECT_THAT(outcome.err, HasSubstr(" s (it ends early); 1"));
        EXPECT_THAT(outcome.err, HasSubstr(" periods safely stored"));
    }
    // Who writes to a pipe does not know the length, and says so in one way or another.
    const auto path = Sound("pipe.wav", 1, Loud, 48000, 1, SF_FORMAT_WAV | SF_FORMAT_PCM_16);
    std::string sound = Contents(path);
    const auto data = sound.find("data") + 4;
    for (const char* length : {"\xff\xff\xff\xff", "\xff\xff\xff\x7f"}) {
        std::ofstream(path) << sound.replace(data, 4, length);
        Done(RecordWords(path, "pipe") + kStart);
    }
}

TEST_F(RecordingTool, WaitsForOthersAsLongAsItIsTold) {
    std::ofstream(folder_ / "1.csv") << "Period,Value\n0,1\n";
    const Words import{"import",       db_,          folder_ / "1.csv",
                       "--instrument", "meter",      "--measurement",
                       "day",          "--function", "Leq",
                       "--period",     "1s"};
    Mersola other = Connected();
    other.BeginTrans();
    for (const Words& words : {RecordWords(Silence("1.wav", 1)), import + kStart}) {
        const auto begun = std::chrono::steady_clock::now();
        const Outcome outcome = RunWords(words + Words{"--timeout", "1"});
        EXPECT_LT(std::chrono::steady_clock::now() - begun, std::chrono::seconds(5));
        EXPECT_EQ(outcome.status, 1);
        EXPECT_THAT(outcome.err, HasSubstr("locked"));
        ExpectRefused(words + Words{"--timeout", "0"}, "is not a number of seconds", 2);
    }
    other.RollbackTrans();
}

}  // namespace
}  // namespace mersola::tool
