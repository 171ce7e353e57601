// One field: strict conversions, as variants convert.
#include <mersola/platform/ado.h>

#include <charconv>
#include <cmath>
#include <limits>
#include <string>

#include "state.h"

using namespace mersola::ado;

namespace {

[[noreturn]] void Overflow() {
    throw _com_error(DISP_E_OVERFLOW, "A number in the database is beyond 32 bits", kSource);
}

double NumberIn(std::string_view text) {
    const auto first = text.find_first_not_of(' ');
    if (first != std::string_view::npos)
        text = text.substr(first, text.find_last_not_of(' ') - first + 1);
    double number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size() || !std::isfinite(number)) {
        throw _com_error(DISP_E_TYPEMISMATCH, "A text in the database is not a number", kSource);
    }
    return number;
}

std::int32_t Narrowed(double number) {
    const double whole = std::nearbyint(number);
    if (!(whole >= std::numeric_limits<std::int32_t>::min() &&
          whole <= std::numeric_limits<std::int32_t>::max())) {
        Overflow();
    }
    return static_cast<std::int32_t>(whole);
}

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
    const Cell cell = Read(*recordset_.state_, column_);
    if (cell.kind == CellKind::Text) return cell.length > 0 ? *cell.text : '\0';
    return Text().GetAt(0);
}

std::int32_t AdoField::Long() const {
    const Cell cell = Read(*recordset_.state_, column_);
    switch (cell.kind) {
        case CellKind::Null:
            return 0;
        case CellKind::Integer:
            if (cell.integer != static_cast<std::int32_t>(cell.integer)) Overflow();
            return static_cast<std::int32_t>(cell.integer);
        case CellKind::Real:
            return Narrowed(cell.real);
        case CellKind::Text:
            break;
    }
    return Narrowed(NumberIn(cell.View()));
}

double AdoField::Double() const {
    const Cell cell = Read(*recordset_.state_, column_);
    switch (cell.kind) {
        case CellKind::Null:
            return 0;
        case CellKind::Integer:
            return static_cast<double>(cell.integer);
        case CellKind::Real:
            return cell.real;
        case CellKind::Text:
            break;
    }
    return NumberIn(cell.View());
}

CString AdoField::Text() const {
    const Cell cell = Read(*recordset_.state_, column_);
    char digits[32];
    switch (cell.kind) {
        case CellKind::Null:
            return CString();
        case CellKind::Integer: {
            const auto end = std::to_chars(std::begin(digits), std::end(digits), cell.integer).ptr;
            return CString(std::string_view(digits, static_cast<std::size_t>(end - digits)));
        }
        case CellKind::Real: {
            const auto end = std::to_chars(std::begin(digits), std::end(digits), cell.real).ptr;
            return CString(std::string_view(digits, static_cast<std::size_t>(end - digits)));
        }
        case CellKind::Text:
            break;
    }
    return CString(cell.View());
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
