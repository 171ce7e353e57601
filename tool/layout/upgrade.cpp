// mersola upgrade: an older database becomes what this version would lay out.
#include <sys/stat.h>

#include <ostream>
#include <vector>

#include "basics/failure.h"
#include "database/format.h"
#include "database/open_database.h"
#include "database/query.h"
#include "database/stored_row.h"
#include "file_beside.h"
#include "layout.h"

namespace mersola::tool {
namespace {

// What is done to a database in one transaction, with a row of the version history. A step asks the
// database itself whether it is due, so that after a stop the same command goes on.
struct Step {
    const char* what;
    bool (*isDue)(Mersola& store, const Database& database);
    void (*take)(Mersola& store, const char* what);
};

// A server's history has the format since there has been one.
bool LacksMark(Mersola& store, const Database& database) {
    if (!EngineOf(store).isFile) return false;
    const Format format = FormatOf(store);
    if (format.hasOthersMark)
        throw Failure(database.Name() +
                      " has an application_id or a user_version that mersola did not set, and does "
                      "not overwrite; where nothing needs them, set both to 0 and try again");
    return !format.isMarked;
}

void Mark(Mersola& store, const char* what) {
    MarkFormat(store, KeepingOf(store).FormatNumber(), kUpgradedBy, std::string(": ") + what);
}

// In the order in which they are taken; later versions add theirs at the end.
constexpr Step kSteps[]{
    {"mark the database with its format", LacksMark, Mark},
};

std::vector<const Step*> DueSteps(Mersola& store, const Database& database) {
    std::vector<const Step*> due;
    for (const Step& step : kSteps) {
        if (step.isDue(store, database)) due.push_back(&step);
    }
    return due;
}

std::string BackupName(const Database& database, int number) {
    return database.File() + ".before-upgrade-" + std::to_string(number);
}

void RequireWhole(const Database& copy) {
    const auto store = copy.Connect(Access::Read);
    const CString found = Query(*store, "PRAGMA integrity_check(1)")->Fields(0).Text();
    if (found != "ok")
        throw Failure("the copy of " + copy.Name() + " would be damaged (" +
                      Printable(found.View()) + "); check the database and the disk");
}

// One state of the whole file, also beside recorders. Returns the name of the copy.
std::string BackUp(Mersola& store, const Database& database) {
    struct stat status {};
    stat(database.File().c_str(), &status);
    const FileBeside file(BackupName(database, 1), status.st_mode & 0777);
    Query(store, "VACUUM INTO %s", Literal(file.Path()).c_str());
    RequireWhole(database.At(file.Path()));
    int number = 1;
    while (!file.Place(BackupName(database, number)))
        ++number;
    return BackupName(database, number);
}

}  // namespace

void Upgrade(const UpgradeOptions& options, std::ostream& out) {
    const Database database(options.database);
    const auto store = OpenDatabase(database, options.isDryRun ? Access::Read : Access::Write);
    const auto due = DueSteps(*store, database);
    if (due.empty()) {
        out << database.Name() << " is of " << FormatText(*store)
            << "; there is nothing to upgrade.\n";
        return;
    }
    if (options.hasBackup && !database.IsFile())
        throw Failure(database.Name() +
                      " cannot be copied from here; back it up with its own means, and then "
                      "upgrade it with --no-backup");
    if (options.isDryRun) {
        out << database.Name() << " is of " << FormatText(*store) << ". An upgrade would:\n";
        if (options.hasBackup) out << "  copy it to a new file beside it\n";
        for (const Step* step : due)
            out << "  " << step->what << '\n';
        return;
    }
    if (options.hasBackup)
        out << "Copied it to " << Quoted(BackUp(*store, database)) << ".\n" << std::flush;
    for (const Step* step : due) {
        Transaction transaction(*store);
        if (!step->isDue(*store, database)) continue;  // another program was faster
        step->take(*store, step->what);
        transaction.Commit();
        out << "Done: " << step->what << ".\n" << std::flush;
    }
    TellDone(out, database.Name() + " is of " + FormatText(*store) + " now.\n");
}

}  // namespace mersola::tool
