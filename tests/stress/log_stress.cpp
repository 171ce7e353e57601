// Writers and checkpointers on one SQLite file, each a process of its own. In the end every row
// that a writer was told to be committed must be there, once, and the file must be whole.
//
//     mersola_log_stress [NAME=NUMBER ...]
//
//     seconds=3     how long
//     recorders=4   writers through the library
//     strangers=0   writers through SQLite itself, with the checkpoints that it does
//     passive=0, full=0, restart=0, truncate=0
//                   programs that do nothing but checkpoints of that kind
//     readers=0     programs that read all rows again and again
//     backups=0     programs that read from the beginning to the end
//     pause=0       of writers after each commit: up to so many microseconds
//
// Exit status 1: rows were lost or the file is damaged. With a SQLite before 3.51.3,
// "recorders=0 strangers=4 passive=2 seconds=20" gets there.
#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include <sqlite3.h>

#include "support/child.h"
#include "support/database.h"
#include "support/numbers_given.h"

namespace mersola::test {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int kMostWriters = 64;
constexpr int kFailed = 3;

// What the writers have done so far, in memory that all processes see.
struct Writer {
    std::atomic<std::int64_t> committed;
    std::atomic<std::int64_t> longest;  // commit, in microseconds
};
using Writers = std::array<Writer, kMostWriters>;

Writers& SharedWriters() {
    void* memory =
        mmap(nullptr, sizeof(Writers), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) std::abort();
    return *new (memory) Writers;
}

std::string Insert(int writer, std::int64_t row) {
    return "INSERT INTO MeasuredValues (MeasValueId,PeriodNo,Channel,Value,Status,FrqId,FuncId) "
           "VALUES (" +
           std::to_string(writer) + "," + std::to_string(row) + ",1,1.5,'',0,1)";
}

// When writers are done, and their longest pause after a commit, in microseconds.
struct Pace {
    Clock::time_point end;
    int pause;
};

// Calls `insert` until the time is over.
int Write(Writer& writer, const Pace& pace, const std::function<bool(std::int64_t)>& insert) {
    std::minstd_rand random(static_cast<unsigned>(getpid()));
    while (Clock::now() < pace.end) {
        const auto start = Clock::now();
        if (!insert(writer.committed)) return kFailed;
        ++writer.committed;
        const auto taken =
            std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - start).count();
        writer.longest = std::max<std::int64_t>(writer.longest, taken);
        if (pace.pause > 0)
            usleep(static_cast<unsigned>(random()) % static_cast<unsigned>(pace.pause));
    }
    return 0;
}

int Record(const std::string& connectString, int number, Writer& writer, const Pace& pace) {
    Mersola store("", "", connectString.c_str(), 30);
    return Write(writer, pace, [&](std::int64_t row) {
        try {
            store.dbExecute(Insert(number, row).c_str());
            return true;
        } catch (const _com_error& error) {
            std::cerr << "recorder " << number << ": " << error.what() << std::endl;
            return false;
        }
    });
}

// A program that knows nothing of the library.
class Stranger {
  public:
    explicit Stranger(const std::string& path) {
        if (sqlite3_open(path.c_str(), &db_) != SQLITE_OK) std::abort();
        sqlite3_busy_timeout(db_, 30000);
        Run("PRAGMA synchronous=OFF");  // quick, so that the log is often moved as a whole
    }
    ~Stranger() { sqlite3_close(db_); }
    Stranger(const Stranger&) = delete;
    Stranger& operator=(const Stranger&) = delete;

    bool Run(const std::string& sql) {
        const int code = sqlite3_exec(db_, sql.c_str(), nullptr, nullptr, nullptr);
        if (code != SQLITE_OK && code != SQLITE_BUSY)
            std::cerr << "stranger: " << sqlite3_errmsg(db_) << std::endl;
        return code == SQLITE_OK;
    }
    int Checkpoint(int mode) {
        return sqlite3_wal_checkpoint_v2(db_, nullptr, mode, nullptr, nullptr);
    }

  private:
    sqlite3* db_ = nullptr;
};

int WriteAsStranger(const std::string& path, int number, Writer& writer, const Pace& pace) {
    Stranger stranger(path);
    return Write(writer, pace, [&](std::int64_t row) { return stranger.Run(Insert(number, row)); });
}

