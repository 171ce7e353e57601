// Losses in words.
#include "known_places.h"

#include "basics/failure.h"
#include "basics/times_text.h"

namespace mersola::tool {
namespace {

std::string Named(const char* what, const std::string& name, std::int32_t number) {
    return std::string(what) + " " + (name.empty() ? "" : Quoted(Excerpt(name)) + " ") + "(" +
           std::to_string(number) + ")";
}

template <class Map>
std::string NameIn(const Map& names, const typename Map::key_type& key) {
    const auto found = names.find(key);
    return found == names.end() ? "" : found->second;
}

}  // namespace

void KnownPlaces::Take(StoredTable table, const Row& row) {
    const std::int32_t group = NumberIn(row, "GroupId"), meas = NumberIn(row, "MeasId");
    switch (table) {
        case StoredTable::Groups:
            instruments_[group] = TextIn(row, "GroupName");
            break;
        case StoredTable::FuncNameMap:
            functions_[NumberIn(row, "FuncId")] = TextIn(row, "FuncName");
            break;
        case StoredTable::FrqNameMap:
            bands_[NumberIn(row, "FrqId")] = TextIn(row, "FrqName");
            break;
        case StoredTable::Measurements: {
            measurements_[{group, meas}] = TextIn(row, "MeasName");
            if (CTimeEx start; CTimeEx::FromText(TextIn(row, "StartAt").c_str(), start))
                starts_[{group, meas}] = start;
            break;
        }
        case StoredTable::Reports: {
            auto length = StoredLength(CString(TextIn(row, "RealPeriodLen")));
            if (!length) length = StoredLength(CString(TextIn(row, "PeriodLen")));
            if (length) lengths_[{group, meas, NumberIn(row, "ReportId")}] = *length;
            break;
        }
        case StoredTable::MeasValueMap:
            reports_[NumberIn(row, "MeasValueId")] = {group, meas, NumberIn(row, "ReportId")};
            break;
        default:
            break;
    }
}

std::string KnownPlaces::Instrument(std::int32_t group) const {
    return Named("instrument", NameIn(instruments_, group), group);
}

std::string KnownPlaces::Measurement(std::int32_t group, std::int32_t meas) const {
    return Instrument(group) + ", " +
           Named("measurement", NameIn(measurements_, {group, meas}), meas);
}

std::vector<std::string> KnownPlaces::Lines(const ValueLosses& losses) const {
    constexpr std::size_t most = 100;
    std::vector<std::string> lines;
    const auto add = [&](const auto& all) {
        for (const auto& each : all) {
            if (lines.size() == most) return;
            lines.push_back(Text(each));
        }
    };
    add(losses.known);
    add(losses.unknown);
    if (const auto all = losses.known.size() + losses.unknown.size(); all > most)
        lines.push_back("values at " + Counted(static_cast<std::int64_t>(all - most), "place") +
                        " more");
    return lines;
}

std::string KnownPlaces::Report(std::int32_t key) const {
    const auto report = reports_.find(key);
    return report == reports_.end() ? "value key " + std::to_string(key)
                                    : Measurement(report->second.group, report->second.meas) +
                                          ", report " + std::to_string(report->second.report);
}

std::string KnownPlaces::Series(std::int32_t key, std::int32_t channel,
                                std::int32_t function) const {
    return Report(key) + ", channel " + std::to_string(channel) + ", " +
           Named("function", NameIn(functions_, function), function);
}

std::string KnownPlaces::Time(std::int32_t key, std::int64_t period) const {
    const auto found = reports_.find(key);
    if (found == reports_.end()) return "an unknown time";
    const auto [group, meas, report] = found->second;
    const auto start = starts_.find({group, meas});
    const auto length = lengths_.find({group, meas, report});
    std::int64_t offset = 0;
    if (start == starts_.end() || length == lengths_.end() ||
        __builtin_mul_overflow(length->second, period, &offset))
        return "an unknown time";
    return TimeText(start->second + CTimeSpanEx(offset));
}

std::string KnownPlaces::Period(std::int32_t key, std::int32_t period) const {
    return "period " + std::to_string(period) + ", " + Time(key, period);
}

std::string KnownPlaces::Periods(std::int32_t key, std::int32_t first, std::int32_t last) const {
    return first == last ? Period(key, first)
                         : "periods " + std::to_string(first) + " to " + std::to_string(last) +
                               ", " + Time(key, first) + " to " + Time(key, std::int64_t{last} + 1);
}

std::string KnownPlaces::Text(const LostValues& lost) const {
    const std::string bands =
        lost.firstBand == lost.lastBand
            ? Named("band", NameIn(bands_, lost.firstBand), lost.firstBand)
            : "bands " + std::to_string(lost.firstBand) + " to " + std::to_string(lost.lastBand);
    return Series(lost.key, lost.channel, lost.function) + ", " + bands + ": " +
           Counted(lost.values, "value") + " in " + Periods(lost.key, lost.first, lost.last);
}

std::string KnownPlaces::Text(const UnknownValues& lost) const {
    const auto bound = [&](const std::optional<ValueKey>& at, const char* none) {
        return at ? Series(at->key, at->channel, at->function) + ", " + Period(at->key, at->period)
                  : std::string(none);
    };
    return "values that nothing tells of, from " + bound(lost.after, "the first one") + " to " +
           bound(lost.before, "the last one");
}

}  // namespace mersola::tool
