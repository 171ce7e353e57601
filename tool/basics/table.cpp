// Lining up and quoting.
#include "table.h"

#include <algorithm>
#include <ostream>
#include <string_view>

#include "csv_text.h"
#include "failure.h"

namespace mersola::tool {
namespace {

// In characters: bytes that continue one in UTF-8 do not count.
std::size_t Width(std::string_view text) {
    return static_cast<std::size_t>(std::ranges::count_if(
        text, [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
}

}  // namespace

Table::Table(std::ostream& out, Form form, const std::vector<std::string>& header,
             std::vector<std::size_t> widths)
    : out_(out), form_(form), widths_(std::move(widths)) {
    widths_.resize(header.size());
    for (std::size_t i = 0; i < header.size(); ++i)
        widths_[i] = std::max(widths_[i], Width(header[i]));
    Row(header);
}

void Table::Row(const std::vector<std::string>& fields) {
    std::string line;
    for (std::size_t i = 0; i < fields.size(); ++i) {
        if (form_ == Form::Csv) {
            if (i > 0) line += ',';
            line += CsvField(fields[i]);
        } else {
            if (i > 0) line += "  ";
            line.append(widths_.at(i) - std::min(widths_[i], Width(fields[i])), ' ');
            line += Printable(fields[i]);
        }
    }
    out_ << line << '\n';
    RequireWritten(out_);
}

}  // namespace mersola::tool
