// The format of a database, which its mark tells.
#pragma once

#include <string>

#include <mersola/mersola.h>

#include "engines/format.h"

namespace mersola::tool {

/// The format of a database that is laid out.
Format FormatOf(Mersola& store);

/// In a few words, with how the values lie.
std::string FormatText(const Format& format);

/// Marks a database as of this format, and adds a row to its version history: `deed` is one of the
/// beginnings that engines/format.h has, and `more` stands behind mersola's version. To be called
/// in a transaction. Raises Failure where the row cannot be written; a database without a history
/// gets none.
void MarkFormat(Mersola& store, int number, std::string_view deed, const std::string& more = {});

}  // namespace mersola::tool
