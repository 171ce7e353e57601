// The statements on the tables of a packed database, prepared once and lent to whoever needs them.
#pragma once

#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "api.h"
#include "block.h"

namespace mersola::packed {

/// Why something failed: SQLite's (extended) result code, and words.
struct Failure : std::runtime_error {
    Failure(int failed, const std::string& words) : std::runtime_error(words), code(failed) {}
    int code;
};

enum class Sql {
    PendingRow,
    PendingRows,
    PutPending,
    DropPending,
    OldestPending,
    NewestPending,
    CountPending,
    FullestBlock,
    NextPendingReport,
    SealedRow,
    SealedRows,
    SealedSummaries,
    FirstSealed,
    LastSealed,
    NextSeries,
    NextSealedReport,
    PutBlock,
    DropBlock,
    BlockData,
    AddData,
    SetData,
    DropData,
    DropBlockData,
    Pin,
    // of a table of rows beside the blocks
    HasRow,
    HasRows,
    Rows,
    PutRow,
    AddRow,
    DropRow,
    DropRows,
    FirstRow,
    LastRow,
    NextRowSeries,
    NextRowReport,
    Count
};

/// A prepared statement, used from Bind to Reset.
class Statement {
  public:
    explicit Statement(sqlite3_stmt* statement) : statement_(statement) {}
    ~Statement() { sqlite3_finalize(statement_); }
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    template <class... Values>
    void Bind(const Values&... values) {
        int index = 0;
        (Require(BindOne(++index, values)), ...);
    }
    /// Whether there is a row. Raises what SQLite says.
    bool Step();
    void Run() {
        Step();
        Reset();
    }
    void Reset() { sqlite3_reset(statement_); }

    bool IsNull(int column) { return sqlite3_column_type(statement_, column) == SQLITE_NULL; }
    std::int64_t Integer(int column) { return sqlite3_column_int64(statement_, column); }
    double Real(int column) { return sqlite3_column_double(statement_, column); }
    /// Valid until the next step.
    std::optional<std::string_view> Text(int column);
    /// Raises for a number beyond 32 bits, which nobody of us has stored.
    std::int32_t Int32(int column);
    std::span<const std::byte> Blob(int column);

  private:
    int BindOne(int index, std::nullptr_t) { return sqlite3_bind_null(statement_, index); }
    int BindOne(int index, double value) { return sqlite3_bind_double(statement_, index, value); }
    int BindOne(int index, const std::optional<std::string>& text) {
        if (!text) return BindOne(index, nullptr);
        return sqlite3_bind_text64(statement_, index, text->data(), text->size(), SQLITE_STATIC,
                                   SQLITE_UTF8);
    }
    int BindOne(int index, std::integral auto value) { return BindInteger(index, value); }
    int BindInteger(int index, std::int64_t value) {
        return sqlite3_bind_int64(statement_, index, value);
    }
    /// Not copied: it must stay until the statement is reset.
    int BindOne(int index, const std::string& bytes) {
        return sqlite3_bind_blob64(statement_, index, bytes.data(), bytes.size(), SQLITE_STATIC);
    }
    static void Require(int code) {
        if (code != SQLITE_OK) throw Failure(code, sqlite3_errstr(code));
    }

    sqlite3_stmt* statement_;
};

/// Prepares each statement once and again for each further user at the same time.
class Statements : public std::enable_shared_from_this<Statements> {
  public:
    /// `schema` names the attached database, and `rows` a table of rows in it; empty without one.
    Statements(sqlite3* db, std::string schema, std::string rows)
        : db_(db), schema_(std::move(schema)), rows_(std::move(rows)) {}
    Statements(const Statements&) = delete;
    Statements& operator=(const Statements&) = delete;

    class Lease {
      public:
        Lease() = default;
        Lease(Lease&&) = default;
        Lease& operator=(Lease&& other) noexcept;
        ~Lease() { Return(); }

        explicit operator bool() const { return statement_ != nullptr; }
        Statement* operator->() const { return statement_.get(); }

      private:
        friend class Statements;
        Lease(std::shared_ptr<Statements> owner, Sql which, std::unique_ptr<Statement> statement)
            : owner_(std::move(owner)), which_(which), statement_(std::move(statement)) {}
        void Return();

        std::shared_ptr<Statements> owner_;
        Sql which_ = Sql::Count;
        std::unique_ptr<Statement> statement_;
    };

    Lease Take(Sql which);
    template <class... Values>
    Lease Take(Sql which, const Values&... values) {
        Lease lease = Take(which);
        lease->Bind(values...);
        return lease;
    }
    template <class... Values>
    void Run(Sql which, const Values&... values) {
        Take(which, values...)->Run();
    }

    sqlite3* Db() const { return db_; }
    /// Whether values may also lie in a table of rows.
    bool HasRows() const { return !rows_.empty(); }

    /// Readers that are under way: what they have still to read must not move from table to table.
    int readers = 0;

  private:
    std::unique_ptr<Statement> Prepare(std::string_view text) const;
    void RequireTables() const;

    sqlite3* db_;
    std::string schema_, rows_;
    bool areTables_ = false;  // what the statements name
    std::array<std::vector<std::unique_ptr<Statement>>, static_cast<std::size_t>(Sql::Count)> idle_;
};

/// Decodes the data of a row of ValueBlocks, which tells these periods, as DecodeBlock does. Raises
/// Failure.
void DecodeSealed(const Series& series, std::int32_t firstPeriod, std::int32_t lastPeriod,
                  std::span<const std::byte> data, std::int64_t firstBand, std::int64_t endBand,
                  SeriesBlock& out);

/// What is wrong with a block, in words that tell where it lies.
[[noreturn]] void RaiseDamage(const Series& series, std::int32_t block, const char* why);
[[noreturn]] void RaiseDamage(std::int32_t measValueId, std::int32_t period, const char* why);
/// A damaged index gives rows out of order, and some of them again.
[[noreturn]] void RaiseTwoRows(std::int32_t measValueId, std::int32_t period);
[[noreturn]] void RaiseTwoBlocks(const Series& series, std::int32_t block);
/// A damaged index leads anywhere, and whoever follows it would go round in circles.
void RequireOrder(bool isInOrder);
/// Raises that there are two if there are.
void RequireOneBlock(Statements& statements, const Series& series, std::int32_t block);

}  // namespace mersola::packed
