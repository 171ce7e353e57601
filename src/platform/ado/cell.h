// One value of a row, and how it converts.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace mersola::ado {

enum class CellKind : std::uint32_t { Null, Integer, Real, Text };

/// One value of a row. It does not own its text, which lives as long as the row.
struct Cell {
    CellKind kind = CellKind::Null;
    std::uint32_t length = 0;  // length of the text in bytes
    union {
        std::int64_t integer = 0;
        double real;
        const char* text;
    };

    static Cell Integer(std::int64_t value) {
        Cell cell;
        cell.kind = CellKind::Integer;
        cell.integer = value;
        return cell;
    }
    static Cell Real(double value) {
        Cell cell;
        cell.kind = CellKind::Real;
        cell.real = value;
        return cell;
    }
    static Cell Text(std::string_view value) {
        Cell cell;
        cell.kind = CellKind::Text;
        cell.length = static_cast<std::uint32_t>(value.size());
        cell.text = value.data();
        return cell;
    }
    std::string_view View() const { return {text, length}; }
};

inline constexpr std::size_t kLongestNumber = 32;

/// What the functions below do with a value that has to be converted.
std::int32_t ConvertedLong(const Cell& cell);
double ConvertedDouble(const Cell& cell);

/// The value as a field reads it (AdoField). They raise _com_error for what does not convert. The
/// text of a number is written into `digits`.
inline std::int32_t LongIn(std::int64_t integer) {
    const auto narrow = static_cast<std::int32_t>(integer);
    return narrow == integer ? narrow : ConvertedLong(Cell::Integer(integer));
}
inline std::int32_t LongIn(const Cell& cell) {
    return cell.kind == CellKind::Integer ? LongIn(cell.integer) : ConvertedLong(cell);
}
inline double DoubleIn(const Cell& cell) {
    return cell.kind == CellKind::Real ? cell.real : ConvertedDouble(cell);
}
std::string_view TextIn(const Cell& cell, std::span<char, kLongestNumber> digits);
inline char FirstCharacterIn(const Cell& cell) {
    if (cell.kind == CellKind::Text) return cell.length > 0 ? *cell.text : '\0';
    char digits[kLongestNumber];
    const std::string_view text = TextIn(cell, digits);
    return text.empty() ? '\0' : text.front();
}

}  // namespace mersola::ado
