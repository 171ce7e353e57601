// The pages of a SQLite file, read without SQLite, which gives up a damaged file too early.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace mersola::tool {

/// Pages are counted from 1.
using PageNumber = std::uint32_t;

/// The big-endian numbers of the format. The bytes must be there.
std::uint32_t NumberAt(std::string_view bytes, std::size_t at, std::size_t size);

/// A file as its last commit left it that is whole, together with its log. It is opened to be read
/// and nothing else; nobody may write to it meanwhile.
class PageFile {
  public:
    /// Raises Failure for a file that cannot be read, that other programs have open, or that needs
    /// its rollback journal. It must not be open elsewhere in this process, whose locks would go.
    explicit PageFile(const std::string& path);

    PageNumber Count() const { return count_; }
    /// How many bytes of a page hold anything.
    std::size_t Usable() const { return usable_; }

    /// False when the page is not there as a whole.
    bool Read(PageNumber number, std::string& page) const;

    struct FreeList {
        PageNumber first;
        PageNumber count;
    };
    /// Nothing when the header of the file is destroyed.
    const std::optional<FreeList>& Free() const { return free_; }

    /// What is wrong with the file as a whole and with its log, a line each.
    const std::vector<std::string>& Faults() const { return faults_; }

  private:
    class Bytes {
      public:
        /// A file that is not there is empty. Raises Failure for any other that cannot be read.
        explicit Bytes(const std::string& path);
        ~Bytes();
        Bytes(const Bytes&) = delete;
        Bytes& operator=(const Bytes&) = delete;

        bool Read(std::uint64_t at, std::size_t size, std::string& bytes) const;
        std::uint64_t Size() const { return size_; }
        bool IsLockedByOthers() const;

      private:
        std::string path_;
        int file_ = -1;
        std::uint64_t size_ = 0;
    };

    void ReadLog();
    std::size_t GuessedPageSize() const;
    bool ReadHeader();

    Bytes file_;
    Bytes log_;
    std::size_t pageSize_ = 0;
    std::size_t usable_ = 0;
    PageNumber count_ = 0;
    PageNumber loggedCount_ = 0;                  // by the last commit in the log
    std::map<PageNumber, std::uint64_t> logged_;  // where the log has pages
    std::optional<FreeList> free_;
    std::vector<std::string> faults_;
};

}  // namespace mersola::tool
