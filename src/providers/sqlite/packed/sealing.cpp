// How staged values get into the tables: into pending rows, and from there into sealed blocks.
#include <algorithm>
#include <iterator>
#include <stdexcept>

#include "store.h"

namespace mersola::packed {
namespace {

/// So many staged periods are a block's worth, which need not become pending rows first.
constexpr int kBlocksWorth = kBlockPeriods / 2;

/// A block is sealed when recording is so many periods past it: late ones may still come.
constexpr std::int64_t kGrace = 16;

/// A report may have so many pending rows wherever they lie.
constexpr std::int64_t kCrowd = 16384;
constexpr std::int64_t kCountAfter = 1024;  // more rows, it is worth while to count them

std::int64_t FirstOf(std::int64_t block) {
    return block * kBlockPeriods;
}

std::int64_t LastOf(std::int64_t block) {
    return FirstOf(block) + kBlockPeriods - 1;
}

PeriodRow PutIn(const StagedPeriod& staged, const StatusTable& statuses) {
    PeriodRow row;
    row.values.reserve(staged.values.size());
    for (const StagedValue& each : staged.values)
        if (!each.isErased) row.values.push_back(each.value);
    row.statuses = statuses.Texts();
    return row;
}

template <class Changes>
void AddRuns(std::int32_t period, const PeriodRow& row, Changes& changes) {
    for (auto at = row.values.begin(); at != row.values.end();) {
        const auto end = std::find_if(at, row.values.end(), [&](const PeriodValue& value) {
            return value.channel != at->channel || value.funcId != at->funcId;
        });
        changes[{at->channel, at->funcId}].runs.push_back({period, {at, end}, &row.statuses});
        at = end;
    }
}

template <class Changes>
void AddErased(std::int32_t period, const StagedPeriod& staged, Changes& changes) {
    for (const StagedValue& each : staged.values) {
        if (each.isErased)
            changes[{each.value.channel, each.value.funcId}].erased.push_back(
                {period, each.value.frqId});
    }
}

}  // namespace

void Store::Flush() {
    if (stage_.values == 0) return;
    for (auto& [measValueId, report] : stage_.reports) {
        if (statements_->HasRows()) FlushRows(measValueId, report);
        FlushReport(measValueId, report);
    }
    for (auto& [measValueId, report] : stage_.reports)
        report.periods.clear();
    lastStaged_ = nullptr;
    stage_.statuses.Clear();
    stage_.values = 0;
}

void Store::FlushReport(std::int32_t measValueId, StagedReport& report) {
    const bool maySeal = statements_->readers == 0;
    bool hasSealed = false;
    std::optional<std::int32_t> newest;  // of those that were put
    for (auto at = report.periods.begin(); at != report.periods.end();) {
        const std::int32_t block = BlockOf(at->first);
        int count = 0;
        auto end = at;
        Changes erased;
        for (; end != report.periods.end() && BlockOf(end->first) == block; ++end) {
            AddErased(end->first, end->second, erased);
            const bool isPut = std::ranges::any_of(
                end->second.values, [](const StagedValue& each) { return !each.isErased; });
            if (!isPut) continue;
            ++count;
            newest = end->first;
        }
        const auto isPast = [&] {
            if (end != report.periods.end()) return true;
            const auto pending = Ask(Sql::NewestPending, measValueId, kNewest);
            return pending && BlockOf(*pending) > block;
        };
        if (maySeal && count >= kBlocksWorth && isPast() && Seal(measValueId, block, at, end)) {
            hasSealed = true;
        } else {
            for (auto each = at; each != end; ++each)
                MergePeriod(measValueId, each->first, each->second);
            EraseSealed(measValueId, block, erased);
        }
        at = end;
    }
    if (maySeal && !hasSealed && newest) SealDue(measValueId, *newest);
}

void Store::MergePeriod(std::int32_t measValueId, std::int32_t period, const StagedPeriod& staged) {
    if (staged.values.empty()) return;
    PeriodRow merged;
    StatusTable table;
    StatusTranslation ofPending(table);
    StatusTranslation ofStaged(table);
    ofPending.Use(staged.pending.statuses);
    ofStaged.Use(stage_.statuses.Texts());
    const auto add = [&](PeriodValue value, StatusTranslation& translation) {
        value.status = translation[value.status];
        merged.values.push_back(value);
    };
    merged.values.reserve(staged.pending.values.size() + staged.values.size());
    try {
        auto before = staged.pending.values.begin();
        const auto end = staged.pending.values.end();
        for (const StagedValue& each : staged.values) {
            while (before != end && Precedes(*before, each.value))
                add(*before++, ofPending);
            if (before != end && !Precedes(each.value, *before)) ++before;
            if (!each.isErased) add(each.value, ofStaged);
        }
        while (before != end)
            add(*before++, ofPending);
        const bool wasStored = !staged.pending.values.empty();
        Crowd& crowd = crowds_[measValueId];
        if (!merged.values.empty()) {
            merged.statuses = table.Texts();
            EncodePeriod(measValueId, period, merged, data_);
            statements_->Run(Sql::PutPending, measValueId, period, data_);
            if (!wasStored) ++crowd.rows;
        } else if (wasStored) {
            statements_->Run(Sql::DropPending, measValueId, period, period);
            --crowd.rows;
        }
    } catch (const std::logic_error& error) {
        throw Failure(SQLITE_TOOBIG, "period " + std::to_string(period) + " of MeasValueId " +
                                         std::to_string(measValueId) +
                                         " cannot be stored: " + error.what());
    }
}

void Store::EraseSealed(std::int32_t measValueId, std::int32_t block, const Changes& changes) {
    for (const auto& [key, change] : changes) {
        const Series series{measValueId, key.first, key.second};
        SealedBlock& sealed = SealedAt(series, block);
        if (sealed.exists) ApplyChange(series, block, change, Decoded(series, block, sealed));
    }
}

std::optional<std::int64_t> Store::Seal(std::int32_t measValueId, std::int32_t block,
                                        Periods::iterator staged, Periods::iterator end) {
    Changes changes;
    std::vector<PeriodRow> rows;  // the runs refer to them
    rows.reserve(2 * kBlockPeriods);
    std::int64_t count = 0;
    const auto takePending = [&] {
        const auto pending =
            statements_->Take(Sql::PendingRows, measValueId, FirstOf(block), LastOf(block));
        for (std::int64_t last = FirstOf(block) - 1; pending->Step(); ++count) {
            const std::int32_t period = pending->Int32(0);
            if (period <= last) RaiseTwoRows(measValueId, period);
            last = period;
            PeriodRow& row = rows.emplace_back();
            try {
                DecodePeriod(measValueId, period, pending->Blob(1), row);
            } catch (const DamagedBlock& damaged) {
                RaiseDamage(measValueId, period, damaged.what());
            }
            AddRuns(period, row, changes);
        }
    };
    const auto before = [&](const ChannelAndFunction& key) -> SeriesBlock {
        const Series series{measValueId, key.first, key.second};
        SealedBlock& sealed = SealedAt(series, block);
        return sealed.exists ? Decoded(series, block, sealed) : SeriesBlock();
    };
    try {
        takePending();
        for (; staged != end; ++staged) {
            if (staged->second.values.empty()) continue;
            AddRuns(staged->first, rows.emplace_back(PutIn(staged->second, stage_.statuses)),
                    changes);
            AddErased(staged->first, staged->second, changes);
        }
        for (const auto& [key, change] : changes)
            if (!FitsBlock(before(key), change.runs)) return std::nullopt;
    } catch (const Failure& failure) {
        // What is damaged stays as it is, and keeps nobody from recording.
        if ((failure.code & 0xFF) != SQLITE_CORRUPT) throw;
        return std::nullopt;
    }
    for (const auto& [key, change] : changes)
        ApplyChange({measValueId, key.first, key.second}, block, change, before(key));
    if (count > 0) statements_->Run(Sql::DropPending, measValueId, FirstOf(block), LastOf(block));
    auto& periods = stage_.reports[measValueId].periods;
    for (auto each = periods.lower_bound(static_cast<std::int32_t>(FirstOf(block)));
         each != periods.end() && BlockOf(each->first) == block; ++each)
        each->second.isPendingKnown = false;
    lastStaged_ = nullptr;
    crowds_[measValueId].rows -= count;
    return count;
}

void Store::SealDue(std::int32_t measValueId, std::int32_t newest) {
    Crowd& crowd = crowds_[measValueId];
    auto& periods = stage_.reports[measValueId].periods;
    const auto seal = [&](std::int32_t block) {
        return Seal(measValueId, block, periods.end(), periods.end());
    };
    if (const auto oldest = Ask(Sql::OldestPending, measValueId, crowd.from)) {
        const std::int32_t block = BlockOf(*oldest);
        if (LastOf(block) + kGrace <= newest) {
            if (!seal(block)) crowd.from = LastOf(block) + 1;
            return;
        }
    }
    if (!crowd.isCounted && crowd.rows >= kCountAfter) {
        crowd.rows = Ask(Sql::CountPending, measValueId).value_or(0);
        crowd.isCounted = true;
    }
    if (!crowd.isCounted || crowd.rows <= kCrowd) return;
    const auto fullest = Ask(Sql::FullestBlock, measValueId);
    if (!fullest || !seal(*fullest)) crowd = {.rows = 0, .isCounted = false, .from = crowd.from};
}

void Store::ApplyChange(const Series& series, std::int32_t block, const Change& change,
                        SeriesBlock now) {
    Overlay(now, change.runs, change.erased);
    WriteSealed(series, block, now);
}

void Store::WriteSealed(const Series& series, std::int32_t block, const SeriesBlock& now) {
    const SealedBlock& before = SealedAt(series, block);
    const auto dropRow = [&] {
        statements_->Run(Sql::DropBlock, series.measValueId, series.channel, series.funcId,
                         FirstOf(block), LastOf(block));
    };
    if (now.bands.empty()) {
        if (before.exists) {
            statements_->Run(Sql::DropData, before.dataId);
            dropRow();
        }
    } else {
        EncodeBlock(series, now, options_.resolution, data_, summary_);
        std::int64_t dataId = before.dataId;
        if (before.exists) {
            statements_->Run(Sql::SetData, dataId, data_);
            dropRow();
        } else {
            sqlite3* db = statements_->Db();
            const auto rowid = sqlite3_last_insert_rowid(db);
            statements_->Run(Sql::AddData, data_);
            dataId = sqlite3_last_insert_rowid(db);
            sqlite3_set_last_insert_rowid(db, rowid);  // as the program knows it
        }
        statements_->Run(Sql::PutBlock, series.measValueId, series.channel, series.funcId,
                         now.firstPeriod, std::int64_t{now.firstPeriod} + now.periods - 1, dataId,
                         summary_);
    }
    ForgetSealed(series, block);
}

void Store::ErasePeriods(const Series& series, std::int32_t block, Range periods) {
    const SeriesBlock& before = Decoded(series, block, SealedAt(series, block));
    std::vector<Erased> erased;
    for (int column = 0; column < before.periods; ++column) {
        const std::int32_t period = before.firstPeriod + column;
        if (!periods.Holds(period)) continue;
        for (const std::int32_t band : before.bands)
            erased.push_back({period, band});
    }
    ApplyChange(series, block, {.runs = {}, .erased = std::move(erased)}, before);
}

void Store::DeleteRange(std::int32_t measValueId, std::int32_t firstPeriod,
                        std::int64_t endPeriod) {
    RequireTransaction();
    Flush();
    const Range periods{firstPeriod, std::min(endPeriod - 1, kNewest)};
    if (periods.IsEmpty()) return;
    statements_->Run(Sql::DropPending, measValueId, periods.first, periods.last);
    for (const auto& [channel, funcId] : RowSeries(*statements_, measValueId))
        statements_->Run(Sql::DropRows, measValueId, channel, funcId, periods.first, periods.last);
    for (const auto& [channel, funcId] : SealedSeries(*statements_, measValueId)) {
        const Series series{measValueId, channel, funcId};
        // Blocks that the range cuts are read and written anew, those in between are dropped.
        Range whole = periods;
        for (const std::int64_t cut : {periods.first, periods.last}) {
            const auto block = BlockOf(static_cast<std::int32_t>(cut));
            SealedBlock& sealed = SealedAt(series, block);
            const bool isWhole = sealed.exists && periods.Holds(sealed.firstPeriod) &&
                                 periods.Holds(sealed.lastPeriod);
            if (sealed.exists && !isWhole) ErasePeriods(series, block, periods);
            if (isWhole) continue;
            if (cut == periods.first) whole.first = LastOf(block) + 1;
            if (cut == periods.last) whole.last = FirstOf(block) - 1;
        }
        if (whole.IsEmpty()) continue;
        for (const Sql drop : {Sql::DropBlockData, Sql::DropBlock})
            statements_->Run(drop, measValueId, channel, funcId, whole.first, whole.last);
    }
    ForgetReport(measValueId);
    crowds_.erase(measValueId);
}

}  // namespace mersola::packed
