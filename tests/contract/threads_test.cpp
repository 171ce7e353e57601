// Objects of their own on threads of one process: the thread sanitizer watches these tests.
#include <algorithm>
#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

#include "session/log.h"
#include "support/installation.h"
#include "support/store.h"

namespace mersola::test {
namespace {

using namespace std::chrono_literals;

constexpr int kPeriods = 40;

class Threads : public Contract {};

TEST_P(Threads, RecordAndReadWithObjectsOfTheirOwn) {
    const std::string text = database.ConnectString();
    Installation& all = Installation::Shared(Pace::AtOnce);
    std::vector<std::thread> threads;
    std::atomic<int> failures = 0;
    const auto start = [&](auto work) {
        threads.emplace_back([&failures, work] { failures += work() != Result::Ended; });
    };
    const auto join = [&] {
        for (std::thread& thread : threads)
            thread.join();
        threads.clear();
        return failures.load();
    };
    // Of two that choose an identifier at the same moment, one waits.
    for (int station = 0; station < kStations; ++station)
        start([&, station] { return Register(text, station, station + 1); });
    ASSERT_EQ(join(), 0);
    for (int station = 0; station < kStations; ++station) {
        start([&, station] { return Record(all, text, station, false); });
        start([&, station] { return Read(all, text, std::uint64_t(station), Connects::Once); });
        start([&] {
            for (; Load(all.ends) == 0; std::this_thread::sleep_for(1ms))
                WriteLogLine("a line of one of them");
            return Result::Ended;
        });
    }
    const auto isShort = [](const Station& station) { return Load(station.counted) < kPeriods; };
    while (failures == 0 && std::ranges::any_of(all.stations, isShort))
        std::this_thread::sleep_for(20ms);
    Set(all.ends, 1);
    EXPECT_EQ(join(), 0);
    EXPECT_EQ(Find(all, text), Result::Ended);
}

INSTANTIATE_ON_EVERY_ENGINE(Threads);

}  // namespace
}  // namespace mersola::test
