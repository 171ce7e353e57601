// A walk over the rows of MeasuredValues.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "plan.h"
#include "readers.h"
#include "stage.h"

namespace mersola::packed {

class Cursor {
  public:
    /// Goes to the first row.
    void Open(std::shared_ptr<Statements> statements, Order order, const Ranges& ranges);
    void Next();
    bool AtEnd() const { return atEnd_; }

    /// Of the row.
    const ValueKey& Key() const { return key_; }
    bool IsNull() const { return isNull_; }
    double Value() const { return value_; }
    const Status& StatusOf() const { return *status_; }

  private:
    bool NextSeries();
    bool NextBlock();
    void NextInBlock();
    void NextInPeriod();

    std::shared_ptr<Statements> statements_;
    Ranges ranges_;
    bool atEnd_ = true;
    bool descending_ = false;

    ValueKey key_;
    bool isNull_ = false;
    double value_ = 0;
    const Status* status_ = nullptr;

    // by series
    std::vector<ChannelAndFunction> series_;  // of the report in hand
    std::size_t seriesAt_ = 0;
    std::optional<SeriesReader> reader_;
    SeriesBlock block_;
    std::size_t column_ = 0, columnEnd_ = 0, band_ = 0;

    // by period
    std::optional<PeriodReader> periods_;
    std::size_t cell_ = 0;
};

}  // namespace mersola::packed
