// Writes batches of rows into one table.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include <sqlite3.h>

#include "ado/provider.h"
#include "statement_cache.h"

namespace mersola::sqlite {

class TableWriter : public ado::TableWriter {
  public:
    /// Raises when the database has no such table.
    TableWriter(sqlite3* db, std::string_view table);

    const std::vector<std::string>& Columns() const override { return columns_; }
    ado::BatchOutcome Write(std::span<const ado::Cell> cells) override;

  private:
    ado::BatchOutcome InsertRows(std::span<const ado::Cell> cells);
    int Insert(std::span<const ado::Cell> row);

    sqlite3* db_;
    std::vector<std::string> columns_;
    Statement insert_;
};

}  // namespace mersola::sqlite
