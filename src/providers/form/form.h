// Whether a database that was just opened can be read, before anything else is asked of it.
#pragma once

#include "ado/provider.h"

namespace mersola::form {

/// Raises for a database of a newer format, and for a file in which something else has the name of
/// one of our tables. Changes nothing. Returns whether our tables are there, which only a file
/// tells.
bool RequireReadable(ado::ProviderSession& session, const char* source);

}  // namespace mersola::form
