// Writes batches of rows into one table, as arrays of parameters.
#pragma once

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "ado/provider.h"
#include "connection.h"
#include "table_cache.h"

namespace mersola::odbc {

class TableWriter : public ado::TableWriter {
  public:
    TableWriter(std::shared_ptr<Connection> connection, std::shared_ptr<KnownTable> table);
    TableWriter(const TableWriter&) = delete;
    TableWriter& operator=(const TableWriter&) = delete;

    const std::vector<std::string>& Columns() const override { return table_->Columns(); }
    ado::BatchOutcome Write(std::span<const ado::Cell> cells) override;

  private:
    /// Gets the INSERT for these rows, which may have values in other columns than the rows before.
    void Prepare(std::span<const ado::Cell> cells);
    ado::BatchOutcome WriteAll(std::span<const ado::Cell> cells);
    std::size_t RowsOfChunk(std::span<const ado::Cell> cells) const;
    /// Sends all rows as arrays. False when the batch must begin anew, row by row.
    bool WriteArrays(std::span<const ado::Cell> cells, ado::BatchOutcome& outcome);
    /// Sends rows as one array. Returns how many of them need not be sent again, or nothing when
    /// that is not known.
    std::optional<std::size_t> WriteArray(std::span<const ado::Cell> cells,
                                          ado::BatchOutcome& outcome);
    void WriteRows(std::span<const ado::Cell> cells, ado::BatchOutcome& outcome);
    void WriteRow(std::span<const ado::Cell> row, ado::BatchOutcome& outcome);

    std::shared_ptr<Connection> connection_;
    std::shared_ptr<KnownTable> table_;
    // The columns that have had a value. The database fills the others, which it may number by
    // itself.
    std::vector<bool> used_;
    std::shared_ptr<ArrayInsert> insert_;
    bool takesArrays_ = true;
};

}  // namespace mersola::odbc
