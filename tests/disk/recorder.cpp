#include "recorder.h"

#include <algorithm>
#include <iterator>
#include <sstream>
#include <stdexcept>

#include <sqlite3.h>

#include "packed/module.h"
#include "support/power_cut_vfs.h"

namespace mersola::test {
namespace {

constexpr int kFunctions = 2;
constexpr int kBands = 4;
constexpr int kReports[] = {1, 2};
constexpr int kLargeBatch = 400;     // values
constexpr int kLongPath = 48 << 10;  // bytes; the log is moved into the database by such markers
constexpr int kLongMarkers = 100;
constexpr int kShown = 6;  // entries that differ

const CTimeEx& Base() {
    static const CTimeEx base = [] {
        const CTimeEx now = CTimeEx::GetCurrentTime() - CTimeSpanEx(30, 0, 0, 0, 0);
        return CTimeEx(now.GetYear(), now.GetMonth(), now.GetDay(), 10, 0, 0, 0);
    }();
    return base;
}

long LengthOf(int report) {
    return report == 1 ? 1000 : 60000;
}

std::string PlaceOf(const std::string& measurement, int report) {
    return measurement + "|" + std::to_string(report);
}

std::string Number(double value) {
    std::ostringstream text;
    text << value;
    return text.str();
}

std::string Text(const CString& text) {
    return std::string(text.View());
}

// The number of an entry; 0 where there is none.
long NumberOf(const Contents& contents, const std::string& key) {
    const auto found = contents.find(key);
    return found == contents.end() ? 0 : std::stol(found->second);
}

void Differences(const Contents& wanted, const Contents& found, std::ostream& out) {
    int shown = 0;
    const auto show = [&](const char* what, const auto& entry) {
        if (shown++ < kShown) out << "\n  " << what << ": " << entry.first << " = " << entry.second;
    };
    for (const auto& entry : wanted) {
        const auto at = found.find(entry.first);
        if (at == found.end())
            show("missing", entry);
        else if (at->second != entry.second)
            show("found", *at), show("  in place of", entry);
    }
    for (const auto& entry : found)
        if (!wanted.contains(entry.first)) show("nobody wrote", entry);
}

}  // namespace

// ---- What is stored ----------------------------------------------------------------------------

Contents ContentsOf(const std::string& path) {
    Contents contents;
    sqlite3* db = nullptr;
    const auto add = [](void* all, int columns, char** fields, char**) {
        std::string key;
        for (int column = 0; column < columns - 1; ++column)
            key += (column > 0 ? "|" : "") + std::string(fields[column] ? fields[column] : "NULL");
        auto& there = (*static_cast<Contents*>(all))[key];
        there += fields[columns - 1] ? fields[columns - 1] : "NULL";
        return 0;
    };
    int code = sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READWRITE, nullptr);
    if (code == SQLITE_OK) code = packed::RegisterModule(db);
    const std::string names =
                          " LEFT JOIN Measurements USING (GroupId,MeasId) LEFT JOIN Groups "
                          "USING (GroupId)",
                      report = "GroupName,MeasName,ReportId,";
    for (const std::string& sql :
         {std::string("'damage',* FROM pragma_integrity_check WHERE integrity_check<>'ok'"),
          std::string("'instrument',GroupName,'' FROM Groups"),
          std::string("'measurement',GroupName,MeasName,StartAt FROM Measurements LEFT JOIN Groups "
                      "USING (GroupId)"),
          "'report'," + report + "noOfPeriods FROM Reports" + names,
          "'lowest'," + report + "ifnull(MinPeriod,0) FROM Reports" + names,
          "'key'," + report + "'' FROM MeasValueMap" + names,
          "'function'," + report + "FuncId,'' FROM MeasuredFunctions" + names,
          "'value'," + report +
              "PeriodNo,FuncId,FrqId,printf('%g',Value) FROM MeasuredValues "
              "LEFT JOIN MeasValueMap USING (MeasValueId)" +
              names,
          "'marker',GroupName,MeasName,MarkerId,Start||' '||Stop||' '||inProgess||' "
          "'||length(Path) "
          "FROM Markers" +
              names}) {
        if (code == SQLITE_OK)
            code = sqlite3_exec(db, ("SELECT " + sql).c_str(), add, &contents, nullptr);
    }
    if (code != SQLITE_OK) contents["damage|unreadable"] = sqlite3_errmsg(db);
    sqlite3_close(db);
    return contents;
}

