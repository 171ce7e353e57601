// The guard sits where connections lock parts of the log's index. The numbers of these locks are
// part of SQLite's file format.
#include "log_guard.h"

#include <cstddef>
#include <new>

#include <sqlite3.h>

namespace mersola::sqlite {
namespace {

constexpr int kWriteLock = 0;
constexpr int kCheckpointLock = 1;
constexpr int kReaderLocks = 4;  // the first of those that readers of the log hold, and how many

// What a guarded file has behind what the VFS below keeps of it.
struct Guard {
    sqlite3_io_methods methods;                 // the file's own, but for the locks
    int (*lock)(sqlite3_file*, int, int, int);  // the file's own
    bool isCheckpointing = false;
    bool isStartingAnew = false;
};

class Vfs {
  public:
    Vfs()
        : below_(sqlite3_vfs_find(nullptr)),
          offset_((static_cast<std::size_t>(below_->szOsFile) + alignof(Guard) - 1) /
                  alignof(Guard) * alignof(Guard)),
          vfs_(*below_) {
        vfs_.zName = "mersola";
        vfs_.pNext = nullptr;
        vfs_.szOsFile = static_cast<int>(offset_ + sizeof(Guard));
        vfs_.xOpen = Open;
        sqlite3_vfs_register(&vfs_, 0);
    }
    ~Vfs() { sqlite3_vfs_unregister(&vfs_); }  // the library may be unloaded before SQLite
    Vfs(const Vfs&) = delete;
    Vfs& operator=(const Vfs&) = delete;

    static Vfs& Instance() {
        static Vfs vfs;
        return vfs;
    }

    const char* Name() const { return vfs_.zName; }

  private:
    static std::byte* Place(sqlite3_file* file) {
        return reinterpret_cast<std::byte*>(file) + Instance().offset_;
    }

    static int Open(sqlite3_vfs*, const char* name, sqlite3_file* file, int flags, int* outFlags) {
        sqlite3_vfs* below = Instance().below_;
        const int code = below->xOpen(below, name, file, flags, outFlags);
        const sqlite3_io_methods* methods = file->pMethods;
        if (code != SQLITE_OK || !(flags & SQLITE_OPEN_MAIN_DB) || methods->iVersion < 2)
            return code;
        Guard* guard = new (Place(file)) Guard{*methods, methods->xShmLock};
        guard->methods.xShmLock = Lock;
        file->pMethods = &guard->methods;
        return code;
    }

    static int Lock(sqlite3_file* file, int first, int count, int flags) {
        Guard& guard = *std::launder(reinterpret_cast<Guard*>(Place(file)));
        const bool takes = (flags & SQLITE_SHM_LOCK) != 0;
        const bool excludes = (flags & SQLITE_SHM_EXCLUSIVE) != 0;
        const auto lock = [&] { return guard.lock(file, first, count, flags); };
        if (!excludes) return lock();
        if (first == kCheckpointLock && count == 1) {
            const int code = lock();
            if (code == SQLITE_OK) guard.isCheckpointing = takes;
            return code;
        }
        if (guard.isCheckpointing) {
            const int code = lock();
            // What SQLite would take for leave to go on beside the writer.
            return first == kWriteLock && code == SQLITE_BUSY ? SQLITE_LOCKED : code;
        }
        if (first != kReaderLocks || count != kReaderLocks) return lock();
        // No reader needs the log any more: it is about to be started anew.
        if (takes) {
            int code = guard.lock(file, kCheckpointLock, 1, flags);
            if (code != SQLITE_OK) return code;
            code = lock();
            guard.isStartingAnew = code == SQLITE_OK;
            if (!guard.isStartingAnew) LeaveCheckpointLock(file, guard);
            return code;
        }
        const int code = lock();
        if (guard.isStartingAnew) LeaveCheckpointLock(file, guard);
        guard.isStartingAnew = false;
        return code;
    }

    static void LeaveCheckpointLock(sqlite3_file* file, const Guard& guard) {
        guard.lock(file, kCheckpointLock, 1, SQLITE_SHM_UNLOCK | SQLITE_SHM_EXCLUSIVE);
    }

    sqlite3_vfs* below_;
    std::size_t offset_;
    sqlite3_vfs vfs_;
};

}  // namespace

const char* GuardedVfs() {
    return Vfs::Instance().Name();
}

}  // namespace mersola::sqlite
