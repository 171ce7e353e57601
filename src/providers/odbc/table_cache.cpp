// Asking for a table's columns, and keeping them with what is prepared for the table.
#include "table_cache.h"

#include <algorithm>

namespace mersola::odbc {

std::shared_ptr<ArrayInsert> KnownTable::Insert(const std::vector<bool>& used) {
    constexpr std::size_t kMost = 4;
    const auto found = std::ranges::find(
        inserts_, used, [](const auto& each) -> const auto& { return each->Used(); });
    if (found != inserts_.end()) {
        inserts_.splice(inserts_.begin(), inserts_, found);
    } else {
        inserts_.push_front(std::make_shared<ArrayInsert>(connection_, name_, columns_, used));
        if (inserts_.size() > kMost) inserts_.pop_back();
    }
    return inserts_.front();
}

void KnownTable::Release(const std::shared_ptr<ArrayInsert>& insert) {
    constexpr std::size_t kMostBytes = std::size_t{1} << 20;
    if (insert->Bytes() > kMostBytes) inserts_.remove(insert);
}

std::shared_ptr<KnownTable> TableCache::Find(std::string_view name) const {
    const auto found = tables_.find(name);
    if (found == tables_.end() || found->second->IsDoubted()) return nullptr;
    return found->second;
}

std::shared_ptr<KnownTable> TableCache::Add(std::string_view name, std::string_view layout) {
    const Statement probe(connection_);
    probe.Execute(layout);
    std::vector<std::string> columns;
    const auto count = static_cast<SQLUSMALLINT>(probe.ColumnCount());
    for (SQLUSMALLINT number = 1; number <= count; ++number)
        columns.push_back(probe.ColumnName(number));
    auto table = std::make_shared<KnownTable>(connection_, name, std::move(columns));
    tables_.insert_or_assign(std::string(name), table);
    return table;
}

}  // namespace mersola::odbc
