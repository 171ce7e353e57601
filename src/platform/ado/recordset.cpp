// The recordset: reading a result from memory and from the engine, and adding rows in a batch.
#include <mersola/platform/ado.h>

#include <algorithm>
#include <cctype>
#include <new>
#include <utility>

#include "state.h"

using namespace mersola::ado;

namespace mersola::ado {

RecordsetState::~RecordsetState() {
    EndStream();
    // Recorders open a batch a period. Memory of this size would go back to the system each time.
    if (!writer) return;
    pending.Clear(columns.size());
    connectionState->spare = std::move(pending);
}

void RecordsetState::Start(std::unique_ptr<RowSource> rows) {
    bool more = rows->Next();
    columns = rows->Columns();
    held = RowBlock(columns.size());
    state = adStateOpen;
    atEnd = !more;
    for (; more && held.Rows() < _Recordset::kRowsHeld; more = rows->Next())
        held.AddRow(*rows);
    if (more) {
        source = std::move(rows);
        sourceRow = held.Rows();
        connectionState->streaming = this;
    }
}

void RecordsetState::MoveInSource() {
    ++position;
    rowsGone = true;
    atEnd = !NextInSource();
    sourceRow = position;
}

void RecordsetState::MoveInMemory() {
    RequireRow();
    ++position;
    atEnd = !IsHeld(position) && !IsStreaming();
    if (atEnd && lost) throw _com_error(*lost);
}

Cell RecordsetState::CellInMemory(int column) const {
    const auto index = static_cast<std::size_t>(column);
    if (writer && pending.Rows() > 0) return pending.Last(index);
    RequireRow();
    return held.At(position - firstHeld, index);
}

void RecordsetState::KeepRest() {
    if (rowsGone) {
        held.Clear(columns.size());
        firstHeld = sourceRow;
    }
    try {
        do {
            held.AddRow(*source);
        } while (source->Next());
    } catch (const _com_error& error) {
        lost = error;  // the program is not at this result now; whoever reads on gets the error
    }
    EndStream();
}

bool RecordsetState::NextInSource() {
    try {
        if (source->Next()) return true;
    } catch (...) {
        atEnd = true;
        EndStream();
        throw;
    }
    EndStream();
    return false;
}

void RecordsetState::EndStream() {
    if (!source) return;
    source.reset();
    connectionState->streaming = nullptr;
}

void RecordsetState::RequireClosed() const {
    if (state != adStateClosed) throw _com_error(adErrObjectOpen, "The recordset is open", kSource);
}

void RecordsetState::RefuseClosed() const {
    throw _com_error(adErrObjectClosed, "The recordset is closed", kSource);
}

void RecordsetState::RequireRow() const {
    RequireOpen();
    if (atEnd) throw _com_error(adErrNoCurrentRecord, "There is no current row", kSource);
}

void RecordsetState::RefuseColumn() const {
    RequireOpen();
    throw _com_error(adErrItemNotFound, "There is no field at that position", kSource);
}

void RecordsetState::RefuseRows() const {
    RequireOpen();
    throw _com_error(adErrIllegalOperation, "Rows can be added to a table only, not to a result",
                     kSource);
}

int RecordsetState::PositionOf(std::string_view name) {
    const int column = IndexOf(name);
    if (column < 0) {
        throw _com_error(adErrItemNotFound,
                         ("There is no field named " + std::string(name)).c_str(), kSource);
    }
    return column;
}

int RecordsetState::IndexOf(std::string_view name) {
    if (columns.empty()) return -1;
    if (followers.empty()) followers.resize(columns.size());
    std::size_t& follower = followers[lastFound];
    if (columns[follower] != name) {
        auto found =
            std::ranges::find(columns, name);  // programs mostly spell the name as the table does
        if (found == columns.end()) {
            found = std::ranges::find_if(
                columns, [&](const std::string& column) { return EqualNoCase(column, name); });
        }
        if (found == columns.end()) return -1;
        follower = static_cast<std::size_t>(found - columns.begin());
    }
    lastFound = follower;
    return static_cast<int>(follower);
}

}  // namespace mersola::ado

