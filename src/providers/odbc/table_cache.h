// What a connection has learned of the tables that it wrote into, so that the next batch neither
// asks nor prepares: a recorder that opens a batch each period would wait for that each time.
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
    /// The INSERT into the used columns, prepared unless it is still.
    std::shared_ptr<ArrayInsert> Insert(const std::vector<bool>& used);
    /// Gives up what is too large to be kept for the next batch.
    void Release(const std::shared_ptr<ArrayInsert>& insert);
    /// The table is to be asked anew: it may have changed.
    void Doubt() { doubted_ = true; }
    bool IsDoubted() const { return doubted_; }

  private:
    std::shared_ptr<const Connection> connection_;
    std::string name_;
    std::vector<std::string> columns_;
    std::list<std::shared_ptr<ArrayInsert>> inserts_;  // used last in front
    bool doubted_ = false;
};

class TableCache {
  public:
    explicit TableCache(std::shared_ptr<const Connection> connection)
        : connection_(std::move(connection)) {}

    /// Null for a table that is not known.
    std::shared_ptr<KnownTable> Find(std::string_view name) const;
    /// `layout` is a statement that gives the table's columns and no rows. Raises when the
    /// database has no such table.
    std::shared_ptr<KnownTable> Add(std::string_view name, std::string_view layout);
    void Clear() { tables_.clear(); }

  private:
    std::shared_ptr<const Connection> connection_;
    std::map<std::string, std::shared_ptr<KnownTable>, std::less<>> tables_;
};

}  // namespace mersola::odbc