void History::Apply(const Commit& commit, Contents& contents) {
    for (const auto& [key, value] : commit) {
        if (value)
            contents[key] = *value;
        else
            contents.erase(key);
    }
}

void History::Put(const std::string& key, std::optional<std::string> value) {
    Commit change{{key, std::move(value)}};
    Apply(change, now_);
    if (before_)
        open_.push_back(std::move(change.front()));
    else
        commits_.push_back(std::move(change));
}

void History::Put(Commit changes) {
    Apply(changes, now_);
    commits_.push_back(std::move(changes));
}

void History::Begin() {
    before_ = now_;
    open_.clear();
}

void History::End(bool commits) {
    if (commits)
        commits_.push_back(std::move(open_));
    else
        now_ = std::move(*before_);
    before_.reset();
}

// Whether the first commits are as those that the cut before has lost, and what was found is what
// more of these make of them.
bool History::Leads(std::size_t count, const Contents& found) const {
    if (count == 0 || count > lost_.size() ||
        !std::equal(commits_.begin(), commits_.begin() + static_cast<std::ptrdiff_t>(count),
                    lost_.begin()))
        return false;
    Contents state = settled_;
    for (std::size_t at = 0; at < lost_.size(); ++at) {
        Apply(lost_[at], state);
        if (at >= count && state == found) return true;
    }
    return false;
}

std::string History::Settle(const Contents& found, bool isDurable) {
    if (before_) End(false);
    Contents state = settled_;
    Contents wanted;
    for (std::size_t count = 0;; ++count) {
        if (count == acknowledged_) wanted = state;
        if ((!isDurable || count >= acknowledged_) && (state == found || Leads(count, found))) {
            settled_ = now_ = found;
            lost_.assign(commits_.begin() + static_cast<std::ptrdiff_t>(count), commits_.end());
            commits_.clear();
            acknowledged_ = 0;
            return {};
        }
        if (count == commits_.size()) break;
        Apply(commits_[count], state);
    }
    std::ostringstream fault;
    fault << "what is stored is not what the first " << acknowledged_ << " to " << commits_.size()
          << " commits left; beside the first " << acknowledged_ << ":";
    Differences(wanted, found, fault);
    return fault.str();
}

// ---- The recorder ------------------------------------------------------------------------------

bool RandomRecorder::Done(bool isDone) {
    if (isDone && !isInTransaction_) history_.Acknowledge();
    return isDone;
}

// One past the last period that has a value; 0 where none has.
long RandomRecorder::EndOfValues(const std::string& place) const {
    const std::string values = "value|" + place + "|";
    long end = 0;
    for (const auto& [key, removed] : Removed(values))
        end = std::max(end, std::stol(key.substr(values.size())) + 1);
    return end;
}

// How far the reports of a measurement reach, in milliseconds.
long RandomRecorder::ReachOf(const std::string& measurement) const {
    long reach = 0;
    for (const int report : kReports) {
        const std::string place = PlaceOf(measurement, report);
        reach = std::max({reach, NumberOf(history_.Now(), "report|" + place) * LengthOf(report),
                          EndOfValues(place) * LengthOf(report)});
    }
    // A deletion that was cut short may have gone beyond what a later recording counts.
    return std::max(reach, LowestOf(measurement));
}

// Where what was not deleted begins, in milliseconds.
long RandomRecorder::LowestOf(const std::string& measurement) const {
    long lowest = 0;
    for (const int report : kReports)
        lowest = std::max(
            lowest,
            LengthOf(report) * NumberOf(history_.Now(), "lowest|" + PlaceOf(measurement, report)));
    return lowest;
}

