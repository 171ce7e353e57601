// A batch is one transaction. Drivers differ in what they do with an array of which a row is
// refused: some go on, some stop there, and not all tell which rows they stored.
#include "odbc_table_writer.h"

#include <algorithm>
#include <optional>

namespace mersola::odbc {
namespace {

using ado::Cell;

constexpr std::size_t kRowsOfTrip = 1000;
constexpr std::size_t kTextBytesOfTrip = std::size_t{16} << 20;
constexpr SQLUSMALLINT kUntold = 0xFFFF;

std::string Quoted(std::string_view name) {
    std::string quoted = "[";
    for (const char c : name) {
        quoted += c;
        if (c == ']') quoted += c;
    }
    return quoted + ']';
}

// Undoes what was not committed. Inside the caller's transaction that is a savepoint where the
// source is SQLite; on a server it stays with the caller, whose rollback undoes it.
class BatchTransaction {
  public:
    explicit BatchTransaction(Connection& connection)
        : connection_(connection), nested_(connection.InTransaction()) {
        if (!nested_) {
            connection_.Begin();
        } else if (connection_.IsSqlite()) {
            connection_.Run("SAVEPOINT batch");
        }
    }
    ~BatchTransaction() {
        if (done_ || !connection_.IsOpen()) return;
        try {
            if (!nested_) {
                connection_.Rollback();
            } else if (connection_.IsSqlite()) {
                connection_.Run("ROLLBACK TO batch");
                connection_.Run("RELEASE batch");
            }
        } catch (const _com_error&) {
            // What made the batch fail is what the caller hears of.
        }
    }
    BatchTransaction(const BatchTransaction&) = delete;
    BatchTransaction& operator=(const BatchTransaction&) = delete;

    /// Undoes what was done, and begins anew. Only where the source is SQLite.
    void Restart() {
        if (nested_) {
            connection_.Run("ROLLBACK TO batch");
        } else {
            connection_.Rollback();
            connection_.Begin();
        }
    }
    void Commit() {
        if (!nested_) {
            connection_.Commit();
        } else if (connection_.IsSqlite()) {
            connection_.Run("RELEASE batch");
        }
        done_ = true;
    }

