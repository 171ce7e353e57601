// The header of a file, and its log. The numbers are those of SQLite's file format.
#include "page_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "basics/failure.h"
#include "basics/times_text.h"
#include "engines/format.h"

namespace mersola::tool {
namespace {

constexpr std::string_view kMagic("SQLite format 3\0", 16);
constexpr int kMostFormats = 1000;  // beyond is damage
constexpr std::size_t kLogHeader = 32, kFrameHeader = 24;

bool IsPageSize(std::size_t size) {
    return size >= 512 && size <= 65536 && (size & (size - 1)) == 0;
}

// The running sums over a log, over numbers in the byte order that its header names.
struct LogSums {
    bool isBigEndian;
    std::uint32_t first = 0, second = 0;

    void Add(std::string_view bytes) {
        for (std::size_t at = 0; at + 8 <= bytes.size(); at += 8) {
            first += Word(bytes, at) + second;
            second += Word(bytes, at + 4) + first;
        }
    }
    bool Stand(std::string_view bytes, std::size_t at) const {
        return NumberAt(bytes, at, 4) == first && NumberAt(bytes, at + 4, 4) == second;
    }

  private:
    std::uint32_t Word(std::string_view bytes, std::size_t at) const {
        const std::uint32_t word = NumberAt(bytes, at, 4);
        return isBigEndian ? word : __builtin_bswap32(word);
    }
};

// What a page begins with that holds rows.
bool BeginsAsTree(std::string_view page) {
    const auto kind = static_cast<unsigned char>(page[0]);
    if (kind != 2 && kind != 5 && kind != 10 && kind != 13) return false;
    const std::size_t cells = NumberAt(page, 3, 2), content = NumberAt(page, 5, 2);
    return cells > 0 && content <= page.size() && content >= 8 + 2 * cells;
}

}  // namespace

std::uint32_t NumberAt(std::string_view bytes, std::size_t at, std::size_t size) {
    std::uint32_t number = 0;
    for (std::size_t i = 0; i < size; ++i)
        number = number << 8 | static_cast<unsigned char>(bytes[at + i]);
    return number;
}

PageFile::Bytes::Bytes(const std::string& path) : path_(path) {
    file_ = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);  // a pipe is not waited for
    struct stat status {};
    if (file_ < 0 && errno == ENOENT) return;
    if (file_ < 0 || fstat(file_, &status) != 0)
        throw Failure(Quoted(path) + " cannot be read (" + std::strerror(errno) + ")");
    if (!S_ISREG(status.st_mode)) throw Failure(Quoted(path) + " is no file");
    size_ = static_cast<std::uint64_t>(status.st_size);
}

PageFile::Bytes::~Bytes() {
    if (file_ >= 0) close(file_);
}

bool PageFile::Bytes::Read(std::uint64_t at, std::size_t size, std::string& bytes) const {
    if (at + size > size_) return false;
    bytes.resize(size);
    for (std::size_t done = 0; done < size;) {
        const auto got =
            pread(file_, bytes.data() + done, size - done, static_cast<off_t>(at + done));
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) return false;  // a sector that the disk does not give is lost as any other
        done += static_cast<std::size_t>(got);
    }
    return true;
}

