// The layout of a database, as statements.
#pragma once

#include <string_view>
#include <vector>

/// The statements that lay out an empty SQLite database, in the order in which they are to be run.
const std::vector<std::string_view>& SchemaStatements();
