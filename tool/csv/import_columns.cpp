// Reading the header as the command line maps it.
#include "import_columns.h"

#include <algorithm>

#include "failure.h"

namespace mersola::tool {
namespace {

bool IsSame(std::string_view left, std::string_view right) {
    return CompareNoCase(left, right) == 0;
}

constexpr std::size_t kLongestList = 1000;  // bytes

std::optional<CsvColumn> ColumnNamed(std::string_view name) {
    const auto found =
        std::ranges::find_if(kCsvNames, [&](std::string_view each) { return IsSame(each, name); });
    if (found == kCsvNames.end()) return std::nullopt;
    return static_cast<CsvColumn>(found - kCsvNames.begin());
}

}  // namespace

ImportedColumns::ImportedColumns(std::span<const std::string> header, const ImportOptions& options,
                                 ImportedBands& bands)
    : header_(header.begin(), header.end()), isUsed_(header.size()) {
    Assign(options.columns, bands);
    for (std::size_t i = 0; i < kCsvColumns; ++i) {
        const auto position = FindPosition(kCsvNames[i]);
        if (positions_[i] || !position || isUsed_[*position]) continue;
        positions_[i] = position;
        isUsed_[*position] = true;
    }
    for (const auto& name : options.bands)
        AddBand(PositionOf(name), bands.OfHeading(name));
    if (options.isWide || (bands_.empty() && !Has(kValueColumn))) TakeOthers(options.isWide, bands);
    Require(options);
}

void ImportedColumns::Assign(const std::vector<std::string>& columns, ImportedBands& bands) {
    for (const auto& each : columns) {
        const auto equals = each.find('=');
        const std::string name = each.substr(0, equals);
        const std::size_t position = PositionOf(each.substr(equals + 1));
        const auto column = ColumnNamed(name);
        if (!column) {
            AddBand(position, bands.Find(name));
            continue;
        }
        positions_[*column] = position;
        isUsed_[position] = true;
    }
}

void ImportedColumns::AddBand(std::size_t position, std::int32_t band) {
    const auto first =
        std::ranges::find(bands_, band, &std::pair<std::size_t, std::int32_t>::second);
    if (first != bands_.end())
        throw Failure("the headings " + Quoted(Excerpt(header_[first->first])) + " and " +
                      Quoted(Excerpt(header_[position])) +
                      " are one band; name those to take with --bands");
    bands_.emplace_back(position, band);
    isUsed_[position] = true;
}

// Columns that a file has for its readers are not to become bands unasked.
void ImportedColumns::TakeOthers(bool isAsked, ImportedBands& bands) {
    for (std::size_t i = 0; i < header_.size(); ++i) {
        if (isUsed_[i] || header_[i].empty()) continue;
        if (!isAsked && !bands.IsKnown(header_[i]))
            throw Failure("there is no column Value, and no band " + Quoted(Excerpt(header_[i])) +
                          "; say what holds the values with --column value=NAME or --bands, or "
                          "that every other column is a band with --wide");
        AddBand(i, bands.OfHeading(header_[i]));
    }
}

void ImportedColumns::Require(const ImportOptions& options) const {
    const auto require = [&](CsvColumn column, const std::string& given, const char* option) {
        if (!Has(column) && given.empty())
            throw Failure("there is no column " + std::string(kCsvNames[column]) +
                          "; name one with --column, or give " + option);
    };
    require(kInstrumentColumn, options.instrument, "--instrument");
    require(kMeasurementColumn, options.measurement, "--measurement");
    require(kFunctionColumn, options.function, "--function");
    if (!Has(kPeriodColumn) && !Has(kTimeColumn))
        throw Failure("there is neither a column Period nor one Time; name one with --column");
    if (bands_.empty() && !Has(kValueColumn))
        throw Failure("there is no column with values; name one with --column value=NAME");
}

std::optional<std::size_t> ImportedColumns::FindPosition(std::string_view name) const {
    const auto isNamed = [&](const std::string& each) { return IsSame(each, name); };
    const auto found = std::ranges::find_if(header_, isNamed);
    if (found == header_.end()) return std::nullopt;
    if (std::any_of(std::next(found), header_.end(), isNamed))
        throw Failure("two columns are named " + Quoted(Excerpt(name)) + "; give one another name");
    return static_cast<std::size_t>(found - header_.begin());
}

std::size_t ImportedColumns::PositionOf(std::string_view name) const {
    if (const auto position = FindPosition(name)) return *position;
    std::string names;
    for (const auto& each : header_)
        names += (names.empty() ? "" : ", ") + Printable(each);
    throw Failure("there is no column " + Quoted(name) +
                  "; the file has: " + Excerpt(names, kLongestList));
}

}  // namespace mersola::tool
