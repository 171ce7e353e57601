// Reading all trees of a file: first along their pages, then what their damaged pages led to, then
// what indexes know of the rest.
#include "remains.h"

#include <algorithm>

#include "basics/failure.h"
#include "basics/names.h"
#include "basics/times_text.h"

namespace mersola::tool {
namespace {

const Shape kSchema{
    .fields = {Stored::Text, Stored::Text, Stored::Text, Stored::NumberOrNull, Stored::Text},
    .least = 5};
// What nothing leads to.
const std::vector<Gap> kEverything{Gap{0, {}, {}}};

const Shape kAnyTable{}, kAnyIndex{.isIndex = true};

std::string TextOf(const Record& record, std::size_t field) {
    const auto* text =
        field < record.fields.size() ? std::get_if<std::string>(&record.fields[field]) : nullptr;
    return text ? *text : "";
}

}  // namespace

Remains::Remains(const std::string& path) : file_(path), trees_(file_), faults_(file_.Faults()) {
    ReadSchema();
}

void Remains::ReadSchema() {
    std::vector<std::string> statements;
    std::set<std::string> tables;
    const TakeRecord take = [&](Record& record) {
        const std::string type = TextOf(record, 0);
        std::string name = TextOf(record, 1);
        const auto* root =
            record.fields.size() > 3 ? std::get_if<std::int64_t>(&record.fields[3]) : nullptr;
        for (const StoredTable table : kStoredTables) {
            if (!IsSameName(name, NameOf(table))) continue;
            name = NameOf(table);
            const std::string text = TextOf(record, 4);
            if (table == StoredTable::MeasuredValues && type == "table" &&
                KeepingIn(text).IsPacked()) {
                keeping_ = KeepingIn(text);
                return;
            }
            if (type != "table" || !root || *root == 0)
                throw Failure("the rows of " + name +
                              " lie in a layout that this version of mersola does not know; save "
                              "them with the version that wrote them");
        }
        if (root && *root > 0 && *root <= file_.Count())
            roots_[name] = static_cast<PageNumber>(*root);
        if (const std::string text = TextOf(record, 4); !text.empty()) statements.push_back(text);
        if (type == "table") tables.insert(name);
    };
    if (const auto gaps = trees_.Walk(1, kSchema, take); !gaps.empty()) {
        isSchemaWhole_ = false;
        // Rows of the schema look like no others.
        trees_.ReadStrays({{&kSchema, &gaps, take}});
        faults_.push_back("the schema is damaged, and names " + std::to_string(roots_.size()) +
                          " of its tables and indexes; what rows on other pages are, is told by "
                          "how they look");
    }
    shapes_ = ReadShapes(statements);
    if (!isSchemaWhole_ && !roots_.contains(NameOf(StoredTable::MeasuredValues)) && LooksPacked())
        keeping_.layout = mersola::Layout::Packed;
}

// Values lie in rows or in blocks. While they are converted, both are there.
bool Remains::MayBeThere(const StoredTree& tree) const {
    if (tree.table != StoredTable::MeasuredValues) return true;
    if (tree.name == kRowsBeside) return keeping_.isConverted;
    if (tree.name == NameOf(StoredTable::MeasuredValues))
        return !keeping_.IsPacked() || (!isSchemaWhole_ && !keeping_.isConverted);
    return keeping_.IsPacked();
}

// Where nothing names them, their looks tell.
bool Remains::LooksPacked() const {
    Trees trees(file_);
    const TakeRecord ignore = [](Record&) {};
    std::vector<Trees::Torn> packed;
    for (const char* name : {kValueBlocks, kValueData, kPendingValues}) {
        if (roots_.contains(name)) return true;
        packed.push_back({&shapes_.at(name).shape, &kEverything, ignore});
    }
    return !trees.ReadStrays(packed).empty();
}

void Remains::Read(const std::function<void(const StoredTree&, Record&)>& take) {
    const auto takeOf = [&](const StoredTree& tree) -> TakeRecord {
        return [&](Record& record) {
            if (!tree.shape.isIndex && tree.table != StoredTable::MeasuredValues)
                read_[tree.table].insert(record.rowid);
            take(tree, record);
        };
    };
    const TakeRecord ignore = [](Record&) {};
    const auto walk = [&](const std::string& name, PageNumber root, const StoredTree* tree) {
        const bool isIndex = tree ? !tree->isTable : false;
        TornTree torn{name, tree, isIndex};
        if (tree) {
            torn.gaps = trees_.Walk(root, tree->shape, tree->isTable ? takeOf(*tree) : ignore);
        } else {
            const auto page = ReadTreePage(file_, root);
            torn.gaps = trees_.Walk(root, page && page->isIndex ? kAnyIndex : kAnyTable, ignore);
        }
        if (!torn.gaps.empty()) torn_.push_back(std::move(torn));
    };
    // Tables in the order in which rows refer to each other, and then all that is left.
    for (const StoredTable table : kStoredTables) {
        const auto root = roots_.find(NameOf(table));
        if (root != roots_.end()) walk(root->first, root->second, &shapes_.at(root->first));
    }
    for (const auto& [name, root] : roots_) {
        const auto found = shapes_.find(name);
        const StoredTree* tree = found == shapes_.end() ? nullptr : &found->second;
        if (!tree || !tree->isTable || tree->name != NameOf(tree->table)) walk(name, root, tree);
    }
    if (!isSchemaWhole_) {
        for (const auto& [name, tree] : shapes_) {
            const bool isMissed =
                tree.name != NameOf(StoredTable::MeasuredValues) || !keeping_.IsPacked();
            if (tree.isTable && isMissed && MayBeThere(tree) && !roots_.contains(name))
                torn_.push_back({name, &tree, false, kEverything});
        }
    }
    if (trees_.FindFree()) {
        ReadStrays(takeOf);
    } else if (!torn_.empty()) {
        faults_.push_back(
            "the list of free pages is damaged: rows that no page leads to any more are left out, "
            "as they may have been deleted");
    }
    for (const TornTree& each : torn_) {
        if (each.tree && each.tree->isTable && !each.tree->shape.isIndex)
            ReadPartsFromIndexes(each, take);
    }
}

void Remains::ReadStrays(const std::function<TakeRecord(const StoredTree&)>& takeOf) {
    const auto take = [&](const StoredTree& tree) {
        return tree.isTable ? takeOf(tree) : [](Record&) {};
    };
    std::vector<Trees::Torn> torn;
    for (const TornTree& each : torn_) {
        const bool isKnown = each.gaps.front().page != 0;  // where its root is
        if (each.tree && isKnown) torn.push_back({&each.tree->shape, &each.gaps, take(*each.tree)});
    }
    trees_.ReadStrays(torn);
    // The tables that a damaged schema does not name; and where a sound page was written to a wrong
    // place, what it replaced is lost without a gap.
    std::vector<std::string> names;
    torn.clear();
    for (const auto& [name, tree] : shapes_) {
        if (!MayBeThere(tree)) continue;
        names.push_back(name);
        torn.push_back({&tree.shape, &kEverything, take(tree)});
    }
    for (const std::size_t found : trees_.ReadStrays(torn)) {
        const StoredTree& tree = shapes_.at(names[found]);
        const bool isTold =
            std::ranges::any_of(torn_, [&](const TornTree& each) { return each.tree == &tree; });
        if (!isTold && (tree.isTable || isSchemaWhole_))
            torn_.push_back({names[found], &tree, !tree.isTable, kEverything});
    }
}

std::string TextOf(const TornTree& torn) {
    constexpr std::size_t most = 10;
    std::string pages;
    for (std::size_t i = 0; i < torn.gaps.size() && i < most; ++i)
        pages += (i == 0 ? "" : ", ") + std::to_string(torn.gaps[i].page);
    if (torn.gaps.size() > most)
        pages += " and " + std::to_string(torn.gaps.size() - most) + " more";
    return (torn.isIndex ? "index " : "table ") + Printable(torn.name) + ": " +
           (torn.gaps.front().page == 0
                ? "nothing leads to some of its pages"
                : (torn.gaps.size() == 1 ? "page " : "pages ") + pages + " cannot be read") +
           (torn.isIndex ? "; what an index holds, its table holds as well" : "");
}

const TornTree* Remains::TornTable(std::string_view name) const {
    const auto found = std::ranges::find_if(torn_, [&](const TornTree& each) {
        return each.tree && each.tree->isTable && each.tree->name == name;
    });
    return found == torn_.end() ? nullptr : &*found;
}

bool Remains::HasWholeIndex(StoredTable table) const {
    return std::ranges::any_of(shapes_, [&](const auto& each) {
        const StoredTree& tree = each.second;
        return tree.table == table && !tree.isTable && roots_.contains(each.first) &&
               std::ranges::none_of(torn_,
                                    [&](const TornTree& torn) { return torn.tree == &tree; });
    });
}

bool Remains::WasRead(StoredTable table, std::int64_t rowid) const {
    const auto found = read_.find(table);
    return found != read_.end() && found->second.contains(rowid);
}

void Remains::ReadIndexes(StoredTable table,
                          const std::function<void(const StoredTree&, const Record&)>& take) const {
    Trees trees(file_);
    for (const auto& each : shapes_) {
        const StoredTree& tree = each.second;
        const auto root = roots_.find(each.first);
        if (tree.table == table && !tree.isTable && root != roots_.end())
            trees.Walk(root->second, tree.shape, [&](Record& record) { take(tree, record); });
    }
}

void Remains::ReadPartsFromIndexes(const TornTree& torn,
                                   const std::function<void(const StoredTree&, Record&)>& take) {
    const StoredTree& table = *torn.tree;
    // Whose columns an index has in part may be known from another one. Values and markers are
    // nothing without the rest.
    if (table.table == StoredTable::MeasuredValues || table.table == StoredTable::Markers) return;
    std::map<std::int64_t, Record> parts;
    ReadIndexes(table.table, [&](const StoredTree& index, const Record& record) {
        const auto* rowid = std::get_if<std::int64_t>(&record.fields.back());
        if (!rowid || WasRead(table.table, *rowid) ||
            std::ranges::none_of(torn.gaps, [&](const Gap& gap) { return gap.Holds({*rowid}); }))
            return;
        Record& part = parts[*rowid];
        part.rowid = *rowid;
        part.fields.resize(table.columns.size(), LostField{});
        for (std::size_t i = 0; i + 1 < record.fields.size() && i < index.columns.size(); ++i) {
            const auto at = std::ranges::find(table.columns, index.columns[i]);
            if (at != table.columns.end() && !at->empty())
                part.fields[static_cast<std::size_t>(at - table.columns.begin())] =
                    record.fields[i];
        }
        for (std::size_t i = 0; i < table.columns.size(); ++i) {
            if (!table.rowidColumn.empty() && table.columns[i] == table.rowidColumn)
                part.fields[i] = std::monostate();
        }
    });
    for (auto& [rowid, part] : parts) {
        read_[table.table].insert(rowid);
        take(table, part);
    }
}

Row RowOf(const StoredTree& tree, const Record& record) {
    Row row;
    const auto whole = [](std::int64_t number) {
        if (number != static_cast<std::int32_t>(number))
            throw Failure(std::to_string(number) + " is beyond 32 bits");
        return static_cast<std::int32_t>(number);
    };
    for (std::size_t i = 0; i < record.fields.size() && i < tree.columns.size(); ++i) {
        const StoredColumn* column =
            tree.columns[i].empty() ? nullptr : FindColumn(tree.table, tree.columns[i]);
        const Field& field = record.fields[i];
        if (!column || std::holds_alternative<LostField>(field)) continue;
        Cell& cell = row[column->name];
        if (!tree.rowidColumn.empty() && tree.columns[i] == tree.rowidColumn) {
            cell = whole(record.rowid);
        } else if (const auto* text = std::get_if<std::string>(&field)) {
            cell = CellFrom(*column, *text);
        } else if (const auto* number = std::get_if<std::int64_t>(&field)) {
            if (column->HoldsText())
                cell = std::to_string(*number);
            else if (column->kind == StoredColumn::Real)
                cell = static_cast<double>(*number);
            else
                cell = whole(*number);
        } else if (const auto* real = std::get_if<double>(&field)) {
            if (column->kind != StoredColumn::Real)
                throw Failure(std::string(column->name) + " holds a number with a fraction");
            cell = *real;
        } else if (std::holds_alternative<BlobField>(field)) {
            throw Failure(std::string(column->name) + " holds no text and no number");
        }
    }
    return row;
}

std::string LostPart(const StoredTree& tree, const Record& record) {
    std::string text = std::string("table ") + NameOf(tree.table);
    const Row row = RowOf(tree, record);
    if (const auto keys = KeysOf(tree.table); !keys.empty()) {
        for (const char* column : keys.front())
            text += std::string(", ") + column + " " + std::to_string(NumberIn(row, column));
    }
    std::string lost;
    for (std::size_t i = 0; i < record.fields.size() && i < tree.columns.size(); ++i) {
        if (std::holds_alternative<LostField>(record.fields[i]))
            lost += (lost.empty() ? "" : ", ") + tree.columns[i];
    }
    return text + ": lost " + lost;
}

bool IsWhole(const Record& record) {
    return std::ranges::none_of(
        record.fields, [](const Field& field) { return std::holds_alternative<LostField>(field); });
}

}  // namespace mersola::tool
