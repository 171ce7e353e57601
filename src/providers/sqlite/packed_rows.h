// Values of a packed database as blocks of columns.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "ado/provider.h"
#include "packed/readers.h"
#include "packed/summary_reader.h"

namespace mersola::sqlite {

/// All columns of the values of one series, by period and band.
std::unique_ptr<ado::RowSource> SeriesRows(std::shared_ptr<packed::Statements> sources,
                                           const packed::Series& series, packed::Range periods,
                                           packed::Range bands);

/// All columns of the values of one report, by period and band.
std::unique_ptr<ado::RowSource> PeriodRows(std::shared_ptr<packed::Statements> sources,
                                           std::int32_t measValueId,
                                           const packed::PeriodReader::Selection& selection);

/// The values of one series between the first and the last edge as summaries.
std::unique_ptr<ado::SummarySource> SeriesSummaries(std::shared_ptr<packed::Statements> sources,
                                                    const packed::Series& series,
                                                    std::span<const std::int64_t> edges,
                                                    packed::Range bands);

/// The bands in which one series has values, ascending.
std::unique_ptr<ado::RowSource> SeriesBands(std::string name,
                                            std::shared_ptr<packed::Statements> sources,
                                            const packed::Series& series, packed::Range periods,
                                            packed::Range bands);

/// One row of one column.
std::unique_ptr<ado::RowSource> OnePeriod(std::string name, std::optional<std::int32_t> period);

}  // namespace mersola::sqlite
