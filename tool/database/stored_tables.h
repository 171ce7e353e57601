// The tables of a database, as statements name them.
#pragma once

#include <array>
#include <span>
#include <string_view>

namespace mersola::tool {

struct StoredColumn {
    enum Kind { Integer, Real, Text };

    const char* name;
    Kind kind;
};

/// Each in front of those that refer to it.
enum class StoredTable {
    FuncNameMap,
    FrqNameMap,
    Groups,
    Measurements,
    Reports,
    MeasValueMap,
    MeasuredFunctions,
    Markers,
    MeasuredValues,
    VersionHistory
};

inline constexpr std::array kStoredTables{
    StoredTable::FuncNameMap,       StoredTable::FrqNameMap, StoredTable::Groups,
    StoredTable::Measurements,      StoredTable::Reports,    StoredTable::MeasValueMap,
    StoredTable::MeasuredFunctions, StoredTable::Markers,    StoredTable::MeasuredValues,
    StoredTable::VersionHistory};

const char* NameOf(StoredTable table);
std::span<const StoredColumn> ColumnsOf(StoredTable table);

}  // namespace mersola::tool
