// The format of a database, which its mark tells.
#pragma once

#include <string>
#include <string_view>

#include <mersola/mersola.h>

#include "engines/format.h"
#include "schema/schema.h"

namespace mersola::tool {

/// How a database keeps its values.
struct Keeping {
    mersola::Layout layout = mersola::Layout::Rows;
    std::string resolution{};  ///< packed values are rounded to this step; empty: exact
    bool isConverted = false;  ///< some are still rows, or rows again
    bool intoRows = false;     ///< then: they become rows

    bool IsPacked() const { return layout == mersola::Layout::Packed; }
    int FormatNumber() const { return IsPacked() ? kPackedFormat : kRowsFormat; }
};

/// The table of rows that stands beside packed values while they are converted.
inline constexpr const char* kRowsBeside = "MeasuredRows";

/// The statement that makes MeasuredValues the table of packed values.
std::string ValuesStatement(const Keeping& keeping);

/// The format of a database that is laid out.
Format FormatOf(Mersola& store);

Keeping KeepingOf(Mersola& store);
/// By the statement that made MeasuredValues.
Keeping KeepingIn(std::string_view statement);

/// Both in a few words.
std::string FormatText(Mersola& store);
std::string FormatText(Mersola& store, const Keeping& keeping);

/// Marks a database as of this format, and adds a row to its version history: `deed` is one of the
/// beginnings that engines/format.h has, and `more` stands behind mersola's version. To be called
/// in a transaction. Raises Failure where the row cannot be written; a database without a history
/// gets none.
void MarkFormat(Mersola& store, int number, std::string_view deed, const std::string& more = {});

}  // namespace mersola::tool
