// What is wrong with what lies in the tables, asked by SQL. Conversion is asked for in the same
// way.
#include "functions.h"

#include <cstddef>
#include <exception>
#include <limits>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "block.h"
#include "module.h"
#include "period_row.h"
#include "store.h"
#include "summary.h"

namespace mersola::packed {
namespace {

using Values = std::span<sqlite3_value*>;

std::int32_t Number(sqlite3_value* value) {
    const sqlite3_int64 number = sqlite3_value_int64(value);
    if (sqlite3_value_type(value) != SQLITE_INTEGER || number != static_cast<std::int32_t>(number))
        throw DamagedBlock("their key is no whole number of 32 bits");
    return static_cast<std::int32_t>(number);
}

std::span<const std::byte> Blob(sqlite3_value* value) {
    if (sqlite3_value_type(value) == SQLITE_NULL) throw DamagedBlock("they are missing");
    const void* bytes = sqlite3_value_blob(value);
    return {static_cast<const std::byte*>(bytes),
            static_cast<std::size_t>(sqlite3_value_bytes(value))};
}

Series SeriesIn(Values values) {
    return {Number(values[0]), Number(values[1]), Number(values[2])};
}

void Give(sqlite3_context* context, const std::string& text) {
    sqlite3_result_text64(context, text.data(), text.size(), SQLITE_TRANSIENT, SQLITE_UTF8);
}

// (MeasValueId, Channel, FuncId, FirstPeriod, LastPeriod, Data, Summary)
void CheckBlock(sqlite3_context*, Values values) {
    const Series series = SeriesIn(values);
    const std::int32_t first = Number(values[3]);
    SeriesBlock block;
    DecodeBlock(series, first, Blob(values[5]), block);
    if (block.firstPeriod != first || block.firstPeriod + block.periods - 1 != Number(values[4]))
        throw DamagedBlock("they are of other periods");
    std::vector<BandSummary> summary;
    try {
        DecodeSummary(series, first, Blob(values[6]), summary);
    } catch (const DamagedBlock& damaged) {
        throw DamagedBlock(std::string("their summary is damaged: ") + damaged.what());
    }
}

// (MeasValueId, PeriodNo, Data)
void CheckPeriod(sqlite3_context*, Values values) {
    PeriodRow row;
    DecodePeriod(Number(values[0]), Number(values[1]), Blob(values[2]), row);
}

// Gives the words of what is wrong, and NULL where nothing is.
template <void (*kCheck)(sqlite3_context*, Values)>
void Fault(sqlite3_context* context, int count, sqlite3_value** values) {
    try {
        kCheck(context, {values, static_cast<std::size_t>(count)});
    } catch (const DamagedBlock& damaged) {
        Give(context, damaged.what());
    } catch (const std::bad_alloc&) {
        sqlite3_result_error_nomem(context);
    }
}

void GiveFirst(sqlite3_context* context, const Series&, const SeriesBlock& block) {
    sqlite3_result_int(context, block.firstPeriod);
}

void GiveLast(sqlite3_context* context, const Series&, const SeriesBlock& block) {
    sqlite3_result_int(context, block.firstPeriod + block.periods - 1);
}

void GiveSummary(sqlite3_context* context, const Series& series, const SeriesBlock& block) {
    std::string summary;
    EncodeSummary(series, block, block.values, summary);
    sqlite3_result_blob64(context, summary.data(), summary.size(), SQLITE_TRANSIENT);
}

// (MeasValueId, Channel, FuncId, FirstPeriod, Data): what must stand beside the data; NULL where
// they are damaged.
template <void (*kGive)(sqlite3_context*, const Series&, const SeriesBlock&)>
void FromData(sqlite3_context* context, int count, sqlite3_value** values) {
    try {
        const Values all(values, static_cast<std::size_t>(count));
        SeriesBlock block;
        DecodeBlock(SeriesIn(all), Number(all[3]), Blob(all[4]), block);
        kGive(context, SeriesIn(all), block);
    } catch (const DamagedBlock&) {
        sqlite3_result_null(context);
    } catch (const std::bad_alloc&) {
        sqlite3_result_error_nomem(context);
    }
}

struct Function {
    const char* name;
    int arguments;
    void (*call)(sqlite3_context*, int, sqlite3_value**);
    int flags;
};

constexpr int kPure = SQLITE_UTF8 | SQLITE_DETERMINISTIC | SQLITE_INNOCUOUS;

constexpr Function kFunctions[]{
    {"mersola_block_fault", 7, Fault<CheckBlock>, kPure},
    {"mersola_period_fault", 3, Fault<CheckPeriod>, kPure},
    {"mersola_block_first", 5, FromData<GiveFirst>, kPure},
    {"mersola_block_last", 5, FromData<GiveLast>, kPure},
    {"mersola_block_summary", 5, FromData<GiveSummary>, kPure},
};

}  // namespace

int RegisterFunctions(sqlite3* db) {
    for (const Function& each : kFunctions) {
        const int code = sqlite3_create_function_v2(db, each.name, each.arguments, each.flags,
                                                    nullptr, each.call, nullptr, nullptr, nullptr);
        if (code != SQLITE_OK) return code;
    }
    return SQLITE_OK;
}

}  // namespace mersola::packed