bool RandomRecorder::Start() {
    const char* instrument = Draw(4) == 0 ? "pier 2" : "pier 1";
    const char* measurement = Draw(4) == 0 ? "vibration" : "noise";
    const int report = Draw(4) == 0 ? 2 : 1;
    return Register(instrument, measurement, report, Draw(4) == 0 ? From::Amid : From::Behind);
}

bool RandomRecorder::StartAll() {
    const Contents stored = history_.Now();
    for (const auto& [key, count] : stored) {
        std::istringstream words(key);
        std::string kind, instrument, measurement, report;
        std::getline(words, kind, '|') && std::getline(words, instrument, '|') &&
            std::getline(words, measurement, '|') && std::getline(words, report);
        if (kind == "report" && !Register(instrument, measurement, std::stoi(report), From::Behind))
            return false;
    }
    return true;
}

bool RandomRecorder::Register(const std::string& instrument, const std::string& measurement,
                              int number, From from) try {
    Stop();
    openMarkers_.clear();
    store_ = std::make_unique<Mersola>("", "", connectString_.c_str(), 5);
    if (!store_->isConnected()) return false;
    instrument_ = {};
    instrument_.GroupName = instrument.c_str();
    instrument_.Type = "0";
    registered_ = {};
    registered_.MeasName = measurement.c_str();
    registered_.BandWidth = 3;
    registered_.Fullscale = 0.1;
    registered_.Sensitivity = 0.05;
    registered_.FrqLower = 25;
    registered_.FrqUpper = 20000;
    report_ = number;
    measurement_ = instrument + "|" + measurement;
    place_ = PlaceOf(measurement_, report_);

    const Contents& now = history_.Now();
    const bool isStored = now.contains("measurement|" + measurement_);
    const bool isResumed = now.contains("report|" + place_);
    CTimeEx& first = starts_[measurement_];
    long reach = 0;
    if (isStored) {
        // A minute is a whole period of every report.
        reach = (ReachOf(measurement_) + 59999) / 60000 * 60000 + Draw(3) * 1000;
        if (from == From::Amid) {
            const long least = std::min(LowestOf(measurement_), reach);
            reach = least + Draw(reach - least + 1);
        }
    } else {
        first = Base() + CTimeSpanEx(Draw(100000));
    }
    registered_.StartAt = first + CTimeSpanEx(reach);
    // What goes into the database, statement by statement.
    if (!now.contains("instrument|" + Text(instrument_.GroupName)))
        history_.Put("instrument|" + Text(instrument_.GroupName), "");
    if (!isStored) history_.Put("measurement|" + measurement_, Text(first.ToText()));
    for (const int report : kReports) {
        const std::string place = PlaceOf(measurement_, report);
        if (now.contains("report|" + place) && !now.contains("key|" + place))
            history_.Put("key|" + place, "");
    }
    offset_ = isResumed ? reach / Length() : 0;
    if (isResumed)
        history_.Put("report|" + place_, std::to_string(offset_));
    else
        history_.Put({{"report|" + place_, "0"}, {"lowest|" + place_, "0"}});
    if (!now.contains("key|" + place_)) history_.Put("key|" + place_, "");
    for (int function = 1; function <= kFunctions; ++function)
        history_.Put("function|" + place_ + "|" + std::to_string(function), "");
    count_ = offset_;
    period_ = 0;

    ReportInfo report;
    report.ReportId = report.ReportType = report_;
    report.PeriodLen = CTimeSpanEx(Length());
    bool isDone = store_->PutInstrument(nullptr, instrument_) &&
                  store_->PutMeasurement(nullptr, instrument_.GroupId, registered_) &&
                  store_->PutReport(nullptr, report);
    for (int function = 1; isDone && function <= kFunctions; ++function)
        isDone = store_->PutFunction(nullptr, function, 1);
    // PutReport is true for a recording that it closed. What a registration need not store may fail
    // without a word.
    return Done(isDone && store_->PutPeriodsRelative(nullptr, 0) && !Disk::Instance().IsCut());
} catch (const _com_error&) {
    return false;
}

