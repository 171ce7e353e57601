// Writes batches of rows into one table.
#pragma once

#include <memory>
#include <span>
#include <string>
#include <vector>

#include "ado/provider.h"
#include "connection.h"
#include "table_cache.h"

namespace mersola::postgresql {

class TableWriter : public ado::TableWriter {
  public:
    TableWriter(std::shared_ptr<Connection> connection, std::shared_ptr<KnownTable> table)
        : connection_(std::move(connection)), table_(std::move(table)) {}

    const std::vector<std::string>& Columns() const override { return table_->Names(); }
    ado::BatchOutcome Write(std::span<const ado::Cell> cells) override;

  private:
    /// Writes rows as one statement. False when it was refused, and nothing is stored, because of
    /// what some of the rows hold.
    bool WriteTogether(std::span<const ado::Cell> cells, ado::BatchOutcome& outcome);
    /// Writes rows together, or where that is refused, by halves.
    void WriteHalves(std::span<const ado::Cell> cells, ado::BatchOutcome& outcome);
    std::size_t RowsOfChunk(std::span<const ado::Cell> cells) const;

    std::shared_ptr<Connection> connection_;
    std::shared_ptr<KnownTable> table_;
};

}  // namespace mersola::postgresql
