// Values go first, then functions, keys, reports, markers and measurements, and the instrument goes
// last. Values, markers and files go in pieces, and the few other rows in one transaction.
#include "deletion.h"

#include <algorithm>
#include <limits>
#include <set>

#include "session/log.h"
#include "session/statement.h"

namespace mersola {
namespace {

constexpr std::int64_t kEndOfNumbers = std::numeric_limits<std::int32_t>::max();

// SQL Server locks a whole table in place of 5,000 rows.
constexpr std::int64_t kMostValuesOnServer = 4000;
constexpr std::int64_t kMarkersAtOnce = 1000;
constexpr int kGivenBack = 2;  // Room::mode
// SQLite goes through its list of free pages for each page that it gives back.
constexpr std::int64_t kMostFreePages = 16384;

CString OfMeasurement(int groupId, int measId) {
    return formatted("GroupId=%d AND MeasId=%d", groupId, measId);
}

int AsInt(std::int64_t period) {
    return static_cast<int>(
        std::clamp<std::int64_t>(period, std::numeric_limits<std::int32_t>::min(), kEndOfNumbers));
}

// Databases of other origin may have no lower bound with their reports.
bool HasLowest(const Pieces& pieces) {
    const auto rows =
        pieces.Run("SELECT * FROM Reports where MeasId=-1 and GroupId=-1 and ReportId=-1");
    for (int i = 0; i < rows->FieldCount(); ++i) {
        if (rows->FieldName(i).CompareNoCase("MinPeriod") == 0) return true;
    }
    return false;
}

// Whether a text can stand in a statement and be compared as a time.
bool IsTimeText(const CString& text) {
    return !text.IsEmpty() && std::ranges::all_of(text.View(), [](char c) {
        return (c >= '0' && c <= '9') || c == ',';
    });
}

// On one line of the log.
std::string OnOneLine(const CString& text) {
    std::string line(text.View());
    std::ranges::replace_if(
        line, [](char c) { return static_cast<unsigned char>(c) < ' '; }, '?');
    return line;
}

}  // namespace

Deletion::Deletion(const _ConnectionPtr& connection, const DeletionOptions& options)
    : pieces_(connection, options), keepsLowest_(HasLowest(pieces_)) {
    if (options.recordingFiles) files_.emplace(options);
}

Statements Deletion::Runner() {
    return [this](const CString& sql) { return pieces_.Run(sql); };
}

void Deletion::DeleteInstrument(int groupId) {
    std::set<int> measurements;
    // A key whose measurement is gone has its values all the same.
    for (const char* table : {"Measurements", "MeasValueMap"}) {
        const auto rows = pieces_.Run(
            formatted("SELECT DISTINCT MeasId FROM %s WHERE GroupId=%d", table, groupId));
        for (; !rows->EndOfFile(); rows->MoveNext())
            measurements.insert(rows->Fields(0).Long());
    }
    std::vector<OldMeasurement> whole;
    for (const int measId : measurements)
        whole.push_back(Whole(groupId, measId));
    for (const OldMeasurement& measurement : whole)
        CarryOut(measurement, nullptr);
    const CString scope = formatted("GroupId=%d", groupId);
    DeleteMarkers(scope);
    pieces_.Take(single_, [&] {
        HoldReports(scope);
        DeleteRest(scope);
        pieces_.Run("DELETE FROM Groups WHERE " + scope);
    });
}

void Deletion::DeleteMeasurement(int groupId, int measId) {
    CarryOut(Whole(groupId, measId), nullptr);
}

void Deletion::DeleteOld(std::optional<int> groupId, const CTimeEx& before) {
    const auto old = OldMeasurements(Runner(), groupId, before);
    for (const OldMeasurement& measurement : old) {
        for (const OldPeriods& periods : measurement.periods)
            pieces_.progress.periodsInAll += periods.end - periods.first;
    }
    for (const OldMeasurement& measurement : old)
        CarryOut(measurement, &before);
}

// All of a measurement, whatever its times are.
OldMeasurement Deletion::Whole(int groupId, int measId) {
    OldMeasurement whole{.groupId = groupId, .measId = measId, .isWhole = true};
    const auto rows = pieces_.Run("SELECT ReportId,MeasValueId FROM MeasValueMap WHERE " +
                                  OfMeasurement(groupId, measId));
    for (; !rows->EndOfFile(); rows->MoveNext())
        whole.periods.push_back({rows->Fields(0).Long(), rows->Fields(1).Long(), 0, 0});
    for (OldPeriods& periods : whole.periods) {
        const auto last = pieces_.Ask(formatted(
            "SELECT MAX(PeriodNo) FROM MeasuredValues WHERE MeasValueId=%d", periods.measValueId));
        if (!last) continue;
        periods.end = std::int64_t{*last} + 1;
        periods.first = NextStored(periods.measValueId).value_or(periods.end);
        pieces_.progress.periodsInAll += periods.end - periods.first;
    }
    return whole;
}

// `before` is null where all is to go. A measurement that a recorder has resumed since stays, with
// the markers that it has written.
void Deletion::CarryOut(const OldMeasurement& old, const CTimeEx* before) {
    const auto isWholeNow = [&] {
        if (!old.isWhole || !before) return old.isWhole;
        const auto now = OldNow(Runner(), old.groupId, old.measId, *before);
        return now && now->isWhole;
    };
    for (const OldPeriods& periods : old.periods)
        DeletePeriods({old.groupId, old.measId, periods.reportId}, periods);
    const CString scope = OfMeasurement(old.groupId, old.measId);
    if (before) DeleteMarkers(scope + EndedBefore(*before));
    if (!isWholeNow()) return;
    DeleteMarkers(scope);
    pieces_.Take(single_, [&] {
        HoldReports(scope);
        if (!isWholeNow()) return;
        DeleteRest(scope);
        ++pieces_.progress.measurements;
    });
}

void Deletion::DeletePeriods(const Report& report, const OldPeriods& periods) {
    const auto next = [&](std::int64_t) { return NextStored(periods.measValueId); };
    Walk(periods, next, [&](std::int64_t first, std::int64_t end) {
        DeletePiece(periods.measValueId, first, end, "");
        RaiseLowest(report, end, true);
    });
    if (RaiseLowest(report, periods.end, false))
        pieces_.Take(single_, [&] { RaiseLowest(report, periods.end, true); });
}

void Deletion::DeleteValues(int groupId, int measId, const CTimeEx& from, const CTimeEx& to,
                            const CString& condition) {
    const auto between = PeriodsBetween(Runner(), groupId, measId, from, to);
    for (const OldPeriods& periods : between)
        pieces_.progress.periodsInAll += periods.end - periods.first;
    for (const OldPeriods& periods : between) {
        const auto next = [&](std::int64_t at) { return NextStored(periods.measValueId, at); };
        Walk(periods, next, [&](std::int64_t first, std::int64_t end) {
            DeletePiece(periods.measValueId, first, end, condition);
        });
    }
}

// Deletes piece by piece. Behind a gap it goes on where `next` finds something.
void Deletion::Walk(const OldPeriods& periods,
                    const std::function<std::optional<std::int32_t>(std::int64_t)>& next,
                    const std::function<void(std::int64_t first, std::int64_t end)>& deletePiece) {
    std::int64_t at = periods.first;
    const std::int64_t last = std::min(periods.end, kEndOfNumbers);
    for (;;) {
        const std::int64_t stored =
            std::clamp<std::int64_t>(next(at).value_or(kEndOfNumbers), at, std::max(at, last));
        pieces_.progress.periods += stored - at;
        if (stored >= last) return;
        at = EndOfPiece(periods.measValueId, stored, last);
        pieces_.Take(periods_, [&] {
            deletePiece(stored, at);
            pieces_.progress.periods += at - stored;
        });
        GiveBackRoom(kMostFreePages);
    }
}

std::optional<std::int32_t> Deletion::NextStored(int measValueId,
                                                 std::optional<std::int64_t> from) const {
    return pieces_.Ask(
        formatted("SELECT MIN(PeriodNo) FROM MeasuredValues WHERE MeasValueId=%d", measValueId) +
        (from ? formatted(" AND PeriodNo>=%d", AsInt(*from)) : CString()));
}

// 1 where values are rows.
std::int64_t Deletion::PeriodsOfBlock() const {
    const Engine* const engine = pieces_.EngineOf();
    return engine && engine->periodsOfBlock ? pieces_.Ask(engine->periodsOfBlock).value_or(1) : 1;
}

// A block goes as a whole, since what is left of one is written anew. On a server, where the number
// of values decides, they are counted.
std::int64_t Deletion::EndOfPiece(int measValueId, std::int64_t first, std::int64_t end) {
    std::int64_t stop = first + periods_.size;
    const std::int64_t ofBlock = stop % periods_.least;
    stop = std::min(end, stop - (ofBlock < 0 ? ofBlock + periods_.least : ofBlock));
    while (!pieces_.IsAlone() && stop - first > 1) {
        const std::int64_t values =
            pieces_
                .Ask(formatted(
                    "SELECT count(*) FROM MeasuredValues WHERE MeasValueId=%d AND PeriodNo>=%d "
                    "AND PeriodNo<%d",
                    measValueId, AsInt(first), AsInt(stop)))
                .value_or(0);
        if (values <= kMostValuesOnServer) break;
        const std::int64_t fitting = (stop - first) * kMostValuesOnServer / values;
        stop = first + std::max<std::int64_t>(fitting, 1);
    }
    return stop;
}

void Deletion::DeletePiece(int measValueId, std::int64_t first, std::int64_t end,
                           const CString& condition) {
    const CString values =
        formatted(" FROM MeasuredValues WHERE MeasValueId=%d AND PeriodNo>=%d AND PeriodNo<%d",
                  measValueId, AsInt(first), AsInt(end)) +
        condition;
    if (pieces_.IsAlone() || end - first > 1 ||
        pieces_.Ask("SELECT count(*)" + values).value_or(0) <= kMostValuesOnServer) {
        pieces_.Run("DELETE" + values);
        return;
    }
    // A single period with more than a statement may delete.
    const auto series = pieces_.Run("SELECT DISTINCT Channel,FuncId" + values);
    for (; !series->EndOfFile(); series->MoveNext())
        pieces_.Run("DELETE" + values +
                    formatted(" AND Channel=%d AND FuncId=%d", series->Fields(0).Long(),
                              series->Fields(1).Long()));
}

// Whether the lower bound that is kept with the report lies below `period`.
bool Deletion::RaiseLowest(const Report& report, std::int64_t period, bool isToBeDone) {
    if (!keepsLowest_) return false;
    const CString of = formatted("GroupId=%d AND MeasId=%d AND ReportId=%d", report.groupId,
                                 report.measId, report.reportId);
    // The row is locked, so that another retention does not raise it further in between.
    if (isToBeDone) pieces_.Run("UPDATE Reports SET MinPeriod=MinPeriod WHERE " + of);
    const auto rows = pieces_.Run("SELECT MinPeriod FROM Reports WHERE " + of);
    if (!atFirstRow(rows) || rows->Fields(0).Long() >= period) return false;
    if (isToBeDone)
        pieces_.Run(formatted(
            "UPDATE Reports SET MinPeriod=%d WHERE GroupId=%d AND MeasId=%d AND ReportId=%d",
            AsInt(period), report.groupId, report.measId, report.reportId));
    return true;
}

void Deletion::DeleteMarkers(const CString& condition) {
    std::optional<std::set<std::string>> kept;
    for (bool isAll = false; !isAll;) {
        const auto rows = pieces_.Run("SELECT Start,Path FROM Markers WHERE " + condition +
                                      " ORDER BY Start ASC");
        std::set<CString> paths;
        CString last;
        std::int64_t count = 0;
        bool hasNull = false;  // they come first on some engines and last on others
        // Markers of one start go together.
        for (; !rows->EndOfFile(); rows->MoveNext(), ++count) {
            const CString start = rows->Fields(0).Text();
            if (count >= kMarkersAtOnce && start != last && IsTimeText(last)) break;
            hasNull = hasNull || rows->Fields(0).IsNull();
            last = start;
            paths.insert(rows->Fields(1).Text());
        }
        if (count == 0) return;
        isAll = rows->EndOfFile();
        rows->Close();
        if (files_) {
            if (!kept) kept = PathsToKeep(condition);
            DeleteFiles(paths, *kept);
        }
        pieces_.Take(single_, [&] {
            CString upToLast;
            if (!isAll)
                upToLast =
                    formatted(hasNull ? " AND (Start IS NULL OR Start<=%s)" : " AND Start<=%s",
                              quoteText(last).GetString());
            pieces_.Run("DELETE FROM Markers WHERE " + condition + upToLast);
            pieces_.progress.markers += count;
        });
    }
}

// The files that other markers name as well.
std::set<std::string> Deletion::PathsToKeep(const CString& condition) const {
    std::set<std::string> kept;
    const auto rows =
        pieces_.Run("SELECT Path FROM Markers WHERE NOT (" + condition +
                    ") AND Path IN (SELECT Path FROM Markers WHERE " + condition + ")");
    for (; !rows->EndOfFile(); rows->MoveNext())
        kept.emplace(rows->Fields(0).Text().View());
    return kept;
}

// Files go before their markers, so that a file always has one.
void Deletion::DeleteFiles(const std::set<CString>& paths, const std::set<std::string>& kept) {
    for (const CString& path : paths) {
        if (path.IsEmpty() || kept.contains(std::string(path.View()))) continue;
        std::string why;
        switch (files_->Delete(path, why)) {
            case RecordingFiles::Outcome::Deleted:
                ++pieces_.progress.files;
                break;
            case RecordingFiles::Outcome::NotThere:
                break;
            case RecordingFiles::Outcome::Left:
                ++pieces_.progress.filesLeft;
                WriteLogLine("***The recording file '" + OnOneLine(path) + "' stays: " + why);
                break;
        }
    }
}

// Where others write meanwhile, the rows are locked, so that whoever is storing values under them
// has done so, and whoever wants to finds them gone.
void Deletion::HoldReports(const CString& scope) {
    if (keepsLowest_ && !pieces_.IsAlone())
        pieces_.Run("UPDATE Reports SET MinPeriod=MinPeriod WHERE " + scope);
}

// What recorders have added since goes as well.
void Deletion::DeleteRest(const CString& scope) {
    std::vector<int> keys;
    const auto rows = pieces_.Run("SELECT MeasValueId FROM MeasValueMap WHERE " + scope);
    for (; !rows->EndOfFile(); rows->MoveNext())
        keys.push_back(rows->Fields(0).Long());
    for (const int key : keys)
        pieces_.Run(formatted("DELETE FROM MeasuredValues WHERE MeasValueId=%d", key));
    for (const char* table :
         {"MeasuredFunctions", "MeasValueMap", "Reports", "Markers", "Measurements"})
        pieces_.Run(CString("DELETE FROM ") + table + " WHERE " + scope);
}

void Deletion::GiveBackRoom(std::int64_t keptPages) {
    const Room* room = pieces_.EngineOf() ? pieces_.EngineOf()->room : nullptr;
    if (!room || pieces_.Ask(room->mode) != kGivenBack) return;
    std::int64_t freed = pieces_.Ask(room->freed).value_or(0);
    if (freed <= keptPages) return;
    const std::int64_t pageSize = pieces_.Ask(room->pageSize).value_or(0);
    while (freed > 0) {
        const std::int64_t asked = std::min(freed, pages_.size);
        pieces_.Take(pages_, [&] {
            const std::int64_t before = pieces_.Ask(room->freed).value_or(0);
            pieces_.Run(room->giveBack + formatted("%d", AsInt(asked)));
            freed = pieces_.Ask(room->freed).value_or(0);
            pieces_.progress.bytesGivenBack += (before - freed) * pageSize;
            if (freed >= before) freed = 0;  // it gives nothing back any more
        });
    }
}

}  // namespace mersola
