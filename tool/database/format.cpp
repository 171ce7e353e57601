// Reading and setting the mark: numbers in the header of a file, on a server rows of the history.
#include "format.h"

#include "basics/failure.h"
#include "open_database.h"
#include "query.h"

namespace mersola::tool {
namespace {

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

std::string FormatText(const Format& format) {
    return "format " + std::to_string(format.number) + ", values in rows" +
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
