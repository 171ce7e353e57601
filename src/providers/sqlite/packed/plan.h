// How a statement's conditions and order are served.
#pragma once

#include <array>
#include <span>

#include "api.h"
#include "series_list.h"

namespace mersola::packed {

/// The columns of MeasuredValues.
enum Column { kMeasValueId, kPeriodNo, kChannel, kFuncId, kFrqId, kValue, kStatus, kColumns };
inline constexpr int kKeyColumns = 5;
inline constexpr std::array<const char*, kColumns> kColumnNames{
    "MeasValueId", "PeriodNo", "Channel", "FuncId", "FrqId", "Value", "Status"};

/// The order in which rows are read.
enum Order {
    kBySeries,            ///< MeasValueId, Channel, FuncId, PeriodNo, FrqId
    kByPeriod,            ///< of one report: PeriodNo, FrqId, Channel, FuncId
    kByPeriodDescending,  ///< the same from the end
};

/// What a statement asks for in each column of the key, by Column.
using Ranges = std::array<Range, kKeyColumns>;

/// xBestIndex.
int Plan(sqlite3_index_info* info);

/// Narrows the ranges by the values of the conditions that Plan chose, as its text tells.
Ranges RangesOf(const char* plan, std::span<sqlite3_value*> values);

}  // namespace mersola::packed
