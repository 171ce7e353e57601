// How the rows of tables and indexes lie in their trees.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "schema/tables.h"
#include "trees.h"

namespace mersola::tool {

/// A tree whose rows are known.
struct StoredTree {
    StoredTable table;
    std::string name{};   ///< of the table; several can hold the rows of one
    bool isTable = true;  ///< the table itself, not one of its indexes
    Shape shape{};
    /// The column that each field holds; empty for one that no program of today knows.
    std::vector<std::string> columns{};
    /// The column that the number of the row stands for; empty when there is none.
    std::string rowidColumn{};
};

/// The tables of packed values.
inline constexpr const char* kValueBlocks = "ValueBlocks";
inline constexpr const char* kValueData = "ValueData";
inline constexpr const char* kPendingValues = "PendingValues";

/// By the name of the table or index.
using StoredShapes = std::map<std::string, StoredTree, std::less<>>;

/// What the statements of a file's schema lay out, and of tables that they lack or that cannot be
/// made any more, what `mersola init` lays out. Raises Failure when SQLite cannot be asked.
StoredShapes ReadShapes(const std::vector<std::string>& statements);

}  // namespace mersola::tool
