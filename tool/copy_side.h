// One of the two databases of a copy, and the rows that pass between them.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include <mersola/mersola.h>

#include "open_database.h"
#include "stored_tables.h"

namespace mersola::tool {

/// A stored cell; the empty one is a null.
using Cell = std::variant<std::monostate, std::int32_t, double, std::string>;

/// A row by the names of its columns.
using Row = std::map<std::string, Cell, std::less<>>;

/// 0 or empty for a null.
std::int32_t NumberIn(const Row& row, std::string_view column);
std::string TextIn(const Row& row, std::string_view column);

/// As it stands in a statement, on either engine.
std::string Literal(const Cell& cell);

/// The statement that adds a row.
std::string InsertOf(StoredTable table, const Row& row);

/// A statement put together in printf's manner.
template <class... Arguments>
std::string Statement(const char* format, Arguments... arguments) {
    CString text;
    text.Format(format, arguments...);
    return std::string(text.View());
}

/// A session on one of the databases. Its operations raise Failure, which names the database.
class Side {
  public:
    Side(const Database& database, Access access)
        : name_(database.Name()), store_(OpenDatabase(database, access)) {}

    const std::string& Name() const { return name_; }
    Mersola& Store() { return *store_; }

    void Run(const std::string& statement);
    /// All of them or none.
    void RunTogether(const std::vector<std::string>& statements);

    void ForEachRow(const std::string& query, const std::function<void(_Recordset&)>& each);
    /// All columns of the table that the query brings; a column that is not there reads as null.
    std::vector<Row> Rows(const std::string& query, StoredTable table);
    /// The same, one after the other.
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
