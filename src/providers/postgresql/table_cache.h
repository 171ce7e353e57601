// What a connection has learned about the tables that it wrote into. With it, the next batch
// neither asks nor prepares.
#pragma once

#include <list>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "array_insert.h"

namespace mersola::postgresql {

class KnownTable {
  public:
    /// `name` as statements for the server write it.
    KnownTable(std::string name, std::vector<TableColumn> columns);

    /// The names of the columns.
    const std::vector<std::string>& Names() const { return names_; }
    /// The INSERT for rows with values of these forms in the used columns.
    ArrayInsert& Insert(std::vector<bool> used, std::vector<Form> forms);
    /// Says that the table may have changed, so that it is asked for its columns again.
    void Doubt() { doubted_ = true; }
    bool IsDoubted() const { return doubted_; }

  private:
    std::string name_;
    std::vector<TableColumn> columns_;
    std::vector<std::string> names_;
    std::list<ArrayInsert> inserts_;  // the one that was used last is in front
    bool doubted_ = false;
};

class TableCache {
  public:
    /// The table of that name, or null when it is not known.
    std::shared_ptr<KnownTable> Find(std::string_view name) const;
    void Add(std::string_view name, std::shared_ptr<KnownTable> table) {
        tables_.insert_or_assign(std::string(name), std::move(table));
    }
    void Clear() { tables_.clear(); }

  private:
    std::map<std::string, std::shared_ptr<KnownTable>, std::less<>> tables_;
};

}  // namespace mersola::postgresql
