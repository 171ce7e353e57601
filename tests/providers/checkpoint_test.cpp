// SQLite's log: how long it gets, whom its checkpoints hold up, and when it is started anew.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <thread>

#include <sqlite3.h>

#include "sqlite/log_guard.h"
#include "support/child.h"
#include "support/store.h"

namespace mersola::test {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

static_assert(!sqlite::HasLogFault(3006023));
static_assert(sqlite::HasLogFault(3007000) && sqlite::HasLogFault(3040001));
static_assert(sqlite::HasLogFault(3044005) && sqlite::HasLogFault(3045000));
static_assert(!sqlite::HasLogFault(3044006) && !sqlite::HasLogFault(3044009));
static_assert(sqlite::HasLogFault(3050006) && sqlite::HasLogFault(3051002));
static_assert(!sqlite::HasLogFault(3050007) && !sqlite::HasLogFault(3051003));
static_assert(!sqlite::HasLogFault(3052000) && !sqlite::HasLogFault(3053002));

class Log : public testing::Test {
  protected:
    static constexpr int kPagesOfCommit = 10;
    static constexpr std::uintmax_t kThousandPages = 1000 * (4096 + 24);

    // One commit; returns how long it took.
    Clock::duration Write() {
        const auto start = Clock::now();
        recorder.dbExecute(("INSERT INTO VersionHistory (Info) VALUES ('" +
                            std::string(kPagesOfCommit * 4096, 'x') + "')")
                               .c_str());
        return Clock::now() - start;
    }
    Clock::duration LongestOf(int commits) {
        Clock::duration longest{};
        for (int i = 0; i < commits; ++i)
            longest = std::max(longest, Write());
        return longest;
    }
    std::uintmax_t Length() const { return std::filesystem::file_size(database.Path() + "-wal"); }
    // Changes when the log is started anew.
    std::string Generation() const {
        std::ifstream log(database.Path() + "-wal", std::ios::binary);
        std::string salts(8, '\0');
        log.seekg(16).read(salts.data(), 8);
        return salts;
    }

    Database database{"SQLite"};
    Store recorder{database.ConnectString()};
};

TEST_F(Log, GrowsBesideALongReaderButHoldsNoCommitUpAndGivesTheRoomBack) {
    Store reader(database.ConnectString("Mode=Read;"));
    reader.BeginTrans();
    ASSERT_NE(reader.dbExecute("SELECT count(*) FROM Groups"), nullptr);
    EXPECT_LT(LongestOf(500), 1s);
    EXPECT_GT(Length(), 4 * kThousandPages);
    reader.RollbackTrans();
    LongestOf(3);
    EXPECT_LE(Length(), std::uintmax_t{8} << 20);
}

TEST_F(Log, StaysShortBesideReadersThatTakeTurnsWithoutAGap) {
    std::atomic<bool> isOver = false;
    const auto read = [&](Clock::duration offset) {
        Store reader(database.ConnectString("Mode=Read;"));
        std::this_thread::sleep_for(offset);
        while (!isOver) {
            reader.BeginTrans();
            reader.dbExecute("SELECT count(*) FROM Groups");
            std::this_thread::sleep_for(8ms);
            reader.RollbackTrans();
        }
    };
    std::thread one(read, 0ms), other(read, 4ms);
    std::uintmax_t longest = 0;
    for (int i = 0; i < 100; ++i) {
        LongestOf(10);
        longest = std::max(longest, Length());
    }
    isOver = true;
    one.join();
    other.join();
    // Without waiting for readers it has ten thousand. A busy machine may miss some turns.
    EXPECT_LT(longest, 8 * kThousandPages);
}

TEST_F(Log, IsStartedAnewOnlyWhileNobodyCheckpoints) {
    const auto isStartedAnewByACommit = [&] {
        recorder.dbExecute("PRAGMA wal_checkpoint(RESTART)");
        const std::string before = Generation();
        Write();
        return Generation() != before;
    };
    Write();
    EXPECT_TRUE(isStartedAnewByACommit());
    recorder.dbExecute("PRAGMA wal_checkpoint(RESTART)");
    const std::string before = Generation();
    {
        Child other([&](const auto&) {
            // What SQLite locks for a checkpoint.
            struct flock lock {};
            lock.l_type = F_WRLCK;
            lock.l_start = 121;
            lock.l_len = 1;
            const int index = open((database.Path() + "-shm").c_str(), O_RDWR | O_CLOEXEC);
            if (fcntl(index, F_SETLK, &lock) != 0) return 1;
            std::ofstream(database.Path() + ".locked").close();
            return pause();
        });
        while (!std::filesystem::exists(database.Path() + ".locked"))
            std::this_thread::sleep_for(1ms);
        Write();
        EXPECT_EQ(Generation(), before);
    }
    EXPECT_TRUE(isStartedAnewByACommit());
}

}  // namespace
}  // namespace mersola::test
