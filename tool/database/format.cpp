// Reading and setting the mark: numbers in the header of a file, on a server rows of the history.
#include "format.h"

#include "basics/failure.h"
#include "basics/times_text.h"
#include "open_database.h"
#include "query.h"

namespace mersola::tool {
namespace {

constexpr const char* kResolutionArgument = "resolution=";
constexpr const char* kRowsArgument = "rows=";
constexpr const char* kIntoRows = "into=rows";

Format FormatInHeader(Mersola& store) {
    const auto row = Query(store, kHeaderStatement);
    const auto id = row->Fields(0).Long();
    return mersola::FormatInHeader(id, row->Fields(1).Long());
}

Format FormatInHistory(Mersola& store) try {
    Format newest;
    for (_Recordset& row : Rows(store, kHistoryStatement)) {
        const CString version = row.Fields(0).Text(), info = row.Fields(1).Text();
        const auto number = mersola::FormatInHistory(version.View(), info.View());
        if (number && *number >= newest.number) newest = {.number = *number, .isMarked = true};
    }
    return newest;
} catch (const _com_error&) {  // there is no history, or not for this user
    return {};
}

}  // namespace

Format FormatOf(Mersola& store) {
    return EngineOf(store).isFile ? FormatInHeader(store) : FormatInHistory(store);
}

std::string ValuesStatement(const Keeping& keeping) {
    std::string arguments;
    const auto add = [&](const std::string& argument) {
        arguments += (arguments.empty() ? "" : ",") + argument;
    };
    if (!keeping.resolution.empty()) add(kResolutionArgument + keeping.resolution);
    if (keeping.isConverted) add(std::string(kRowsArgument) + kRowsBeside);
    if (keeping.isConverted && keeping.intoRows) add(kIntoRows);
    return std::string("CREATE VIRTUAL TABLE MeasuredValues USING mersola_values") +
           (arguments.empty() ? "" : "(" + arguments + ")");
}

Keeping KeepingOf(Mersola& store) {
    if (!EngineOf(store).isFile) return {};
    const auto table =
        Query(store, "SELECT sql FROM sqlite_master WHERE lower(name)='measuredvalues'");
    if (table->EndOfFile()) return {};
    return KeepingIn(table->Fields(0).Text().View());
}

Keeping KeepingIn(std::string_view text) {
    Keeping keeping;
    if (text.find("mersola_values") == text.npos) return keeping;
    keeping.layout = mersola::Layout::Packed;
    keeping.isConverted = text.find(kRowsArgument) != text.npos;
    keeping.intoRows = text.find(kIntoRows) != text.npos;
    if (const auto at = text.find(kResolutionArgument); at != text.npos) {
        const auto from = at + std::string_view(kResolutionArgument).size();
        const auto step = text.substr(from, text.find_first_of(",)", from) - from);
        if (ParseNumber<double>(step)) keeping.resolution = step;  // nothing else is one
    }
    return keeping;
}

std::string FormatText(Mersola& store) {
    return FormatText(store, KeepingOf(store));
}

std::string FormatText(Mersola& store, const Keeping& keeping) {
    const Format format = FormatOf(store);
    return "format " + std::to_string(format.number) + ", values " +
           (!keeping.IsPacked()   ? "in rows"
            : keeping.isConverted ? "partly packed"
                                  : "packed") +
           (keeping.resolution.empty() ? "" : " in steps of " + Printable(keeping.resolution)) +
           (format.isMarked ? "" : ", not marked");
}

void MarkFormat(Mersola& store, int number, std::string_view deed, const std::string& more) {
    if (EngineOf(store).isFile) {
        Query(store, "PRAGMA application_id=%d", kApplicationId);
        Query(store, "PRAGMA user_version=%d", number);
    }
    versionHistory entry;
    if (store.GetVersion(nullptr, entry) == kNoVersionHistory) return;
    entry.Version = std::to_string(number).c_str();
    entry.Info = (std::string(deed) + MERSOLA_VERSION + more).c_str();
    entry.Date = CTimeEx::GetCurrentTime().ToText();
    if (store.AddVersion(nullptr, entry) != 1)
        throw Failure("the version history could not be written" + LastError(store) +
                      "; try again");
}

}  // namespace mersola::tool
