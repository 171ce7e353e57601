// Owners for rows that lost theirs.
#pragma once

#include <functional>
#include <string>

#include "damage/known_places.h"
#include "saved_database.h"

namespace mersola::tool {

/// Gives reports, measurements and instruments whose rows are lost rows that hold their numbers and
/// a name that says so, and values whose report is not known a report of an instrument of their
/// own: otherwise nobody could read them, and the next new report could be given their key.
/// Nothing is made up: times and lengths that are lost stay null. A line for each goes to `tell`.
/// `areFunctionsLost`: whether the functions of reports follow from their values.
void GiveOwners(SavedDatabase& saved, bool areFunctionsLost,
                const std::function<void(const std::string&)>& tell);

}  // namespace mersola::tool
