// Keeping a table's columns with what is prepared for the table.
#include "table_cache.h"

#include <algorithm>
#include <utility>

namespace mersola::postgresql {

KnownTable::KnownTable(std::string name, std::vector<TableColumn> columns)
    : name_(std::move(name)), columns_(std::move(columns)) {
    for (const TableColumn& column : columns_)
        names_.push_back(column.name);
}

ArrayInsert& KnownTable::Insert(std::vector<bool> used, std::vector<Form> forms) {
    constexpr std::size_t kMost = 16;
    const auto found = std::ranges::find_if(
        inserts_, [&](const ArrayInsert& each) { return each.Takes(used, forms); });
    if (found != inserts_.end()) {
        inserts_.splice(inserts_.begin(), inserts_, found);
    } else {
        inserts_.emplace_front(name_, columns_, std::move(used), std::move(forms));
        if (inserts_.size() > kMost) inserts_.pop_back();
    }
    return inserts_.front();
}

std::shared_ptr<KnownTable> TableCache::Find(std::string_view name) const {
    const auto found = tables_.find(name);
    if (found == tables_.end() || found->second->IsDoubted()) return nullptr;
    return found->second;
}

}  // namespace mersola::postgresql
