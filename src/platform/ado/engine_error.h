// What an engine says of a failure, as the error that callers of ADO catch.
#pragma once

#include <string>

#include <mersola/platform/com_error.h>

namespace mersola::ado {

/// The error for an engine's `words`. Programs that see its text alone tell by the word "duplicate"
/// that a key is stored already: the text has the word where `isDuplicate`, and nowhere else.
_com_error EngineError(HRESULT code, std::string words, const char* source, bool isDuplicate);

}  // namespace mersola::ado
