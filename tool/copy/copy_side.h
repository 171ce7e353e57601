// One of the two databases of a copy, and the rows that pass between them.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <mersola/mersola.h>

#include "basics/failure.h"
#include "database/open_database.h"
#include "database/query.h"
#include "database/stored_row.h"

namespace mersola::tool {

/// Raised for what the target can never take as the source has it: the same command would fail
/// again.
class Unplaceable : public Failure {
    using Failure::Failure;
};

/// A session on one of the databases. Its operations raise Failure, which names the database.
class Side {
  public:
    Side(const Database& database, Access access)
        : name_(database.Name()), store_(OpenDatabase(database, access)) {}

    const std::string& Name() const { return name_; }
    Mersola& Store() { return *store_; }

    void Run(const std::string& statement);
    /// Runs all statements or none.
    void RunTogether(const std::vector<std::string>& statements);

    void ForEachRow(const std::string& query, const std::function<void(_Recordset&)>& each);
    /// All columns of the table that the query brings; a column that is not there reads as null.
    std::vector<Row> Rows(const std::string& query, StoredTable table);
    /// Hands out the rows that Rows would return, one after the other.
    void ForEachRow(const std::string& query, StoredTable table,
                    const std::function<void(Row&)>& each);
    /// The first field of the first row, nothing when there is none or a null.
    std::optional<std::int32_t> Number(const std::string& query);

    /// Runs `work` and turns what the database raises into a Failure.
    template <class Work>
    void Guard(Work work) {
        try {
            work();
        } catch (const _com_error& error) {
            Refused(error);
        }
    }

  private:
    [[noreturn]] void Refused(const _com_error& error) const;

    std::string name_;
    std::unique_ptr<Mersola> store_;
};

}  // namespace mersola::tool
