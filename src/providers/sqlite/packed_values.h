// Reads and writes the values of a packed database without SQLite's virtual machine.
#pragma once

#include <memory>
#include <optional>
#include <span>

#include <sqlite3.h>

#include "ado/provider.h"
#include "dialect/translator.h"
#include "packed/store.h"
#include "statement_cache.h"
#include "value_statement.h"

namespace mersola::sqlite {

/// Answers statements on MeasuredValues where that is a packed table. Another program may convert
/// the database at any time; each use looks anew.
class PackedValues {
  public:
    explicit PackedValues(sqlite3* db) : db_(db) {}

    /// The rows of a statement that was run here, null for one without rows; nothing if it is to be
    /// run the ordinary way.
    std::optional<std::unique_ptr<ado::RowSource>> Run(const dialect::Translation& statement);

    /// Values as summaries; null where they are rows.
    std::unique_ptr<ado::SummarySource> Summarise(const ado::SummaryRequest& request);

    /// Whether MeasuredValues is such a table, as far as this connection has seen.
    bool IsPacked() const;
    /// The place for values of the transaction that is open, null if there is none.
    packed::Store* TakePart();
    /// Stores a row of all columns in their order. False if it is to be stored the ordinary way,
    /// which also says what is wrong with one that is refused.
    static bool Insert(packed::Store& store, std::span<const ado::Cell> row);

  private:
    bool Insert(const ValueStatement& statement, std::span<const dialect::Literal> literals);
    bool Delete(const packed::Ranges& ranges);
    std::unique_ptr<ado::RowSource> Read(const ValueStatement& statement,
                                         const packed::Ranges& ranges);
    packed::Store* StoreInSnapshot();

    sqlite3* db_;
    ValueStatements statements_;
    Statement takePart_, schemaVersion_;
    // What was found out last, and of which version of the schema. The store is null for rows.
    std::int64_t seenVersion_ = -1;
    packed::Store* seenStore_ = nullptr;
};

}  // namespace mersola::sqlite
