// Rows as columns of one type each.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include <libpq-fe.h>

#include "ado/column_block.h"

namespace mersola::postgresql {

class RowBlock {
  public:
    explicit RowBlock(std::span<const Oid> types);

    /// Whether all columns have a type of their own; a decimal may be an integer or not.
    bool IsPlain() const { return plain_; }
    void Clear();
    std::size_t Rows() const { return rows_; }
    /// Adds the values of a row, from the first column to the last.
    void AddNull(std::size_t column);
    void Add(std::size_t column, const char* bytes, std::size_t length);
    void EndRow() { ++rows_; }
    /// Takes all rows of a result.
    void Take(const PGresult* rows);
    /// Hands the columns out. They are valid until the next Clear.
    void Give(ado::ColumnBlock& block);

  private:
    struct Column {
        Oid type;
        ado::Column::Form form;
        std::vector<std::int64_t> integers{};
        std::vector<double> reals{};
        std::vector<std::string_view> texts{};
        std::vector<std::size_t> ends{};  // of the texts
        std::string bytes{};
        std::vector<std::uint8_t> nulls{};
        bool hasNull = false;
    };

    std::vector<Column> columns_;
    std::size_t rows_ = 0;
    bool plain_ = true;
};

}  // namespace mersola::postgresql
