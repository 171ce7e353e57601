// Strict conversions, as variants convert.
#include "cell.h"

#include <charconv>
#include <cmath>
#include <limits>

#include <mersola/platform/com_error.h>

#include "state.h"

namespace mersola::ado {
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

}  // namespace

std::int32_t ConvertedLong(const Cell& cell) {
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

double ConvertedDouble(const Cell& cell) {
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

std::string_view TextIn(const Cell& cell, std::span<char, kLongestNumber> digits) {
    const auto written = [&](auto number) {
        const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
        return std::string_view(digits.data(), static_cast<std::size_t>(end - digits.data()));
    };
    switch (cell.kind) {
        case CellKind::Null:
            return {};
        case CellKind::Integer:
            return written(cell.integer);
        case CellKind::Real:
            return written(cell.real);
        case CellKind::Text:
            break;
    }
    return cell.View();
}

}  // namespace mersola::ado
