// Reading comma-separated values, record by record.
#pragma once

#include <csv.h>

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace mersola::tool {

class LineReader;

/// Reads a text record by record. Blanks around fields without quotes do not count, nor do
/// empty lines. Raises Failure, which begins with the number of a line, for a text that is no CSV
/// and for a record without end.
class CsvReader {
  public:
    /// Goes on where `lines` are.
    explicit CsvReader(LineReader& lines, char separator = ',');
    ~CsvReader();
    CsvReader(const CsvReader&) = delete;
    CsvReader& operator=(const CsvReader&) = delete;

    /// Goes on to the next record; false at the end.
    bool Next();
    /// The fields of the record, valid until the next one.
    std::span<const std::string> Fields() const { return {fields_.data(), count_}; }
    /// The line at which the record begins, from 1.
    std::size_t Line() const { return start_; }

  private:
    bool Feed();
    void AddField(std::string_view text);
    void EndRecord();
    [[noreturn]] void Refuse(const std::string& reason) const;

    LineReader& lines_;
    csv_parser parser_;
    std::string line_;
    std::vector<std::string> fields_;  // more of them than count_, so that their room is used again
    std::size_t count_ = 0;
    std::size_t start_ = 0;  // line where the record begins
    std::size_t size_ = 0;   // bytes of the record
    bool isInside_ = false;  // in a record that goes on in the next line
    bool isWhole_ = false;
    bool isOverrun_ = false;
};

}  // namespace mersola::tool
