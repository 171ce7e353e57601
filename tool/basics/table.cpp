// Lining up and quoting.
#include "table.h"

#include <algorithm>
#include <ostream>

#include "csv_text.h"
#include "failure.h"
#include "utf8.h"

namespace mersola::tool {
Table::Table(std::ostream& out, Form form, const std::vector<std::string>& header,
             std::vector<std::size_t> widths)
    : out_(out), form_(form), widths_(std::move(widths)) {
    widths_.resize(header.size());
    for (std::size_t i = 0; i < header.size(); ++i)
        widths_[i] = std::max(widths_[i], CountCharacters(header[i]));
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
            line.append(widths_.at(i) - std::min(widths_[i], CountCharacters(fields[i])), ' ');
            line += Printable(fields[i]);
        }
    }
    out_ << line << '\n';
    RequireWritten(out_);
}

}  // namespace mersola::tool
