// What the server would do to a SELECT that others do by themselves.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "connection.h"

namespace mersola::postgresql {

/// A SELECT of rows of one table.
struct Reading {
    std::string table;        // folded
    bool isOrdered = false;   // it says in which order
    bool countsRows = false;  // it is a count(*) of them
};

/// Recognises a statement that the lexer accepts.
std::optional<Reading> Recognise(std::string_view sql);
/// Whether it is an INSERT of values, which gives no rows.
bool IsInsert(std::string_view sql);

/// The other engines keep the rows of a table by its primary key, and so give them in this order
/// wherever a statement names none, or equal rows of the one it names. Here an UPDATE moves a row.
class KeyOrder {
  public:
    explicit KeyOrder(Connection& connection) : connection_(connection) {}

    /// What is to be appended to the statement; it may be empty.
    std::string Behind(const Reading& reading);
    void Forget() { keys_.reset(); }

  private:
    void Load();

    Connection& connection_;
    std::optional<std::map<std::string, std::string, std::less<>>> keys_;  // by table
};

/// Identifiers are chosen by counting rows. Elsewhere, of two transactions that do so at the same
/// moment one waits for the other; here it would not see the other's row. This statement, in front
/// of the counting one, makes it wait. Null where there is nothing to wait for.
const char* LockFor(const Reading& reading);

}  // namespace mersola::postgresql
