// A batch is one transaction. Drivers differ in what they do with an array in which a row is
// refused: some go on, some stop there, and not all report which rows they stored.
#include "table_writer.h"

#include <algorithm>
#include <optional>

namespace mersola::odbc {
namespace {

using ado::Cell;

// A batch in progress. Its end undoes what was not committed. Inside the caller's transaction it is
// a savepoint where the engine has one. Elsewhere, the caller's rollback undoes it.
class BatchTransaction {
  public:
    explicit BatchTransaction(Connection& connection)
        : connection_(connection),
          savepoint_(connection.EngineOf().savepoint),
          nested_(connection.InTransaction()) {
        if (!nested_) {
            connection_.Begin();
        } else if (savepoint_) {
            connection_.Run(savepoint_->set);
        }
    }
    ~BatchTransaction() {
        if (done_ || !connection_.IsOpen()) return;
        try {
            if (!nested_) {
                connection_.Rollback();
            } else if (savepoint_) {
                connection_.Run(savepoint_->goBack);
                connection_.Run(savepoint_->release);
            }
        } catch (const _com_error&) {
            // The caller hears of the error that made the batch fail.
        }
    }
    BatchTransaction(const BatchTransaction&) = delete;
    BatchTransaction& operator=(const BatchTransaction&) = delete;

    /// Undoes what was done, and begins anew. Only where there are savepoints.
    void Restart() {
        if (nested_) {
            connection_.Run(savepoint_->goBack);
        } else {
            connection_.Rollback();
            connection_.Begin();
        }
    }
    void Commit() {
        if (!nested_) {
            connection_.Commit();
        } else if (savepoint_) {
            connection_.Run(savepoint_->release);
        }
        done_ = true;
    }

  private:
    Connection& connection_;
    const Savepoint* savepoint_;
    bool nested_;
    bool done_ = false;
};

void RaiseUnlessRefused(const std::vector<Diagnosis>& diagnoses) {
    for (const Diagnosis& diagnosis : diagnoses) {
        if (!diagnosis.IsWarning() && !IsRefusal(diagnosis.About())) throw diagnosis.Translated();
    }
}

void CountRefusal(const std::vector<Diagnosis>& diagnoses, ado::BatchOutcome& outcome) {
    if (outcome.refused++ == 0 && !diagnoses.empty())
        outcome.firstRefusal = diagnoses.front().Translated();
}

}  // namespace

TableWriter::TableWriter(std::shared_ptr<Connection> connection, std::shared_ptr<KnownTable> table)
    : connection_(std::move(connection)),
      table_(std::move(table)),
      used_(table_->Columns().size()) {}

void TableWriter::Prepare(std::span<const Cell> cells) {
    std::vector<bool> used = used_;
    for (std::size_t i = 0; i < cells.size(); ++i) {
        if (cells[i].kind != ado::CellKind::Null) used[i % used.size()] = true;
    }
    if (std::ranges::find(used, true) == used.end()) used.flip();
    if (insert_ && used == used_) return;
    insert_ = table_->Insert(used);
    used_ = std::move(used);
}

ado::BatchOutcome TableWriter::Write(std::span<const Cell> cells) try {
    if (!connection_->IsOpen()) throw _com_error(E_FAIL, "The connection was lost", kSource);
    Prepare(cells);
    const ado::BatchOutcome outcome = WriteAll(cells);
    if (outcome.refused > 0) table_->Doubt();
    table_->Release(insert_);
    return outcome;
} catch (...) {
    table_->Doubt();
    insert_.reset();
    throw;
}

ado::BatchOutcome TableWriter::WriteAll(std::span<const Cell> cells) {
    BatchTransaction transaction(*connection_);
    ado::BatchOutcome outcome;
    if (!WriteArrays(cells, outcome)) {
        transaction.Restart();
        outcome = {};
        WriteRows(cells, outcome);
    }
    transaction.Commit();
    return outcome;
}

bool TableWriter::WriteArrays(std::span<const Cell> cells, ado::BatchOutcome& outcome) {
    const std::size_t width = used_.size();
    while (!cells.empty()) {
        const auto chunk = cells.first(RowsOfChunk(cells) * width);
        const std::optional<std::size_t> stored =
            takesArrays_ && chunk.size() > width ? WriteArray(chunk, outcome) : 0;
        if (!stored) return false;
        WriteRows(chunk.subspan(*stored * width), outcome);
        cells = cells.subspan(chunk.size());
    }
    return true;
}

void TableWriter::WriteRows(std::span<const Cell> cells, ado::BatchOutcome& outcome) {
    for (; !cells.empty(); cells = cells.subspan(used_.size()))
        WriteRow(cells.first(used_.size()), outcome);
}

std::size_t TableWriter::RowsOfChunk(std::span<const Cell> cells) const {
    const Arrays& arrays = connection_->EngineOf().arrays;
    const auto chunk = cells.first(std::min(cells.size(), arrays.mostRows * used_.size()));
    std::size_t longest = 1;
    for (const Cell& cell : chunk) {
        if (cell.kind == ado::CellKind::Text) longest = std::max<std::size_t>(longest, cell.length);
    }
    return std::clamp<std::size_t>(arrays.mostTextBytes / longest, 1, chunk.size() / used_.size());
}

std::optional<std::size_t> TableWriter::WriteArray(std::span<const Cell> cells,
                                                   ado::BatchOutcome& outcome) {
    const std::size_t rows = cells.size() / used_.size();
    if (!insert_->Expect(rows)) {
        takesArrays_ = false;
        return 0;
    }
    const ArrayInsert::Reply reply = insert_->Send(cells);
    RaiseUnlessRefused(reply.diagnoses);
    if (!connection_->EngineOf().arrays.tellsRows)
        return reply.success ? std::optional(rows) : std::nullopt;
    if (reply.states.empty()) {
        if (reply.success) return rows;
        throw reply.diagnoses.front().Translated();
    }
    if (!reply.success && std::ranges::any_of(reply.states, [](SQLUSMALLINT state) {
            return state == ArrayInsert::kUntold || state == SQL_PARAM_DIAG_UNAVAILABLE;
        })) {
        throw _com_error(E_FAIL, "The driver does not tell which rows of the batch were stored",
                         kSource);
    }
    for (const SQLUSMALLINT state : reply.states) {
        if (state == SQL_PARAM_ERROR) CountRefusal(reply.diagnoses, outcome);
    }
    // The rows from which the driver stopped, or which it did not use, are sent again.
    const auto unused = std::ranges::find(reply.states, SQLUSMALLINT{SQL_PARAM_UNUSED});
    return static_cast<std::size_t>(unused - reply.states.begin());
}

void TableWriter::WriteRow(std::span<const Cell> row, ado::BatchOutcome& outcome) {
    insert_->Expect(1);
    const ArrayInsert::Reply reply = insert_->Send(row);
    RaiseUnlessRefused(reply.diagnoses);
    if (!reply.success) CountRefusal(reply.diagnoses, outcome);
}

}  // namespace mersola::odbc
