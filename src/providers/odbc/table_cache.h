// What a connection has learned about the tables that it wrote into. With it, the next batch
// neither asks nor prepares: a recorder that opens a batch for each period would otherwise wait for
// that each time.
#pragma once

#include <list>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "array_insert.h"

namespace mersola::odbc {

class KnownTable {
  public:
    KnownTable(std::shared_ptr<const Connection> connection, std::string_view name,
               std::vector<std::string> columns)
        : connection_(std::move(connection)), name_(name), columns_(std::move(columns)) {}

    const std::vector<std::string>& Columns() const { return columns_; }
    /// The INSERT into the used columns. It is prepared here unless it already is.
    std::shared_ptr<ArrayInsert> Insert(const std::vector<bool>& used);
    /// Gives up the INSERT if it is too large to be kept for the next batch.
    void Release(const std::shared_ptr<ArrayInsert>& insert);
    /// Says that the table may have changed, so that it is asked for its columns again.
    void Doubt() { doubted_ = true; }
    bool IsDoubted() const { return doubted_; }

  private:
    std::shared_ptr<const Connection> connection_;
    std::string name_;
    std::vector<std::string> columns_;
    std::list<std::shared_ptr<ArrayInsert>> inserts_;  // the one that was used last is in front
    bool doubted_ = false;
};

class TableCache {
  public:
    explicit TableCache(std::shared_ptr<const Connection> connection)
        : connection_(std::move(connection)) {}

    /// The table of that name, or null when it is not known.
    std::shared_ptr<KnownTable> Find(std::string_view name) const;
    /// Adds a table. `layout` is a statement that gives the table's columns and no rows. Raises
    /// when the database has no such table.
    std::shared_ptr<KnownTable> Add(std::string_view name, std::string_view layout);
    void Clear() { tables_.clear(); }

  private:
    std::shared_ptr<const Connection> connection_;
    std::map<std::string, std::shared_ptr<KnownTable>, std::less<>> tables_;
};

}  // namespace mersola::odbc
