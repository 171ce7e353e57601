// Values as rows, and what an index knows of them.
#include "stored_values.h"

#include <algorithm>
#include <tuple>

#include "basics/failure.h"

namespace mersola::tool {
namespace {

constexpr std::array<const char*, 5> kKeyColumns{"MeasValueId", "Channel", "FuncId", "PeriodNo",
                                                 "FrqId"};

std::int32_t Whole(std::int64_t number) {
    if (number == static_cast<std::int32_t>(number)) return static_cast<std::int32_t>(number);
    throw Failure(std::to_string(number) + " is beyond 32 bits");
}

// Where the columns lie in the rows of a tree; nothing when one is not there.
template <std::size_t kCount>
std::optional<std::array<std::size_t, kCount>> PlacesIn(
    const StoredTree& tree, const std::array<const char*, kCount>& columns) {
    std::array<std::size_t, kCount> places{};
    for (std::size_t i = 0; i < kCount; ++i) {
        const auto at = std::ranges::find(tree.columns, columns[i]);
        if (at == tree.columns.end()) return std::nullopt;
        places[i] = static_cast<std::size_t>(at - tree.columns.begin());
    }
    return places;
}

std::int64_t NumberIn(const Record& record, std::size_t place) {
    const auto* number =
        place < record.fields.size() ? std::get_if<std::int64_t>(&record.fields[place]) : nullptr;
    if (!number) throw Failure("its key holds no whole number");
    return *number;
}

ValueKey KeyIn(const Record& record, const std::array<std::size_t, 5>& places) {
    return {Whole(NumberIn(record, places[0])), Whole(NumberIn(record, places[1])),
            Whole(NumberIn(record, places[2])), Whole(NumberIn(record, places[3])),
            Whole(NumberIn(record, places[4]))};
}

// Adds up what is lost, which comes by report and period.
class Sums {
  public:
    void Add(const ValueKey& at) {
        auto& stretches = series_[{at.key, at.channel, at.function}];
        if (stretches.empty() || at.period > std::int64_t{stretches.back().last} + 1 ||
            at.period < stretches.back().last) {
            stretches.push_back(
                {at.key, at.channel, at.function, 1, at.period, at.period, at.band, at.band});
            return;
        }
        LostValues& stretch = stretches.back();
        ++stretch.values;
        stretch.last = at.period;
        stretch.firstBand = std::min(stretch.firstBand, at.band);
        stretch.lastBand = std::max(stretch.lastBand, at.band);
    }

    std::vector<LostValues> All() const {
        std::vector<LostValues> all;
        for (const auto& [series, stretches] : series_)
            all.insert(all.end(), stretches.begin(), stretches.end());
        return all;
    }

  private:
    std::map<std::tuple<std::int32_t, std::int32_t, std::int32_t>, std::vector<LostValues>> series_;
};

std::optional<ValueKey> BoundIn(const StoredTree& table, const std::optional<TreeKey>& bound) {
    if (!bound || !table.shape.isIndex) return std::nullopt;
    Record record;
    for (const std::int64_t number : *bound)
        record.fields.emplace_back(number);
    const auto places = PlacesIn(table, kKeyColumns);
    try {
        return places ? std::optional(KeyIn(record, *places)) : std::nullopt;
    } catch (const Failure&) {
        return std::nullopt;
    }
}

}  // namespace

void ForEachValue(const StoredTree& tree, const Record& record,
                  const std::function<void(const ReadValue&)>& take) {
    const auto places = PlacesIn(tree, kKeyColumns);
    const auto rest = PlacesIn(tree, std::array<const char*, 2>{"Value", "Status"});
    if (!places || !rest) throw Failure("MeasuredValues lacks a column");
    if (!IsWhole(record)) throw Failure("a part of it cannot be read");
    ReadValue value{.at = KeyIn(record, *places)};
    const auto field = [&](std::size_t place) {
        return place < record.fields.size() ? record.fields[place] : Field();
    };
    const Field number = field((*rest)[0]), status = field((*rest)[1]);
    if (const auto* real = std::get_if<double>(&number))
        value.value = *real;
    else if (const auto* integer = std::get_if<std::int64_t>(&number))
        value.value = static_cast<double>(*integer);  // as SQLite stores a number without fraction
    else if (!std::holds_alternative<std::monostate>(number))
        throw Failure("its value is no number");
    if (const auto* text = std::get_if<std::string>(&status))
        value.status = *text;
    else if (!std::holds_alternative<std::monostate>(status))
        throw Failure("its status is no text");
    take(value);
}

ValueLosses FindLostValues(const Remains& remains,
                           const std::function<bool(const ValueKey&)>& isThere) {
    ValueLosses losses;
    const TornTree* torn = remains.TornTable(StoredTable::MeasuredValues);
    if (!torn) torn = remains.TornTable(kRowsBeside);
    if (!torn) return losses;
    const StoredTree& table = *torn->tree;
    const auto tablePlaces = PlacesIn(table, kKeyColumns);
    const StoredTree* chosen = nullptr;  // the index that is asked: one is enough
    std::optional<std::array<std::size_t, 5>> places;
    Sums sums;
    remains.ReadIndexes(
        StoredTable::MeasuredValues, [&](const StoredTree& index, const Record& record) {
            if (&index != chosen) {
                if (chosen && places) return;
                chosen = &index;
                places = PlacesIn(index, kKeyColumns);
            }
            if (!places || !tablePlaces) return;
            ValueKey at{};
            TreeKey key;
            try {
                at = KeyIn(record, *places);
                if (table.shape.isIndex) {
                    Record row{.fields = std::vector<Field>(table.columns.size())};
                    for (std::size_t i = 0; i < kKeyColumns.size(); ++i)
                        row.fields[(*tablePlaces)[i]] = record.fields[(*places)[i]];
                    key = KeyOf(table.shape, row);
                } else {
                    key = {NumberIn(record, record.fields.size() - 1)};
                }
            } catch (const Failure&) {
                return;
            }
            // The gaps lie in order.
            const auto gap = std::ranges::partition_point(
                torn->gaps, [&](const Gap& each) { return each.before && *each.before <= key; });
            if (gap == torn->gaps.end() || !gap->Holds(key) || isThere(at)) return;
            ++losses.values;
            sums.Add(at);
        });
    losses.known = sums.All();
    if (places && remains.HasWholeIndex(StoredTable::MeasuredValues)) return losses;
    for (const Gap& gap : torn->gaps)
        losses.unknown.push_back({BoundIn(table, gap.after), BoundIn(table, gap.before)});
    return losses;
}

}  // namespace mersola::tool
