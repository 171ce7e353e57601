// Matching names and numbers.
#include "import_names.h"

#include <algorithm>
#include <utility>

#include "basics/failure.h"
#include "basics/names.h"
#include "basics/times_text.h"
#include "database/query.h"

namespace mersola::tool {

std::int32_t RequiredNumber(const Row& record, std::string_view column) {
    const auto found = record.find(column);
    if (found == record.end()) throw Failure("it has no " + std::string(column));
    return std::get<std::int32_t>(found->second);
}

void ImportedNames::AddFromFile(std::int32_t number, const std::string& name, std::int32_t stored) {
    file_.Add(number, name);
    numbers_.try_emplace(number, stored);
}

std::optional<std::int32_t> ImportedNames::Find(std::string_view text) const {
    if (const auto number = NumberLabel(text)) {
        if (const auto found = FindNumber(*number)) return found;
        if (!IsTold() && stored_.Contains(*number)) return number;
        return std::nullopt;
    }
    if (const auto number = file_.Find(text)) return FindNumber(*number);
    return stored_.Find(text);
}

std::optional<std::int32_t> ImportedNames::FindNumber(std::int32_t number) const {
    const auto found = numbers_.find(number);
    if (found == numbers_.end()) return std::nullopt;
    return found->second;
}

std::optional<std::int32_t> ImportedNames::FindStored(std::int32_t number,
                                                      const std::string& name) const {
    if (!name.empty()) return stored_.Find(name);
    if (stored_.Contains(number) && stored_.NameOf(number).empty()) return number;
    return std::nullopt;
}

std::string ImportedNames::NameFor(std::int32_t number, const std::string& name,
                                   const char* kind) const {
    if (!name.empty() || stored_.NameOf(number).empty()) return name;
    return std::string(kind) + " " + std::to_string(number);
}

bool ImportedNames::IsTaken(std::int32_t stored) const {
    return std::ranges::any_of(numbers_, [=](const auto& each) { return each.second == stored; });
}

ImportedKind::ImportedKind(Mersola& store, StoredTable table, const char* used, const char* kind)
    : store_(store), table_(table), used_(used), kind_(kind) {
    for (_Recordset& row : Rows(store, "SELECT %s,%s FROM %s ORDER BY %s", ColumnsOf(table)[0].name,
                                ColumnsOf(table)[1].name, NameOf(table), ColumnsOf(table)[0].name))
        names_.AddStored(row.Fields(0).Long(), std::string(row.Fields(1).Text()));
}

void ImportedKind::Register(Row record) {
    const std::int32_t number = RequiredNumber(record, ColumnsOf(table_)[0].name);
    const std::string name = TextIn(record, ColumnsOf(table_)[1].name);
    const std::string stored = names_.NameFor(number, name, kind_);
    // Two that have one name in the file stay two.
    const auto isFree = [&](std::int32_t each) { return !names_.IsTaken(each); };
    const bool isSame = names_.Stored().Contains(number) && isFree(number) &&
                        IsSameName(names_.Stored().NameOf(number), stored);
    std::optional<std::int32_t> id = isSame ? number : FindStored(stored, isFree);
    if (!id) {
        id = names_.Stored().Contains(number) ? Free() : number;
        if (stored != name) record[ColumnsOf(table_)[1].name] = stored;
        Insert(*id, std::move(record));
    }
    names_.AddFromFile(number, name, *id);
}

std::int32_t ImportedKind::Find(const std::string& text) {
    if (const auto found = names_.Find(text)) return *found;
    if (const auto number = NumberLabel(text)) return Find(*number);
    if (const auto number = ParseNumber<std::int32_t>(text)) return *number;
    const std::int32_t id = Free();
    Insert(id, {{ColumnsOf(table_)[1].name, text}});
    return id;
}

std::int32_t ImportedKind::Find(std::int32_t number) {
    if (const auto found = names_.FindNumber(number)) return *found;
    if (!names_.IsTold()) return number;
    // It has no name in the file: under that of another one it would be something else.
    if (const auto name = names_.NameFor(number, "", kind_); !name.empty())
        Register({{ColumnsOf(table_)[0].name, number}});
    else
        names_.AddFromFile(number, "", number);
    return names_.FindNumber(number).value();
}

std::int32_t ImportedKind::Find(const acoustics::Band& band) {
    const std::string name(band.name);
    if (const auto found = FindStored(name, [](std::int32_t) { return true; })) return *found;
    const bool isFree = !names_.Stored().Contains(band.number) && !names_.IsTaken(band.number) &&
                        !Used().contains(band.number);
    const std::int32_t id = isFree ? band.number : Free();
    Insert(id, {{ColumnsOf(table_)[1].name, name}});
    return id;
}

std::optional<std::int32_t> ImportedKind::FindStored(
    const std::string& name, const std::function<bool(std::int32_t)>& fits) const {
    const Labels& stored = names_.Stored();
    if (const auto found = stored.FindIf(name, fits)) return found;
    const auto* band = table_ == StoredTable::FrqNameMap ? acoustics::FindBand(name) : nullptr;
    if (!band) return std::nullopt;
    for (const auto& [id, each] : stored.Names()) {
        if (acoustics::FindBand(each) == band && fits(id)) return id;
    }
    return std::nullopt;
}

const std::set<std::int32_t>& ImportedKind::Used() const {
    if (!numbersUsed_) throw UsedAreUnknown();
    return *numbersUsed_;
}

bool ImportedKind::IsKnown(const std::string& text) const {
    return NumberLabel(text) || names_.Find(text);
}

void ImportedKind::FindUsed() {
    numbersUsed_.emplace();
    for (_Recordset& row :
         Rows(store_, "SELECT DISTINCT %s FROM %s", ColumnsOf(table_)[0].name, used_))
        numbersUsed_->insert(row.Fields(0).Long());
}

std::int32_t ImportedKind::Free() {
    const std::int32_t last = Used().empty() ? 0 : *Used().rbegin();
    const char* const column = ColumnsOf(table_)[0].name;
    std::int32_t id = NumberBehind(std::max(last, names_.Stored().Last()), column);
    while (names_.IsTaken(id))
        id = NumberBehind(id, column);
    return id;
}

void ImportedKind::Insert(std::int32_t id, Row row) {
    row[ColumnsOf(table_)[0].name] = id;
    InsertInto(store_, table_, row);
    names_.AddStored(id, TextIn(row, ColumnsOf(table_)[1].name));
}

}  // namespace mersola::tool
