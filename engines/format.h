// What a database says of its own form, and what this version can read. docs/format.md describes
// each format.
#pragma once

#include <array>
#include <charconv>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace mersola {

/// The number of our files among SQLite's (application_id): the letters "mers".
inline constexpr std::int32_t kApplicationId = 0x6D657273;

/// Formats are counted from 1 on. A database has the least one that says how to read it, so that
/// older versions read all that they can.
inline constexpr int kRowsFormat = 1;    ///< values are rows of MeasuredValues
inline constexpr int kPackedFormat = 2;  ///< values lie in blocks of periods
inline constexpr int kNewestFormat = kPackedFormat;

/// In the order of StoredTable.
inline constexpr std::array kTableNames{
    "FuncNameMap",  "FrqNameMap",        "Groups",  "Measurements",   "Reports",
    "MeasValueMap", "MeasuredFunctions", "Markers", "MeasuredValues", "VersionHistory"};

struct Format {
    int number = kRowsFormat;
    bool isMarked = false;       ///< false for a database of a time before there were marks
    bool hasOthersMark = false;  ///< a SQLite file has numbers that somebody else gave it

    bool IsKnown() const { return number <= kNewestFormat; }
};

/// Gives application_id and user_version of a SQLite file. Without our application_id they are
/// somebody else's, such as a user's, and say nothing of the format.
inline constexpr const char* kHeaderStatement =
    "SELECT application_id,user_version FROM pragma_application_id,pragma_user_version";

constexpr Format FormatInHeader(std::int64_t applicationId, std::int64_t userVersion) {
    if (applicationId != kApplicationId)
        return {.hasOthersMark = applicationId != 0 || userVersion != 0};
    if (userVersion < 1) return {};
    return {.number = static_cast<int>(userVersion), .isMarked = true};
}

/// Rows that mersola itself adds to the version history have the format in Version, and one of
/// these in front of its own version in Info. Other rows say nothing of the format.
inline constexpr std::string_view kLaidOutBy = "Laid out by mersola ";
inline constexpr std::string_view kUpgradedBy = "Upgraded by mersola ";

/// Gives such rows. It waits for nobody who adds one.
inline constexpr const char* kHistoryStatement =
    "SELECT Version,Info FROM VersionHistory WITH (NOLOCK) WHERE Info LIKE 'Laid out by mersola %' "
    "OR Info LIKE 'Upgraded by mersola %'";

/// The format in a row of the version history; nothing in one that is not mersola's own.
inline std::optional<int> FormatInHistory(std::string_view version, std::string_view info) {
    int number = 0;
    const char* const end = version.data() + version.size();
    const auto [stop, error] = std::from_chars(version.data(), end, number);
    const bool isOwn = info.starts_with(kLaidOutBy) || info.starts_with(kUpgradedBy);
    if (!isOwn || error != std::errc() || stop != end || number < 1) return std::nullopt;
    return number;
}

/// The version of mersola that added such a row.
constexpr std::string_view WriterInHistory(std::string_view info) {
    info.remove_prefix((info.starts_with(kLaidOutBy) ? kLaidOutBy : kUpgradedBy).size());
    return info.substr(0, info.find_first_of(": "));
}

// Words by which the tool tells why a database was refused.
inline constexpr std::string_view kIsNoTable = "and no table of mersola";
inline constexpr std::string_view kIsTooNew = "this version of mersola reads formats up to ";

/// Why a database of a newer format is refused. `writer` is empty where it is not known.
inline std::string TooNew(int number, std::string_view writer) {
    std::string words = "The database has format " + std::to_string(number) + ", and ";
    words.append(kIsTooNew).append(std::to_string(kNewestFormat)).append("; ");
    if (writer.empty()) return words + "which version wrote it is unknown";
    return words.append("mersola ").append(writer).append(" wrote it");
}

}  // namespace mersola
