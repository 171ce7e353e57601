// The function whose indices are asked for: what its values are, when they are, and how its figures
// are called.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include <mersola/mersola.h>

#include "catalogue/asked_periods.h"
#include "indices.h"
#include "sheet.h"

namespace mersola::tool {

struct AskedFunction {
    std::string name;
    ValueKind kind;
    std::int32_t band;
    std::string bandName;
    PeriodClock clock;
    std::string instrument, measurement;  ///< their names

    bool IsLevel() const { return kind == ValueKind::Level || kind == ValueKind::ExtremeLevel; }
    bool IsWeightedA() const;
    std::string MeanName() const;
    SheetColumn::Style Style() const {
        return IsLevel() ? SheetColumn::Style::Level : SheetColumn::Style::Number;
    }
    /// What is the same for all rows.
    std::vector<std::pair<std::string, std::string>> About(const IndicesOptions& options) const;
};

/// Finds out what is meant and selects it. Raises Failure where the figures that are asked for
/// cannot be made of it.
AskedFunction ChooseAskedFunction(Mersola& store, const IndicesOptions& options);

/// What is asked of a time of the function. Raises Failure when it cannot be read.
std::vector<IndexRow> ReadIndices(Mersola& store, const IndexRequest& request);
IndexRequest RequestOf(const AskedFunction& function, const IndicesOptions& options);

/// A row for each marker in place of times.
void ShowEvents(Mersola& store, const AskedFunction& function, const IndicesOptions& options,
                Sheet::Form form, std::ostream& out);

}  // namespace mersola::tool
