// Sessions on databases: SQLite files, and what a connection string leads to.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include <mersola/mersola.h>

#include "database_argument.h"
#include "engines/engine.h"

namespace mersola::tool {

enum class Access { Read, Write };

/// A database that a command works on, with what it takes to log in.
class Database {
  public:
    /// Reads the password from its file or asks for it, where a user logs in to anything but a
    /// SQLite file and the connection string holds none; for PostgreSQL only when the server wants
    /// one. Raises Failure. Implicit, so that commands hand over what they were given.
    Database(const DatabaseArgument& argument);

    /// As it was given, without the password.
    const std::string& Text() const { return text_; }
    /// The text, fit for a line on a terminal, between quotes.
    std::string Name() const;

    /// A SQLite file that is opened as such.
    bool IsFile() const { return isFile_; }
    const std::string& File() const { return file_; }

    /// This database, with its SQLite file in another place; it keeps its name.
    Database At(const std::string& file) const;

    /// Connects, whether it is laid out or not. With Access::Read a SQLite file is not changed in
    /// any way. Raises Failure, also for an engine that is not known.
    std::unique_ptr<Mersola> Connect(Access access) const;

    /// Raises Failure for a SQLite file that is not there.
    void RequireThere() const;

  private:
    void Ask() const;

    std::string text_;
    std::string connectString_;
    std::optional<long> timeout_;
    bool isFile_ = false;
    std::string file_;
    std::string user_;
    mutable std::string password_;  // may be asked for late
};

/// Connects to a database that is laid out. With Access::Read a write-protected one will do, and a
/// file stays as it is.
std::unique_ptr<Mersola> OpenDatabase(const Database& database, Access access);

/// The engine of a connected database. Raises Failure where that is not known.
const Engine& EngineOf(const Mersola& store);

/// What the connection had to say about its last failure, in brackets and behind a blank; empty if
/// it never failed.
std::string LastError(const Mersola& store);

/// Whether the engine's words tell of a file that is damaged.
bool IsDamage(std::string_view words);

/// What to do when the database refused with these words.
std::string AdviceOn(std::string_view words);

/// What a line ends with that says what could not be read: what the connection had to say, and what
/// to do.
std::string WhyUnread(const Mersola& store);

/// Rolls back at its end unless it was committed.
class Transaction {
  public:
    explicit Transaction(Mersola& store) : store_(store) { store_.BeginTrans(); }
    ~Transaction();
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;

    void Commit();

  private:
    Mersola& store_;
    bool open_ = true;
};

}  // namespace mersola::tool
