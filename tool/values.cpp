// mersola values: stored values, periods by bands.
#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <ostream>

#include "catalogue.h"
#include "commands.h"
#include "failure.h"
#include "open_database.h"
#include "table.h"
#include "times_text.h"

namespace mersola::tool {
namespace {

constexpr float kMissing = -100;

struct Selection {
    std::int32_t instrument;
    std::int32_t measurement;
    std::int32_t report;
    std::int32_t channel;
    std::int32_t function;
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

// Finds out what is meant and selects it in the store.
Selection Select(Mersola& store, const ValuesOptions& options) {
    Selection chosen{};
    std::vector<Choice> choices;
    for (const auto& each : ReadInstruments(store))
        choices.push_back({each.GroupId, std::string(each.GroupName)});
    chosen.instrument = Choose("instrument", options.instrument, choices);

    choices.clear();
    for (const auto& each : ReadMeasurements(store, chosen.instrument))
        choices.push_back({each.MeasId, std::string(each.MeasName)});
    chosen.measurement = Choose("measurement", options.measurement, choices);

    choices.clear();
    for (const auto& each : ReadReports(store, chosen.measurement))
        choices.push_back({each.ReportId, ""});
    chosen.report = options.report.empty() && !choices.empty()
                        ? choices.front().id
                        : Choose("report", options.report, choices);

    choices.clear();
    const auto functions =
        ReadFunctions(store, chosen.instrument, chosen.measurement, chosen.report);
    for (const auto& each : functions) {
        if (choices.empty() || choices.back().id != each.channel)
            choices.push_back({each.channel, ""});
    }
    chosen.channel = Choose("channel", options.channel, choices);

    choices.clear();
    for (const auto& each : functions) {
        if (each.channel == chosen.channel) choices.push_back({each.id, each.name});
    }
    chosen.function = Choose("function", options.function, choices);

    if (store.SetReport(chosen.report) != 1)
        throw Failure("the report could not be read" + LastError(store) +
                      "; check that the database is whole");
    store.SetChannel(chosen.channel);
    store.SetFunction(chosen.function);
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

std::vector<std::int32_t> StoredBands(Mersola& store, const Selection& chosen,
                                      const Range& periods) {
    CString sql;
    sql.Format(
        "SELECT DISTINCT FrqId FROM MeasuredValues WHERE MeasValueId=(SELECT MeasValueId FROM "
        "MeasValueMap WHERE "
        "GroupId=%d AND MeasId=%d AND ReportId=%d) AND Channel=%d AND FuncId=%d AND PeriodNo>=%d "
        "AND PeriodNo<=%d "
        "ORDER BY FrqId",
        chosen.instrument, chosen.measurement, chosen.report, chosen.channel, chosen.function,
        periods.first, periods.first + (periods.count - 1));
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

}  // namespace

void Values(const ValuesOptions& options, std::ostream& out) {
    const auto store = OpenDatabase(options.database, Access::Read);
    const Selection chosen = Select(*store, options);
    const Range periods = AskedPeriods(*store, chosen, options);
    auto bands = StoredBands(*store, chosen, periods);
    if (bands.empty()) {  // a gap: show it under the bands that there are elsewhere
        long count = 0;
        store->Get_nPrds(count);
        bands = StoredBands(*store, chosen, {0, static_cast<std::int32_t>(count)});
    }

    const auto names = ReadBandNames(*store);
    std::vector<std::string> header{"Period", "Start"};
    for (const auto band : bands)
        header.push_back(names.contains(band) ? names.at(band) : "band " + std::to_string(band));
    CTimeEx start;
    CTimeSpanEx length;
    store->GetTrigTime(start);
    store->GetRealPrdLength(length);
    Table table(out, options.csv ? Table::Form::Csv : Table::Form::Aligned, header,
                {std::to_string(periods.first + periods.count).size(), TimeText(start).size()});

    const auto runs = Runs(bands);
    constexpr std::int32_t kBlock = 1024;  // periods
    for (std::int32_t done = 0; done < periods.count; done += kBlock) {
        const Range block{periods.first + done, std::min(kBlock, periods.count - done)};
        std::vector<std::vector<float>> read;
        for (const Run& run : runs) {
            auto& values = read.emplace_back(static_cast<std::size_t>(block.count) *
                                             static_cast<std::size_t>(run.count));
            if (store->GetData(values.data(), block.first, block.count, run.first, run.count) !=
                block.count)
                throw Failure("the values could not be read" + LastError(*store) + "; try again");
        }
        for (std::int32_t i = 0; i < block.count; ++i) {
            const std::int64_t period = std::int64_t{block.first} + i;
            std::vector<std::string> row{
                std::to_string(period),
                TimeText(start + CTimeSpanEx(length.GetTotalMilliseconds() * period))};
            for (std::size_t r = 0; r < runs.size(); ++r) {
                const auto width = static_cast<std::size_t>(runs[r].count);
                for (std::size_t k = 0; k < width; ++k)
                    row.push_back(
                        ValueText(read[r][static_cast<std::size_t>(i) * width + k], options.csv));
            }
            table.Row(row);
        }
    }
}

}  // namespace mersola::tool
