// What a picture shows of one channel of one measurement.
#pragma once

#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

#include "catalogue/selection.h"
#include "chart.h"
#include "columns.h"

namespace mersola::tool {

/// By its name; other functions may have any unit.
bool IsLevel(const MeasuredFunction& function);

struct Series {
    SelectionOptions asked;
    Selection chosen;
    std::string instrument;   ///< this and the next: names
    std::string measurement;  ///< empty in the continuous view
    Clock clock;
    Range periods;
    std::vector<MeasuredFunction> lines;
    std::optional<MeasuredFunction> spectra;
    std::vector<std::int32_t> bands;  ///< of the spectra, perhaps with some that have no values

    CTimeEx Start() const { return clock.At(periods.first); }
    CTimeEx End() const { return clock.At(std::int64_t{periods.first} + periods.count); }
};

struct SeriesOptions {
    std::vector<std::string> functions;  ///< names or numbers; LAeq and Leq when there are none
    std::optional<CTimeEx> from;         ///< only periods that end after this time
    std::optional<CTimeEx> to;           ///< only periods that begin before this time
    bool hasSpectra;                     ///< whether there is room for spectra
};

/// Finds out what there is and selects it in the store. Raises Failure.
Series ChooseSeries(Mersola& store, const SelectionOptions& asked, const SeriesOptions& options);

/// Selects a series again, all but the function.
void SelectAgain(Mersola& store, const Series& series);

/// Reads what summarises each step from one edge to the next, by step and band, of the series that
/// is selected. Raises Failure.
std::vector<StepSummary> ReadSteps(Mersola& store, const MeasuredFunction& function,
                                   const std::vector<std::int32_t>& bands,
                                   const std::vector<std::int32_t>& edges, std::ostream* terminal);

}  // namespace mersola::tool
