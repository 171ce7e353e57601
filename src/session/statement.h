// Composes and runs statements.
#pragma once

#include <cstdint>
#include <limits>
#include <optional>

#include <mersola/platform/ado.h>
#include <mersola/platform/text.h>

namespace mersola::ado {
class BlockReader;
}

namespace mersola {

/// A text as an SQL literal: it stands between single quotes, and nothing in it is changed.
CString quoteText(const char* text);

/// Formats as printf does, with a decimal point in every locale.
CString formatted(const char* format, ...) __attribute__((format(printf, 1, 2)));

/// The identifier as statements print it; nothing when it does not fit into 32 bits.
inline std::optional<int> identifier(long value) {
    if (value != static_cast<std::int32_t>(value)) return std::nullopt;
    return static_cast<int>(value);
}

/// Runs one statement and returns its rows. With `logged`, the statement is written to the log file
/// first. Raises _com_error when the statement fails.
_RecordsetPtr runStatement(const _ConnectionPtr& connection, const CString& sql, bool logged);

/// Runs one statement whose rows are read once, as many at a time as the provider hands out. Raises
/// _com_error when the statement fails.
ado::BlockReader readStatement(const _ConnectionPtr& connection, const CString& sql);

/// Whether the recordset has a row to read. If it has, the recordset stands on the first one.
bool atFirstRow(const _RecordsetPtr& rows);

}  // namespace mersola
