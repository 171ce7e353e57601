// A disk that loses power or fails, below the SQLite of this process.
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace mersola::test {

/// What a file holds once all was synced, and what was done to it since.
class DiskFile {
  public:
    void Write(std::int64_t offset, std::string bytes);
    void Truncate(std::int64_t size);
    void Sync();
    /// What a power cut leaves: of what no sync covers, each half sector may be there or not, in
    /// any order, or hold zeros or garbage.
    std::string Survivor(std::mt19937_64& random) const;

    std::string durable;

  private:
    struct Change {
        std::int64_t offset;  // of the bytes; the new size of a file that was cut short
        std::string bytes;
        bool truncates;
    };
    static void Apply(const Change& change, std::string& content);
    static void Tear(const Change& change, std::string& content, std::mt19937_64& random);

    std::vector<Change> changes_;
};

/// A default VFS that passes everything on to the one before it, but for syncs, which only tell
/// what a power cut leaves. For one thread. Made before the library opens its first database, and
/// never unmade.
class Disk {
  public:
    enum class Operation { Read, Write, Sync, Truncate, Delete, MapLog };
    /// The `first` of such operations from now on fails, and so do those after it until Heal.
    struct Fault {
        Operation operation;
        int first;
        int code;  // SQLite's
        bool isOnce = false;
        bool isPartial = false;  // a write leaves the first half of its bytes
    };

    static Disk& Instance();
    Disk(const Disk&) = delete;
    Disk& operator=(const Disk&) = delete;

    /// Watches the files of a folder, all of which is on the disk by now. No file of it is open.
    void Watch(const std::filesystem::path& folder);
    /// Takes all files to be on the disk by now.
    void SyncAll();

    /// The power goes just before the so manieth change of the disk from now on; nothing works
    /// until PowerUp.
    void CutAt(int change, std::uint64_t seed);
    bool IsCut() const { return isCut_; }
    /// Writes what the last cut left into the folder, as often as it is called. No file of it is
    /// open.
    void PowerUp();

    /// A disk that tells of syncs what is not true.
    void SwallowSyncs(bool swallows) { swallowsSyncs_ = swallows; }

    void Fail(const Fault& fault);
    /// Whether the fault has shown since.
    bool HasFailed() const { return hasFailed_; }
    void Heal();
    /// Files seem to end after so many bytes while they are read; -1: they do not.
    void Shrink(std::int64_t size) { shrunk_ = size; }

    // For the VFS. `Answer` is the code to fail with, 0 to go on.
    int Answer(Operation operation);
    bool IsPartial() const { return fault_.isPartial; }
    std::int64_t Shrunk() const { return shrunk_; }
    /// The watched file that is now made, or is there already; null for one that is not watched.
    std::shared_ptr<DiskFile> Open(const std::string& path, bool* isNew);
    void Closed() { --open_; }
    void Sync(DiskFile& file, const std::string* newName);
    void Delete(const std::string& path, bool syncs);

  private:
    Disk();
    void Cut();

    // What a name stood for when the folder was last synced, and since: null for no file.
    using Name = std::vector<std::shared_ptr<DiskFile>>;

    std::filesystem::path folder_;
    std::map<std::string, Name> names_;
    int open_ = 0;
    int cutAt_ = 0;
    std::mt19937_64 random_;
    bool isCut_ = false;
    std::map<std::string, std::string> survivors_;
    bool swallowsSyncs_ = false;
    Fault fault_{};
    bool hasFailed_ = false;
    std::int64_t shrunk_ = -1;
};

}  // namespace mersola::test
