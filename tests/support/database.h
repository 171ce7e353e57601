// Databases for tests: laid out, empty, and gone with the test.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include <mersola/mersola.h>

namespace mersola::test {

/// A folder of its own, removed with all it holds.
class TemporaryFolder {
  public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    std::filesystem::path operator/(const std::string& name) const { return path_ / name; }

  private:
    std::filesystem::path path_;
};

/// A laid-out database of one engine.
class Database {
  public:
    explicit Database(const std::string& engine);

    /// The connection string, `extra` appended.
    std::string ConnectString(const std::string& extra = "") const;
    /// The same database, watched: see watched_provider.h.
    std::string WatchedString() const;
    std::string Path() const { return (folder_ / "test.db").string(); }
    /// Runs statements on a connection of its own.
    void Run(const std::vector<std::string>& statements) const;
    /// The first field of a statement's first row, as text; empty without one.
    std::string Ask(const std::string& statement) const;

  private:
    TemporaryFolder folder_;
};

/// The engines that the contract is tested on.
std::vector<std::string> Engines();

/// Catches what AfxMessageBox shows while it lives.
class ShownMessages {
  public:
    ShownMessages();
    ~ShownMessages();
    ShownMessages(const ShownMessages&) = delete;
    ShownMessages& operator=(const ShownMessages&) = delete;

    std::vector<std::string> texts;

  private:
    MessageBoxHandler before_;
};

}  // namespace mersola::test
