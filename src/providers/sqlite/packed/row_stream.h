// The rows of a database that is being converted, in the form of pending rows.
#pragma once

#include <cstdint>

#include "period_row.h"
#include "series_list.h"
#include "statements.h"
#include "statuses.h"

namespace mersola::packed {

/// Reads the rows of one series, period by period. Holds nothing where there is no table of rows.
class RowStream {
  public:
    RowStream() = default;
    RowStream(Statements& statements, const Series& series, Range periods, Range bands);

    bool AtEnd() const { return atEnd_; }
    /// The period that Read would read.
    std::int32_t Period() const { return period_; }
    void Read(PeriodRow& out);

  private:
    void Step();

    Statements::Lease rows_;
    Series series_;
    Range bands_;
    std::int32_t period_ = 0;
    bool atEnd_ = true;
};

}  // namespace mersola::packed