namespace {

bool IsSingleWord(std::string_view text) {
    return !text.empty() && std::ranges::all_of(text, [](unsigned char c) {
        return std::isalnum(c) || c == '_' || c == '.' || c == '[' || c == ']' || c >= 0x80;
    });
}

}  // namespace

_RecordsetPtr _Recordset::CreateInstance() try {
    return std::make_shared<_Recordset>();
} catch (const std::bad_alloc&) {
    return nullptr;
}

_Recordset::_Recordset() : state_(std::make_unique<mersola::ado::RecordsetState>()) {}

_Recordset::~_Recordset() = default;

void _Recordset::PutCursorLocation(CursorLocationEnum) {
    state_->RequireClosed();
}

void _Recordset::PutCursorType(CursorTypeEnum) {
    state_->RequireClosed();
}

void _Recordset::PutLockType(LockTypeEnum) {
    state_->RequireClosed();
}

void _Recordset::Open(const CString& source, const _ConnectionPtr& connection, CursorTypeEnum,
                      LockTypeEnum, long options) {
    state_->RequireClosed();
    if (!connection) throw _com_error(adErrObjectClosed, "A recordset needs a connection", kSource);
    ConnectionState& connectionState = *connection->state_;
    auto& session = connectionState.Idle();
    std::unique_ptr<RecordsetState> opened;
    const auto open = [&] {
        opened = std::make_unique<RecordsetState>();
        opened->connection = connection;
        opened->connectionState = &connectionState;
    };
    if (options == adCmdTable || (options != adCmdText && IsSingleWord(source.View()))) {
        open();
        opened->writer = session.OpenTable(source.View());
        opened->columns = opened->writer->Columns();
        opened->pending = std::exchange(connectionState.spare, RowBlock());
        opened->pending.Clear(opened->columns.size());
        opened->state = adStateOpen;
    } else {
        connectionState.Noting([&] {
            auto rows = session.Execute(source.View());
            if (!rows) return;
            open();
            opened->Start(std::move(rows));
        });
    }
    if (opened) state_ = std::move(opened);
}

void _Recordset::Close() {
    state_->RequireOpen();
    state_ = std::make_unique<RecordsetState>();
}

ObjectStateEnum _Recordset::GetState() const {
    return state_->state;
}

bool _Recordset::EndOfFile() const {
    state_->RequireOpen();
    return state_->atEnd;
}

void _Recordset::MoveFirst() {
    state_->RequireOpen();
    const bool empty = state_->atEnd && state_->position == 0;
    if (empty) throw _com_error(adErrNoCurrentRecord, "There are no rows", kSource);
    if (state_->rowsGone) {
        throw _com_error(adErrIllegalOperation, "The first rows of a long result are gone",
                         kSource);
    }
    state_->position = 0;
    state_->atEnd = false;
}

void _Recordset::MoveNext() {
    state_->IsStreaming() ? state_->MoveInSource() : state_->MoveInMemory();
}

AdoField _Recordset::Fields(std::string_view name) {
    state_->RequireOpen();
    return {*this, state_->PositionOf(name)};
}

AdoField _Recordset::Fields(int position) {
    if (!state_->HasColumn(position)) state_->RefuseColumn();
    return {*this, position};
}

int _Recordset::FieldCount() const {
    state_->RequireOpen();
    return static_cast<int>(state_->columns.size());
}

CString _Recordset::FieldName(int position) const {
    if (!state_->HasColumn(position)) state_->RefuseColumn();
    return state_->columns[static_cast<std::size_t>(position)].c_str();
}

void _Recordset::AddNew() {
    state_->RequireTable();
    state_->pending.AddRow();
}

void _Recordset::UpdateBatch(AffectEnum) {
    state_->RequireTable();
    if (state_->pending.Rows() == 0) return;
    state_->connectionState->Idle();
    state_->connectionState->Noting([&] {
        const BatchOutcome outcome = state_->writer->Write(state_->pending.Cells());
        state_->pending.Clear(state_->columns.size());
        if (outcome.firstRefusal) throw _com_error(*outcome.firstRefusal);
    });
}
