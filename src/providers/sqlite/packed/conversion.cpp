// Rows beside blocks, while a database is converted. Whatever lies as a row counts: where values
// are to become rows, new ones go there at once.
#include <algorithm>

#include "row_stream.h"
#include "store.h"

namespace mersola::packed {
namespace {

std::int64_t FirstOf(std::int32_t block) {
    return std::int64_t{block} * kBlockPeriods;
}

}  // namespace

// What is left to do with staged values when rows are taken care of: everything where blocks are
// written; otherwise, to take out what older values there are.
void Store::FlushRows(std::int32_t measValueId, StagedReport& report) {
    for (const auto& [period, staged] : report.periods) {
        for (const StagedValue& each : staged.values) {
            const PeriodValue& value = each.value;
            if (options_.intoRows && !each.isErased) {
                const Status& status = stage_.statuses.Texts()[value.status];
                PutRow(Sql::PutRow, {measValueId, value.channel, value.funcId}, period, value,
                       status);
            } else if (each.mayReplace) {
                statements_->Run(Sql::DropRow, measValueId, value.channel, value.funcId, period,
                                 value.frqId);
            }
        }
    }
    lastSealed_ = nullptr;
    report.sealed.clear();
    if (!options_.intoRows) return;
    for (auto& [period, staged] : report.periods) {
        std::erase_if(staged.values, [](const StagedValue& each) { return !each.mayReplace; });
        for (StagedValue& each : staged.values)
            each.isErased = true;
    }
}

void Store::PutRow(Sql how, const Series& series, std::int32_t period, const PeriodValue& value,
                   const Status& status) {
    const auto put = [&](const auto& number) {
        statements_->Run(how, series.measValueId, series.channel, series.funcId, period,
                         value.frqId, number, status);
    };
    if (value.isNull) {
        put(nullptr);
    } else {
        put(value.value);
    }
}

std::int64_t Store::PackSome(std::int64_t limit) {
    RequireUnread();
    Flush();
    std::int64_t moved = 0;
    while (moved < limit) {
        const auto report = Ask(Sql::NextRowReport, kOldest);
        if (!report) break;
        const auto row = statements_->Take(Sql::NextRowSeries, *report, kOldest - 1, kOldest - 1);
        if (!row->Step()) break;
        const Series series{*report, row->Int32(0), row->Int32(1)};
        const auto first = Ask(Sql::FirstRow, *report, series.channel, series.funcId, kOldest);
        if (!first) break;
        moved += PackBlock(series, BlockOf(*first));
    }
    return moved;
}

std::int64_t Store::PackBlock(const Series& series, std::int32_t block) {
    const Range periods{FirstOf(block), FirstOf(block) + kBlockPeriods - 1};
    std::vector<PeriodRow> rows(kBlockPeriods);
    Change change;
    std::int64_t count = 0;
    for (RowStream stream(*statements_, series, periods, {}); !stream.AtEnd();) {
        const std::int32_t period = stream.Period();
        PeriodRow& row = rows[change.runs.size()];
        stream.Read(row);
        change.runs.push_back({period, row.values, &row.statuses});
        count += static_cast<std::int64_t>(row.values.size());
    }
    RequireOrder(count > 0);
    SealedBlock& sealed = SealedAt(series, block);
    const SeriesBlock before = sealed.exists ? Decoded(series, block, sealed) : SeriesBlock();
    if (FitsBlock(before, change.runs)) {
        ApplyChange(series, block, change, before);
        statements_->Run(Sql::DropRows, series.measValueId, series.channel, series.funcId,
                         periods.first, periods.last);
    } else {
        for (const Run& run : change.runs) {
            for (const PeriodValue& value : run.values) {
                Insert({{series.measValueId, run.period, value.channel, value.funcId, value.frqId},
                        value.isNull,
                        value.value,
                        View((*run.statuses)[value.status])},
                       true);
            }
        }
        Flush();
    }
    ForgetSealed(series, block);
    return count;
}

std::int64_t Store::UnpackSome(std::int64_t limit) {
    RequireUnread();
    Flush();
    std::int64_t moved = 0;
    while (moved < limit) {
        // What is pending counts more than what is sealed, so that it becomes rows first.
        if (const auto pending = Ask(Sql::NextPendingReport, kOldest)) {
            moved += UnpackPeriod(*pending);
            continue;
        }
        const auto report = Ask(Sql::NextSealedReport, kOldest);
        if (!report) break;
        const auto row = statements_->Take(Sql::NextSeries, *report, kOldest - 1, kOldest - 1);
        if (!row->Step()) break;
        moved += UnpackBlock({*report, row->Int32(0), row->Int32(1)});
    }
    return moved;
}

std::int64_t Store::UnpackPeriod(std::int32_t measValueId) {
    const auto period = Ask(Sql::OldestPending, measValueId, kOldest);
    if (!period) return 0;
    const PeriodRow& row = PeriodAt(measValueId, *period).pending;
    for (const PeriodValue& value : row.values) {
        PutRow(Sql::AddRow, {measValueId, value.channel, value.funcId}, *period, value,
               row.statuses[value.status]);
    }
    statements_->Run(Sql::DropPending, measValueId, *period, *period);
    const auto count = static_cast<std::int64_t>(row.values.size());
    ForgetReport(measValueId);
    return count;
}

std::int64_t Store::UnpackBlock(const Series& series) {
    const auto first =
        Ask(Sql::FirstSealed, series.measValueId, series.channel, series.funcId, kOldest);
    if (!first) return 0;
    const std::int32_t block = BlockOf(*first);
    const SeriesBlock values = Decoded(series, block, SealedAt(series, block));
    const auto periods = static_cast<std::size_t>(values.periods);
    std::int64_t count = 0;
    for (std::size_t period = 0; period < periods; ++period) {
        for (std::size_t band = 0; band < values.bands.size(); ++band) {
            const std::size_t cell = band * periods + period;
            const std::uint8_t state = StateAt(values, cell);
            if (state == kNoRow) continue;
            PutRow(Sql::AddRow, series, values.firstPeriod + static_cast<std::int32_t>(period),
                   {.frqId = values.bands[band],
                    .isNull = state == kNull,
                    .value = values.values[cell]},
                   StatusAt(values, cell));
            ++count;
        }
    }
    WriteSealed(series, block, {});
    return count;
}

}  // namespace mersola::packed