int Checkpoint(const std::string& path, int mode, Clock::time_point end) {
    Stranger stranger(path);
    while (Clock::now() < end) {
        const int code = stranger.Checkpoint(mode) & 0xFF;
        if (code != SQLITE_OK && code != SQLITE_BUSY) return kFailed;
    }
    return 0;
}

int Read(const std::string& path, Clock::time_point end) {
    Stranger stranger(path);
    while (Clock::now() < end) {
        if (!stranger.Run("SELECT sum(Value) FROM MeasuredValues")) return kFailed;
    }
    return 0;
}

int HoldSnapshot(const std::string& path, Clock::time_point end) {
    Stranger stranger(path);
    if (!stranger.Run("BEGIN") || !stranger.Run("SELECT count(*) FROM MeasuredValues"))
        return kFailed;
    std::this_thread::sleep_until(end);
    return 0;
}

int Stress(Numbers given) {
    const Database database("SQLite");
    Writers& writers = SharedWriters();
    const auto end = Clock::now() + std::chrono::seconds(given["seconds"]);
    const Pace pace{end, static_cast<int>(given["pause"])};
    std::vector<std::unique_ptr<Child>> children;
    const auto start = [&](const char* name, auto work) {
        for (int i = 0; i < given[name]; ++i)
            children.push_back(std::make_unique<Child>([=](const auto&) { return work(i); }));
    };
    start("recorders", [&](int i) {
        return Record(database.ConnectString(), i, writers.at(static_cast<std::size_t>(i)), pace);
    });
    const int recorders = static_cast<int>(given["recorders"]);
    start("strangers", [&](int i) {
        const int number = recorders + i;
        return WriteAsStranger(database.Path(), number,
                               writers.at(static_cast<std::size_t>(number)), pace);
    });
    const std::pair<const char*, int> modes[] = {{"passive", SQLITE_CHECKPOINT_PASSIVE},
                                                 {"full", SQLITE_CHECKPOINT_FULL},
                                                 {"restart", SQLITE_CHECKPOINT_RESTART},
                                                 {"truncate", SQLITE_CHECKPOINT_TRUNCATE}};
    for (const auto& [name, mode] : modes)
        start(name, [&, mode = mode](int) { return Checkpoint(database.Path(), mode, end); });
    start("backups", [&](int) { return HoldSnapshot(database.Path(), end); });
    start("readers", [&](int) { return Read(database.Path(), end); });

    std::uintmax_t longestLog = 0;
    while (Clock::now() < end) {
        std::error_code ignored;
        const auto size = std::filesystem::file_size(database.Path() + "-wal", ignored);
        if (!ignored) longestLog = std::max(longestLog, size);
        usleep(5000);
    }
    bool isWhole = true;
    for (const auto& child : children)
        isWhole &= child->Wait() == 0;

    std::int64_t committed = 0;
    std::int64_t longest = 0;
    for (int number = 0; number < recorders + given["strangers"]; ++number) {
        const Writer& writer = writers.at(static_cast<std::size_t>(number));
        const std::string there = database.Ask(
            "SELECT count(*) FROM MeasuredValues WHERE MeasValueId=" + std::to_string(number) +
            " AND Channel=1 AND FuncId=1");
        const std::int64_t lost = writer.committed - std::atoll(there.c_str());
        if (lost != 0) {
            std::cout << "writer " << number << ": " << lost << " of " << writer.committed
                      << " rows are lost\n";
            isWhole = false;
        }
        committed += writer.committed;
        longest = std::max<std::int64_t>(longest, writer.longest);
    }
    const std::string check = database.Ask("PRAGMA integrity_check");
    if (check != "ok") {
        std::cout << "the file is damaged: " << check << '\n';
        isWhole = false;
    }
    std::cout << "SQLite " << sqlite3_libversion() << ": " << committed
              << " rows were committed; the longest commit took "
              << static_cast<double>(longest) / 1000 << " ms, the log grew to " << longestLog / 1024
              << " KiB; " << (isWhole ? "nothing is lost" : "FAILED") << std::endl;
    return isWhole ? 0 : 1;
}

}  // namespace
}  // namespace mersola::test

int main(int argc, char** argv) {
    return mersola::test::Stress(mersola::test::NumbersGiven(argc, argv,
                                                             {{"seconds", 3},
                                                              {"recorders", 4},
                                                              {"strangers", 0},
                                                              {"passive", 0},
                                                              {"full", 0},
                                                              {"restart", 0},
                                                              {"truncate", 0},
                                                              {"readers", 0},
                                                              {"backups", 0},
                                                              {"pause", 0}}));
}
