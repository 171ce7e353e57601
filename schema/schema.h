// The layout of a database, as statements.
#pragma once

#include <string_view>
#include <vector>

#include "engines/engine.h"

namespace mersola {

/// How MeasuredValues keeps its values: each in a row, or many periods in a block, which SQLite
/// alone has.
enum class Layout { Rows, Packed };

/// The statements that lay out an empty database, in the order in which they are to be run. Raises
/// std::logic_error for a layout that the engine does not have.
const std::vector<std::string_view>& SchemaStatements(const Engine& engine,
                                                      Layout layout = Layout::Rows);

/// Statements that make a laid-out database smaller or faster. Each may fail on a server that does
/// not know the option, or whose edition lacks it, and nothing depends on it.
const std::vector<std::string_view>& SchemaOptions(const Engine& engine);

/// Statements that make the views for programs that know nothing of mersola, in the order in which
/// they are to be run. A server puts them in the place of earlier ones; a file has to drop those.
const std::vector<std::string_view>& SchemaViews(const Engine& engine);

}  // namespace mersola
