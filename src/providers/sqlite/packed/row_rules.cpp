#include "row_rules.h"

#include <cmath>
#include <limits>
#include <string>

#include "plan.h"

namespace mersola::packed {
namespace {

std::string NameOf(std::size_t column) {
    return std::string("MeasuredValues.") + kColumnNames[column];
}

[[noreturn]] void RaiseType(std::size_t column, int type, const char* wanted, bool isAborting) {
    constexpr const char* kTypes[] = {"", "INT", "REAL", "TEXT", "BLOB", "NULL"};
    throw Failure(isAborting ? SQLITE_CONSTRAINT_DATATYPE : SQLITE_MISMATCH,
                  std::string("cannot store ") + kTypes[type] + " value in " + wanted + " column " +
                      NameOf(column));
}

// An integer is also a real number or a text that is one, if nothing is lost.
std::int32_t Identifier(std::size_t column, sqlite3_value* value, bool isAborting) {
    const int type = sqlite3_value_numeric_type(value);
    constexpr double kLeast = std::numeric_limits<std::int32_t>::min();
    constexpr double kMost = std::numeric_limits<std::int32_t>::max();
    const bool isReal = type == SQLITE_FLOAT;
    const double real = sqlite3_value_double(value);
    if ((type != SQLITE_INTEGER && !isReal) || (isReal && std::trunc(real) != real))
        RaiseType(column, type, "INTEGER", isAborting);
    if (real < kLeast || real > kMost) {
        throw Failure(isAborting ? SQLITE_CONSTRAINT_DATATYPE : SQLITE_MISMATCH,
                      "the number in " + NameOf(column) + " does not fit into 32 bits");
    }
    return static_cast<std::int32_t>(real);
}

}  // namespace

ValueRow RowOf(std::span<sqlite3_value*> values, bool isAborting) {
    for (std::size_t column = 0; column < kKeyColumns; ++column) {
        if (sqlite3_value_type(values[column]) == SQLITE_NULL)
            throw Failure(SQLITE_CONSTRAINT_NOTNULL,
                          "NOT NULL constraint failed: " + NameOf(column));
    }
    ValueRow row;
    row.measValueId = Identifier(kMeasValueId, values[kMeasValueId], isAborting);
    row.periodNo = Identifier(kPeriodNo, values[kPeriodNo], isAborting);
    row.channel = Identifier(kChannel, values[kChannel], isAborting);
    row.funcId = Identifier(kFuncId, values[kFuncId], isAborting);
    row.frqId = Identifier(kFrqId, values[kFrqId], isAborting);
    switch (const int type = sqlite3_value_numeric_type(values[kValue])) {
        case SQLITE_NULL:
            row.isNull = true;
            break;
        case SQLITE_INTEGER:
        case SQLITE_FLOAT:
            row.value = sqlite3_value_double(values[kValue]);
            break;
        default:
            RaiseType(kValue, type, "REAL", isAborting);
    }
    sqlite3_value* status = values[kStatus];
    switch (sqlite3_value_type(status)) {
        case SQLITE_NULL:
            break;
        case SQLITE_BLOB:
            RaiseType(kStatus, SQLITE_BLOB, "TEXT", isAborting);
        default: {
            const auto* text = reinterpret_cast<const char*>(sqlite3_value_text(status));
            if (!text) throw Failure(SQLITE_NOMEM, "out of memory");
            row.status =
                std::string_view(text, static_cast<std::size_t>(sqlite3_value_bytes(status)));
        }
    }
    return row;
}

Failure DuplicateKey() {
    return {SQLITE_CONSTRAINT_PRIMARYKEY,
            "UNIQUE constraint failed: MeasuredValues.MeasValueId, MeasuredValues.Channel, "
            "MeasuredValues.FuncId, MeasuredValues.PeriodNo, MeasuredValues.FrqId"};
}

}  // namespace mersola::packed
