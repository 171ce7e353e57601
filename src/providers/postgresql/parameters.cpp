// Laying parameters out.
#include "parameters.h"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <type_traits>

#include "binary.h"

namespace mersola::postgresql {
namespace {

using ado::Cell;
using ado::CellKind;

void AppendReal(std::string& bytes, double value) {
    Append(bytes, std::bit_cast<std::uint64_t>(value));
}

std::string_view TextOf(const Cell& cell, std::span<char, ado::kLongestNumber> digits) {
    return ado::TextIn(cell, digits);
}

double RealOf(const Cell& cell) {
    return cell.kind == CellKind::Real ? cell.real : static_cast<double>(cell.integer);
}

void AppendItem(std::string& bytes, const Cell& cell, Form form) {
    std::array<char, ado::kLongestNumber> digits;
    std::string_view text;
    if (form == Form::Text) text = TextOf(cell, digits);
    const std::size_t length = form == Form::Integer ? 4 : form == Form::Text ? text.size() : 8;
    Append(bytes, static_cast<std::uint32_t>(length));
    switch (form) {
        case Form::Integer:
            return Append(bytes, static_cast<std::uint32_t>(cell.integer));
        case Form::Long:
            return Append(bytes, static_cast<std::uint64_t>(cell.integer));
        case Form::Real:
            return AppendReal(bytes, RealOf(cell));
        case Form::Text:
            bytes += text;
    }
}

}  // namespace

void Parameters::Clear() {
    bytes_.clear();
    places_.clear();
    types_.clear();
    lengths_.clear();
    formats_.clear();
}

void Parameters::Add(Oid type, bool isBinary, std::size_t from) {
    types_.push_back(type);
    places_.push_back(from);
    lengths_.push_back(static_cast<int>(bytes_.size() - from));
    formats_.push_back(isBinary);
}

void Parameters::AddInteger(std::int64_t value) {
    const std::size_t from = bytes_.size();
    const auto narrow = static_cast<std::int32_t>(value);
    const bool isNarrow = narrow == value;
    if (isNarrow)
        Append(bytes_, static_cast<std::uint32_t>(narrow));
    else
        Append(bytes_, static_cast<std::uint64_t>(value));
    Add(isNarrow ? kInt4 : kInt8, true, from);
}

void Parameters::AddReal(double value) {
    const std::size_t from = bytes_.size();
    AppendReal(bytes_, value);
    Add(kFloat8, true, from);
}

void Parameters::AddText(std::string_view value) {
    const std::size_t from = bytes_.size();
    bytes_ += value;
    bytes_ += '\0';
    Add(0, false, from);
}

Form Parameters::FormOf(std::span<const Cell> cells, std::size_t column, std::size_t width) {
    Form form = Form::Integer;
    for (std::size_t at = column; at < cells.size(); at += width) {
        const Cell& cell = cells[at];
        if (cell.kind == CellKind::Text) return Form::Text;
        if (cell.kind == CellKind::Real) form = Form::Real;
        if (cell.kind == CellKind::Integer && form == Form::Integer &&
            cell.integer != static_cast<std::int32_t>(cell.integer))
            form = Form::Long;
    }
    return form;
}

void Parameters::AddColumn(std::span<const Cell> cells, std::size_t column, std::size_t width,
                           Form form) {
    struct Type {
        Oid item, array;
    };
    constexpr std::array<Type, 4> kTypes{
        {{kInt4, kInt4Array}, {kInt8, kInt8Array}, {kFloat8, kFloat8Array}, {kText, kTextArray}}};
    const Type type = kTypes[static_cast<std::size_t>(form)];
    const std::size_t from = bytes_.size();
    for (const std::uint32_t number :
         {1U /* dimension */, 1U /* may have nulls */, std::uint32_t{type.item},
          static_cast<std::uint32_t>(cells.size() / width), 1U /* the first index */})
        Append(bytes_, number);
    for (std::size_t at = column; at < cells.size(); at += width) {
        if (cells[at].kind == CellKind::Null)
            Append(bytes_, ~std::uint32_t{0});
        else
            AppendItem(bytes_, cells[at], form);
    }
    Add(type.array, true, from);
}

const char* const* Parameters::Values() const {
    values_.clear();
    for (const std::size_t place : places_)
        values_.push_back(bytes_.data() + place);
    return values_.data();
}

}  // namespace mersola::postgresql
