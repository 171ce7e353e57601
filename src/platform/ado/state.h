// What connections and recordsets hold behind their public interface.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include <mersola/platform/ado.h>

#include "provider.h"
#include "row_block.h"

namespace mersola::ado {

struct ConnectionState {
    long connectionTimeout = 15;  // ADO's defaults, in seconds
    long commandTimeout = 30;
    bool inTransaction = false;
    std::unique_ptr<ProviderSession> session;  // null while closed
    RecordsetState* streaming = nullptr;       // the only result that still reads from the engine
    std::vector<AdoError> errors;
    RowBlock spare;  // the memory of the last batch, for the next one

    /// The session, when no result reads from it any more. Raises when the connection is closed.
    ProviderSession& Idle();

    /// Does something that may fail at the provider. An error that it raises is also noted in
    /// `errors`.
    template <class Action>
    void Noting(Action action) {
        try {
            action();
        } catch (const _com_error& error) {
            errors.assign(1, {error.Error(), error.Description(), error.Source()});
            throw;
        }
    }
};

struct RecordsetState {
    ObjectStateEnum state = adStateClosed;
    _ConnectionPtr connection;  // kept alive, because rows and batches need it
    ConnectionState* connectionState = nullptr;
    std::vector<std::string> columns;
    // Programs name the fields of each row in the same order. For each column this is the column
    // that was asked for after it the last time.
    std::vector<std::size_t> followers;
    std::size_t lastFound = 0;

    // Reading: the rows from firstHeld up to firstHeld + held.Rows() are in memory. Behind them,
    // `source` stands on row `sourceRow`, while it is not null.
    RowBlock held;
    std::size_t firstHeld = 0;
    std::unique_ptr<RowSource> source;
    std::size_t sourceRow = 0;
    std::size_t position = 0;
    bool atEnd = true;
    bool rowsGone = false;  // rows of `source` were read and not kept, so there is no way back
    std::optional<_com_error> lost;  // why `source` ended before its last row, if it did so

    // Adding: `writer` takes the rows that `pending` holds.
    std::unique_ptr<TableWriter> writer;
    RowBlock pending;
    std::span<const std::string_view> filled;  // the columns of the last row that came as a whole
    std::vector<std::size_t> places;           // where they lie

    ~RecordsetState();
    void Start(std::unique_ptr<RowSource> rows);
    void MoveInSource();
    void MoveInMemory();
    /// Brings the rows that were not read yet into memory, and so frees the connection.
    void KeepRest();
    bool NextInSource();
    void EndStream();
    /// Whether there is a current row that can be read and `source` stands on it.
    bool IsStreaming() const { return source && position == sourceRow; }
    /// A value of the current row, or of the row that is being added; raises when there is none.
    Cell CellInMemory(int column) const;
    bool IsHeld(std::size_t row) const { return row - firstHeld < held.Rows(); }
    void RequireClosed() const;
    void RequireOpen() const {
        if (state == adStateClosed) RefuseClosed();
    }
    void RequireRow() const;
    void RequireTable() const {
        if (!writer) RefuseRows();
    }
    bool HasColumn(int column) const { return static_cast<std::size_t>(column) < columns.size(); }
    [[noreturn]] void RefuseClosed() const;
    [[noreturn]] void RefuseColumn() const;
    [[noreturn]] void RefuseRows() const;
    int PositionOf(std::string_view name);  // raises when there is none

  private:
    int IndexOf(std::string_view name);  // -1 when there is none
};

/// The way from the public objects to what is behind them.
struct Internals {
    static ConnectionState& Of(const _Connection& connection) { return *connection.state_; }
    static RecordsetState& Of(const _Recordset& recordset) { return *recordset.state_; }
};

inline constexpr const char* kSource = "mersola";

}  // namespace mersola::ado