  private:
    Connection& connection_;
    bool nested_;
    bool done_ = false;
};

void RaiseUnlessRefused(const std::vector<Diagnosis>& diagnoses) {
    for (const Diagnosis& diagnosis : diagnoses) {
        if (!diagnosis.IsWarning() && !diagnosis.IsRefusal()) throw diagnosis.Translated();
    }
}

void CountRefusal(const std::vector<Diagnosis>& diagnoses, ado::BatchOutcome& outcome) {
    if (outcome.refused++ == 0 && !diagnoses.empty())
        outcome.firstRefusal = diagnoses.front().Translated();
}

}  // namespace

TableWriter::TableWriter(std::shared_ptr<Connection> connection, std::string_view table,
                         std::string_view layout)
    : connection_(std::move(connection)),
      table_(table),
      insert_(connection_),
      states_(kRowsOfTrip) {
    const Statement probe(connection_);
    probe.Execute(layout);
    const auto count = static_cast<SQLUSMALLINT>(probe.ColumnCount());
    for (SQLUSMALLINT number = 1; number <= count; ++number)
        columns_.push_back(probe.ColumnName(number));
    used_.resize(count);
    insert_.Point(SQL_ATTR_PARAM_STATUS_PTR, states_.data());
    insert_.Point(SQL_ATTR_PARAMS_PROCESSED_PTR, &processed_);
}

void TableWriter::Prepare(std::span<const Cell> cells) {
    std::vector<bool> used = used_;
    for (std::size_t i = 0; i < cells.size(); ++i) {
        if (cells[i].kind != ado::CellKind::Null) used[i % columns_.size()] = true;
    }
    if (std::ranges::find(used, true) == used.end()) used.flip();
    if (used == used_) return;
    used_.assign(columns_.size(), false);  // until it is prepared
    written_.clear();
    for (std::size_t i = 0; i < columns_.size(); ++i) {
        if (used[i]) written_.push_back(i);
    }
    parameters_.assign(written_.size(), Parameter());
    SQLFreeStmt(insert_.Get(), SQL_RESET_PARAMS);
    insert_.Prepare(Insert());
    used_ = std::move(used);
}

std::string TableWriter::Insert() const {
    std::string names;
    std::string marks;
    for (const std::size_t column : written_) {
        if (!names.empty()) {
            names += ',';
            marks += ',';
        }
        names += Quoted(columns_[column]);
        marks += '?';
    }
    return "INSERT INTO " + table_ + "(" + names + ") VALUES (" + marks + ")";
}

ado::BatchOutcome TableWriter::Write(std::span<const Cell> cells) {
    if (!connection_->IsOpen()) throw _com_error(E_FAIL, "The connection was lost", kSource);
    Prepare(cells);
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
    const std::size_t width = columns_.size();
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
    for (; !cells.empty(); cells = cells.subspan(columns_.size()))
        WriteRow(cells.first(columns_.size()), outcome);
}

std::size_t TableWriter::RowsOfChunk(std::span<const Cell> cells) const {
    const auto chunk = cells.first(std::min(cells.size(), kRowsOfTrip * columns_.size()));
    std::size_t longest = 1;
    for (const Cell& cell : chunk) {
        if (cell.kind == ado::CellKind::Text) longest = std::max<std::size_t>(longest, cell.length);
    }
    return std::clamp<std::size_t>(kTextBytesOfTrip / longest, 1, chunk.size() / columns_.size());
}

std::optional<std::size_t> TableWriter::WriteArray(std::span<const Cell> cells,
                                                   ado::BatchOutcome& outcome) {
    const std::size_t rows = cells.size() / columns_.size();
    if (sent_ != rows && !insert_.Set(SQL_ATTR_PARAMSET_SIZE, rows)) {
        takesArrays_ = false;
        return 0;
    }
    sent_ = rows;
    const Reply reply = Send(cells);
    RaiseUnlessRefused(reply.diagnoses);
    // SQLite's driver stops at the first row that is refused, and does not tell at which.
    if (connection_->IsSqlite()) return reply.success ? std::optional(rows) : std::nullopt;
    if (processed_ == 0) {
        if (reply.success) return rows;
        throw reply.diagnoses.front().Translated();
    }
    const auto told = std::span(states_).first(std::min<std::size_t>(processed_, rows));
    if (!reply.success && std::ranges::any_of(told, [](SQLUSMALLINT state) {
            return state == kUntold || state == SQL_PARAM_DIAG_UNAVAILABLE;
        })) {
        throw _com_error(E_FAIL, "The driver does not tell which rows of the batch were stored",
                         kSource);
    }
    for (const SQLUSMALLINT state : told) {
        if (state == SQL_PARAM_ERROR) CountRefusal(reply.diagnoses, outcome);
    }
    // Where the driver stopped, or used none of the rest, it is sent again.
    const auto unused = std::ranges::find(told, SQLUSMALLINT{SQL_PARAM_UNUSED});
    return static_cast<std::size_t>(unused - told.begin());
}

void TableWriter::WriteRow(std::span<const Cell> row, ado::BatchOutcome& outcome) {
    if (sent_ != 1) insert_.Set(SQL_ATTR_PARAMSET_SIZE, sent_ = 1);
    const Reply reply = Send(row);
    RaiseUnlessRefused(reply.diagnoses);
    if (!reply.success) CountRefusal(reply.diagnoses, outcome);
}

TableWriter::Reply TableWriter::Send(std::span<const Cell> cells) {
    for (std::size_t i = 0; i < parameters_.size(); ++i) {
        parameters_[i].Take(cells, written_[i], columns_.size(), connection_->IsSqlite());
        parameters_[i].Bind(insert_, static_cast<SQLUSMALLINT>(i + 1));
    }
    std::ranges::fill(states_, kUntold);
    processed_ = 0;
    Reply reply;
    // An array may answer with a result for each of its rows.
    for (SQLRETURN code = SQLExecute(insert_.Get());; code = SQLMoreResults(insert_.Get())) {
        if (code != SQL_SUCCESS && code != SQL_NO_DATA) {
            for (Diagnosis& diagnosis : insert_.DiagnosesNow()) {
                reply.success &= diagnosis.IsWarning();
                reply.diagnoses.push_back(std::move(diagnosis));
            }
            if (!SQL_SUCCEEDED(code)) reply.success = false;
        }
        if (!SQL_SUCCEEDED(code)) break;
    }
    SQLFreeStmt(insert_.Get(), SQL_CLOSE);
    return reply;
}

}  // namespace mersola::odbc
