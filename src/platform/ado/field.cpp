// One field: the current row's value, converted, or a value for the row that is being added.
#include <mersola/platform/ado.h>

#include "state.h"

using namespace mersola::ado;

namespace {

Cell Read(const RecordsetState& state, int column) {
    return state.IsStreaming() ? state.source->At(column) : state.CellInMemory(column);
}

void Write(RecordsetState& state, int column, Cell value) {
    state.RequireTable();
    if (state.pending.Rows() == 0)
        throw _com_error(adErrNoCurrentRecord, "AddNew makes a row first", kSource);
    state.pending.SetLast(static_cast<std::size_t>(column), value);
}

}  // namespace

bool AdoField::IsNull() const {
    return Read(*recordset_.state_, column_).kind == CellKind::Null;
}

char AdoField::FirstCharacter() const {
    return FirstCharacterIn(Read(*recordset_.state_, column_));
}

std::int32_t AdoField::Long() const {
    return LongIn(Read(*recordset_.state_, column_));
}

double AdoField::Double() const {
    return DoubleIn(Read(*recordset_.state_, column_));
}

CString AdoField::Text() const {
    char digits[kLongestNumber];
    return CString(TextIn(Read(*recordset_.state_, column_), digits));
}

void AdoField::PutInteger(std::int64_t value) {
    Write(*recordset_.state_, column_, Cell::Integer(value));
}

void AdoField::Put(double value) {
    Write(*recordset_.state_, column_, Cell::Real(value));
}

void AdoField::Put(std::string_view value) {
    Write(*recordset_.state_, column_, Cell::Text(value));
}
