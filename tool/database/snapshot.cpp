// Reading in one transaction, and leaving no files behind.
#include "snapshot.h"

#include <filesystem>

#include "basics/failure.h"

namespace mersola::tool {

Snapshot::Snapshot(const Database& database)
    : database_(database), hadLog_(HasLog()), store_(database.Connect(Access::Read)) {
    transaction_.emplace(*store_);
}

Snapshot::~Snapshot() {
    transaction_.reset();
    store_.reset();
    if (hadLog_ || !HasLog()) return;
    try {
        // Who only reads cannot take away the files that SQLite made for it.
        database_.Connect(Access::Write);
    } catch (const Failure&) {
        // They do no harm.
    }
}

bool Snapshot::HasLog() const {
    std::error_code ignored;
    return database_.IsFile() && std::filesystem::exists(database_.File() + "-wal", ignored);
}

}  // namespace mersola::tool
