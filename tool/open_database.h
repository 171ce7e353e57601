// Sessions on database files.
#pragma once

#include <memory>
#include <string>

#include <mersola/mersola.h>

namespace mersola::tool {

enum class Access { Read, Write };

/// Connects to a SQLite file, laid out or not. With Access::Read the file is not changed in any
/// way. Raises Failure.
std::unique_ptr<Mersola> Connect(const std::string& path, Access access);

/// Raises Failure when there is no such file.
void RequireThere(const std::string& path);

/// Connects to a database that is laid out. With Access::Read a write-protected one will do.
std::unique_ptr<Mersola> OpenDatabase(const std::string& path, Access access);

/// What the connection had to say about its last failure, in brackets and behind a blank; empty if
/// it never failed.
std::string LastError(const Mersola& store);

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
