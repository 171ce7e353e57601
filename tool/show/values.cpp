// mersola values: stored values, periods by bands.
#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <ostream>

#include "basics/failure.h"
#include "basics/table.h"
#include "basics/times_text.h"
#include "catalogue/selection.h"
#include "database/open_database.h"
#include "show.h"

namespace mersola::tool {
namespace {

// By function, period and band.
using Grid = std::vector<float>;

// The functions that are asked for.
std::vector<MeasuredFunction> ChooseFunctions(const Selection& chosen,
                                              const ValuesOptions& options) {
    return options.allFunctions ? chosen.functions
                                : std::vector{ChooseFunction(chosen, options.function)};
}

// The periods that are asked for, as far as there are such.
Range PeriodsOf(Mersola& store, const Selection& chosen, const AskedPeriods& asked,
                const PeriodClock& clock) {
    const auto count = CountPeriods(store);
    const auto bounds = BoundsOf(asked, clock, asked.from ? 0 : FirstPeriod(store, chosen, count));
    const std::int64_t end = std::min<std::int64_t>(bounds.end.value_or(count), count);
    if (bounds.first >= end)
        throw Failure("there are no such periods; the report has the periods 0 to " +
                      std::to_string(count - 1) + ", from " + TimeText(clock.At(0)) + " to " +
                      TimeText(clock.At(count)));
    return {static_cast<std::int32_t>(bounds.first), static_cast<std::int32_t>(end - bounds.first)};
}

std::string ValueText(float value, bool exact) {
    if (value == kMissing) return exact ? "" : "--";
    std::array<char, 64> text;
    char* const end = text.data() + text.size();
    const auto written = exact
                             ? std::to_chars(text.data(), end, value)
                             : std::to_chars(text.data(), end, value, std::chars_format::fixed, 1);
    return std::string(text.data(), written.ptr);
}

// The values of all functions of the selected channel.
Grid ReadAll(Mersola& store, const Range& block, const std::vector<std::int32_t>& bands,
             const std::vector<MeasuredFunction>& functions) {
    const auto periods = static_cast<std::size_t>(block.count);
    Grid grid(functions.size() * periods * bands.size(), kMissing);
    CList<funcData, funcData&> read;
    const auto faults = store.getConnection()->GetErrors().size();
    store.GetAllDataByPeriod(block.first, block.count, read);
    // A list that ends early tells nothing of it.
    if (store.getConnection()->GetErrors().size() != faults) RefuseRead(store);
    for (const funcData& each : read) {
        const auto function =
            std::ranges::lower_bound(functions, each.FuncId, {}, &MeasuredFunction::id);
        const auto band = std::ranges::lower_bound(bands, each.FrqId);
        // Recorded since the functions and bands were looked up.
        if (function == functions.end() || function->id != each.FuncId || band == bands.end() ||
            *band != each.FrqId)
            continue;
        const auto row = static_cast<std::size_t>(function - functions.begin()) * periods +
                         static_cast<std::size_t>(each.PeriodNo - block.first);
        grid[row * bands.size() + static_cast<std::size_t>(band - bands.begin())] =
            static_cast<float>(each.Value);
    }
    return grid;
}

std::vector<std::string> Header(Mersola& store, const std::vector<std::int32_t>& bands,
                                bool allFunctions) {
    std::vector<std::string> header{"Period", "Start"};
    if (allFunctions) header.push_back("Function");
    const auto names = ReadBandNames(store);
    for (const auto band : bands)
        header.push_back(BandName(names, band));
    return header;
}

}  // namespace

void Values(const ValuesOptions& options, std::ostream& out) {
    const auto store = OpenDatabase(options.database, Access::Read);
    const Selection chosen = Select(*store, options);
    const auto functions = ChooseFunctions(chosen, options);
    PeriodClock clock;
    store->GetTrigTime(clock.origin);
    store->GetRealPrdLength(clock.real);
    const Range periods = PeriodsOf(*store, chosen, options.periods, clock);
    std::vector<std::int32_t> bands;
    if (!options.isContinuous) bands = StoredBands(*store, functions, periods);
    // A gap shows under the bands that there are elsewhere, a chain's periods under all of them.
    if (bands.empty()) bands = StoredBands(*store, functions, {});
    store->SetFunction(functions.front().id);

    Table table(
        out, options.csv ? Table::Form::Csv : Table::Form::Aligned,
        Header(*store, bands, options.allFunctions),
        {std::to_string(periods.first + periods.count).size(), TimeText(clock.origin).size()});

    constexpr std::int32_t kBlock = 1024;  // periods
    for (std::int32_t done = 0; done < periods.count; done += kBlock) {
        const Range block{periods.first + done, std::min(kBlock, periods.count - done)};
        const Grid grid = options.allFunctions ? ReadAll(*store, block, bands, functions)
                                               : ReadBands(*store, block, bands);
        for (std::int32_t i = 0; i < block.count; ++i) {
            const std::int64_t period = std::int64_t{block.first} + i;
            for (std::size_t f = 0; f < functions.size(); ++f) {
                std::vector<std::string> row{std::to_string(period), TimeText(clock.At(period))};
                if (options.allFunctions) row.push_back(functions[f].name);
                const auto at =
                    f * static_cast<std::size_t>(block.count) + static_cast<std::size_t>(i);
                for (std::size_t band = 0; band < bands.size(); ++band)
                    row.push_back(ValueText(grid[at * bands.size() + band], options.csv));
                table.Row(row);
            }
        }
    }
}

}  // namespace mersola::tool
