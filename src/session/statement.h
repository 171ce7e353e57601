// Composing and running statements.
#pragma once

#include <cstdint>
#include <limits>
#include <optional>

#include <mersola/platform/ado.h>
#include <mersola/platform/text.h>

namespace mersola {

/// A text as an SQL literal: between single quotes, with nothing inside changed.
CString quoteText(const char* text);

/// printf's formatting, with a decimal point whatever the locale.
CString formatted(const char* format, ...) __attribute__((format(printf, 1, 2)));

/// The identifier as statements print it; nothing when it does not fit.
inline std::optional<int> identifier(long value) {
    if (value != static_cast<std::int32_t>(value)) return std::nullopt;
    return static_cast<int>(value);
}

/// Runs one statement and returns its rows. `logged` writes the statement to the log file first.
/// Raises _com_error when the statement fails.
_RecordsetPtr runStatement(const _ConnectionPtr& connection, const CString& sql, bool logged);

/// Whether the recordset has a row to read; then stands on the first one.
bool atFirstRow(const _RecordsetPtr& rows);

}  // namespace mersola
