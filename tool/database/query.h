// Statements put together in printf's manner (as they stand where there are no arguments), and the
// rows that they give.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include <mersola/mersola.h>

#include "basics/names.h"

namespace mersola::tool {

template <class... Arguments>
std::string Statement(const char* format, Arguments... arguments) {
    if constexpr (sizeof...(arguments) == 0) {
        return format;
    } else {
        CString text;
        text.Format(format, arguments...);
        return std::string(text.View());
    }
}

/// Runs a statement. Raises _com_error, as whoever reads the rows.
template <class... Arguments>
_RecordsetPtr Query(Mersola& store, const char* format, Arguments... arguments) {
    return store.dbExecute(Statement(format, arguments...).c_str());
}

/// The rows of a statement, for a loop: for (_Recordset& row : Rows(store, "SELECT ...")).
class Rows {
  public:
    struct End {};
    class Iterator {
      public:
        explicit Iterator(_Recordset& rows) : rows_(rows) {}
        _Recordset& operator*() const { return rows_; }
        void operator++() { rows_.MoveNext(); }
        bool operator==(End) const { return rows_.EndOfFile(); }

      private:
        _Recordset& rows_;
    };

    template <class... Arguments>
    Rows(Mersola& store, const char* format, Arguments... arguments)
        : rows_(Query(store, format, arguments...)) {}

    Iterator begin() const { return Iterator(*rows_); }
    End end() const { return {}; }

  private:
    _RecordsetPtr rows_;
};

/// Where a column stands in the rows, by its name in any case; nothing when there is none, as in
/// databases that were laid out long ago.
inline std::optional<int> ColumnIn(const _Recordset& rows, std::string_view name) {
    for (int i = 0; i < rows.FieldCount(); ++i) {
        if (IsSameName(rows.FieldName(i).View(), name)) return i;
    }
    return std::nullopt;
}

}  // namespace mersola::tool
