// Chooses the form in which a column's values are sent, and lays them out.
#include "parameter.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cstring>

namespace mersola::odbc {
namespace {

using ado::Cell;
using ado::CellKind;

constexpr std::size_t kNumberLength = 32;

struct Profile {
    bool text = false;
    bool real = false;
    bool wideInteger = false;
    std::size_t longest = 0;  // bytes of the longest text
};

Profile ProfileOf(std::span<const Cell> cells, std::size_t column, std::size_t width) {
    Profile profile;
    for (std::size_t at = column; at < cells.size(); at += width) {
        const Cell& cell = cells[at];
        switch (cell.kind) {
            case CellKind::Null:
                break;
            case CellKind::Integer:
                profile.wideInteger |= cell.integer != static_cast<std::int32_t>(cell.integer);
                break;
            case CellKind::Real:
                profile.real = true;
                break;
            case CellKind::Text:
                profile.text = true;
                profile.longest = std::max<std::size_t>(profile.longest, cell.length);
                break;
        }
    }
    return profile;
}

template <class Number>
std::string_view Digits(Number number, std::span<char> digits) {
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
    return {digits.data(), static_cast<std::size_t>(end - digits.data())};
}

}  // namespace

void Parameter::Take(std::span<const Cell> cells, std::size_t column, std::size_t width,
                     const Engine& engine) {
    const bool utf8 = engine.textForm == TextForm::Utf8;
    mostVarchar_ = engine.mostVarchar;
    const Profile profile = ProfileOf(cells, column, width);
    const std::size_t rows = cells.size() / width;
    if (rows > rows_) {
        rows_ = rows;
        bound_ = false;
    }
    if (profile.text) {
        const std::size_t unit = utf8 ? sizeof(char) : sizeof(SQLWCHAR);
        const std::size_t room = std::bit_ceil(std::max(profile.longest, kNumberLength)) * unit;
        const Form form = utf8 ? Form::Utf8 : Form::Wide;
        Become(form, form == form_ ? std::max(room, width_) : room);
    } else if (profile.real) {
        Become(Form::Real, sizeof(double));
    } else if (profile.wideInteger || form_ == Form::Long) {
        Become(Form::Long, sizeof(std::int64_t));
    } else {
        Become(Form::Integer, sizeof(std::int64_t));
    }
    values_.resize(rows_ * width_);
    lengths_.resize(rows_);
    for (std::size_t row = 0; row < rows; ++row)
        Put(row, cells[row * width + column]);
}

void Parameter::Become(Form form, std::size_t width) {
    bound_ &= form == form_ && width == width_;
    form_ = form;
    width_ = width;
}

void Parameter::Put(std::size_t row, const Cell& cell) {
    const auto put = [&](const auto& number) {
        std::memcpy(values_.data() + row * width_, &number, sizeof number);
        lengths_[row] = 0;
    };
    const bool text = form_ == Form::Utf8 || form_ == Form::Wide;
    char digits[kNumberLength];
    switch (cell.kind) {
        case CellKind::Null:
            lengths_[row] = SQL_NULL_DATA;
            break;
        case CellKind::Integer:
            if (text) {
                PutText(row, Digits(cell.integer, digits));
            } else if (form_ == Form::Real) {
                put(static_cast<double>(cell.integer));
            } else {
                put(cell.integer);
            }
            break;
        case CellKind::Real:
            text ? PutText(row, Digits(cell.real, digits)) : put(cell.real);
            break;
        case CellKind::Text:
            PutText(row, cell.View());
            break;
    }
}

void Parameter::PutText(std::size_t row, std::string_view text) {
    const char* bytes = text.data();
    std::size_t size = text.size();
    if (form_ == Form::Wide) {
        wide_.clear();
        AppendWide(text, wide_);
        bytes = reinterpret_cast<const char*>(wide_.data());
        size = wide_.size() * sizeof(SQLWCHAR);
    }
    std::copy_n(bytes, size, values_.data() + row * width_);
    lengths_[row] = static_cast<SQLLEN>(size);
}

void Parameter::Bind(const Statement& statement, SQLUSMALLINT number) {
    if (bound_) return;
    const std::size_t characters = width_ / (form_ == Form::Wide ? sizeof(SQLWCHAR) : 1);
    SQLSMALLINT type = SQL_C_SBIGINT;
    SQLSMALLINT sqlType = SQL_INTEGER;
    SQLULEN size = 0;
    switch (form_) {
        case Form::Integer:
            break;
        case Form::Long:
            sqlType = SQL_BIGINT;
            break;
        case Form::Real:
            type = SQL_C_DOUBLE;
            sqlType = SQL_DOUBLE;
            break;
        case Form::Utf8:
            type = SQL_C_CHAR;
            sqlType = SQL_LONGVARCHAR;
            size = characters;
            break;
        case Form::Wide:
            type = SQL_C_WCHAR;
            sqlType = characters > mostVarchar_ ? SQL_WLONGVARCHAR : SQL_WVARCHAR;
            size = characters;
            break;
    }
    statement.Check(SQLBindParameter(statement.Get(), number, SQL_PARAM_INPUT, type, sqlType, size,
                                     0, values_.data(), static_cast<SQLLEN>(width_),
                                     lengths_.data()));
    bound_ = true;
}

}  // namespace mersola::odbc
