// A database as it was at one moment.
#pragma once

#include <memory>
#include <optional>

#include <mersola/mersola.h>

#include "open_database.h"

namespace mersola::tool {

/// Reads without changing anything: in a SQLite file always what was there at first, on a server
/// also what arrives meanwhile. Raises Failure when it cannot be connected to.
class Snapshot {
  public:
    explicit Snapshot(const Database& database);
    ~Snapshot();
    Snapshot(const Snapshot&) = delete;
    Snapshot& operator=(const Snapshot&) = delete;

    Mersola& Store() { return *store_; }

    /// Whether a SQLite file was in use before, or had been when a program was killed.
    bool WasInUse() const { return hadLog_; }

    /// From here on the store reads what is there now.
    void End() { transaction_.reset(); }

  private:
    bool HasLog() const;

    Database database_;
    bool hadLog_;
    std::unique_ptr<Mersola> store_;
    std::optional<Transaction> transaction_;
};

}  // namespace mersola::tool
