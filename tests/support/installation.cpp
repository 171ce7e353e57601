#include "installation.h"

#include <sys/mman.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <iostream>
#include <limits>
#include <memory>
#include <random>
#include <stdexcept>
#include <thread>
#include <vector>

#include "store.h"

namespace mersola::test {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr std::int64_t kLength = 125;  // of a period, in milliseconds
constexpr int kBands = 12;
constexpr int kBlock = 16;    // periods that a reader asks for
constexpr int kTimeOut = 30;  // seconds
constexpr const char* kNames[kStations] = {"one", "two"};

std::int64_t Milliseconds(Clock::time_point time) {
    return std::chrono::duration_cast<std::chrono::milliseconds>(time.time_since_epoch()).count();
}

std::int64_t MicrosecondsSince(Clock::time_point start) {
    return std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - start).count();
}

// Tells where the value belongs, and is exact in all types.
constexpr std::int64_t ValueAt(std::int64_t period, int band) {
    return period % 1000 * 16 + band;
}

Result Failed(const Mersola& store, const std::string& what) {
    std::string line = what;
    if (const _ConnectionPtr connection = store.getConnection())
        for (const AdoError& error : connection->GetErrors())
            line += "; " + std::string(error.Description.View());
    std::cerr << line + "\n" << std::flush;
    return Result::Failed;
}

bool Register(Mersola& store, int station, std::int64_t start) try {
    store.BeginTrans();
    const bool isDone =
        Open(store, Measurement("noise", Start(start)), Report(1, kLength), kNames[station]) &&
        store.PutFunction(nullptr, 1, 1);
    isDone ? store.CommitTrans() : store.RollbackTrans();
    return isDone;
} catch (const _com_error&) {
    return false;
}

// A recorder that has registered its station.
class Recorder {
  public:
    Recorder(Mersola& store, std::int64_t start, bool goesByTime)
        : store_(store), first_(start / kLength), goesByTime_(goesByTime) {}

    // The period that is to be stored now; -1 before the start.
    std::int64_t Period(std::int64_t sequence, std::int64_t now) const {
        return goesByTime_ ? (now < 0 ? -1 : now / kLength) : first_ + sequence;
    }

    // All values of the period or none of them.
    bool Store(std::int64_t period) try {
        const _RecordsetPtr batch = mayBeStored_ ? nullptr : store_.PutDataStart(nullptr);
        bool isStored = mayBeStored_ || batch;
        bool isNew = true;
        store_.BeginTrans();
        for (int band = 0; band < kBands; ++band) {
            long next = 0;
            isStored = isStored && Put(period, band, batch, next);
            isNew = isNew && next > (goesByTime_ ? period : period - first_);
        }
        isStored = isStored && (!batch || store_.PutDataEnd(batch)) && PutCount(period + 1);
        isStored ? store_.CommitTrans() : store_.RollbackTrans();
        if (isStored) mayBeStored_ = !isNew;
        return isStored;
    } catch (const _com_error&) {
        return false;
    }

    bool MayBeStored() const { return mayBeStored_; }
    void GoOn() {
        mayBeStored_ = true;
        long count = 0;
        store_.Get_nPrds(count);  // what was raised may have been taken back
    }

  private:
    bool Put(std::int64_t period, int band, const _RecordsetPtr& batch, long& next) {
        const auto value = static_cast<double>(ValueAt(period, band));
        return goesByTime_
                   ? store_.PutDataAbsolute(value, "", mersola::test::Start(period * kLength), 0, 1,
                                            1, band, kLength, false, next, batch != nullptr, batch)
                   : store_.PutDataRelative(value, "", static_cast<int>(period - first_), 1, 1,
                                            band, false, next, batch != nullptr, batch);
    }
    bool PutCount(std::int64_t count) {
        return goesByTime_ ? store_.PutPeriodsAbsolute(nullptr, static_cast<int>(count))
                           : store_.PutPeriodsRelative(nullptr, static_cast<int>(count - first_));
    }

