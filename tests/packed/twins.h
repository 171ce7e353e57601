// Two databases that are to be the same: one of rows, one packed. Each statement runs on both.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <sqlite3.h>

#include "support/temporary_folder.h"

namespace mersola::test {

class Twins {
  public:
    static constexpr int kConnections = 3;

    explicit Twins(const std::string& arguments = "");
    ~Twins();
    Twins(const Twins&) = delete;
    Twins& operator=(const Twins&) = delete;

    /// Runs a statement on both by one of the connections. Returns in which they differ: the code,
    /// the words, the number of changes or the rows, bit for bit; empty when in nothing.
    std::string Run(int connection, const std::string& sql);
    /// Begins to read what is stored, in the order of the key, and reads on by a few rows.
    std::string ReadOn(int connection, int rows);
    void StopReading(int connection);
    /// Takes a step on the way from blocks to rows or back, beside all others, unless somebody
    /// holds the packed database. Returns what went wrong.
    std::string Convert(int connection);
    /// Closes both handles of a connection, as they are, and opens new ones.
    void Reopen(int connection);

    sqlite3* Packed(int connection) const { return sides_[1].handles[connection]; }
    sqlite3* Rows(int connection) const { return sides_[0].handles[connection]; }
    std::string Path(bool isPacked) const { return sides_[isPacked ? 1 : 0].path; }

  private:
    struct Side {
        std::string path;
        sqlite3* handles[kConnections]{};
        sqlite3_stmt* readers[kConnections]{};
    };

    enum class Stage { Packed, Unpacking, Packing };

    TemporaryFolder folder_;
    Side sides_[2];
    Stage stage_ = Stage::Packed;
    std::string arguments_;
};

}  // namespace mersola::test