bool RandomRecorder::Step() {
    try {
        if (Record()) return true;
    } catch (const _com_error&) {
        // As the recorder sees it, the same.
    }
    if (isInTransaction_) {
        isInTransaction_ = false;
        try {
            store_->RollbackTrans();
        } catch (const _com_error&) {
            // It is over.
        }
    }
    return false;
}

// A duplicate is told of once, when all others are stored: nothing is pending then.
bool RandomRecorder::Send() {
    return store_->PutDataEnd(batch_) || (isRefused_ && store_->PutDataEnd(batch_));
}

bool RandomRecorder::SendAgain() {
    if (!batch_) return true;
    const bool isDone = Send();
    batch_ = nullptr;
    return Done(isDone);
}

bool RandomRecorder::Record() {
    if (disturb_ && !isInTransaction_ && Draw(30) == 0) return disturb_();
    const long what = Draw(isInTransaction_ ? 12 : 20);
    if (what < 2) return WriteMarker();
    if (what == 2) return CloseMarker();
    if (what < 7) return WriteBatch();
    if (what >= 12 && what < 15) return WriteTransaction();
    if (what == 15) return Checkpoint();
    if (what == 16) return Start();
    if (what == 17 && Draw(4) == 0) return Delete();
    return WriteValue();
}

long RandomRecorder::Length() const {
    return LengthOf(report_);
}

std::string RandomRecorder::ValueKey(long period, int band) const {
    return "value|" + place_ + "|" + std::to_string(offset_ + period) + "|" +
           std::to_string(band % kFunctions + 1) + "|" + std::to_string(band);
}

void RandomRecorder::ExpectValue(long period, int band, double value) {
    const std::string key = ValueKey(period, band);
    if (!history_.Now().contains(key)) history_.Put(key, Number(value));
}

void RandomRecorder::Raise(long period) {
    if (offset_ + period <= count_) return;
    count_ = offset_ + period;
    history_.Put("report|" + place_, std::to_string(count_));
}

bool RandomRecorder::WriteValue() {
    const int band = static_cast<int>(Draw(kBands));
    const double value = static_cast<double>(++values_) / 2;
    const bool isNew = !history_.Now().contains(ValueKey(period_, band));
    const bool counts = Draw(2) == 0;
    ExpectValue(period_, band, value);
    long next = 0;
    const bool isDone =
        store_->PutDataRelative(value, "", static_cast<int>(period_), band % kFunctions + 1, 1,
                                band, counts && isNew, next, false, nullptr);
    Done(isDone);  // which tells nothing of the count
    if (counts && isNew) Raise(period_ + 1);
    if (counts) ++period_;
    return isDone;
}

bool RandomRecorder::WriteBatch() {
    const long periods = Draw(40) == 0 ? kLargeBatch / kBands : 1 + Draw(4);
    batch_ = store_->PutDataStart(nullptr);
    if (!batch_) return false;
    const bool isNested = isInTransaction_;
    isRefused_ = false;
    if (!isNested) history_.Begin();
    for (long period = period_; period < period_ + periods; ++period) {
        for (int band = 0; band < kBands; ++band) {
            const double value = static_cast<double>(++values_) / 2;
            isRefused_ |= history_.Now().contains(ValueKey(period, band));
            ExpectValue(period, band, value);
            long next = 0;
            if (!store_->PutDataRelative(value, "", static_cast<int>(period), band % kFunctions + 1,
                                         1, band, true, next, true, batch_))
                throw std::logic_error("a value was not taken into a batch");
        }
    }
    if (!isNested) history_.End(true);
    if (!Send()) {
        if (isNested) batch_ = nullptr;
        return false;
    }
    batch_ = nullptr;
    Done(true);
    period_ += periods;
    Raise(period_);
    return Done(store_->PutPeriodsRelative(nullptr, static_cast<int>(period_)));
}

