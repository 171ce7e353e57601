// mersola values: stored values, periods by bands.
#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <iterator>
#include <optional>
#include <ostream>

#include "catalogue.h"
#include "chain.h"
#include "commands.h"
#include "failure.h"
#include "open_database.h"
#include "table.h"
#include "times_text.h"

namespace mersola::tool {
namespace {

constexpr std::int32_t kContinuous = -3;
constexpr float kMissing = -100;

struct Selection {
    std::int32_t instrument;
    std::int32_t measurement;  // or kContinuous
    std::int32_t report;       // its type in the continuous view
    std::int32_t channel;
    std::vector<MeasuredFunction> functions;  // by identifier
};

struct Range {
    std::int32_t first;
    std::int32_t count;
};

// Bands that follow one another, so that one read brings them all.
struct Run {
    std::int32_t first;
    std::int32_t count;
};

// By function, period and band.
using Grid = std::vector<float>;

std::int32_t ChooseReport(Mersola& store, const Selection& chosen, const std::string& asked) {
    std::vector<Choice> choices;
    for (const auto& each : ReadReports(store, chosen.instrument, chosen.measurement))
        choices.push_back({each.ReportId, ""});
    CArray<ReportInfo, ReportInfo&> filled;
    store.GetReports(filled);
    return asked.empty() && !filled.IsEmpty() ? filled[0].ReportId
                                              : Choose("report", asked, choices);
}

// Channel and functions among those that are measured.
void ChooseFunctions(Selection& chosen, const std::vector<MeasuredFunction>& measured,
                     const ValuesOptions& options) {
    std::vector<Choice> choices;
    for (const auto& each : measured) {
        if (choices.empty() || choices.back().id != each.channel)
            choices.push_back({each.channel, ""});
    }
    chosen.channel = Choose("channel", options.channel, choices);

    choices.clear();
    std::ranges::copy_if(measured, std::back_inserter(chosen.functions),
                         [&](const auto& each) { return each.channel == chosen.channel; });
    if (options.allFunctions) return;
    for (const auto& each : chosen.functions)
        choices.push_back({each.id, each.name});
    const auto function = Choose("function", options.function, choices);
    std::erase_if(chosen.functions, [=](const auto& each) { return each.id != function; });
}

// Finds out what is meant and selects it in the store.
Selection Select(Mersola& store, const ValuesOptions& options) {
    Selection chosen{};
    chosen.instrument = ChooseInstrument(store, options.instrument);
    if (options.isContinuous) {
        const Chain chain = ReadChain(store, chosen.instrument);
        const ChainReport& report = ChooseReport(chain, options.report);
        chosen.measurement = kContinuous;
        chosen.report = report.type;
        ChooseFunctions(chosen, report.functions, options);
    } else {
        chosen.measurement = ChooseMeasurement(store, chosen.instrument, options.measurement);
        chosen.report = ChooseReport(store, chosen, options.report);
        ChooseFunctions(chosen,
                        ReadFunctions(store, chosen.instrument, chosen.measurement, chosen.report),
                        options);
    }
    if (store.SetReport(chosen.report) != 1)
        throw Failure("the report could not be read" + LastError(store) +
                      "; check that the database is whole");
    store.SetChannel(chosen.channel);
    store.SetFunction(chosen.functions.front().id);
    return chosen;
}

// The periods that are asked for, as far as there are such.
Range AskedPeriods(Mersola& store, const Selection& chosen, const ValuesOptions& options) {
    long count = 0, first = 0;
    if (store.Get_nPrds(count) != 1)
        throw Failure("the number of periods could not be read" + LastError(store) + "; try again");
    if (count <= 0)
        throw Failure("the report has no periods yet; record some with: mersola record");
    store.GetFirstPeriod(first, chosen.instrument, chosen.measurement, chosen.report, 0, nullptr);
    const auto from = options.from.value_or(std::clamp(first, 0L, count - 1));
    if (from >= count)
        throw Failure("the report has the periods 0 to " + std::to_string(count - 1) +
                      "; give a --from among them");
    return {static_cast<std::int32_t>(from), static_cast<std::int32_t>(std::min<std::int64_t>(
                                                 options.count.value_or(count), count - from))};
}

// The keys of the values, as a statement.
CString KeysOf(const Selection& chosen) {
    CString keys;
    if (chosen.measurement == kContinuous)
        keys.Format(
            "SELECT m.MeasValueId FROM MeasValueMap m JOIN Reports r ON r.GroupId=m.GroupId AND "
            "r.MeasId=m.MeasId AND r.ReportId=m.ReportId WHERE m.GroupId=%d AND r.ReportType=%d",
            chosen.instrument, chosen.report);
    else
        keys.Format(
            "SELECT MeasValueId FROM MeasValueMap WHERE GroupId=%d AND MeasId=%d AND ReportId=%d",
            chosen.instrument, chosen.measurement, chosen.report);
    return keys;
}

// The bands that have values in these periods, or anywhere.
std::vector<std::int32_t> StoredBands(Mersola& store, const Selection& chosen,
                                      const std::optional<Range>& periods) {
    std::string functions;
    for (const auto& each : chosen.functions)
        functions += (functions.empty() ? "" : ",") + std::to_string(each.id);
    CString sql, within;
    if (periods)
        within.Format(" AND PeriodNo>=%d AND PeriodNo<=%d", periods->first,
                      periods->first + (periods->count - 1));
    sql.Format(
        "SELECT DISTINCT FrqId FROM MeasuredValues WHERE MeasValueId IN (%s) AND Channel=%d AND "
        "FuncId IN (%s)%s ORDER BY FrqId",
        KeysOf(chosen).GetString(), chosen.channel, functions.c_str(), within.GetString());
    std::vector<std::int32_t> bands;
    for (const auto rows = store.dbExecute(sql); !rows->EndOfFile(); rows->MoveNext())
        bands.push_back(rows->Fields(0).Long());
    return bands;
}

std::vector<Run> Runs(const std::vector<std::int32_t>& bands) {
    std::vector<Run> runs;
    for (const auto band : bands) {
        if (!runs.empty() && std::int64_t{runs.back().first} + runs.back().count == band)
            ++runs.back().count;
        else
            runs.push_back({band, 1});
    }
    return runs;
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

[[noreturn]] void RefuseRead(const Mersola& store) {
    throw Failure("the values could not be read" + LastError(store) + "; try again");
}

// The selected function's values.
Grid ReadOne(Mersola& store, const Range& block, const std::vector<std::int32_t>& bands) {
    const auto periods = static_cast<std::size_t>(block.count);
    Grid grid(periods * bands.size(), kMissing);
    std::vector<float> read;
    std::size_t band = 0;
    for (const Run& run : Runs(bands)) {
        const auto width = static_cast<std::size_t>(run.count);
        read.resize(periods * width);
        if (store.GetData(read.data(), block.first, block.count, run.first, run.count) !=
            block.count)
            RefuseRead(store);
        for (std::size_t i = 0; i < periods; ++i)
            std::copy_n(&read[i * width], width, &grid[i * bands.size() + band]);
        band += width;
    }
    return grid;
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
        header.push_back(names.contains(band) ? names.at(band) : "band " + std::to_string(band));
    return header;
}

}  // namespace

void Values(const ValuesOptions& options, std::ostream& out) {
    const auto store = OpenDatabase(options.database, Access::Read);
    const Selection chosen = Select(*store, options);
    const Range periods = AskedPeriods(*store, chosen, options);
    std::vector<std::int32_t> bands;
    if (!options.isContinuous) bands = StoredBands(*store, chosen, periods);
    // A gap shows under the bands that there are elsewhere, a chain's periods under all of them.
    if (bands.empty()) bands = StoredBands(*store, chosen, {});

    CTimeEx start;
    CTimeSpanEx length;
    store->GetTrigTime(start);
    store->GetRealPrdLength(length);
    Table table(out, options.csv ? Table::Form::Csv : Table::Form::Aligned,
                Header(*store, bands, options.allFunctions),
                {std::to_string(periods.first + periods.count).size(), TimeText(start).size()});

    constexpr std::int32_t kBlock = 1024;  // periods
    for (std::int32_t done = 0; done < periods.count; done += kBlock) {
        const Range block{periods.first + done, std::min(kBlock, periods.count - done)};
        const Grid grid = options.allFunctions ? ReadAll(*store, block, bands, chosen.functions)
                                               : ReadOne(*store, block, bands);
        for (std::int32_t i = 0; i < block.count; ++i) {
            const std::int64_t period = std::int64_t{block.first} + i;
            for (std::size_t f = 0; f < chosen.functions.size(); ++f) {
                std::vector<std::string> row{
                    std::to_string(period),
                    TimeText(start + CTimeSpanEx(length.GetTotalMilliseconds() * period))};
                if (options.allFunctions) row.push_back(chosen.functions[f].name);
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
