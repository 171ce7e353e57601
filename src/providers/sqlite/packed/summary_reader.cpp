// Whatever was written over a sealed block makes its summary useless: that block is read.
#include "summary_reader.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "store.h"

namespace mersola::packed {
namespace {

std::int64_t FirstOf(std::int64_t block) {
    return block * kBlockPeriods;
}

Range PeriodsWithin(std::span<const std::int64_t> edges) {
    if (edges.size() < 2) return {0, -1};
    return {std::max(edges.front(), kOldest), std::min(edges.back() - 1, kNewest)};
}

}  // namespace

SummaryReader::SummaryReader(std::shared_ptr<Statements> statements, const Series& series,
                             std::span<const std::int64_t> edges, Range bands)
    : statements_(std::move(statements)),
      reading_(statements_),
      series_(series),
      edges_(edges.begin(), edges.end()),
      periods_(PeriodsWithin(edges)),
      bands_(bands),
      at_(periods_.first) {
    if (periods_.IsEmpty() || bands_.IsEmpty()) {
        at_ = kNone;
        return;
    }
    sealed_ =
        reading_->Take(Sql::SealedSummaries, series.measValueId, series.channel, series.funcId,
                       periods_.first & ~std::int64_t{kBlockPeriods - 1}, periods_.last);
    hasSealed_ = sealed_->Step();
}

bool SummaryReader::Next(std::vector<SummaryPiece>& out) {
    out.clear();
    while (out.empty()) {
        const auto block = NextBlock();
        if (!block) return false;
        if (!TakeSummary(*block, out)) ReadValues(*block, out);
        at_ = FirstOf(std::int64_t{*block} + 1);
    }
    return true;
}

std::optional<std::int32_t> SummaryReader::NextBlock() {
    if (at_ > periods_.last) return std::nullopt;
    while (hasSealed_ && sealed_->Int32(1) < at_) {
        const std::int32_t block = BlockOf(sealed_->Int32(0));
        hasSealed_ = sealed_->Step();
        if (hasSealed_ && BlockOf(sealed_->Int32(0)) == block)
            RequireOneBlock(*reading_, series_, block);
    }
    const auto look = [&](std::int64_t& found, Sql which, const auto&... key) {
        if (found >= at_) return;
        const auto row = statements_->Take(which, series_.measValueId, key..., at_);
        found = row->Step() ? row->Int32(0) : kNone;
        RequireOrder(found >= at_);
    };
    look(pending_, Sql::OldestPending);
    if (statements_->HasRows()) {
        look(row_, Sql::FirstRow, series_.channel, series_.funcId);
    } else {
        row_ = kNone;
    }
    std::int64_t next = std::min(pending_, row_);
    if (hasSealed_) {
        RequireOrder(BlockOf(sealed_->Int32(0)) == BlockOf(sealed_->Int32(1)));
        next = std::min<std::int64_t>(next, std::max<std::int64_t>(sealed_->Int32(0), at_));
    }
    if (next > periods_.last) return std::nullopt;
    return BlockOf(static_cast<std::int32_t>(next));
}

bool SummaryReader::TakeSummary(std::int32_t block, std::vector<SummaryPiece>& out) {
    if (std::min(pending_, row_) < FirstOf(std::int64_t{block} + 1) || !hasSealed_) return false;
    const std::int32_t first = sealed_->Int32(0);
    const std::int32_t last = sealed_->Int32(1);
    if (BlockOf(first) != block || !periods_.Holds(first) || !periods_.Holds(last)) return false;
    while (edges_[step_ + 1] <= first)
        ++step_;
    if (last >= edges_[step_ + 1]) return false;
    try {
        DecodeSummary(series_, first, sealed_->Blob(2), summaries_);
    } catch (const DamagedBlock& damaged) {
        RaiseDamage(series_, block,
                    (std::string("their summary is damaged: ") + damaged.what()).c_str());
    }
    for (const BandSummary& summary : summaries_) {
        if (summary.count > 0 && bands_.Holds(summary.band)) out.push_back({first, last, summary});
    }
    return true;
}

void SummaryReader::ReadValues(std::int32_t block, std::vector<SummaryPiece>& out) {
    const Range periods{std::max(FirstOf(block), periods_.first),
                        std::min(FirstOf(block) + kBlockPeriods - 1, periods_.last)};
    SeriesReader reader(statements_, series_, periods, bands_);
    while (reader.Next(values_)) {
        const auto [begin, end] = reader.Columns(values_);
        for (std::size_t band = 0; band < values_.bands.size(); ++band) {
            const std::size_t row = band * static_cast<std::size_t>(values_.periods);
            for (int column = begin; column < end; ++column) {
                const std::size_t cell = row + static_cast<std::size_t>(column);
                const double value = values_.values[cell];
                if (StateAt(values_, cell) != kNumber || !std::isfinite(value) ||
                    IsInvalid(StatusAt(values_, cell)))
                    continue;
                const std::int32_t period = values_.firstPeriod + column;
                out.push_back(
                    {period, period, {values_.bands[band], 1, value, value, value, value}});
            }
        }
    }
}

}  // namespace mersola::packed