bool RandomRecorder::WriteMarker() {
    const bool isLong = isInTransaction_ && Draw(12) == 0;
    for (int count = isLong ? kLongMarkers : 1; count > 0; --count) {
        MarkerInfo marker;
        marker.GroupId = instrument_.GroupId;
        marker.MeasId = registered_.MeasId;
        marker.MarkerId = static_cast<int>(++markers_);
        marker.Path =
            std::string(isLong ? kLongPath : static_cast<std::size_t>(1 + Draw(200)), 'p').c_str();
        const CTimeEx start = registered_.StartAt + CTimeSpanEx(period_ * 1000);
        marker.Start = marker.Stop = start.ToText();
        marker.inProgess = !isLong;
        if (!isLong) openMarkers_.push_back({markers_, start, Text(marker.Path)});
        history_.Put("marker|" + measurement_ + "|" + std::to_string(markers_),
                     Text(marker.Start) + " " + Text(marker.Stop) + (isLong ? " 0 " : " 1 ") +
                         std::to_string(marker.Path.GetLength()));
        if (!Done(store_->PutMarker(nullptr, marker))) return false;
    }
    return true;
}

bool RandomRecorder::CloseMarker() {
    if (openMarkers_.empty()) return true;
    const OpenMarker open = openMarkers_.back();
    openMarkers_.pop_back();
    MarkerInfo marker;
    marker.GroupId = instrument_.GroupId;
    marker.MeasId = registered_.MeasId;
    marker.MarkerId = static_cast<int>(open.number);
    marker.Path = open.path.c_str();
    marker.Start = open.start.ToText();
    marker.Stop = (open.start + CTimeSpanEx(1000)).ToText();
    const std::string key = "marker|" + measurement_ + "|" + std::to_string(open.number);
    if (history_.Now().contains(key))  // it was not rolled back
        history_.Put(key, Text(marker.Start) + " " + Text(marker.Stop) + " 0 " +
                              std::to_string(open.path.size()));
    return Done(store_->UpdateMarkerStop(nullptr, marker));
}

bool RandomRecorder::WriteTransaction() {
    const long first = period_;
    const long steps = 1 + Draw(6);
    const bool commits = Draw(4) != 0;
    store_->BeginTrans();
    isInTransaction_ = true;
    history_.Begin();
    bool isDone = true;
    // Of a count that could not be raised nobody is told, and the rest may still be committed.
    for (long step = 0; isDone && step < steps; ++step)
        isDone = Record() && !Disk::Instance().HasFailed();
    // What was not committed may still be, where the commit itself fails.
    history_.End(isDone && commits);
    if (!isDone) return false;
    if (commits)
        store_->CommitTrans();
    else
        store_->RollbackTrans();
    isInTransaction_ = false;
    if (!commits) period_ = first;
    return Done(true);
}

bool RandomRecorder::Checkpoint() {
    const char* kinds[] = {"PASSIVE", "FULL", "RESTART", "TRUNCATE"};
    return store_->dbExecute(
               ("PRAGMA wal_checkpoint(" + std::string(kinds[Draw(4)]) + ")").c_str()) != nullptr;
}

// ---- Deletion ----------------------------------------------------------------------------------
//
// Here each period, and each start of markers, goes by a commit of its own. A deletion takes
// several at once, which leaves none but states that are among these.

History::Commit RandomRecorder::Removed(const std::string& prefix) const {
    History::Commit removed;
    const Contents& now = history_.Now();
    for (auto at = now.lower_bound(prefix); at != now.end() && at->first.starts_with(prefix); ++at)
        removed.emplace_back(at->first, std::nullopt);
    return removed;
}

void RandomRecorder::ExpectPeriodsDeleted(const std::string& place, long end) {
    for (long period = NumberOf(history_.Now(), "lowest|" + place); period < end; ++period) {
        History::Commit commit = Removed("value|" + place + "|" + std::to_string(period) + "|");
        commit.emplace_back("lowest|" + place, std::to_string(period + 1));
        history_.Put(std::move(commit));
    }
}

