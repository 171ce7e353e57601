// A block is a dense matrix: the union of bands and periods is laid out anew, then filled.
#include "overlay.h"

#include <algorithm>
#include <limits>
#include <stdexcept>
#include <utility>

namespace mersola::packed {
namespace {

struct Extent {
    std::int32_t first = std::numeric_limits<std::int32_t>::max();
    std::int32_t last = std::numeric_limits<std::int32_t>::min();
    std::vector<std::int32_t> bands;

    std::size_t Periods() const { return static_cast<std::size_t>(last - first + 1); }
};

bool SameBands(std::span<const PeriodValue> values, const std::vector<std::int32_t>& bands) {
    return std::ranges::equal(values, bands, {}, &PeriodValue::frqId);
}

Extent Union(const SeriesBlock& block, std::span<const Run> runs) {
    Extent all;
    if (block.periods > 0 && !block.bands.empty()) {
        all.first = block.firstPeriod;
        all.last = block.firstPeriod + (block.periods - 1);
        all.bands = block.bands;
    }
    std::vector<std::int32_t> both;
    for (const Run& run : runs) {
        if (run.values.empty()) continue;
        all.first = std::min(all.first, run.period);
        all.last = std::max(all.last, run.period);
        if (SameBands(run.values, all.bands)) continue;  // as nearly always
        both.clear();
        both.reserve(all.bands.size() + run.values.size());
        auto known = all.bands.begin();
        for (const PeriodValue& value : run.values) {
            while (known != all.bands.end() && *known < value.frqId)
                both.push_back(*known++);
            if (known != all.bands.end() && *known == value.frqId) ++known;
            both.push_back(value.frqId);
        }
        both.insert(both.end(), known, all.bands.end());
        std::swap(all.bands, both);
    }
    return all;
}

std::size_t CellsOf(const Extent& extent) {
    return extent.bands.empty() ? 0 : extent.bands.size() * extent.Periods();
}

// The block's cells in a matrix of another extent.
void Widen(SeriesBlock& block, Extent extent) {
    const std::size_t periods = extent.Periods();
    const auto before = static_cast<std::size_t>(block.periods);
    const std::size_t cells = extent.bands.size() * periods;
    if (before == periods && block.bands == extent.bands) {
        if (block.states.empty()) block.states.assign(cells, kNumber);
        if (block.statusOf.empty()) block.statusOf.assign(cells, 0);
        return;
    }
    std::vector<double> values(cells);
    std::vector<std::uint8_t> states(cells, kNoRow);
    std::vector<std::uint16_t> statusOf(cells);
    std::size_t band = 0;
    for (std::size_t from = 0; from < block.bands.size() && before > 0; ++from) {
        while (extent.bands[band] < block.bands[from])
            ++band;
        const std::size_t to =
            band * periods + static_cast<std::size_t>(block.firstPeriod - extent.first);
        const std::size_t start = from * before;
        for (std::size_t i = 0; i < before; ++i) {
            values[to + i] = block.values[start + i];
            states[to + i] = StateAt(block, start + i);
            if (!block.statusOf.empty()) statusOf[to + i] = block.statusOf[start + i];
        }
    }
    block.firstPeriod = extent.first;
    block.periods = static_cast<int>(periods);
    block.bands = std::move(extent.bands);
    block.values = std::move(values);
    block.states = std::move(states);
    block.statusOf = std::move(statusOf);
}

void Fill(SeriesBlock& block, std::span<const Run> runs, StatusTranslation& translated) {
    const auto periods = static_cast<std::size_t>(block.periods);
    for (const Run& run : runs) {
        if (run.values.empty()) continue;
        translated.Use(*run.statuses);
        std::size_t band = 0;
        const auto period = static_cast<std::size_t>(run.period - block.firstPeriod);
        for (const PeriodValue& value : run.values) {
            while (block.bands[band] < value.frqId)
                ++band;
            const std::size_t cell = band * periods + period;
            block.values[cell] = value.isNull ? 0 : value.value;
            block.states[cell] = value.isNull ? kNull : kNumber;
            block.statusOf[cell] = translated[value.status];
        }
    }
}

void Erase(SeriesBlock& block, std::span<const Erased> erased) {
    for (const Erased& each : erased) {
        const auto period = std::int64_t{each.period} - block.firstPeriod;
        const auto band = std::ranges::lower_bound(block.bands, each.frqId);
        if (period < 0 || period >= block.periods || band == block.bands.end() ||
            *band != each.frqId)
            continue;
        const auto cell = static_cast<std::size_t>(band - block.bands.begin()) *
                              static_cast<std::size_t>(block.periods) +
                          static_cast<std::size_t>(period);
        block.states[cell] = kNoRow;
        block.values[cell] = 0;
        block.statusOf[cell] = 0;
    }
}

// Cuts off bands and periods at the ends in which nothing is left.
void Trim(SeriesBlock& block) {
    const auto periods = static_cast<std::size_t>(block.periods);
    std::vector<std::int32_t> bands;
    std::vector<std::size_t> rows;
    std::size_t first = periods;
    std::size_t last = 0;
    for (std::size_t band = 0; band < block.bands.size(); ++band) {
        bool isUsed = false;
        for (std::size_t period = 0; period < periods; ++period) {
            if (block.states[band * periods + period] == kNoRow) continue;
            isUsed = true;
            first = std::min(first, period);
            last = std::max(last, period);
        }
        if (!isUsed) continue;
        bands.push_back(block.bands[band]);
        rows.push_back(band);
    }
    if (bands.size() == block.bands.size() && first == 0 && last + 1 == periods) return;
    SeriesBlock kept;
    kept.statuses = std::move(block.statuses);
    if (!bands.empty()) {
        kept.firstPeriod = block.firstPeriod + static_cast<std::int32_t>(first);
        kept.periods = static_cast<int>(last - first + 1);
        kept.bands = std::move(bands);
        for (const std::size_t row : rows) {
            const std::size_t from = row * periods + first;
            const std::size_t to = row * periods + last + 1;
            const auto append = [&](auto& into, const auto& source) {
                into.insert(into.end(), source.begin() + static_cast<std::ptrdiff_t>(from),
                            source.begin() + static_cast<std::ptrdiff_t>(to));
            };
            append(kept.values, block.values);
            append(kept.states, block.states);
            append(kept.statusOf, block.statusOf);
        }
    }
    block = std::move(kept);
}

// Forgets statuses that no value has any more, and what goes without saying.
void Tidy(SeriesBlock& block) {
    std::vector<char> isUsed(block.statuses.size());
    for (std::size_t cell = 0; cell < block.states.size(); ++cell) {
        if (block.states[cell] == kNoRow) {
            block.statusOf[cell] = 0;
        } else {
            isUsed[block.statusOf[cell]] = 1;
        }
    }
    std::vector<std::uint16_t> now(block.statuses.size());
    std::vector<Status> statuses;
    for (std::size_t i = 0; i < isUsed.size(); ++i) {
        if (!isUsed[i]) continue;
        now[i] = static_cast<std::uint16_t>(statuses.size());
        statuses.push_back(std::move(block.statuses[i]));
    }
    if (statuses.empty()) statuses.emplace_back();
    block.statuses = std::move(statuses);
    if (block.statuses.size() == 1) {
        block.statusOf.clear();
    } else {
        for (std::uint16_t& status : block.statusOf)
            status = now[status];
    }
    if (std::ranges::all_of(block.states, [](std::uint8_t state) { return state == kNumber; }))
        block.states.clear();
}

}  // namespace

bool FitsBlock(const SeriesBlock& block, std::span<const Run> runs) {
    constexpr std::size_t kAlwaysFits = std::size_t{1} << 16;
    constexpr std::size_t kThinnest = 16;  // cells for each that holds something
    const std::size_t cells = CellsOf(Union(block, runs));
    std::size_t values = block.values.size();
    std::size_t statuses = block.statuses.size();
    const std::vector<Status>* before = nullptr;
    for (const Run& run : runs) {
        values += run.values.size();
        if (run.statuses != before) statuses += run.statuses->size();
        before = run.statuses;
    }
    if (statuses > StatusTable::kMost) return false;
    return cells <= kAlwaysFits || (cells <= kMostCells && cells / kThinnest <= values);
}

void Overlay(SeriesBlock& block, std::span<const Run> runs, std::span<const Erased> erased) {
    Extent extent = Union(block, runs);
    if (extent.bands.empty()) {
        block = {};
        return;
    }
    if (CellsOf(extent) > kMostCells) throw std::length_error("too many bands");
    const bool hadValues = block.periods > 0 && !block.bands.empty();
    if (!hadValues) block = {};
    Widen(block, std::move(extent));
    StatusTable table;
    std::vector<std::uint16_t> own;
    for (const Status& status : block.statuses)
        own.push_back(table.Index(View(status)));
    if (table.Texts().size() != own.size()) {  // stored by somebody who lists one of them twice
        for (std::uint16_t& status : block.statusOf)
            status = own[status];
    }
    StatusTranslation translated(table);
    Fill(block, runs, translated);
    block.statuses = table.Texts();
    if (!erased.empty()) {
        Erase(block, erased);
        Trim(block);
    }
    Tidy(block);
}

SeriesBlock ColumnOf(const SeriesBlock& block, std::int32_t period) {
    SeriesBlock column;
    const auto place = std::int64_t{period} - block.firstPeriod;
    if (place < 0 || place >= block.periods) return column;
    for (std::size_t band = 0; band < block.bands.size(); ++band) {
        const std::size_t cell =
            band * static_cast<std::size_t>(block.periods) + static_cast<std::size_t>(place);
        if (StateAt(block, cell) == kNoRow) continue;
        column.bands.push_back(block.bands[band]);
        column.values.push_back(block.values[cell]);
        column.states.push_back(StateAt(block, cell));
        column.statusOf.push_back(block.statusOf.empty() ? std::uint16_t{0} : block.statusOf[cell]);
    }
    if (column.bands.empty()) return column;
    column.firstPeriod = period;
    column.periods = 1;
    column.statuses = block.statuses;
    Tidy(column);
    return column;
}

}  // namespace mersola::packed
