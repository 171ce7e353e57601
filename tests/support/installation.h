// The programs of an installation, each a process of its own. In memory that all of them see stands
// what was written.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <string>

namespace mersola::test {

constexpr int kStations = 2;

/// What a program returns.
enum class Result { Ended = 0, Failed = 3 };

/// A station's periods from the start of its measurement on.
struct Station {
    static constexpr std::int32_t kMost = 1 << 26;
    enum State : unsigned char { None, Tried, Stored };

    std::atomic_ref<unsigned char> StateOf(std::int32_t period) {
        return std::atomic_ref(states[period]);
    }

    std::int64_t values;         ///< that were acknowledged
    std::int64_t reach;          ///< one past the last period that was tried
    std::int64_t recording;      ///< how often one was begun
    std::int64_t deleted;        ///< the periods below it are being deleted
    std::int64_t counted;        ///< the count that this recording acknowledged
    std::int64_t longestCommit;  ///< in microseconds; whoever tells it sets it back, as the next
    unsigned char states[kMost];
};

/// How fast recorders go on.
enum class Pace { ByTheClock, AtOnce };

/// Where nothing else is said, all is 0 to begin with.
struct Installation {
    /// Once, before the programs are started.
    static Installation& Shared(Pace pace);

    /// The time on the programs' clock, in milliseconds from the start of both measurements on;
    /// that may lie before it.
    std::int64_t Now() const;
    /// Whether there was no room on the file system at any time from `start` on.
    bool WasFullSince(std::chrono::steady_clock::time_point start) const;

    Pace pace;
    std::int64_t begun;      ///< of the steady clock, in milliseconds
    std::int64_t step;       ///< how far the clock was put forward, in milliseconds
    std::int64_t fullUntil;  ///< of the steady clock, in milliseconds; the maximum while it is full
    std::int64_t ends;       ///< the programs are to end
    std::int64_t found;      ///< values
    std::int64_t longestRead;
    Station stations[kStations];
};

std::int64_t Load(const std::int64_t& number);
void Set(std::int64_t& number, std::int64_t value);
void Raise(std::int64_t& number, std::int64_t value);

/// Registers stations at time 0, both or one.
Result Register(const std::string& connectString, int first = 0, int end = kStations);

/// Stores the periods of a station as docs/recording.md shows it, eight in a second of the clock.
/// Where the program goes by time it writes the period that its clock says, which may be stored
/// already; otherwise one after the other from its start on.
Result Record(Installation& all, const std::string& connectString, int station, bool goesByTime);

enum class Connects { Once, Always };

/// Reads blocks of both stations, the newest and any.
Result Read(Installation& all, const std::string& connectString, std::uint64_t seed,
            Connects connects);

/// Deletes the oldest periods of both stations, as long as the programs run; and in the end what a
/// recorder whose clock was put back has stored among these since.
Result Prune(Installation& all, const std::string& connectString, std::uint64_t seed);
Result PruneRest(Installation& all, const std::string& connectString);

/// Counts the values, each of which must have been written, and looks for all that were
/// acknowledged.
Result Find(Installation& all, const std::string& connectString);

}  // namespace mersola::test
