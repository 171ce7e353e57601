// The tables of a database, as the files beside this one lay them out on every engine.
#pragma once

#include <array>
#include <span>
#include <string_view>

namespace mersola {

struct StoredColumn {
    enum Kind {
        Integer,    ///< of 32 bits
        Real,       ///< of 64 bits
        Text,       ///< in any language
        ShortText,  ///< of a few letters; which and how many, the engine tells
        TimeText,   ///< a time: yyyy,mm,dd,hh,mm,ss,ms
        SpanText    ///< a length of time: dd,hh,mm,ss,ms
    };

    const char* name;
    Kind kind;
    bool mayBeMissing = false;  ///< from databases that were laid out long ago

    bool HoldsText() const { return kind != Integer && kind != Real; }
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

/// Columns that name one row together.
using StoredKey = std::span<const char* const>;

/// As statements name it.
const char* NameOf(StoredTable table);

/// In their order. Databases that were laid out long ago may have others in front of them.
std::span<const StoredColumn> ColumnsOf(StoredTable table);

/// The column of exactly this name; null when there is none.
const StoredColumn* FindColumn(StoredTable table, std::string_view name);

/// All keys, the primary one first; none where equal rows may be stored.
std::span<const StoredKey> KeysOf(StoredTable table);

}  // namespace mersola
