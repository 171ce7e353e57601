// The seam between ADO's objects and the engines: each provider implements these classes for its
// engine.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include <mersola/platform/com_error.h>

#include "cell.h"
#include "column_block.h"
#include "connection_string.h"

namespace mersola::ado {

/// The rows of one statement, read forward only. Destroying it ends the statement.
class RowSource {
  public:
    virtual ~RowSource() = default;
    virtual const std::vector<std::string>& Columns() const = 0;
    /// Moves to the next row, and at the first call to the first row. False when there is no more.
    virtual bool Next() = 0;
    /// A value of the current row. It is valid until the next call of Next.
    virtual Cell At(int column) const = 0;
    /// Moves past the rows of `block` and hands out the next ones; false when there is no more.
    /// Whoever reads blocks never calls Next. The first call takes an empty block, and each call
    /// the block of the call before, which is valid until then. Where rows come one by one, so do
    /// blocks.
    virtual bool NextBlock(ColumnBlock& block);
};

inline Cell Column::At(std::size_t row) const {
    if (form == Form::Asked) return static_cast<const RowSource*>(values)->At(position);
    return Held(row);
}

/// The result of a batch whose rows reached the engine.
struct BatchOutcome {
    std::size_t refused = 0;
    std::optional<_com_error> firstRefusal;
};

/// Adds rows to one table.
class TableWriter {
  public:
    virtual ~TableWriter() = default;
    virtual const std::vector<std::string>& Columns() const = 0;
    /// Stores rows, whose cells stand one after the other, in as few round trips as the engine
    /// allows, and in one transaction of its own unless one is open. A row that the engine refuses
    /// does not stop the others. When the batch as a whole fails, it raises, and nothing is stored.
    virtual BatchOutcome Write(std::span<const Cell> cells) = 0;
};

/// Values of one band in few numbers: those that are finite and whose status does not begin with
/// 'A'.
struct ValueSummary {
    std::int32_t first;  // period; all lie from this one to the next
    std::int32_t last;
    std::int32_t band;
    std::int32_t count;  // never 0
    double least;
    double greatest;
    double mean;
    double energyMean;  // 10 lg of the mean of 10^(value / 10)
};

/// Which values are to be summarised.
struct SummaryRequest {
    std::int32_t measValueId;
    std::int32_t channel;
    std::int32_t funcId;
    std::int32_t firstBand;
    std::int64_t endBand;
    std::span<const std::int64_t> edges;  // periods, ascending: steps lie from one to the next
};

/// Summaries that hold each of these values once, ascending by period as far as they do not
/// overlap. None has values on both sides of an edge.
class SummarySource {
  public:
    virtual ~SummarySource() = default;
    /// The next ones, valid until the next call. Empty behind the last.
    virtual std::span<const ValueSummary> Next() = 0;
};

/// An open database.
class ProviderSession {
  public:
    virtual ~ProviderSession() = default;
    /// Runs one statement. Returns null when it gives no rows. No other statement may run while the
    /// result is alive: the caller brings the earlier result into memory first.
    virtual std::unique_ptr<RowSource> Execute(std::string_view sql) = 0;
    virtual std::unique_ptr<TableWriter> OpenTable(std::string_view table) = 0;
    /// Summarises values where the engine has summaries beside them; null where it has none, and
    /// where the values have to be read. What holds for the result of Execute holds for this one.
    virtual std::unique_ptr<SummarySource> Summarise(const SummaryRequest& /*request*/) {
        return nullptr;
    }
    virtual void Begin() = 0;
    virtual void Commit() = 0;
    virtual void Rollback() = 0;
    /// The engine's own name, such as "SQLite" or "Microsoft SQL Server".
    virtual std::string DbmsName() const = 0;
};

struct OpenRequest {
    const ConnectionString& properties;
    std::string user;
    std::string password;
    long connectionTimeout = 15;  // in seconds; 0 waits without end
    long commandTimeout = 30;
};

class Provider {
  public:
    virtual ~Provider() = default;
    virtual std::unique_ptr<ProviderSession> Open(const OpenRequest& request) = 0;
};

/// Makes a provider known under a name, which connection strings give without regard to case. The
/// provider of the empty name serves the strings that give none. An earlier provider of that name
/// is replaced.
void RegisterProvider(const std::string& name, std::shared_ptr<Provider> provider);

/// Registers the providers that the library is built with. It is defined in src/providers/.
void RegisterBuiltinProviders();

}  // namespace mersola::ado
