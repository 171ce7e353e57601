// Trying separators, and looking for the column names.
#include "csv_dialect.h"

#include <algorithm>
#include <array>
#include <sstream>
#include <string_view>
#include <tuple>
#include <utility>

#include "basics/failure.h"
#include "csv_format.h"
#include "csv_lines.h"
#include "csv_reader.h"

namespace mersola::tool {
namespace {

struct Separator {
    char sign;
    std::string_view name;
    const char* description;
};
constexpr std::array<Separator, 3> kSeparators{
    {{',', "comma", "commas"}, {';', "semicolon", "semicolons"}, {'\t', "tab", "tabs"}}};

// What can be read of it: its end may be cut off, and the separator may be a wrong one.
std::vector<CsvRecord> Records(const std::string& text, char separator) {
    std::istringstream in(text);
    LineReader lines(in);
    CsvReader reader(lines, separator);
    std::vector<CsvRecord> records;
    try {
        while (reader.Next())
            records.push_back({reader.Line(), {reader.Fields().begin(), reader.Fields().end()}});
    } catch (const Failure&) {
    }
    return records;
}

// A dialect, and what speaks for it: that the column names were found, and how many records have
// as many fields as the widest.
struct Candidate {
    bool isSure;
    bool hasSeveral;
    std::ptrdiff_t alike;
    Dialect dialect;

    auto Rank() const { return std::tuple(isSure, hasSeveral, alike); }
};

Candidate Examined(std::vector<CsvRecord> records, char separator,
                   std::optional<std::size_t> heading, const IsHeading& isHeading) {
    if (!records.empty() && records[0].fields[0] == kFormName)
        std::erase_if(
            records, [](const CsvRecord& each) { return each.fields[0].starts_with(kRecordMark); });
    std::size_t width = 0;
    for (const CsvRecord& each : records)
        width = std::max(width, each.fields.size());
    const auto isWide = [&](const CsvRecord& each) { return each.fields.size() == width; };
    auto found = heading ? std::ranges::lower_bound(records, *heading, {}, &CsvRecord::line)
                         : std::ranges::find_if(records, isHeading, &CsvRecord::fields);
    const bool isSure = found != records.end() && isHeading(found->fields);
    if (found == records.end() && !heading) found = std::ranges::find_if(records, isWide);
    const bool isThere = found != records.end();
    Candidate candidate{isSure,
                        width > 1,
                        std::ranges::count_if(records, isWide),
                        {separator, isThere ? found->line : heading.value_or(0), {}}};
    if (isThere) candidate.dialect.rows.assign(std::next(found), records.end());
    return candidate;
}

}  // namespace

Dialect GuessDialect(const std::string& beginning, std::optional<char> separator,
                     std::optional<std::size_t> heading, const IsHeading& isHeading) {
    if (separator)
        return Examined(Records(beginning, *separator), *separator, heading, isHeading).dialect;
    std::optional<Candidate> best;
    for (const auto& each : kSeparators) {
        auto candidate = Examined(Records(beginning, each.sign), each.sign, heading, isHeading);
        if (!best || candidate.Rank() > best->Rank()) best = std::move(candidate);
    }
    return best->dialect;
}

bool GuessDecimalComma(std::span<const std::string> numbers) {
    const auto has = [&](const char* mark) {
        return [=](const std::string& text) { return text.find(mark) != text.npos; };
    };
    if (std::ranges::any_of(numbers, has("."))) return false;
    const auto first = std::ranges::find_if(numbers, has(","));
    if (first == numbers.end()) return false;
    const auto mayPartThousands = [](const std::string& text) {
        const auto digits = text.find_first_of("123456789");
        const auto comma = text.find(',');
        return comma == text.npos ||
               (text.size() == comma + 4 && digits < comma && comma - digits <= 3);
    };
    if (std::ranges::all_of(numbers, mayPartThousands))
        throw Failure(
            "in the numbers of the first lines, as " + Quoted(Excerpt(*first)) +
            ", the comma may stand before decimals or between thousands; say --decimal comma "
            "if it is the first, or take it out");
    return true;
}

std::optional<char> ParseSeparator(const std::string& text) {
    for (const auto& each : kSeparators) {
        if (text == each.name) return each.sign;
    }
    constexpr std::string_view signs = ",;\t|";
    if (text.size() != 1 || signs.find(text[0]) == signs.npos) return std::nullopt;
    return text[0];
}

std::string DescribeSeparator(char separator) {
    const auto found = std::ranges::find(kSeparators, separator, &Separator::sign);
    return found == kSeparators.end() ? Quoted(std::string(1, separator)) : found->description;
}

}  // namespace mersola::tool
