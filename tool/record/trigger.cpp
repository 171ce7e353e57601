// From levels to markers.
#include "trigger.h"

#include <algorithm>
#include <cmath>
#include <filesystem>

#include "basics/failure.h"
#include "basics/names.h"
#include "basics/times_text.h"
#include "catalogue/catalogue.h"
#include "database/open_database.h"
#include "database/query.h"

namespace mersola::tool {
namespace {

constexpr const char* kLevelMarker = "level";

struct BandFunction {
    FunctionId id;
    std::vector<double> acoustics::PeriodLevels::*levels;
};
constexpr BandFunction kBandFunctions[] = {{kLeq, &acoustics::PeriodLevels::leq},
                                           {kLmax, &acoustics::PeriodLevels::lmax},
                                           {kLmin, &acoustics::PeriodLevels::lmin}};

std::string_view NameOf(FunctionId id) {
    return std::ranges::find(kFunctions, id, &Function::id)->name;
}

void Require(bool done, const char* what, const Mersola& store) {
    if (!done) throw Failure(std::string(what) + LastError(store));
}

// Where the sound will be found again, whatever folder a reader works in.
std::string MarkerPath(const std::string& file) {
    const auto path = std::filesystem::absolute(file).lexically_normal().string();
    RequireText("path that markers name", path);
    return path;
}

}  // namespace

std::optional<TriggerOptions> ParseTrigger(std::string_view text) {
    TriggerOptions trigger;
    const auto sign = text.find('>');
    if (sign == text.npos) return std::nullopt;
    auto name = text.substr(0, sign);
    if (name.ends_with(']')) {
        const auto bracket = name.find('[');
        if (bracket == name.npos) return std::nullopt;
        trigger.band = name.substr(bracket + 1, name.size() - bracket - 2);
        if (trigger.band.empty()) return std::nullopt;
        name = name.substr(0, bracket);
    }
    trigger.function = name;
    const auto limit = ParseNumber<double>(text.substr(sign + 1));
    if (name.empty() || !limit || !(std::abs(*limit) <= 1000)) return std::nullopt;
    trigger.limit = *limit;
    return trigger;
}

Trigger::Trigger(Mersola& store, const RecordOptions& options,
                 std::span<const acoustics::Band> bands, std::span<const float> percentages)
    : store_(store),
      limit_(options.trigger->limit),
      periodMs_(options.period.GetTotalMilliseconds()) {
    const TriggerOptions& asked = *options.trigger;
    holdPeriods_ =
        static_cast<int>((options.hold.GetTotalMilliseconds() + periodMs_ - 1) / periodMs_);
    ListText condition;
    condition.AddPair("type", kLevelMarker);
    const auto percentile = std::ranges::find_if(percentages, [&](float percentage) {
        return IsSameName(asked.function, "L" + NumberText(percentage));
    });
    marker_.frqId = kBroadband;
    if (percentile != percentages.end()) {
        percentile_ = static_cast<std::size_t>(percentile - percentages.begin());
        levelOf_ = [at = *percentile_](const auto& levels) { return levels.exceeded[at]; };
        condition.AddPair("function", ("L" + NumberText(*percentile)).c_str());
    } else if (IsSameName(asked.function, NameOf(kLaeq))) {
        marker_.funcId = kLaeq;
        levelOf_ = [](const auto& levels) { return levels.laeq; };
        condition.AddPair("function", std::string(NameOf(kLaeq)).c_str());
    } else {
        ChooseBand(asked, bands);
        condition.AddPair("function",
                          std::string(NameOf(static_cast<FunctionId>(marker_.funcId))).c_str());
    }
    if (marker_.frqId != kBroadband) condition.AddPair("band", band_.c_str());
    if (marker_.frqId == kBroadband && !asked.band.empty())
        throw Failure("the function " + Quoted(asked.function) +
                      " is measured over all bands; give --trigger without " + Quoted(asked.band));
    condition.AddPair("level", NumberText(limit_).c_str());
    marker_.Path = MarkerPath(options.file);
    marker_.MarkerId = marker_.MarkerType = 1;
    marker_.ExtMarkerType = kLevelMarker;
    marker_.TriggerCondition = condition.ToText();
}

void Trigger::ChooseBand(const TriggerOptions& asked, std::span<const acoustics::Band> bands) {
    const auto function = std::ranges::find_if(kBandFunctions, [&](const auto& each) {
        return IsSameName(asked.function, NameOf(each.id));
    });
    if (function == std::end(kBandFunctions))
        throw Failure(
            "the function " + Quoted(asked.function) +
            " is not measured; give --trigger LAeq, a percentile, or a band as Leq[1 kHz]");
    const auto band = std::ranges::find_if(
        bands, [&](const auto& each) { return IsSameName(asked.band, each.name); });
    if (band == bands.end())
        throw Failure("there is no band " + Quoted(asked.band) + " for " + Quoted(asked.function) +
                      "; give one from " + std::string(bands.front().name) + " to " +
                      std::string(bands.back().name) + ", as Leq[1 kHz]>60");
    marker_.funcId = function->id;
    marker_.frqId = band->number;
    band_ = band->name;
    levelOf_ = [values = function->levels, at = static_cast<std::size_t>(band - bands.begin())](
                   const acoustics::PeriodLevels& levels) { return (levels.*values)[at]; };
}

void Trigger::Begin(const Place& place, std::span<const PercentileFunction> percentiles) {
    place_ = place;
    marker_.GroupId = place.groupId;
    marker_.MeasId = place.measId;
    if (percentile_) marker_.funcId = percentiles[*percentile_].id;
    for (MarkerInfo& each : ReadOpenMarkers(store_)) {
        CTimeEx start;
        if (each.ExtMarkerType != marker_.ExtMarkerType || each.funcId != marker_.funcId ||
            each.frqId != marker_.frqId || !CTimeEx::FromText(each.Start, start))
            continue;
        // The same sound over the same time opens and closes it anew.
        if (each.Path == marker_.Path && (start - place.first).GetTotalMilliseconds() >= 0)
            leftOpen_.Add(each);
        else
            CloseLeftOpen(each);
    }
}

void Trigger::Add(int period, std::span<const acoustics::PeriodLevels> levels) {
    const bool isAbove = std::ranges::any_of(levels, [&](const acoustics::PeriodLevels& each) {
        return each.valid && levelOf_(each) > limit_;
    });
    if (isAbove) {
        below_ = 0;
        if (!isOpen_) Open(period);
    } else if (isOpen_ && ++below_ >= holdPeriods_) {
        Close(period + 1 - below_);
    }
}

void Trigger::Finish(int periods) {
    if (isOpen_) Close(periods - below_);
    for (MarkerInfo& each : leftOpen_)
        CloseLeftOpen(each);
    leftOpen_.RemoveAll();
}

void Trigger::Open(int period) {
    marker_.Start = marker_.Stop =
        (place_.first + CTimeSpanEx(periodMs_ * std::int64_t{period})).ToText();
    // A sound that is recorded over again meets its markers.
    if (!place_.isResumed || !IsStored())
        Require(store_.PutMarkerRelative(nullptr, marker_, period), "a marker could not be stored",
                store_);
    for (int i = leftOpen_.GetSize(); i-- > 0;) {
        if (leftOpen_[i].Start == marker_.Start) leftOpen_.RemoveAt(i);
    }
    isOpen_ = true;
    ++markers_;
}

void Trigger::Close(int period) {
    Require(store_.UpdateMarkerStopRelative(nullptr, marker_, period),
            "a marker could not be closed", store_);
    isOpen_ = false;
    below_ = 0;
}

bool Trigger::IsStored() const {
    const auto found = Query(
        store_,
        "SELECT count(*) FROM Markers WHERE GroupId=%d AND MeasId=%d AND Path='%s' AND Start='%s' "
        "AND MarkerId=%d AND funcId=%d AND frqId=%d AND ExtMarkerType='%s'",
        marker_.GroupId, marker_.MeasId, marker_.Path.GetString(), marker_.Start.GetString(),
        marker_.MarkerId, marker_.funcId, marker_.frqId, marker_.ExtMarkerType.GetString());
    return found->Fields(0).Long() > 0;
}

void Trigger::CloseLeftOpen(MarkerInfo& marker) {
    marker.Stop = place_.storedEnd.ToText();  // it was last heard of then
    Require(store_.UpdateMarkerStop(nullptr, marker), "a marker left open could not be closed",
            store_);
}

}  // namespace mersola::tool
