// Running the library's deletions for people who want to know first, and to stop.
#include "removal.h"

#include <algorithm>
#include <ostream>

#include "basics/failure.h"
#include "basics/interruption.h"
#include "basics/progress.h"
#include "basics/terminal.h"
#include "basics/times_text.h"
#include "catalogue/catalogue.h"
#include "database/open_database.h"
#include "database/query.h"

namespace mersola::tool {
namespace {

std::string TextOf(const Going& going) {
    std::string text = Counted(going.periods, "period") + " with " + going.amount.Text();
    if (going.markers > 0) text += ", " + Counted(going.markers, "marker");
    if (going.files.count > 0)
        text += ", " + Counted(going.files.count, "recording file") + " of " +
                SizeText(going.files.bytes);
    return text;
}

std::string TextOf(const DeletionProgress& done) {
    std::string text = Counted(done.periods, "period");
    if (done.measurements > 0) text = Counted(done.measurements, "measurement") + ", " + text;
    if (done.markers > 0) text += ", " + Counted(done.markers, "marker");
    if (done.files > 0) text += ", " + Counted(done.files, "recording file");
    return text;
}

// What an operation has done, on top of what those before it have.
DeletionProgress operator+(DeletionProgress sum, const DeletionProgress& more) {
    sum.periods += more.periods;
    sum.periodsInAll += more.periodsInAll;
    sum.measurements += more.measurements;
    sum.markers += more.markers;
    sum.files += more.files;
    sum.filesLeft += more.filesLeft;
    sum.bytesGivenBack += more.bytesGivenBack;
    return sum;
}

}  // namespace

Removal::Removal(const RemovalOptions& options, std::ostream& out, std::ostream* terminal)
    : options_(options), out_(out), terminal_(terminal) {
    RequireFolders(options.recordingFolders);
    const Database database(options.database);
    name_ = database.Name();
    store_ = OpenDatabase(database, options.isDryRun ? Access::Read : Access::Write);
}

std::string Removal::Place(std::int32_t groupId, std::int32_t measId) const {
    const auto named = [&](const std::string& kind, std::int32_t id, const std::string& statement) {
        const auto row = Query(*store_, "%s", statement.c_str());
        const std::string name(row->EndOfFile() ? "" : row->Fields(0).Text().View());
        return kind + " " + Quoted(name) + " (" + std::to_string(id) + ")";
    };
    const std::string ofGroup = " WHERE GroupId=" + std::to_string(groupId);
    return named("instrument", groupId, "SELECT GroupName FROM Groups" + ofGroup) + ", " +
           named("measurement", measId,
                 "SELECT MeasName FROM Measurements" + ofGroup +
                     " AND MeasId=" + std::to_string(measId));
}

void Removal::AddMarkers(std::int32_t groupId, std::int32_t measId, const CTimeEx* before,
                         Going& going) {
    std::set<std::string> paths;
    if (!options_.recordingFolders.empty() && !named_) {
        named_.emplace();
        for (_Recordset& row : Rows(*store_, "SELECT Path FROM Markers WHERE Path<>''"))
            ++(*named_)[std::string(row.Fields(0).Text().View())];
    }
    for (_Recordset& row : Rows(*store_,
                                "SELECT Path,Stop,inProgess FROM Markers WHERE GroupId=%d AND "
                                "MeasId=%d",
                                groupId, measId)) {
        CTimeEx stop;
        const bool hasEnded =
            row.Fields(2).Long() == 0 && CTimeEx::FromText(row.Fields(1).Text(), stop);
        if (before && !(hasEnded && stop < *before)) continue;
        ++going.markers;
        const std::string path(row.Fields(0).Text().View());
        if (named_ && !path.empty() && --(*named_)[path] == 0) paths.insert(path);
    }
    going.files = LookFor(paths, options_.recordingFolders);
}

void Removal::Show(std::int32_t groupId, std::int32_t measId, const Going& going) {
    out_ << "  " << Place(groupId, measId) << ": " << (going.measurements > 0 ? "all of it, " : "")
         << TextOf(going) << '\n';
    RequireWritten(out_);
    sum_.measurements += going.measurements;
    sum_.periods += going.periods;
    sum_.amount += going.amount;
    sum_.markers += going.markers;
    sum_.files.count += going.files.count;
    sum_.files.bytes += going.files.bytes;
}

bool Removal::IsWanted() {
    out_ << "In all "
         << (sum_.measurements > 0 ? Counted(sum_.measurements, "measurement") + ", " : "")
         << TextOf(sum_) << ".\n"
         << std::flush;
    RequireWritten(out_);
    if (options_.isDryRun) return false;
    if (options_.isConfirmed) return true;
    const auto answer = AskOnTerminal(
        "Delete this from " + name_ + "? Only a backup brings it back. [yes/no]", Echo::On);
    if (!answer)
        throw Failure("there is no terminal to ask on; nothing was deleted; give --yes to delete");
    if (*answer != "yes" && *answer != "y") throw Failure("nothing was deleted");
    return true;
}

void Removal::Run(const std::function<int(const DeletionOptions&)>& operation) {
    const Interruption interruption;
    Progress bar(terminal_);
    DeletionProgress now;
    DeletionOptions options;
    options.pause = options_.pause;
    options.recordingFiles = !options_.recordingFolders.empty();
    options.folders = options_.recordingFolders;
    options.progress = [&](const DeletionProgress& progress) {
        now = progress;
        const auto inAll = std::max(sum_.periods, done_.periodsInAll + now.periodsInAll);
        bar.Show(static_cast<double>(done_.periods + now.periods) /
                 static_cast<double>(std::max<std::int64_t>(inAll, 1)));
        return interruption.Signal() == 0;
    };
    const auto faults = store_->getConnection()->GetErrors().size();
    const int result = operation(options);
    bar.Clear();
    done_ = done_ + now;
    if (result == 1) return;
    const std::string gone = "; gone is " + TextOf(done_) + ", and the same command goes on";
    if (const int signal = interruption.Signal(); signal != 0)
        throw Failure("stopped by a signal" + gone, 128 + signal);
    const bool isTold = store_->getConnection()->GetErrors().size() != faults;
    throw Failure("the deletion failed" +
                  (isTold ? LastError(*store_) : "; the library's log file says why") + gone);
}

void Removal::Tell() const {
    std::string lines = "Deleted " + TextOf(done_);
    if (done_.bytesGivenBack > 0)
        lines += "; the system has " + SizeText(done_.bytesGivenBack) + " back";
    lines += ".\n";
    if (done_.filesLeft > 0)
        lines += Counted(done_.filesLeft, "recording file") +
                 (done_.filesLeft == 1 ? " stays" : " stay") +
                 "; the library's log file says why.\n";
    TellDone(out_, lines);
}

}  // namespace mersola::tool
