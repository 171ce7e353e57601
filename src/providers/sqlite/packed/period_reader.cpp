// The blocks of all series side by side; of them and of pending rows each period is gathered.
#include <algorithm>
#include <map>
#include <numeric>
#include <tuple>

#include "readers.h"

namespace mersola::packed {
namespace {

auto OrderOf(const PeriodCell& cell) {
    return std::tuple(cell.frqId, cell.channel, cell.funcId);
}

}  // namespace

PeriodReader::PeriodReader(std::shared_ptr<Statements> statements, std::int32_t measValueId,
                           const Selection& selection, bool descending)
    : reading_(std::move(statements)),
      measValueId_(measValueId),
      selection_(selection),
      descending_(descending) {
    const Range& periods = selection_.periods;
    at_ = descending ? periods.last : periods.first;
    end_ = at_;
    if (periods.IsEmpty() || selection.bands.IsEmpty()) return;
    series_ = SealedSeries(*reading_, measValueId, selection.channels, selection.functions);
    ahead_.resize(series_.size());
    for (std::size_t i = 0; i < series_.size(); ++i)
        LookAhead(i, at_);
    rowSeries_ = RowSeries(*reading_, measValueId, selection.channels, selection.functions);
}

// Finds the sealed block in which the series goes on, from this period on.
void PeriodReader::LookAhead(std::size_t index, std::int64_t from) {
    const auto [channel, funcId] = series_[index];
    // Going up, the block that the first period lies in may begin before it.
    const std::int64_t start = descending_ ? from : from & ~std::int64_t{kBlockPeriods - 1};
    const auto row = reading_->Take(descending_ ? Sql::LastSealed : Sql::FirstSealed, measValueId_,
                                    channel, funcId, start);
    ahead_[index] = row->Step() ? std::optional(row->Int32(0)) : std::nullopt;
    if (ahead_[index])
        RequireOrder(descending_ ? *ahead_[index] <= start : *ahead_[index] >= start);
}

std::optional<std::int32_t> PeriodReader::NextBlock() {
    std::optional<std::int32_t> next;
    const std::int32_t here = BlockOf(static_cast<std::int32_t>(at_));
    const auto consider = [&](std::int32_t period) {
        const std::int32_t block = BlockOf(period);
        RequireOrder(descending_ ? block <= here : block >= here);
        if (!next || (descending_ ? block > *next : block < *next)) next = block;
    };
    for (std::size_t i = 0; i < series_.size(); ++i) {
        if (ahead_[i] && (descending_ ? BlockOf(*ahead_[i]) > here : BlockOf(*ahead_[i]) < here))
            LookAhead(i, at_);
        if (ahead_[i]) consider(*ahead_[i]);
    }
    const auto row =
        reading_->Take(descending_ ? Sql::NewestPending : Sql::OldestPending, measValueId_, at_);
    if (row->Step()) consider(row->Int32(0));
    for (const auto& [channel, funcId] : rowSeries_) {
        const auto found = reading_->Take(descending_ ? Sql::LastRow : Sql::FirstRow, measValueId_,
                                          channel, funcId, at_);
        if (found->Step()) consider(found->Int32(0));
    }
    return next;
}

void PeriodReader::Load(std::int32_t block) {
    const std::int64_t first = std::int64_t{block} * kBlockPeriods;
    const Range span{std::max(first, selection_.periods.first),
                     std::min(first + kBlockPeriods - 1, selection_.periods.last)};
    at_ = descending_ ? std::min(at_, span.last) : std::max(at_, span.first);
    end_ = descending_ ? span.first - 1 : span.last + 1;

    blockCount_ = 0;
    for (std::size_t i = 0; i < series_.size(); ++i) {
        if (!ahead_[i] || BlockOf(*ahead_[i]) != block) continue;
        const Series series{measValueId_, series_[i].first, series_[i].second};
        const auto row = reading_->Take(Sql::SealedRows, series.measValueId, series.channel,
                                        series.funcId, first, first + kBlockPeriods - 1);
        if (!row->Step()) continue;  // deleted meanwhile
        if (!Range{row->Integer(0), row->Integer(1)}.Meets(span)) {
            if (row->Step()) RaiseTwoBlocks(series, block);
            continue;
        }
        if (row->IsNull(2)) RaiseDamage(series, block, "they are missing");
        if (blocks_.size() == blockCount_) blocks_.emplace_back();
        SealedSeriesBlock& into = blocks_[blockCount_];
        into.key = series_[i];
        DecodeSealed(series, row->Int32(0), row->Int32(1), row->Blob(2), selection_.bands.first,
                     selection_.bands.last + 1, into.block);
        if (row->Step()) RaiseTwoBlocks(series, block);
        ++blockCount_;
    }

    pendingCount_ = 0;
    const auto rows = reading_->Take(Sql::PendingRows, measValueId_, span.first, span.last);
    const bool isOne = selection_.channels.IsOne() && selection_.functions.IsOne();
    while (rows->Step()) {
        if (pending_.size() == pendingCount_) pending_.emplace_back();
        auto& [period, row] = pending_[pendingCount_++];
        period = rows->Int32(0);
        try {
            if (isOne) {
                DecodePeriod({measValueId_, static_cast<std::int32_t>(selection_.channels.first),
                              static_cast<std::int32_t>(selection_.functions.first)},
                             period, rows->Blob(1), row);
            } else {
                DecodePeriod(measValueId_, period, rows->Blob(1), row);
            }
        } catch (const DamagedBlock& damaged) {
            RaiseDamage(measValueId_, period, damaged.what());
        }
    }
    if (!rowSeries_.empty()) AddRows(span);
}

// Rows stand with the pending values of their period, and over them.
void PeriodReader::AddRows(Range periods) {
    std::map<std::int32_t, std::map<ChannelAndFunction, PeriodRow>> rows;
    for (const auto& [channel, funcId] : rowSeries_) {
        RowStream stream(*reading_, {measValueId_, channel, funcId}, periods, selection_.bands);
        while (!stream.AtEnd()) {
            const std::int32_t period = stream.Period();
            stream.Read(rows[period][{channel, funcId}]);
        }
    }
    for (const auto& [period, bySeries] : rows) {
        const auto end = pending_.begin() + static_cast<std::ptrdiff_t>(pendingCount_);
        auto found = std::find_if(pending_.begin(), end,
                                  [at = period](const auto& each) { return each.first == at; });
        if (found == end) {
            if (pending_.size() == pendingCount_) pending_.emplace_back();
            found = pending_.begin() + static_cast<std::ptrdiff_t>(pendingCount_++);
            found->first = period;
            found->second = {};
        }
        PeriodRow merged;
        StatusTable statuses;
        const auto add = [&](const PeriodValue& value, const PeriodRow& from) {
            merged.values.push_back(value);
            merged.values.back().status = statuses.Index(View(from.statuses[value.status]));
        };
        for (const auto& [series, row] : bySeries)
            for (const PeriodValue& value : row.values)
                add(value, row);
        const std::vector<PeriodValue> asRows = merged.values;
        for (const PeriodValue& value : found->second.values)
            if (!std::ranges::binary_search(asRows, value, Precedes)) add(value, found->second);
        std::ranges::sort(merged.values, Precedes);
        merged.statuses = statuses.Texts();
        found->second = std::move(merged);
    }
    std::sort(pending_.begin(), pending_.begin() + static_cast<std::ptrdiff_t>(pendingCount_),
              [](const auto& a, const auto& b) { return a.first < b.first; });
}

bool PeriodReader::Next() {
    const int step = descending_ ? -1 : 1;
    while (true) {
        for (; descending_ ? at_ > end_ : at_ < end_; at_ += step) {
            if (!Gather(static_cast<std::int32_t>(at_))) continue;
            period_ = static_cast<std::int32_t>(at_);
            at_ += step;
            return true;
        }
        if (!selection_.periods.Holds(at_)) return false;
        const auto block = NextBlock();
        if (!block || !Range{std::int64_t{*block} * kBlockPeriods,
                             std::int64_t{*block} * kBlockPeriods + kBlockPeriods - 1}
                           .Meets(selection_.periods))
            return false;
        Load(*block);
    }
}

bool PeriodReader::Gather(std::int32_t period) {
    unsorted_.clear();
    const auto pendingEnd = pending_.begin() + static_cast<std::ptrdiff_t>(pendingCount_);
    const auto found = std::lower_bound(
        pending_.begin(), pendingEnd, period,
        [](const auto& pending, std::int32_t wanted) { return pending.first < wanted; });
    const PeriodRow* row = found != pendingEnd && found->first == period ? &found->second : nullptr;
    auto value = row ? row->values.begin() : decltype(row->values.begin())();
    const auto end = row ? row->values.end() : value;
    const auto add = [this](const PeriodValue& each, const PeriodRow& from) {
        if (!selection_.channels.Holds(each.channel) || !selection_.functions.Holds(each.funcId) ||
            !selection_.bands.Holds(each.frqId))
            return;
        unsorted_.push_back({each.frqId, each.channel, each.funcId, each.isNull, each.value,
                             &from.statuses[each.status]});
    };
    // Both are in the order of series and bands. What is pending stands over what is sealed.
    for (std::size_t i = 0; i < blockCount_; ++i) {
        const SeriesBlock& block = blocks_[i].block;
        const auto [channel, funcId] = blocks_[i].key;
        const auto column = std::int64_t{period} - block.firstPeriod;
        if (column < 0 || column >= block.periods) continue;
        const auto periods = static_cast<std::size_t>(block.periods);
        for (std::size_t band = 0; band < block.bands.size(); ++band) {
            const std::size_t cell = band * periods + static_cast<std::size_t>(column);
            const std::uint8_t state = StateAt(block, cell);
            if (state == kNoRow) continue;
            const PeriodValue key{.channel = channel, .funcId = funcId, .frqId = block.bands[band]};
            while (value != end && Precedes(*value, key))
                add(*value++, *row);
            if (value != end && !Precedes(key, *value)) continue;
            unsorted_.push_back({key.frqId, channel, funcId, state == kNull, block.values[cell],
                                 &StatusAt(block, cell)});
        }
    }
    while (value != end)
        add(*value++, *row);
    if (unsorted_.empty()) return false;
    Sort();
    return true;
}

// Most periods have the cells of the one before.
void PeriodReader::Sort() {
    const bool isKnown =
        std::ranges::equal(unsorted_, sortedFor_, [](const PeriodCell& a, const PeriodCell& b) {
            return a.frqId == b.frqId && a.channel == b.channel && a.funcId == b.funcId;
        });
    if (!isKnown) {
        order_.resize(unsorted_.size());
        std::iota(order_.begin(), order_.end(), 0u);
        std::ranges::sort(order_, {}, [this](std::uint32_t i) { return OrderOf(unsorted_[i]); });
        sortedFor_ = unsorted_;
    }
    cells_.resize(unsorted_.size());
    for (std::size_t i = 0; i < order_.size(); ++i)
        cells_[i] = unsorted_[order_[i]];
}

}  // namespace mersola::packed
