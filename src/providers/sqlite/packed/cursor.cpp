#include "cursor.h"

namespace mersola::packed {

void Cursor::Open(std::shared_ptr<Statements> statements, Order order, const Ranges& ranges) {
    reader_.reset();
    periods_.reset();
    statements_ = std::move(statements);
    ranges_ = ranges;
    series_.clear();
    seriesAt_ = 0;
    atEnd_ = true;
    for (const Range& range : ranges)
        if (range.IsEmpty()) return;
    atEnd_ = false;
    descending_ = order == kByPeriodDescending;
    if (order == kBySeries) {
        const auto report = NextReport(*statements_, ranges[kMeasValueId].first);
        atEnd_ = !report || !ranges[kMeasValueId].Holds(*report);
        if (atEnd_) return;
        key_.measValueId = *report;
        series_ = StoredSeries(*statements_, *report, ranges_[kChannel], ranges_[kFuncId],
                               ranges_[kPeriodNo]);
        column_ = columnEnd_ = band_ = 0;
        block_ = {};
        NextInBlock();
    } else {
        key_.measValueId = static_cast<std::int32_t>(ranges[kMeasValueId].first);
        periods_.emplace(statements_, key_.measValueId,
                         PeriodReader::Selection{ranges[kChannel], ranges[kFuncId],
                                                 ranges[kPeriodNo], ranges[kFrqId]},
                         descending_);
        cell_ = 0;
        atEnd_ = !periods_->Next();
        if (!atEnd_) NextInPeriod();
    }
}

void Cursor::Next() {
    if (periods_) {
        NextInPeriod();
    } else {
        NextInBlock();
    }
}

bool Cursor::NextSeries() {
    while (seriesAt_ == series_.size()) {
        const auto next = NextReport(*statements_, std::int64_t{key_.measValueId} + 1);
        if (!next || !ranges_[kMeasValueId].Holds(*next)) return false;
        key_.measValueId = *next;
        series_ = StoredSeries(*statements_, *next, ranges_[kChannel], ranges_[kFuncId],
                               ranges_[kPeriodNo]);
        seriesAt_ = 0;
    }
    const auto [channel, funcId] = series_[seriesAt_++];
    key_.channel = channel;
    key_.funcId = funcId;
    reader_.emplace(statements_, key_.SeriesOf(), ranges_[kPeriodNo], ranges_[kFrqId]);
    return true;
}

bool Cursor::NextBlock() {
    while (!reader_ || !reader_->Next(block_)) {
        if (!NextSeries()) return false;
    }
    const auto [first, end] = reader_->Columns(block_);
    column_ = static_cast<std::size_t>(first);
    columnEnd_ = static_cast<std::size_t>(end);
    band_ = 0;
    return true;
}

void Cursor::NextInBlock() {
    while (true) {
        if (column_ >= columnEnd_) {
            if (!NextBlock()) {
                atEnd_ = true;
                reader_.reset();
                return;
            }
            continue;
        }
        if (band_ == block_.bands.size()) {
            band_ = 0;
            ++column_;
            continue;
        }
        const std::size_t band = band_++;
        const std::size_t cell = band * static_cast<std::size_t>(block_.periods) + column_;
        const std::uint8_t state = StateAt(block_, cell);
        if (state == kNoRow) continue;
        key_.periodNo = block_.firstPeriod + static_cast<std::int32_t>(column_);
        key_.frqId = block_.bands[band];
        isNull_ = state == kNull;
        value_ = block_.values[cell];
        status_ = &StatusAt(block_, cell);
        return;
    }
}

void Cursor::NextInPeriod() {
    if (cell_ == periods_->Cells().size()) {
        if (!periods_->Next()) {
            atEnd_ = true;
            periods_.reset();
            return;
        }
        cell_ = 0;
    }
    const auto cells = periods_->Cells();
    const std::size_t at = descending_ ? cells.size() - 1 - cell_ : cell_;
    ++cell_;
    const PeriodCell& cell = cells[at];
    key_.periodNo = periods_->Period();
    key_.channel = cell.channel;
    key_.funcId = cell.funcId;
    key_.frqId = cell.frqId;
    isNull_ = cell.isNull;
    value_ = cell.value;
    status_ = cell.status;
}

}  // namespace mersola::packed
