// Adds whole rows to a batch.
#pragma once

#include <span>
#include <string_view>

#include <mersola/platform/ado.h>

#include "cell.h"

namespace mersola::ado {

/// Adds a row to a recordset that is open on a table, as AddNew and a Put for each of `names` do.
/// Where the columns of these names lie is looked up once: `names` must be a constant, which is
/// told from others by where it lies.
void AddRow(_Recordset& batch, std::span<const std::string_view> names,
            std::span<const Cell> values);

}  // namespace mersola::ado