    Mersola& store_;
    std::int64_t first_;  // period of this recording
    bool goesByTime_;
    bool mayBeStored_ = true;  // the first period, from before a restart
};

// Nothing is wrong with what was read.
struct Unreadable : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// What is wrong with the periods of a block; -100 stands where there is no value.
std::string FaultIn(Station& station, std::int64_t first, const std::vector<float>& values,
                    const std::vector<unsigned char>& before) {
    const std::int64_t deleted = Load(station.deleted);
    for (std::size_t at = 0; at < before.size(); ++at) {
        const std::int64_t period = first + static_cast<std::int64_t>(at);
        const auto begin = values.begin() + static_cast<std::ptrdiff_t>(at) * kBands;
        const std::string where = "period " + std::to_string(period);
        if (std::all_of(begin, begin + kBands, [](float value) { return value == -100.0F; })) {
            if (before[at] == Station::Stored && period >= deleted) return where + " is lost";
            continue;
        }
        for (int band = 0; band < kBands; ++band)
            if (begin[band] != static_cast<float>(ValueAt(period, band)))
                return where + " has " + std::to_string(begin[band]) + " in band " +
                       std::to_string(band);
        if (station.StateOf(static_cast<std::int32_t>(period)) == Station::None)
            return where + " was written by nobody";
    }
    return {};
}

std::vector<unsigned char> StatesOf(Station& station, std::int64_t first, std::int64_t count) {
    std::vector<unsigned char> states(static_cast<std::size_t>(count));
    for (std::size_t at = 0; at < states.size(); ++at)
        states[at] = station.StateOf(static_cast<std::int32_t>(first) + static_cast<int>(at));
    return states;
}

std::string FaultInBlock(Installation& all, Mersola& store, std::mt19937_64& random) {
    const int number = static_cast<int>(random() % kStations);
    Station& station = all.stations[number];
    const std::int64_t recording = Load(station.recording);
    const std::int64_t counted = Load(station.counted);
    long count = 0;
    if (!Select(store, kNames[number]) || store.Get_nPrds(count) != 1)
        throw Unreadable("the report");
    if (count < counted && recording == Load(station.recording))
        return std::to_string(count) + " periods are counted, of " + std::to_string(counted);
    const std::int64_t last = std::max<std::int64_t>(count - kBlock, 0);
    const std::int64_t first =
        random() % 2 == 0 ? last
                          : static_cast<std::int64_t>(random() % static_cast<unsigned>(last + 1));
    const auto before = StatesOf(station, first, kBlock);
    std::vector<float> values(std::size_t{kBlock} * kBands);
    if (store.GetData(values.data(), static_cast<int>(first), kBlock, 0, kBands) != kBlock)
        throw Unreadable("values");
    const std::string fault = FaultIn(station, first, values, before);
    return fault.empty() ? fault : "station " + std::to_string(number) + ": " + fault;
}

std::string FaultInAll(Station& station, Mersola& store, const std::string& key,
                       std::int64_t& found) {
    const auto before = StatesOf(station, 0, Load(station.reach));
    std::int64_t next = 0;  // that may not be missing
    const auto lost = [&](std::int64_t end) {
        const auto at = [&](std::int64_t period) {
            return before.begin() + std::min(period, static_cast<std::int64_t>(before.size()));
        };
        return next < end && std::find(at(next), at(end), Station::Stored) - at(end) != 0;
    };
    const _RecordsetPtr rows = store.dbExecute(
        ("SELECT PeriodNo,COUNT(*),SUM(ABS(Value-(PeriodNo%1000*16+FrqId))) FROM MeasuredValues "
         "WHERE MeasValueId=" +
         key + " GROUP BY PeriodNo ORDER BY PeriodNo")
            .c_str());
    next = Load(station.deleted);
    for (; !rows->EndOfFile(); rows->MoveNext()) {
        const std::int64_t period = rows->Fields(0).Long();
        const std::string where = "period " + std::to_string(period);
        if (rows->Fields(1).Long() != kBands) return where + " is torn";
        if (rows->Fields(2).Double() != 0) return where + " has other values";
        if (period < 0 || station.StateOf(static_cast<std::int32_t>(period)) == Station::None)
            return where + " was written by nobody";
        if (lost(period)) return "what is before " + where + " is lost";
        next = std::max(next, period + 1);
        found += kBands;
    }
    return lost(std::numeric_limits<std::int32_t>::max()) ? "the end is lost" : "";
}

}  // namespace

