// A recorder that writes a random history, and what must be stored of it.
#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include <mersola/mersola.h>

namespace mersola::test {

/// All that matters of a database: what it holds, by names instead of identifiers.
using Contents = std::map<std::string, std::string>;

/// Reads a database through SQLite alone. What its own check finds is an entry too.
Contents ContentsOf(const std::string& path);

/// The commits of a recorder. Each is there as a whole or not at all, and none without those
/// before it.
class History {
  public:
    /// What is stored when everything is.
    const Contents& Now() const { return now_; }

    using Commit = std::vector<std::pair<std::string, std::optional<std::string>>>;

    /// Sets an entry, without a value removes it; a commit of its own outside Begin and End.
    void Put(const std::string& key, std::optional<std::string> value);
    /// A commit of several changes, outside Begin and End.
    void Put(Commit changes);
    void Begin();
    /// One commit of all since Begin, or nothing.
    void End(bool commits);
    /// All commits so far are to survive.
    void Acknowledge() { acknowledged_ = commits_.size(); }

    /// Whether this is what some of the commits left, and in that case goes on from there. Empty,
    /// or what is wrong. With `isDurable` what was acknowledged must be among them.
    std::string Settle(const Contents& found, bool isDurable);

  private:
    static void Apply(const Commit& commit, Contents& contents);

    bool Leads(std::size_t count, const Contents& found) const;

    Contents settled_;  // before the first of the commits
    std::vector<Commit> commits_;
    // Of the cut before. The log still has them behind what was lost: where it is written again
    // byte for byte, as by the same registration, they are back.
    std::vector<Commit> lost_;
    std::size_t acknowledged_ = 0;
    Contents now_;
    std::optional<Contents> before_;  // the open transaction
    Commit open_;
};

/// Records through the library. Each step acknowledges what it wrote unless it fails.
class RandomRecorder {
  public:
    RandomRecorder(std::string connectString, std::uint64_t seed)
        : connectString_(std::move(connectString)), random_(seed) {}

    /// Connects anew and registers what is recorded next. False when that failed.
    bool Start();
    /// Goes on with every report that is stored, as the programs of an installation do. False when
    /// that failed.
    bool StartAll();
    /// Records something. False when the library told of a failure; the connection is then without
    /// a transaction.
    bool Step();
    /// Closes the connection.
    void Stop() {
        batch_ = nullptr;  // it holds the connection
        store_.reset();
    }
    /// Sends again a batch that failed; true as well when there is none.
    bool SendAgain();

    /// Calls this now and then, which is to change nothing of what is stored and is false when it
    /// failed.
    void Disturb(std::function<bool()> disturb) { disturb_ = std::move(disturb); }

    History& Written() { return history_; }

  private:
    enum class From { Behind, Amid };  // what is stored

    bool Register(const std::string& instrument, const std::string& measurement, int report,
                  From from);
    bool Record();
    bool WriteValue();
    bool WriteBatch();
    bool Send();
    bool WriteMarker();
    bool CloseMarker();
    bool WriteTransaction();
    bool Checkpoint();
    bool Delete();
    void ExpectOldDeleted(const std::string& measurement, const CTimeEx& before);
    void ExpectDeleted(const std::string& measurement);
    void ExpectPeriodsDeleted(const std::string& place, long end);
    void ExpectMarkersDeleted(const std::string& measurement, const std::string& before);
    void ExpectRestDeleted(const std::string& measurement);
    History::Commit Removed(const std::string& prefix) const;
    long EndOfValues(const std::string& place) const;
    long LowestOf(const std::string& measurement) const;
    void Raise(long period);
    bool Done(bool isDone);
    long Draw(long count) {
        return static_cast<long>(random_() % static_cast<unsigned long>(count));
    }
    std::string ValueKey(long period, int band) const;
    void ExpectValue(long period, int band, double value);
    long Length() const;
    long ReachOf(const std::string& measurement) const;

    struct OpenMarker {
        long number;
        CTimeEx start;
        std::string path;
    };

    std::string connectString_;
    std::mt19937_64 random_;
    History history_;
    std::unique_ptr<Mersola> store_;
    std::map<std::string, CTimeEx> starts_;  // of measurements

    // What is recorded.
    std::string measurement_;  // instrument and measurement
    std::string place_;        // instrument, measurement and report
    InstrumentInfo instrument_;
    MeasurementInfo registered_;
    int report_ = 1;
    long offset_ = 0;  // where period 0 is stored
    long count_ = 0;   // that the object takes for stored
    long period_ = 0;
    bool isInTransaction_ = false;
    std::vector<OpenMarker> openMarkers_;
    _RecordsetPtr batch_;     // that could not be sent
    bool isRefused_ = false;  // it holds a value that is stored already

    std::function<bool()> disturb_;
    long values_ = 0;
    long markers_ = 0;
};

}  // namespace mersola::test
