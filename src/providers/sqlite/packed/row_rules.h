// What a row must be before it is stored: as in a STRICT table.
#pragma once

#include <span>

#include "stage.h"
#include "statements.h"

namespace mersola::packed {

/// The row that seven values make. Its status lives as long as they do. Raises Failure with the
/// words and codes of a STRICT table, and for a number of a key beyond 32 bits. `isAborting` says
/// that a violation ends the statement in any case, as in such a table a wrong type does.
ValueRow RowOf(std::span<sqlite3_value*> values, bool isAborting);

/// That the row's key is stored already.
Failure DuplicateKey();

}  // namespace mersola::packed
