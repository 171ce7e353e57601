#include "sheet.h"

#include <array>
#include <charconv>
#include <cmath>
#include <ostream>

#include "basics/failure.h"
#include "basics/utf8.h"

namespace mersola::tool {
namespace {

using Style = SheetColumn::Style;

constexpr std::size_t kTimeWidth = std::string_view("2026-11-15 07:30:12.045").size();

// In JSON a text may hold anything but quotes, backslashes and what is no UTF-8 or no character.
std::string JsonText(const std::string& text) {
    std::string quoted = "\"";
    for (const char c : Printable(text)) {
        if (c == '"' || c == '\\') quoted += '\\';
        quoted += c;
    }
    return quoted + '"';
}

std::string NumberText(double number, Style style, bool isAligned) {
    std::array<char, 400> text;
    char* const end = text.data() + text.size();
    const auto written = [&] {
        using std::chars_format;
        if (style == Style::Percent)  // to the nearest hundredth
            return std::to_chars(text.data(), end, std::round(number * 100) / 100);
        // Numbers of things and seconds as they are, without an exponent.
        const double size = std::abs(number);
        if (style == Style::Number && size < 1e15) {
            if (number == std::trunc(number) || (isAligned && size >= 1e3))
                return std::to_chars(text.data(), end, number, chars_format::fixed, 0);
            if (size >= 1e6) return std::to_chars(text.data(), end, number, chars_format::fixed, 3);
        }
        if (!isAligned) return std::to_chars(text.data(), end, number, chars_format::general, 7);
        return style == Style::Level
                   ? std::to_chars(text.data(), end, number, chars_format::fixed, 1)
                   : std::to_chars(text.data(), end, number, chars_format::general, 4);
    }();
    return std::string(text.data(), written.ptr);
}

}  // namespace

Sheet::Sheet(std::ostream& out, Form form, std::vector<SheetColumn> columns,
             const std::vector<std::pair<std::string, std::string>>& about)
    : out_(out), form_(form), columns_(std::move(columns)) {
    if (form == Form::Json) {
        out_ << "{";
        for (const auto& [name, value] : about)
            out_ << JsonText(name) << ": " << JsonText(value) << ",\n ";
        out_ << "\"rows\": [";
        return;
    }
    std::vector<std::string> header;
    std::vector<std::size_t> widths;
    for (const SheetColumn& column : columns_) {
        header.push_back(column.name);
        widths.push_back(column.style == Style::Time ? kTimeWidth : 5);
    }
    table_.emplace(out, form == Form::Csv ? Table::Form::Csv : Table::Form::Aligned, header,
                   widths);
}

void Sheet::Row(const std::vector<SheetCell>& cells) {
    std::vector<std::string> fields;
    if (form_ == Form::Json) out_ << (isFirst_ ? "\n  {" : ",\n  {");
    isFirst_ = false;
    for (std::size_t i = 0; i < cells.size(); ++i) {
        const SheetCell& cell = cells[i];
        const bool isAligned = form_ == Form::Aligned;
        const bool isMissing = !cell.isText && !std::isfinite(cell.number);
        std::string field = cell.text;
        if (!cell.isText && !isMissing)
            field = NumberText(cell.number, columns_[i].style, isAligned);
        if (form_ != Form::Json) {
            fields.push_back(isMissing && isAligned ? "--" : field);
            continue;
        }
        out_ << (i > 0 ? ", " : "") << JsonText(columns_[i].name) << ": "
             << (isMissing     ? "null"
                 : cell.isText ? JsonText(field)
                               : field);
    }
    if (table_) {
        table_->Row(fields);
    } else {
        out_ << "}";
        RequireWritten(out_);
    }
}

void Sheet::Finish() {
    if (form_ == Form::Json) out_ << "\n]}\n";
    RequireWritten(out_);
}

}  // namespace mersola::tool
