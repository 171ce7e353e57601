// mersola upgrade: an older database becomes what this version would lay out.
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <ostream>
#include <string>
#include <vector>

#include "basics/failure.h"
#include "database/format.h"
#include "database/open_database.h"
#include "database/query.h"
#include "database/stored_row.h"
#include "file_beside.h"
#include "layout.h"
#include "views.h"

namespace mersola::tool {
namespace {

// What is done to a database in one transaction, with a row of the version history. A step asks the
// database itself whether it is due, so that after a stop the same command goes on.
struct Step {
    const char* what;
    bool (*isDue)(Mersola& store, const Database& database);
    void (*take)(Mersola& store, const char* what);
    // What SQLite does in no transaction comes first, when nobody else has the file open. `needs`
    // says what that takes, and raises Failure where it is not there.
    std::string (*needs)(Mersola& store, const Database& database) = nullptr;
    void (*takeAlone)(Mersola& store, const Database& database) = nullptr;
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

// Through ODBC nobody knows where the file is.
bool KeepsFreedRoom(Mersola& store, const Database& database) {
    const Room* room = EngineOf(store).room;
    constexpr int kIncremental = 2;
    return room && database.IsFile() && Query(store, room->mode)->Fields(0).Long() != kIncremental;
}

// SQLite writes what is in use into a file of its own, and then all of it over the database, whose
// pages it keeps in a journal beside it until that is done.
std::string RewritingNeeds(Mersola& store, const Database& database) {
    constexpr double kMebibyte = 1 << 20;
    constexpr double kMebibytesASecond = 50;
    const auto pages = [&](const char* count) {
        return Query(store, "PRAGMA %s", count)->Fields(0).Double() *
               Query(store, "PRAGMA page_size")->Fields(0).Double() / kMebibyte;
    };
    const double whole = pages("page_count"), used = whole - pages("freelist_count");
    const auto path = std::filesystem::absolute(database.File()).parent_path();
    const double free = static_cast<double>(std::filesystem::space(path).available) / kMebibyte;
    if (free < whole)
        throw Failure(
            Statement("%s needs %.0f MB of free room beside it to be rewritten, and there "
                      "are %.0f MB",
                      database.Name().c_str(), whole + 1, free));
    return Statement(
        "up to %.0f MB of free room beside the file, %.0f MB in the folder for "
        "temporary files, and about %.0f s",
        whole + 1, used + 1, whole / kMebibytesASecond + 1);
}

// Only who has the file alone can leave write-ahead mode.
bool LeaveLog(Mersola& store) try {
    return Query(store, "PRAGMA journal_mode=DELETE")->Fields(0).Text() == "delete";
} catch (const _com_error&) {
    return false;
}

void KeepLog(Mersola& store) {
    Query(store, "PRAGMA journal_mode=WAL");
}

bool IsAlone(Mersola& store) {
    const bool isAlone = LeaveLog(store);
    KeepLog(store);
    return isAlone;
}

void RefuseToRewrite(const Database& database) {
    throw Failure(database.Name() +
                  " is open in another program, so that it could not be rewritten; stop recorders "
                  "and readers and try again");
}

void Rewrite(Mersola& store, const Database& database) {
    if (!LeaveLog(store)) RefuseToRewrite(database);
    Query(store, "%s=INCREMENTAL", EngineOf(store).room->mode);
    Query(store, "VACUUM");
    KeepLog(store);
}

// In the order in which they are taken; later versions add theirs at the end.
constexpr Step kSteps[]{
    {"mark the database with its format", LacksMark, Mark},
    {"rewrite the file, so that it gives freed room back to the system", KeepsFreedRoom, Mark,
     RewritingNeeds, Rewrite},
};

// Where views are asked for. They hold nothing, so that the history need not tell of them.
constexpr Step kViews{"make the views for other programs",
                      [](Mersola&, const Database&) { return true; },
                      [](Mersola& store, const char*) { MakeViews(store); }};

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
    auto due = DueSteps(*store, database);
    const bool onlyViews = due.empty();  // then nothing that is there changes
    if (options.hasViews) due.push_back(&kViews);
    if (due.empty()) {
        out << database.Name() << " is of " << FormatText(*store)
            << "; there is nothing to upgrade.\n";
        return;
    }
    const bool hasBackup = options.hasBackup && !onlyViews;
    if (hasBackup && !database.IsFile())
        throw Failure(database.Name() +
                      " cannot be copied from here; back it up with its own means, and then "
                      "upgrade it with --no-backup");
    if (options.isDryRun) {
        out << database.Name() << " is of " << FormatText(*store) << ". An upgrade would:\n";
        if (hasBackup) out << "  copy it to a new file beside it\n";
        for (const Step* step : due) {
            out << "  " << step->what << '\n';
            if (step->needs) out << "    which takes " << step->needs(*store, database) << '\n';
        }
        return;
    }
    const auto needsAll = [](const Step* step) { return step->takeAlone != nullptr; };
    const bool isRefused = std::ranges::any_of(due, needsAll) && !IsAlone(*store);
    if (isRefused) std::erase_if(due, needsAll);  // recorders may go on beside the others
    if (hasBackup && !due.empty())
        out << "Copied it to " << Quoted(BackUp(*store, database)) << ".\n" << std::flush;
    for (const Step* step : due) {
        if (step->takeAlone) {
            out << "To " << step->what << " takes " << step->needs(*store, database) << ".\n"
                << std::flush;
            step->takeAlone(*store, database);
        }
        Transaction transaction(*store);
        // Where it is not due any more, another program was faster.
        if (!step->takeAlone && !step->isDue(*store, database)) continue;
        step->take(*store, step->what);
        transaction.Commit();
        out << "Done: " << step->what << ".\n" << std::flush;
    }
    if (isRefused) RefuseToRewrite(database);
    TellDone(out, database.Name() + " is of " + FormatText(*store) + " now.\n");
}

}  // namespace mersola::tool
