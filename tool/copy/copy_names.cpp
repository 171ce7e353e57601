// Matching names.
#include "copy_names.h"

#include <algorithm>
#include <set>

#include "basics/failure.h"
#include "basics/names.h"

namespace mersola::tool {
namespace {

using Names = std::map<std::int32_t, std::string>;

// A row without a name names nothing.
Names NamesIn(Side& side, StoredTable table) {
    Names names;
    side.ForEachRow("SELECT * FROM " + std::string(NameOf(table)), table, [&](Row& row) {
        auto name = TextIn(row, ColumnsOf(table)[1].name);
        if (!name.empty()) names[NumberIn(row, ColumnsOf(table)[0].name)] = std::move(name);
    });
    return names;
}

std::string InsertOfName(StoredTable table, std::int32_t number, const std::string& name) {
    return InsertOf(table, {{ColumnsOf(table)[0].name, number}, {ColumnsOf(table)[1].name, name}});
}

// Beyond all that name or measure a function.
std::int32_t LastUsed(Side& from, Side& to) {
    std::int32_t last = 0;
    for (Side* side : {&from, &to}) {
        for (const char* table : {"FuncNameMap", "MeasuredFunctions"})
            last = std::max(
                last, side->Number(Statement("SELECT MAX(FuncId) FROM %s", table)).value_or(0));
    }
    return last;
}

}  // namespace

CopiedNames::CopiedNames(Side& from, Side& to) {
    PlanFunctions(from, to);
    PlanBands(from, to);
}

std::int32_t CopiedNames::FunctionIn(std::int32_t number) const {
    const auto found = numbers_.find(number);
    return found == numbers_.end() ? number : found->second;
}

void CopiedNames::PlanFunctions(Side& from, Side& to) {
    const Names wanted = NamesIn(from, StoredTable::FuncNameMap);
    const Names stored = NamesIn(to, StoredTable::FuncNameMap);
    std::set<std::int32_t> taken;  // by the functions whose numbers stay
    std::vector<std::pair<std::int32_t, std::string>> renumbered;
    for (const auto& [number, name] : wanted) {
        const auto there = stored.find(number);
        if (there != stored.end() && !IsSameName(there->second, name)) {
            renumbered.emplace_back(number, name);
            continue;
        }
        taken.insert(number);
        if (there == stored.end())
            inserts_.push_back(InsertOfName(StoredTable::FuncNameMap, number, name));
    }
    // One without a name must not come under that of another one. It gets a name by which the next
    // copy finds it again.
    std::set<std::int32_t> nameless;
    from.ForEachRow("SELECT DISTINCT FuncId FROM MeasuredFunctions ORDER BY FuncId",
                    [&](_Recordset& row) {
                        const std::int32_t number = row.Fields(0).Long();
                        if (wanted.contains(number) || !stored.contains(number)) return;
                        nameless.insert(number);
                        renumbered.emplace_back(number, "function " + std::to_string(number));
                    });
    std::int32_t last = renumbered.empty() ? 0 : LastUsed(from, to);
    for (const auto& [number, name] : renumbered) {
        const auto own = std::ranges::find_if(stored, [&, &wantedName = name](const auto& each) {
            return IsSameName(each.second, wantedName) && !taken.contains(each.first);
        });
        if (own == stored.end()) last = NumberBehind(last, "FuncId");
        const std::int32_t target = own == stored.end() ? last : own->first;
        if (own == stored.end())
            inserts_.push_back(InsertOfName(StoredTable::FuncNameMap, target, name));
        taken.insert(target);
        numbers_[number] = target;
        differences_.push_back("function " + std::to_string(number) + " " +
                               (nameless.contains(number) ? "without a name" : Quoted(name)) +
                               " goes by the number " + std::to_string(target) +
                               (nameless.contains(number) ? " and the name " + Quoted(name) : ""));
    }
}

void CopiedNames::PlanBands(Side& from, Side& to) {
    const Names stored = NamesIn(to, StoredTable::FrqNameMap);
    for (const auto& [number, name] : NamesIn(from, StoredTable::FrqNameMap)) {
        const auto there = stored.find(number);
        if (there == stored.end())
            inserts_.push_back(InsertOfName(StoredTable::FrqNameMap, number, name));
        else if (!IsSameName(there->second, name))
            differences_.push_back("band " + std::to_string(number) + " " + Quoted(name) +
                                   " goes by the name " + Quoted(there->second));
    }
}

}  // namespace mersola::tool
