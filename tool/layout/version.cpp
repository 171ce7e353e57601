// mersola version: what the version history of a database says.
#include <ostream>

#include "basics/failure.h"
#include "basics/times_text.h"
#include "catalogue/catalogue.h"
#include "database/format.h"
#include "database/open_database.h"
#include "database/query.h"
#include "database/snapshot.h"
#include "layout.h"

namespace mersola::tool {
namespace {

void Add(const Database& database, const VersionOptions& options, std::ostream& out) {
    RequireName("version", *options.added);
    RequireText("information", options.info);
    const auto store = OpenDatabase(database, Access::Write);
    versionHistory entry;
    if (store->GetVersion(nullptr, entry) == kNoVersionHistory)
        throw Failure(database.Name() +
                      " has no version history to add to; make a new database with: mersola init");
    entry.Version = *options.added;
    entry.Info = options.info;
    entry.Date = CTimeEx::GetCurrentTime().ToText();
    if (store->AddVersion(nullptr, entry) != 1)
        throw Failure("the version could not be added" + LastError(*store) + "; try again");
    TellDone(out, "Added version " + Quoted(*options.added) + " to the history.\n");
}

void Tell(_Recordset& row, std::ostream& out) {
    const CString info = row.Fields("Info").Text();
    CTimeEx date;
    out << "Version " << Quoted(row.Fields("Version").Text().View());
    if (CTimeEx::FromText(row.Fields("Date").Text(), date)) out << " of " << TimeText(date);
    if (!info.IsEmpty()) out << ": " << Printable(info.View());
    out << '\n';
    RequireWritten(out);
}

}  // namespace

void Version(const VersionOptions& options, std::ostream& out) {
    const Database database(options.database);
    if (options.added) Add(database, options, out);
    database.RequireThere();
    Snapshot snapshot(database);
    Mersola& store = snapshot.Store();
    versionHistory first;
    switch (store.GetVersion(nullptr, first)) {
        case 1:
            out << "Database of " << FormatText(store) << '\n';
            for (_Recordset& row : Rows(store, "SELECT * FROM VersionHistory"))
                Tell(row, out);
            break;
        case 0:
            out << "The version history is empty. Fill it with: mersola version --add\n";
            break;
        case kNoVersionHistory:
            out << "There are measurements, but no version history: whoever laid the database out "
                   "kept none.\n";
            break;
        case kNoInstruments:
            out << "There are no tables for measurements. Lay them out with: mersola init\n";
            break;
        default:
            throw Failure("the version of " + database.Name() + " cannot be read" +
                          LastError(store) + "; check that it is a database and whole");
    }
}

}  // namespace mersola::tool
