// Reading the header as the command line maps it.
#include "import_columns.h"

#include <algorithm>

#include "basics/failure.h"
#include "basics/names.h"
#include "basics/times_text.h"
#include "import_times.h"

namespace mersola::tool {
namespace {

constexpr std::size_t kLongestList = 300;  // bytes

std::optional<CsvColumn> ColumnNamed(std::string_view name) {
    const auto found = std::ranges::find_if(
        kReadNames, [&](std::string_view each) { return IsSameName(each, name); });
    if (found == kReadNames.end()) return std::nullopt;
    return static_cast<CsvColumn>(found - kReadNames.begin());
}

// "NAME=HEADING", or both in one.
std::pair<std::string, std::string> NameAndHeading(const std::string& text) {
    const auto equals = text.find('=');
    if (equals == text.npos) return {text, text};
    return {text.substr(0, equals), text.substr(equals + 1)};
}

}  // namespace

bool ImportedColumns::AreIn(std::span<const std::string> header, const ImportOptions& options) {
    const auto has = [&](std::string_view name) {
        return std::ranges::any_of(header,
                                   [&](const auto& each) { return IsSameName(each, name); });
    };
    bool hasTime = has("Time") || has("Date") || has("Period");
    for (const auto& each : options.columns) {
        const auto [name, heading] = NameAndHeading(each);
        if (!has(heading)) return false;
        const auto column = ColumnNamed(name);
        hasTime =
            hasTime || column == kTimeColumn || column == kDateColumn || column == kPeriodColumn;
    }
    const auto hasAll = [&](const auto& list) {
        return std::ranges::all_of(
            list, [&](const auto& each) { return has(NameAndHeading(each).second); });
    };
    return hasTime && hasAll(options.functions) && std::ranges::all_of(options.bands, has);
}

ImportedColumns::ImportedColumns(std::span<const std::string> header, const ImportOptions& options,
                                 ImportedKind& functions, ImportedBands& bands)
    : header_(header.begin(), header.end()), isUsed_(header.size()) {
    Assign(options.columns, bands);
    for (std::size_t i = 0; i < kReadColumns; ++i) {
        const auto position = FindPosition(kReadNames[i]);
        if (positions_[i] || !position || isUsed_[*position]) continue;
        positions_[i] = position;
        isUsed_[*position] = true;
    }
    if (!Has(kPeriodColumn) && !Has(kTimeColumn) && !Has(kDateColumn))
        throw Failure(
            "there is neither a column Period nor one Time; name one with --column time=NAME; the "
            "file has: " +
            Listed());
    for (const auto& each : options.functions)
        AddFunction(each, functions);
    for (const auto& name : options.bands)
        AddBand(PositionOf(name), bands.OfHeading(name));
    if (options.isWide || (values_.empty() && !Has(kValueColumn)))
        TakeOthers(options.isWide, bands);
    if (!values_.empty())
        positions_[kValueColumn].reset();
    else if (Has(kValueColumn))
        values_.push_back({*positions_[kValueColumn], std::nullopt, std::nullopt});
    Require(options);
}

void ImportedColumns::Settle(std::span<const std::string> fields) {
    if (Has(kDateColumn) && Has(kTimeColumn) && !In(fields, kTimeColumn).empty() &&
        !IsClock(In(fields, kTimeColumn)))
        positions_[kDateColumn].reset();
}

std::string ImportedColumns::TimeIn(std::span<const std::string> fields) const {
    const std::string &date = In(fields, kDateColumn), &time = In(fields, kTimeColumn);
    return date.empty() || time.empty() ? date + time : date + ' ' + time;
}

void ImportedColumns::Assign(const std::vector<std::string>& columns, ImportedBands& bands) {
    for (const auto& each : columns) {
        const auto [name, heading] = NameAndHeading(each);
        const std::size_t position = PositionOf(heading);
        const auto column = ColumnNamed(name);
        if (!column) {
            AddBand(position, bands.Find(name));
            continue;
        }
        positions_[*column] = position;
        isUsed_[position] = true;
    }
}

void ImportedColumns::AddFunction(const std::string& text, ImportedKind& functions) {
    const auto [name, heading] = NameAndHeading(text);
    const std::size_t position = PositionOf(heading);
    if (ParseNumber<std::int32_t>(name))
        throw Failure("the function " + Quoted(Excerpt(name)) +
                      " has a number for a name; give it one "
                      "as --functions NAME=" +
                      heading + ", or its number as '#" + name + "'");
    Add({position, functions.Find(name), std::nullopt});
}

void ImportedColumns::AddBand(std::size_t position, std::int32_t band) {
    Add({position, std::nullopt, band});
}

void ImportedColumns::Add(const ValueColumn& column) {
    const auto same = std::ranges::find_if(values_, [&](const ValueColumn& each) {
        return each.function == column.function && each.band == column.band;
    });
    if (same != values_.end())
        throw Failure("the headings " + Quoted(Excerpt(header_[same->position])) + " and " +
                      Quoted(Excerpt(header_[column.position])) + " are one " +
                      (column.band ? "band" : "function") + "; say which of them to take, with " +
                      (column.band ? "--bands" : "--functions"));
    values_.push_back(column);
    isUsed_[column.position] = true;
}

// Columns that a file has for its readers are not to become bands unasked.
void ImportedColumns::TakeOthers(bool isAsked, ImportedBands& bands) {
    for (std::size_t i = 0; i < header_.size(); ++i) {
        if (isUsed_[i] || header_[i].empty()) continue;
        if (!isAsked && !bands.IsKnown(header_[i]))
            throw Failure(
                "there is no column Value, and no band " + Quoted(Excerpt(header_[i])) +
                "; say what holds the values with --column value=NAME, --functions or --bands, or "
                "that every other column is a band with --wide");
        AddBand(i, bands.OfHeading(header_[i]));
    }
}

void ImportedColumns::Require(const ImportOptions& options) const {
    const auto require = [&](CsvColumn column, const std::string& given, const char* option) {
        if (!Has(column) && given.empty())
            throw Failure("there is no column " + std::string(kReadNames[column]) +
                          "; name one with --column, or give " + option);
    };
    require(kInstrumentColumn, options.instrument, "--instrument");
    require(kMeasurementColumn, options.measurement, "--measurement");
    if (options.functions.empty())
        require(kFunctionColumn, options.function, "--function");
    else if (Has(kFunctionColumn))
        throw Failure("the column Function says of which function a row is; leave out --functions");
    if (values_.empty())
        throw Failure("there is no column with values; name one with --column value=NAME");
}

std::optional<std::size_t> ImportedColumns::FindPosition(std::string_view name) const {
    const auto isNamed = [&](const std::string& each) { return IsSameName(each, name); };
    const auto found = std::ranges::find_if(header_, isNamed);
    if (found == header_.end()) return std::nullopt;
    if (std::any_of(std::next(found), header_.end(), isNamed))
        throw Failure("two columns are named " + Quoted(Excerpt(name)) + "; give one another name");
    return static_cast<std::size_t>(found - header_.begin());
}

std::size_t ImportedColumns::PositionOf(std::string_view name) const {
    if (const auto position = FindPosition(name)) return *position;
    throw Failure("there is no column " + Quoted(name) + "; the file has: " + Listed());
}

std::string ImportedColumns::Listed() const {
    std::string names;
    for (const auto& each : header_)
        names += (names.empty() ? "" : ", ") + Printable(Excerpt(each));
    return Excerpt(names, kLongestList);
}

}  // namespace mersola::tool
