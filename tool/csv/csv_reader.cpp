// Counting lines around the parser.
#include "csv_reader.h"

#include <algorithm>

#include "basics/failure.h"
#include "csv_lines.h"

namespace mersola::tool {
namespace {

constexpr std::size_t kMostLines = 1000;  // of one record: more is a quote that nobody closed

bool IsBlank(char c) {
    return c == ' ' || c == '\t';
}

}  // namespace

CsvReader::CsvReader(LineReader& lines, char separator) : lines_(lines) {
    csv_init(&parser_, CSV_STRICT | CSV_STRICT_FINI);
    csv_set_delim(&parser_, static_cast<unsigned char>(separator));
}

CsvReader::~CsvReader() {
    csv_free(&parser_);
}

bool CsvReader::Next() {
    count_ = 0;
    isWhole_ = false;
    while (!isWhole_ && Feed()) {
    }
    return isWhole_;
}

// One line at a time, so that the parser's answers belong to a line.
bool CsvReader::Feed() {
    const auto addField = [](void* text, std::size_t size, void* reader) {
        static_cast<CsvReader*>(reader)->AddField({static_cast<const char*>(text), size});
    };
    const auto endRecord = [](int, void* reader) { static_cast<CsvReader*>(reader)->EndRecord(); };
    if (!lines_.Next(line_)) {
        if (csv_fini(&parser_, addField, endRecord, this) != 0) Refuse("a quote is not closed");
        return false;
    }
    if (!isInside_) {
        start_ = lines_.Count();
        size_ = 0;
    }
    line_ += '\n';
    size_ += line_.size();
    if (csv_parse(&parser_, line_.data(), line_.size(), addField, endRecord, this) != line_.size())
        Refuse(
            "a quote stands where none may; write fields with quotes between quotes, and each "
            "of theirs twice");
    if (isOverrun_) Refuse("its lines end in carriage returns; save it with the usual line ends");
    isInside_ = !isWhole_ && (isInside_ || !std::ranges::all_of(line_, [](char c) {
                                  return IsBlank(c) || c == '\r' || c == '\n';
                              }));
    if (lines_.Count() - start_ > kMostLines || size_ > LineReader::kLongest)
        Refuse("a quote is not closed, or its text is longer than the " +
               std::to_string(LineReader::kLongest >> 20) + " MiB and " +
               std::to_string(kMostLines) + " lines that a record may have");
    return true;
}

void CsvReader::AddField(std::string_view text) {
    if (isWhole_) {
        isOverrun_ = true;
        return;
    }
    if (count_ == fields_.size()) fields_.emplace_back();
    fields_[count_++].assign(text);
}

void CsvReader::EndRecord() {
    isWhole_ = true;
}

void CsvReader::Refuse(const std::string& reason) const {
    throw Failure("line " + std::to_string(start_) + ": " + reason);
}

}  // namespace mersola::tool
