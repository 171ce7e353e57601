// The rows of values as statements give them.
#pragma once

#include <cstddef>
#include <cstdint>

#include "ado/column_block.h"
#include "session/statement.h"

namespace mersola {

/// The columns of MeasuredValues by position. Each row is only one value, so a search for names
/// would cost too much.
enum ValueColumn { kPeriodNo = 1, kFrqId = 4, kValue = 5, kStatus = 6 };

inline bool IsInvalid(char status) {
    return status == 'A';
}

/// A null reads as 0.
inline bool IsNull(const ado::Column& column, std::size_t row) {
    return column.Double(row) == 0 && column.IsNull(row);
}

/// The statement for the values of a key, channel and function from the first periods and bands up
/// to the ends.
inline CString valuesBetween(std::int32_t measValueId, std::int32_t channel, std::int32_t function,
                             int firstPeriod, int endPeriod, int firstFrq, int endFrq) {
    return formatted(
        "SELECT * FROM MeasuredValues where MeasValueId=%d and Channel=%d and "
        "FuncId=%d and "
        "PeriodNo>=%d "
        "and PeriodNo<%d and FrqId>=%d and FrqId<%d ORDER BY PeriodNo,FrqId",
        measValueId, channel, function, firstPeriod, endPeriod, firstFrq, endFrq);
}

}  // namespace mersola
