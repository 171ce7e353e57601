// The views of a database, by which programs that know nothing of mersola read names and times.
#pragma once

#include <mersola/mersola.h>

namespace mersola::tool {

/// Makes them, in the place of earlier ones. To be called in a transaction. Raises _com_error, as
/// where a table of theirs has been given the name of one.
void MakeViews(Mersola& store);

}  // namespace mersola::tool
