// Disks that fail and get well again: each failure is told, and nothing acknowledged is lost.
#include <sqlite3.h>

#include <filesystem>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "laid_out.h"
#include "recorder.h"
#include "support/seeds.h"
#include "support/store.h"

namespace mersola::test {
namespace {

using Operation = Disk::Operation;

constexpr int kSteps = 15;
constexpr int kMostOperations = 3000;
constexpr int kMostInShort = 150;
constexpr std::uint64_t kShortSeed = 37;  // a history of 216 writes
constexpr int kPages = 4096;

struct Failing {
    const char* name;
    Disk::Fault fault;
    int stride;  // not every single one of what there are thousands of
};

struct Kept {
    const char* name;
    const char* layout = "rows";
    bool converts = false;
    int sparser = 1;
};

// What went wrong when the so manieth operation failed, or nothing. `isOver`: the history has
// fewer.
std::string FaultOf(Disk::Fault fault, const Kept& kept, int first, std::uint64_t seed,
                    bool& isOver) {
    const ShownMessages messages;
    const LaidOut database(kept.layout);
    Disk& disk = Disk::Instance();
    RandomRecorder recorder(database.ConnectString(), seed);
    if (kept.converts) recorder.Disturb([&] { return database.Convert(); });
    fault.first = first;
    disk.Fail(fault);
    bool isWorking = recorder.Start();
    int step = 0;
    for (; isWorking && !disk.HasFailed() && step < kSteps; ++step)
        isWorking = recorder.Step();
    const bool hasFailed = disk.HasFailed();
    isOver = !hasFailed;
    if (!isWorking && !hasFailed) return "the recorder stopped while nothing failed";
    disk.Heal();
    if (!recorder.SendAgain()) return "a batch that was sent again did not arrive";
    // While the recorder is still connected, and its log not yet moved.
    std::string wrong = recorder.Written().Settle(ContentsOf(database.Path()), true);
    if (!wrong.empty()) return "at once, " + wrong;
    // Another process would find what is on the disk, without anything that this one keeps.
    for (step = 0, isWorking = recorder.Start(); isWorking && step < kSteps; ++step)
        isWorking = recorder.Step();
    if (!isWorking || !recorder.StartAll()) return "the recorder could not go on";
    recorder.Stop();
    wrong = recorder.Written().Settle(ContentsOf(database.Path()), true);
    return wrong.empty() ? database.Findings() : "in the end, " + wrong;
}

class FailingDisk : public testing::TestWithParam<std::tuple<Failing, Kept>> {};

TEST_P(FailingDisk, LosesNothingAcknowledgedWhicheverOperationFails) {
    const auto& [failing, kept] = GetParam();
    bool isOver = false;
    const Disk::Fault& fault = failing.fault;
    const Kept& layout = kept;
    const bool isTried = TriedGivenSeeds([&](std::uint64_t seed) {
        const int first = static_cast<int>(std::mt19937_64(seed)() % kMostInShort + 1);
        return FaultOf(fault, layout, first, seed, isOver);
    });
    if (isTried) return;
    int tried = 0;
    for (int first = 1; !isOver && first < kMostOperations;
         first += failing.stride * kept.sparser, ++tried) {
        EXPECT_EQ(FaultOf(fault, kept, first, kShortSeed, isOver), "")
            << "at the operation " << first;
    }
    EXPECT_TRUE(isOver);
    EXPECT_GT(tried, 3);
}

INSTANTIATE_TEST_SUITE_P(
    Of, FailingDisk,
    testing::Combine(
        testing::Values(Failing{"Reads", {Operation::Read, 0, SQLITE_IOERR_READ}, 1},
                        Failing{"OneRead", {Operation::Read, 0, SQLITE_IOERR_READ, true}, 1},
                        Failing{"Writes", {Operation::Write, 0, SQLITE_IOERR_WRITE}, 3},
                        Failing{
                            "OneWrite", {Operation::Write, 0, SQLITE_IOERR_WRITE, true, true}, 3},
                        Failing{"Syncs", {Operation::Sync, 0, SQLITE_IOERR_FSYNC}, 1},
                        Failing{"OneSync", {Operation::Sync, 0, SQLITE_IOERR_FSYNC, true}, 1},
                        Failing{"Room", {Operation::Write, 0, SQLITE_FULL, false, true}, 1},
                        Failing{"RoomOnce", {Operation::Write, 0, SQLITE_FULL, true}, 3}),
        testing::Values(Kept{"Rows"}, Kept{"Packed", "packed", false, 3},
                        Kept{"Converted", "packed", true, 5})),
    [](const auto& test) {
        return std::string(std::get<0>(test.param).name) + std::get<1>(test.param).name;
    });

// What cannot be read is told, and never taken for what nobody recorded.
TEST(ShrunkenFile, GivesWhatIsStoredOrTellsThatItCannot) {
    const LaidOut database;
    Disk& disk = Disk::Instance();
    constexpr int kPeriods = 2000;
    std::vector<float> values(kPeriods);
    const auto connected = [&](const char* mode = "") {
        return Mersola("", "", (database.ConnectString() + mode).c_str(), 5);
    };
    const auto select = [](Mersola& store) {
        store.SetInstrument(1);
        store.SetChannel(1);
        store.SetFunction(1);
        return store.SetMeasurement(1) && store.SetReport(1);
    };
    {
        Mersola store = connected();
        ASSERT_TRUE(Open(store) && store.PutFunction(nullptr, 1, 1));
        ASSERT_TRUE(WriteBatch(store, kPeriods, [](int period) { return period; }) &&
                    store.PutPeriodsRelative(nullptr, kPeriods));
    }
    const auto size = static_cast<std::int64_t>(std::filesystem::file_size(database.Path()));
    int refused = 0;
    for (std::int64_t end = 0; end < size; end += kPages / 2) {
        const ShownMessages messages;
        for (const bool isAlready : {true, false}) {  // when the database is opened
            if (isAlready) disk.Shrink(end);
            Mersola store = connected(";Mode=Read");
            bool isRead = store.isConnected() && select(store);
            disk.Shrink(end);
            isRead = isRead && store.GetData(values.data(), 0, kPeriods, 30, 1) == kPeriods;
            disk.Shrink(-1);
            refused += !isRead;
            for (int period = 0; isRead && period < kPeriods; ++period)
                ASSERT_EQ(values[static_cast<std::size_t>(period)], period) << "cut at " << end;
        }
    }
    EXPECT_GT(refused, 10);
    Mersola store = connected();
    EXPECT_TRUE(select(store));
    EXPECT_EQ(store.GetData(values.data(), 0, kPeriods, 30, 1), kPeriods);
    EXPECT_EQ(values.back(), kPeriods - 1);
    EXPECT_EQ(database.Findings(), "");
}

}  // namespace
}  // namespace mersola::test