std::int64_t Load(const std::int64_t& number) {
    return std::atomic_ref(const_cast<std::int64_t&>(number)).load();
}

void Set(std::int64_t& number, std::int64_t value) {
    std::atomic_ref(number).store(value);
}

void Raise(std::int64_t& number, std::int64_t value) {
    std::atomic_ref there(number);
    for (std::int64_t now = there; now < value && !there.compare_exchange_weak(now, value);) {
    }
}

Installation& Installation::Shared(Pace pace) {
    void* memory = mmap(nullptr, sizeof(Installation), PROT_READ | PROT_WRITE,
                        MAP_SHARED | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (memory == MAP_FAILED) std::abort();
    auto& all = *static_cast<Installation*>(memory);
    all.pace = pace;
    all.begun = Milliseconds(Clock::now());
    Start();  // the same for all
    return all;
}

std::int64_t Installation::Now() const {
    return Milliseconds(Clock::now()) - begun + Load(step);
}

bool Installation::WasFullSince(Clock::time_point start) const {
    return Load(fullUntil) >= Milliseconds(start);
}

Result Register(const std::string& connectString, int first, int end) {
    Mersola store("", "", connectString.c_str(), kTimeOut);
    for (int station = first; station < end; ++station)
        if (!Register(store, station, 0)) return Failed(store, "a station cannot be registered");
    return Result::Ended;
}

Result Record(Installation& all, const std::string& connectString, int number, bool goesByTime) {
    SetMessageBoxHandler([](const char*, unsigned) {});  // of a file system that is full
    Mersola store("", "", connectString.c_str(), kTimeOut);
    const std::string name = "recorder " + std::to_string(number);
    Station& station = all.stations[number];
    const auto waits = [&] {  // until it tries again
        std::this_thread::sleep_for(1s);
        return Load(all.ends) == 0;
    };
    std::int64_t start = 0;
    for (;;) {
        const auto since = Clock::now();
        start = all.Now();
        ++std::atomic_ref(station.recording);
        Set(station.counted, 0);  // it begins anew where the clock was put back
        const bool isRegistered = store.isConnected() && Register(store, number, start);
        if (isRegistered != (start >= 0) && !all.WasFullSince(since))
            return Failed(store, name + (isRegistered ? " began" : " could not register") + " at " +
                                     std::to_string(start) + " ms");
        if (isRegistered) break;
        if (!waits()) return Result::Ended;
        store.dbConnect();  // takes back what was begun
    }
    Recorder recorder(store, start, goesByTime);
    const auto begun = Clock::now();
    for (std::int64_t sequence = 0; Load(all.ends) == 0; ++sequence) {
        if (all.pace == Pace::ByTheClock)
            std::this_thread::sleep_until(begun + std::chrono::milliseconds(sequence * kLength));
        const std::int64_t period = recorder.Period(sequence, all.Now());
        if (period < 0) continue;
        if (period >= Station::kMost) return Failed(store, name + " has recorded for too long");
        auto state = station.StateOf(static_cast<std::int32_t>(period));
        if (state == Station::None) state = Station::Tried;
        Raise(station.reach, period + 1);
        for (;;) {
            const auto since = Clock::now();
            const bool isStored = recorder.Store(period);
            if (!all.WasFullSince(since)) Raise(station.longestCommit, MicrosecondsSince(since));
            if (isStored) break;
            // In a batch it may have been stored before.
            if (recorder.MayBeStored() && !all.WasFullSince(since))
                return Failed(store, name + " could not store " + std::to_string(period));
            if (!waits()) return Result::Ended;
            store.dbConnect();
            recorder.GoOn();
        }
        if (state != Station::Stored) std::atomic_ref(station.values) += kBands;
        state = Station::Stored;
        Raise(station.counted, period + 1);
    }
    return Result::Ended;
}

Result Read(Installation& all, const std::string& connectString, std::uint64_t seed,
            Connects connects) {
    SetMessageBoxHandler([](const char*, unsigned) {});
    std::mt19937_64 random(seed);
    std::unique_ptr<Mersola> store;
    while (Load(all.ends) == 0) {
        const auto since = Clock::now();
        try {
            if (!store || connects == Connects::Always)
                store = std::make_unique<Mersola>("", "", connectString.c_str(), kTimeOut);
            if (!store->isConnected() && !store->dbConnect()) throw Unreadable("the database");
            const std::string fault = FaultInBlock(all, *store, random);
            if (!fault.empty()) return Failed(*store, "a reader: " + fault);
            if (!all.WasFullSince(since)) Raise(all.longestRead, MicrosecondsSince(since));
        } catch (const Unreadable& what) {
            if (!all.WasFullSince(since))
                return Failed(*store, std::string("a reader cannot read ") + what.what());
        }
        std::this_thread::sleep_for(50ms);
    }
    return Result::Ended;
}

Result Prune(Installation& all, const std::string& connectString, std::uint64_t seed) {
    SetMessageBoxHandler([](const char*, unsigned) {});
    std::mt19937_64 random(seed);
    Mersola store("", "", connectString.c_str(), kTimeOut);
    while (Load(all.ends) == 0) {
        const auto since = Clock::now();
        if (store.isConnected() || store.dbConnect()) {
            const int number = static_cast<int>(random() % kStations);
            Station& station = all.stations[number];
            const long group = store.locateInstrumentId(kNames[number]);
            long first = 0, last = 0;
            Select(store, kNames[number]);
            // Something is left, or the station would not be one that is recorded.
            const bool isStored = store.GetStoredPeriods(first, last) == 1;
            const auto stored = static_cast<std::uint64_t>(isStored ? last - first : 0);
            const std::int64_t end =
                isStored ? first + static_cast<std::int64_t>(random() % (stored + 1)) : 0;
            Raise(station.deleted, end);
            if (store.deleteOldMeasurements(nullptr, group, mersola::test::Start(end * kLength)) !=
                    1 &&
                !all.WasFullSince(since))
                return Failed(store, "old values cannot be deleted");
        } else if (!all.WasFullSince(since)) {
            return Failed(store, "the deletion cannot connect");
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(random() % 4000));
    }
    return Result::Ended;
}

Result PruneRest(Installation& all, const std::string& connectString) {
    Mersola store("", "", connectString.c_str(), kTimeOut);
    for (int number = 0; number < kStations; ++number) {
        const long group = store.locateInstrumentId(kNames[number]);
        if (store.deleteValues(
                nullptr, group, store.locateMeasurementId(group, "noise"), mersola::test::Start(),
                mersola::test::Start(Load(all.stations[number].deleted) * kLength), -1, -1) != 1)
            return Failed(store, "old values cannot be deleted");
    }
    return Result::Ended;
}

Result Find(Installation& all, const std::string& connectString) try {
    Mersola store("", "", connectString.c_str(), kTimeOut);
    std::int64_t found = 0;
    for (int number = 0; number < kStations; ++number) {
        const _RecordsetPtr key =
            store.dbExecute((std::string("SELECT MeasValueId FROM MeasValueMap,Groups WHERE "
                                         "MeasValueMap.GroupId=Groups.GroupId AND GroupName='") +
                             kNames[number] + "'")
                                .c_str());
        const std::string fault = FaultInAll(all.stations[number], store,
                                             std::string(key->Fields(0).Text().View()), found);
        if (!fault.empty())
            return Failed(store, "station " + std::to_string(number) + ": " + fault);
    }
    Set(all.found, found);
    return Result::Ended;
} catch (const _com_error& error) {
    std::cerr << "what is stored could not be read: " << error.what() << std::endl;
    return Result::Failed;
}

}  // namespace mersola::test
