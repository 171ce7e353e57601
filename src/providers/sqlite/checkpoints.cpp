// When checkpoints are made, and how long they may take.
#include "checkpoints.h"

#include <chrono>

namespace mersola::sqlite {
namespace {

constexpr int kPages = 1000;  // as many as for SQLite's automatic checkpoints

// Nobody can write during a checkpoint, so it waits for readers shorter than anybody minds, and
// longer than most blocks take to be read.
constexpr std::chrono::milliseconds kWait{50};

}  // namespace

Checkpoints::Checkpoints(sqlite3* db, Patience& patience)
    : db_(db), patience_(patience), duePages_(kPages) {
    sqlite3_wal_hook(db, AfterCommit, this);  // in place of the automatic ones
}

int Checkpoints::AfterCommit(void* self, sqlite3*, const char*, int pages) {
    static_cast<Checkpoints*>(self)->Checkpoint(pages);
    return SQLITE_OK;  // the commit stands, whatever became of the checkpoint
}

void Checkpoints::Checkpoint(int pages) {
    if (pages < lastPages_) duePages_ = kPages;  // the log was started anew
    lastPages_ = pages;
    if (pages < kPages) return;
    // Beside a long reader, each further thousand pages are worth waiting for it. In between, a
    // checkpoint may find a gap between readers.
    const bool isDue = pages >= duePages_;
    if (isDue) duePages_ = pages + kPages;
    const auto limit = patience_.Limit(isDue ? kWait : std::chrono::milliseconds(0));
    sqlite3_wal_checkpoint_v2(db_, "main", SQLITE_CHECKPOINT_RESTART, nullptr, nullptr);
    patience_.Limit(limit);
}

}  // namespace mersola::sqlite
