// Batches of rows for one table, sent as arrays of parameters.
#pragma once

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "odbc_connection.h"
#include "parameter.h"
#include "provider.h"

namespace mersola::odbc {

class TableWriter : public ado::TableWriter {
  public:
    /// `layout` is a statement that gives the table's columns and no rows. Raises when the
    /// database has no such table.
    TableWriter(std::shared_ptr<Connection> connection, std::string_view table,
                std::string_view layout);
    TableWriter(const TableWriter&) = delete;
    TableWriter& operator=(const TableWriter&) = delete;

    const std::vector<std::string>& Columns() const override { return columns_; }
    ado::BatchOutcome Write(std::span<const ado::Cell> cells) override;

  private:
    struct Reply {
        bool success = true;  // of every row that was sent
        std::vector<Diagnosis> diagnoses;
    };

    /// Makes ready for rows that have values in other columns than those before.
    void Prepare(std::span<const ado::Cell> cells);
    std::string Insert() const;
    std::size_t RowsOfChunk(std::span<const ado::Cell> cells) const;
    /// False when the batch has to begin anew, row by row.
    bool WriteArrays(std::span<const ado::Cell> cells, ado::BatchOutcome& outcome);
    /// Sends rows as one array. Tells how many of them need not be sent again; nothing when that
    /// is not known.
    std::optional<std::size_t> WriteArray(std::span<const ado::Cell> cells,
                                          ado::BatchOutcome& outcome);
    void WriteRows(std::span<const ado::Cell> cells, ado::BatchOutcome& outcome);
    void WriteRow(std::span<const ado::Cell> row, ado::BatchOutcome& outcome);
    Reply Send(std::span<const ado::Cell> cells);

    std::shared_ptr<Connection> connection_;
    std::string table_;
    std::vector<std::string> columns_;
    // The columns that have had a value. The others are left to the database, which may number
    // them by itself.
    std::vector<bool> used_;
    std::vector<std::size_t> written_;
    Statement insert_;
    std::vector<Parameter> parameters_;
    std::vector<SQLUSMALLINT> states_;  // what became of each row that was sent
    SQLULEN processed_ = 0;
    SQLULEN sent_ = 1;
    bool takesArrays_ = true;
};

}  // namespace mersola::odbc
