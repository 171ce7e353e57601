// The errors that a connection notes.
#pragma once

#include <mersola/platform/ado.h>

namespace mersola::ado {

/// Empties what GetErrors gives, so that whoever asks after an operation finds that operation's
/// errors and no earlier ones.
void ForgetErrors(const _Connection& connection);

}  // namespace mersola::ado
