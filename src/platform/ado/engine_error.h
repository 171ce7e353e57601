// What an engine says of a failure, as the error that callers of ADO catch.
#pragma once

#include <string>

#include <mersola/platform/com_error.h>

#include "engines/engine.h"

namespace mersola::ado {

/// The error for an engine's `words`. Programs that see its text alone tell by the word "duplicate"
/// that a key is stored already: the text has the word for Fault::Duplicate and nothing else.
_com_error EngineError(Fault fault, std::string words, const char* source);

}  // namespace mersola::ado
