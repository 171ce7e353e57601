// Writes batches of rows into one table.
#pragma once

#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include <sqlite3.h>

#include "ado/provider.h"
#include "callers_transaction.h"
#include "packed_values.h"
#include "statement_cache.h"

namespace mersola::sqlite {

class TableWriter : public ado::TableWriter {
  public:
    /// Raises when the database has no such table. `values` stores what goes to a packed one.
    TableWriter(sqlite3* db, std::string_view table, std::shared_ptr<PackedValues> values,
                const CallersTransaction& transaction);

    const std::vector<std::string>& Columns() const override { return columns_; }
    ado::BatchOutcome Write(std::span<const ado::Cell> cells) override;

  private:
    ado::BatchOutcome InsertRows(std::span<const ado::Cell> cells);
    int Insert(std::span<const ado::Cell> row);
    void PrepareInsert();

    sqlite3* db_;
    const CallersTransaction& transaction_;
    std::string name_;                      // quoted
    std::shared_ptr<PackedValues> values_;  // null where the table is another one
    std::vector<std::string> columns_;
    Statement insert_;  // null until a row needs it
};

}  // namespace mersola::sqlite
