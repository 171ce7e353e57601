// Fetches the rows of a result in blocks.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "ado/provider.h"
#include "connection.h"
#include "wide_text.h"

namespace mersola::odbc {

class BlockRows : public ado::RowSource {
  public:
    explicit BlockRows(std::shared_ptr<const Statement> statement);
    BlockRows(const BlockRows&) = delete;
    BlockRows& operator=(const BlockRows&) = delete;

    const std::vector<std::string>& Columns() const override { return names_; }
    bool Next() override;
    ado::Cell At(int column) const override;
    bool NextBlock(ado::ColumnBlock& block) override;

  private:
    enum class Form { Integer, Real, Utf8, Wide };

    struct Column {
        Form form = Form::Integer;
        SQLSMALLINT type = SQL_C_SBIGINT;  // the type of the C value
        std::size_t width = 0;  // bytes of one value, with the zero behind a text; 0: any length
        std::vector<char> values{};
        std::vector<SQLLEN> lengths{};
        mutable std::string text{};  // the text of the current row, where it was converted
        // Of a whole block: what is null, and the texts.
        std::vector<std::uint8_t> nulls{};
        std::vector<std::string_view> views{};
    };

    Column Describe(SQLUSMALLINT number) const;
    void Bind();
    void Fetch();
    void FetchLong(SQLUSMALLINT number, Column& column);
    ado::Column Whole(Column& column) const;
    std::span<const SQLWCHAR> UnitsAt(const Column& column, std::size_t row) const;

    std::vector<std::string> names_;
    std::vector<Column> columns_;
    std::size_t firstAlone_ = 0;  // from this column on, each is fetched by itself
    std::vector<SQLUSMALLINT> states_;
    SQLULEN fetched_ = 0;
    std::size_t row_ = 0;
    bool ended_ = false;
    std::shared_ptr<const Statement> statement_;  // destroyed before the memory that it writes to
};

}  // namespace mersola::odbc
