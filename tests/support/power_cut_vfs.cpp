#include "power_cut_vfs.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <iterator>
#include <new>
#include <utility>

#include <sqlite3.h>

namespace mersola::test {
namespace {

constexpr std::size_t kSector = 512;  // what a disk writes in one go
constexpr int kUnits = 2;             // halves of sectors are lost or kept

using Operation = Disk::Operation;

std::string Contents(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

sqlite3_vfs& Below() {
    static sqlite3_vfs* vfs = sqlite3_vfs_find(nullptr);
    return *vfs;
}

// What stands in front of the file of the VFS below.
struct OpenFile : sqlite3_file {
    std::shared_ptr<DiskFile> watched;
    std::string newName;  // of a log or journal that was made; its first sync syncs the folder
};

OpenFile& Ours(sqlite3_file* file) {
    return *static_cast<OpenFile*>(file);
}

sqlite3_file* Real(sqlite3_file* file) {
    return reinterpret_cast<sqlite3_file*>(reinterpret_cast<std::byte*>(file) + sizeof(OpenFile));
}

int Answer(sqlite3_file* file, Operation operation) {
    return Ours(file).watched ? Disk::Instance().Answer(operation) : SQLITE_OK;
}

int Close(sqlite3_file* file) {
    const int code = Real(file)->pMethods->xClose(Real(file));
    if (Ours(file).watched) Disk::Instance().Closed();
    Ours(file).~OpenFile();
    return code;
}

int Read(sqlite3_file* file, void* buffer, int amount, sqlite3_int64 offset) {
    if (const int code = Answer(file, Operation::Read)) return code;
    const int code = Real(file)->pMethods->xRead(Real(file), buffer, amount, offset);
    const std::int64_t end = Disk::Instance().Shrunk();
    if (code != SQLITE_OK || end < 0 || !Ours(file).watched || offset + amount <= end) return code;
    const auto left = static_cast<std::size_t>(std::max<std::int64_t>(end - offset, 0));
    std::memset(static_cast<char*>(buffer) + left, 0, static_cast<std::size_t>(amount) - left);
    return SQLITE_IOERR_SHORT_READ;
}

int Write(sqlite3_file* file, const void* buffer, int amount, sqlite3_int64 offset) {
    Disk& disk = Disk::Instance();
    const int answer = Answer(file, Operation::Write);
    if (answer != SQLITE_OK) amount = disk.IsCut() || !disk.IsPartial() ? 0 : amount / 2;
    if (amount == 0) return answer;
    if (Ours(file).watched) {
        const auto length = static_cast<std::size_t>(amount);
        Ours(file).watched->Write(offset, {static_cast<const char*>(buffer), length});
    }
    const int code = Real(file)->pMethods->xWrite(Real(file), buffer, amount, offset);
    return code == SQLITE_OK ? answer : code;
}

int Truncate(sqlite3_file* file, sqlite3_int64 size) {
    if (const int code = Answer(file, Operation::Truncate)) return code;
    if (Ours(file).watched) Ours(file).watched->Truncate(size);
    return Real(file)->pMethods->xTruncate(Real(file), size);
}

int Sync(sqlite3_file* file, int) {
    if (const int code = Answer(file, Operation::Sync)) return code;
    OpenFile& ours = Ours(file);
    if (!ours.watched) return SQLITE_OK;
    Disk::Instance().Sync(*ours.watched, ours.newName.empty() ? nullptr : &ours.newName);
    ours.newName.clear();
    return SQLITE_OK;
}

int Size(sqlite3_file* file, sqlite3_int64* size) {
    const int code = Real(file)->pMethods->xFileSize(Real(file), size);
    const std::int64_t end = Disk::Instance().Shrunk();
    if (end >= 0 && Ours(file).watched) *size = std::min<sqlite3_int64>(*size, end);
    return code;
}

int MapLog(sqlite3_file* file, int region, int size, int extend, void volatile** memory) {
    if (extend) {
        if (const int code = Answer(file, Operation::MapLog)) return code;
    }
    return Real(file)->pMethods->xShmMap(Real(file), region, size, extend, memory);
}

const sqlite3_io_methods kMethods = {
    2,  // files are not mapped
    Close,
    Read,
    Write,
    Truncate,
    Sync,
    Size,
    [](sqlite3_file* file, int lock) { return Real(file)->pMethods->xLock(Real(file), lock); },
    [](sqlite3_file* file, int lock) { return Real(file)->pMethods->xUnlock(Real(file), lock); },
    [](sqlite3_file* file, int* result) {
        return Real(file)->pMethods->xCheckReservedLock(Real(file), result);
    },
    [](sqlite3_file* file, int operation, void* argument) {
        return Real(file)->pMethods->xFileControl(Real(file), operation, argument);
    },
    [](sqlite3_file* file) { return Real(file)->pMethods->xSectorSize(Real(file)); },
    [](sqlite3_file* file) { return Real(file)->pMethods->xDeviceCharacteristics(Real(file)); },
    MapLog,
    [](sqlite3_file* file, int first, int count, int flags) {
        return Real(file)->pMethods->xShmLock(Real(file), first, count, flags);
    },
    [](sqlite3_file* file) { Real(file)->pMethods->xShmBarrier(Real(file)); },
    [](sqlite3_file* file, int deletes) {
        return Real(file)->pMethods->xShmUnmap(Real(file), deletes);
    },
    nullptr,
    nullptr,
};

int Open(sqlite3_vfs*, const char* name, sqlite3_file* file, int flags, int* outFlags) {
    Disk& disk = Disk::Instance();
    file->pMethods = nullptr;
    if (disk.IsCut()) return SQLITE_CANTOPEN;
    // A journal or log that is made takes room.
    const bool isLog = (flags & (SQLITE_OPEN_WAL | SQLITE_OPEN_MAIN_JOURNAL)) != 0;
    const bool isThere = name && std::filesystem::exists(name);
    const bool makes = !isThere && (flags & SQLITE_OPEN_CREATE) != 0;
    if (makes && name && disk.Answer(Operation::Write) != SQLITE_OK) return SQLITE_CANTOPEN;
    auto* ours = new (file) OpenFile{};
    const int code = Below().xOpen(&Below(), name, Real(file), flags, outFlags);
    if (code != SQLITE_OK) {
        ours->~OpenFile();
        file->pMethods = nullptr;
        return code;
    }
    bool isNew = false;
    if (name) ours->watched = disk.Open(name, &isNew);
    if (isNew && isLog) ours->newName = name;
    ours->pMethods = &kMethods;
    return SQLITE_OK;
}

int Delete(sqlite3_vfs*, const char* name, int syncsFolder) {
    if (const int code = Disk::Instance().Answer(Operation::Delete)) return code;
    const int code = Below().xDelete(&Below(), name, 0);
    if (code == SQLITE_OK) Disk::Instance().Delete(name, syncsFolder != 0);
    return code;
}

}  // namespace

// ---- One file ----------------------------------------------------------------------------------

void DiskFile::Write(std::int64_t offset, std::string bytes) {
    if (!bytes.empty()) changes_.push_back({offset, std::move(bytes), false});
}

void DiskFile::Truncate(std::int64_t size) {
    changes_.push_back({size, {}, true});
}

void DiskFile::Sync() {
    for (const Change& change : changes_)
        Apply(change, durable);
    changes_.clear();
}

void DiskFile::Apply(const Change& change, std::string& content) {
    const auto offset = static_cast<std::size_t>(change.offset);
    if (change.truncates) {
        content.resize(offset);
        return;
    }
    content.resize(std::max(content.size(), offset + change.bytes.size()));
    content.replace(offset, change.bytes.size(), change.bytes);
}

// Each half of a sector has a fate of its own.
void DiskFile::Tear(const Change& change, std::string& content, std::mt19937_64& random) {
    if (change.truncates) {
        if (random() % 2) Apply(change, content);
        return;
    }
    constexpr std::size_t kPiece = kSector / kUnits;
    const auto start = static_cast<std::size_t>(change.offset);
    const bool isTorn = random() % 2;  // else whole sectors
    bool isKept = false;
    for (std::size_t at = start; at < start + change.bytes.size();) {
        const std::size_t end =
            std::min(at / kPiece * kPiece + kPiece, start + change.bytes.size());
        Change piece{static_cast<std::int64_t>(at), change.bytes.substr(at - start, end - at),
                     false};
        if (isTorn || at == start || at % kSector == 0) isKept = random() % 4 != 0;
        const auto spoilt = random() % 16;
        if (spoilt == 0) std::ranges::fill(piece.bytes, '\0');
        if (spoilt == 1)
            std::ranges::generate(piece.bytes, [&] { return static_cast<char>(random()); });
        if (isKept || spoilt < 2) Apply(piece, content);
        at = end;
    }
}

std::string DiskFile::Survivor(std::mt19937_64& random) const {
    std::string content = durable;
    if (changes_.empty()) return content;
    const auto apply = [&](std::size_t end) {
        for (std::size_t at = 0; at < end; ++at)
            Apply(changes_[at], content);
    };
    const std::size_t one = random() % changes_.size();
    switch (random() % 6) {
        case 0:  // nothing
            break;
        case 1:  // everything
            apply(changes_.size());
            break;
        case 2:  // what was written first, and some of what came next
            apply(one);
            Tear(changes_[one], content, random);
            break;
        case 3:  // everything but one
            for (const Change& change : changes_) {
                if (&change == &changes_[one])
                    Tear(change, content, random);
                else
                    Apply(change, content);
            }
            break;
        case 4:  // some, whole
            for (const Change& change : changes_) {
                if (random() % 2) Apply(change, content);
            }
            break;
        default:  // some of everything
            for (const Change& change : changes_)
                Tear(change, content, random);
    }
    return content;
}

// ---- The disk ----------------------------------------------------------------------------------

Disk& Disk::Instance() {
    static Disk& disk = *new Disk;
    return disk;
}

Disk::Disk() {
    static sqlite3_vfs vfs = Below();
    vfs.zName = "power cut";
    vfs.pNext = nullptr;
    vfs.szOsFile = static_cast<int>(sizeof(OpenFile)) + Below().szOsFile;
    vfs.xOpen = test::Open;
    vfs.xDelete = test::Delete;
    sqlite3_vfs_register(&vfs, 1);
}

void Disk::Watch(const std::filesystem::path& folder) {
    folder_ = std::filesystem::canonical(folder);
    isCut_ = false;
    cutAt_ = 0;
    survivors_.clear();
    swallowsSyncs_ = false;
    Heal();
    SyncAll();
}

void Disk::SyncAll() {
    names_.clear();
    for (const auto& entry : std::filesystem::directory_iterator(folder_)) {
        if (entry.path().string().ends_with("-shm")) continue;
        auto file = std::make_shared<DiskFile>();
        file->durable = Contents(entry.path());
        names_[entry.path()] = {file};
    }
}

void Disk::CutAt(int change, std::uint64_t seed) {
    cutAt_ = change;
    random_.seed(seed);
}

void Disk::Cut() {
    isCut_ = true;
    survivors_.clear();
    for (const auto& [path, name] : names_) {
        const auto& file = name[random_() % name.size()];
        if (file) survivors_[path] = file->Survivor(random_);
    }
}

void Disk::PowerUp() {
    if (open_ != 0) {
        std::cerr << open_ << " files are open while the power comes back\n";
        std::abort();
    }
    for (const auto& entry : std::filesystem::directory_iterator(folder_))
        std::filesystem::remove(entry);
    for (const auto& [path, content] : survivors_)
        std::ofstream(path, std::ios::binary) << content;
    isCut_ = false;
    cutAt_ = 0;
    SyncAll();
}

void Disk::Fail(const Fault& fault) {
    fault_ = fault;
    hasFailed_ = false;
}

void Disk::Heal() {
    fault_ = {};
    hasFailed_ = false;
    shrunk_ = -1;
}

int Disk::Answer(Operation operation) {
    if (isCut_) return SQLITE_IOERR;
    const bool changes = operation != Operation::Read && operation != Operation::MapLog;
    if (changes && cutAt_ > 0 && --cutAt_ == 0) {
        Cut();
        return SQLITE_IOERR;
    }
    // A full disk refuses new pages of a log's index as it does writes.
    const bool isRoom = operation == Operation::MapLog && fault_.code == SQLITE_FULL;
    if (fault_.code == SQLITE_OK) return SQLITE_OK;
    if (operation != fault_.operation && !isRoom) return SQLITE_OK;
    if (--fault_.first > 0) return SQLITE_OK;
    hasFailed_ = true;
    const int code = isRoom ? SQLITE_IOERR_SHMSIZE : fault_.code;
    if (fault_.isOnce) fault_.code = SQLITE_OK;
    return code;
}

std::shared_ptr<DiskFile> Disk::Open(const std::string& path, bool* isNew) {
    if (std::filesystem::path(path).parent_path() != folder_) return nullptr;
    ++open_;
    Name& name = names_[path];
    if (name.empty()) name.push_back(nullptr);
    *isNew = !name.back();
    if (*isNew) name.push_back(std::make_shared<DiskFile>());
    return name.back();
}

void Disk::Sync(DiskFile& file, const std::string* newName) {
    if (swallowsSyncs_) return;
    file.Sync();
    if (!newName) return;
    for (auto& [path, name] : names_)
        name = {name.back()};
}

void Disk::Delete(const std::string& path, bool syncs) {
    const auto found = names_.find(path);
    if (found != names_.end()) found->second.push_back(nullptr);
    if (!syncs || swallowsSyncs_) return;
    for (auto& [each, name] : names_)
        name = {name.back()};
}

}  // namespace mersola::test
