// What connections and recordsets hold behind their public interface.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
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
    RecordsetState* streaming = nullptr;       // the one result that still reads from the engine
    std::vector<AdoError> errors;

    /// The session, with nothing reading from it; raises when the connection is closed.
    ProviderSession& Idle();

    /// Does what may fail at the provider; what it raises is also noted in `errors`.
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
    _ConnectionPtr connection;  // kept: rows or batches need it
    ConnectionState* connectionState = nullptr;
    std::vector<std::string> columns;
    // Programs name the fields of each row in the same order: for each column the one that was
    // asked for behind it the last time.
    std::vector<std::size_t> followers;
    std::size_t lastFound = 0;

    // Reading: rows [firstHeld, firstHeld + held.Rows()) are in memory; behind them `source`, while
    // it is not null, stands on row `sourceRow`.
    RowBlock held;
    std::size_t firstHeld = 0;
    std::unique_ptr<RowSource> source;
    std::size_t sourceRow = 0;
    std::size_t position = 0;
    bool atEnd = true;
    bool rowsGone = false;  // rows of `source` were read and not kept: there is no way back
    std::optional<_com_error> lost;  // why `source` ended before its last row, if it did

    // Adding: `writer` takes what `pending` holds.
    std::unique_ptr<TableWriter> writer;
    RowBlock pending;

    ~RecordsetState() { EndStream(); }
    void Start(std::unique_ptr<RowSource> rows);
    void MoveInSource();
    void MoveInMemory();
    /// Brings the rows that were not read yet into memory, so that the connection is free.
    void KeepRest();
    bool NextInSource();
    void EndStream();
    /// Whether the current row is the one on which `source` stands: there is one, and it can be
    /// read.
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
    int IndexOf(std::string_view name);  // -1 when there is none
};

inline constexpr const char* kSource = "mersola";

}  // namespace mersola::ado
