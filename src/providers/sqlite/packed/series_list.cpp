// Blocks are found by jumping from series to series; of pending rows there are few.
#include "series_list.h"

#include <algorithm>
#include <iterator>

#include "period_row.h"

namespace mersola::packed {

namespace {

std::vector<ChannelAndFunction> Walk(Sql next, Statements& statements, std::int32_t measValueId,
                                     Range channels, Range functions) {
    std::vector<ChannelAndFunction> found;
    if (channels.IsEmpty() || functions.IsEmpty()) return found;
    std::int64_t channel = channels.first;
    std::int64_t funcId = functions.first - 1;
    while (true) {
        const auto row = statements.Take(next, measValueId, channel, funcId);
        if (!row->Step()) return found;
        const std::pair before(channel, funcId);
        channel = row->Int32(0);
        funcId = row->Int32(1);
        RequireOrder(before < std::pair(channel, funcId));
        if (channel > channels.last) return found;
        if (functions.Holds(funcId)) {
            found.emplace_back(channel, funcId);
        } else if (funcId < functions.first) {
            funcId = functions.first - 1;
        } else {
            ++channel;
            funcId = functions.first - 1;
        }
    }
}

}  // namespace

std::vector<ChannelAndFunction> SealedSeries(Statements& statements, std::int32_t measValueId,
                                             Range channels, Range functions) {
    return Walk(Sql::NextSeries, statements, measValueId, channels, functions);
}

std::vector<ChannelAndFunction> RowSeries(Statements& statements, std::int32_t measValueId,
                                          Range channels, Range functions) {
    if (!statements.HasRows()) return {};
    return Walk(Sql::NextRowSeries, statements, measValueId, channels, functions);
}

std::vector<ChannelAndFunction> StoredSeries(Statements& statements, std::int32_t measValueId,
                                             Range channels, Range functions, Range periods) {
    if (channels.IsOne() && functions.IsOne())
        return {{static_cast<std::int32_t>(channels.first),
                 static_cast<std::int32_t>(functions.first)}};
    auto found = SealedSeries(statements, measValueId, channels, functions);
    if (statements.HasRows()) {
        const auto rows = RowSeries(statements, measValueId, channels, functions);
        std::vector<ChannelAndFunction> both;
        std::ranges::set_union(found, rows, std::back_inserter(both));
        found = std::move(both);
    }
    const auto sealed = static_cast<std::ptrdiff_t>(found.size());
    const auto rows = statements.Take(Sql::PendingRows, measValueId, periods.first, periods.last);
    PeriodRow row;
    while (rows->Step()) {
        const std::int32_t period = rows->Int32(0);
        try {
            DecodePeriod(measValueId, period, rows->Blob(1), row);
        } catch (const DamagedBlock& damaged) {
            RaiseDamage(measValueId, period, damaged.what());
        }
        for (const PeriodValue& value : row.values) {
            const ChannelAndFunction series(value.channel, value.funcId);
            if (!channels.Holds(value.channel) || !functions.Holds(value.funcId) ||
                (!found.empty() && found.back() == series))
                continue;
            const auto end = found.begin() + sealed;
            if (std::binary_search(found.begin(), end, series)) continue;
            if (std::find(end, found.end(), series) == found.end()) found.push_back(series);
        }
    }
    std::ranges::sort(found);
    return found;
}

std::optional<std::int32_t> NextReport(Statements& statements, std::int64_t measValueId) {
    std::optional<std::int32_t> next;
    for (const Sql which : {Sql::NextPendingReport, Sql::NextSealedReport, Sql::NextRowReport}) {
        if (which == Sql::NextRowReport && !statements.HasRows()) continue;
        const auto row = statements.Take(which, measValueId);
        if (!row->Step()) continue;
        RequireOrder(row->Int32(0) >= measValueId);
        next = std::min(next.value_or(row->Int32(0)), row->Int32(0));
    }
    return next;
}

}  // namespace mersola::packed
