// Sealed blocks and pending rows come from two statements, both in the order of periods.
#include <algorithm>
#include <limits>

#include "readers.h"

namespace mersola::packed {
namespace {

constexpr std::int64_t kBeforeAll = std::numeric_limits<std::int64_t>::min();

}  // namespace

SeriesReader::SeriesReader(std::shared_ptr<Statements> statements, const Series& series,
                           Range periods, Range bands)
    : reading_(std::move(statements)), series_(series), periods_(periods), bands_(bands) {
    if (periods.IsEmpty() || bands.IsEmpty()) return;
    const std::int64_t first = periods.first & ~std::int64_t{kBlockPeriods - 1};
    sealed_ = reading_->Take(Sql::SealedRows, series.measValueId, series.channel, series.funcId,
                             first, periods.last);
    pending_ = reading_->Take(Sql::PendingRows, series.measValueId, periods.first, periods.last);
    hasSealed_ = sealed_->Step();
    hasPending_ = pending_->Step();
    rows_ = RowStream(*reading_, series, periods, bands);
}

bool SeriesReader::Next(SeriesBlock& out) {
    if (thinPeriod_ && NextPiece(out)) return true;
    while (hasSealed_ || hasPending_ || !rows_.AtEnd()) {
        std::int32_t next = std::numeric_limits<std::int32_t>::max();
        if (hasSealed_) next = std::min(next, sealed_->Int32(0));
        if (hasPending_) next = std::min(next, pending_->Int32(0));
        if (!rows_.AtEnd()) next = std::min(next, rows_.Period());
        const std::int32_t block = BlockOf(next);
        out.periods = 0;
        out.bands.clear();
        if (hasSealed_ && BlockOf(sealed_->Int32(0)) == block) {
            ReadSealed(out);
            SkipSealed(block);
        }
        runs_.clear();
        if (hasPending_ && BlockOf(pending_->Int32(0)) == block) CollectPending(block);
        if (!rows_.AtEnd() && BlockOf(rows_.Period()) == block) CollectRows(block);
        if (!runs_.empty()) {
            if (!FitsBlock(out, runs_)) {
                std::swap(thin_, out);
                thinPeriod_ = 0;
                if (NextPiece(out)) return true;
                continue;
            }
            Overlay(out, runs_);
        }
        if (out.bands.empty()) continue;
        const auto [first, end] = Columns(out);
        if (first < end) return true;
    }
    return false;
}

void SeriesReader::ReadSealed(SeriesBlock& out) {
    const std::int32_t first = sealed_->Int32(0);
    const std::int32_t last = sealed_->Int32(1);
    if (last < periods_.first || first > periods_.last) {
        hasSealed_ = sealed_->Step();
        return;
    }
    if (sealed_->IsNull(2)) RaiseDamage(series_, BlockOf(first), "they are missing");
    DecodeSealed(series_, first, last, sealed_->Blob(2), bands_.first, bands_.last + 1, out);
    hasSealed_ = sealed_->Step();
}

// A block whose first value was deleted meanwhile comes once more. Two at once are damage.
void SeriesReader::SkipSealed(std::int32_t block) {
    if (!hasSealed_ || BlockOf(sealed_->Int32(0)) != block) return;
    RequireOneBlock(*reading_, series_, block);
    while (hasSealed_ && BlockOf(sealed_->Int32(0)) == block)
        hasSealed_ = sealed_->Step();
}

void SeriesReader::CollectPending(std::int32_t block) {
    std::size_t count = 0;
    const auto inBands = [this](std::span<const PeriodValue> run) {
        const auto first = std::ranges::lower_bound(
            run, bands_.first, {},
            [](const PeriodValue& value) { return std::int64_t{value.frqId}; });
        const auto end = std::ranges::upper_bound(
            run, bands_.last, {},
            [](const PeriodValue& value) { return std::int64_t{value.frqId}; });
        return std::span<const PeriodValue>(first, end);
    };
    if (held_.size() < kBlockPeriods) held_.resize(kBlockPeriods);
    std::int64_t before = kBeforeAll;
    for (; hasPending_ && BlockOf(pending_->Int32(0)) == block; hasPending_ = pending_->Step()) {
        const std::int32_t period = pending_->Int32(0);
        if (period <= before) RaiseTwoRows(series_.measValueId, period);
        before = period;
        PeriodRow& row = held_[count];
        try {
            DecodePeriod(series_, period, pending_->Blob(1), row);
        } catch (const DamagedBlock& damaged) {
            RaiseDamage(series_.measValueId, period, damaged.what());
        }
        const auto run = inBands(row.values);
        if (run.empty()) continue;
        runs_.push_back({period, run, &row.statuses});
        ++count;
    }
}

void SeriesReader::CollectRows(std::int32_t block) {
    // What was collected before stays where it is: runs refer to it.
    if (heldRows_.size() < kBlockPeriods) heldRows_.resize(kBlockPeriods);
    std::int64_t before = kBeforeAll;
    for (std::size_t at = 0; !rows_.AtEnd() && BlockOf(rows_.Period()) == block; ++at) {
        const std::int32_t period = rows_.Period();
        if (period <= before) RaiseTwoRows(series_.measValueId, period);
        before = period;
        rows_.Read(heldRows_[at]);
        runs_.push_back({period, heldRows_[at].values, &heldRows_[at].statuses});
    }
}

bool SeriesReader::NextPiece(SeriesBlock& out) {
    for (; *thinPeriod_ < kBlockPeriods; ++*thinPeriod_) {
        const auto place = static_cast<std::int32_t>(*thinPeriod_);
        const std::int32_t block =
            thin_.periods > 0 ? BlockOf(thin_.firstPeriod) : BlockOf(runs_.front().period);
        const std::int32_t period = block * kBlockPeriods + place;
        if (!periods_.Holds(period)) continue;
        out = ColumnOf(thin_, period);
        for (const Run& run : runs_)
            if (run.period == period) Overlay(out, {&run, 1});
        if (out.bands.empty()) continue;
        ++*thinPeriod_;
        return true;
    }
    thinPeriod_.reset();
    return false;
}

std::pair<int, int> SeriesReader::Columns(const SeriesBlock& block) const {
    const auto column = [&](std::int64_t period) {
        return static_cast<int>(
            std::clamp<std::int64_t>(period - block.firstPeriod, 0, block.periods));
    };
    const int first = column(periods_.first);
    return {first, std::max(first, column(periods_.last + 1))};
}

}  // namespace mersola::packed
