// A batch is one statement, which leaves out what is stored already. Where rows are refused for
// something else, it is a transaction in which the others are found by halving.
#include "table_writer.h"

#include <algorithm>

#include "engines/postgresql.h"

namespace mersola::postgresql {
namespace {

using ado::Cell;

// A batch in several statements. Its end undoes what was not committed. Inside the caller's
// transaction it is a savepoint.
class BatchTransaction {
  public:
    explicit BatchTransaction(Connection& connection)
        : connection_(connection), nested_(connection.InTransaction()) {
        connection_.Run(nested_ ? kSavepoint.set : "BEGIN");
    }
    ~BatchTransaction() {
        if (done_ || !connection_.IsOpen()) return;
        try {
            connection_.Run(nested_ ? kSavepoint.goBack : "ROLLBACK");
            if (nested_) connection_.Run(kSavepoint.release);
        } catch (const _com_error&) {
            // The caller hears of the error that made the batch fail.
        }
    }
    BatchTransaction(const BatchTransaction&) = delete;
    BatchTransaction& operator=(const BatchTransaction&) = delete;

    void Commit() {
        connection_.Run(nested_ ? kSavepoint.release : "COMMIT");
        done_ = true;
    }

  private:
    Connection& connection_;
    bool nested_;
    bool done_ = false;
};

void Count(std::size_t refused, const _com_error& error, ado::BatchOutcome& outcome) {
    outcome.refused += refused;
    if (!outcome.firstRefusal) outcome.firstRefusal = error;
}

}  // namespace

ado::BatchOutcome TableWriter::Write(std::span<const Cell> cells) try {
    ado::BatchOutcome outcome;
    const std::size_t width = Columns().size();
    if (RowsOfChunk(cells) * width >= cells.size() && WriteTogether(cells, outcome)) return outcome;
    outcome = {};
    BatchTransaction transaction(*connection_);
    while (!cells.empty()) {
        const auto chunk = cells.first(std::min(RowsOfChunk(cells) * width, cells.size()));
        WriteHalves(chunk, outcome);
        cells = cells.subspan(chunk.size());
    }
    transaction.Commit();
    return outcome;
} catch (...) {
    table_->Doubt();
    throw;
}

std::size_t TableWriter::RowsOfChunk(std::span<const Cell> cells) const {
    constexpr std::size_t kMostRows = 10'000;
    constexpr std::size_t kMostTextBytes = std::size_t{16} << 20;
    std::size_t longest = 1;
    for (const Cell& cell : cells) {
        if (cell.kind == ado::CellKind::Text) longest = std::max<std::size_t>(longest, cell.length);
    }
    return std::clamp<std::size_t>(kMostTextBytes / longest, 1, kMostRows);
}

void TableWriter::WriteHalves(std::span<const Cell> cells, ado::BatchOutcome& outcome) {
    if (WriteTogether(cells, outcome)) return;
    const std::size_t width = Columns().size();
    const auto half = cells.size() / width / 2 * width;
    WriteHalves(cells.first(half), outcome);
    WriteHalves(cells.subspan(half), outcome);
}

bool TableWriter::WriteTogether(std::span<const Cell> cells, ado::BatchOutcome& outcome) {
    const std::size_t width = Columns().size();
    const std::size_t rows = cells.size() / width;
    // The database fills the columns without a value, which it may number by itself.
    std::vector<bool> used(width);
    for (std::size_t i = 0; i < cells.size(); ++i) {
        if (cells[i].kind != ado::CellKind::Null) used[i % width] = true;
    }
    if (std::ranges::find(used, true) == used.end()) used.flip();
    std::vector<Form> forms;
    for (std::size_t column = 0; column < width; ++column) {
        if (used[column]) forms.push_back(Parameters::FormOf(cells, column, width));
    }
    ArrayInsert& insert = table_->Insert(std::move(used), std::move(forms));
    try {
        const std::size_t stored = insert.Send(*connection_, cells);
        if (stored < rows) {
            const std::string words =
                "duplicate key value violates unique constraint: " + std::to_string(rows - stored) +
                " of " + std::to_string(rows) + " rows are stored already";
            Count(rows - stored, Failure{"23505", words}.Translated(), outcome);
        }
        return true;
    } catch (const _com_error& error) {
        if (!connection_->IsOpen() || !IsRefusal(Failure{connection_->LastState(), {}}.About()))
            throw;
        if (rows > 1) return false;
        Count(1, error, outcome);
        return true;
    }
}

}  // namespace mersola::postgresql
