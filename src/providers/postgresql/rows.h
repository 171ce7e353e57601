// The rows of a result.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "ado/provider.h"
#include "connection.h"
#include "row_block.h"

namespace mersola::postgresql {

/// The names and types of the columns.
struct RowShape {
    std::vector<std::string> names;
    std::vector<Oid> types;
};

/// Raises where a type cannot be read.
RowShape ShapeOf(const PGresult* result);

/// Rows that come one by one.
class Rows : public ado::RowSource {
  public:
    /// `first` is what the statement gave first: a row, or the end of a result without rows.
    Rows(std::shared_ptr<Connection> connection, RowShape shape, Result first);
    ~Rows() override;
    Rows(const Rows&) = delete;
    Rows& operator=(const Rows&) = delete;

    const std::vector<std::string>& Columns() const override { return shape_.names; }
    bool Next() override;
    ado::Cell At(int column) const override;

  private:
    std::shared_ptr<Connection> connection_;
    RowShape shape_;
    Result row_;
    bool begun_ = false;
    bool ended_ = false;
};

/// Rows that have come already.
class WholeRows : public ado::RowSource {
  public:
    WholeRows(RowShape shape, Result rows) : shape_(std::move(shape)), rows_(std::move(rows)) {}

    const std::vector<std::string>& Columns() const override { return shape_.names; }
    bool Next() override { return ++row_ < PQntuples(rows_.get()); }
    ado::Cell At(int column) const override;
    bool NextBlock(ado::ColumnBlock& block) override;

  private:
    RowShape shape_;
    Result rows_;
    int row_ = -1;
    std::optional<RowBlock> block_{};
};

/// Rows that COPY gives: for many, this takes half the time of results.
class CopiedRows : public ado::RowSource {
  public:
    static constexpr std::size_t kMany = 1024;

    /// The connection has sent the COPY. In the end `areMany` says whether it was worth it.
    CopiedRows(std::shared_ptr<Connection> connection, RowShape shape,
               std::shared_ptr<bool> areMany);
    ~CopiedRows() override { connection_->Abandon(); }
    CopiedRows(const CopiedRows&) = delete;
    CopiedRows& operator=(const CopiedRows&) = delete;

    const std::vector<std::string>& Columns() const override { return shape_.names; }
    bool Next() override;
    ado::Cell At(int column) const override;
    bool NextBlock(ado::ColumnBlock& block) override;

  private:
    std::shared_ptr<Connection> connection_;
    RowShape shape_;
    std::shared_ptr<bool> areMany_;
    RowBlock block_;
    CopiedRow row_;
    std::size_t count_ = 0;
    std::vector<std::pair<const char*, std::int32_t>> fields_;  // the length is -1 for a null
    bool begun_ = false;
    bool ended_ = false;
};

}  // namespace mersola::postgresql
