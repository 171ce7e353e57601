// The functions of percentiles.
#include "measured.h"

#include <algorithm>

#include "basics/times_text.h"
#include "database/query.h"
#include "database/stored_row.h"

namespace mersola::tool {
namespace {

std::int32_t NamedFunction(Mersola& store, const std::string& name) {
    const auto named = Query(
        store, "SELECT FuncId FROM FuncNameMap WHERE FuncName='%s' ORDER BY FuncId", name.c_str());
    if (!named->EndOfFile()) return named->Fields(0).Long();
    // Other programs may measure functions that they gave no name.
    const auto last = Query(store,
                            "SELECT MAX(FuncId) FROM (SELECT FuncId FROM FuncNameMap UNION ALL "
                            "SELECT FuncId FROM MeasuredFunctions) Known");
    const std::int32_t id =
        NumberBehind(std::max<std::int32_t>(last->Fields(0).Long(), kL90), "FuncId");
    const Row row{{"FuncId", id}, {"FuncName", name}};
    store.dbExecute(CString(InsertOf(StoredTable::FuncNameMap, row)));
    return id;
}

}  // namespace

std::vector<PercentileFunction> RegisterPercentiles(Mersola& store,
                                                    std::span<const float> percentages) {
    std::vector<PercentileFunction> functions;
    for (const float percentage : percentages) {
        const auto known = std::ranges::find(kPercentages, percentage);
        const std::string name = "L" + NumberText(percentage);
        functions.push_back({known != kPercentages.end()
                                 ? kL10 + static_cast<std::int32_t>(known - kPercentages.begin())
                                 : NamedFunction(store, name),
                             name});
    }
    return functions;
}

}  // namespace mersola::tool