bool PageFile::Bytes::IsLockedByOthers() const {
    struct flock lock {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    lock.l_start = 0x40000000;  // where SQLite locks
    lock.l_len = 512;
    return file_ >= 0 && fcntl(file_, F_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
}

PageFile::PageFile(const std::string& path) : file_(path), log_(path + "-wal") {
    if (file_.IsLockedByOthers())
        throw Failure("other programs have " + Quoted(path) +
                      " open; stop them, or what is read here would change meanwhile");
    std::string start;
    if (const Bytes journal(path + "-journal");
        journal.Read(0, 8, start) && NumberAt(start, 0, 4) == 0xd9d505f9)
        throw Failure(Quoted(path) + " was left in the middle of a transaction that only its " +
                      "journal can undo; copy " + Quoted(path) + " and " +
                      Quoted(path + "-journal") + " together, open the copy once with sqlite3, " +
                      "and save what that holds");
    if (file_.Size() == 0)
        throw Failure(Quoted(path) + " is empty or not there: there is nothing to save");
    ReadLog();
    const bool hasHeader = ReadHeader();
    if (!hasHeader) {
        faults_.push_back("the header of the file is destroyed");
        if (pageSize_ == 0) pageSize_ = usable_ = GuessedPageSize();
    }
    if (file_.Size() < pageSize_)
        throw Failure(Quoted(path) + " ends within its first page: there is nothing to save");
    const PageNumber inFile = static_cast<PageNumber>(file_.Size() / pageSize_);
    count_ = inFile;
    if (loggedCount_ != 0)  // what the log says may be anything; pages lie here or there
        count_ = std::min(loggedCount_, inFile + static_cast<PageNumber>(logged_.size()));
    std::string first;
    if (!hasHeader || !Read(1, first)) return;
    const Format format = FormatInHeader(NumberAt(first, 68, 4), NumberAt(first, 60, 4));
    if (!format.IsKnown() && format.number < kMostFormats)
        throw Failure(Quoted(path) + " cannot be read: " + TooNew(format.number, ""));
    free_ = FreeList{NumberAt(first, 32, 4), NumberAt(first, 36, 4)};
    const PageNumber said = NumberAt(first, 28, 4);
    const bool isSaid = said != 0 && NumberAt(first, 24, 4) == NumberAt(first, 92, 4);
    if (isSaid && inFile < said && loggedCount_ == 0)
        faults_.push_back("the file ends after " + Counted(inFile, "page") + " of " +
                          std::to_string(said));
}

bool PageFile::ReadHeader() {
    std::string header;
    const bool isThere = [&] {
        if (const auto found = logged_.find(1); found != logged_.end())
            return log_.Read(found->second, 100, header);
        return file_.Read(0, 100, header);
    }();
    if (!isThere || !header.starts_with(kMagic)) return false;
    const std::size_t told = NumberAt(header, 16, 2);
    const std::size_t size = told == 1 ? 65536 : told;
    const std::size_t reserved = NumberAt(header, 20, 1);
    if (!IsPageSize(size) || size - reserved < 480 || NumberAt(header, 21, 3) != 0x402020)
        return false;
    if (!logged_.empty() && size != pageSize_) return false;
    pageSize_ = size;
    usable_ = size - reserved;
    return true;
}

// What of the log is whole, commit after commit.
void PageFile::ReadLog() {
    std::string header, frame;
    if (!log_.Read(0, kLogHeader, header)) return;
    const std::uint32_t mark = NumberAt(header, 0, 4);
    const std::size_t size = NumberAt(header, 8, 4);
    LogSums sums{.isBigEndian = mark == 0x377f0683};
    sums.Add(std::string_view(header).substr(0, 24));
    if ((mark | 1) != 0x377f0683 || !IsPageSize(size) || !sums.Stand(header, 24)) {
        if (header != std::string(kLogHeader, '\0'))
            faults_.push_back(
                "the beginning of the log is destroyed; what was in it alone is lost");
        return;
    }
    std::map<PageNumber, std::uint64_t> pending;
    std::uint64_t broken = 0, behind = 0;  // a page of the log, and how many commits are behind it
    std::uint64_t number = 1;
    for (std::uint64_t at = kLogHeader; log_.Read(at, kFrameHeader + size, frame);
         at += kFrameHeader + size, ++number) {
        const std::string_view bytes = frame;
        const PageNumber committed = NumberAt(bytes, 4, 4);
        const bool isOfThisLog = bytes.substr(8, 8) == std::string_view(header).substr(16, 8);
        sums.Add(bytes.substr(0, 8));
        sums.Add(bytes.substr(kFrameHeader));
        if (broken == 0 && !(isOfThisLog && sums.Stand(bytes, 16))) broken = number;
        if (broken != 0) {
            // What is left of an older log bears other marks.
            if (isOfThisLog && committed != 0 && number > broken) ++behind;
            continue;
        }
        pending[NumberAt(bytes, 0, 4)] = at + kFrameHeader;
        if (committed == 0) continue;
        loggedCount_ = committed;
        for (const auto& [page, place] : pending)
            logged_[page] = place;
        pending.clear();
    }
    if (behind > 0)
        faults_.push_back("the log is damaged at its page " + std::to_string(broken) +
                          "; what was committed there and behind it (" +
                          Counted(static_cast<std::int64_t>(behind), "commit") +
                          ") cannot be relied on, and is lost");
    if (!logged_.empty()) pageSize_ = usable_ = size;
}

// The smallest size at which pages begin as pages with rows do: larger ones see some of the same
// beginnings, smaller ones what is in between.
std::size_t PageFile::GuessedPageSize() const {
    constexpr std::uint64_t most = 1000;
    std::map<std::size_t, double> shares;
    double best = 0;
    for (std::size_t size = 512; size <= 65536; size *= 2) {
        std::string page;
        std::uint64_t good = 0, looked = 0;
        for (; looked < most && file_.Read(looked * size, size, page); ++looked)
            good += BeginsAsTree(page);
        if (looked == 0) continue;
        shares[size] = static_cast<double>(good) / static_cast<double>(looked);
        if (looked >= 4) best = std::max(best, shares[size]);
    }
    for (const auto& [size, share] : shares) {
        if (share > 0.7 * best) return size;
    }
    return 4096;
}

bool PageFile::Read(PageNumber number, std::string& page) const {
    if (number == 0 || number > count_) return false;
    if (const auto found = logged_.find(number); found != logged_.end())
        return log_.Read(found->second, pageSize_, page);
    return file_.Read(std::uint64_t{number - 1} * pageSize_, pageSize_, page);
}

}  // namespace mersola::tool
