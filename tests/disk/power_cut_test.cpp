// A recorder whose power is cut again and again, and what is there when it comes back.
#include <random>
#include <string>

#include "laid_out.h"
#include "recorder.h"
#include "support/database.h"
#include "support/seeds.h"

namespace mersola::test {
namespace {

constexpr int kSeeds = 40;  // in the suite
constexpr int kCuts = 4;    // of each seed
constexpr int kMostSteps = 20000;

enum class Lie { None, Syncs };

struct Cutting {
    const char* name;
    const char* synchronous = name;
    const char* layout = "rows";
    bool converts = false;
};

// What went wrong with this seed, or nothing.
std::string FaultOf(std::uint64_t seed, const Cutting& cutting, Lie lie = Lie::None) {
    const ShownMessages messages;  // that nobody can connect while there is no power
    const std::string synchronous = cutting.synchronous;
    const LaidOut database(cutting.layout);
    Disk& disk = Disk::Instance();
    disk.SwallowSyncs(lie == Lie::Syncs);
    std::mt19937_64 random(seed);
    RandomRecorder recorder(database.ConnectString(synchronous), random());
    if (cutting.converts) recorder.Disturb([&] { return database.Convert(); });
    for (int cut = 0; cut < kCuts; ++cut) {
        // Few changes, to come upon the repair of what the cut before has left, or many.
        const auto most = std::uint64_t{1} << (2 + random() % 9);
        disk.CutAt(static_cast<int>(1 + random() % most), random());
        bool isWorking = recorder.Start();
        // A count that cannot be raised any more goes without a word.
        for (int step = 0; isWorking && !disk.IsCut() && step < kMostSteps; ++step)
            isWorking = recorder.Step();
        recorder.Stop();
        const std::string when = "cut " + std::to_string(cut) + ": ";
        if (!disk.IsCut()) return when + "the recorder stopped while there was power";
        disk.PowerUp();
        const std::string fault =
            recorder.Written().Settle(ContentsOf(database.Path()), synchronous == "FULL");
        if (!fault.empty()) return when + fault;
        disk.PowerUp();  // before anybody opened it
        if (cut % 2 == 0) continue;
        if (!recorder.StartAll()) return when + "the recorder could not go on";
        recorder.Stop();
        if (const std::string found = database.Findings(); !found.empty())
            return when + "check found " + found;
    }
    bool isWorking = recorder.Start();
    for (int step = 0; isWorking && step < 20; ++step)
        isWorking = recorder.Step();
    if (!isWorking || !recorder.StartAll()) return "the recorder could not go on";
    recorder.Stop();
    const std::string fault = recorder.Written().Settle(ContentsOf(database.Path()), true);
    return fault.empty() ? database.Findings() : "in the end " + fault;
}

class PowerCut : public testing::TestWithParam<Cutting> {};

TEST_P(PowerCut, LosesNothingThatWasToBeKeptAndTearsNothing) {
    Disk::Instance();
    TrySeeds(kSeeds, [](std::uint64_t seed) { return FaultOf(seed, GetParam()); });
}

INSTANTIATE_TEST_SUITE_P(Synchronous, PowerCut,
                         testing::Values(Cutting{"FULL"}, Cutting{"NORMAL"},
                                         Cutting{"FULLPacked", "FULL", "packed"},
                                         Cutting{"NORMALPacked", "NORMAL", "packed"},
                                         Cutting{"FULLConverted", "FULL", "packed", true},
                                         Cutting{"NORMALConverted", "NORMAL", "packed", true}),
                         [](const auto& test) { return std::string(test.param.name); });

TEST(PowerCutItself, ShowsWhatADiskLosesThatLiesOfSyncs) {
    for (const char* synchronous : {"FULL", "NORMAL"}) {
        int faults = 0;
        for (std::uint64_t seed = 1; seed <= 10; ++seed)
            faults += !FaultOf(seed, {synchronous}, Lie::Syncs).empty();
        EXPECT_GE(faults, 5) << synchronous;
    }
}

}  // namespace
}  // namespace mersola::test