// Those that have stopped before a time, or all where that is empty.
void RandomRecorder::ExpectMarkersDeleted(const std::string& measurement,
                                          const std::string& before) {
    std::map<std::string, History::Commit> byStart;
    for (auto& marker : Removed("marker|" + measurement + "|")) {
        std::istringstream words(history_.Now().at(marker.first));
        std::string start, stop, isOpen;
        words >> start >> stop >> isOpen;
        if (before.empty() || (stop < before && isOpen == "0")) byStart[start].push_back(marker);
    }
    for (auto& [start, commit] : byStart)
        history_.Put(std::move(commit));
}

void RandomRecorder::ExpectRestDeleted(const std::string& measurement) {
    ExpectMarkersDeleted(measurement, "");
    History::Commit rest{{"measurement|" + measurement, std::nullopt}};
    for (const char* table : {"function|", "key|", "report|", "lowest|"})
        std::ranges::move(Removed(table + measurement + "|"), std::back_inserter(rest));
    history_.Put(std::move(rest));
}

void RandomRecorder::ExpectDeleted(const std::string& measurement) {
    for (const int report : kReports)
        ExpectPeriodsDeleted(PlaceOf(measurement, report),
                             EndOfValues(PlaceOf(measurement, report)));
    ExpectRestDeleted(measurement);
}

void RandomRecorder::ExpectOldDeleted(const std::string& measurement, const CTimeEx& before) {
    const long elapsed = (before - starts_[measurement]).GetTotalMilliseconds();
    bool isWhole = true;
    struct Reach {
        std::string place;
        long ended, counted, values;
    };
    std::vector<Reach> reports;
    for (const int report : kReports) {
        const std::string place = PlaceOf(measurement, report);
        if (!history_.Now().contains("report|" + place)) continue;
        const Reach& each = reports.emplace_back(Reach{place, elapsed / LengthOf(report),
                                                       NumberOf(history_.Now(), "report|" + place),
                                                       EndOfValues(place)});
        isWhole = isWhole && std::max(each.counted, each.values) <= each.ended;
    }
    for (const Reach& each : reports) {
        const long end = each.values > 0 ? std::max(each.counted, each.values) : 0;
        ExpectPeriodsDeleted(each.place, isWhole ? end : std::min(each.ended, each.counted));
    }
    ExpectMarkersDeleted(measurement, Text(before.ToText()));
    if (isWhole) ExpectRestDeleted(measurement);
}

// What is old of the instrument, the measurement that is being recorded, or the instrument.
bool RandomRecorder::Delete() {
    std::vector<std::string> measurements;
    for (const auto& [key, removed] : Removed("measurement|" + Text(instrument_.GroupName) + "|"))
        measurements.push_back(key.substr(key.find('|') + 1));
    const long kind = Draw(8);
    bool isDone = false;
    if (kind == 0) {
        ExpectDeleted(measurement_);
        isDone = store_->deleteMeasurement(nullptr, instrument_.GroupId, registered_.MeasId) == 1;
    } else if (kind == 1 && measurements.size() == 1) {  // the order of several is not known here
        ExpectDeleted(measurement_);
        history_.Put("instrument|" + Text(instrument_.GroupName), std::nullopt);
        isDone = store_->deleteInstrument(nullptr, instrument_.GroupId) == 1;
    } else {
        const CTimeEx before =
            starts_[measurement_] + CTimeSpanEx(Draw((offset_ + period_) * Length() + 1));
        std::ranges::sort(measurements, {}, [&](const std::string& measurement) {
            return Text(starts_[measurement].ToText());
        });
        for (const std::string& measurement : measurements) {
            if (Text(starts_[measurement].ToText()) < Text(before.ToText()))
                ExpectOldDeleted(measurement, before);
        }
        isDone = store_->deleteOldMeasurements(nullptr, instrument_.GroupId, before) == 1;
    }
    return Done(isDone) && (history_.Now().contains("measurement|" + measurement_) || Start());
}

}  // namespace mersola::test
