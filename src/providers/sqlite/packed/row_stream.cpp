#include "row_stream.h"

#include <limits>

namespace mersola::packed {
namespace {

std::int32_t Narrow(std::int64_t number) {
    if (number < std::numeric_limits<std::int32_t>::min() ||
        number > std::numeric_limits<std::int32_t>::max())
        throw Failure(SQLITE_TOOBIG, "a row has a number that does not fit into 32 bits");
    return static_cast<std::int32_t>(number);
}

}  // namespace

RowStream::RowStream(Statements& statements, const Series& series, Range periods, Range bands)
    : series_(series), bands_(bands) {
    if (!statements.HasRows()) return;
    rows_ = statements.Take(Sql::Rows, series.measValueId, series.channel, series.funcId,
                            periods.first, periods.last);
    Step();
}

void RowStream::Step() {
    do {
        atEnd_ = !rows_->Step();
    } while (!atEnd_ && !bands_.Holds(rows_->Integer(1)));
    if (!atEnd_) period_ = Narrow(rows_->Integer(0));
}

void RowStream::Read(PeriodRow& out) {
    out.values.clear();
    StatusTable statuses;
    const std::int32_t period = period_;
    for (; !atEnd_ && period_ == period; Step()) {
        if (statuses.IsFull()) throw Failure(SQLITE_TOOBIG, "too many different statuses");
        out.values.push_back({.channel = series_.channel,
                              .funcId = series_.funcId,
                              .frqId = Narrow(rows_->Integer(1)),
                              .isNull = rows_->IsNull(2),
                              .value = rows_->Real(2),
                              .status = statuses.Index(rows_->Text(3))});
    }
    out.statuses = statuses.Texts();
}

}  // namespace mersola::packed
