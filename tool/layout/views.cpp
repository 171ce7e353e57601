#include "views.h"

#include <string>

#include "database/open_database.h"
#include "schema/schema.h"

namespace mersola::tool {
namespace {

// The view that a statement makes; empty when it makes none, or puts it in an earlier one's place.
std::string ViewMade(std::string_view statement) {
    constexpr std::string_view create = "CREATE VIEW ";
    const auto at = statement.find(create);
    if (at == statement.npos) return {};
    const auto name = statement.substr(at + create.size());
    return std::string(name.substr(0, name.find(' ')));
}

}  // namespace

void MakeViews(Mersola& store) {
    for (const auto statement : SchemaViews(EngineOf(store))) {
        if (const std::string name = ViewMade(statement); !name.empty())
            store.dbExecute(CString("DROP VIEW IF EXISTS " + name));
        store.dbExecute(CString(std::string(statement)));
    }
}

}  // namespace mersola::tool
